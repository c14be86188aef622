// sheet/exec/PackedOps.h - what the makers of packed code know of its operations.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "sheet/exec/PackedProgram.h"

namespace varnex3::sheet {

/// The bit of operands that are temporaries: results inside a formula.
inline constexpr std::uint32_t kTemporary = 0x80000000U;

/// Operands, in the fields a, b, c and e.
std::size_t operandsOf(PackedOp op);
inline std::array<std::uint32_t*, 4> operandFields(PackedInstruction& in)
{
    return {&in.a, &in.b, &in.c, &in.e};
}
/// Whether a function or table is named behind the operands.
bool hasNumber(PackedOp op);
inline bool isRun(PackedOp op) { return op >= PackedOp::SumRun && op <= PackedOp::ProductsRun; }
/// The field with the position of another instruction, 0 for none; null where there is no such field.
std::uint32_t* aimOf(PackedInstruction& in);
/// The operation on rows, when there is one.
std::optional<PackedOp> rowOf(const PackedInstruction& in);
/// One more than the highest temporary that the code writes.
std::size_t temporariesOf(const std::vector<PackedInstruction>& code);

/// Code with values in place of jumps: what an IF does not take is worked out as well.
struct StraightCode {
    std::vector<PackedInstruction> code;
    bool chooses = true; // there is nothing to be worked out inside the IFs
};

/// Nothing where the code is not built of IFs, or where what stops it might be taken for an error.
/// @param none  a register without a number
std::optional<StraightCode> withoutJumps(const std::vector<PackedInstruction>& code, std::uint32_t none);

} // namespace varnex3::sheet
