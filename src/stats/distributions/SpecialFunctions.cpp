// stats/distributions/SpecialFunctions.cpp - incomplete gamma and beta functions, by Boost.Math.
#include "stats/distributions/SpecialFunctions.h"

#include <cmath>

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/gamma.hpp>

namespace varnex3::special {
namespace {

namespace policies = boost::math::policies;

// Errors come back as infinities or NaN, which the callers refuse; nothing throws.
using Policy = policies::policy<
    policies::domain_error<policies::ignore_error>, policies::pole_error<policies::ignore_error>,
    policies::overflow_error<policies::ignore_error>, policies::underflow_error<policies::ignore_error>,
    policies::evaluation_error<policies::ignore_error>, policies::promote_double<false>>;
using Student = boost::math::students_t_distribution<double, Policy>;
using Beta = boost::math::beta_distribution<double, Policy>;

} // namespace

double logGamma(double a) { return boost::math::lgamma(a, Policy{}); }

Probability gammaProbability(double a, double x)
{
    if (x <= 0.0) return {0.0, 1.0};
    return {boost::math::gamma_p(a, x, Policy{}), boost::math::gamma_q(a, x, Policy{})};
}

double gammaQuantile(double a, const Probability& p)
{
    return p.below <= p.above ? boost::math::gamma_p_inv(a, p.below, Policy{})
                              : boost::math::gamma_q_inv(a, p.above, Policy{});
}

Probability betaProbability(double a, double b, double x, double oneMinusX)
{
    if (x <= 0.0) return {0.0, 1.0};
    if (oneMinusX <= 0.0) return {1.0, 0.0};
    if (x <= oneMinusX)
        return {boost::math::ibeta(a, b, x, Policy{}), boost::math::ibetac(a, b, x, Policy{})};
    return {boost::math::ibetac(b, a, oneMinusX, Policy{}), boost::math::ibeta(b, a, oneMinusX, Policy{})};
}

UnitPoint betaQuantile(double a, double b, const Probability& p)
{
    UnitPoint point{};
    point.x = p.below <= p.above ? boost::math::ibeta_inv(a, b, p.below, &point.oneMinusX, Policy{})
                                 : boost::math::ibetac_inv(a, b, p.above, &point.oneMinusX, Policy{});
    return point;
}

double betaDensity(double a, double b, double x) { return boost::math::pdf(Beta(a, b), x); }

Probability studentProbability(double degrees, double t)
{
    const Student student(degrees);
    return {boost::math::cdf(student, t), boost::math::cdf(boost::math::complement(student, t))};
}

double studentQuantile(double degrees, const Probability& p)
{
    const Student student(degrees);
    return p.below <= p.above ? boost::math::quantile(student, p.below)
                              : boost::math::quantile(boost::math::complement(student, p.above));
}

double studentDensity(double degrees, double t) { return boost::math::pdf(Student(degrees), t); }

} // namespace varnex3::special
