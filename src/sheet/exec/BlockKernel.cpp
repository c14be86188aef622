// sheet/exec/BlockKernel.cpp - the interpreter of block code, for the processor's vector width.
#include "sheet/exec/BlockKernel.h"

#include <bit>
#include <cmath>

#include "sheet/exec/Lanes.h"

namespace varnex3::sheet {
namespace {

constexpr std::size_t kAlignment = 64; // bytes; of a cache line and of the widest vectors
constexpr std::uint64_t kAll = ~std::uint64_t{0};

using lanes::isFinite;
using lanes::kNoNumber;

// All that follows is compiled into runPortable and again into runWide, for its instructions.

[[gnu::always_inline]] inline double* aligned(double* p)
{
    return static_cast<double*>(__builtin_assume_aligned(p, kAlignment));
}

template <class F>
[[gnu::always_inline]] inline void foldLanes(double* __restrict d, const double* start,
                                             const std::uint32_t* list, std::size_t count,
                                             BlockRegisters& registers, F f)
{
    constexpr std::size_t kChunk = 16; // stays in vector registers
    for (std::size_t l = 0; l < kLanes; l += kChunk) {
        double sum[kChunk];
        for (std::size_t k = 0; k < kChunk; ++k) sum[k] = start[l + k];
        for (std::size_t i = 0; i < count; ++i) {
            const double* x = aligned(registers.lanes(list[i])) + l;
            for (std::size_t k = 0; k < kChunk; ++k) sum[k] = f(sum[k], x[k]);
        }
        for (std::size_t k = 0; k < kChunk; ++k) d[l + k] = sum[k];
    }
}

/// The same for the least and the greatest number: the result is none when one of the list is none.
template <class F>
[[gnu::always_inline]] inline void extremeLanes(double* __restrict d, const double* start,
                                                const std::uint32_t* list, std::size_t count,
                                                BlockRegisters& registers, F f)
{
    constexpr std::size_t kChunk = 16;
    for (std::size_t l = 0; l < kLanes; l += kChunk) {
        double best[kChunk], none[kChunk] = {};
        for (std::size_t k = 0; k < kChunk; ++k) best[k] = start[l + k];
        for (std::size_t i = 0; i < count; ++i) {
            const double* x = aligned(registers.lanes(list[i])) + l;
            for (std::size_t k = 0; k < kChunk; ++k) {
                best[k] = f(best[k], x[k]);
                none[k] += x[k] * 0.0; // stays 0 as long as all are finite
            }
        }
        for (std::size_t k = 0; k < kChunk; ++k) d[l + k] = none[k] == 0.0 ? best[k] : kNoNumber;
    }
}

/// Splits the lanes that go on by a condition; where that is no number they do neither. False when none has
/// it.
[[gnu::always_inline]] inline bool split(const double* condition, const std::uint64_t* going,
                                         std::uint64_t* first, std::uint64_t* second)
{
    std::uint64_t taken = 0;
    for (std::size_t l = 0; l < kLanes; ++l) {
        const std::uint64_t on = going == nullptr ? kAll : going[l];
        first[l] = isFinite(condition[l]) && condition[l] != 0.0 ? on : 0;
        second[l] = condition[l] == 0.0 ? on : 0;
        taken |= first[l];
    }
    return taken != 0;
}

/// Looks up each lane among the keys that it has itself; none when one of them is none.
void findInLanes(double* d, const double* x, const std::uint32_t* list, const TypedTable& table,
                 BlockRegisters& registers)
{
    const std::size_t count = table.keyCells.size();
    for (std::size_t l = 0; l < kLanes; ++l) {
        d[l] = kNoNumber;
        bool known = isFinite(x[l]);
        for (std::size_t k = 0; k < count; ++k) known = known && isFinite(registers.lanes(list[k])[l]);
        if (!known) continue;
        const std::size_t found =
            table.position(x[l], [&](std::size_t k) { return registers.lanes(list[k])[l]; });
        if (found == count) continue;
        if (table.cells.empty()) {
            d[l] = static_cast<double>(found + 1);
        } else if (table.cells[found].second == Kind::Number) {
            d[l] = registers.lanes(list[count + found])[l];
        }
    }
}

[[gnu::always_inline]] inline bool any(const std::uint64_t* mask)
{
    std::uint64_t all = 0;
    for (std::size_t l = 0; l < kLanes; ++l) all |= mask[l];
    return all != 0;
}

[[gnu::always_inline]] inline void runLanes(const BlockCode& code, BlockRegisters& registers)
{
    const auto& tables = *code.tables;
    const lanes::Callees callees{code.ones, code.twos, tables, code.bodies};
    const std::uint64_t* going = nullptr; // null: all lanes
    std::size_t depth = 0;
    std::size_t branches[kDeepestIf] = {};
    const auto innermost = [&] {
        return depth == 0 ? nullptr : registers.mask(depth - 1, branches[depth - 1]);
    };
    const std::size_t count = code.instructions.size();
    for (std::size_t at = 0; at < count; ++at) {
        const BlockInstruction in = code.instructions[at];
        double* __restrict d = aligned(registers.lanes(in.d));
        const double* pa = aligned(registers.lanes(in.a));
        const double* pb = aligned(registers.lanes(in.b));
        const double* pc = aligned(registers.lanes(in.c));
        const double* pe = aligned(registers.lanes(in.e));
        const std::uint32_t* list = code.lists.data() + in.a; // of a fold
        if (in.op <= BlockOp::Find) {
            lanes::operate(static_cast<TypedOp>(in.op), in, callees, d, pa, pb, pc, pe, kLanes);
            continue;
        }
        switch (in.op) {
        case BlockOp::SumList:
            foldLanes(d, pb, list, in.c, registers, [](double s, double x) { return s + x; });
            break;
        case BlockOp::SumSquaresList:
            foldLanes(d, pb, list, in.c, registers, [](double s, double x) { return s + x * x; });
            break;
        case BlockOp::ProductList:
            foldLanes(d, pb, list, in.c, registers, [](double s, double x) { return s * x; });
            break;
        case BlockOp::LeastList:
            extremeLanes(d, pb, list, in.c, registers, [](double s, double x) { return x < s ? x : s; });
            break;
        case BlockOp::GreatestList:
            extremeLanes(d, pb, list, in.c, registers, [](double s, double x) { return x > s ? x : s; });
            break;

        case BlockOp::PresentList:
            foldLanes(d, pb, list, in.c, registers, [](double s, double x) { return s + x * 0.0; });
            break;
        case BlockOp::DeviationsList: {
            const double* from = pe;
            for (std::size_t l = 0; l < kLanes; ++l) d[l] = pb[l];
            for (std::uint32_t i = 0; i < in.c; ++i) {
                const double* x = aligned(registers.lanes(list[i]));
                for (std::size_t l = 0; l < kLanes; ++l) d[l] += (x[l] - from[l]) * (x[l] - from[l]);
            }
            break;
        }
        case BlockOp::ProductsList:
            for (std::size_t l = 0; l < kLanes; ++l) d[l] = pb[l];
            for (std::uint32_t i = 0; i < in.c; i += 2) {
                const double* x = aligned(registers.lanes(list[i]));
                const double* y = aligned(registers.lanes(list[i + 1]));
                for (std::size_t l = 0; l < kLanes; ++l) d[l] += x[l] * y[l];
            }
            break;

        case BlockOp::If:
            branches[depth] = 0;
            if (!split(pa, going, registers.mask(depth, 0), registers.mask(depth, 1))) at = in.d - 1;
            ++depth;
            going = innermost();
            continue;
        case BlockOp::Else:
            branches[depth - 1] = 1;
            going = innermost();
            if (!any(going)) at = in.d - 1;
            continue;
        case BlockOp::End:
            --depth;
            going = innermost();
            continue;
        case BlockOp::Take:
            for (std::size_t l = 0; l < kLanes; ++l) d[l] = going[l] != 0 ? pa[l] : kNoNumber;
            break;
        case BlockOp::Merge:
            for (std::size_t l = 0; l < kLanes; ++l) d[l] = going[l] != 0 ? pa[l] : d[l];
            break;
        case BlockOp::FindList: findInLanes(d, pa, code.lists.data() + in.c, tables[in.e], registers); break;
        case BlockOp::PickList:
            for (std::size_t l = 0; l < kLanes; ++l) {
                const TypedTable& table = tables[in.e];
                const std::size_t k =
                    isFinite(pa[l]) && isFinite(pb[l]) ? table.element(pa[l], pb[l]) : table.cells.size();
                const bool there = k < table.cells.size() && table.cells[k].second == Kind::Number;
                d[l] = there ? registers.lanes(code.lists[in.c + k])[l] : kNoNumber;
            }
            break;
        case BlockOp::Holds: lanes::holds(d, pa, pb, kLanes); break;
        case BlockOp::Formula: registers.formulas->run(in.a, code.sources[in.a], registers, d); break;
        default: break;
        }
    }
}

using Run = void (*)(const BlockCode&, BlockRegisters&);

void runPortable(const BlockCode& code, BlockRegisters& registers) { runLanes(code, registers); }

#if defined(__x86_64__)
[[gnu::target("avx2")]] void runWide(const BlockCode& code, BlockRegisters& registers)
{
    runLanes(code, registers);
}
Run fastest() { return __builtin_cpu_supports("avx2") ? runWide : runPortable; }
#else
Run fastest() { return runPortable; }
#endif

} // namespace

BlockRegisters::BlockRegisters(std::size_t count, std::size_t depth)
    : space_(count * kLanes + kAlignment / sizeof(double)), masks_(2 * depth * kLanes)
{
    const auto at = std::bit_cast<std::uintptr_t>(space_.data());
    first_ = space_.data() + (kAlignment - at % kAlignment) % kAlignment / sizeof(double);
}

void runBlock(const BlockCode& code, BlockRegisters& registers)
{
    static const Run run = fastest();
    run(code, registers);
}

} // namespace varnex3::sheet
