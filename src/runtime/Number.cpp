// runtime/Number.cpp - conversions between numbers and texts, independent of the locale.
#include "runtime/Number.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace varnex3 {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/// Decimal digits of |x| to 15 significant places, d.ddd x 10^exponent; no digits for 0.
struct Decimal {
    std::string digits;
    int exponent = 0;
};

Decimal decimalOf(double x)
{
    if (x == 0.0) return {};
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, std::fabs(x), std::chars_format::scientific, 14);
    Decimal d;
    const char* e = std::find(text, end.ptr, 'e');
    for (const char* p = text; p != e; ++p)
        if (isDigit(*p)) d.digits += *p;
    std::from_chars(e[1] == '+' ? e + 2 : e + 1, end.ptr, d.exponent);
    return d;
}

/// Rounds to `places` digits after the decimal point of 10^0, halves away from zero.
void roundTo(Decimal& d, int places)
{
    const int keep = d.exponent + 1 + places; // significant digits that stay
    if (keep >= static_cast<int>(d.digits.size())) return;
    const bool up = keep >= 0 && d.digits[static_cast<std::size_t>(keep)] >= '5';
    d.digits.resize(static_cast<std::size_t>(std::max(keep, 0)));
    if (!up) return;
    int i = static_cast<int>(d.digits.size()) - 1;
    while (i >= 0 && d.digits[static_cast<std::size_t>(i)] == '9')
        d.digits[static_cast<std::size_t>(i--)] = '0';
    if (i >= 0) {
        ++d.digits[static_cast<std::size_t>(i)];
    } else {
        d.digits.insert(d.digits.begin(), '1');
        ++d.exponent;
    }
}

/// The digit at 10^power.
char digitAt(const Decimal& d, int power)
{
    const int i = d.exponent - power;
    return i >= 0 && i < static_cast<int>(d.digits.size()) ? d.digits[static_cast<std::size_t>(i)] : '0';
}

struct Pattern {
    int whole = 0;    // zeros before the point
    int fixed = 0;    // zeros after the point
    int optional = 0; // # after the point
    int exponent = 0; // zeros after E+; 0: none
};

Pattern readPattern(std::string_view text)
{
    Pattern p;
    std::size_t i = 0;
    const auto count = [&](char c) {
        int n = 0;
        for (; i < text.size() && text[i] == c; ++i) ++n;
        return n;
    };
    p.whole = count('0');
    if (i < text.size() && text[i] == '.') {
        ++i;
        p.fixed = count('0');
        p.optional = count('#');
    }
    if (text.substr(i, 2) == "E+") {
        i += 2;
        p.exponent = count('0');
    }
    if (i != text.size() || p.whole == 0) raise(errors::InvalidCall);
    return p;
}

/// Digits of 10^(whole-1) and below with the fraction that the pattern asks for.
std::string positional(const Decimal& d, const Pattern& p)
{
    std::string text;
    for (int power = std::max(d.digits.empty() ? 0 : d.exponent, p.whole - 1); power >= 0; --power)
        text += digitAt(d, power);
    std::string fraction;
    for (int k = 1; k <= p.fixed + p.optional; ++k) fraction += digitAt(d, -k);
    while (static_cast<int>(fraction.size()) > p.fixed && fraction.back() == '0') fraction.pop_back();
    return fraction.empty() ? text : text + "." + fraction;
}

} // namespace

double roundHalfEven(double x) { return std::nearbyint(x); } // the rounding mode is never changed

Long toLong(double x)
{
    const double rounded = roundHalfEven(x);
    if (!(rounded >= -2147483648.0 && rounded <= 2147483647.0)) raise(errors::Overflow);
    return static_cast<Long>(rounded);
}

Long addLong(Long a, Long b)
{
    Long sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) raise(errors::Overflow);
    return sum;
}

Long multiplyLong(Long a, Long b)
{
    Long product = 0;
    if (__builtin_mul_overflow(a, b, &product)) raise(errors::Overflow);
    return product;
}

std::optional<double> parseNumber(std::string_view text)
{
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    // from_chars also takes a sign, "inf" and "nan": a number starts with a digit or a point here.
    if (text.empty() || (!isDigit(text.front()) && text.front() != '.')) return std::nullopt;
    std::string plain(text);
    for (char& c : plain)
        if (c == 'd' || c == 'D') c = 'e';
    double x = 0.0;
    const auto [end, failure] = std::from_chars(plain.data(), plain.data() + plain.size(), x);
    if (end != plain.data() + plain.size()) {
        // "1." is a number to the runtime; from_chars takes it too. "1e+5": from_chars takes the sign.
        return std::nullopt;
    }
    if (failure == std::errc::result_out_of_range) {
        const auto e = plain.find_first_of("eE");
        const bool tiny = e != std::string::npos && plain.find('-', e) != std::string::npos;
        if (!tiny) return std::nullopt; // too large to be a number
        x = 0.0;
    } else if (failure != std::errc{}) {
        return std::nullopt;
    }
    return negative ? -x : x;
}

std::string toText(double x)
{
    if (std::isnan(x)) return "NaN";
    if (std::isinf(x)) return x < 0 ? "-Inf" : "Inf";
    if (x == 0.0) return "0";
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, x, std::chars_format::general, 15);
    std::string result(text, end.ptr);
    if (const auto e = result.find('e'); e != std::string::npos) result[e] = 'E';
    return result;
}

std::string toText(bool b) { return b ? "True" : "False"; }

std::string formatNumber(double x, std::string_view patternText)
{
    const Pattern pattern = readPattern(patternText);
    if (!std::isfinite(x)) return toText(x);
    Decimal d = decimalOf(x);
    std::string text;
    if (pattern.exponent == 0) {
        roundTo(d, pattern.fixed + pattern.optional);
        text = positional(d, pattern);
    } else {
        int exponent = d.digits.empty() ? 0 : d.exponent - (pattern.whole - 1);
        d.exponent -= exponent;
        roundTo(d, pattern.fixed + pattern.optional);
        if (!d.digits.empty() && d.exponent > pattern.whole - 1) { // 9.99 became 10.0
            --d.exponent;
            ++exponent;
        }
        text = positional(d, pattern);
        std::string power = std::to_string(std::abs(exponent));
        power.insert(
            0, static_cast<std::size_t>(std::max(0, pattern.exponent - static_cast<int>(power.size()))), '0');
        text += (exponent < 0 ? "E-" : "E+") + power;
    }
    const bool zero = text.find_first_of("123456789") >= std::min(text.find('E'), text.size());
    return x < 0.0 && !zero ? "-" + text : text;
}

} // namespace varnex3
