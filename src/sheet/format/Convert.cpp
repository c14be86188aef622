// sheet/format/Convert.cpp - conversions and comparisons between kinds of value.
//
// Reading numbers from text is in NumberFromText.cpp.
#include "sheet/format/Convert.h"

#include <algorithm>
#include <cmath>

#include "sheet/format/Decimal.h"
#include "sheet/format/Letters.h"

namespace varnex3::sheet {
namespace {

constexpr int kWidestPlainNumber = 20; // digits before the point, or characters of a number below 1

bool sameAsciiLetters(std::string_view text, std::string_view upper)
{
    return std::equal(text.begin(), text.end(), upper.begin(), upper.end(), [](char t, char u) {
        return static_cast<char32_t>(static_cast<unsigned char>(u)) ==
               upperLetter(static_cast<unsigned char>(t));
    });
}

int compareNumbers(double a, double b)
{
    if (a == b) return 0;
    const double difference = a - b;
    // One unit of the 15th digit is at most 1E-14 of the number: anything further apart differs.
    if (std::fabs(difference) > 1e-14 * std::max(std::fabs(a), std::fabs(b)))
        return difference < 0.0 ? -1 : 1;
    if (std::isfinite(difference) && (a < 0.0) == (b < 0.0)) {
        const Decimal x = decimalOf(a), y = decimalOf(b);
        if (x.exponent == y.exponent && x.digits == y.digits) return 0;
    }
    return a < b ? -1 : 1;
}

/// Where a character stands among others: signs before digits before letters.
char32_t rankOf(char32_t c)
{
    const char32_t folded = foldedLetter(c);
    if (folded >= '0' && folded <= '9') return 0x200000 + folded;
    if (folded >= 0x80 || (folded >= 'a' && folded <= 'z')) return 0x400000 + folded;
    return folded;
}

/// Rank among the kinds: numbers before texts before Booleans.
int kindRank(Kind kind)
{
    switch (kind) {
    case Kind::Text: return 1;
    case Kind::Boolean: return 2;
    default: return 0;
    }
}

/// What Empty counts as beside the other operand.
Value filledIn(const Value& v, Kind other)
{
    if (!v.isEmpty()) return v;
    if (other == Kind::Text) return Value(std::string());
    if (other == Kind::Boolean) return Value(false);
    return Value(0.0);
}

} // namespace

std::string generalText(double x)
{
    if (!std::isfinite(x)) return std::string(failureText(Failure::Num));
    const Decimal d = decimalOf(x);
    const std::string sign = x < 0.0 ? "-" : "";
    const std::string plain =
        d.exponent < kWidestPlainNumber && d.exponent >= -kWidestPlainNumber ? plainText(d) : std::string();
    const bool fits = !plain.empty() && (d.exponent >= 0 || plain.size() <= kWidestPlainNumber);
    return sign + (fits ? plain : scientificText(d));
}

Value toNumber(const Value& scalar, DateSystem dates)
{
    switch (scalar.kind()) {
    case Kind::Number:
    case Kind::Failure: return scalar;
    case Kind::Empty: return Value(0.0);
    case Kind::Boolean: return Value(scalar.number());
    case Kind::Text:
        if (const auto x = numberFromText(scalar.text(), dates)) return Value(*x);
        break;
    default: break;
    }
    return Value(Failure::Value);
}

Value toBoolean(const Value& scalar)
{
    switch (scalar.kind()) {
    case Kind::Boolean:
    case Kind::Failure: return scalar;
    case Kind::Empty: return Value(false);
    case Kind::Number: return Value(scalar.number() != 0.0);
    case Kind::Text:
        if (sameAsciiLetters(scalar.text(), "TRUE")) return Value(true);
        if (sameAsciiLetters(scalar.text(), "FALSE")) return Value(false);
        break;
    default: break;
    }
    return Value(Failure::Value);
}

Value toText(const Value& scalar)
{
    switch (scalar.kind()) {
    case Kind::Text:
    case Kind::Failure: return scalar;
    case Kind::Empty: return Value(std::string());
    case Kind::Number: return Value(generalText(scalar.number()));
    case Kind::Boolean: return Value(scalar.boolean() ? "TRUE" : "FALSE");
    default: break;
    }
    return Value(Failure::Value);
}

int compareValues(const Value& a, const Value& b)
{
    if (a.isNumber() && b.isNumber()) return compareNumbers(a.number(), b.number());
    if (a.isEmpty() || b.isEmpty()) {
        if (a.isEmpty() && b.isEmpty()) return 0;
        return compareValues(filledIn(a, b.kind()), filledIn(b, a.kind()));
    }
    const int rank = kindRank(a.kind()) - kindRank(b.kind());
    if (rank != 0) return rank;
    if (a.isText()) return compareTexts(a.text(), b.text());
    return compareNumbers(a.number(), b.number());
}

bool equalTexts(std::string_view a, std::string_view b)
{
    if (a == b) return true;
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size())
        if (foldedLetter(nextCharacter(a, i)) != foldedLetter(nextCharacter(b, j))) return false;
    return i == a.size() && j == b.size();
}

int compareTexts(std::string_view a, std::string_view b)
{
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        const char32_t x = rankOf(nextCharacter(a, i)), y = rankOf(nextCharacter(b, j));
        if (x != y) return x < y ? -1 : 1;
    }
    return static_cast<int>(i < a.size()) - static_cast<int>(j < b.size());
}

bool matchesWildcard(std::string_view text, std::string_view pattern)
{
    std::size_t tildes = 0; // one without a character to stand for says nothing
    while (tildes < pattern.size() && pattern[pattern.size() - 1 - tildes] == '~') ++tildes;
    if (tildes % 2 == 1) pattern.remove_suffix(1);
    // Only the last * is ever taken up again: what an earlier one could take, the last one can as well.
    constexpr std::size_t kNoStar = std::string_view::npos;
    std::size_t t = 0, p = 0, starPattern = kNoStar, starText = 0;
    const auto fits = [&] { // one character of the text against one of the pattern; moves both when it fits
        std::size_t p2 = p, t2 = t;
        const char32_t wanted = nextCharacter(pattern, p2);
        const char32_t found = nextCharacter(text, t2);
        const bool escape = wanted == '~' && p2 < pattern.size();
        const char32_t literal = escape ? nextCharacter(pattern, p2) : wanted;
        if ((escape || wanted != '?') && foldedLetter(literal) != foldedLetter(found)) return false;
        p = p2;
        t = t2;
        return true;
    };
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            starPattern = ++p;
            starText = t;
        } else if (p < pattern.size() && fits()) {
            continue;
        } else if (starPattern != kNoStar) {
            nextCharacter(text, starText); // the star takes one character more
            t = starText;
            p = starPattern;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
}

} // namespace varnex3::sheet
