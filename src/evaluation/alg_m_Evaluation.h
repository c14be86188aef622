// evaluation/alg_m_Evaluation.h - the response steps: from a workbook that holds a member's values to the
// statistics of its responses.
//
// The dispatch (EvaluateGen) is the search's, in optimizer/.
#pragma once

#include <optional>

#include "evaluation/OptimizationRun.h"

namespace varnex3::alg_m_Evaluation
{

/// Statistics of single values: the response cells as they stand.
void Deterministic_Ys(OptimizationRun& d, Long m);

/// Statistics of a simulation of the member, whose values this step writes itself.
void MonteCarlo_Ys(OptimizationRun& d, Long member);

/// A specification limit as a number; nothing when it is empty or an empty cell.
/// @param procedure  source of the error that a bad cell raises
/// @raises           513, 515 after showing the cell; 13 for a text that is no number
std::optional<double> specificationLimit(const Variant& limit, const char* procedure);

} // namespace varnex3::alg_m_Evaluation
