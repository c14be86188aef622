// evaluation/alg_m_Evaluation.h - the response steps: from a workbook that holds a member's values to the
// statistics of its responses.
//
// The dispatch (EvaluateGen) is the search's, in optimizer/.
#pragma once

#include <span>
#include <string>

#include "evaluation/OptimizationRun.h"

namespace varnex3::alg_m_Evaluation {

/// Statistics of single values: the response cells as they stand.
void Deterministic_Ys(OptimizationRun& d, Long m);

/// The same where the numbers of the response cells are known already, one per response.
void Deterministic_Ys(OptimizationRun& d, Long m, std::span<const double> known);

/// Statistics of a simulation of the member, whose values this step writes itself.
void MonteCarlo_Ys(OptimizationRun& d, Long member);

/// Statistics predicted from derivatives around the member's values; order 2 shifts the means.
void SensAnalysis_Ys(OptimizationRun& d, Long member, Long order);

// The derivatives of every response with respect to every parameter, response x parameter; 0 for a parameter
// that does not vary. derivs2 is all 0 unless the order is 2.
void CalcAllDerivsQuick(OptimizationRun& d, Array2<double>& Derivs1, Array2<double>& derivs2,
                        const Array1<double>& xStDevs, Long order);
void CalcAllDerivsAccurate(OptimizationRun& d, Array2<double>& Derivs1, Array2<double>& derivs2,
                           const Array1<double>& xStDevs, Long order);

/// What to tell the user when the step of the quick derivatives at `mean` is so small beside the standard
/// deviation that second differences are rounding noise; empty when it is not.
std::string quickStepWarning(const c_Parameter& x, double mean, double stdev);

} // namespace varnex3::alg_m_Evaluation
