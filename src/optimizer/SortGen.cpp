// optimizer/SortGen.cpp - one sort per score, on the scheme that all sorts share.
#include "optimizer/SortGen.h"

#include <string>

#include "sorting/Quicksort.h"
#include "sorting/alg_m_Util.h"
#include "ui/Debug.h"
#include "ui/Windows.h"

namespace varnex3::alg_m_Sorting {
namespace {

struct Members {
    OptimizationRun& d;
    Long col;
    double key(Long i) const { return d.genP(i, col); }
    void exchange(Long a, Long b) { SwapMembers(d, a, b); }
};

} // namespace

void SortGen(OptimizationRun& d, Long col, Long first, Long last)
{
    constexpr const char* kName = "SortGen";
    Procedure here{"alg_m_Sorting", kName};
    const std::string& dbg = d.options().dbg;
    const bool traced = dbg == kName;
    const Long columns = alg_m_Util::UBoundSafe(d.genP, 2);

    here.at(1);
    StatusMsg(*d.xl, dbg, "Sorting generation " + std::to_string(d.genCount), "");
    here.at(2);
    if (traced)
        traceDetail(dbg, kName,
                    "Sorting column " + std::to_string(col) + " of" + std::to_string(columns) +
                        "\rFrom row " + std::to_string(first) + " to row " + std::to_string(last));
    here.at(3);
    SortMembers(d, first, last, col);
    here.at(4);
    if (col >= columns) return;
    here.at(5);
    Long r = first;
    while (r < last) {
        const Long e = EndOfTies(d, last, r, col);
        if (e > r) {
            if (traced)
                traceDetail(dbg, kName,
                            "Duplicates found in col " + std::to_string(col) + " from" + std::to_string(r) +
                                " to " + std::to_string(e));
            SortGen(d, col + 1, r, e);
        }
        r = e + 1;
    }
}

void SortMembers(OptimizationRun& d, Long lo, Long hi, Long col)
{
    Members members{d, col};
    Quicksort<Members>(members).sort(lo, hi);
}

Long PartitionMembers(OptimizationRun& d, Long lo, Long hi, Long col)
{
    Members members{d, col};
    return Quicksort<Members>(members).partition(lo, hi);
}

void SwapMembers(OptimizationRun& d, Long a, Long b)
{
    d.genX.swapRows(a, b);
    d.genP.swapRows(a, b);
    if (d.storesYs()) d.genY.swapRows(a, b);
}

Long EndOfTies(const OptimizationRun& d, Long last, Long start, Long col)
{
    const double key = d.genP(start, col);
    Long e = start;
    while (e < last && d.genP(e + 1, col) == key) ++e;
    return e;
}

} // namespace varnex3::alg_m_Sorting
