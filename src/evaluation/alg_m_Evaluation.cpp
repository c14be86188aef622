// evaluation/alg_m_Evaluation.cpp - the response step without statistics.
#include "evaluation/alg_m_Evaluation.h"

#include <optional>
#include <string>

#include "host/alg_m_XLinterface.h"
#include "ui/Debug.h"

namespace varnex3::alg_m_Evaluation {
namespace {

double checkedValue(host::Range& cell, const char* procedure)
{
    alg_m_XLinterface::CheckCell(cell, procedure, false, false);
    return toDouble(cell.Value());
}

} // namespace

/// Fills a member's row of genY from the response cells of a workbook that holds its values.
///
///   1. Debug message.
///   2. row = the member's row of genY.
///   3. For each response: its cell must hold a number v, the mean; the standard deviation is 0; the
///      non-conformance is 1 when v lies strictly outside a limit, else 0.
///
/// @raises  513, 515 after showing the offending cell
void Deterministic_Ys(OptimizationRun& d, Long m) { Deterministic_Ys(d, m, {}); }

void Deterministic_Ys(OptimizationRun& d, Long m, std::span<const double> known)
{
    constexpr const char* kName = "Deterministic_Ys";
    Procedure here{"alg_m_Evaluation", kName};

    here.at(1);
    if (const std::string& dbg = d.options().dbg; dbg == kName)
        traceDetail(dbg, kName, "Deterministic_Ys for member " + std::to_string(m));
    here.at(2);
    const Long row = d.rowOfY(m);
    const Long countY = d.f->CountY();
    here.at(3);
    for (Long j : oneTo(countY)) {
        const c_Response& y = required(required(d.f->Ys).Item(j));
        const double v =
            known.empty() ? checkedValue(required(y.Formula), kName) : known[static_cast<std::size_t>(j - 1)];
        const std::optional<double> L = alg_m_XLinterface::specificationLimit(y.lsl, kName);
        const std::optional<double> U = alg_m_XLinterface::specificationLimit(y.usl, kName);
        d.genY(row, j) = v;
        d.genY(row, countY + j) = 0.0;
        d.genY(row, 2 * countY + j) = (L && v < *L) || (U && v > *U) ? 1.0 : 0.0;
    }
}

} // namespace varnex3::alg_m_Evaluation
