// sheet/format/Decimal.h - the 15 decimal digits that the spreadsheet sees of a double.
#pragma once

#include <string>

namespace varnex3::sheet {

/// Digits without trailing zeros, first digit at 10^exponent; no digits for 0. The sign is the caller's.
struct Decimal {
    std::string digits;
    int exponent = 0;

    bool isZero() const { return digits.empty(); }
    /// The digit at 10^power, '0' outside of what is there.
    char at(int power) const;
    /// Keeps what is at 10^-places and above; halves away from zero.
    void round(int places);
};

/// |x| to 15 significant digits; x is finite.
Decimal decimalOf(double x);

/// "0.00123" or "1E-05" of what is there, without sign.
std::string plainText(const Decimal& d);
std::string scientificText(const Decimal& d);

} // namespace varnex3::sheet
