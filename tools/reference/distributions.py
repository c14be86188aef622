#!/usr/bin/env python3
"""Reference quantiles and moments of the distribution families, by 50-digit arithmetic (mpmath).

Quantiles solve F(x) = p by bisection on distribution functions written from their definitions; moments
integrate the density numerically. Prints the rows of tests/unit/stats/DistributionReference.inc.
"""
from mpmath import mp, mpf, exp, log, sqrt, erfc, gammainc, betainc, quad, pi, asinh, beta, gamma, inf, sinh, cosh, cbrt

mp.dps = 40
P = [1e-12, 1e-6, 0.01, 0.3, 0.5, 0.9, 1 - 1e-6, 1 - 1e-12]  # the doubles, exactly


def phi(z):
    return exp(-z * z / 2) / sqrt(2 * pi)


def Phi(z):
    return erfc(-z / sqrt(mpf(2))) / 2


def invert(F, lo, hi, p):
    lo, hi, p = mpf(lo), mpf(hi), mpf(p)
    for _ in range(400):
        mid = (lo + hi) / 2
        if F(mid) < p:
            lo = mid
        else:
            hi = mid
        if hi - lo < abs(mid) * mpf(10) ** -22:
            break
    return (lo + hi) / 2


def reg_gamma(a, x):
    return gammainc(a, 0, x, regularized=True) if x > 0 else mpf(0)


def reg_beta(a, b, x):
    return betainc(a, b, 0, x, regularized=True) if 0 < x < 1 else mpf(0 if x <= 0 else 1)


def student_cdf(v, t):
    x = v / (v + t * t)
    tail = reg_beta(mpf(v) / 2, mpf(1) / 2, x) / 2
    return tail if t < 0 else 1 - tail


def trapezoid_pdf(a, b, c, d):
    h = 2 / mpf(d + c - a - b)
    return lambda x: h * (x - a) / (b - a) if x < b else (h if x <= c else h * (d - x) / (d - c))


def trapezoid_cdf(a, b, c, d):
    h = 2 / mpf(d + c - a - b)

    def F(x):
        if x < b:
            return h * (x - a) ** 2 / (2 * (b - a))
        if x <= c:
            return h * (b - a) / 2 + h * (x - b)
        return 1 - h * (d - x) ** 2 / (2 * (d - c))
    return F


def rows():
    """name, parameters, distribution function, density, support or search range, break points"""
    m, s = mpf(10), mpf(2)
    yield "Normal", (10, 2), lambda x: Phi((x - m) / s), lambda x: phi((x - m) / s) / s, (-40, 60)
    yield "Uniform", (-3, 5), lambda x: (x + 3) / mpf(8), lambda x: mpf(1) / 8, (-3, 5)
    yield "Triangular", (1, 2, 5), trapezoid_cdf(1, 2, 2, 5), trapezoid_pdf(1, 2, 2, 5), (1, 2, 5)
    yield "Trapezoidal", (1, 2, 4, 9), trapezoid_cdf(1, 2, 4, 9), trapezoid_pdf(1, 2, 4, 9), (1, 2, 4, 9)
    yield ("Lognormal", (0.5, 0.75, 1), lambda x: Phi((log(x - 1) - 0.5) / 0.75) if x > 1 else mpf(0),
           lambda x: phi((log(x - 1) - 0.5) / 0.75) / (0.75 * (x - 1)) if x > 1 else mpf(0), (1, 2, 5, 20, 100, 4000))
    yield "Exponential", (3, 1), lambda x: 1 - exp(-(x - 1) / mpf(3)), lambda x: exp(-(x - 1) / mpf(3)) / 3, (1, 10, 200)
    yield ("Weibull", (2.5, 4, 1), lambda x: 1 - exp(-((x - 1) / mpf(4)) ** 2.5),
           lambda x: mpf(2.5) / 4 * ((x - 1) / mpf(4)) ** 1.5 * exp(-((x - 1) / mpf(4)) ** 2.5), (1, 5, 40))
    yield ("Gamma", (0.7, 2, 1), lambda x: reg_gamma(mpf(0.7), (x - 1) / mpf(2)),
           lambda x: ((x - 1) / mpf(2)) ** (mpf(0.7) - 1) * exp(-(x - 1) / mpf(2)) / (2 * gamma(mpf(0.7))), (1, 5, 200))
    yield ("Beta", (2.5, 0.8, -1, 3), lambda x: reg_beta(mpf(2.5), mpf(0.8), (x + 1) / mpf(4)),
           lambda x: ((x + 1) / mpf(4)) ** 1.5 * ((3 - x) / mpf(4)) ** (mpf(0.8) - 1) / beta(mpf(2.5), mpf(0.8)) / 4,
           (-1, 1, 3))
    yield ("PERT", (1, 2, 5), lambda x: reg_beta(mpf(2), mpf(4), (x - 1) / mpf(4)),
           lambda x: ((x - 1) / mpf(4)) * ((5 - x) / mpf(4)) ** 3 / beta(2, 4) / 4, (1, 5))
    yield ("Logistic", (1, 2), lambda x: 1 / (1 + exp(-(x - 1) / mpf(2))),
           lambda x: exp(-(x - 1) / mpf(2)) / (2 * (1 + exp(-(x - 1) / mpf(2))) ** 2), (-120, -20, 1, 20, 120))
    yield ("Gumbel Maximum", (1, 2), lambda x: exp(-exp(-(x - 1) / mpf(2))),
           lambda x: exp(-(x - 1) / mpf(2) - exp(-(x - 1) / mpf(2))) / 2, (-15, 1, 20, 150))
    yield ("Gumbel Minimum", (1, 2), lambda x: 1 - exp(-exp((x - 1) / mpf(2))),
           lambda x: exp((x - 1) / mpf(2) - exp((x - 1) / mpf(2))) / 2, (-150, -20, 1, 15))
    yield ("Rayleigh", (2, 1), lambda x: 1 - exp(-((x - 1) / mpf(2)) ** 2 / 2),
           lambda x: (x - 1) / mpf(4) * exp(-((x - 1) / mpf(2)) ** 2 / 2), (1, 5, 40))
    yield ("Student t", (5, 1, 2), lambda x: student_cdf(5, (x - 1) / mpf(2)),
           lambda x: gamma(mpf(3)) / (sqrt(5 * pi) * gamma(mpf(5) / 2)) * (1 + ((x - 1) / mpf(2)) ** 2 / 5) ** -3 / 2,
           (-1e4, -50, -5, 1, 5, 50, 1e4))
    yield ("Johnson SB", (0.5, 0.8, 1, 4), lambda x: Phi(0.5 + mpf(0.8) * log((x - 1) / (5 - x))) if 1 < x < 5 else mpf(x >= 5),
           lambda x: phi(0.5 + mpf(0.8) * log((x - 1) / (5 - x))) * mpf(0.8) * 4 / ((x - 1) * (5 - x)) if 1 < x < 5 else mpf(0),
           (1, 1.5, 3, 4.5, 5))
    yield ("Johnson SU", (-1, 1.5, 1, 4), lambda x: Phi(-1 + mpf(1.5) * asinh((x - 1) / mpf(4))),
           lambda x: phi(-1 + mpf(1.5) * asinh((x - 1) / mpf(4))) * mpf(1.5) / 4 / sqrt(1 + ((x - 1) / mpf(4)) ** 2),
           (-3000, -100, -10, 1, 10, 100, 3000))
    yield ("Johnson SL", (-1, 1.5, 1, -4), lambda x: 1 - Phi(-1 + mpf(1.5) * log((1 - x) / mpf(4))) if x < 1 else mpf(1),
           lambda x: phi(-1 + mpf(1.5) * log((1 - x) / mpf(4))) * mpf(1.5) / (1 - x) if x < 1 else mpf(0),
           (-3000, -100, -10, -1, 1))
    yield "Johnson SN", (1, 2, 3, 4), lambda x: Phi(1 + 2 * (x - 3) / mpf(4)), lambda x: phi(1 + 2 * (x - 3) / mpf(4)) / 2, (-30, 1, 30)


def main():
    print("// Made by tools/reference/distributions.py: name, parameters 1 to 4, quantiles, mean, standard deviation.")
    for name, params, F, f, ends in rows():
        quantiles = [invert(F, ends[0], ends[-1], p) for p in P]
        wide = ends
        if name == "Student t":
            wide = (-inf,) + ends[1:-1] + (inf,)
        mean = quad(lambda x: x * f(x), wide) / quad(f, wide)
        sd = sqrt(quad(lambda x: (x - mean) ** 2 * f(x), wide) / quad(f, wide))
        shown = ", ".join(mp.nstr(mpf(v), 17) for v in params)
        q = ", ".join(mp.nstr(v, 17) for v in quantiles)
        print(f'{{"{name}", {{{shown}}}, {{{q}}}, {mp.nstr(mean, 13)}, {mp.nstr(sd, 13)}}},')


main()
