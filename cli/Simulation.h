// cli/Simulation.h - what a Monte Carlo run of a study comes to, and its report.
//
// Running it is simulate.cpp's; the figures are the library's, the ones added here are derived from them.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "Problem.h"
#include "montecarlo/c_MonteCarlo.h"

namespace varnex3::cli {

inline constexpr double kPercents[] = {0.1, 1, 5, 10, 25, 50, 75, 90, 95, 99, 99.9};

/// A finished or cancelled run.
struct Simulation {
    c_MonteCarlo run;
    Long planned = 0; // trials asked for; run.LastTrial() are reported
    bool cancelled = false;
    bool repaired = false; // the correlations were not consistent and had to be changed
    double seconds = 0.0;
};

/// The p-th percentile of a response, 0..100: linear between the values of rank 1 + p/100 (n - 1).
/// The values are sorted.
double percentile(const c_MonteCarlo& run, Long response, double p);

/// The exact (Clopper-Pearson) two-sided bounds of a probability from x failures in n trials.
struct Bounds {
    double lower = 0.0, upper = 1.0;
};
Bounds exactBounds(Long n, Long x, double alpha);

/// The tables for people.
std::string report(const Problem& problem, const Simulation& simulation);
/// Everything at full precision under the library's names.
nlohmann::json document(const Problem& problem, const Simulation& simulation);
/// Every trial: its number, the inputs, the responses.
std::string trialsAsCsv(const Problem& problem, const Simulation& simulation);

} // namespace varnex3::cli
