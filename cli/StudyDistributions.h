// cli/StudyDistributions.h - what a study says of distributions, correlations and Monte Carlo runs.
//
// The entries as text, checked for form. The library's components are made from them in Distributions.h.
#pragma once

#include <string>
#include <vector>

#include "Study.h"

namespace varnex3::cli {

class Section;

/// The key of a family's parameter in the study file: "Standard deviation" is "stdev", "First shape" is
/// "first_shape".
std::string parameterKey(std::string_view text);

/// The key `distribution` of a parameter: a table, a list of tables for a mixture, or the family's name for a
/// searched parameter. Empty when it is left out.
std::vector<StudyComponent> readDistribution(Section& parameter, const std::string& type);

/// The table [monte_carlo]; its defaults when it is left out.
StudyMonteCarlo readMonteCarlo(Section& top);

/// The table [correlations]: `a = { b = 0.8 }` for each pair of "Noise" parameters.
std::vector<StudyCorrelation> readCorrelations(Section& top, const std::vector<StudyParameter>& parameters);

} // namespace varnex3::cli
