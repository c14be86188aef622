// sheet/functions/DayCount.h - fractions of a year between two dates, for YEARFRAC and for securities.
#pragma once

#include "sheet/functions/Function.h"

namespace varnex3::sheet {

/// The share of a year between two serial dates in any order; #NUM! for dates that are none.
/// Basis 0: US 30/360, 1: actual days over the mean length of the years, 2: actual/360, 3: actual/365,
/// 4: European 30/360; #NUM! for others.
Value yearFraction(double from, double to, double basis, DateSystem dates);

} // namespace varnex3::sheet
