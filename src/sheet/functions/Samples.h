// sheet/functions/Samples.h - arguments of statistical functions as plain lists of numbers.
//
// Gathers numbers, pairs and tables from a call and sums them up; the statistics themselves are with
// the families of functions.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "sheet/functions/Function.h"

namespace varnex3::sheet {

/// Numbers of one or more arguments in the order met, or the first failure.
struct Sample {
    std::vector<double> x;
    std::optional<Failure> failure;

    std::size_t size() const { return x.size(); }
    bool empty() const { return x.empty(); }
    double mean() const;              // NaN when empty
    double squaredDeviations() const; // sum of (x - mean)²
    double variance() const { return squaredDeviations() / (static_cast<double>(x.size()) - 1.0); }
};

Sample sampleFrom(Call& call, int first); // of argument `first` and all that follow
Sample sampleOf(Call& call, int i);       // of one argument
Sample sortedSampleOf(Call& call, int i); // ascending

/// What the functions ending in A make of texts in arrays.
enum class TextsInArrays { LeaveOut, CountZero };

/// The numbers as the functions ending in A see them: in cells texts count 0 and Booleans 1 and 0; in arrays
/// Booleans are left out. Returns the first failure met, or nothing.
std::optional<Failure> numbersWithTexts(const Call& call, TextsInArrays texts,
                                        FunctionRef<void(double)> visitor);

/// The numbers of two arguments of as many elements, where both elements are numbers. The failure is #N/A
/// when the numbers of elements differ, else the first failure among the elements.
struct Pairs {
    Sample first, second;
    std::optional<Failure> failure;

    std::size_t size() const { return first.size(); }
    /// Sum of (first - mean)(second - mean).
    double productDeviations() const;
};
Pairs pairsOf(Call& call, int i, int k);

/// An argument as a table of numbers; every element has to be one (#VALUE!).
struct Table {
    std::int32_t rows = 0, cols = 0;
    std::vector<double> x; // row by row
    std::optional<Failure> failure;

    double at(std::int32_t r, std::int32_t c) const
    {
        return x[static_cast<std::size_t>(r) * static_cast<std::size_t>(cols) + static_cast<std::size_t>(c)];
    }
};
Table tableOf(Call& call, int i);

} // namespace varnex3::sheet
