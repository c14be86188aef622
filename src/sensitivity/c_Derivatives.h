// sensitivity/c_Derivatives.h - derivatives of a worksheet model: y a formula cell, x a cell that holds a
// number.
//
// Holds no state. Every evaluation writes trial numbers into the input cells and recalculates the host
// between two macros; afterwards the input cells hold what they held before, also when an error interrupts.
#pragma once

#include <cstdint>
#include <string>

#include "host/interface/Host.h"

namespace varnex3 {

class c_Derivatives : public Object {
public:
    double Deriv(std::int16_t order, host::Range& x, host::Range& y, const std::string& beforeMacro,
                 const std::string& afterMacro, double* h0 = nullptr, double maxErr = 0.0) const;

    double FiniteDiff(std::int16_t order, host::Range& x, host::Range& y, double step,
                      const std::string& beforeMacro, const std::string& afterMacro) const;

    double MixedDeriv(host::Range& x1, host::Range& x2, host::Range& y, const std::string& beforeMacro,
                      const std::string& afterMacro, double* h01 = nullptr, double* h02 = nullptr,
                      double maxErr = 0.0) const;

    /// num2 when it is greater than num1, otherwise num1. Two texts compare as texts; a text is greater
    /// than any number. Raises 13 for error values, arrays and objects.
    Variant max(const Variant& num1, const Variant& num2) const;
};

} // namespace varnex3
