// sheet/functions/Text.cpp - worksheet functions on texts.
//
// Texts are UTF-8 in the engine; positions and lengths count UTF-16 code units, as spreadsheets do. Reading
// numbers from texts, number formats and the case of letters are in format/.
#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sheet/format/Convert.h"
#include "sheet/format/Letters.h"
#include "sheet/format/NumberFormat.h"
#include "sheet/format/Widths.h"
#include "sheet/functions/Function.h"
#include "sheet/functions/Rounding.h"

namespace varnex3::sheet {
namespace {

constexpr std::size_t kLongestText = 32767; // code units that a cell holds

// --- Code units -----------------------------------------------------------------------------------------

bool isAscii(std::string_view s)
{
    return std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isHighSurrogate(char16_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool isLowSurrogate(char16_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

void appendUnits(std::u16string& to, char32_t point)
{
    if (point < 0x10000) {
        to += static_cast<char16_t>(point);
    } else if (point > 0x10FFFF) {
        to += static_cast<char16_t>(0xFFFD);
    } else {
        to += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10U));
        to += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FFU));
    }
}

/// Bytes that are no UTF-8 become U+FFFD.
std::u16string unitsOf(std::string_view s)
{
    std::u16string units;
    units.reserve(s.size());
    for (std::size_t at = 0; at < s.size();) appendUnits(units, nextCharacter(s, at));
    return units;
}

/// Half of a surrogate pair has no UTF-8 form; U+FFFD takes its place, one unit as well.
std::string textOf(std::u16string_view units)
{
    std::string text;
    text.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char16_t u = units[i];
        if (isHighSurrogate(u) && i + 1 < units.size() && isLowSurrogate(units[i + 1])) {
            ++i;
            appendCharacter(text,
                            0x10000U + ((static_cast<char32_t>(u) - 0xD800U) << 10U) + (units[i] - 0xDC00U));
        } else {
            appendCharacter(text, isHighSurrogate(u) || isLowSurrogate(u) ? 0xFFFD : u);
        }
    }
    return text;
}

std::size_t lengthOf(std::string_view s) { return isAscii(s) ? s.size() : unitsOf(s).size(); }

/// `count` units from position `start` (from 0), fewer when the text ends before.
Value middle(std::string_view s, double start, double count)
{
    const auto size = static_cast<double>(s.size());
    if (start >= size) return ""; // there are never more units than bytes
    const auto from = static_cast<std::size_t>(start), n = static_cast<std::size_t>(std::min(count, size));
    if (isAscii(s)) return s.substr(from, n);
    const std::u16string units = unitsOf(s);
    if (from >= units.size()) return "";
    return textOf(std::u16string_view(units).substr(from, n));
}

// --- Letter case ----------------------------------------------------------------------------------------

char16_t lowerUnit(char16_t u) { return static_cast<char16_t>(lowerLetter(u)); }
char16_t upperUnit(char16_t u) { return static_cast<char16_t>(upperLetter(u)); }

/// Anything that has a case, and what lies beyond the signs of Latin-1 that has none.
bool isLetter(char16_t u)
{
    return lowerUnit(u) != u || upperUnit(u) != u ||
           (u >= 0x00DF && u != 0x00F7 && !(u >= 0x2000 && u < 0x2C00));
}

std::u16string lowered(std::u16string units)
{
    std::transform(units.begin(), units.end(), units.begin(), lowerUnit);
    return units;
}

Value lower(Call& call) { return textOf(lowered(unitsOf(call.text(0)))); }

Value upper(Call& call)
{
    std::u16string units = unitsOf(call.text(0));
    std::transform(units.begin(), units.end(), units.begin(), upperUnit);
    return textOf(units);
}

Value proper(Call& call)
{
    std::u16string units = unitsOf(call.text(0));
    bool inWord = false;
    for (char16_t& u : units) {
        const bool letter = isLetter(u);
        u = inWord ? lowerUnit(u) : upperUnit(u);
        inWord = letter;
    }
    return textOf(units);
}

// --- Parts of texts -------------------------------------------------------------------------------------

Value len(Call& call) { return static_cast<double>(lengthOf(call.text(0))); }

Value left(Call& call)
{
    const double n = std::trunc(call.number(1));
    return n < 0.0 ? Value(Failure::Value) : middle(call.text(0), 0.0, n);
}

Value right(Call& call)
{
    const double n = std::trunc(call.number(1));
    if (n < 0.0) return Failure::Value;
    const auto length = static_cast<double>(lengthOf(call.text(0)));
    return middle(call.text(0), std::max(0.0, length - n), n);
}

Value mid(Call& call)
{
    const double start = std::trunc(call.number(1)), n = std::trunc(call.number(2));
    return start < 1.0 || n < 0.0 ? Value(Failure::Value) : middle(call.text(0), start - 1.0, n);
}

Value find(Call& call)
{
    const double start = std::trunc(call.number(2));
    const std::u16string part = unitsOf(call.text(0)), whole = unitsOf(call.text(1));
    if (start < 1.0 || start > static_cast<double>(whole.size()) + 1.0) return Failure::Value;
    const std::size_t at = whole.find(part, static_cast<std::size_t>(start) - 1);
    return at == std::u16string::npos ? Value(Failure::Value) : Value(static_cast<double>(at + 1));
}

/// Position of the first match of a pattern with wildcards, without regard to case.
Value search(Call& call)
{
    const double start = std::trunc(call.number(2));
    const std::u16string whole = unitsOf(call.text(1));
    if (start < 1.0 || start > static_cast<double>(whole.size()) + 1.0) return Failure::Value;
    if (call.text(0).find_first_of("*?~") == std::string_view::npos) {
        const std::size_t at =
            lowered(whole).find(lowered(unitsOf(call.text(0))), static_cast<std::size_t>(start) - 1);
        return at == std::u16string::npos ? Value(Failure::Value) : Value(static_cast<double>(at + 1));
    }
    const std::string pattern = std::string(call.text(0)) + "*";
    for (std::size_t at = static_cast<std::size_t>(start) - 1; at <= whole.size(); ++at) {
        if (at < whole.size() && isLowSurrogate(whole[at])) continue;
        if (matchesWildcard(textOf(std::u16string_view(whole).substr(at)), pattern))
            return static_cast<double>(at + 1);
    }
    return Failure::Value;
}

Value replace(Call& call)
{
    const double start = std::trunc(call.number(1)), n = std::trunc(call.number(2));
    if (start < 1.0 || n < 0.0) return Failure::Value;
    std::u16string units = unitsOf(call.text(0));
    const auto size = static_cast<double>(units.size());
    const auto from = static_cast<std::size_t>(std::min(start - 1.0, size));
    units.replace(from, static_cast<std::size_t>(std::min(n, size)), unitsOf(call.text(3)));
    return textOf(units);
}

/// Every occurrence, or the one that the fourth argument counts, replaced.
Value substitute(Call& call)
{
    const std::string_view text = call.text(0), old = call.text(1);
    const double only = call.given(3) ? std::trunc(call.number(3)) : 0.0;
    if (call.given(3) && only < 1.0) return Failure::Value;
    if (old.empty()) return text;
    std::string result;
    std::size_t from = 0;
    for (double n = 1.0;; n += 1.0) {
        const std::size_t at = text.find(old, from);
        if (at == std::string_view::npos) break;
        result += text.substr(from, at - from);
        result += only == 0.0 || only == n ? call.text(2) : old;
        from = at + old.size();
    }
    result += text.substr(from);
    return result;
}

/// Without spaces at the ends, and single ones between words. Other white space stays.
Value trim(Call& call)
{
    std::string result;
    for (char c : call.text(0))
        if (c != ' ' || (!result.empty() && result.back() != ' ')) result += c;
    if (!result.empty() && result.back() == ' ') result.pop_back();
    return result;
}

Value clean(Call& call)
{
    std::string result;
    for (char c : call.text(0))
        if (static_cast<unsigned char>(c) >= 32) result += c;
    return result;
}

Value exact(Call& call) { return call.text(0) == call.text(1); }

Value rept(Call& call)
{
    const double n = std::trunc(call.number(1));
    if (n < 0.0 || n * static_cast<double>(lengthOf(call.text(0))) > static_cast<double>(kLongestText))
        return Failure::Value;
    std::string result;
    if (!call.text(0).empty())
        for (double i = 0.0; i < n; i += 1.0) result += call.text(0);
    return result;
}

// --- Texts around a delimiter ---------------------------------------------------------------------------

/// The delimiters of an argument, as they are or in lower case.
std::vector<std::u16string> delimiters(Call& call, int i, bool anyCase)
{
    std::vector<std::u16string> all;
    for (const Value& v : call.elements(i)) {
        const Value text = toText(v);
        if (!text.isText()) continue;
        all.push_back(anyCase ? lowered(unitsOf(text.text())) : unitsOf(text.text()));
    }
    return all;
}

struct Match {
    std::size_t at = 0, length = 0;
};

/// Where delimiters stand in `text`, from left to right without overlap; the longest where several fit.
std::vector<Match> matchesOf(const std::u16string& text, const std::vector<std::u16string>& delimiters)
{
    std::vector<Match> found;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t length = 0;
        for (const std::u16string& d : delimiters)
            if (d.size() > length && text.compare(at, d.size(), d) == 0) length = d.size();
        if (length > 0) found.push_back({at, length});
        at += std::max<std::size_t>(length, 1);
    }
    return found;
}

/// The delimiter that the third argument counts, from the left or, when negative, from the right.
/// With the fifth argument set the end of the text (its beginning, from the right) is one as well.
std::optional<Match> chosenMatch(Call& call, const std::u16string& text, double instance)
{
    const bool anyCase = call.number(3) != 0.0;
    const std::vector<std::u16string> wanted = delimiters(call, 1, anyCase);
    const bool matchesNothing =
        std::any_of(wanted.begin(), wanted.end(), [](const std::u16string& d) { return d.empty(); });
    if (matchesNothing) return instance > 0.0 ? Match{0, 0} : Match{text.size(), 0};
    std::vector<Match> found = matchesOf(anyCase ? lowered(text) : text, wanted);
    if (call.number(4) != 0.0) {
        if (instance > 0.0)
            found.push_back({text.size(), 0});
        else
            found.insert(found.begin(), {0, 0});
    }
    if (std::fabs(instance) > static_cast<double>(found.size())) return std::nullopt;
    const auto k = static_cast<std::size_t>(std::fabs(instance));
    return instance > 0.0 ? found[k - 1] : found[found.size() - k];
}

Value aroundDelimiter(Call& call, bool before)
{
    const double instance = call.given(2) ? std::trunc(call.number(2)) : 1.0;
    if (instance == 0.0) return Failure::Value;
    const std::u16string text = unitsOf(call.text(0));
    const std::optional<Match> match = chosenMatch(call, text, instance);
    if (!match) return call.given(5) ? call.value(5) : Value(Failure::NA);
    const std::u16string_view units = text;
    return textOf(before ? units.substr(0, match->at) : units.substr(match->at + match->length));
}

Value textBefore(Call& call) { return aroundDelimiter(call, true); }
Value textAfter(Call& call) { return aroundDelimiter(call, false); }

/// Pieces of a text between delimiters; the text itself when there are none.
std::vector<std::u16string> pieces(Call& call, const std::u16string& text, int delimiterArgument)
{
    std::vector<std::u16string> all;
    if (!call.given(delimiterArgument)) return {text};
    const bool keepEmpty = !call.boolean(3), anyCase = call.number(4) != 0.0;
    std::size_t from = 0;
    const auto add = [&](std::size_t to) {
        if (keepEmpty || to > from) all.push_back(text.substr(from, to - from));
    };
    for (const Match& m :
         matchesOf(anyCase ? lowered(text) : text, delimiters(call, delimiterArgument, anyCase))) {
        add(m.at);
        from = m.at + m.length;
    }
    add(text.size());
    return all;
}

Value textSplit(Call& call)
{
    for (int i : {1, 2}) {
        if (!call.given(i)) continue;
        const std::vector<std::u16string> wanted = delimiters(call, i, false);
        if (std::all_of(wanted.begin(), wanted.end(), [](const auto& d) { return d.empty(); }))
            return Failure::Value;
    }
    std::vector<std::vector<std::u16string>> lines;
    std::size_t width = 0;
    for (const std::u16string& line : pieces(call, unitsOf(call.text(0)), 2)) {
        lines.push_back(pieces(call, line, 1));
        width = std::max(width, lines.back().size());
    }
    if (width == 0) return Failure::Calc;
    const Value padding = call.given(5) ? call.value(5) : Value(Failure::NA);
    std::vector<Value> items;
    for (const auto& line : lines)
        for (std::size_t c = 0; c < width; ++c)
            items.push_back(c < line.size() ? Value(textOf(line[c])) : padding);
    return Value::array(static_cast<std::int32_t>(lines.size()), static_cast<std::int32_t>(width),
                        std::move(items));
}

// --- Joining --------------------------------------------------------------------------------------------

Value limited(std::string text)
{
    return lengthOf(text) > kLongestText ? Value(Failure::Value) : Value(std::move(text));
}

/// All elements of the arguments, row by row.
Value concat(Call& call)
{
    std::string result;
    for (int i = 0; i < call.count(); ++i)
        for (const Value& v : call.elements(i)) {
            const Value text = toText(v);
            if (text.isFailure()) return text;
            result += text.text();
        }
    return limited(std::move(result));
}

Value concatenate(Call& call)
{
    std::string result;
    for (int i = 0; i < call.count(); ++i) result += call.text(i);
    return limited(std::move(result));
}

/// Joined with delimiters between, which are used in turn when there are several.
Value textJoin(Call& call)
{
    std::vector<std::string> between;
    for (const Value& v : call.elements(0)) {
        const Value text = toText(v);
        if (text.isFailure()) return text;
        between.push_back(text.text());
    }
    std::string result;
    std::size_t joined = 0;
    for (int i = 2; i < call.count(); ++i)
        for (const Value& v : call.elements(i)) {
            const Value text = toText(v);
            if (text.isFailure()) return text;
            if (call.boolean(1) && text.text().empty()) continue;
            if (joined > 0) result += between[(joined - 1) % between.size()];
            result += text.text();
            ++joined;
        }
    return limited(std::move(result));
}

// --- Numbers and characters -----------------------------------------------------------------------------

Value textWithFormat(Call& call)
{
    Value v = call.value(0);
    if (v.isEmpty()) v = Value(0.0);
    if (v.isText())
        if (const auto x = numberFromText(v.text(), call.dates())) v = Value(*x);
    const auto text = formatValue(v, call.text(1), call.dates());
    return text ? Value(*text) : Value(Failure::Value);
}

Value valueOf(Call& call)
{
    const Value& v = call.value(0);
    return v.isBoolean() ? Value(Failure::Value) : toNumber(v, call.dates());
}

/// A number written with other separators; spaces do not count, percent signs at the end may repeat.
Value numberValue(Call& call)
{
    const std::u16string decimal = call.given(1) ? unitsOf(call.text(1)) : u".";
    const std::u16string group = call.given(2) ? unitsOf(call.text(2)) : u",";
    if (decimal.empty() || group.empty()) return Failure::Value;
    std::string plain;
    double scale = 1.0;
    bool fraction = false, percent = false;
    for (char16_t u : unitsOf(call.text(0))) {
        if (u == u' ' || u == u'\t' || u == u'\n' || u == u'\r' || u == 0xA0) continue;
        if (percent && u != u'%') return Failure::Value;
        if (u == decimal[0]) {
            if (fraction) return Failure::Value;
            fraction = true;
            plain += '.';
        } else if (u == group[0]) {
            if (fraction) return Failure::Value;
        } else if (u == u'%') {
            percent = true;
            scale *= 100.0;
        } else if (u < 0x80) {
            plain += static_cast<char>(u);
        } else {
            return Failure::Value;
        }
    }
    if (plain.empty()) return percent ? Value(Failure::Value) : Value(0.0);
    if (plain.find_first_not_of("0123456789.+-eE") != std::string::npos) return Failure::Value;
    const auto x = numberFromText(plain, call.dates());
    return x ? finite(*x / scale) : Value(Failure::Value);
}

/// "#,##0.00" with that many decimals.
std::string fixedFormat(double decimals, bool separators)
{
    std::string format = separators ? "#,##0" : "0";
    if (decimals >= 1.0) format += "." + std::string(static_cast<std::size_t>(decimals), '0');
    return format;
}

/// Halves away from zero, left of the point; the number format rounds to the right of it.
double roundedLeft(double x, double decimals)
{
    if (decimals >= 0.0) return x;
    const double unit = std::pow(10.0, -decimals);
    return std::isfinite(unit) ? std::round(x / unit) * unit : 0.0;
}

Value asc(Call& call) { return halfWidth(call.text(0)); }
Value dbcs(Call& call) { return fullWidth(call.text(0)); }

Value bahtInWords(Call& call)
{
    constexpr double kLimit = 1e15;
    const double amount = call.number(0);
    return std::fabs(amount) < kLimit ? Value(bahtText(amount)) : Value(Failure::Value);
}

Value fixed(Call& call)
{
    const double decimals = std::trunc(call.number(1));
    if (decimals > 127.0) return Failure::Value;
    const double rounded = roundPlaces(call.number(0), decimals) + 0.0; // 0 has no sign
    const auto text = formatValue(rounded, fixedFormat(decimals, !call.boolean(2)), call.dates());
    return text ? Value(*text) : Value(Failure::Value);
}

Value dollar(Call& call)
{
    const double decimals = std::trunc(call.number(1));
    if (decimals > 127.0) return Failure::Value;
    const std::string format = "$" + fixedFormat(decimals, true);
    const auto text =
        formatValue(roundedLeft(call.number(0), decimals), format + ";(" + format + ")", call.dates());
    return text ? Value(*text) : Value(Failure::Value);
}

Value textOnly(Call& call) { return call.value(0).isText() ? call.value(0) : Value(""); }

// Code page 1252 from 128 to 159; elsewhere its codes are the code points. 0: not assigned.
constexpr char16_t kCodePage[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

Value charOf(Call& call)
{
    const double code = std::trunc(call.number(0));
    if (code < 1.0 || code > 255.0) return Failure::Value;
    auto point = static_cast<char32_t>(code);
    if (point >= 128 && point < 160 && kCodePage[point - 128] != 0) point = kCodePage[point - 128];
    std::string text;
    appendCharacter(text, point);
    return text;
}

Value codeOf(Call& call)
{
    if (call.text(0).empty()) return Failure::Value;
    std::size_t at = 0;
    const char32_t point = nextCharacter(call.text(0), at);
    for (int i = 0; i < 32; ++i)
        if (kCodePage[i] != 0 && kCodePage[i] == point) return 128.0 + i;
    return point < 256 ? static_cast<double>(point) : static_cast<double>('?');
}

Value unichar(Call& call)
{
    const double code = std::trunc(call.number(0));
    if (code < 1.0 || code > 0x10FFFF) return Failure::Value;
    const auto point = static_cast<char32_t>(code);
    if ((point >= 0xD800 && point <= 0xDFFF) || (point & 0xFFFEU) == 0xFFFEU) return Failure::NA;
    std::string text;
    appendCharacter(text, point);
    return text;
}

Value unicode(Call& call)
{
    if (call.text(0).empty()) return Failure::Value;
    std::size_t at = 0;
    const char32_t point = nextCharacter(call.text(0), at);
    return point > 0x10FFFF ? Value(Failure::Value) : Value(static_cast<double>(point));
}

// clang-format off
constexpr FunctionRow rows[] = {
//   name           arguments                                                                              trait        body              summary                                            example                                       shows
    {"ASC",         {text()},                                                                              Trait::Pure, asc,              "full-width letters and katakana in half width",   "=ASC(\"ＡＢＣ　１\")",                     "ABC 1"},
    {"BAHTTEXT",    {number()},                                                                            Trait::Pure, bahtInWords,      "an amount of baht in Thai words",                 "=BAHTTEXT(1234)",                            "หนึ่งพันสองร้อยสามสิบสี่บาทถ้วน"},
    {"CHAR",        {number()},                                                                            Trait::Pure, charOf,           "character of a code of code page 1252",           "=CHAR(65)",                                  "A"},
    {"CLEAN",       {text()},                                                                              Trait::Pure, clean,            "text without control characters",                 "=CLEAN(\"a\"&CHAR(10)&\"b\")",               "ab"},
    {"CODE",        {text()},                                                                              Trait::Pure, codeOf,           "code of the first character in code page 1252",   "=CODE(\"A\")",                               "65"},
    {"CONCAT",      {repeats(range())},                                                                    Trait::Pure, concat,           "all elements joined",                             "=CONCAT({\"a\",\"b\";\"c\",1})",             "abc1"},
    {"CONCATENATE", {repeats(text())},                                                                     Trait::Pure, concatenate,      "texts joined",                                    "=CONCATENATE(\"a\",1,TRUE)",                 "a1TRUE"},
    {"DBCS",        {text()},                                                                              Trait::Pure, dbcs,             "half-width letters and katakana in full width",   "=DBCS(\"A 1\")",                             "Ａ　１"},
    {"DOLLAR",      {number(), number(2)},                                                                 Trait::Pure, dollar,           "number as an amount of dollars",                  "=DOLLAR(-1234.567,-2)",                      "($1,200)"},
    {"EXACT",       {text(), text()},                                                                      Trait::Pure, exact,            "whether texts are the same, case included",       "=EXACT(\"Word\",\"word\")",                  "FALSE"},
    {"FIND",        {text(), text(), number(1)},                                                           Trait::Pure, find,             "position of a text, case included",               "=FIND(\"M\",\"Miriam McGovern\",3)",         "8"},
    {"FINDB",       {text(), text(), number(1)},                                                           Trait::Pure, find,             "FIND",                                            "=FINDB(\"b\",\"abc\")",                      "2"},
    {"FIXED",       {number(), number(2), boolean(false)},                                                 Trait::Pure, fixed,            "number with fixed decimals as a text",            "=FIXED(1234.567,1)",                         "1,234.6"},
    {"LEFT",        {text(), number(1)},                                                                   Trait::Pure, left,             "first characters",                                "=LEFT(\"Sale Price\",4)",                    "Sale"},
    {"LEFTB",       {text(), number(1)},                                                                   Trait::Pure, left,             "LEFT",                                            "=LEFTB(\"abc\",2)",                          "ab"},
    {"LEN",         {text()},                                                                              Trait::Pure, len,              "number of characters",                            "=LEN(\"Phoenix, AZ\")",                      "11"},
    {"LENB",        {text()},                                                                              Trait::Pure, len,              "LEN",                                             "=LENB(\"abc\")",                             "3"},
    {"LOWER",       {text()},                                                                              Trait::Pure, lower,            "small letters",                                   "=LOWER(\"Apt. 2B\")",                        "apt. 2b"},
    {"MID",         {text(), number(), number()},                                                          Trait::Pure, mid,              "characters from a position on",                   "=MID(\"Fluid Flow\",7,20)",                  "Flow"},
    {"MIDB",        {text(), number(), number()},                                                          Trait::Pure, mid,              "MID",                                             "=MIDB(\"abc\",2,1)",                         "b"},
    {"NUMBERVALUE", {text(), optional(text()), optional(text())},                                          Trait::Pure, numberValue,      "number in a text with given separators",          "=NUMBERVALUE(\"2.500,27\",\",\",\".\")",     "2500.27"},
    {"PROPER",      {text()},                                                                              Trait::Pure, proper,           "words with initial capitals",                     "=PROPER(\"2-way street's END\")",            "2-Way Street'S End"},
    {"REPLACE",     {text(), number(), number(), text()},                                                  Trait::Pure, replace,          "text with characters at a position replaced",     "=REPLACE(\"abcdefghijk\",6,5,\"*\")",        "abcde*k"},
    {"REPLACEB",    {text(), number(), number(), text()},                                                  Trait::Pure, replace,          "REPLACE",                                         "=REPLACEB(\"abc\",2,1,\"x\")",               "axc"},
    {"REPT",        {text(), number()},                                                                    Trait::Pure, rept,             "text repeated",                                   "=REPT(\"*-\",3)",                            "*-*-*-"},
    {"RIGHT",       {text(), number(1)},                                                                   Trait::Pure, right,            "last characters",                                 "=RIGHT(\"Sale Price\",5)",                   "Price"},
    {"RIGHTB",      {text(), number(1)},                                                                   Trait::Pure, right,            "RIGHT",                                           "=RIGHTB(\"abc\",2)",                         "bc"},
    {"SEARCH",      {text(), text(), number(1)},                                                           Trait::Pure, search,           "position of a pattern, in any case",              "=SEARCH(\"M?C\",\"Profit macon\")",          "8"},
    {"SEARCHB",     {text(), text(), number(1)},                                                           Trait::Pure, search,           "SEARCH",                                          "=SEARCHB(\"B\",\"abc\")",                    "2"},
    {"SUBSTITUTE",  {text(), text(), text(), optional(number())},                                          Trait::Pure, substitute,       "text with a part replaced",                       "=SUBSTITUTE(\"Quarter 1, 2011\",\"1\",\"2\",3)", "Quarter 1, 2012"},
    {"T",           {scalar()},                                                                            Trait::Pure, textOnly,         "the text, or nothing for other values",           "=T(\"Rainfall\")&T(19)",                     "Rainfall"},
    {"TEXT",        {scalar(), text()},                                                                    Trait::Pure, textWithFormat,   "value written with a number format",              "=TEXT(1234.567,\"#,##0.00\")",               "1,234.57"},
    {"TEXTAFTER",   {text(), range(), number(1), number(0), number(0), optional(any())},                   Trait::Pure, textAfter,        "text after a delimiter",                          "=TEXTAFTER(\"a-b-c\",\"-\",-1)",             "c"},
    {"TEXTBEFORE",  {text(), range(), number(1), number(0), number(0), optional(any())},                   Trait::Pure, textBefore,       "text before a delimiter",                         "=TEXTBEFORE(\"a-b-c\",\"-\",2)",             "a-b"},
    {"TEXTJOIN",    {range(), boolean(), repeats(range())},                                                Trait::Pure, textJoin,         "elements joined with delimiters",                 "=TEXTJOIN(\", \",TRUE,{\"a\",\"\",\"b\"})",  "a, b"},
    {"TEXTSPLIT",   {text(), range(), optional(range()), boolean(false), number(0), optional(any())},      Trait::Pure, textSplit,        "text split at delimiters, as an array",           "=INDEX(TEXTSPLIT(\"a,b;c\",\",\",\";\"),2,1)", "c"},
    {"TRIM",        {text()},                                                                              Trait::Pure, trim,             "text without superfluous spaces",                 "=TRIM(\"  first   quarter \")",              "first quarter"},
    {"UNICHAR",     {number()},                                                                            Trait::Pure, unichar,          "character of a code point",                       "=UNICHAR(66)",                               "B"},
    {"UNICODE",     {text()},                                                                              Trait::Pure, unicode,          "code point of the first character",               "=UNICODE(\"B\")",                            "66"},
    {"UPPER",       {text()},                                                                              Trait::Pure, upper,            "capital letters",                                 "=UPPER(\"total\")",                          "TOTAL"},
    {"VALUE",       {scalar()},                                                                            Trait::Pure, valueOf,          "number that a text stands for",                   "=VALUE(\"$1,000\")",                         "1000"},
};
// clang-format on
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> textFunctions() { return rows; }

} // namespace varnex3::sheet
