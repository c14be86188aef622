// sheet/functions/Statistics.cpp - descriptive statistics, ranks, correlation and simple regression.
//
// Sums, counts and averages are with the aggregates, distributions and tests with the distributions, fits
// of several variables with Regression.
#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "sheet/format/Convert.h"
#include "sheet/functions/Function.h"
#include "sheet/functions/Regression.h"
#include "sheet/functions/Samples.h"

namespace varnex3::sheet {
namespace {

// --- Spread ---------------------------------------------------------------------------------------------

Sample sampleWithTexts(Call& call)
{
    Sample sample;
    sample.failure =
        numbersWithTexts(call, TextsInArrays::LeaveOut, [&](double x) { sample.x.push_back(x); });
    return sample;
}

/// The variance with n - 1 (`fewest` 2) or n (`fewest` 1) in the denominator.
Value varianceOf(const Sample& s, std::size_t fewest)
{
    if (s.failure) return *s.failure;
    if (s.size() < fewest) return Failure::Div0;
    return finite(s.squaredDeviations() / static_cast<double>(s.size() - (fewest - 1)));
}

Value rootOf(const Value& variance)
{
    return variance.isFailure() ? variance : Value(std::sqrt(variance.number()));
}

Value variance(Call& call) { return varianceOf(sampleFrom(call, 0), 2); }
Value varianceOfAll(Call& call) { return varianceOf(sampleFrom(call, 0), 1); }
Value varianceA(Call& call) { return varianceOf(sampleWithTexts(call), 2); }
Value varianceOfAllA(Call& call) { return varianceOf(sampleWithTexts(call), 1); }
Value deviation(Call& call) { return rootOf(variance(call)); }
Value deviationOfAll(Call& call) { return rootOf(varianceOfAll(call)); }
Value deviationA(Call& call) { return rootOf(varianceA(call)); }
Value deviationOfAllA(Call& call) { return rootOf(varianceOfAllA(call)); }

Value averageDeviation(Call& call)
{
    const Sample s = sampleFrom(call, 0);
    if (s.failure) return *s.failure;
    if (s.empty()) return Failure::Num;
    const double mean = s.mean();
    double sum = 0.0;
    for (double x : s.x) sum += std::fabs(x - mean);
    return finite(sum / static_cast<double>(s.size()));
}

Value squaredDeviations(Call& call)
{
    const Sample s = sampleFrom(call, 0);
    if (s.failure) return *s.failure;
    return s.empty() ? Value(Failure::Num) : finite(s.squaredDeviations());
}

/// Sum of ((x - mean) / sd)^power.
double standardMoments(const Sample& s, double sd, int power)
{
    const double mean = s.mean();
    double sum = 0.0;
    for (double x : s.x) {
        const double z = (x - mean) / sd;
        sum += power == 3 ? z * z * z : z * z * z * z;
    }
    return sum;
}

// n / ((n-1)(n-2)) sum z³
Value skew(Call& call)
{
    const Sample s = sampleFrom(call, 0);
    if (s.failure) return *s.failure;
    const auto n = static_cast<double>(s.size());
    const double sd = std::sqrt(s.variance());
    if (n < 3.0 || sd == 0.0) return Failure::Div0;
    return finite(standardMoments(s, sd, 3) * n / ((n - 1.0) * (n - 2.0)));
}

Value skewOfAll(Call& call)
{
    const Sample s = sampleFrom(call, 0);
    if (s.failure) return *s.failure;
    const auto n = static_cast<double>(s.size());
    const double sd = std::sqrt(s.squaredDeviations() / n);
    if (n < 3.0 || sd == 0.0) return Failure::Div0;
    return finite(standardMoments(s, sd, 3) / n);
}

// n(n+1) / ((n-1)(n-2)(n-3)) sum z⁴ - 3(n-1)² / ((n-2)(n-3))
Value kurtosis(Call& call)
{
    const Sample s = sampleFrom(call, 0);
    if (s.failure) return *s.failure;
    const auto n = static_cast<double>(s.size());
    const double sd = std::sqrt(s.variance());
    if (n < 4.0 || sd == 0.0) return Failure::Div0;
    const double tail = (n - 2.0) * (n - 3.0);
    return finite(standardMoments(s, sd, 4) * n * (n + 1.0) / ((n - 1.0) * tail) -
                  3.0 * (n - 1.0) * (n - 1.0) / tail);
}

Value standardize(Call& call)
{
    const double sd = call.number(2);
    return sd <= 0.0 ? Value(Failure::Num) : finite((call.number(0) - call.number(1)) / sd);
}

// --- Middle ---------------------------------------------------------------------------------------------

/// The value a share `position` - floor of the way from one element to the next; position from 0.
double interpolated(const std::vector<double>& sorted, double position)
{
    const double whole = std::floor(position);
    const auto i = static_cast<std::size_t>(whole);
    if (i + 1 >= sorted.size()) return sorted.back();
    return sorted[i] + (position - whole) * (sorted[i + 1] - sorted[i]);
}

Value median(Call& call)
{
    Sample s = sampleFrom(call, 0);
    if (s.failure) return *s.failure;
    if (s.empty()) return Failure::Num;
    std::sort(s.x.begin(), s.x.end());
    const std::size_t half = s.size() / 2;
    return s.size() % 2 == 1 ? s.x[half] : finite((s.x[half - 1] + s.x[half]) / 2.0);
}

/// The values met most often and at least twice, in the order in which they first appear.
std::vector<double> modes(const Sample& s)
{
    std::vector<double> sorted = s.x, found;
    std::sort(sorted.begin(), sorted.end());
    const auto times = [&](double x) {
        const auto range = std::equal_range(sorted.begin(), sorted.end(), x);
        return range.second - range.first;
    };
    std::ptrdiff_t most = 2;
    for (double x : s.x) most = std::max(most, times(x));
    for (double x : s.x)
        if (times(x) == most && std::find(found.begin(), found.end(), x) == found.end()) found.push_back(x);
    return found;
}

Value mode(Call& call)
{
    const Sample s = sampleFrom(call, 0);
    if (s.failure) return *s.failure;
    const std::vector<double> found = modes(s);
    return found.empty() ? Value(Failure::NA) : Value(found.front());
}

Value modeMultiple(Call& call)
{
    const Sample s = sampleFrom(call, 0);
    if (s.failure) return *s.failure;
    const std::vector<double> found = modes(s);
    if (found.empty()) return Failure::NA;
    return Value::array(static_cast<std::int32_t>(found.size()), 1, {found.begin(), found.end()});
}

Value geometricMean(Call& call)
{
    const Sample s = sampleFrom(call, 0);
    if (s.failure) return *s.failure;
    double logarithms = 0.0;
    for (double x : s.x) {
        if (x <= 0.0) return Failure::Num;
        logarithms += std::log(x);
    }
    return s.empty() ? Value(Failure::Num) : finite(std::exp(logarithms / static_cast<double>(s.size())));
}

Value harmonicMean(Call& call)
{
    const Sample s = sampleFrom(call, 0);
    if (s.failure) return *s.failure;
    double reciprocals = 0.0;
    for (double x : s.x) {
        if (x <= 0.0) return Failure::Num;
        reciprocals += 1.0 / x;
    }
    return s.empty() ? Value(Failure::Num) : finite(static_cast<double>(s.size()) / reciprocals);
}

Value trimmedMean(Call& call)
{
    Sample s = sortedSampleOf(call, 0);
    if (s.failure) return *s.failure;
    const double share = call.number(1);
    if (s.empty() || share < 0.0 || share >= 1.0) return Failure::Num;
    const auto cut = static_cast<std::ptrdiff_t>(std::floor(share * static_cast<double>(s.size()) / 2.0));
    s.x.erase(s.x.end() - cut, s.x.end());
    s.x.erase(s.x.begin(), s.x.begin() + cut);
    return finite(s.mean());
}

// --- Order ----------------------------------------------------------------------------------------------

Value smallest(Call& call)
{
    const Sample s = sortedSampleOf(call, 0);
    if (s.failure) return *s.failure;
    const double k = std::floor(call.number(1));
    if (!(k >= 1.0 && k <= static_cast<double>(s.size()))) return Failure::Num;
    return s.x[static_cast<std::size_t>(k) - 1];
}

Value largest(Call& call)
{
    const Sample s = sortedSampleOf(call, 0);
    if (s.failure) return *s.failure;
    const double k = std::ceil(call.number(1));
    if (!(k >= 1.0 && k <= static_cast<double>(s.size()))) return Failure::Num;
    return s.x[s.size() - static_cast<std::size_t>(k)];
}

/// Rank of a number among those of a range, 1 the greatest (the least when the order is not 0); #N/A when it
/// is not among them. `tied` says how much of the other equals' places are added.
Value rankOf(Call& call, double tied)
{
    const Sample s = sampleOf(call, 1);
    if (s.failure) return *s.failure;
    const double x = call.number(0);
    const bool ascending = call.number(2) != 0.0;
    double before = 0.0, equal = 0.0;
    for (double other : s.x) {
        if (other == x)
            equal += 1.0;
        else if (ascending ? other < x : other > x)
            before += 1.0;
    }
    if (equal == 0.0) return Failure::NA;
    return before + 1.0 + tied * (equal - 1.0);
}

Value rank(Call& call) { return rankOf(call, 0.0); }
Value rankAverage(Call& call) { return rankOf(call, 0.5); }

Value percentileAt(const Sample& s, double share)
{
    if (s.failure) return *s.failure;
    if (s.empty() || !(share >= 0.0 && share <= 1.0)) return Failure::Num;
    return finite(interpolated(s.x, share * (static_cast<double>(s.size()) - 1.0)));
}

Value percentileInside(const Sample& s, double share)
{
    if (s.failure) return *s.failure;
    const auto n = static_cast<double>(s.size());
    const double place = share * (n + 1.0);
    if (s.empty() || !(place >= 1.0 && place <= n)) return Failure::Num;
    return finite(interpolated(s.x, place - 1.0));
}

Value percentile(Call& call) { return percentileAt(sortedSampleOf(call, 0), call.number(1)); }
Value percentileExclusive(Call& call) { return percentileInside(sortedSampleOf(call, 0), call.number(1)); }
Value quartile(Call& call) { return percentileAt(sortedSampleOf(call, 0), std::trunc(call.number(1)) / 4.0); }
Value quartileExclusive(Call& call)
{
    return percentileInside(sortedSampleOf(call, 0), std::trunc(call.number(1)) / 4.0);
}

/// Where x stands among the sorted numbers, counted from 0, between two of them in proportion; nothing
/// outside them.
std::optional<double> placeOf(const std::vector<double>& sorted, double x)
{
    if (sorted.empty() || x < sorted.front() || x > sorted.back()) return std::nullopt;
    const auto at = std::lower_bound(sorted.begin(), sorted.end(), x);
    const auto place = static_cast<double>(at - sorted.begin());
    if (*at == x) return place;
    const double below = *(at - 1);
    return place - 1.0 + (x - below) / (*at - below);
}

/// A share of places, cut to the digits that the third argument asks for.
Value percentRankOf(Call& call, bool exclusive)
{
    const Sample s = sortedSampleOf(call, 0);
    if (s.failure) return *s.failure;
    const double digits = std::trunc(call.number(2));
    if (s.empty() || digits < 1.0) return Failure::Num;
    const std::optional<double> place = placeOf(s.x, call.number(1));
    if (!place) return Failure::NA;
    const auto n = static_cast<double>(s.size());
    if (!exclusive && n == 1.0) return 1.0;
    const double share = exclusive ? (*place + 1.0) / (n + 1.0) : *place / (n - 1.0);
    if (digits > 15.0) return share;
    const double scale = std::pow(10.0, digits);
    return std::floor(share * scale * (1.0 + 1e-15)) / scale; // 0.29 stays 0.29 with two digits
}

Value percentRank(Call& call) { return percentRankOf(call, false); }
Value percentRankExclusive(Call& call) { return percentRankOf(call, true); }

/// How many of the data fall into each class: up to a bound and above the next lower one; one more class for
/// what exceeds every bound.
Value frequency(Call& call)
{
    const Sample data = sampleOf(call, 0), bounds = sampleOf(call, 1);
    if (data.failure) return *data.failure;
    if (bounds.failure) return *bounds.failure;
    std::vector<std::size_t> order(bounds.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return bounds.x[a] < bounds.x[b]; });
    std::vector<double> counts(bounds.size() + 1, 0.0);
    for (double x : data.x) {
        const auto at = std::lower_bound(order.begin(), order.end(), x,
                                         [&](std::size_t i, double v) { return bounds.x[i] < v; });
        counts[at == order.end() ? bounds.size() : *at] += 1.0;
    }
    return Value::array(static_cast<std::int32_t>(counts.size()), 1, {counts.begin(), counts.end()});
}

/// Sum of the probabilities of the values from a lower to an upper limit.
Value probability(Call& call)
{
    const Pairs pairs = pairsOf(call, 0, 1);
    if (pairs.failure) return *pairs.failure;
    const double lower = call.number(2), upper = call.given(3) ? call.number(3) : lower;
    double total = 0.0, within = 0.0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const double x = pairs.first.x[i], p = pairs.second.x[i];
        if (p < 0.0 || p > 1.0) return Failure::Num;
        total += p;
        if (x >= lower && x <= upper) within += p;
    }
    return std::fabs(total - 1.0) > 1e-7 ? Value(Failure::Num) : Value(within);
}

// --- Two variables --------------------------------------------------------------------------------------

double correlation(const Pairs& p)
{
    return p.productDeviations() /
           (std::sqrt(p.first.squaredDeviations()) * std::sqrt(p.second.squaredDeviations()));
}

Value orDiv0(double x) { return std::isfinite(x) ? Value(x) : Value(Failure::Div0); }

Value correl(Call& call)
{
    const Pairs p = pairsOf(call, 0, 1);
    return p.failure ? Value(*p.failure) : orDiv0(correlation(p));
}

Value rSquared(Call& call)
{
    const Pairs p = pairsOf(call, 0, 1);
    if (p.failure) return *p.failure;
    const double r = correlation(p);
    return orDiv0(r * r);
}

/// Slope of the line through (second, first), as the arguments are written: ys, then xs.
double slopeOf(const Pairs& p) { return p.productDeviations() / p.second.squaredDeviations(); }

Value slope(Call& call)
{
    const Pairs p = pairsOf(call, 0, 1);
    return p.failure ? Value(*p.failure) : orDiv0(slopeOf(p));
}

Value intercept(Call& call)
{
    const Pairs p = pairsOf(call, 0, 1);
    return p.failure ? Value(*p.failure) : orDiv0(p.first.mean() - slopeOf(p) * p.second.mean());
}

Value forecast(Call& call)
{
    const Pairs p = pairsOf(call, 1, 2);
    if (p.failure) return *p.failure;
    return orDiv0(p.first.mean() + slopeOf(p) * (call.number(0) - p.second.mean()));
}

Value standardError(Call& call)
{
    const Pairs p = pairsOf(call, 0, 1);
    if (p.failure) return *p.failure;
    if (p.size() < 3) return Failure::Div0;
    const double product = p.productDeviations();
    const double left = p.first.squaredDeviations() - product * product / p.second.squaredDeviations();
    return orDiv0(std::sqrt(std::max(left, 0.0) / (static_cast<double>(p.size()) - 2.0)));
}

Value covariance(Call& call)
{
    const Pairs p = pairsOf(call, 0, 1);
    return p.failure ? Value(*p.failure) : orDiv0(p.productDeviations() / static_cast<double>(p.size()));
}

Value covarianceOfSample(Call& call)
{
    const Pairs p = pairsOf(call, 0, 1);
    if (p.failure) return *p.failure;
    return orDiv0(p.productDeviations() / (static_cast<double>(p.size()) - 1.0));
}

double fisher(double x) { return std::atanh(x); }
double fisherInverse(double y) { return std::tanh(y); }

constexpr Parameter kSeries = repeats(range());

// clang-format off
constexpr FunctionRow rows[] = {
//   name               arguments                                                        trait        body                   summary                                                example                                                     shows
    {"AVEDEV",          {kSeries},                                                       Trait::Pure, averageDeviation,      "mean distance from the mean",                         "=AVEDEV(4,5,6,7,5,4,3)",                                   "1.02040816326531"},
    {"CORREL",          {array(), array()},                                              Trait::Pure, correl,                "correlation coefficient of two series",               "=ROUND(CORREL({3;2;4;5;6},{9;7;12;15;17}),6)",             "0.997054"},
    {"COVAR",           {array(), array()},                                              Trait::Pure, covariance,            "covariance of a whole population",                    "=COVAR({3;2;4;5;6},{9;7;12;15;17})",                       "5.2"},
    {"COVARIANCE.P",    {array(), array()},                                              Trait::Pure, covariance,            "covariance of a whole population",                    "=COVARIANCE.P({3;2;4;5;6},{9;7;12;15;17})",                "5.2"},
    {"COVARIANCE.S",    {array(), array()},                                              Trait::Pure, covarianceOfSample,    "covariance estimated from a sample",                  "=COVARIANCE.S({2,4,8},{5,11,12})",                         "9.66666666666667"},
    {"DEVSQ",           {kSeries},                                                       Trait::Pure, squaredDeviations,     "sum of squared distances from the mean",              "=DEVSQ(4,5,8,7,11,4,3)",                                   "48"},
    {"FISHER",          {number()},                                                      Trait::Pure, map1<fisher>,          "transformation of a correlation coefficient",         "=ROUND(FISHER(0.75),7)",                                   "0.9729551"},
    {"FISHERINV",       {number()},                                                      Trait::Pure, map1<fisherInverse>,   "inverse of FISHER",                                   "=ROUND(FISHERINV(0.972955),6)",                            "0.75"},
    {"FORECAST",        {number(), array(), array()},                                    Trait::Pure, forecast,              "value at x of the line through points",               "=ROUND(FORECAST(30,{6,7,9,15,21},{20,28,31,38,40}),6)",    "10.607253"},
    {"FORECAST.LINEAR", {number(), array(), array()},                                    Trait::Pure, forecast,              "value at x of the line through points",               "=FORECAST.LINEAR(4,{2,4,6},{1,2,3})",                      "8"},
    {"FREQUENCY",       {range(), range()},                                              Trait::Pure, frequency,             "counts of values per class, as a column",             "=SUM(FREQUENCY({79,85,78,85,50,81,95,88,97},{70,79,89})*{1;10;100;1000})", "2421"},
    {"GEOMEAN",         {kSeries},                                                       Trait::Pure, geometricMean,         "geometric mean",                                      "=ROUND(GEOMEAN(4,5,8,7,11,4,3),6)",                        "5.476987"},
    {"GROWTH",          {array(), optional(array()), optional(array()), boolean(true)},  Trait::Pure, growth,                "values of the exponential curve through points",      "=ROUND(GROWTH({2,4,8},{1,2,3},4),9)",                      "16"},
    {"HARMEAN",         {kSeries},                                                       Trait::Pure, harmonicMean,          "harmonic mean",                                       "=ROUND(HARMEAN(4,5,8,7,11,4,3),6)",                        "5.028376"},
    {"INTERCEPT",       {array(), array()},                                              Trait::Pure, intercept,             "where the line through points meets x = 0",           "=ROUND(INTERCEPT({2,3,9,1,8},{6,5,11,7,5}),7)",            "0.0483871"},
    {"KURT",            {kSeries},                                                       Trait::Pure, kurtosis,              "excess kurtosis of a sample",                         "=ROUND(KURT(3,4,5,2,3,4,5,6,4,7),6)",                      "-0.1518"},
    {"LARGE",           {range(), number()},                                             Trait::Pure, largest,               "k-th greatest number",                                "=LARGE({3,4,5,2,3,4,6,4,2,7},3)",                          "5"},
    {"LINEST",          {array(), optional(array()), boolean(true), boolean(false)},     Trait::Pure, linest,                "coefficients and statistics of a least squares fit",  "=ROUND(INDEX(LINEST({1,9,5,7},{0,4,2,3}),1,1),9)",         "2"},
    {"LOGEST",          {array(), optional(array()), boolean(true), boolean(false)},     Trait::Pure, logest,                "coefficients and statistics of an exponential fit",   "=ROUND(INDEX(LOGEST({3,6,12},{0,1,2}),1,2),9)",            "3"},
    {"MEDIAN",          {kSeries},                                                       Trait::Pure, median,                "number in the middle",                                "=MEDIAN(1,2,3,4,5,6)",                                     "3.5"},
    {"MODE",            {kSeries},                                                       Trait::Pure, mode,                  "number met most often",                               "=MODE({5.6,4,4,3,2,4})",                                   "4"},
    {"MODE.MULT",       {kSeries},                                                       Trait::Pure, modeMultiple,          "all numbers met most often, as a column",             "=SUM(MODE.MULT({1,2,3,4,3,2,1,2,3}))",                     "5"},
    {"MODE.SNGL",       {kSeries},                                                       Trait::Pure, mode,                  "number met most often",                               "=MODE.SNGL({5.6,4,4,3,2,4})",                              "4"},
    {"PEARSON",         {array(), array()},                                              Trait::Pure, correl,                "correlation coefficient of two series",               "=ROUND(PEARSON({9,7,5,3,1},{10,6,1,5,3}),6)",              "0.699379"},
    {"PERCENTILE",      {range(), number()},                                             Trait::Pure, percentile,            "value at a share of the sorted numbers, 0 to 1",      "=PERCENTILE({1,2,3,4},0.3)",                               "1.9"},
    {"PERCENTILE.EXC",  {range(), number()},                                             Trait::Pure, percentileExclusive,   "value at a share of the sorted numbers, ends left out", "=PERCENTILE.EXC({6,7,8,9,10,11,12,13,14},0.25)",         "7.5"},
    {"PERCENTILE.INC",  {range(), number()},                                             Trait::Pure, percentile,            "value at a share of the sorted numbers, 0 to 1",      "=PERCENTILE.INC({1,2,3,4},0.3)",                           "1.9"},
    {"PERCENTRANK",     {range(), number(), number(3)},                                  Trait::Pure, percentRank,           "share of the sorted numbers below x",                 "=PERCENTRANK({13,12,11,8,4,3,2,1,1,1},2)",                 "0.333"},
    {"PERCENTRANK.EXC", {range(), number(), number(3)},                                  Trait::Pure, percentRankExclusive,  "share of the sorted numbers below x, ends left out",  "=PERCENTRANK.EXC({1,2,3,6,6,6,7,8,9},7)",                  "0.7"},
    {"PERCENTRANK.INC", {range(), number(), number(3)},                                  Trait::Pure, percentRank,           "share of the sorted numbers below x",                 "=PERCENTRANK.INC({13,12,11,8,4,3,2,1,1,1},5)",             "0.583"},
    {"PROB",            {array(), array(), number(), optional(number())},                Trait::Pure, probability,           "probability that values lie between two limits",      "=PROB({0,1,2,3},{0.2,0.3,0.1,0.4},1,3)",                   "0.8"},
    {"QUARTILE",        {range(), number()},                                             Trait::Pure, quartile,              "quartile of the numbers, 0 to 4",                     "=QUARTILE({1,2,4,7,8,9,10,12},1)",                         "3.5"},
    {"QUARTILE.EXC",    {range(), number()},                                             Trait::Pure, quartileExclusive,     "quartile of the numbers, ends left out",              "=QUARTILE.EXC({6,7,15,36,39,40,41,42,43,47,49},1)",        "15"},
    {"QUARTILE.INC",    {range(), number()},                                             Trait::Pure, quartile,              "quartile of the numbers, 0 to 4",                     "=QUARTILE.INC({1,2,4,7,8,9,10,12},1)",                     "3.5"},
    {"RANK",            {number(), range(), number(0)},                                  Trait::Pure, rank,                  "place of a number among others",                      "=RANK(3.5,{7,3.5,3.5,1,2},1)",                             "3"},
    {"RANK.AVG",        {number(), range(), number(0)},                                  Trait::Pure, rankAverage,           "place of a number among others, ties shared",         "=RANK.AVG(94,{89,88,92,101,94,97,95})",                    "4"},
    {"RANK.EQ",         {number(), range(), number(0)},                                  Trait::Pure, rank,                  "place of a number among others",                      "=RANK.EQ(7,{7,3.5,3.5,1,2},1)",                            "5"},
    {"RSQ",             {array(), array()},                                              Trait::Pure, rSquared,              "square of the correlation coefficient",               "=ROUND(RSQ({2,3,9,1,8,7,5},{6,5,11,7,5,4,4}),7)",          "0.0579502"},
    {"SKEW",            {kSeries},                                                       Trait::Pure, skew,                  "skewness of a sample",                                "=ROUND(SKEW(3,4,5,2,3,4,5,6,4,7),6)",                      "0.359543"},
    {"SKEW.P",          {kSeries},                                                       Trait::Pure, skewOfAll,             "skewness of a whole population",                      "=ROUND(SKEW.P(3,4,5,2,3,4,5,6,4,7),6)",                    "0.303193"},
    {"SLOPE",           {array(), array()},                                              Trait::Pure, slope,                 "slope of the line through points",                    "=ROUND(SLOPE({2,3,9,1,8,7,5},{6,5,11,7,5,4,4}),6)",        "0.305556"},
    {"SMALL",           {range(), number()},                                             Trait::Pure, smallest,              "k-th least number",                                   "=SMALL({3,4,5,2,3,4,6,4,7},4)",                            "4"},
    {"STANDARDIZE",     {number(), number(), number()},                                  Trait::Pure, standardize,           "distance from the mean in standard deviations",       "=STANDARDIZE(42,40,1.6)",                                  "1.25"},
    {"STDEV",           {kSeries},                                                       Trait::Pure, deviation,             "standard deviation estimated from a sample",          "=ROUND(STDEV(2,4,4,4,5,5,7,9),6)",                         "2.13809"},
    {"STDEV.P",         {kSeries},                                                       Trait::Pure, deviationOfAll,        "standard deviation of a whole population",            "=STDEV.P(2,4,4,4,5,5,7,9)",                                "2"},
    {"STDEV.S",         {kSeries},                                                       Trait::Pure, deviation,             "standard deviation estimated from a sample",          "=STDEV.S(1,3,5)",                                          "2"},
    {"STDEVA",          {kSeries},                                                       Trait::Pure, deviationA,            "STDEV that counts texts as 0 and TRUE as 1",          "=STDEVA(2,FALSE,4)",                                     "2"},
    {"STDEVP",          {kSeries},                                                       Trait::Pure, deviationOfAll,        "standard deviation of a whole population",            "=STDEVP(2,4,4,4,5,5,7,9)",                                 "2"},
    {"STDEVPA",         {kSeries},                                                       Trait::Pure, deviationOfAllA,       "STDEVP that counts texts as 0 and TRUE as 1",         "=STDEVPA(FALSE,4)",                                      "2"},
    {"STEYX",           {array(), array()},                                              Trait::Pure, standardError,         "standard error of y about the line through points",   "=ROUND(STEYX({2,3,9,1,8,7,5},{6,5,11,7,5,4,4}),6)",        "3.305719"},
    {"TREND",           {array(), optional(array()), optional(array()), boolean(true)},  Trait::Pure, trend,                 "values of the line through points",                   "=ROUND(TREND({1,9,5,7},{0,4,2,3},5),9)",                   "11"},
    {"TRIMMEAN",        {range(), number()},                                             Trait::Pure, trimmedMean,           "mean without a share of the extremes",                "=ROUND(TRIMMEAN({4,5,6,7,2,3,4,5,1,2,3},0.2),6)",          "3.777778"},
    {"VAR",             {kSeries},                                                       Trait::Pure, variance,              "variance estimated from a sample",                    "=VAR(1,3,5)",                                              "4"},
    {"VAR.P",           {kSeries},                                                       Trait::Pure, varianceOfAll,         "variance of a whole population",                      "=VAR.P(2,4,4,4,5,5,7,9)",                                  "4"},
    {"VAR.S",           {kSeries},                                                       Trait::Pure, variance,              "variance estimated from a sample",                    "=VAR.S(1,3,5)",                                            "4"},
    {"VARA",            {kSeries},                                                       Trait::Pure, varianceA,             "VAR that counts texts as 0 and TRUE as 1",            "=VARA(2,FALSE,4)",                                       "4"},
    {"VARP",            {kSeries},                                                       Trait::Pure, varianceOfAll,         "variance of a whole population",                      "=VARP(2,4,4,4,5,5,7,9)",                                   "4"},
    {"VARPA",           {kSeries},                                                       Trait::Pure, varianceOfAllA,        "VARP that counts texts as 0 and TRUE as 1",           "=VARPA(FALSE,4)",                                        "4"},
};
// clang-format on
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> statisticsFunctions() { return rows; }

} // namespace varnex3::sheet
