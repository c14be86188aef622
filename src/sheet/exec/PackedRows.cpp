// sheet/exec/PackedRows.cpp - the operations on rows, for the processor's vector width.
#include "sheet/exec/PackedRows.h"

#include "sheet/exec/Lanes.h"

namespace varnex3::sheet {
namespace {

using lanes::isFinite;
using lanes::kNoNumber;

// All that follows is compiled into runPortable and again into runWide, for its instructions.

/// One operation on a row, as Lanes.h says.
[[gnu::always_inline]] inline bool run(const PackedCode& code, const PackedInstruction& in, double* registers)
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
            [[maybe_unused]] const double x = pa[l], y = operands > 1 ? pb[l] : 0.0,                         \
                                          z = operands > 2 ? pc[l] : 0.0;                                    \
            d[l] = isFinite(x) && isFinite(y) && isFinite(z) ? result : kNoNumber;                           \
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
    return !in.isResult || lanes::allFinite(d, count);
}

bool runPortable(const PackedCode& code, const PackedInstruction& in, double* registers)
{
    return run(code, in, registers);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] bool runWide(const PackedCode& code, const PackedInstruction& in, double* registers)
{
    return run(code, in, registers);
}
RunRow fastest() { return __builtin_cpu_supports("avx2") ? runWide : runPortable; }
#else
RunRow fastest() { return runPortable; }
#endif

} // namespace

RunRow rowKernel()
{
    static const RunRow kernel = fastest();
    return kernel;
}

} // namespace varnex3::sheet
