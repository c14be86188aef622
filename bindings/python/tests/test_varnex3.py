"""The package used as a script uses it: classes, hosts, errors, threads."""

import gc
import json
import math
import os
import subprocess
import threading
import unittest

import numpy as np

import varnex3
from varnex3 import ByRef, CellError, Error

EXAMPLES = os.environ["CORVANE_EXAMPLES"]


def example(name):
    return os.path.join(EXAMPLES, name, name + ".xlsx")


class Cell:
    """A cell of a spreadsheet written in Python: a value, or a function of other cells."""

    def __init__(self, application, value):
        self.Application = application
        self.content = value
        self.Count = 1
        self.Worksheet = application
        application.cells.append(self)
        self.Address = f"$A${len(application.cells)}"

    @property
    def HasFormula(self):
        return callable(self.content)

    @property
    def Value(self):
        return self.content() if callable(self.content) else self.content

    @Value.setter
    def Value(self, value):
        self.content = value

    @property
    def Formula(self):
        return "=FUNCTION()" if self.HasFormula else str(self.content)

    @Formula.setter
    def Formula(self, text):
        if not self.HasFormula:
            self.content = float(text)


class Application:
    """As much of a host as a run on cells without macros needs."""

    ScreenUpdating = True
    StatusBar = ""
    Calculation = -4105
    EnableEvents = True
    DisplayAlerts = True
    Name = "Sheet1"

    def __init__(self):
        self.cells = []
        self.Parent = self
        self.calculations = 0

    def Calculate(self):
        self.calculations += 1


def formulation(cells, responses):
    """A formulation of noise parameters with a tenth of their value as spread, and responses."""
    f = varnex3.c_Formulation()
    for i, cell in enumerate(cells, 1):
        f.AddX(f"x{i}")
        f.CalcSequence[i] = i
        x = f.ItemX(f"x{i}")
        x.DefName = x.Name = f"x{i}"
        x.xType = "Noise"
        x.mean = cell
        d = varnex3.c_Distribution()
        d.DistType, d.param1, d.param2 = "Normal", cell.Value, cell.Value / 10
        x.dist.Add(d)
        x.CalcMoments()
    for i, cell in enumerate(responses, 1):
        f.AddY(f"y{i}")
        y = f.ItemY(f"y{i}")
        y.DefName = y.Name = f"y{i}"
        y.Formula = cell
    return f


def simulation(f, application, trials=200):
    mc = varnex3.c_MonteCarlo()
    mc.XLApplication = application
    mc.LoadFormulation(f)
    mc.numTrials = mc.sampleSize = trials
    mc.randSeed = 7
    return mc


class Members(unittest.TestCase):
    def test_values_have_python_types(self):
        mc = varnex3.c_MonteCarlo()
        mc.numTrials = 120.0
        self.assertIs(type(mc.numTrials), int)
        mc.useLHS = 1
        self.assertIs(mc.useLHS, True)
        mc.alpha = np.float32(0.25)
        self.assertIs(type(mc.alpha), float)
        y = varnex3.c_Response()
        self.assertIsNone(y.usl)
        y.usl = "12"
        self.assertEqual(y.usl, "12")
        self.assertIsNone(y.Formula)

    def test_collections_and_indexes_count_from_one(self):
        f = varnex3.c_Formulation()
        for key in ("a", "b"):
            f.AddX(key)
        self.assertEqual(len(f.Xs), 2)
        self.assertEqual([x == f.ItemX(k) for x, k in zip(f.Xs, ("a", "b"))], [True, True])
        self.assertEqual(f.Xs("b"), f.Xs[2])
        f.CalcSequence[2] = 1
        self.assertEqual((f.CalcSequence(2), f.CalcSequence[2]), (1, 1))
        with self.assertRaises(Error) as raised:
            f.Xs[3]
        self.assertEqual(raised.exception.number, 9)

    def test_arguments_by_name_and_by_reference(self):
        self.assertAlmostEqual(varnex3.c_Statistics().normCDF(upperTail=True, z=1.96), 0.0249978951)
        source, item, cause = ByRef(""), ByRef(0), ByRef("")
        self.assertIs(varnex3.c_Formulation().formulationOK(source, item, cause), False)
        self.assertIn("parameter", cause.value)
        with self.assertRaises(TypeError):
            varnex3.c_Statistics().normCDF(1.0, tail=True)

    def test_errors_tell_number_and_text(self):
        cases = [
            (lambda: varnex3.c_Statistics().normCDF(), 449),
            (lambda: varnex3.c_Statistics().normCDF(1, 2, 3), 450),
            (lambda: varnex3.c_Statistics().normCDF("much"), 13),
            (lambda: setattr(varnex3.c_MonteCarlo(), "numTrials", 1e10), 6),
        ]
        for use, number in cases:
            with self.subTest(number), self.assertRaises(Error) as raised:
                use()
            self.assertEqual(raised.exception.number, number)
        with self.assertRaises(AttributeError):
            varnex3.c_MonteCarlo().LastTrial = 3
        with self.assertRaises(AttributeError):
            varnex3.c_MonteCarlo().XLApplication
        with self.assertRaises(AttributeError):
            varnex3.c_MonteCarlo().nothing

    def test_every_class_of_the_table_can_be_made_and_documented(self):
        for row in varnex3._varnex3.table():
            if row["creatable"]:
                made = getattr(varnex3, row["name"])()
                self.assertEqual(type(made).__doc__, row["summary"])
                for member in row["members"]:
                    self.assertEqual(getattr(type(made), member["name"]).__doc__, member["summary"])


class Embedded(unittest.TestCase):
    def setUp(self):
        self.book = varnex3.open_workbook(example("voltage_divider"))

    def test_simulates_like_the_program(self):
        """The example's study with two of its inputs, in Python and by `corvane simulate`."""
        study = os.path.join(self.enterContext(_folder()), "study.toml")
        with open(study, "w", encoding="utf-8") as out:
            out.write(f'workbook = "{example("voltage_divider")}"\n')
            for key, mean, stdev in (("supply", 12.0, 0.08), ("r_upper", 6800.0, 22.7)):
                out.write(f'[[parameter]]\nid = "{key}"\nname = "{key}"\ncell = "{key}"\ntype = "Noise"\n')
                out.write(f'distribution = {{ type = "Normal", mean = {mean}, stdev = {stdev} }}\n')
            out.write('[[response]]\nid = "v"\nname = "v"\ncell = "v_out"\nlsl = 3.78\n')
            out.write("[monte_carlo]\ntrials = 1000\nseed = 11\n")
        told = subprocess.run([os.environ["CORVANE_PROGRAM"], "simulate", study, "--json", "-", "--quiet"],
                              check=True, capture_output=True, text=True).stdout
        program = json.loads(told)["responses"][0]

        f = varnex3.c_Formulation()
        for i, (key, mean, stdev) in enumerate((("supply", 12.0, 0.08), ("r_upper", 6800.0, 22.7)), 1):
            f.AddX(key)
            f.CalcSequence[i] = i
            x = f.ItemX(key)
            x.DefName = x.Name = key
            x.xType, x.mean = "Noise", self.book[key]
            d = varnex3.c_Distribution()
            d.DistType, d.param1, d.param2 = "Normal", mean, stdev
            x.dist.Add(d)
            x.CalcMoments()
        f.AddY("v")
        y = f.ItemY("v")
        y.DefName = y.Name = "v"
        y.Formula, y.lsl = self.book["v_out"], 3.78
        mc = simulation(f, self.book.application, 1000)
        mc.randSeed, mc.useLHS = 11, True
        self.assertIs(mc.RunMC(), True)
        self.assertEqual([mc.yStats[1, k] for k in range(1, 8)], program["yStats"])

        trials = mc.yUnsorted[1, 1:1001]
        self.assertEqual(trials.shape, (1000,))
        self.assertAlmostEqual(trials.mean(), mc.yStats(1, 1), places=12)
        self.assertEqual(trials[999], mc.yUnsorted(1, 1000))

    def test_macros_are_python_functions(self):
        seen = []

        @self.book.macro("Setup")
        def setup(xs, ys):
            seen.append((len(xs), ys[1].Name))

        f = formulation([self.book["supply"]], [self.book["v_out"]])
        mc = simulation(f, self.book.application)
        mc.CorvaneFileName, mc.SetupMacroName = self.book.name, "Setup"
        self.assertIs(mc.RunMC(), True)
        self.assertEqual(seen, [(1, "y1")])

        def broken(xs, ys):
            raise LookupError("no such fixture")

        self.book.macro("Setup", broken)
        with self.assertRaisesRegex(LookupError, "no such fixture"):
            mc.RunMC()
        self.assertEqual(self.book["supply"].Value, 12)

    def test_other_threads_run_during_a_simulation(self):
        f = formulation([self.book["supply"]], [self.book["v_out"]])
        mc = simulation(f, self.book.application, 200000)
        counted, ended = [0], threading.Event()

        def count():
            while not ended.is_set():
                counted[0] += 1
                self.assertEqual(varnex3.c_Statistics().normCDF(0.0), 0.5)  # waits for its turn

        before = threading.Event()
        idle = [0]

        def spin():
            before.set()
            while not ended.is_set():
                idle[0] += 1

        workers = [threading.Thread(target=spin), threading.Thread(target=count)]
        for w in workers:
            w.start()
        before.wait()
        start = idle[0]
        mc.RunMC()
        progress = idle[0] - start
        ended.set()
        for w in workers:
            w.join()
        self.assertGreater(progress, 1000)

    def test_cancel_and_errors_of_entry_points(self):
        class Impatient(varnex3.UserInterface):
            def progress(self, text, fraction):
                return False

        f = formulation([self.book["supply"]], [self.book["v_out"]])
        mc = simulation(f, self.book.application, 5000000)
        varnex3.set_user_interface(Impatient())
        self.addCleanup(varnex3.set_user_interface, None)
        with self.assertRaises(Error) as raised:
            mc.RunMC()
        self.assertEqual(raised.exception.number, 18)
        self.assertLess(mc.LastTrial, 5000000)

        varnex3.set_user_interface(None)
        self.book["v_out"].Formula = "=1/0"
        with self.assertRaises(Error) as raised:
            mc.RunMC()
        self.assertEqual((raised.exception.number, raised.exception.description), (513, "Error in cell value"))
        self.assertIn("c_MonteCarlo.RunMC", raised.exception.source)
        self.assertEqual(self.book["v_out"].Value, CellError(2007))

    def test_what_the_host_refuses(self):
        for use in (lambda: self.book["Nowhere!A1"], lambda: varnex3.open_workbook("missing.xlsx")):
            with self.assertRaises(Error) as raised:
                use()
            self.assertEqual(raised.exception.number, 1004)


class Scripted(unittest.TestCase):
    """A workbook object model written in Python."""

    def test_simulates_and_analyses(self):
        application = Application()
        a, b = Cell(application, 3.0), Cell(application, 4.0)
        y = Cell(application, lambda: a.Value * b.Value)
        mc = simulation(formulation([a, b], [y]), application, 2000)
        mc.useLHS = True
        self.assertIs(mc.RunMC(), True)
        self.assertEqual((a.Value, b.Value), (3.0, 4.0))
        self.assertAlmostEqual(mc.yStats(1, 1), 12.0, delta=0.1)
        self.assertGreaterEqual(application.calculations, 2000)
        d = varnex3.c_Derivatives()
        self.assertAlmostEqual(d.Deriv(1, a, y, "", ""), 4.0, places=9)
        self.assertIs(mc.Ys(1).Formula, y)

    def test_what_a_cell_raises_comes_out(self):
        application = Application()
        a = Cell(application, 3.0)

        def fail():
            raise ArithmeticError("no solution at this load")

        with self.assertRaisesRegex(ArithmeticError, "no solution"):
            varnex3.c_Derivatives().Deriv(1, a, Cell(application, fail), "", "")

    def test_nothing_is_kept_alive(self):
        application = Application()
        a = Cell(application, 1.0)
        f = formulation([a], [Cell(application, lambda: 2 * a.Value)])
        before = len(gc.get_objects())
        for _ in range(200):
            x = varnex3.c_Parameter()
            x.mean = a
            f.Xs[1].mean
        gc.collect()
        self.assertLess(len(gc.get_objects()) - before, 50)


class Arrays(unittest.TestCase):
    def test_correlations_as_lists_and_derivatives_as_arrays(self):
        application = Application()
        a, b = Cell(application, 1.0), Cell(application, 2.0)
        y = Cell(application, lambda: a.Value * b.Value)
        mc = simulation(formulation([a, b], [y]), application)
        mc.ClearCorrelations()
        mc.AddCorrelations([["x1"], ["x2"], ["0.5"]])
        self.assertEqual([mc.CorrelationList[1, k] for k in (1, 2, 3)], ["x1", "x2", "0.5"])
        first, second = ByRef(np.zeros(2)), ByRef([0, 0])
        varnex3.c_sa_Analysis().CalcDerivatives([a, b], y, first, second, "", "")
        np.testing.assert_allclose(first.value, [2.0, 1.0], rtol=1e-9)
        self.assertFalse(first.value.flags.writeable)
        self.assertTrue(math.isclose(second.value[0], 0.0, abs_tol=1e-6))


def _folder():
    import tempfile

    return tempfile.TemporaryDirectory()


if __name__ == "__main__":
    unittest.main()
