// sheet/exec/Lanes.h - operations of typed code on many numbers side by side: on the trials of a block, or on
// neighbouring formulas.
//
// Plain loops that a compiler turns into vector instructions; included by kernels that compile them for more
// than one vector width. What is no finite number stays none in every operation and reaches no function, so
// that it does no harm where an IF does not take it. Each lane gets the bits that it would get on its own.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "sheet/exec/Operators.h"
#include "sheet/exec/TypedProgram.h"

namespace varnex3::sheet::lanes {

inline constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kClose = 0x1p-40; // compareNumbers looks closer from here on

[[gnu::always_inline]] inline bool isFinite(double x)
{
    return std::fabs(x) <= std::numeric_limits<double>::max();
}

/// Whether all numbers are finite.
[[gnu::always_inline]] inline bool allFinite(const double* x, std::size_t count)
{
    std::uint64_t none = 0;
    for (std::size_t l = 0; l < count; ++l) none |= isFinite(x[l]) ? 0U : 1U;
    return none == 0;
}

/// A comparison by `plain`, and by `careful` where two numbers are as good as equal.
template <class Plain, class Careful>
[[gnu::always_inline]] inline void compare(double* __restrict d, const double* a, const double* b,
                                           std::size_t count, Plain plain, Careful careful)
{
    std::uint64_t close = 0;
    for (std::size_t l = 0; l < count; ++l) {
        const double apart = std::fabs(a[l] - b[l]);
        const bool near = apart <= std::fabs(a[l]) * kClose && isFinite(apart) && apart > 0.0;
        close |= near ? 1U : 0U;
        const double holds = plain(a[l], b[l]) ? 1.0 : 0.0;
        d[l] = isFinite(a[l]) && isFinite(b[l]) ? holds : kNoNumber;
    }
    if (close == 0) return;
    for (std::size_t l = 0; l < count; ++l)
        if (isFinite(a[l]) && isFinite(b[l])) d[l] = careful(compareNumbers(a[l], b[l])) ? 1.0 : 0.0;
}

/// The comparison that an operation of typed code makes.
[[gnu::always_inline]] inline void compare(TypedOp op, double* __restrict d, const double* a, const double* b,
                                           std::size_t count)
{
    switch (op) {
    case TypedOp::Equal:
        return compare(
            d, a, b, count, [](double x, double y) { return x == y; }, [](int o) { return o == 0; });
    case TypedOp::NotEqual:
        return compare(
            d, a, b, count, [](double x, double y) { return x != y; }, [](int o) { return o != 0; });
    case TypedOp::Less:
        return compare(
            d, a, b, count, [](double x, double y) { return x < y; }, [](int o) { return o < 0; });
    case TypedOp::LessEqual:
        return compare(
            d, a, b, count, [](double x, double y) { return x <= y; }, [](int o) { return o <= 0; });
    case TypedOp::Greater:
        return compare(
            d, a, b, count, [](double x, double y) { return x > y; }, [](int o) { return o > 0; });
    default:
        return compare(
            d, a, b, count, [](double x, double y) { return x >= y; }, [](int o) { return o >= 0; });
    }
}

/// Looks up all lanes; in a table that ascends by counting the keys that are not above, of those between the
/// least and the greatest number sought.
[[gnu::always_inline]] inline void find(double* __restrict d, const double* x, std::size_t count,
                                        const TypedTable& table)
{
    constexpr std::ptrdiff_t kMostKeys = 48;
    double least = HUGE_VAL, most = -HUGE_VAL;
    for (std::size_t l = 0; l < count; ++l) {
        least = x[l] < least ? x[l] : least;
        most = x[l] > most ? x[l] : most;
    }
    const auto begin = table.keys.begin(), end = table.keys.end();
    const auto first = std::upper_bound(begin, end, least), last = std::upper_bound(first, end, most);
    bool plain = table.isClear && last - first <= kMostKeys;
    if (plain) {
        const auto before = static_cast<double>(first - begin);
        for (std::size_t l = 0; l < count; ++l) d[l] = before;
        for (auto key = first; key != last; ++key)
            for (std::size_t l = 0; l < count; ++l) d[l] += *key <= x[l] ? 1.0 : 0.0;
        std::uint64_t close = 0;
        for (std::size_t l = 0; l < count; ++l) {
            const auto notAbove = static_cast<std::size_t>(d[l]);
            const double apart = table.above[notAbove] - x[l];
            close |= apart <= std::fabs(x[l]) * kClose ? 1U : 0U;
            d[l] = isFinite(x[l]) ? table.results[notAbove] : kNoNumber;
        }
        plain = close == 0;
    }
    if (!plain)
        for (std::size_t l = 0; l < count; ++l) d[l] = isFinite(x[l]) ? table.find(x[l]) : kNoNumber;
}

/// 1 where x is a number, 0 where it is none; none where `sure` is none.
[[gnu::always_inline]] inline void holds(double* __restrict d, const double* x, const double* sure,
                                         std::size_t count)
{
    for (std::size_t l = 0; l < count; ++l) {
        const double none = isFinite(sure[l]) ? 0.0 : kNoNumber;
        d[l] = isFinite(x[l]) ? 1.0 : none;
    }
}

/// The functions and tables that instructions name.
struct Callees {
    std::span<double (*const)(double)> ones;
    std::span<double (*const)(double, double)> twos;
    std::span<const TypedTable> tables;
    std::span<const TypedBody> bodies;
};

/// One of VARNEX3_TYPED_OPERATIONS.
/// @param in  names the callee, in the field behind the operands
template <class Instruction>
[[gnu::always_inline]] inline void operate(TypedOp op, const Instruction& in, const Callees& callees,
                                           double* __restrict d, const double* pa, const double* pb,
                                           const double* pc, const double* pe, std::size_t count)
{
    const auto& [ones, twos, tables, bodies] = callees;
    switch (op) {
#define VARNEX3_LANES(name, operands, result)                                                                \
    case TypedOp::name:                                                                                      \
        for (std::size_t l = 0; l < count; ++l) {                                                            \
            [[maybe_unused]] const double x = pa[l], y = operands > 1 ? pb[l] : 0.0,                         \
                                          z = operands > 2 ? pc[l] : 0.0, w = operands > 3 ? pe[l] : 0.0;    \
            d[l] = result;                                                                                   \
        }                                                                                                    \
        break;
        VARNEX3_PLAIN_OPERATIONS(VARNEX3_LANES)
#undef VARNEX3_LANES
#define VARNEX3_LANES(name, operands, result)                                                                \
    case TypedOp::name: compare(TypedOp::name, d, pa, pb, count); break;
        VARNEX3_COMPARISONS(VARNEX3_LANES)
#undef VARNEX3_LANES
#define VARNEX3_LANES(name, operands, result)                                                                \
    case TypedOp::name:                                                                                      \
        for (std::size_t l = 0; l < count; ++l) {                                                            \
            [[maybe_unused]] const double x = pa[l], y = operands > 1 ? pb[l] : 0.0,                         \
                                          z = operands > 2 ? pc[l] : 0.0;                                    \
            d[l] = isFinite(x) && isFinite(y) && isFinite(z) ? result : kNoNumber;                           \
        }                                                                                                    \
        break;
        VARNEX3_GUARDED_OPERATIONS(VARNEX3_LANES)
#undef VARNEX3_LANES
    case TypedOp::Find: find(d, pa, count, tables[in.b]); break;
    default: break;
    }
}

} // namespace varnex3::sheet::lanes
