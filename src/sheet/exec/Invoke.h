// sheet/exec/Invoke.h - calling a worksheet function as its row says.
#pragma once

#include <span>

#include "sheet/exec/Code.h"
#include "sheet/value/Environment.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// Converts the arguments in place as the row of the function says, spreads the call over arrays given
/// where one value is wanted, and calls the body. The first failure from the left of an argument that must
/// be none is the result.
Value invoke(const CallSite& site, std::span<Value> arguments, Environment& environment,
             const CellAddress& here);

/// The values of a reference as an array, one cell as its value. Whole columns and rows end where the
/// book's last used cell stands.
Value dereference(const Value& reference, Environment& environment);

} // namespace varnex3::sheet
