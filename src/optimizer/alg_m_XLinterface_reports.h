// optimizer/alg_m_XLinterface_reports.h - what a run hands to the workbook (module alg_m_XLinterface).
//
// The workbook's own macros lay the results out; the one layout made here is the dump of a formulation.
#pragma once

#include <string>

#include "evaluation/OptimizationRun.h"

namespace varnex3::alg_m_XLinterface {

/// Reports a generation: moves the best-member record on, updates the progress window, and runs the
/// generation macro. None of the three has a handler of its own.
void PrintGen(OptimizationRun& d);

/// Runs the final macro with the whole last generation, best member first.
void PrintFinalGen(OptimizationRun& d);

/// Writes every item of the formulation into a new workbook. Needs a cell as stdev of every parameter.
void PrintFormulation(OptimizationRun& d);

/// A cell as reports and messages name it: "Sheet1!$B$3".
std::string referenceText(host::Range& range);

} // namespace varnex3::alg_m_XLinterface
