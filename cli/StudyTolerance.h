// cli/StudyTolerance.h - what a study says of tolerances and of their allocation.
//
// The entries as text, checked for form. Problem.h turns a tolerance into a standard deviation.
#pragma once

#include "Study.h"

namespace varnex3::cli {

class Section;

/// Reads the keys `tolerance`, `keep` and `driver` of a parameter whose `type` and `stdev` are there.
/// Raises Refused, also for a tolerance beside a standard deviation and for kinds that take none.
void readTolerance(Section& parameter, StudyParameter& p);

/// Whether a parameter may go without a range: a continuous one with a spread, to be analysed, not searched.
bool isOnlyAnalysed(const StudyParameter& p);

} // namespace varnex3::cli
