// optimizer/SortGen.h - the sort of a generation, best member first (module alg_m_Sorting).
//
// The sorts of arrays, which follow the same partition scheme, are in sorting/.
#pragma once

#include "evaluation/OptimizationRun.h"

namespace varnex3::alg_m_Sorting {

/// Orders members first..last by columns col..4 of genP, ascending, ties of one column by the next.
/// Members equal in all of them stay in the order in which the quicksort leaves them.
/// @raises  18 after a cancel
void SortGen(OptimizationRun& d, Long col, Long first, Long last);

void SortMembers(OptimizationRun& d, Long lo, Long hi, Long col);
Long PartitionMembers(OptimizationRun& d, Long lo, Long hi, Long col);
/// Exchanges members a and b: their rows of genX and genP, and of genY when every member has one.
void SwapMembers(OptimizationRun& d, Long a, Long b);
/// The last member e, start <= e <= last, such that genP(start..e, col) are all equal.
Long EndOfTies(const OptimizationRun& d, Long last, Long start, Long col);

} // namespace varnex3::alg_m_Sorting
