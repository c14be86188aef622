// formulation/c_Parameter.cpp - the cell, the feasible values and the validation of a parameter.
//
// Its distribution (InitDist, RandVal, CalcMoments) is in stats/.
#include "formulation/c_Parameter.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "formulation/Checks.h"
#include "host/alg_m_XLinterface.h"
#include "runtime/Number.h"

namespace varnex3 {
namespace {

constexpr OperandMessages kStDev{.manyCells = "More than one cell selected for standard deviation",
                                 .badCell = "Non-numeric standard deviation cell value",
                                 .badValue = "Non-numeric standard deviation",
                                 .negativeCell = "Negative standard deviation cell value",
                                 .negativeValue = "Negative standard deviation value"};

} // namespace

bool isActiveKind(const std::string& xType) { return xType != xTypes::Noise && xType != xTypes::Constant; }

c_Parameter::c_Parameter() : dist(std::make_shared<KeyedCollection<DistributionComponent>>()) {}

c_Parameter::~c_Parameter() { Clear(); }

double c_Parameter::GetMean() const
{
    if (xType == xTypes::Noise) return computedMean_;
    const Variant value = required(mean).Value();
    return isNumeric(value) ? toDouble(value) : 0.0;
}

double c_Parameter::GetStDev()
{
    if (xType == xTypes::Constant) return 0.0;
    if (xType != xTypes::Noise) computedStDev_ = toDouble(alg_m_XLinterface::valueOf(stdev));
    return computedStDev_;
}

void c_Parameter::SetMean(double d)
{
    if (xType != xTypes::Constant) required(mean).Value(d);
}

double c_Parameter::FeasVals(Long i) const { return feasible_(i); }

/// Position of the first feasible value exactly equal to d; 0 when none is.
Long c_Parameter::FeasValIndex(double d) const
{
    const auto first = feasible_.begin(), last = feasible_.end();
    const auto found = ascending_ ? std::lower_bound(first, last, d) : std::find(first, last, d);
    return found != last && *found == d ? static_cast<Long>(found - first) + 1 : 0;
}

/// Inserts fv at `index`, moving that entry and those above it up.
///
/// @param index  a place outside 1..count + 1 becomes count + 1: the value is appended
void c_Parameter::AddFV(double fv, Long& index)
{
    const Long n = feasible_.size() + 1;
    if (index < 1 || index > n) index = n;
    const bool fits = (index == 1 || feasible_(index - 1) <= fv) && (index == n || fv <= feasible_(index));
    ascending_ = ascending_ && fits && !std::isnan(fv);
    feasible_.resizeKeep(n);
    for (Long i : downTo(n, index + 1)) feasible_(i) = feasible_(i - 1);
    feasible_(index) = fv;
}

void c_Parameter::AddFV(double fv)
{
    Long appended = 0;
    AddFV(fv, appended);
}

/// Removes the entry at `index`; nothing happens outside 1..count.
void c_Parameter::RemoveFV(Long index)
{
    const Long n = feasible_.size();
    if (index < 1 || index > n) return;
    for (Long i : fromTo(index, n - 1)) feasible_(i) = feasible_(i + 1);
    feasible_.resizeKeep(n - 1);
    if (n == 1) ascending_ = true;
}

/// Sorts ascending and keeps one of each value. What is not a number goes to the end.
void c_Parameter::SortFV()
{
    const auto below = [](double a, double b) { return a < b || (std::isnan(b) && !std::isnan(a)); };
    std::stable_sort(feasible_.begin(), feasible_.end(), below);
    feasible_.resizeKeep(
        static_cast<Long>(std::unique(feasible_.begin(), feasible_.end()) - feasible_.begin()));
    ascending_ = feasible_.empty() || !std::isnan(feasible_(feasible_.size()));
}

/// The admissible value nearest to d.
///
///   1. No feasible values: d itself. One: that one.
///   2. Bring d into the search range.
///   3. "Integer": round to the nearest whole number, halves to even.
///   4. "Discrete": the nearer of the two feasible values around d, the lower one when d is midway.
double c_Parameter::MakeFeasible(double d) const
{
    if (feasible_.empty()) return d;
    if (feasible_.size() == 1) return feasible_(1);

    if (!(d >= SearchMin)) d = SearchMin;
    if (d > SearchMax) d = SearchMax;
    if (xType == xTypes::Integer) return roundHalfEven(d);
    if (xType != xTypes::Discrete) return d;

    const Long i = gapAround(d);
    if (i == 0) return d;
    return d - feasible_(i) > feasible_(i + 1) - d ? feasible_(i + 1) : feasible_(i);
}

/// The first i with feasible(i) < d < feasible(i + 1); 0 when there is none.
Long c_Parameter::gapAround(double d) const
{
    if (ascending_) {
        const Long i =
            static_cast<Long>(std::lower_bound(feasible_.begin(), feasible_.end(), d) - feasible_.begin());
        return i >= 1 && i < feasible_.size() && d < feasible_(i + 1) ? i : 0;
    }
    for (Long i : oneTo(feasible_.size() - 1))
        if (feasible_(i) < d && d < feasible_(i + 1)) return i;
    return 0;
}

bool c_Parameter::XisOK(std::string& problemCause)
{
    using namespace xTypes;
    const bool active = isActiveKind(xType);
    const auto distributionPasses = [&] {
        if (xType != Noise) return;
        for (Long i : oneTo(required(dist).Count())) {
            required(dist->Item(i)).ParamsOK(problemCause);
            if (!problemCause.empty()) return;
        }
    };
    return passes(problemCause, [&](Checks& checks) {
        const bool passed =
            checks.labelled(id, DefName, Name) &&
            checks.oneOf(xType, {Continuous, Integer, Discrete, Noise, Constant}, "Type is not recognized") &&
            checks.numericCell(mean, "Mean is not an Excel range", "More than one cell selected for Mean",
                               "Non-numeric value for Mean") &&
            checks.expect(SearchMin <= SearchMax, "Minimum value is greater than maximum value") &&
            checks.expect(!active || numFVs() > 0, "No feasible values") &&
            checks.expect(!active || xType == Discrete || SearchMin != SearchMax,
                          "Identical minimum value and maximum value") &&
            (!active || checks.operand(stdev, kStDev));
        if (passed) distributionPasses();
    });
}

void c_Parameter::Clear()
{
    mean.reset();
    dist.reset();
}

} // namespace varnex3
