// evaluation/OptimizationRun.h - the working state of one optimization: data only.
//
// One value per call of Optimize, filled by c_Optimization's InitVars and passed by reference to every
// procedure of the search. It stands beside the response steps because they are the lowest users.
#pragma once

#include "formulation/c_Formulation.h"
#include "host/interface/Host.h"
#include "runtime/Array.h"

namespace varnex3 {

class c_MonteCarlo;

inline constexpr Long kScores = 4;     // constraint violation, then goals of priority 1 to 3
inline constexpr Long kStatistics = 3; // per response: mean, standard deviation, non-conformance

/// What a caller may want to know of a run after its end.
struct RunSummary {
    Long genCount = 0;         // generations reached
    Long genOfBest = 0;        // generation in which the best was reached, kept by "Stop after no change"
    long long evaluations = 0; // members evaluated and scored
    Long seed = 0; // of the random stream; 0 when none was given and the run ended before it was seeded
    bool cancelled = false;
    bool keptBest = false; // cancelled, and the best solution was written to the workbook
};

struct OptimizationRun {
    c_Formulation* f = nullptr; // the caller's: what the run changes in it stays
    c_MonteCarlo* mc = nullptr;
    Array2<double> genX;      // member x parameter, workbook units
    Array2<double> genY;      // row of rowOfY x (means, standard deviations, non-conformances)
    Array2<double> genP;      // member x kScores, 0 is best
    Array2<double> kids;      // child x parameter
    Array1<double> resX;      // smallest difference that makes two members different, per parameter
    Array1<double> startX;    // values found in the workbook at the start
    Array1<double> bestX;     // best member when a generation was last reported
    Array1<double> prevBestX; // the same, one report earlier
    Array1<double> trendX;    // bestX - prevBestX
    Array1<double> cumTrendX; // sum of the trends so far
    Array1<Long> cSource;     // per constraint, the response it is on
    Array1<Long> gSource;     // per goal, the response it is on
    Ref<host::Application> xl;
    Long genCount = 0;
    Long genOfBest = 0;
    Long numKids = 0;           // children per generation
    double mutationScale = 0.0; // of a large mutation, as a fraction of the search range
    Long numSmallOne = 0;       // tries per generation of the breeding operators
    Long numSmallAll = 0;
    Long numMinMax = 0;
    Long numRandom = 0;
    double xoverProb = 0.0;    // a draw above it breeds by crossover, otherwise by mutation
    double fitnessFloor = 0.0; // fitness of the worst rank
    RunSummary summary;

    c_Options& options() const { return required(f->Options); }
    bool storesYs() const { return options().StoreYs == "Yes"; }
    /// The row of genY that holds a member's statistics: its own, or the only one.
    Long rowOfY(Long member) const { return storesYs() ? member : 1; }
    /// The column of genY for a statistic ("Mean", "StDev", else non-conformance) of a response.
    Long columnOfY(const std::string& aspect, Long response) const
    {
        if (aspect == "Mean") return response;
        return (aspect == "StDev" ? 1 : 2) * f->CountY() + response;
    }
};

} // namespace varnex3
