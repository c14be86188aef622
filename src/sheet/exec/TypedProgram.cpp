// sheet/exec/TypedProgram.cpp - the interpreter of typed code.
#include "sheet/exec/TypedProgram.h"

#include <cmath>
#include <limits>

#include "sheet/exec/Operators.h"

namespace varnex3::sheet
{
namespace
{

inline bool isFinite(double x) { return std::fabs(x) <= std::numeric_limits<double>::max(); }

/// Folds `count` numbers one below the other into `start`.
template <class F>
double foldRun(const Value* first, std::uint32_t count, double start, F f)
{
    for (std::uint32_t k = 0; k < count; ++k) start = f(start, first[k].number());
    return start;
}

} // namespace

std::uint32_t TypedProgram::run(Value* values, std::uint32_t begin, std::uint32_t end) const
{
    const TypedInstruction* code = instructions.data();
    const auto number = [values](Slot slot) { return values[slot].number(); };
    for (std::uint32_t at = begin; at < end; ++at) {
        const TypedInstruction& in = code[at];
        double r = 0.0;
        switch (in.op) {
        case TypedOp::Copy: r = number(in.a); break;
        case TypedOp::Add: r = number(in.a) + number(in.b); break;
        case TypedOp::Subtract: r = number(in.a) - number(in.b); break;
        case TypedOp::Multiply: r = number(in.a) * number(in.b); break;
        case TypedOp::Divide: r = number(in.a) / number(in.b); break;
        case TypedOp::Power:
            r = number(in.a) == 0.0 && number(in.b) < 0.0 ? HUGE_VAL : power(number(in.a), number(in.b));
            break;
        case TypedOp::Negate: r = -number(in.a); break;
        case TypedOp::Percent: r = number(in.a) / 100.0; break;
        case TypedOp::FinalAdd: r = cancelled(number(in.a) + number(in.b), number(in.a)); break;
        case TypedOp::FinalSubtract: r = cancelled(number(in.a) - number(in.b), number(in.a)); break;

        case TypedOp::AddProduct: r = number(in.a) + number(in.b) * number(in.c); break;
        case TypedOp::ProductAdd: r = number(in.a) * number(in.b) + number(in.c); break;
        case TypedOp::SubtractProduct: r = number(in.a) - number(in.b) * number(in.c); break;
        case TypedOp::ProductSubtract: r = number(in.a) * number(in.b) - number(in.c); break;
        case TypedOp::ProductSum: r = number(in.a) * number(in.b) + number(in.c) * number(in.e); break;
        case TypedOp::ProductDifference: r = number(in.a) * number(in.b) - number(in.c) * number(in.e); break;
        case TypedOp::FinalAddProduct:
            r = cancelled(number(in.a) + number(in.b) * number(in.c), number(in.a));
            break;
        case TypedOp::FinalSubtractProduct:
            r = cancelled(number(in.a) - number(in.b) * number(in.c), number(in.a));
            break;
        case TypedOp::FinalProductAdd: {
            const double product = number(in.a) * number(in.b);
            r = cancelled(product + number(in.c), product);
            break;
        }
        case TypedOp::FinalProductSubtract: {
            const double product = number(in.a) * number(in.b);
            r = cancelled(product - number(in.c), product);
            break;
        }
        case TypedOp::FinalProductSum: {
            const double product = number(in.a) * number(in.b);
            r = cancelled(product + number(in.c) * number(in.e), product);
            break;
        }
        case TypedOp::FinalProductDifference: {
            const double product = number(in.a) * number(in.b);
            r = cancelled(product - number(in.c) * number(in.e), product);
            break;
        }

        case TypedOp::Equal: r = compareNumbers(number(in.a), number(in.b)) == 0 ? 1.0 : 0.0; break;
        case TypedOp::NotEqual: r = compareNumbers(number(in.a), number(in.b)) != 0 ? 1.0 : 0.0; break;
        case TypedOp::Less: r = compareNumbers(number(in.a), number(in.b)) < 0 ? 1.0 : 0.0; break;
        case TypedOp::LessEqual: r = compareNumbers(number(in.a), number(in.b)) <= 0 ? 1.0 : 0.0; break;
        case TypedOp::Greater: r = compareNumbers(number(in.a), number(in.b)) > 0 ? 1.0 : 0.0; break;
        case TypedOp::GreaterEqual: r = compareNumbers(number(in.a), number(in.b)) >= 0 ? 1.0 : 0.0; break;
        case TypedOp::Not: r = number(in.a) == 0.0 ? 1.0 : 0.0; break;
        case TypedOp::Both: r = number(in.a) != 0.0 && number(in.b) != 0.0 ? 1.0 : 0.0; break;
        case TypedOp::Either: r = number(in.a) != 0.0 || number(in.b) != 0.0 ? 1.0 : 0.0; break;

        case TypedOp::One: r = ones[in.b](number(in.a)); break;
        case TypedOp::Two: r = twos[in.c](number(in.a), number(in.b)); break;

        case TypedOp::SumRun:
            r = foldRun(values + in.a, in.c, number(in.b), [](double s, double x) { return s + x; });
            break;
        case TypedOp::SumSquaresRun:
            r = foldRun(values + in.a, in.c, number(in.b), [](double s, double x) { return s + x * x; });
            break;
        case TypedOp::ProductRun:
            r = foldRun(values + in.a, in.c, number(in.b), [](double s, double x) { return s * x; });
            break;
        case TypedOp::LeastRun:
            r = foldRun(values + in.a, in.c, number(in.b), [](double s, double x) { return x < s ? x : s; });
            break;
        case TypedOp::GreatestRun:
            r = foldRun(values + in.a, in.c, number(in.b), [](double s, double x) { return x > s ? x : s; });
            break;

        case TypedOp::JumpIfZero:
            if (number(in.a) == 0.0) at = in.d - 1;
            continue;
        case TypedOp::Jump: at = in.d - 1; continue;
        }
        if (!isFinite(r)) return at;
        values[in.d].setNumber(r);
    }
    return end;
}

} // namespace varnex3::sheet
