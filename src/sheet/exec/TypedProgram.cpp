// sheet/exec/TypedProgram.cpp - the interpreter of typed code.
#include "sheet/exec/TypedProgram.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "sheet/exec/Operators.h"

namespace varnex3::sheet {
namespace {

inline bool isFinite(double x) { return std::fabs(x) <= std::numeric_limits<double>::max(); }

/// Folds `count` numbers one below the other into `start`.
template <class F>
double foldRun(const Value* first, std::uint32_t count, double start, F f)
{
    for (std::uint32_t k = 0; k < count; ++k) start = f(start, first[k].number());
    return start;
}

} // namespace

void TypedTable::read(const Value* store)
{
    keys.clear();
    values.clear();
    for (const auto& [slot, kind] : keyCells) keys.push_back(store[slot].number());
    for (const auto& [slot, kind] : cells)
        values.push_back(kind == Kind::Number ? store[slot].number()
                                              : std::numeric_limits<double>::quiet_NaN());
    const auto close = [](double a, double b) { return compareNumbers(a, b) >= 0; };
    above.assign(keys.begin(), keys.end());
    above.push_back(HUGE_VAL);
    results.assign(1, std::numeric_limits<double>::quiet_NaN());
    for (std::size_t k = 0; k < keys.size(); ++k)
        results.push_back(values.empty() ? static_cast<double>(k + 1) : values[k]);
    isClear = how == How::Ascending && !keys.empty() &&
              std::adjacent_find(keys.begin(), keys.end(), close) == keys.end();
}

/// As MATCH and its like search; see functions/Lookup.cpp.
double TypedTable::find(double sought) const
{
    const std::size_t count = keys.size();
    if (isClear) { // by halving without branches: which way it goes cannot be foreseen
        const double* first = keys.data();
        std::size_t rest = count;
        while (rest > 1) {
            const std::size_t half = rest / 2;
            first = first[half - 1] <= sought ? first + half : first;
            rest -= half;
        }
        const std::size_t notAbove =
            static_cast<std::size_t>(first - keys.data()) + (*first <= sought ? 1 : 0);
        // A key just above the number may count as equal to it.
        const bool counts = notAbove < count && compareNumbers(keys[notAbove], sought) <= 0;
        return results[counts ? notAbove + 1 : notAbove];
    }
    std::size_t found = count;
    if (how == How::Exact) {
        found = static_cast<std::size_t>(std::find(keys.begin(), keys.end(), sought) - keys.begin());
    } else {
        std::size_t low = 0, high = count;
        while (low < high) {
            const std::size_t middle = low + (high - low) / 2;
            const int order = compareNumbers(keys[middle], sought);
            if (how == How::Ascending ? order <= 0 : order >= 0) {
                found = middle;
                low = middle + 1;
            } else {
                high = middle;
            }
        }
    }
    if (found == count) return std::numeric_limits<double>::quiet_NaN();
    return values.empty() ? static_cast<double>(found + 1) : values[found];
}

double TypedTable::pick(double row, double col) const
{
    row = std::trunc(row);
    col = std::trunc(col);
    const bool inside =
        row >= 1.0 && col >= 1.0 && row <= static_cast<double>(rows) && col <= static_cast<double>(cols);
    if (!inside) return std::numeric_limits<double>::quiet_NaN();
    return values[(static_cast<std::size_t>(row) - 1) * cols + static_cast<std::size_t>(col) - 1];
}

/// One operation for `count` formulas; false when a result is no finite number.
bool TypedProgram::repeat(Value* values, const TypedInstruction& in, const TypedInstruction& stride,
                          std::uint32_t count) const
{
    std::uint32_t a = in.a, b = in.b, c = in.c, e = in.e, d = in.d;
    bool finite = true;
    const auto each = [&](auto operation) {
        for (std::uint32_t k = 0; k < count; ++k) {
            const double r = operation(values + a, values + b, values + c, values + e);
            finite = finite && isFinite(r);
            values[d].setNumber(r);
            a += stride.a;
            b += stride.b;
            c += stride.c;
            e += stride.e;
            d += stride.d;
        }
    };
    switch (in.op) {
#define VARNEX3_REPEATED(name, operands, result)                                                             \
    case TypedOp::name:                                                                                      \
        each([&](const Value* pa, const Value* pb, const Value* pc, const Value* pe) {                       \
            [[maybe_unused]] const double x = pa->number(), y = pb->number(), z = pc->number(),              \
                                          w = pe->number();                                                  \
            return result;                                                                                   \
        });                                                                                                  \
        break;
        VARNEX3_TYPED_OPERATIONS(VARNEX3_REPEATED)
#undef VARNEX3_REPEATED
    default: return false;
    }
    return finite;
}

std::uint32_t TypedProgram::run(Value* values, std::uint32_t begin, std::uint32_t end) const
{
    const TypedInstruction* code = instructions.data();
    const auto number = [values](Slot slot) { return values[slot].number(); };
    std::uint32_t holds = kNoHolds; // where an error leads to
    for (std::uint32_t at = begin; at < end; ++at) {
        const TypedInstruction& in = code[at];
        double r = 0.0;
        switch (in.op) {
#define VARNEX3_SINGLE(name, operands, result)                                                               \
    case TypedOp::name: {                                                                                    \
        [[maybe_unused]] const double x = number(in.a), y = number(in.b), z = number(in.c),                  \
                                      w = number(in.e);                                                      \
        r = result;                                                                                          \
        break;                                                                                               \
    }
            VARNEX3_TYPED_OPERATIONS(VARNEX3_SINGLE)
#undef VARNEX3_SINGLE

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

        case TypedOp::PresentRun: r = number(in.b); break;
        case TypedOp::DeviationsRun: {
            const double from = number(in.e);
            r = foldRun(values + in.a, in.c, number(in.b),
                        [from](double s, double x) { return s + (x - from) * (x - from); });
            break;
        }
        case TypedOp::ProductsRun:
            r = number(in.b);
            for (std::uint32_t k = 0; k < in.c; ++k)
                r += values[in.a + k].number() * values[in.e + k].number();
            break;

        case TypedOp::JumpIfZero:
            if (number(in.a) == 0.0) at = in.d - 1;
            continue;
        case TypedOp::Jump: at = in.d - 1; continue;
        case TypedOp::Repeat:
            for (std::uint32_t k = 0; k < in.b; ++k)
                if (!repeat(values, code[at + 1 + 2 * k], code[at + 2 + 2 * k], in.a)) return at;
            at += 2 * in.b;
            continue;
        case TypedOp::Try: holds = in.d; continue;
        case TypedOp::Holds:
            values[in.d].setNumber(1.0);
            holds = in.c;
            continue;
        case TypedOp::Stop:
        case TypedOp::Formula: return at;
        }
        if (!isFinite(r)) {
            if (holds == kNoHolds) return at;
            at = holds;
            holds = code[at].c;
            values[code[at].d].setNumber(0.0);
            continue;
        }
        values[in.d].setNumber(r);
    }
    return end;
}

} // namespace varnex3::sheet
