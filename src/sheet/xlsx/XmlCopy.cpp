// sheet/xlsx/XmlCopy.cpp - expat as a copying machine: its default handler sees markup as written.
#include "sheet/xlsx/XmlCopy.h"

#include <algorithm>
#include <new>
#include <optional>

#include <expat.h>

#include "sheet/xlsx/Markup.h"
#include "sheet/xlsx/Text.h"

namespace varnex3::sheet::xlsx {

namespace {

constexpr char kSeparator = '\x01'; // between namespace and name; never part of a document
constexpr int kMaxDepth = 256;
constexpr const char* kBlanks = " \t\r\n";

std::string upperCase(std::string text)
{
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

struct RawAttribute {
    std::string_view name, value; // value with its quotes
    std::size_t end = 0;          // behind it
};

/// The next attribute of a start tag from `at`, behind the tag's name.
std::optional<RawAttribute> nextAttribute(std::string_view markup, std::size_t at)
{
    at = markup.find_first_not_of(kBlanks, at);
    if (at == std::string_view::npos) return std::nullopt;
    const std::size_t equals = markup.find('=', at);
    if (equals == std::string_view::npos) return std::nullopt;
    const std::size_t quote = markup.find_first_of("\"'", equals);
    if (quote == std::string_view::npos) return std::nullopt;
    const std::size_t end = markup.find(markup[quote], quote + 1);
    if (end == std::string_view::npos) return std::nullopt;
    return RawAttribute{trimmed(markup.substr(at, equals - at)), markup.substr(quote, end + 1 - quote),
                        end + 1};
}

} // namespace

RawTag::RawTag(std::string_view markup)
{
    markup.remove_prefix(1);
    markup.remove_suffix(1);
    if (markup.ends_with('/')) {
        empty_ = true;
        markup.remove_suffix(1);
    }
    std::size_t at = std::min(markup.find_first_of(kBlanks), markup.size());
    name_ = markup.substr(0, at);
    while (const auto attribute = nextAttribute(markup, at)) {
        attributes_.emplace_back(attribute->name, attribute->value);
        at = attribute->end;
    }
}

std::string withAttribute(std::string_view markup, std::string_view attribute, std::string_view value)
{
    std::size_t at = std::min(markup.find_first_of(kBlanks), markup.size());
    while (const auto known = nextAttribute(markup, at)) {
        at = known->end;
        if (known->name != attribute) continue;
        std::string text(markup.substr(0, at - known->value.size()));
        return text.append("\"").append(value).append("\"").append(markup.substr(at));
    }
    return std::string(markup);
}

std::string RawTag::prefix() const
{
    const std::size_t colon = name_.find(':');
    return colon == std::string::npos ? std::string() : name_.substr(0, colon + 1);
}

bool RawTag::has(std::string_view attribute) const
{
    return std::any_of(attributes_.begin(), attributes_.end(),
                       [&](const auto& known) { return known.first == attribute; });
}

void RawTag::set(std::string_view attribute, std::string_view value)
{
    std::string quoted = "\"";
    appendEscaped(quoted, value);
    quoted += '"';
    for (auto& known : attributes_) {
        if (known.first != attribute) continue;
        known.second = std::move(quoted);
        return;
    }
    attributes_.emplace_back(attribute, std::move(quoted));
}

void RawTag::remove(std::string_view attribute)
{
    std::erase_if(attributes_, [&](const auto& known) { return known.first == attribute; });
}

std::string RawTag::written(std::string_view attribute) const
{
    for (const auto& known : attributes_)
        if (known.first == attribute) return known.second;
    return {};
}

std::string RawTag::attributeEndingIn(std::string_view end) const
{
    for (const auto& known : attributes_)
        if (known.first.ends_with(end)) return known.first;
    return {};
}

std::string RawTag::text(std::string_view end) const
{
    std::string text = "<" + name_;
    for (const auto& [name, value] : attributes_) text.append(" ").append(name).append("=").append(value);
    return text.append(end);
}

// Exceptions must not cross the C library: they are kept, parsing stops, and `parse` throws them on.
struct XmlCopier::Callbacks {
    template <class F>
    static void guarded(void* user, F&& work)
    {
        XmlCopier& self = *static_cast<XmlCopier*>(user);
        if (self.failure_) return;
        try {
            work(self);
        } catch (...) {
            self.failure_ = std::current_exception();
            XML_StopParser(self.parser_, XML_FALSE);
        }
    }

    static std::string markup(XmlCopier& self)
    {
        std::string raw;
        self.capture_ = &raw;
        XML_DefaultCurrent(self.parser_);
        self.capture_ = nullptr;
        return raw;
    }

    static void start(void* user, const char* qualified, const char** attributes)
    {
        guarded(user, [&](XmlCopier& self) {
            if (++self.depth_ > kMaxDepth) throw XmlProblem{"elements are nested too deep"};
            const std::string_view whole(qualified);
            const std::size_t at = whole.find(kSeparator);
            const bool none = at == std::string_view::npos;
            const Tag tag{none ? std::string_view() : whole.substr(0, at),
                          none ? whole : whole.substr(at + 1), self.depth_, attributes};
            self.edit_.open(tag, markup(self));
        });
    }

    static void end(void* user, const char*)
    {
        guarded(user, [&](XmlCopier& self) {
            const std::string raw = markup(self);
            self.edit_.close(self.depth_, raw);
            --self.depth_;
        });
    }

    static void text(void* user, const char* piece, int length)
    {
        guarded(user, [&](XmlCopier& self) {
            self.edit_.text(markup(self), {piece, static_cast<std::size_t>(length)});
        });
    }

    static void other(void* user, const char* piece, int length)
    {
        guarded(user, [&](XmlCopier& self) {
            const std::string_view raw(piece, static_cast<std::size_t>(length));
            if (self.capture_)
                self.capture_->append(raw);
            else
                self.edit_.other(raw);
        });
    }

    static void declaration(void* user, const char*, const char* encoding, int)
    {
        guarded(user, [&](XmlCopier& self) {
            const std::string name = upperCase(encoding ? encoding : "UTF-8");
            if (name != "UTF-8" && name != "US-ASCII")
                throw XmlProblem{"its encoding is " + name + "; only UTF-8 can be changed"};
            self.edit_.other(markup(self));
        });
    }

    static void documentType(void* user, const char*, const char*, const char*, int)
    {
        guarded(user, [](XmlCopier&) { throw XmlProblem{"a document type declaration"}; });
    }
};

XmlCopier::XmlCopier(XmlEdit& edit) : parser_(XML_ParserCreateNS(nullptr, kSeparator)), edit_(edit)
{
    if (!parser_) throw std::bad_alloc();
    XML_SetUserData(parser_, this);
    XML_SetElementHandler(parser_, Callbacks::start, Callbacks::end);
    XML_SetCharacterDataHandler(parser_, Callbacks::text);
    XML_SetDefaultHandler(parser_, Callbacks::other);
    XML_SetXmlDeclHandler(parser_, Callbacks::declaration);
    XML_SetStartDoctypeDeclHandler(parser_, Callbacks::documentType);
}

XmlCopier::~XmlCopier() { XML_ParserFree(parser_); }

void XmlCopier::parse(std::string_view piece, bool last)
{
    if (!begun_ && !piece.empty()) {
        begun_ = true; // a byte order mark of UTF-16, or a first character of two bytes
        const auto first = static_cast<unsigned char>(piece[0]);
        if (first >= 0xFE || first == 0 || (piece.size() > 1 && piece[1] == '\0'))
            throw XmlProblem{"its encoding is UTF-16; only UTF-8 can be changed"};
    }
    const XML_Status status = XML_Parse(parser_, piece.data(), static_cast<int>(piece.size()), last);
    if (failure_) std::rethrow_exception(failure_);
    if (status == XML_STATUS_OK) return;
    const XML_Error code = XML_GetErrorCode(parser_);
    if (code == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
    throw XmlProblem{"line " + std::to_string(XML_GetCurrentLineNumber(parser_)) + ": " +
                     XML_ErrorString(code)};
}

} // namespace varnex3::sheet::xlsx
