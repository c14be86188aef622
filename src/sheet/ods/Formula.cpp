// sheet/ods/Formula.cpp - one pass over the letters of a formula.
#include "sheet/ods/Formula.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "sheet/formula/Lexical.h"
#include "sheet/formula/Parser.h"

namespace varnex3::sheet::ods {
namespace {

using lexical::charAt;
using lexical::isBlank;
using lexical::isDigit;
using lexical::isLetter;
using lexical::isNamePart;
using lexical::isNameStart;

constexpr std::string_view kLostReference = "#REF!";

// Functions of the same meaning under another name. CEILING and FLOOR round towards plus and minus infinity
// whatever the signs, as their MATH forms do; the spreadsheet's own come with a prefix.
constexpr std::array<std::pair<std::string_view, std::string_view>, 12> kRenamed = {{
    {"B", "BINOM.DIST.RANGE"},
    {"CEILING", "CEILING.MATH"},
    {"CHISQDIST", "CHISQ.DIST"},
    {"CHISQINV", "CHISQ.INV"},
    {"EFFECTIVE", "EFFECT"},
    {"ERRORTYPE", "ERROR.TYPE"},
    {"FDIST", "F.DIST"},
    {"FINV", "F.INV"},
    {"FLOOR", "FLOOR.MATH"},
    {"FORMULA", "FORMULATEXT"},
    {"SKEWP", "SKEW.P"},
    {"USDOLLAR", "DOLLAR"},
}};

constexpr std::array<std::string_view, 5> kPrefixes = {"COM.MICROSOFT.", "ORG.LIBREOFFICE.",
                                                       "ORG.OPENOFFICE.", "LEGACY.",
                                                       "COM.SUN.STAR.SHEET.ADDIN.ANALYSIS.GET"};

std::string functionName(std::string_view written)
{
    const std::string name = lexical::upperText(written);
    for (std::string_view prefix : kPrefixes)
        if (name.starts_with(prefix)) return name.substr(prefix.size());
    const auto* const found =
        std::find_if(kRenamed.begin(), kRenamed.end(), [&](const auto& pair) { return pair.first == name; });
    return found == kRenamed.end() ? name : std::string(found->second);
}

/// Resolves %20 and its kin; other uses of % stay.
std::string unescapedPath(std::string_view path)
{
    const auto digit = [](char c) {
        const char u = lexical::upper(c);
        return isDigit(u) ? u - '0' : u >= 'A' && u <= 'F' ? u - 'A' + 10 : -1;
    };
    std::string plain;
    for (std::size_t i = 0; i < path.size(); ++i) {
        const int high = path[i] == '%' ? digit(charAt(path, i + 1)) : -1;
        const int low = high >= 0 ? digit(charAt(path, i + 2)) : -1;
        if (low < 0) {
            plain += path[i];
            continue;
        }
        plain += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return plain;
}

/// Quoted from `at` on, which moves behind the closing quote; nothing when it is not closed.
std::optional<std::string> quoted(std::string_view text, std::size_t& at)
{
    std::string inner;
    for (std::size_t p = at + 1; p < text.size(); ++p) {
        if (text[p] == '\'' && charAt(text, p + 1) == '\'') {
            ++p;
        } else if (text[p] == '\'') {
            at = p + 1;
            return inner;
        }
        inner += text[p];
    }
    return std::nullopt;
}

/// One end of a reference: 'path'#$'sheet'.$A$1 with all but the cell optional.
struct Corner {
    std::string book, sheet, cell;
    bool lost = false; // refers to something deleted
};

std::optional<Corner> takeCorner(std::string_view text, std::size_t& at)
{
    Corner corner;
    const auto takeName = [&]() -> std::optional<std::string> {
        if (charAt(text, at) == '\'') return quoted(text, at);
        const std::size_t start = at;
        while (at < text.size() && text[at] != '.' && text[at] != ':' && (text[at] != '#' || at == start))
            ++at;
        return std::string(text.substr(start, at - start));
    };
    if (charAt(text, at) != '.') {
        if (charAt(text, at) == '$') ++at;
        auto name = takeName();
        if (!name) return std::nullopt;
        if (charAt(text, at) == '#' && *name != kLostReference) { // that was the book
            corner.book = unescapedPath(*name);
            ++at;
            if (charAt(text, at) == '$') ++at;
            name = takeName();
            if (!name) return std::nullopt;
        }
        corner.sheet = *name;
        corner.lost = corner.sheet == kLostReference;
    }
    if (charAt(text, at) != '.') return std::nullopt;
    const std::size_t start = ++at;
    while (at < text.size() && text[at] != ':') ++at;
    corner.cell = text.substr(start, at - start);
    corner.lost = corner.lost || corner.cell.find('#') != std::string::npos;
    return corner;
}

std::int32_t wrapped(std::int64_t index, std::int32_t size)
{
    return static_cast<std::int32_t>(((index % size) + size) % size);
}

/// A cell, column or row with its relative parts counted from A1 instead of the base.
std::string shifted(const std::string& cell, Base base)
{
    if (base.row == 0 && base.col == 0) return cell;
    std::string result;
    std::size_t at = 0;
    const bool fixedColumn = charAt(cell, at) == '$' && isLetter(charAt(cell, at + 1));
    if (fixedColumn) ++at;
    std::int64_t col = 0;
    const std::size_t letters = at;
    while (isLetter(charAt(cell, at)) && at - letters < 3)
        col = col * 26 + lexical::upper(cell[at++]) - 'A' + 1;
    if (at > letters) {
        const std::int64_t index = fixedColumn ? col - 1 : wrapped(col - 1 - base.col, kMaxColumns);
        result += (fixedColumn ? "$" : "") + lexical::columnLetters(static_cast<std::int32_t>(index));
    }
    const bool fixedRow = charAt(cell, at) == '$';
    if (fixedRow) ++at;
    const std::string digits = cell.substr(at);
    if (digits.empty()) return result;
    if (digits.size() > 7 || !std::all_of(digits.begin(), digits.end(), isDigit)) return cell;
    const std::int64_t row = std::stoll(digits);
    result +=
        (fixedRow ? "$" : "") + std::to_string(fixedRow ? row : wrapped(row - 1 - base.row, kMaxRows) + 1);
    return result;
}

/// "'folder/[book]Sheet'!" or "Sheet!" or "'First:Last'!" or nothing.
std::string qualifier(const Corner& first, const std::string& lastSheet)
{
    if (!first.book.empty()) {
        const std::size_t slash = first.book.find_last_of("/\\");
        const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
        std::string text = "'";
        for (char c : first.book.substr(0, name) + "[" + first.book.substr(name) + "]" + first.sheet)
            text += c == '\'' ? std::string("''") : std::string(1, c);
        return text + "'!";
    }
    if (first.sheet.empty()) return {};
    if (lastSheet.empty() || lastSheet == first.sheet) return quotedSheetName(first.sheet) + "!";
    std::string both = "'";
    for (char c : first.sheet + ":" + lastSheet) both += c == '\'' ? std::string("''") : std::string(1, c);
    return both + "'!";
}

class Converter {
public:
    Converter(std::string_view text, std::vector<std::string>& books, Base base)
        : text_(text), books_(books), base_(base)
    {}

    std::string formula()
    {
        while (at_ < text_.size())
            if (!step()) return std::string(text_);
        closeArgument();
        return std::move(out_);
    }

    /// The reference that the whole text is; nothing when it is none.
    std::optional<std::string> reference(std::string_view inner)
    {
        std::size_t at = 0;
        const auto first = takeCorner(inner, at);
        if (!first) return std::nullopt;
        std::optional<Corner> last;
        if (charAt(inner, at) == ':') {
            ++at;
            last = takeCorner(inner, at);
            if (!last) return std::nullopt;
        }
        if (at != inner.size()) return std::nullopt;
        if (first->lost || (last && last->lost)) return std::string(kLostReference);
        if (!first->book.empty() && std::find(books_.begin(), books_.end(), first->book) == books_.end())
            books_.push_back(first->book);
        std::string text =
            qualifier(*first, last ? last->sheet : std::string()) + shifted(first->cell, base_);
        if (last) text += ":" + shifted(last->cell, base_);
        return text;
    }

private:
    /// An open parenthesis: where the current argument starts in the output, and whether it is a union.
    struct Frame {
        bool function = false;
        std::size_t start = 0;
        bool joined = false;
    };

    // Consumes at least one letter; false when it is no formula of this notation.
    bool step()
    {
        const char c = text_[at_];
        if (isBlank(c)) return skip();
        if (c == '"') return copyText();
        if (c == '[') return takeReference();
        if (c == '#') return copyFailure();
        if (isDigit(c) || (c == '.' && isDigit(charAt(text_, at_ + 1)))) return copyNumber();
        if (isNameStart(c)) return copyName();
        switch (c) {
        case '{': inArray_ = true; return copy();
        case '}': inArray_ = false; return copy();
        case '|': return put(inArray_ ? ';' : '|');
        case '(': return openParenthesis();
        case ')': return closeParenthesis();
        case ';': return separate();
        case '~':
            if (!frames_.empty()) frames_.back().joined = frames_.back().function;
            return put(',');
        case '!':
            if (charAt(text_, at_ + 1) == '!') ++at_; // the implicit intersection of old labels
            return put(' ');
        default: return copy();
        }
    }

    bool skip()
    {
        ++at_;
        return true;
    }
    bool put(char c)
    {
        out_ += c;
        return skip();
    }
    bool copy() { return put(text_[at_]); }

    bool copyText()
    {
        for (std::size_t p = at_ + 1; p < text_.size(); ++p) {
            if (text_[p] != '"') continue;
            if (charAt(text_, p + 1) == '"') {
                ++p;
                continue;
            }
            out_ += text_.substr(at_, p + 1 - at_);
            at_ = p + 1;
            return true;
        }
        return false;
    }

    bool takeReference()
    {
        std::size_t end = at_ + 1;
        for (bool inName = false; end < text_.size() && (inName || text_[end] != ']'); ++end)
            if (text_[end] == '\'') inName = !inName;
        if (end >= text_.size()) return false;
        const auto found = reference(text_.substr(at_ + 1, end - at_ - 1));
        if (!found) return false;
        out_ += *found;
        at_ = end + 1;
        return true;
    }

    bool copyFailure()
    {
        const std::size_t mark = text_.find_first_of("!?", at_); // ends all but #N/A
        const bool notAvailable = text_.substr(at_, 4) == "#N/A";
        if (!notAvailable && mark == std::string_view::npos) return false;
        const std::size_t length = notAvailable ? 4 : mark + 1 - at_;
        out_ += text_.substr(at_, length);
        at_ += length;
        return true;
    }

    bool copyNumber()
    {
        const std::size_t start = at_;
        while (isDigit(charAt(text_, at_)) || charAt(text_, at_) == '.') ++at_;
        if (lexical::upper(charAt(text_, at_)) == 'E') {
            std::size_t digits = at_ + 1;
            if (charAt(text_, digits) == '+' || charAt(text_, digits) == '-') ++digits;
            if (isDigit(charAt(text_, digits)))
                for (at_ = digits; isDigit(charAt(text_, at_));) ++at_;
        }
        out_ += text_.substr(start, at_ - start);
        return true;
    }

    bool copyName()
    {
        const std::size_t start = at_;
        while (isNamePart(charAt(text_, at_))) ++at_;
        const std::string_view name = text_.substr(start, at_ - start);
        std::size_t next = at_;
        while (isBlank(charAt(text_, next))) ++next;
        if (charAt(text_, next) != '(') {
            out_ += name;
            return true;
        }
        out_ += functionName(name);
        at_ = next;
        out_ += '(';
        ++at_;
        frames_.push_back({true, out_.size(), false});
        return true;
    }

    bool openParenthesis()
    {
        put('(');
        frames_.push_back({false, out_.size(), false});
        return true;
    }

    /// A union as an argument needs parentheses of its own where "," separates arguments too.
    void closeArgument()
    {
        if (frames_.empty() || !frames_.back().joined) return;
        out_.insert(frames_.back().start, "(");
        out_ += ')';
        frames_.back().joined = false;
    }

    bool closeParenthesis()
    {
        closeArgument();
        if (!frames_.empty()) frames_.pop_back();
        return put(')');
    }

    bool separate()
    {
        if (!inArray_) closeArgument();
        put(',');
        if (!inArray_ && !frames_.empty()) frames_.back().start = out_.size();
        return true;
    }

    std::string_view text_;
    std::vector<std::string>& books_;
    Base base_;
    std::size_t at_ = 0;
    std::string out_;
    std::vector<Frame> frames_;
    bool inArray_ = false;
};

} // namespace

std::string formulaText(std::string_view text, std::vector<std::string>& books, Base base)
{
    std::size_t name = 0;
    while (isLetter(charAt(text, name))) ++name;
    const bool prefixed = name > 0 && text.substr(name, 2) == ":=";
    const std::string_view dialect = prefixed ? text.substr(0, name) : std::string_view();
    if (prefixed) text.remove_prefix(name + 1);
    if (charAt(text, 0) == '=') text.remove_prefix(1);
    if (dialect == "msoxl") return std::string(text); // the engine's own notation
    return Converter(text, books, base).formula();
}

std::string referenceText(std::string_view text, std::vector<std::string>& books, Base base)
{
    const auto found = Converter(text, books, base).reference(text);
    return found ? *found : std::string(text);
}

std::optional<CopiedSheet> copiedSheet(std::string_view tableName)
{
    std::size_t at = 0;
    const auto corner =
        tableName.starts_with('\'') ? takeCorner(std::string(tableName) + ".A1", at) : std::nullopt;
    if (!corner || corner->book.empty()) return std::nullopt;
    return CopiedSheet{corner->book, corner->sheet};
}

Base baseOf(std::string_view address)
{
    std::size_t at = 0;
    const auto corner = takeCorner(address, at);
    const auto area = corner ? parseA1(corner->cell) : std::nullopt;
    return area ? Base{area->row0, area->col0} : Base{};
}

} // namespace varnex3::sheet::ods
