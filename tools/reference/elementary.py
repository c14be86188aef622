#!/usr/bin/env python3
"""Elementary functions at chosen doubles, by 60-digit arithmetic (mpmath), rounded to the nearest double.

Prints tests/unit/runtime/ElementaryReference.inc: function, arguments, result.
"""
import random
from mpmath import mp, mpf, exp, expm1, log, cbrt, sinh, cosh, asinh, acosh, erfc, sin, cos, asin, acos, power

mp.dps = 60
random.seed(1)
FUNCTIONS = [  # name, function, ranges of which each gives random arguments
    ("exp", exp, [(-700, 700), (-1, 1), (-1e-9, 1e-9)]),
    ("expm1", expm1, [(-40, 40), (-0.01, 0.01), (-1e-9, 1e-9)]),
    ("log", log, [(1e-300, 1e-290), (0.4, 3), (0.99, 1.01), (1e9, 1e300)]),
    ("log1p", lambda x: log(1 + x), [(-0.999, 3), (-0.01, 0.01), (-1e-9, 1e-9), (1, 1e20)]),
    ("cbrt", cbrt, [(0.1, 9), (1e-300, 1e-290), (1e9, 1e300)]),
    ("sinh", sinh, [(-3, 3), (-700, 700), (-1e-3, 1e-3)]),
    ("cosh", cosh, [(-3, 3), (-700, 700)]),
    ("asinh", asinh, [(-3, 3), (-1e-3, 1e-3), (1e9, 1e300)]),
    ("acosh", acosh, [(1, 1.01), (1, 9), (1e9, 1e300)]),
    ("erfc", erfc, [(-6, -0.5), (-0.5, 0.5), (0.5, 3), (3, 26)]),
    ("sin", sin, [(-7, 7), (-1e6, 1e6)]),
    ("cos", cos, [(-7, 7), (-1e6, 1e6)]),
    ("asin", asin, [(-1, 1), (0.999, 1)]),
    ("acos", acos, [(-1, 1), (0.999, 1)]),
]
print("// Made by tools/reference/elementary.py: function, arguments, result.")
for name, function, ranges in FUNCTIONS:
    for low, high in ranges:
        for _ in range(6):
            x = random.uniform(low, high)
            print('{"%s", %r, 0.0, %r},' % (name, x, float(function(mpf(x)))))
for low, high, most in [(1e-3, 1e3, 90), (0.9, 1.1, 6000), (0.999999, 1.000001, 1e8), (0, 10, 1)]:
    for _ in range(8):
        x, y = random.uniform(low, high), random.uniform(-most, most)
        print('{"pow", %r, %r, %r},' % (x, y, float(power(mpf(x), mpf(y)))))
