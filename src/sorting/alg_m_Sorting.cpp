// sorting/alg_m_Sorting.cpp - what a key is and what an exchange moves, per kind of array.
#include "sorting/alg_m_Sorting.h"

#include "sorting/Quicksort.h"

namespace varnex3::alg_m_Sorting {
namespace {

struct Rows {
    Array2<double>& A;
    Long keyColumn;
    bool keyOnly;
    double key(Long i) const { return A(i, keyColumn); }
    void exchange(Long a, Long b) { SwapRows(A, a, b, keyColumn, keyOnly); }
};

struct Columns {
    Array2<double>& A;
    Long keyRow;
    bool keyOnly;
    double key(Long i) const { return A(keyRow, i); }
    void exchange(Long a, Long b) { SwapCols(A, a, b, keyRow, keyOnly); }
};

struct ThirdIndex {
    Array3<double>& A;
    Long keyIndex;
    bool keyOnly;
    double key(Long i) const { return A(1, keyIndex, i); }
    void exchange(Long a, Long b) { Swap3D(A, a, b, keyIndex, keyOnly); }
};

template <class Items>
void sort(Items items, Long lo, Long hi)
{
    Quicksort<Items>(items).sort(lo, hi);
}

template <class Items>
Long partition(Items items, Long lo, Long hi)
{
    return Quicksort<Items>(items).partition(lo, hi);
}

} // namespace

void SortRows(Array2<double>& A, Long lo, Long hi, Long key, bool keyOnly)
{
    sort(Rows{A, key, keyOnly}, lo, hi);
}

Long PartitionRows(Array2<double>& A, Long lo, Long hi, Long key, bool keyOnly)
{
    return partition(Rows{A, key, keyOnly}, lo, hi);
}

void SwapRows(Array2<double>& A, Long a, Long b, Long key, bool keyOnly)
{
    if (keyOnly)
        std::swap(A(a, key), A(b, key));
    else
        A.swapRows(a, b);
}

void SortCols(Array2<double>& A, Long lo, Long hi, Long key, bool keyOnly)
{
    sort(Columns{A, key, keyOnly}, lo, hi);
}

Long PartitionCols(Array2<double>& A, Long lo, Long hi, Long key, bool keyOnly)
{
    return partition(Columns{A, key, keyOnly}, lo, hi);
}

void SwapCols(Array2<double>& A, Long a, Long b, Long key, bool keyOnly)
{
    if (keyOnly)
        std::swap(A(key, a), A(key, b));
    else
        A.swapCols(a, b);
}

void Sort3D(Array3<double>& A, Long lo, Long hi, Long key, bool keyOnly)
{
    // Asked once: the scheme leaves every range of equal keys inside lo..hi alone by itself.
    if (AllKeysEqual3D(A, lo, hi, key)) return;
    sort(ThirdIndex{A, key, keyOnly}, lo, hi);
}

Long Partition3D(Array3<double>& A, Long lo, Long hi, Long key, bool keyOnly)
{
    return partition(ThirdIndex{A, key, keyOnly}, lo, hi);
}

void Swap3D(Array3<double>& A, Long a, Long b, Long key, bool keyOnly)
{
    const auto exchange = [&](Long j) {
        for (Long k : oneTo(A.size1())) std::swap(A(k, j, a), A(k, j, b));
    };
    if (keyOnly)
        exchange(key);
    else
        for (Long j : oneTo(A.size2())) exchange(j);
}

bool AllKeysEqual3D(const Array3<double>& A, Long lo, Long hi, Long key)
{
    for (Long i : fromTo(lo + 1, hi))
        if (A(1, key, i) != A(1, key, lo)) return false;
    return true;
}

} // namespace varnex3::alg_m_Sorting
