// sorting/RadixSort.h - fast sorting of many keys where the order of equal ones shows nowhere.
//
// Where it does show, the sorts of alg_m_Sorting.h are the ones to use.
#pragma once

#include <vector>

#include "runtime/Error.h"

namespace varnex3::alg_m_Sorting {

struct Keyed {
    double key; // not NaN
    Long position;
};

/// Ascending by key; equal keys stay in the order given. Takes a copy's worth of memory.
void sortByKey(std::vector<Keyed>& items);

} // namespace varnex3::alg_m_Sorting
