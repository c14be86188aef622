#!/usr/bin/env python3
"""Polynomials for exp(x^2) erfc(x) on eighths of the binades from 0.5 to 28, by mpmath.

Prints src/runtime/ErfcTable.inc: per interval the constant term as two doubles, then the coefficients of
t^1 to t^12, t running from -1 to 1, of the polynomial through the Chebyshev nodes.
"""
from mpmath import mp, mpf, exp, erfc, cos, pi, matrix, lu_solve

mp.dps = 60
DEGREE = 12

print("// Made by tools/reference/erfc.py: constant term (two doubles), coefficients of t to t^12.")
for step in range(6 * 8):
    low = mpf(2) ** (step // 8 - 1) * (1 + mpf(step % 8) / 8)
    if low >= 28:
        break
    width = mpf(2) ** (step // 8 - 1) / 8
    nodes = [cos(pi * (i + mpf(1) / 2) / (DEGREE + 1)) for i in range(DEGREE + 1)]
    values = []
    for t in nodes:
        x = low + width * (t + 1) / 2
        values.append(exp(x * x) * erfc(x))
    c = lu_solve(matrix([[t ** n for n in range(DEGREE + 1)] for t in nodes]), matrix(values))
    hi = float(c[0])
    numbers = [float.hex(float(c[n])) for n in range(1, DEGREE + 1)]
    print("{{%s, %s}, {%s}}," % (float.hex(hi), float.hex(float(c[0] - mpf(hi))), ", ".join(numbers)))
