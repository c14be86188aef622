// sheet/functions/Regression.h - bodies of the worksheet functions that fit by least squares.
#pragma once

#include "sheet/functions/Function.h"

namespace varnex3::sheet {

Value linest(Call& call); // LINEST(ys, [xs], [const], [stats])
Value logest(Call& call); // LOGEST: the same for y = b m1^x1 m2^x2 ...
Value trend(Call& call);  // TREND(ys, [xs], [new xs], [const])
Value growth(Call& call); // GROWTH: the same for y = b m1^x1 m2^x2 ...

} // namespace varnex3::sheet
