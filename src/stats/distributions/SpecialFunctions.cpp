// stats/distributions/SpecialFunctions.cpp - incomplete gamma and beta functions, by Boost.Math.
#include "stats/distributions/SpecialFunctions.h"

#include <cmath>

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/gamma.hpp>

#include "stats/distributions/PortableNumber.h"

namespace varnex3::special {
namespace {

namespace policies = boost::math::policies;

// Errors come back as infinities or NaN, which the callers refuse; nothing throws.
using Policy = policies::policy<
    policies::domain_error<policies::ignore_error>, policies::pole_error<policies::ignore_error>,
    policies::overflow_error<policies::ignore_error>, policies::underflow_error<policies::ignore_error>,
    policies::evaluation_error<policies::ignore_error>, policies::promote_double<false>>;
using Number = PortableNumber;
using Student = boost::math::students_t_distribution<Number, Policy>;
using Beta = boost::math::beta_distribution<Number, Policy>;

} // namespace

double logGamma(double a) { return boost::math::lgamma(Number(a), Policy{}).value(); }

Probability gammaProbability(double a, double x)
{
    if (x <= 0.0) return {0.0, 1.0};
    const Number shape = a, at = x;
    return {boost::math::gamma_p(shape, at, Policy{}).value(),
            boost::math::gamma_q(shape, at, Policy{}).value()};
}

double gammaQuantile(double a, const Probability& p)
{
    const Number shape = a;
    return (p.below <= p.above ? boost::math::gamma_p_inv(shape, Number(p.below), Policy{})
                               : boost::math::gamma_q_inv(shape, Number(p.above), Policy{}))
        .value();
}

Probability betaProbability(double a, double b, double x, double oneMinusX)
{
    if (x <= 0.0) return {0.0, 1.0};
    if (oneMinusX <= 0.0) return {1.0, 0.0};
    const Number A = a, B = b;
    if (x <= oneMinusX)
        return {boost::math::ibeta(A, B, Number(x), Policy{}).value(),
                boost::math::ibetac(A, B, Number(x), Policy{}).value()};
    const Number y = oneMinusX;
    return {boost::math::ibetac(B, A, y, Policy{}).value(), boost::math::ibeta(B, A, y, Policy{}).value()};
}

UnitPoint betaQuantile(double a, double b, const Probability& p)
{
    const Number A = a, B = b;
    Number oneMinusX = 0.0;
    const Number x = p.below <= p.above
                         ? boost::math::ibeta_inv(A, B, Number(p.below), &oneMinusX, Policy{})
                         : boost::math::ibetac_inv(A, B, Number(p.above), &oneMinusX, Policy{});
    return {x.value(), oneMinusX.value()};
}

double betaDensity(double a, double b, double x) { return boost::math::pdf(Beta(a, b), Number(x)).value(); }

Probability studentProbability(double degrees, double t)
{
    const Student student(degrees);
    return {boost::math::cdf(student, Number(t)).value(),
            boost::math::cdf(boost::math::complement(student, Number(t))).value()};
}

double studentQuantile(double degrees, const Probability& p)
{
    const Student student(degrees);
    return (p.below <= p.above ? boost::math::quantile(student, Number(p.below))
                               : boost::math::quantile(boost::math::complement(student, Number(p.above))))
        .value();
}

double studentDensity(double degrees, double t)
{
    return boost::math::pdf(Student(degrees), Number(t)).value();
}

} // namespace varnex3::special
