// stats/distributions/DataFamilies.cpp - distributions given by lists of numbers, and the table of families.
//
// Discrete: listed values with weights. Empirical: observed values, with linear interpolation between them.
// Both may hold point masses, so they have no density of their own; c_Distribution spreads their
// probability over the spacing of its grid.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

#include "stats/distributions/Family.h"

namespace varnex3 {
namespace {

Support firstToLast(const FamilyValues& f) { return {f.points.front(), f.points.back()}; }

/// Sorts the points with their weights and turns the weights into the probability at or below each point.
std::string discreteProblem(FamilyValues& f)
{
    const std::size_t n = f.points.size();
    if (n == 0) return "Values are missing";
    if (f.weights.empty()) f.weights.assign(n, 1.0);
    if (f.weights.size() != n) return "Weights are not as many as the values";
    double total = 0.0;
    for (double weight : f.weights) {
        if (!(weight >= 0.0) || std::isinf(weight)) return "Weights must not be negative";
        total += weight;
    }
    if (!(total > 0.0) || std::isinf(total)) return "Weights must have a positive sum";

    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&f](std::size_t a, std::size_t b) { return f.points[a] < f.points[b]; });
    std::vector<double> points, upTo;
    double sum = 0.0;
    for (std::size_t i : order) {
        if (f.weights[i] == 0.0) continue;
        sum += f.weights[i];
        points.push_back(f.points[i]);
        upTo.push_back(sum / total);
    }
    upTo.back() = 1.0;
    f.points = std::move(points);
    f.weights = std::move(upTo);
    return {};
}
Probability discreteCdf(const FamilyValues& f, double x)
{
    const auto above = std::upper_bound(f.points.begin(), f.points.end(), x);
    if (above == f.points.begin()) return {0.0, 1.0};
    const double below = f.weights[static_cast<std::size_t>(above - f.points.begin()) - 1];
    return {below, 1.0 - below};
}
double discreteInverse(const FamilyValues& f, const Probability& p)
{
    const auto at = std::lower_bound(f.weights.begin(), f.weights.end(), p.below);
    return at == f.weights.end() ? f.points.back()
                                 : f.points[static_cast<std::size_t>(at - f.weights.begin())];
}
Moments discreteMoments(const FamilyValues& f)
{
    double mean = 0.0, square = 0.0;
    for (std::size_t i = 0; i < f.points.size(); ++i)
        mean += f.points[i] * (f.weights[i] - (i > 0 ? f.weights[i - 1] : 0.0));
    for (std::size_t i = 0; i < f.points.size(); ++i) {
        const double d = f.points[i] - mean;
        square += d * d * (f.weights[i] - (i > 0 ? f.weights[i - 1] : 0.0));
    }
    return {mean, std::sqrt(square)};
}

std::string empiricalProblem(FamilyValues& f)
{
    if (f.points.size() < 2) return "Data must have at least two values";
    std::sort(f.points.begin(), f.points.end());
    return {};
}
Probability empiricalCdf(const FamilyValues& f, double x)
{
    if (x < f.points.front()) return {0.0, 1.0};
    if (x >= f.points.back()) return {1.0, 0.0};
    const auto above = std::upper_bound(f.points.begin(), f.points.end(), x);
    const auto i = static_cast<std::size_t>(above - f.points.begin()) - 1; // points[i] <= x < points[i + 1]
    const double steps = static_cast<double>(f.points.size() - 1);
    const double within = (x - f.points[i]) / (f.points[i + 1] - f.points[i]);
    const double below = (static_cast<double>(i) + within) / steps;
    return {below, 1.0 - below};
}
double empiricalInverse(const FamilyValues& f, const Probability& p)
{
    const double h = p.below * static_cast<double>(f.points.size() - 1);
    const auto i = std::min(static_cast<std::size_t>(h), f.points.size() - 2);
    const double within = h - static_cast<double>(i);
    return f.points[i] + within * (f.points[i + 1] - f.points[i]);
}
Moments empiricalMoments(const FamilyValues& f)
{
    // n - 1 uniform pieces of equal weight: mean (a + b)/2, variance (b - a)^2 / 12 each
    const double pieces = static_cast<double>(f.points.size() - 1);
    double mean = 0.0, square = 0.0;
    for (std::size_t i = 0; i + 1 < f.points.size(); ++i) mean += 0.5 * (f.points[i] + f.points[i + 1]);
    mean /= pieces;
    for (std::size_t i = 0; i + 1 < f.points.size(); ++i) {
        const double centre = 0.5 * (f.points[i] + f.points[i + 1]) - mean,
                     width = f.points[i + 1] - f.points[i];
        square += centre * centre + width * width / 12.0;
    }
    return {mean, std::sqrt(square / pieces)};
}

const Family rows[] = {
    {"Discrete",
     {{{"Values", Rule::Any, kRequired, true}, {"Weights", Rule::Any, 0.0, true}}},
     "each value with its weight over the sum of weights; equal weights when none are given",
     "JKK05",
     discreteProblem,
     firstToLast,
     nullptr,
     discreteCdf,
     discreteInverse,
     discreteMoments},
    {"Empirical",
     {{{"Data", Rule::Any, kRequired, true}}},
     "x(i) at probability (i - 1) / (n - 1), linear between the sorted values",
     "Law15",
     empiricalProblem,
     firstToLast,
     nullptr,
     empiricalCdf,
     empiricalInverse,
     empiricalMoments},
};

std::vector<const Family*> everyRow()
{
    std::vector<const Family*> all;
    for (std::span<const Family> part :
         {elementaryFamilies(), boundedFamilies(), gammaFamilies(), johnsonFamilies(), dataFamilies()})
        for (const Family& row : part) all.push_back(&row);
    return all;
}

} // namespace

std::span<const Family> dataFamilies() { return rows; }

const Family& discreteFamily() { return rows[0]; }

std::span<const Family* const> families()
{
    static const std::vector<const Family*> all = everyRow();
    return all;
}

const Family* findFamily(std::string_view name)
{
    for (const Family* family : families())
        if (family->name == name) return family;
    return nullptr;
}

} // namespace varnex3
