// optimizer/alg_m_GeneticAlgorithm.h - the genetic search: creation, breeding, scoring, evaluation, loop.
//
// Works on the run record; member 1 is the best after every sort. All randomness comes from the one
// stream of stats/, and the order of draws is part of what a seed reproduces. Sorting is SortGen's.
#pragma once

#include <string>

#include "evaluation/OptimizationRun.h"

namespace varnex3::alg_m_GeneticAlgorithm {

inline constexpr const char* kModule = "alg_m_GeneticAlgorithm";
inline constexpr const char* kTitle = "Corvane"; // of the search's message boxes

/// How the search treats a parameter; `Held` stays at the value of its cell.
enum class Kind : char { Continuous, Integer, Discrete, Held };

/// What breeding needs of a parameter, read once per generation.
struct Variable {
    Variable() = default;
    Variable(const c_Parameter& parameter);

    Kind kind = Kind::Held;
    bool active = false; // takes part in the duplicate test: neither "Noise" nor "Constant"
    double searchMin = 0.0;
    double searchMax = 0.0;
    const c_Parameter* x = nullptr;
};
using Variables = Array1<Variable>; // 1..CountX, in the order of Xs

Variables searchVariables(const OptimizationRun& d);

// Creation.
double numAlternatives(const OptimizationRun& d);
void LoadInitialSolution(OptimizationRun& d);
void CreateGen(OptimizationRun& d);

enum class RowSource { New, Kid };
bool IsUnique(const OptimizationRun& d, const Variables& variables, Long m, RowSource source);

double CreateFeasible(const Variable& x);
bool inBounds(const Variable& x, double v);
/// The value of a parameter's cell; raises 13 when it is not numeric.
double cellValue(const Variable& x);

/// A random index 1..n.
/// @draws  one
Long RandIndex(Long n);

/// Candidates in a row that may fail the duplicate test before a search is given up.
inline constexpr Long kMaxTries = 1'000'000;
[[noreturn]] void raiseNoDistinctMember(const char* procedure);

// Breeding.
void NewGen(OptimizationRun& d);
double CreateByMutation(const Variable& x, const c_Options& opts, double value, double scale, bool small);
Long ChooseParent(Long exclude, Long n, const OptimizationRun& d);

// Scoring.
void ComputePLevels(OptimizationRun& d, Long m);
double computeDeviation(double v, const std::string& oper, double t);
double calcFitness(const OptimizationRun& d, Long i);

// Evaluation.
void EvaluateGen(OptimizationRun& d, Long first, Long last);

// The loop.
void RunCorvane(OptimizationRun& d);
bool OptimizationComplete(OptimizationRun& d);

} // namespace varnex3::alg_m_GeneticAlgorithm
