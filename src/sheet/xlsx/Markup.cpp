// sheet/xlsx/Markup.cpp - escapes, numbers, function prefixes.
#include "sheet/xlsx/Markup.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

#include "sheet/format/Convert.h"
#include "sheet/formula/Lexical.h"
#include "sheet/formula/Parser.h"
#include "sheet/xlsx/Prefixes.h"

namespace varnex3::sheet::xlsx {

namespace {

// Functions that came after the file format and are written with a prefix [MS-XLSX, 2.2.2], sorted.
constexpr std::string_view kNewer[] = {
    "ACOT",
    "ACOTH",
    "AGGREGATE",
    "ARABIC",
    "ARRAYTOTEXT",
    "BASE",
    "BETA.DIST",
    "BETA.INV",
    "BINOM.DIST",
    "BINOM.DIST.RANGE",
    "BINOM.INV",
    "BITAND",
    "BITLSHIFT",
    "BITOR",
    "BITRSHIFT",
    "BITXOR",
    "BYCOL",
    "BYROW",
    "CEILING.MATH",
    "CEILING.PRECISE",
    "CHISQ.DIST",
    "CHISQ.DIST.RT",
    "CHISQ.INV",
    "CHISQ.INV.RT",
    "CHISQ.TEST",
    "CHOOSECOLS",
    "CHOOSEROWS",
    "COMBINA",
    "CONCAT",
    "CONFIDENCE.NORM",
    "CONFIDENCE.T",
    "COT",
    "COTH",
    "COVARIANCE.P",
    "COVARIANCE.S",
    "CSC",
    "CSCH",
    "DAYS",
    "DECIMAL",
    "DROP",
    "ERF.PRECISE",
    "ERFC.PRECISE",
    "EXPAND",
    "EXPON.DIST",
    "F.DIST",
    "F.DIST.RT",
    "F.INV",
    "F.INV.RT",
    "F.TEST",
    "FILTER",
    "FLOOR.MATH",
    "FLOOR.PRECISE",
    "FORECAST.LINEAR",
    "FORMULATEXT",
    "GAMMA",
    "GAMMA.DIST",
    "GAMMA.INV",
    "GAMMALN.PRECISE",
    "GAUSS",
    "HSTACK",
    "HYPGEOM.DIST",
    "IFNA",
    "IFS",
    "IMCOSH",
    "IMCOT",
    "IMCSC",
    "IMCSCH",
    "IMSEC",
    "IMSECH",
    "IMSINH",
    "IMTAN",
    "ISFORMULA",
    "ISOMITTED",
    "ISOWEEKNUM",
    "LAMBDA",
    "LET",
    "LOGNORM.DIST",
    "LOGNORM.INV",
    "MAKEARRAY",
    "MAP",
    "MAXIFS",
    "MINIFS",
    "MODE.MULT",
    "MODE.SNGL",
    "MUNIT",
    "NEGBINOM.DIST",
    "NORM.DIST",
    "NORM.INV",
    "NORM.S.DIST",
    "NORM.S.INV",
    "NUMBERVALUE",
    "PDURATION",
    "PERCENTILE.EXC",
    "PERCENTILE.INC",
    "PERCENTOF",
    "PERCENTRANK.EXC",
    "PERCENTRANK.INC",
    "PERMUTATIONA",
    "PHI",
    "POISSON.DIST",
    "QUARTILE.EXC",
    "QUARTILE.INC",
    "RANDARRAY",
    "RANK.AVG",
    "RANK.EQ",
    "REDUCE",
    "RRI",
    "SCAN",
    "SEC",
    "SECH",
    "SEQUENCE",
    "SHEET",
    "SHEETS",
    "SKEW.P",
    "SORT",
    "SORTBY",
    "STDEV.P",
    "STDEV.S",
    "SWITCH",
    "T.DIST",
    "T.DIST.2T",
    "T.DIST.RT",
    "T.INV",
    "T.INV.2T",
    "T.TEST",
    "TAKE",
    "TEXTAFTER",
    "TEXTBEFORE",
    "TEXTJOIN",
    "TEXTSPLIT",
    "TOCOL",
    "TOROW",
    "TRIMRANGE",
    "UNICHAR",
    "UNICODE",
    "UNIQUE",
    "VALUETOTEXT",
    "VAR.P",
    "VAR.S",
    "VSTACK",
    "WEIBULL.DIST",
    "WRAPCOLS",
    "WRAPROWS",
    "XLOOKUP",
    "XMATCH",
    "XOR",
    "Z.TEST",
};
static_assert(std::is_sorted(std::begin(kNewer), std::end(kNewer)));

std::string_view functionPrefix(const std::string& name)
{
    if (name == "FILTER" || name == "SORT") return "_xlfn._xlws.";
    return std::binary_search(std::begin(kNewer), std::end(kNewer), name) ? "_xlfn." : "";
}

/// The length of the UTF-8 character at the start of `text`; 0 when there is none that XML can hold.
std::size_t characterLength(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) return 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
    std::uint32_t code = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) return 0;
        code = code << 6 | (byte(i) & 0x3FU);
    }
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    return code < smallest[length] || code > 0x10FFFF || surrogate || code == 0xFFFE || code == 0xFFFF
               ? 0
               : length;
}

/// Error values newer than the format stand there as #VALUE! until they are calculated.
Failure storedFailure(Failure f) { return f == Failure::Spill || f == Failure::Calc ? Failure::Value : f; }

bool isHex(char c) { return lexical::isDigit(c) || (lexical::upper(c) >= 'A' && lexical::upper(c) <= 'F'); }

/// Whether "_xHHHH_" stands here, which would be read as one character. The last "_" may be that of a
/// control character's escape.
bool looksEscaped(std::string_view text)
{
    return text.size() >= 7 && (text[1] == 'x' || text[1] == 'X') &&
           (text[6] == '_' || static_cast<unsigned char>(text[6]) < 0x20) &&
           std::all_of(text.begin() + 2, text.begin() + 6, isHex);
}

void appendCharacterEscape(std::string& out, char c)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    out.append("_x00").append(1, digits[byte >> 4U]).append(1, digits[byte & 0xFU]).append("_");
}

/// `tab` and `line` are written for these characters.
void appendEscaped(std::string& out, std::string_view text, std::string_view tab, std::string_view line)
{
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        if (length != 1) {
            out.append(length == 0 ? std::string_view("\xEF\xBF\xBD") : text.substr(0, length));
            text.remove_prefix(std::max<std::size_t>(length, 1));
            continue;
        }
        const char c = text[0];
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\t': out += tab; break;
        case '\n': out += line; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20)
                appendCharacterEscape(out, c);
            else if (c == '_' && looksEscaped(text))
                out += "_x005F_";
            else
                out += c;
        }
        text.remove_prefix(1);
    }
}

} // namespace

void appendEscaped(std::string& out, std::string_view text) { appendEscaped(out, text, "&#9;", "&#10;"); }

void appendColumnName(std::string& out, std::string_view name)
{
    appendEscaped(out, name, "_x0009_", "_x000a_");
}

void appendNumber(std::string& out, double x)
{
    std::array<char, 40> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), x);
    out.append(digits.data(), end);
}

void appendCellName(std::string& out, std::int32_t row, std::int32_t col)
{
    std::array<char, 3> letters{};
    std::size_t first = letters.size();
    for (std::int32_t rest = col + 1; rest > 0; rest = (rest - 1) / 26)
        letters[--first] = static_cast<char>('A' + (rest - 1) % 26);
    out.append(letters.data() + first, letters.size() - first);
    std::array<char, 12> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), row + 1);
    out.append(digits.data(), end);
}

std::string fileFormula(std::string_view text, const FormulaPlace& place)
{
    const CellAddress anywhere;
    ParseResult parsed = parseFormula(text, anywhere);
    std::string marked;
    if (Tree* tree = std::get_if<Tree>(&parsed)) {
        const bool bound = prefixNames(*tree), spelled = spellOutSingles(*tree, place);
        if (bound || spelled) marked = formulaText(*tree, anywhere);
    }
    std::string_view formula = marked.empty() ? text : std::string_view(marked);
    if (formula.starts_with('=')) formula.remove_prefix(1);
    std::string result;
    for (std::size_t i = 0; i < formula.size();) {
        const char c = formula[i];
        std::size_t end = i + 1;
        if (c == '"' || c == '\'') { // a doubled quote inside begins the next stretch
            end = formula.find(c, i + 1);
            end = end == std::string_view::npos ? formula.size() : end + 1;
        } else if (lexical::isNameStart(c)) {
            while (end < formula.size() && lexical::isNamePart(formula[end])) ++end;
            if (lexical::charAt(formula, end) == '(')
                result += functionPrefix(lexical::upperText(formula.substr(i, end - i)));
        } else if (lexical::isDigit(c)) {
            while (end < formula.size() && lexical::isNamePart(formula[end])) ++end;
        }
        result.append(formula.substr(i, end - i));
        i = end;
    }
    return result;
}

std::string_view cellType(const Value& value, bool formula)
{
    switch (value.kind()) {
    case Kind::Boolean: return "b";
    case Kind::Failure: return value.failure() == Failure::Circular ? "" : "e";
    case Kind::Text: return formula ? "str" : "inlineStr";
    default: return "";
    }
}

void appendValue(std::string& out, const Value& value, bool formula, std::string_view prefix)
{
    const auto element = [&](std::string_view name, auto&& content) {
        out.append("<").append(prefix).append(name).append(">");
        content();
        out.append("</").append(prefix).append(name).append(">");
    };
    switch (value.kind()) {
    case Kind::Number: element("v", [&] { appendNumber(out, value.number()); }); break;
    case Kind::Boolean: element("v", [&] { out += value.boolean() ? '1' : '0'; }); break;
    case Kind::Failure:
        if (value.failure() != Failure::Circular)
            element("v",
                    [&] { out += failureText(formula ? storedFailure(value.failure()) : value.failure()); });
        break;
    case Kind::Text:
        if (formula) {
            element("v", [&] { appendEscaped(out, value.text()); });
        } else {
            element("is", [&] {
                out.append("<").append(prefix).append("t xml:space=\"preserve\">");
                appendEscaped(out, value.text());
                out.append("</").append(prefix).append("t>");
            });
        }
        break;
    default: break;
    }
}

} // namespace varnex3::sheet::xlsx
