// cli/Distributions.h - from the study's distributions and correlations to the library's.
#pragma once

#include <string>
#include <vector>

#include "Problem.h"
#include "montecarlo/c_MonteCarlo.h"

namespace varnex3::cli {

/// Gives every "Noise" parameter its components and moments, every "Constant" one its point, every searched
/// one its shape. Raises Refused at an entry whose cells or numbers do not make a distribution.
void buildDistributions(Problem& problem);

/// The study's settings and correlations; the host and the formulation are set. Trials are the study's.
void configureMonteCarlo(c_MonteCarlo& monteCarlo, Problem& problem);

/// The study's correlations as the library's list: ids, then the coefficient as text.
Array2<std::string> correlationList(const Study& study);

/// The library's checks of parameters and responses, all that a simulation needs of a study; raises Refused
/// at the entry that fails.
void validateInputs(Problem& problem);

/// Parameters whose computed moments are more than 1 % off those that their components have in closed form.
std::vector<std::string> momentWarnings(Problem& problem);

} // namespace varnex3::cli
