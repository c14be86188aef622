"""The study voltage_divider.toml from Python: the same formulation, the same run, and a plot of the output.

    PYTHONPATH=build/release/python python3 examples/voltage_divider/voltage_divider.py [plot.png]
"""

# %% Inputs: cells of the workbook and how they vary
import sys
from pathlib import Path

import varnex3

book = varnex3.open_workbook(Path(__file__).with_name("voltage_divider.xlsx"))

INPUTS = {
    "supply": ("Normal", (12.0, 0.08), (11.76, 12.24)),
    "r_upper": ("Normal", (6800.0, 22.7), (6732.0, 6868.0)),
    "r_lower": ("Normal", (3300.0, 11.0), (3267.0, 3333.0)),
    "tc_upper": ("Uniform", (-100.0, 100.0), None),
    "tc_lower": ("Uniform", (-100.0, 100.0), None),
    "temperature": ("Triangular", (-20.0, 30.0, 70.0), None),
    "i_load": ("Uniform", (0.0, 0.00004), None),
}

f = varnex3.c_Formulation()
for number, (name, (family, numbers, limits)) in enumerate(INPUTS.items(), 1):
    f.AddX(name)
    f.CalcSequence[number] = number
    x = f.ItemX(name)
    x.DefName = x.Name = name
    x.xType = "Noise"
    x.mean = book[name]
    part = varnex3.c_Distribution()
    part.DistType = family
    for member, value in zip(("param1", "param2", "param3"), numbers):
        setattr(part, member, value)
    if limits:
        part.LTL, part.UTL = limits
    x.dist.Add(part)
    x.CalcMoments()

# %% Outputs: formula cells with their limits
for name, lsl, usl in (("v_out", 3.78, 4.02), ("power", None, None)):
    f.AddY(name)
    y = f.ItemY(name)
    y.DefName = y.Name = name
    y.Formula = book[name]
    y.lsl, y.usl = lsl, usl

# %% 50,000 trials by Latin hypercube sampling
mc = varnex3.c_MonteCarlo()
mc.XLApplication = book.application
mc.LoadFormulation(f)
mc.numTrials = mc.sampleSize = 50000
mc.randSeed = 1
mc.useLHS = True
mc.RunMC()

print(f"output: mean {mc.yStats[1, 1]:.6f} V, standard deviation {mc.yStats[1, 2]:.6f} V")
print(f"outside the limits: {mc.yStats[1, 6]:.4%}, between {mc.yStats[1, 5]:.4%} and {mc.yStats[1, 7]:.4%}")
for number, name in enumerate(INPUTS, 1):
    print(f"{name:12} {mc.VarContribs[number, 1]:6.1%} of the variance")

# %% Plot
if len(sys.argv) > 1:
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    volts = mc.yUnsorted[1, 1 : mc.LastTrial + 1]
    figure, axes = plt.subplots(figsize=(7, 4), layout="constrained")
    axes.hist(volts, bins=120, color="#4a7ab5")
    for limit in (3.78, 4.02):
        axes.axvline(limit, color="#b5493a", linewidth=1.5)
    axes.set(xlabel="output, V", ylabel="trials", title="Voltage divider: 50,000 trials and the limits")
    figure.savefig(sys.argv[1], dpi=120)
