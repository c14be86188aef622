// stats/c_Distribution.cpp - reading a component's parameters, truncation, quantiles, density, graph.
#include "stats/c_Distribution.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "formulation/c_Parameter.h"
#include "host/alg_m_XLinterface.h"

namespace varnex3 {
namespace {

constexpr double kHalfStep = 0.5 / 2147483647.0; // of the random stream
constexpr double kFurthest = 1e-17;              // no batch holds a positive probability below it

std::string named(std::string_view parameter, const Family& family, const char* what)
{
    return std::string(parameter) + " of the " + std::string(family.name) + " distribution " + what;
}

/// Appends the numbers of an array, in row order; false when an element is not a number. Empty elements
/// are left out.
template <class Elements>
bool appendNumbers(const Elements& elements, std::vector<double>& numbers)
{
    for (const auto& element : elements) {
        const Variant value(element);
        if (isEmptyText(value)) continue;
        if (!isNumeric(value)) return false;
        numbers.push_back(toDouble(value));
    }
    return true;
}
template <class T>
bool appendRows(const Array2<T>& table, std::vector<double>& numbers)
{
    for (Long r : oneTo(table.rows()))
        if (!appendNumbers(table.row(r), numbers)) return false;
    return true;
}
bool toNumbers(const Variant& list, std::vector<double>& numbers)
{
    return std::visit(overloaded{
                          [&](const DoubleArray1& a) { return !a || appendNumbers(*a, numbers); },
                          [&](const VariantArray1& a) { return !a || appendNumbers(*a, numbers); },
                          [&](const DoubleArray2& a) { return !a || appendRows(*a, numbers); },
                          [&](const VariantArray2& a) { return !a || appendRows(*a, numbers); },
                          [&](const auto&) { return appendNumbers(std::array<Variant, 1>{list}, numbers); },
                      },
                      list.held());
}

bool unlimited(const Variant& limit, double infinity)
{
    const Variant value = alg_m_XLinterface::valueOf(limit);
    return isEmptyText(value) || (isNumeric(value) && toDouble(value) == infinity);
}

} // namespace

c_Distribution::c_Distribution() : ltl_(-1e307), utl_(1e307) {}

void c_Distribution::DistType(const std::string& family)
{
    distType_ = family;
    ready_ = false;
}

void c_Distribution::setParam(std::size_t i, const Variant& value)
{
    params_[i] = value;
    ready_ = false;
}

void c_Distribution::LTL(const Variant& value)
{
    ltl_ = isEmptyText(value) ? Variant(NegInfinity()) : value;
    ready_ = false;
}

void c_Distribution::UTL(const Variant& value)
{
    utl_ = isEmptyText(value) ? Variant(PosInfinity()) : value;
    ready_ = false;
}

/// Reads parameters and limits from the properties and their cells. Answers the first reason, or nothing.
std::string c_Distribution::read(FamilyValues& values, double& lower, double& upper) const
{
    const Family* family = findFamily(distType_);
    if (!family) return "Distribution type \"" + distType_ + "\" is not recognized";

    for (std::size_t i = 0; i < params_.size(); ++i) {
        const FamilyParameter& parameter = family->parameters[i];
        if (parameter.text.empty()) break;
        const Ref<host::Range> range = alg_m_XLinterface::rangeOf(params_[i]);
        if (range && !parameter.data && range->Count() > 1)
            return named(parameter.text, *family, "has more than one cell");
        const Variant value = range ? range->Value() : params_[i];
        if (parameter.data) {
            if (!toNumbers(value, i == 0 ? values.points : values.weights))
                return named(parameter.text, *family, "must all be numbers");
            continue;
        }
        if (isEmptyText(value)) {
            if (std::isnan(parameter.standard)) return named(parameter.text, *family, "is missing");
            values.v[i] = parameter.standard;
            continue;
        }
        if (!isNumeric(value)) return named(parameter.text, *family, "is not a number");
        values.v[i] = toDouble(value);
        if (!std::isfinite(values.v[i])) return named(parameter.text, *family, "is not a finite number");
        if (parameter.rule == Rule::Positive && !(values.v[i] > 0.0))
            return named(parameter.text, *family, "must be greater than 0");
        if (parameter.rule == Rule::NotNegative && values.v[i] < 0.0)
            return named(parameter.text, *family, "is negative");
    }

    const Variant ltl = alg_m_XLinterface::valueOf(ltl_), utl = alg_m_XLinterface::valueOf(utl_);
    if (!isNumeric(ltl)) return "Lower truncation limit is not a number";
    if (!isNumeric(utl)) return "Upper truncation limit is not a number";
    lower = isEmptyText(ltl) ? NegInfinity() : toDouble(ltl);
    upper = isEmptyText(utl) ? PosInfinity() : toDouble(utl);
    if (lower > upper) return "Lower truncation limit is above the upper one";
    if (!(ScaleFactor >= 0.0) || std::isinf(ScaleFactor)) return "Scale factor must not be negative";
    return {};
}

/// Completes what was read: derived values, the probabilities cut off, the ends. Answers a reason or nothing.
std::string c_Distribution::prepare(FamilyValues values, double lower, double upper)
{
    const Family* family = findFamily(distType_);
    if (std::string reason = family->problem(values); !reason.empty())
        return reason + " (" + std::string(family->name) + " distribution)";
    moments_ = family->moments(values);
    if (moments_.stdev == 0.0) { // a single point, whatever the family
        values.points = {moments_.mean};
        values.weights = {1.0};
        family = &discreteFamily();
    }
    if (family == &discreteFamily()) { // points are kept or cut as they are
        double before = 0.0, kept = 0.0;
        std::vector<double> points, upTo;
        for (std::size_t i = 0; i < values.points.size(); ++i) {
            const double weight = values.weights[i] - before;
            before = values.weights[i];
            if (values.points[i] < lower || values.points[i] > upper) continue;
            points.push_back(values.points[i]);
            upTo.push_back(kept += weight);
        }
        if (!(kept > 0.0)) return "No probability lies between the truncation limits";
        if (points.size() < values.points.size()) {
            for (double& p : upTo) p /= kept;
            upTo.back() = 1.0;
            values.points = std::move(points);
            values.weights = std::move(upTo);
        }
    }
    family_ = family;
    values_ = std::move(values);
    lower_ = lower;
    upper_ = upper;
    const Support whole = family_->support(values_);
    ends_ = {std::max(whole.lower, lower > NegInfinity() ? lower : -kInfinity),
             std::min(whole.upper, upper < PosInfinity() ? upper : kInfinity)};
    cut_ = family_ != &discreteFamily() && (ends_.lower > whole.lower || ends_.upper < whole.upper);
    if (cut_) {
        // point masses on the lower limit stay in
        atLower_ = ends_.lower > whole.lower ? share(family_->pdf ? lower : std::nextafter(lower, -kInfinity))
                                             : Probability{0.0, 1.0};
        atUpper_ = ends_.upper < whole.upper ? share(upper) : Probability{1.0, 0.0};
        const double inside =
            atLower_.below > 0.5 ? atLower_.above - atUpper_.above : atUpper_.below - atLower_.below;
        if (!(inside > 0.0)) return "No probability lies between the truncation limits";
    }
    const Probability nearLower = truncated({kFurthest, 1.0}), nearUpper = truncated({1.0, kFurthest});
    if (!(std::fabs(family_->quantile(values_, nearLower)) < PosInfinity()) ||
        !(std::fabs(family_->quantile(values_, nearUpper)) < PosInfinity()))
        return "Values of the " + std::string(family->name) + " distribution are too large for a cell";
    return {};
}

bool c_Distribution::ParamsOK(std::string& errorString)
{
    FamilyValues values;
    double lower = 0.0, upper = 0.0;
    std::string reason = read(values, lower, upper);
    if (reason.empty()) {
        if (ready_ && values == given_ && lower == lower_ && upper == upper_) return true;
        given_ = values;
        reason = prepare(std::move(values), lower, upper);
    }
    ready_ = reason.empty();
    if (!ready_) errorString = std::move(reason);
    return ready_;
}

/// The component is ready to answer, or an error says why it is not.
void c_Distribution::require()
{
    if (ready_) return;
    std::string reason;
    if (!ParamsOK(reason)) raise(errors::InvalidCall, "c_Distribution", reason);
}

double c_Distribution::mean()
{
    require();
    return moments_.mean;
}

double c_Distribution::stdev()
{
    require();
    return moments_.stdev;
}

Probability c_Distribution::share(double x) const { return family_->probability(values_, x); }

/// A probability of the truncated distribution as one of the whole family; each tail from its own side.
Probability c_Distribution::truncated(const Probability& p) const
{
    if (!cut_) return p;
    return {atLower_.below + p.below * (atUpper_.below - atLower_.below),
            atUpper_.above + p.above * (atLower_.above - atUpper_.above)};
}

double c_Distribution::RandVal(double p)
{
    if (!ready_) require();
    if (!(p >= 0.0 && p <= 1.0)) raise(errors::InvalidCall);
    Probability at{p, 1.0 - p};
    if (p == 0.0) {
        if (ends_.lower > -kInfinity) return ends_.lower;
        at = {kHalfStep, 1.0 - kHalfStep};
    } else if (p == 1.0) {
        if (ends_.upper < kInfinity) return ends_.upper;
        at = {1.0 - kHalfStep, kHalfStep};
    }
    if (!cut_) return family_->quantile(values_, at);
    return std::clamp(family_->quantile(values_, truncated(at)), ends_.lower, ends_.upper);
}

double c_Distribution::cdf(double x)
{
    require();
    if (x < ends_.lower) return 0.0;
    if (x >= ends_.upper) return 1.0;
    const Probability p = share(x);
    if (!cut_) return p.below;
    if (atLower_.below > 0.5) return (atLower_.above - p.above) / (atLower_.above - atUpper_.above);
    return (p.below - atLower_.below) / (atUpper_.below - atLower_.below);
}

/// Families with a density: the density at x, inside the limits. Families of points: the probability
/// within about half a grid step on either side of x, over the step; 0 at the first grid point. The windows
/// of neighbouring grid points meet off the middle: evenly spaced points would lie on the middles, where
/// rounding counts them twice or not at all.
double c_Distribution::pdf(double x, bool /*flag*/, std::optional<double> previousX)
{
    require();
    const double part = mixtureTotal > 0.0 ? ScaleFactor / mixtureTotal : 1.0;
    if (!family_->pdf) {
        if (!previousX || !(x > *previousX)) return 0.0;
        const double step = x - *previousX;
        constexpr double kBefore = 0.4837;
        return part * (cdf(x + (1.0 - kBefore) * step) - cdf(x - kBefore * step)) / step;
    }
    if (x < ends_.lower || x > ends_.upper) return 0.0;
    const double density = family_->pdf(values_, x);
    if (!cut_) return part * density;
    const double inside =
        atLower_.below > 0.5 ? atLower_.above - atUpper_.above : atUpper_.below - atLower_.below;
    return part * density / inside;
}

/// Ends of the range that covers the component: k standard deviations on either side, inside support and
/// limits. Families of points: all of them and a margin, so that none lies in the first half step.
Support c_Distribution::graphEnds(double k)
{
    require();
    if (!family_->pdf) {
        const double range = ends_.upper - ends_.lower, margin = range > 0.0 ? 0.05 * range : 0.5;
        return {ends_.lower - margin, ends_.upper + margin};
    }
    const double low = std::max(ends_.lower, moments_.mean - k * moments_.stdev);
    const double high = std::min(ends_.upper, moments_.mean + k * moments_.stdev);
    if (low < high) return {low, high};
    const double tail = normalProbability(-k).below; // limits beyond k standard deviations
    return {RandVal(tail), RandVal(1.0 - tail)};
}

double c_Distribution::xMin(double k) { return graphEnds(k).lower; }

double c_Distribution::xMax(double k) { return graphEnds(k).upper; }

void c_Distribution::resizeArrays(Long n)
{
    graphX_.resize(n);
    graphOL_.resize(n);
}

namespace {

/// Integral of weight(x) * density over the graph by the trapezoidal rule.
template <class Weight>
double integrate(const Array1<double>& x, const Array1<double>& density, Weight weight)
{
    double sum = 0.0;
    for (Long j : fromTo(2, x.size()))
        sum += 0.5 * (x(j) - x(j - 1)) * (weight(x(j - 1)) * density(j - 1) + weight(x(j)) * density(j));
    return sum;
}

double area(const Array1<double>& x, const Array1<double>& density)
{
    const double total = integrate(x, density, [](double) { return 1.0; });
    if (!(total > 0.0)) raise(errors::DivisionByZero, "c_Distribution", "The grid misses every component");
    return total;
}

} // namespace

double c_Distribution::CalcMean()
{
    return integrate(graphX_, graphOL_, [](double x) { return x; }) / area(graphX_, graphOL_);
}

double c_Distribution::CalcStdev(double& mean)
{
    const double square = integrate(graphX_, graphOL_, [mean](double x) { return (x - mean) * (x - mean); });
    return std::sqrt(square / area(graphX_, graphOL_));
}

bool isTruncated(const DistributionComponent& component)
{
    return !unlimited(component.LTL(), component.NegInfinity()) ||
           !unlimited(component.UTL(), component.PosInfinity());
}

void fillDistribution(c_Parameter& parameter)
{
    const bool noise = parameter.xType == xTypes::Noise;
    if (!noise && parameter.xType != xTypes::Constant) return;
    if (!parameter.dist) parameter.dist = std::make_shared<KeyedCollection<DistributionComponent>>();
    if (parameter.dist->Count() > 0) return;

    auto component = std::make_shared<c_Distribution>();
    if (noise) {
        component->DistType(parameter.DistType);
        component->param1(parameter.DistParam1);
        component->param2(parameter.DistParam2);
        component->param3(parameter.DistParam3);
        component->LTL(parameter.LTL);
        component->UTL(parameter.UTL);
        for (const Variant* property : {&parameter.DistParam1, &parameter.DistParam2, &parameter.DistParam3,
                                        &parameter.LTL, &parameter.UTL})
            if (alg_m_XLinterface::rangeOf(*property)) component->Dynamic = true;
    } else {
        component->DistType("Discrete");
        component->param1(0.0);
    }
    parameter.dist->Add(component);
}

std::optional<Moments> closedFormMoments(c_Parameter& parameter)
{
    if (!parameter.dist) return std::nullopt;
    double total = 0.0, mean = 0.0, square = 0.0;
    for (Long i : oneTo(parameter.dist->Count())) {
        DistributionComponent& component = *parameter.dist->Item(i);
        std::string reason;
        if (!component.ParamsOK(reason) || isTruncated(component)) return std::nullopt;
        const double weight = parameter.dist->Count() == 1 ? 1.0 : component.ScaleFactor;
        total += weight;
        mean += weight * component.mean();
        square += weight * (component.stdev() * component.stdev() + component.mean() * component.mean());
    }
    if (!(total > 0.0)) return std::nullopt;
    mean /= total;
    return Moments{mean, std::sqrt(std::max(0.0, square / total - mean * mean))};
}

} // namespace varnex3
