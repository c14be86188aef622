// cli/Moments.h - the method of moments on a problem: derivatives at its values, what follows from them.
//
// Shared by the commands that predict from derivatives; each prints its own results.
#pragma once

#include <string>
#include <vector>

#include "Problem.h"
#include "runtime/Array.h"
#include "sensitivity/c_sa_Output.h"

namespace varnex3::cli {

struct Moments {
    Long order = 2;
    std::string derivs = "Quick";
    std::vector<double> means, stdevs; // by parameter, workbook units
    Array2<double> first, second;      // response x parameter; of every parameter that is not "Constant"
    long long recalculations = 0;      // spent on the derivatives
    double seconds = 0.0;
    std::vector<std::string> warnings;
};

/// The order that a study's `Stats` asks for: 1 for the first-order analysis, 2 for all others.
Long orderOf(const Study& study);

/// Raises Refused, with the place, for a study without parameters or responses, for empty cells, and for
/// spreads and limits that are none.
void requireAnalysable(Problem& problem);

/// One warning for each parameter whose quick second derivatives at these means are rounding noise.
std::vector<std::string> smallStepWarnings(const Problem& problem, const std::vector<double>& means,
                                           const std::vector<double>& stdevs);

/// Today's spread of every parameter.
std::vector<double> standardDeviations(Problem& problem);

/// Puts "Noise" cells to the means of their distributions, recalculates and differentiates every response,
/// by the formulation's `Derivs`. The cells hold afterwards what they held then.
/// @raises  513, 515 for an input without a number; what the host raises
Moments differentiate(Problem& problem, Long order);

/// The prediction for response j when the parameters have these standard deviations.
/// An error is shown in the error window and leaves its results as far as they had come.
c_sa_Output propagate(Problem& problem, const Moments& moments, Long j, const std::vector<double>& stdevs);

/// (usl - lsl) / 6 s, and the nearer limit's distance from the mean over 3 s. Not finite where a limit that
/// the index needs is missing or the response does not vary.
struct Capability {
    double Cp, Cpk;
};
Capability capability(const c_Response& y, double mean, double stdev);

} // namespace varnex3::cli
