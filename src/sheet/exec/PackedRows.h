// sheet/exec/PackedRows.h - operations of packed code on neighbouring formulas, as Lanes.h says.
#pragma once

#include "sheet/exec/PackedProgram.h"

namespace varnex3::sheet {

/// Does an operation on rows, whose name ends in Row. False when results of formulas are no finite numbers.
using RunRow = bool (*)(const PackedCode& code, const PackedInstruction& in, double* registers);
RunRow rowKernel();

} // namespace varnex3::sheet
