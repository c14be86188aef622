// sheet/xlsx/Xml.cpp - the streaming parser over expat.
#include "sheet/xlsx/Xml.h"

#include <cstring>
#include <new>

#include <expat.h>

namespace varnex3::sheet::xlsx {

namespace {

constexpr char kSeparator = '\x01'; // between namespace and name; never part of a document

// A tag is parsed again from its start with every piece that arrives: without a limit a single huge
// one costs quadratic time.
constexpr long long kMaxTagBytes = 4 << 20;

constexpr std::string_view kTransitional = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr std::string_view kStrict = "http://purl.oclc.org/ooxml/spreadsheetml/main";

struct QualifiedName {
    std::string_view space, name;
};

QualifiedName split(const char* qualified)
{
    const std::string_view whole(qualified);
    const std::size_t at = whole.find(kSeparator);
    if (at == std::string_view::npos) return {{}, whole};
    return {whole.substr(0, at), whole.substr(at + 1)};
}

} // namespace

const char* Tag::attribute(const char* wanted) const
{
    for (const char* const* a = attributes; *a; a += 2)
        if (std::strcmp(*a, wanted) == 0) return a[1];
    return nullptr;
}

const char* Tag::attribute(std::string_view from, std::string_view wanted) const
{
    for (const char* const* a = attributes; *a; a += 2) {
        const QualifiedName found = split(*a);
        if (found.name == wanted && found.space == from) return a[1];
    }
    return nullptr;
}

const char* Tag::qualified(std::string_view wanted) const
{
    for (const char* const* a = attributes; *a; a += 2) {
        const QualifiedName found = split(*a);
        if (!found.space.empty() && found.name == wanted) return a[1];
    }
    return nullptr;
}

bool Tag::isStrict() const { return space == kStrict; }

bool Tag::isMain() const { return space.empty() || space == kTransitional || space == kStrict; }

// Exceptions must not cross the C library: they are kept, parsing stops, and `parse` throws them on.
struct XmlParser::Callbacks {
    template <class F>
    static void guarded(XmlParser& self, F&& work)
    {
        if (self.failure_) return;
        try {
            work();
        } catch (...) {
            self.failure_ = std::current_exception();
            XML_StopParser(self.parser_, XML_FALSE);
        }
    }

    static void start(void* user, const char* qualified, const char** attributes)
    {
        XmlParser& self = *static_cast<XmlParser*>(user);
        guarded(self, [&] {
            if (++self.depth_ > self.maxDepth_)
                throw XmlProblem{"elements are nested deeper than " + std::to_string(self.maxDepth_) +
                                 " levels"};
            if (self.skipped_ > 0) {
                ++self.skipped_;
                return;
            }
            const QualifiedName name = split(qualified);
            if (!self.handler_.open({name.space, name.name, self.depth_, attributes})) self.skipped_ = 1;
        });
    }

    static void end(void* user, const char*)
    {
        XmlParser& self = *static_cast<XmlParser*>(user);
        guarded(self, [&] {
            if (self.skipped_ > 0)
                --self.skipped_;
            else
                self.handler_.close(self.depth_);
            --self.depth_;
        });
    }

    static void text(void* user, const char* piece, int length)
    {
        XmlParser& self = *static_cast<XmlParser*>(user);
        if (self.skipped_ > 0) return;
        guarded(self, [&] { self.handler_.text({piece, static_cast<std::size_t>(length)}); });
    }

    static void documentType(void* user, const char*, const char*, const char*, int)
    {
        XmlParser& self = *static_cast<XmlParser*>(user);
        guarded(self, [&] { throw XmlProblem{"a document type declaration, which workbooks never have"}; });
    }
};

XmlParser::XmlParser(XmlHandler& handler, int maxDepth)
    : parser_(XML_ParserCreateNS(nullptr, kSeparator)), handler_(handler), maxDepth_(maxDepth)
{
    if (!parser_) throw std::bad_alloc();
    XML_SetUserData(parser_, this);
    XML_SetElementHandler(parser_, Callbacks::start, Callbacks::end);
    XML_SetCharacterDataHandler(parser_, Callbacks::text);
    XML_SetStartDoctypeDeclHandler(parser_, Callbacks::documentType);
}

XmlParser::~XmlParser() { XML_ParserFree(parser_); }

char* XmlParser::buffer(int size)
{
    void* room = XML_GetBuffer(parser_, size);
    if (!room) throw std::bad_alloc();
    return static_cast<char*>(room);
}

void XmlParser::parse(int size, bool last)
{
    const XML_Status status = XML_ParseBuffer(parser_, size, last ? XML_TRUE : XML_FALSE);
    if (failure_) std::rethrow_exception(failure_);
    fed_ += size;
    if (status == XML_STATUS_OK) {
        if (!last && fed_ - XML_GetCurrentByteIndex(parser_) > kMaxTagBytes)
            throw XmlProblem{"a single tag or comment of more than 4 MiB"};
        return;
    }
    const XML_Error code = XML_GetErrorCode(parser_);
    if (code == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
    throw XmlProblem{"line " + std::to_string(XML_GetCurrentLineNumber(parser_)) + ": " +
                     XML_ErrorString(code)};
}

} // namespace varnex3::sheet::xlsx
