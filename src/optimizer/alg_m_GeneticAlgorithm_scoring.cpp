// optimizer/alg_m_GeneticAlgorithm_scoring.cpp - how good a member is: four scores, and a fitness by rank.
#include <cmath>

#include "host/alg_m_XLinterface.h"
#include "optimizer/alg_m_GeneticAlgorithm.h"

namespace varnex3::alg_m_GeneticAlgorithm {
namespace {

constexpr const char* kScoring = "ComputePLevels";

/// A requirement, target or weight as a number; the cell is checked when it is one.
double operandOf(const Variant& property, bool noNegative)
{
    if (!alg_m_XLinterface::IsRange(property)) return toDouble(property);
    host::Range& cell = *alg_m_XLinterface::rangeOf(property);
    alg_m_XLinterface::CheckCell(cell, kScoring, false, noNegative);
    return toDouble(cell.Value());
}

double statistic(const OptimizationRun& d, Long row, const std::string& aspect, Long response)
{
    return d.genY(row, d.columnOfY(aspect, response));
}

} // namespace

/// Scores a member: how far its statistics fall short of the constraints and the goals.
///
///   2. total = the sum of the deviations from the constraints.
///   3. Score 1 is the total; scores 2 to 4 start at 0.
///   4. Each goal adds deviation x weight to the score of its priority.
///
/// @raises  513, 515, 517 after showing a bad cell; 9 for a priority outside 1..3
void ComputePLevels(OptimizationRun& d, Long m)
{
    Procedure here{kModule, kScoring};

    here.at(1);
    const Long row = d.rowOfY(m);
    here.at(2);
    double total = 0.0;
    for (Long c : oneTo(d.f->CountC())) {
        const c_Constraint& constraint = required(required(d.f->Cs).Item(c));
        const double v = statistic(d, row, constraint.Aspect, d.cSource(c));
        const double t = operandOf(constraint.Reqt, false);
        total = total + computeDeviation(v, constraint.Oper, t);
    }
    here.at(3);
    d.genP.fillRow(m, 0.0);
    d.genP(m, 1) = total;
    here.at(4);
    for (Long g : oneTo(d.f->CountG())) {
        const c_Goal& goal = required(required(d.f->Gs).Item(g));
        const double v = statistic(d, row, goal.Aspect, d.gSource(g));
        const double t = operandOf(goal.Target, false);
        const double dev = computeDeviation(v, goal.Oper, t);
        const Long p = goal.Priority;
        if (p < 1 || p > kMaxPriority) raise(errors::Subscript);
        const double w = operandOf(goal.Weight, true);
        d.genP(m, p + 1) = d.genP(m, p + 1) + dev * w;
    }
}

/// The relative shortfall of statistic v against requirement t, absolute when t is 0; 0 when v meets it,
/// and for an operator that is none of "<=", ">=", "=".
double computeDeviation(double v, const std::string& oper, double t)
{
    if (oper == "<=") {
        if (t - v >= 0.0) return 0.0;
    } else if (oper == ">=") {
        if (t - v <= 0.0) return 0.0;
    } else if (oper != "=") {
        return 0.0;
    }
    return t != 0.0 ? std::fabs((v - t) / t) : std::fabs(v - t);
}

/// Fitness of a rank, linear from 1 for the best down to the floor for the worst.
double calcFitness(const OptimizationRun& d, Long i)
{
    const Long size = d.options().GenSize;
    return d.fitnessFloor + (size - i) * (1.0 - d.fitnessFloor) / (size - 1);
}

} // namespace varnex3::alg_m_GeneticAlgorithm
