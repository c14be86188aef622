// sheet/exec/PackedKernel.cpp - the interpreter of packed code.
#include <cmath>
#include <limits>

#include "sheet/exec/Operators.h"
#include "sheet/exec/PackedRows.h"

namespace varnex3::sheet {
namespace {

inline bool isFinite(double x) { return std::fabs(x) <= std::numeric_limits<double>::max(); }

/// Folds `count` numbers into `start`, from left to right.
template <class F>
double fold(const double* x, std::uint32_t count, double start, F f)
{
    for (std::uint32_t k = 0; k < count; ++k) start = f(start, x[k]);
    return start;
}

} // namespace

std::uint32_t runPacked(const PackedCode& code, double* registers, std::uint32_t begin)
{
    const PackedInstruction* const instructions = code.instructions.data();
    const auto& ones = code.ones;
    const auto& twos = code.twos;
    const auto& tables = code.tables;
    const auto& bodies = code.bodies;
    const auto number = [registers](std::uint32_t r) { return registers[r]; };
    const RunRow runRow = rowKernel();
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
            if (!runRow(code, in, registers)) return static_cast<std::uint32_t>(at - instructions);
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

} // namespace varnex3::sheet
