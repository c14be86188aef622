#!/usr/bin/python3
"""Coverage of the confidence bounds of a non-conformance, by exact enumeration.

For n trials and a true fraction p every number of failures x has its binomial probability. The coverage of a
rule is the sum of the probabilities of those x whose interval holds p. Printed per n and rule: the least
coverage over a fine grid of p, and at fixed p. Nothing of the library is used: the rules are written anew.

    tools/bound_coverage.py
"""
import math
from statistics import NormalDist

ALPHA = 0.05
Z = round(NormalDist().inv_cdf(1 - ALPHA / 2), 4)


def own(n, x):
    """The three cases: no failure; fewer than 5 failures or passes (Chebyshev); otherwise normal."""
    if x == 0:
        return 0.0, 1 - math.exp(math.log(ALPHA) / n)
    p = x / n
    if x >= 5 and n - x >= 5:
        half = Z * math.sqrt(p * (1 - p) / n)
    else:
        half = math.sqrt(p * (1 - p) / (n * ALPHA))
    return max(0.0, p - half), min(1.0, p + half)


def upper_tail(n, x, p):
    """P(X >= x)."""
    return math.fsum(pmf(n, k, p) for k in range(x, n + 1))


def pmf(n, k, p):
    if p in (0.0, 1.0):
        return float(k == n * p)
    return math.exp(math.lgamma(n + 1) - math.lgamma(k + 1) - math.lgamma(n - k + 1)
                    + k * math.log(p) + (n - k) * math.log1p(-p))


def solve(f, target):
    """The p in [0, 1] where the rising f reaches target, by halving."""
    lo, hi = 0.0, 1.0
    for _ in range(50):
        mid = (lo + hi) / 2
        lo, hi = (mid, hi) if f(mid) < target else (lo, mid)
    return lo


def exact(n, x):
    """Clopper-Pearson: both tails hold alpha / 2."""
    lower = 0.0 if x == 0 else solve(lambda p: upper_tail(n, x, p), ALPHA / 2)
    upper = 1.0 if x == n else solve(lambda p: upper_tail(n, x + 1, p), 1 - ALPHA / 2)
    return lower, upper


def coverage(n, bounds, p):
    return math.fsum(pmf(n, x, p) for x, (lo, hi) in enumerate(bounds) if lo <= p <= hi)


def main():
    fixed = (0.001, 0.01, 0.05, 0.1, 0.5)
    print("| n | rule | " + " | ".join(f"p = {p:g}" for p in fixed) + " | least, p from 0.001 to 0.5 |")
    print("|---|---|" + "---|" * (len(fixed) + 1))
    grid = [i / 2000 for i in range(2, 1001)]
    for n in (50, 100, 200):
        for name, rule in (("own", own), ("exact binomial", exact)):
            bounds = [rule(n, x) for x in range(n + 1)]
            least, where = min((coverage(n, bounds, p), p) for p in grid)
            cells = " | ".join(f"{100 * coverage(n, bounds, p):.1f} %" for p in fixed)
            print(f"| {n} | {name} | {cells} | {100 * least:.1f} % at p = {where:g} |")


if __name__ == "__main__":
    main()
