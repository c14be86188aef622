// sheet/exec/PackedKernel.cpp - the interpreter of packed code, for the processor's vector width.
#include <cmath>

#include "sheet/exec/Lanes.h"
#include "sheet/exec/PackedProgram.h"

namespace varnex3::sheet {
namespace {

using lanes::isFinite;
using lanes::kNoNumber;

// All that follows is compiled into runPortable and again into runWide, for its instructions.

/// Folds `count` numbers into `start`, from left to right.
template <class F>
[[gnu::always_inline]] inline double fold(const double* x, std::uint32_t count, double start, F f)
{
    for (std::uint32_t k = 0; k < count; ++k) start = f(start, x[k]);
    return start;
}

/// One operation on a row, as Lanes.h says.
[[gnu::always_inline]] inline void runRow(const PackedCode& code, const PackedInstruction& in,
                                          double* registers)
{
    double* __restrict d = registers + in.d;
    const double* const pa = registers + in.a;
    const double* const pb = registers + in.b;
    const double* const pc = registers + in.c;
    const double* const pe = registers + in.e;
    const std::size_t count = in.count;
    const auto& ones = code.ones;
    const auto& twos = code.twos;
    const auto& tables = code.tables;
    switch (in.op) {
#define VARNEX3_ROW(name, operands, result)                                                                  \
    case PackedOp::name##Row:                                                                                \
        for (std::size_t l = 0; l < count; ++l) {                                                            \
            [[maybe_unused]] const double x = pa[l], y = operands > 1 ? pb[l] : 0.0,                         \
                                          z = operands > 2 ? pc[l] : 0.0, w = operands > 3 ? pe[l] : 0.0;    \
            d[l] = result;                                                                                   \
        }                                                                                                    \
        break;
        VARNEX3_PLAIN_OPERATIONS(VARNEX3_ROW)
#undef VARNEX3_ROW
#define VARNEX3_ROW(name, operands, result)                                                                  \
    case PackedOp::name##Row: lanes::compare(TypedOp::name, d, pa, pb, count); break;
        VARNEX3_COMPARISONS(VARNEX3_ROW)
#undef VARNEX3_ROW
#define VARNEX3_ROW(name, operands, result)                                                                  \
    case PackedOp::name##Row:                                                                                \
        for (std::size_t l = 0; l < count; ++l) {                                                            \
            [[maybe_unused]] const double x = pa[l], y = operands > 1 ? pb[l] : 0.0;                         \
            d[l] = isFinite(x) && isFinite(y) ? result : kNoNumber;                                          \
        }                                                                                                    \
        break;
        VARNEX3_GUARDED_OPERATIONS(VARNEX3_ROW)
#undef VARNEX3_ROW

    case PackedOp::FindRow: lanes::find(d, pa, count, tables[in.b]); break;
    case PackedOp::PickRow:
        for (std::size_t l = 0; l < count; ++l)
            d[l] = isFinite(pa[l]) && isFinite(pb[l]) ? tables[in.c].pick(pa[l], pb[l]) : kNoNumber;
        break;
    case PackedOp::BodyRow:
        for (std::size_t l = 0; l < count; ++l)
            d[l] = isFinite(pa[l]) && isFinite(pb[l]) && isFinite(pc[l])
                       ? code.bodies[in.e](pa[l], pb[l], pc[l])
                       : kNoNumber;
        break;
    case PackedOp::LeastRow:
        for (std::size_t l = 0; l < count; ++l)
            d[l] = isFinite(pa[l]) ? (pa[l] < pb[l] ? pa[l] : pb[l]) : kNoNumber;
        break;
    case PackedOp::GreatestRow:
        for (std::size_t l = 0; l < count; ++l)
            d[l] = isFinite(pa[l]) ? (pa[l] > pb[l] ? pa[l] : pb[l]) : kNoNumber;
        break;
    case PackedOp::HoldsRow:
        for (std::size_t l = 0; l < count; ++l) {
            const double none = isFinite(pb[l]) ? 0.0 : kNoNumber;
            d[l] = isFinite(pa[l]) ? 1.0 : none;
        }
        break;
    case PackedOp::SelectRow:
        for (std::size_t l = 0; l < count; ++l) {
            const double taken = pa[l] != 0.0 ? pb[l] : pc[l];
            d[l] = isFinite(pa[l]) ? taken : kNoNumber;
        }
        break;
    default: { // GatherRow
        const std::uint32_t* const list = code.lists.data() + in.a;
        for (std::size_t l = 0; l < count; ++l) d[l] = registers[list[l]];
    }
    }
}

[[gnu::always_inline]] inline std::uint32_t runAll(const PackedCode& code, double* registers,
                                                   std::uint32_t begin)
{
    const PackedInstruction* const instructions = code.instructions.data();
    const auto& ones = code.ones;
    const auto& twos = code.twos;
    const auto& tables = code.tables;
    const auto& bodies = code.bodies;
    const auto number = [registers](std::uint32_t r) { return registers[r]; };
    std::uint32_t holds = 0; // where an error leads to
    for (const PackedInstruction* at = instructions + begin;; ++at) {
        const PackedInstruction& in = *at;
        double r = 0.0;
        if (in.op > PackedOp::GatherRow) __builtin_unreachable();
        switch (in.op) {
#define VARNEX3_SINGLE(name, operands, result)                                                               \
    case PackedOp::name: {                                                                                   \
        [[maybe_unused]] const double x = number(in.a), y = operands > 1 ? number(in.b) : 0.0,               \
                                      z = operands > 2 ? number(in.c) : 0.0,                                 \
                                      w = operands > 3 ? number(in.e) : 0.0;                                 \
        r = result;                                                                                          \
        break;                                                                                               \
    }
            VARNEX3_TYPED_OPERATIONS(VARNEX3_SINGLE)
#undef VARNEX3_SINGLE

        case PackedOp::SumRun:
            r = fold(registers + in.a, in.count, number(in.b), [](double s, double x) { return s + x; });
            break;
        case PackedOp::SumSquaresRun:
            r = fold(registers + in.a, in.count, number(in.b), [](double s, double x) { return s + x * x; });
            break;
        case PackedOp::ProductRun:
            r = fold(registers + in.a, in.count, number(in.b), [](double s, double x) { return s * x; });
            break;
        case PackedOp::LeastRun:
            r = fold(registers + in.a, in.count, number(in.b),
                     [](double s, double x) { return x < s ? x : s; });
            break;
        case PackedOp::GreatestRun:
            r = fold(registers + in.a, in.count, number(in.b),
                     [](double s, double x) { return x > s ? x : s; });
            break;
        case PackedOp::DeviationsRun: {
            const double from = number(in.e);
            r = fold(registers + in.a, in.count, number(in.b),
                     [from](double s, double x) { return s + (x - from) * (x - from); });
            break;
        }
        case PackedOp::ProductsRun: {
            const double* const run = registers + in.a;
            const double* const other = registers + in.e;
            r = number(in.b);
            for (std::uint32_t k = 0; k < in.count; ++k) r += run[k] * other[k];
            break;
        }

        case PackedOp::Select: r = number(in.a) != 0.0 ? number(in.b) : number(in.c); break;
        case PackedOp::FindAmong: r = tables[in.e].find(number(in.a), registers + in.c); break;
        case PackedOp::PickAmong: r = tables[in.e].pick(number(in.a), number(in.b), registers + in.c); break;
        case PackedOp::JumpIfZero:
            if (number(in.a) == 0.0) at = instructions + in.d - 1;
            continue;
        case PackedOp::Jump: at = instructions + in.d - 1; continue;
        case PackedOp::Try: holds = in.d; continue;
        case PackedOp::Holds:
            registers[in.d] = 1.0;
            holds = in.c;
            continue;
        case PackedOp::PresentRun:
        case PackedOp::Stop:
        case PackedOp::End: return static_cast<std::uint32_t>(at - instructions);

#define VARNEX3_ROW(name, operands, result) case PackedOp::name##Row:
            VARNEX3_TYPED_OPERATIONS(VARNEX3_ROW)
#undef VARNEX3_ROW
        case PackedOp::LeastRow:
        case PackedOp::GreatestRow:
        case PackedOp::HoldsRow:
        case PackedOp::SelectRow:
        case PackedOp::GatherRow:
            runRow(code, in, registers);
            if (in.isResult && !lanes::allFinite(registers + in.d, in.count))
                return static_cast<std::uint32_t>(at - instructions);
            continue;
        }
        if (isFinite(r)) {
            registers[in.d] = r;
            continue;
        }
        if (holds == 0) return static_cast<std::uint32_t>(at - instructions);
        at = instructions + holds;
        holds = at->c;
        registers[at->d] = 0.0;
    }
}

using Run = std::uint32_t (*)(const PackedCode&, double*, std::uint32_t);

std::uint32_t runPortable(const PackedCode& code, double* registers, std::uint32_t begin)
{
    return runAll(code, registers, begin);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] std::uint32_t runWide(const PackedCode& code, double* registers, std::uint32_t begin)
{
    return runAll(code, registers, begin);
}
Run fastest() { return __builtin_cpu_supports("avx2") ? runWide : runPortable; }
#else
Run fastest() { return runPortable; }
#endif

} // namespace

std::uint32_t runPacked(const PackedCode& code, double* registers, std::uint32_t begin)
{
    static const Run run = fastest();
    return run(code, registers, begin);
}

} // namespace varnex3::sheet
