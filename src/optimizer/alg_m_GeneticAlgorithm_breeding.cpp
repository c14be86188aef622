// optimizer/alg_m_GeneticAlgorithm_breeding.cpp - the operators that make the next generation.
#include <cmath>
#include <string>

#include "optimizer/alg_m_GeneticAlgorithm.h"
#include "runtime/Number.h"
#include "stats/alg_m_MersenneTwister.h"
#include "ui/Debug.h"
#include "ui/Windows.h"

namespace varnex3::alg_m_GeneticAlgorithm {
namespace {

using alg_m_MersenneTwister::RandDouble;

constexpr Long kFirstTrendGeneration = 3; // before it there is no previous best to extrapolate from

double mutatedContinuous(const Variable& x, const c_Options& opts, double value, double scale, bool small)
{
    const double range = std::fabs(x.searchMax - x.searchMin);
    const double u = RandDouble();
    const double delta = small ? (2.0 * Int(2.0 * u) - 1.0) * range * opts.Precision / opts.GenSize
                               : range * (2.0 * u - 1.0) * scale;
    double r = value + delta;
    const double u2 = RandDouble(); // both are drawn, outside the range or not
    if (r < x.searchMin && u2 > 0.5) r = x.searchMin;
    const double u3 = RandDouble();
    if (r > x.searchMax && u3 > 0.5) r = x.searchMax;
    return r;
}

double mutatedInteger(const Variable& x, double value, double scale, bool small)
{
    const double u = RandDouble();
    if (small) return value + (2.0 * Int(2.0 * u) - 1.0);
    return value + Int(std::fabs(x.searchMax - x.searchMin) * (2.0 * u - 1.0) * scale);
}

/// The listed value next to `value`, or a random one beyond the ends of the list.
double mutatedDiscrete(const Variable& x, double value)
{
    const Long n = x.x->numFVs();
    if (n <= 1) return 0.0; // replaced by the caller, unless 0 is the listed value
    Long k = x.x->FeasValIndex(value);
    const double u = RandDouble();
    k = u < 0.5 ? k - 1 : k + 1;
    return k >= 1 && k <= n ? x.x->FeasVals(k) : CreateFeasible(x);
}

/// The children of one generation, filled slot by slot.
class Brood {
public:
    explicit Brood(OptimizationRun& d) : d_(d), options_(d.options()), variables_(searchVariables(d)) {}

    Long slot() const { return k_; }

    void smallMutationsOfOne(Long tries)
    {
        for ([[maybe_unused]] Long n : oneTo(tries)) {
            const Long p = ChooseParent(0, tries, d_);
            const Long j = RandIndex(countX());
            copyMember(p);
            mutate(p, j, true);
            keepIfUnique();
        }
    }

    void smallMutationsOfAll(Long tries)
    {
        for ([[maybe_unused]] Long n : oneTo(tries)) {
            const Long p = ChooseParent(0, tries, d_);
            for (Long j : oneTo(countX())) mutate(p, j, true);
            keepIfUnique();
        }
    }

    /// The best member moved on by the last change of the best, then by the sum of the changes.
    void trends()
    {
        for (Long j : oneTo(countX())) {
            d_.trendX(j) = d_.bestX(j) - d_.prevBestX(j);
            candidate(j) = variables_(j).x->MakeFeasible(d_.genX(1, j) + d_.trendX(j));
        }
        keepIfUnique();
        for (Long j : oneTo(countX())) {
            d_.cumTrendX(j) = d_.trendX(j) + d_.cumTrendX(j);
            candidate(j) = variables_(j).x->MakeFeasible(d_.genX(1, j) + d_.cumTrendX(j));
        }
        keepIfUnique();
    }

    void corners(Long tries)
    {
        for ([[maybe_unused]] Long n : oneTo(tries)) {
            for (Long j : oneTo(countX())) candidate(j) = cornerValue(variables_(j));
            keepIfUnique();
        }
    }

    void randomPoints(Long tries)
    {
        for ([[maybe_unused]] Long n : oneTo(tries)) {
            for (Long j : oneTo(countX())) candidate(j) = CreateFeasible(variables_(j));
            keepIfUnique();
        }
    }

    /// Crossover and mutation until every slot holds a distinct child.
    void fill()
    {
        Long failures = 0;
        while (k_ <= d_.numKids) {
            const double r = RandDouble();
            const Long p1 = ChooseParent(0, options_.GenSize, d_);
            if (r > d_.xoverProb)
                crossOver(p1);
            else
                mutateOne(p1);
            failures = keepIfUnique() ? 0 : failures + 1;
            if (failures == kMaxTries) raiseNoDistinctMember("NewGen");
        }
    }

private:
    Long countX() const { return variables_.size(); }
    double& candidate(Long j) { return d_.kids(k_, j); }
    void copyMember(Long p) { d_.kids.copyRow(k_, d_.genX, p); }

    void mutate(Long p, Long j, bool small)
    {
        candidate(j) = CreateByMutation(variables_(j), options_, d_.genX(p, j), d_.mutationScale, small);
    }

    static double cornerValue(const Variable& x)
    {
        if (!x.active) return cellValue(x);
        const double u = RandDouble();
        return u >= 0.5 ? x.searchMax : x.searchMin;
    }

    void crossOver(Long p1)
    {
        const Long p2 = ChooseParent(p1, options_.GenSize, d_);
        const Long cut = RandIndex(countX());
        const double r2 = RandDouble();
        const Long head = r2 <= 0.5 ? p1 : p2;
        const Long tail = r2 <= 0.5 ? p2 : p1;
        for (Long j : oneTo(countX())) candidate(j) = d_.genX(j <= cut ? head : tail, j);
    }

    void mutateOne(Long p)
    {
        const Long j = RandIndex(countX());
        copyMember(p);
        mutate(p, j, false);
        if (!inBounds(variables_(j), candidate(j))) candidate(j) = CreateFeasible(variables_(j));
    }

    bool keepIfUnique()
    {
        const bool unique = IsUnique(d_, variables_, k_, RowSource::Kid);
        if (unique) ++k_;
        return unique;
    }

    OptimizationRun& d_;
    const c_Options& options_;
    Variables variables_;
    Long k_ = 1; // the slot being filled
};

/// The children take the places of the worst members, which have no statistics and scores yet.
void replaceWorstMembers(OptimizationRun& d)
{
    const bool storesYs = d.storesYs();
    for (Long i : oneTo(d.numKids)) {
        const Long q = d.options().GenSize - d.numKids + i;
        d.genX.copyRow(q, d.kids, i);
        if (storesYs) d.genY.fillRow(q, 0.0);
        d.genP.fillRow(q, 0.0);
    }
}

} // namespace

/// Picks a parent by rank: the better the rank, the likelier.
///
///   1. a = a uniform draw, the fitness to beat.
///   2. i = a random member 1..n.
///   3. Return i when it is not `exclude` and its fitness exceeds a; otherwise start again.
///
/// @param exclude  member that must not be picked; 0 for none
/// @param n        the choice is among members 1..n; at least 2 when one is excluded
/// @return         a member, 1..n, never `exclude`
/// @draws          two per try: a, then i
/// @raises         5 when a million tries in a row picked nobody, as a stream that has dried up to one value
/// does
/// @source         [LL12], selection by stochastic acceptance
Long ChooseParent(Long exclude, Long n, const OptimizationRun& d)
{
    Procedure here{kModule, "ChooseParent"};

    for (Long tries = 1; tries <= kMaxTries; ++tries) {
        here.at(1);
        const double a = RandDouble();
        here.at(2);
        const Long i = RandIndex(n);
        here.at(3);
        if (i != exclude && calcFitness(d, i) > a) return i;
    }
    raise(errors::InvalidCall, "ChooseParent", "The random draws select no parent");
}

/// A value near `value`, always feasible for x.
///
///   1. Continuous: one resolution step up or down, or uniform within scale x range; beyond an end of
///      the range, one half of the draws stop at that end.
///   2. Integer: 1 up or down, or a whole step within scale x range.
///   3. Discrete: the next listed value up or down.
///   4. Any other kind: the value itself.
///   5. What is still infeasible becomes a random feasible value.
///
/// @draws  continuous three, integer one, discrete one, then CreateFeasible's
double CreateByMutation(const Variable& x, const c_Options& opts, double value, double scale, bool small)
{
    Procedure here{kModule, "CreateByMutation"};

    double r = value;
    switch (x.kind) {
    case Kind::Continuous:
        here.at(1);
        r = mutatedContinuous(x, opts, value, scale, small);
        break;
    case Kind::Integer:
        here.at(2);
        r = mutatedInteger(x, value, scale, small);
        break;
    case Kind::Discrete:
        here.at(3);
        r = mutatedDiscrete(x, value);
        break;
    case Kind::Held: break;
    }
    here.at(5);
    return inBounds(x, r) ? r : CreateFeasible(x);
}

/// Breeds numKids distinct children and puts them in place of the worst members.
///
///   3. to 7. Small mutations of a top member, trends, corners, random points: a fixed number of tries.
///   8. Crossover and mutation of parents chosen by rank, until all slots are filled.
///   9. Replace the worst members and clear their statistics and scores.
///
/// @draws   in the order of the steps
/// @raises  18 after a cancel; 5 when a million children in a row were alike to others
void NewGen(OptimizationRun& d)
{
    constexpr const char* kName = "NewGen";
    Procedure here{kModule, kName};
    const std::string dbg = d.options().dbg;
    here.at(1);
    traceEntry(dbg, kName);
    StatusMsg(*d.xl, dbg, "Creating", "Generation " + std::to_string(d.genCount));
    here.at(2);
    Brood brood(d);
    const auto announce = [&](const std::string& what) {
        if (dbg == kName) traceDetail(dbg, kName, "i = " + std::to_string(brood.slot()) + ". " + what);
    };

    here.at(3);
    traceDetail(dbg, kName, std::to_string(d.numSmallOne) + " Tries by numSmallOne");
    brood.smallMutationsOfOne(d.numSmallOne);
    here.at(4);
    announce(std::to_string(d.numSmallAll) + " Tries by numSmallAll");
    brood.smallMutationsOfAll(d.numSmallAll);
    here.at(5);
    announce(" 2 Tries by trend operator");
    if (d.genCount >= kFirstTrendGeneration) brood.trends();
    here.at(6);
    announce(std::to_string(d.numMinMax) + " Tries by MinMax");
    brood.corners(d.numMinMax);
    here.at(7);
    announce(std::to_string(d.numRandom) + " Tries by numRandom");
    brood.randomPoints(d.numRandom);
    here.at(8);
    announce(" starting xover & mutation.");
    brood.fill();
    here.at(9);
    replaceWorstMembers(d);
}

} // namespace varnex3::alg_m_GeneticAlgorithm
