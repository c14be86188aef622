"""What a member costs from Python, and a Monte Carlo run from Python beside one by the program.

    PYTHONPATH=build/release/python python3 bench/python_access.py build/release/cli/corvane
"""

import os
import runpy
import subprocess
import sys
import time
import timeit

import varnex3

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
EXAMPLE = os.path.join(ROOT, "examples", "voltage_divider", "voltage_divider")


def microseconds(statement, **names):
    timer = timeit.Timer(statement, globals=names)
    n = 200000
    return min(timer.repeat(5, n)) / n * 1e6


mc = varnex3.c_MonteCarlo()
f = varnex3.c_Formulation()
f.AddX("x")
book = varnex3.open_workbook(EXAMPLE + ".xlsx")
cell = book["supply"]
print("member access, microseconds")
for title, statement, names in (
    ("read a number", "mc.numTrials", {"mc": mc}),
    ("write a number", "mc.numTrials = 100", {"mc": mc}),
    ("read a text", "mc.SetupMacroName", {"mc": mc}),
    ("indexed property, called", "mc.yStats(1, 1)", {"mc": mc}),
    ("indexed property, subscripted", "mc.yStats[1, 1]", {"mc": mc}),
    ("item of a collection", "f.ItemX('x')", {"f": f}),
    ("method with a result", "s.normCDF(1.0)", {"s": varnex3.c_Statistics()}),
    ("read a cell", "c.Value", {"c": cell}),
    ("write a cell", "c.Value = 12", {"c": cell}),
):
    print(f"  {title:32} {microseconds(statement, **names):6.2f}")

script = runpy.run_path(EXAMPLE + ".py")
run = script["mc"]
run.numTrials = run.sampleSize = 1000000
start = time.perf_counter()
run.RunMC()
python = time.perf_counter() - start
print(f"1,000,000 trials of the voltage divider: from Python {python:.2f} s", end="")
if len(sys.argv) > 1:
    start = time.perf_counter()
    subprocess.run([sys.argv[1], "simulate", EXAMPLE + ".toml", "--trials", "1000000", "--quiet", "--json", os.devnull],
                   check=True, stdout=subprocess.DEVNULL)
    program = time.perf_counter() - start
    print(f", by the program {program:.2f} s with start, percentiles and output")
else:
    print()
