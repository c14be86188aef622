// sorting/alg_m_Sorting.h - in-place quicksorts of rows, columns and third indices of arrays.
//
// All follow the one scheme of Quicksort.h, so that ties come out in a defined order. The sort of a
// generation (SortGen), which belongs to this module too, is in optimizer/.
#pragma once

#include "runtime/Array.h"

namespace varnex3::alg_m_Sorting {

/// Orders rows lo..hi of A by A(., key), ascending.
/// @param keyOnly  True: only the keys themselves are exchanged; False: whole rows
void SortRows(Array2<double>& A, Long lo, Long hi, Long key, bool keyOnly);
Long PartitionRows(Array2<double>& A, Long lo, Long hi, Long key, bool keyOnly);
void SwapRows(Array2<double>& A, Long a, Long b, Long key, bool keyOnly);

/// Orders columns lo..hi of A by A(key, .), ascending.
/// @param keyOnly  True: only the keys themselves are exchanged; False: whole columns
void SortCols(Array2<double>& A, Long lo, Long hi, Long key, bool keyOnly);
Long PartitionCols(Array2<double>& A, Long lo, Long hi, Long key, bool keyOnly);
void SwapCols(Array2<double>& A, Long a, Long b, Long key, bool keyOnly);

/// Orders positions lo..hi of the third index of A by A(1, key, .), ascending. All A(k, j, .) of the
/// first index travel together.
/// @param keyOnly  True: only those of j = key are exchanged; False: those of every j
void Sort3D(Array3<double>& A, Long lo, Long hi, Long key, bool keyOnly);
Long Partition3D(Array3<double>& A, Long lo, Long hi, Long key, bool keyOnly);
void Swap3D(Array3<double>& A, Long a, Long b, Long key, bool keyOnly);

/// Every A(1, key, i) of i = lo..hi equals the first one exactly; stops at the first difference.
bool AllKeysEqual3D(const Array3<double>& A, Long lo, Long hi, Long key);

} // namespace varnex3::alg_m_Sorting
