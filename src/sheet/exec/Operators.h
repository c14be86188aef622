// sheet/exec/Operators.h - the operators of formulas, over numbers and over values of any kind.
//
// One definition for every evaluator, so that all of them give the same bits.
#pragma once

#include <cmath>

#include "sheet/format/Convert.h"
#include "sheet/formula/Tree.h"
#include "sheet/value/Environment.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// A sum or difference that ends a formula and all but cancels counts as 0: below 2^-48 of its left operand
/// only the rounding of the operands is left.
inline double cancelled(double result, double left)
{
    constexpr double kRounding = 0x1p-48;
    return std::fabs(result) < std::fabs(left) * kRounding ? 0.0 : result;
}

/// Order of two numbers that may be alike to 15 digits.
int compareCloseNumbers(double a, double b);

/// Order of two numbers: those alike to 15 significant digits are equal. Negative, 0 or positive.
inline int compareNumbers(double a, double b)
{
    constexpr double kClearly = 0x1p-40; // farther apart than any two numbers alike to 15 digits
    if (a == b) return 0;
    if (std::fabs(a - b) > std::fabs(a) * kClearly) return a < b ? -1 : 1;
    return compareCloseNumbers(a, b);
}

inline bool holds(Operator comparison, int order)
{
    switch (comparison) {
    case Operator::Equal: return order == 0;
    case Operator::NotEqual: return order != 0;
    case Operator::Less: return order < 0;
    case Operator::LessEqual: return order <= 0;
    case Operator::Greater: return order > 0;
    default: return order >= 0;
    }
}

inline bool isComparison(Operator op) { return op >= Operator::Equal && op <= Operator::GreaterEqual; }

/// x ^ y; a result that is not finite stands for #NUM!, except 0 ^ -1, which the caller turns to #DIV/0!.
inline double power(double x, double y)
{
    if (x == 0.0 && y == 0.0) return std::nan("");
    if (y == 2.0) return x * x;
    return std::pow(x, y);
}

/// Arithmetic on two numbers.
Value arithmetic(Operator op, double x, double y);

/// A binary operator on two values that are no references; arrays go element by element.
Value applyBinary(Operator op, const Value& a, const Value& b, DateSystem dates);

/// The same where the result is that of the whole formula: a sum that cancels is 0.
Value applyFinalBinary(Operator op, const Value& a, const Value& b, DateSystem dates);

/// Plus, Negate or Percent.
Value applyUnary(Operator op, const Value& a, DateSystem dates);

/// Element (r, c) of a value spread over a larger block: one value, row or column repeats; #N/A outside.
Value spreadElement(const Value& v, std::int32_t r, std::int32_t c);

/// Rows and columns of a value; 1 for a scalar.
inline std::int32_t rowsOf(const Value& v) { return v.isArray() ? v.rows() : 1; }
inline std::int32_t colsOf(const Value& v) { return v.isArray() ? v.cols() : 1; }

} // namespace varnex3::sheet
