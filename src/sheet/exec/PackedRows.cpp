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
    if (in.op <= PackedOp::FindRow) {
        const auto op =
            static_cast<TypedOp>(static_cast<unsigned>(in.op) - static_cast<unsigned>(PackedOp::CopyRow));
        const lanes::Callees callees{code.ones, code.twos, code.tables, code.bodies};
        lanes::operate(op, in, callees, d, pa, pb, pc, pe, count);
        return !in.isResult || lanes::allFinite(d, count);
    }
    switch (in.op) {
    case PackedOp::LeastRow:
        for (std::size_t l = 0; l < count; ++l)
            d[l] = isFinite(pa[l]) ? (pa[l] < pb[l] ? pa[l] : pb[l]) : kNoNumber;
        break;
    case PackedOp::GreatestRow:
        for (std::size_t l = 0; l < count; ++l)
            d[l] = isFinite(pa[l]) ? (pa[l] > pb[l] ? pa[l] : pb[l]) : kNoNumber;
        break;
    case PackedOp::HoldsRow: lanes::holds(d, pa, pb, count); break;
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
