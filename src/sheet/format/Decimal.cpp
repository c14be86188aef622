// sheet/format/Decimal.cpp - the 15 decimal digits that the spreadsheet sees of a double.
#include "sheet/format/Decimal.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace varnex3::sheet {
namespace {

void dropTrailingZeros(std::string& digits)
{
    while (!digits.empty() && digits.back() == '0') digits.pop_back();
}

} // namespace

char Decimal::at(int power) const
{
    const int i = exponent - power;
    return i >= 0 && i < static_cast<int>(digits.size()) ? digits[static_cast<std::size_t>(i)] : '0';
}

void Decimal::round(int places)
{
    const int keep = exponent + 1 + places; // significant digits that stay
    if (isZero() || keep >= static_cast<int>(digits.size())) return;
    const bool up = keep >= 0 && digits[static_cast<std::size_t>(keep)] >= '5';
    digits.resize(static_cast<std::size_t>(std::max(keep, 0)));
    if (up) {
        while (!digits.empty() && digits.back() == '9') digits.pop_back();
        if (digits.empty()) { // 9.99 becomes 10, 0.6 becomes 1
            digits = "1";
            ++exponent;
        } else {
            ++digits.back();
        }
    }
    dropTrailingZeros(digits);
    if (isZero()) exponent = 0;
}

Decimal decimalOf(double x)
{
    Decimal d;
    if (x == 0.0) return d;
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, std::fabs(x), std::chars_format::scientific, 14);
    const char* e = std::find(text, end.ptr, 'e');
    for (const char* p = text; p != e; ++p)
        if (*p != '.') d.digits += *p;
    std::from_chars(e[1] == '+' ? e + 2 : e + 1, end.ptr, d.exponent);
    dropTrailingZeros(d.digits);
    return d;
}

std::string plainText(const Decimal& d)
{
    if (d.isZero()) return "0";
    const auto digits = static_cast<int>(d.digits.size());
    const auto zeros = [](int n) { return std::string(static_cast<std::size_t>(n), '0'); };
    if (d.exponent < 0) return "0." + zeros(-d.exponent - 1) + d.digits;
    const int whole = d.exponent + 1;
    if (digits <= whole) return d.digits + zeros(whole - digits);
    const auto point = static_cast<std::size_t>(whole);
    return d.digits.substr(0, point) + "." + d.digits.substr(point);
}

std::string scientificText(const Decimal& d)
{
    if (d.isZero()) return "0E+00";
    std::string text(1, d.digits.front());
    if (d.digits.size() > 1) text += "." + d.digits.substr(1);
    const std::string power = std::to_string(std::abs(d.exponent));
    return text + (d.exponent < 0 ? "E-" : "E+") + (power.size() < 2 ? "0" : "") + power;
}

} // namespace varnex3::sheet
