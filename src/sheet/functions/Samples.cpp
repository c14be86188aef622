// sheet/functions/Samples.cpp - gathers the numbers of arguments.
#include "sheet/functions/Samples.h"

#include <algorithm>
#include <limits>

#include "sheet/format/Convert.h"

namespace varnex3::sheet {

double Sample::mean() const
{
    if (x.empty()) return std::numeric_limits<double>::quiet_NaN();
    double sum = 0.0;
    for (double v : x) sum += v;
    return sum / static_cast<double>(x.size());
}

double Sample::squaredDeviations() const
{
    const double m = mean();
    double sum = 0.0;
    for (double v : x) sum += (v - m) * (v - m);
    return sum;
}

Sample sampleFrom(Call& call, int first)
{
    Sample sample;
    sample.failure = call.numbers(first, [&](double v) { sample.x.push_back(v); });
    return sample;
}

std::optional<Failure> numbersWithTexts(const Call& call, TextsInArrays texts,
                                        FunctionRef<void(double)> visitor)
{
    std::optional<Failure> failure;
    for (int i = 0; i < call.count() && !failure; ++i) {
        const bool array = call.value(i).isArray();
        call.visit(i, [&](const Value& v, bool fromCell) {
            if (fromCell && v.isEmpty()) return true;
            if (array && (v.isBoolean() || (v.isText() && texts == TextsInArrays::LeaveOut))) return true;
            const Value x = fromCell && v.isText() ? Value(0.0) : toNumber(v, call.dates());
            if (x.isFailure())
                failure = x.failure();
            else
                visitor(x.number());
            return !failure;
        });
    }
    return failure;
}

Sample sampleOf(Call& call, int i)
{
    Sample sample;
    sample.failure = call.numbersOf(i, [&](double v) { sample.x.push_back(v); });
    return sample;
}

Sample sortedSampleOf(Call& call, int i)
{
    Sample sample = sampleOf(call, i);
    std::sort(sample.x.begin(), sample.x.end());
    return sample;
}

double Pairs::productDeviations() const
{
    const double a = first.mean(), b = second.mean();
    double sum = 0.0;
    for (std::size_t i = 0; i < size(); ++i) sum += (first.x[i] - a) * (second.x[i] - b);
    return sum;
}

Pairs pairsOf(Call& call, int i, int k)
{
    Pairs pairs;
    const std::vector<Value> a = call.elements(i), b = call.elements(k);
    if (a.size() != b.size()) {
        pairs.failure = Failure::NA;
        return pairs;
    }
    for (std::size_t n = 0; n < a.size(); ++n) {
        if (a[n].isFailure() || b[n].isFailure()) {
            pairs.failure = a[n].isFailure() ? a[n].failure() : b[n].failure();
            return pairs;
        }
        if (!a[n].isNumber() || !b[n].isNumber()) continue;
        pairs.first.x.push_back(a[n].number());
        pairs.second.x.push_back(b[n].number());
    }
    return pairs;
}

Table tableOf(Call& call, int i)
{
    Table table;
    const std::vector<Value> all = call.elements(i);
    table.cols = call.cols(i);
    table.rows = static_cast<std::int32_t>(all.size()) / table.cols;
    if (all.empty() || all.size() % static_cast<std::size_t>(table.cols) != 0) {
        table.failure = Failure::Value; // areas of different widths
        return table;
    }
    for (const Value& v : all) {
        if (!v.isNumber()) {
            table.failure = v.isFailure() ? v.failure() : Failure::Value;
            return table;
        }
        table.x.push_back(v.number());
    }
    return table;
}

} // namespace varnex3::sheet
