// stats/distributions/Family.h - what c_Distribution knows about a distribution family: one row each.
//
// A row holds the family's name, its parameters with their texts and rules, and its functions on resolved
// numbers. Reading parameters from properties and cells, truncation and mixtures are c_Distribution's.
#pragma once

#include <array>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "stats/distributions/NormalQuantile.h"

namespace varnex3 {

inline constexpr double kRequired = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

enum class Rule { Any, Positive, NotNegative };

struct FamilyParameter {
    std::string_view text;       // as messages name it: "Standard deviation"
    Rule rule = Rule::Any;       // for one number
    double standard = kRequired; // value when it is left empty
    bool data = false;           // a list of numbers: an array or a range of cells
};

/// The resolved parameters of one component.
struct FamilyValues {
    std::array<double, 4> v{};      // parameters 1..4 in order, those that are single numbers
    std::vector<double> points;     // data families: the values, ascending
    std::vector<double> weights;    // Discrete: weight of each point, then the probability at or below it
    std::array<double, 4> fitted{}; // Johnson: gamma, delta, xi, lambda
    int system = 0;                 // Johnson: which of the four systems

    friend bool operator==(const FamilyValues&, const FamilyValues&) = default;
};

struct Support {
    double lower = -kInfinity;
    double upper = kInfinity;
};

struct Moments {
    double mean = 0.0;
    double stdev = 0.0;
};

struct Family {
    std::string_view name;
    std::array<FamilyParameter, 4> parameters; // unused ones have an empty text
    std::string_view formula;                  // density or distribution function, for the documentation
    std::string_view source;                   // key of docs/references.md

    /// Checks the parameters against each other and completes derived values; empty when they are fine.
    std::string (*problem)(FamilyValues& values);
    Support (*support)(const FamilyValues& values);
    double (*pdf)(const FamilyValues& values, double x);              // null for point masses
    Probability (*probability)(const FamilyValues& values, double x); // at or below x, and above it
    double (*quantile)(const FamilyValues& values, const Probability& p);
    Moments (*moments)(const FamilyValues& values);
};

/// Every family, in the order of the documentation.
std::span<const Family* const> families();

/// The family of that name, exact and case-sensitive; null when there is none.
const Family* findFamily(std::string_view name);

/// The family of a sorted list of values with weights; degenerate components use it too.
const Family& discreteFamily();

// The rows by kind, for families().
std::span<const Family> elementaryFamilies();
std::span<const Family> boundedFamilies();
std::span<const Family> gammaFamilies();
std::span<const Family> johnsonFamilies();
std::span<const Family> dataFamilies();

} // namespace varnex3
