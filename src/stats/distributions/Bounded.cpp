// stats/distributions/Bounded.cpp - families with both ends finite: uniform to four-parameter beta.
#include <algorithm>
#include <cmath>

#include "stats/distributions/Family.h"
#include "stats/distributions/SpecialFunctions.h"

namespace varnex3 {
namespace {

constexpr const char* kOrderMin = "Minimum is not below the maximum";

/// The probability pair from the smaller side.
Probability fromBelow(double below) { return {below, 1.0 - below}; }
Probability fromAbove(double above) { return {1.0 - above, above}; }

// Uniform: v[0] to v[1].
std::string uniformProblem(FamilyValues& f)
{
    return f.v[0] > f.v[1] ? "Lower end is above the upper end" : "";
}
Support firstToSecond(const FamilyValues& f) { return {f.v[0], f.v[1]}; }
double uniformPdf(const FamilyValues& f, double x)
{
    return x < f.v[0] || x > f.v[1] ? 0.0 : 1.0 / (f.v[1] - f.v[0]);
}
Probability uniformCdf(const FamilyValues& f, double x)
{
    if (x <= f.v[0]) return {0.0, 1.0};
    if (x >= f.v[1]) return {1.0, 0.0};
    const double width = f.v[1] - f.v[0];
    return {(x - f.v[0]) / width, (f.v[1] - x) / width};
}
double uniformInverse(const FamilyValues& f, const Probability& p)
{
    const double width = f.v[1] - f.v[0];
    return p.below <= p.above ? f.v[0] + width * p.below : f.v[1] - width * p.above;
}
Moments uniformMoments(const FamilyValues& f)
{
    return {f.v[0] + 0.5 * (f.v[1] - f.v[0]), (f.v[1] - f.v[0]) / std::sqrt(12.0)};
}

// Trapezoidal: rises from v[0] to v[1], level to v[2], falls to v[3]. Triangular is one with v[1] = v[2].
struct Trapezoid {
    double a, b, c, d;
    double height() const { return 2.0 / ((d - a) + (c - b)); }
};
Trapezoid triangle(const FamilyValues& f) { return {f.v[0], f.v[1], f.v[1], f.v[2]}; }
Trapezoid trapezoid(const FamilyValues& f) { return {f.v[0], f.v[1], f.v[2], f.v[3]}; }

double density(const Trapezoid& t, double x)
{
    if (x < t.a || x > t.d) return 0.0;
    if (x < t.b) return t.height() * (x - t.a) / (t.b - t.a);
    if (x <= t.c) return t.height();
    return t.height() * (t.d - x) / (t.d - t.c);
}
Probability probability(const Trapezoid& t, double x)
{
    const double h = t.height();
    if (x <= t.a) return {0.0, 1.0};
    if (x >= t.d) return {1.0, 0.0};
    if (x < t.b) return fromBelow(0.5 * h * (x - t.a) * (x - t.a) / (t.b - t.a));
    if (x > t.c) return fromAbove(0.5 * h * (t.d - x) * (t.d - x) / (t.d - t.c));
    return {0.5 * h * ((t.b - t.a) + 2.0 * (x - t.b)), 0.5 * h * ((t.d - t.c) + 2.0 * (t.c - x))};
}
double quantile(const Trapezoid& t, const Probability& p)
{
    const double h = t.height();
    const double rising = 0.5 * h * (t.b - t.a), falling = 0.5 * h * (t.d - t.c);
    if (p.below <= rising) return t.a + std::sqrt(2.0 * p.below * (t.b - t.a) / h);
    if (p.above <= falling) return t.d - std::sqrt(2.0 * p.above * (t.d - t.c) / h);
    return p.below <= p.above ? t.b + (p.below - rising) / h : t.c - (p.above - falling) / h;
}
Moments moments(const Trapezoid& t)
{
    // distances from a: 0, b, c, d; E[x^n] = 2 (H(c, d) - H(0, b)) / ((n+1)(n+2)(d + c - b)),
    // H(p, q) = (q^(n+2) - p^(n+2)) / (q - p)
    const double b = t.b - t.a, c = t.c - t.a, d = t.d - t.a;
    const double span = d + c - b;
    const double mean = (d * d + d * c + c * c - b * b) / (3.0 * span);
    const double square = ((d + c) * (d * d + c * c) - b * b * b) / (6.0 * span);
    return {t.a + mean, std::sqrt(std::max(0.0, square - mean * mean))};
}

std::string triangularProblem(FamilyValues& f)
{
    if (!(f.v[0] < f.v[2])) return kOrderMin;
    if (f.v[1] < f.v[0] || f.v[1] > f.v[2]) return "Most likely value is outside minimum and maximum";
    return {};
}
Support firstToThird(const FamilyValues& f) { return {f.v[0], f.v[2]}; }
double triangularPdf(const FamilyValues& f, double x) { return density(triangle(f), x); }
Probability triangularCdf(const FamilyValues& f, double x) { return probability(triangle(f), x); }
double triangularInverse(const FamilyValues& f, const Probability& p) { return quantile(triangle(f), p); }
Moments triangularMoments(const FamilyValues& f)
{
    const double left = f.v[1] - f.v[0], right = f.v[2] - f.v[1];
    const double width = f.v[2] - f.v[0];
    return {f.v[0] + (left + width) / 3.0, std::sqrt((width * width - left * right) / 18.0)};
}

std::string trapezoidalProblem(FamilyValues& f)
{
    if (!(f.v[0] < f.v[3])) return kOrderMin;
    if (f.v[1] < f.v[0]) return "Lower end of the level part is below the minimum";
    if (f.v[2] < f.v[1]) return "Upper end of the level part is below its lower end";
    if (f.v[3] < f.v[2]) return "Upper end of the level part is above the maximum";
    return {};
}
Support firstToFourth(const FamilyValues& f) { return {f.v[0], f.v[3]}; }
double trapezoidalPdf(const FamilyValues& f, double x) { return density(trapezoid(f), x); }
Probability trapezoidalCdf(const FamilyValues& f, double x) { return probability(trapezoid(f), x); }
double trapezoidalInverse(const FamilyValues& f, const Probability& p) { return quantile(trapezoid(f), p); }
Moments trapezoidalMoments(const FamilyValues& f) { return moments(trapezoid(f)); }

// Beta on lower..upper with shapes a, b. PERT is one with shapes from its most likely value.
struct ScaledBeta {
    double a, b, lower, upper;
};
ScaledBeta fourParameterBeta(const FamilyValues& f) { return {f.v[0], f.v[1], f.v[2], f.v[3]}; }
ScaledBeta pertBeta(const FamilyValues& f)
{
    const double width = f.v[2] - f.v[0];
    return {1.0 + 4.0 * (f.v[1] - f.v[0]) / width, 1.0 + 4.0 * (f.v[2] - f.v[1]) / width, f.v[0], f.v[2]};
}
double density(const ScaledBeta& s, double x)
{
    if (x < s.lower || x > s.upper) return 0.0;
    const double y = (x - s.lower) / (s.upper - s.lower);
    const bool poleAtEnd = (y == 0.0 && s.a < 1.0) || (y == 1.0 && s.b < 1.0);
    return poleAtEnd ? 0.0 : special::betaDensity(s.a, s.b, y) / (s.upper - s.lower);
}
Probability probability(const ScaledBeta& s, double x)
{
    const double width = s.upper - s.lower;
    return special::betaProbability(s.a, s.b, (x - s.lower) / width, (s.upper - x) / width);
}
double quantile(const ScaledBeta& s, const Probability& p)
{
    const special::UnitPoint y = special::betaQuantile(s.a, s.b, p);
    const double width = s.upper - s.lower;
    return y.x <= y.oneMinusX ? s.lower + width * y.x : s.upper - width * y.oneMinusX;
}
Moments moments(const ScaledBeta& s)
{
    const double sum = s.a + s.b, width = s.upper - s.lower;
    return {s.lower + width * s.a / sum, width / sum * std::sqrt(s.a * s.b / (sum + 1.0))};
}

std::string betaProblem(FamilyValues& f) { return f.v[2] < f.v[3] ? "" : kOrderMin; }
Support thirdToFourth(const FamilyValues& f) { return {f.v[2], f.v[3]}; }
double betaPdf(const FamilyValues& f, double x) { return density(fourParameterBeta(f), x); }
Probability betaCdf(const FamilyValues& f, double x) { return probability(fourParameterBeta(f), x); }
double betaInverse(const FamilyValues& f, const Probability& p) { return quantile(fourParameterBeta(f), p); }
Moments betaMoments(const FamilyValues& f) { return moments(fourParameterBeta(f)); }
double pertPdf(const FamilyValues& f, double x) { return density(pertBeta(f), x); }
Probability pertCdf(const FamilyValues& f, double x) { return probability(pertBeta(f), x); }
double pertInverse(const FamilyValues& f, const Probability& p) { return quantile(pertBeta(f), p); }
Moments pertMoments(const FamilyValues& f) { return moments(pertBeta(f)); }

const Family rows[] = {
    {"Uniform",
     {{{"Lower end"}, {"Upper end"}}},
     "f(x) = 1 / (b - a)",
     "JKB95",
     uniformProblem,
     firstToSecond,
     uniformPdf,
     uniformCdf,
     uniformInverse,
     uniformMoments},
    {"Triangular",
     {{{"Minimum"}, {"Most likely value"}, {"Maximum"}}},
     "f rises linearly from a to the mode and falls to b",
     "JKB95",
     triangularProblem,
     firstToThird,
     triangularPdf,
     triangularCdf,
     triangularInverse,
     triangularMoments},
    {"Trapezoidal",
     {{{"Minimum"}, {"Lower end of the level part"}, {"Upper end of the level part"}, {"Maximum"}}},
     "f rises linearly from a to b, is level to c and falls to d",
     "DK03",
     trapezoidalProblem,
     firstToFourth,
     trapezoidalPdf,
     trapezoidalCdf,
     trapezoidalInverse,
     trapezoidalMoments},
    {"Beta",
     {{{"First shape", Rule::Positive},
       {"Second shape", Rule::Positive},
       {"Minimum", Rule::Any, 0.0},
       {"Maximum", Rule::Any, 1.0}}},
     "f(y) = y^(a-1) (1-y)^(b-1) / B(a, b), y = (x - min) / (max - min)",
     "JKB95",
     betaProblem,
     thirdToFourth,
     betaPdf,
     betaCdf,
     betaInverse,
     betaMoments},
    {"PERT",
     {{{"Minimum"}, {"Most likely value"}, {"Maximum"}}},
     "Beta with shapes 1 + 4 (mode - min) / (max - min) and 1 + 4 (max - mode) / (max - min)",
     "MRCF59",
     triangularProblem,
     firstToThird,
     pertPdf,
     pertCdf,
     pertInverse,
     pertMoments},
};

} // namespace

std::span<const Family> boundedFamilies() { return rows; }

} // namespace varnex3
