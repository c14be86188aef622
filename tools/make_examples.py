#!/usr/bin/python3
"""Makes the workbooks under examples/.

Each one is written with openpyxl and then opened, recalculated and saved once by LibreOffice, so that
the files are what a spreadsheet program writes. Needs python3-openpyxl and libreoffice-calc-nogui.

    tools/make_examples.py [NAME]...
"""
import pathlib
import subprocess
import sys
import tempfile

from openpyxl import Workbook
from openpyxl.styles import Alignment, Font, PatternFill
from openpyxl.workbook.defined_name import DefinedName

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEAD = Font(bold=True)
INPUT = PatternFill("solid", fgColor="FFF2CC")


class Page:
    """A sheet of labelled rows: name, value or formula, unit, remark."""

    def __init__(self, book, title, heading):
        self.book, self.sheet = book, book.create_sheet(title)
        self.sheet["A1"] = heading
        self.sheet["A1"].font = Font(bold=True, size=14)
        self.sheet.append([])
        self.sheet.append(["Quantity", "Value", "Unit", "Remark"])
        for cell in self.sheet[3]:
            cell.font = HEAD
        for column, width in zip("ABCD", (34, 16, 10, 60)):
            self.sheet.column_dimensions[column].width = width

    def section(self, title):
        self.sheet.append([])
        self.sheet.append([title])
        self.sheet.cell(self.sheet.max_row, 1).font = HEAD

    def row(self, label, value, unit="", remark="", name=None, is_input=False):
        self.sheet.append([label, value, unit, remark])
        row = self.sheet.max_row
        self.sheet.cell(row, 4).alignment = Alignment(wrap_text=True)
        if is_input:
            self.sheet.cell(row, 2).fill = INPUT
        if name:
            reference = f"'{self.sheet.title}'!$B${row}"
            definition = DefinedName(name, attr_text=reference)
            names = self.book.defined_names
            names.append(definition) if hasattr(names, "append") else names.__setitem__(name, definition)


def new_book():
    book = Workbook()
    book.remove(book.active)
    return book


def welded_beam():
    """Rao, Engineering Optimization; the form with seven constraints."""
    book = new_book()
    p = Page(book, "Beam", "Welded beam, least cost")
    p.section("Design")
    p.row("Weld thickness", 0.4, "in", "cannot exceed the bar thickness", "weld_h", True)
    p.row("Weld length", 6.0, "in", "", "weld_l", True)
    p.row("Bar height", 8.0, "in", "", "bar_t", True)
    p.row("Bar thickness", 0.5, "in", "", "bar_b", True)
    p.section("Given")
    p.row("Load", 6000, "lb", "at the free end", "load")
    p.row("Overhang", 14, "in", "", "overhang")
    p.row("Young's modulus", 30e6, "psi", "", "young")
    p.row("Shear modulus", 12e6, "psi", "", "shear_modulus")
    p.row("Allowed shear stress", 13600, "psi", "", "tau_max")
    p.row("Allowed bending stress", 30000, "psi", "", "sigma_max")
    p.row("Allowed deflection", 0.25, "in", "", "delta_max")
    p.section("Weld")
    p.row("Moment", "=load*(overhang+weld_l/2)", "lb in", "about the weld's centre", "moment")
    p.row("Radius", "=SQRT(weld_l^2/4+((weld_h+bar_t)/2)^2)", "in", "", "radius")
    p.row("Polar moment of inertia", "=2*SQRT(2)*weld_h*weld_l*(weld_l^2/12+((weld_h+bar_t)/2)^2)", "in4", "",
          "inertia")
    p.row("Primary shear stress", "=load/(SQRT(2)*weld_h*weld_l)", "psi", "", "tau_primary")
    p.row("Secondary shear stress", "=moment*radius/inertia", "psi", "torsion", "tau_secondary")
    p.row("Shear stress", "=SQRT(tau_primary^2+2*tau_primary*tau_secondary*weld_l/(2*radius)+tau_secondary^2)",
          "psi", "", "tau")
    p.section("Bar")
    p.row("Bending stress", "=6*load*overhang/(bar_b*bar_t^2)", "psi", "", "sigma")
    p.row("Deflection", "=4*load*overhang^3/(young*bar_t^3*bar_b)", "in", "", "delta")
    p.row("Buckling load", "=4.013*young*SQRT(bar_t^2*bar_b^6/36)/overhang^2"
          "*(1-bar_t/(2*overhang)*SQRT(young/(4*shear_modulus)))", "lb", "", "buckling")
    p.row("Weld over bar thickness", "=weld_h-bar_b", "in", "not positive", "weld_over_bar")
    p.row("Bar and fillet cost", "=0.10471*weld_h^2+0.04811*bar_t*bar_b*(14+weld_l)", "$", "at most 5", "side_cost")
    p.section("Result")
    p.row("Cost", "=1.10471*weld_h^2*weld_l+0.04811*bar_t*bar_b*(14+weld_l)", "$", "weld material and bar", "cost")
    return book


def pressure_vessel():
    """Sandgren 1990; plates come in sixteenths of an inch."""
    book = new_book()
    p = Page(book, "Vessel", "Pressure vessel with rolled plates, least cost")
    p.section("Design")
    p.row("Shell thickness", 1.125, "in", "from the list of plates", "shell_t", True)
    p.row("Head thickness", 0.625, "in", "from the list of plates", "head_t", True)
    p.row("Inner radius", 58.29, "in", "", "radius", True)
    p.row("Length of the cylinder", 43.69, "in", "without the heads", "cylinder", True)
    p.section("Checks")
    p.row("Least shell thickness", "=0.0193*radius", "in", "hoop stress", "shell_t_min")
    p.row("Shell margin", "=shell_t-shell_t_min", "in", "not negative", "shell_margin")
    p.row("Least head thickness", "=0.00954*radius", "in", "", "head_t_min")
    p.row("Head margin", "=head_t-head_t_min", "in", "not negative", "head_margin")
    p.row("Volume", "=PI()*radius^2*cylinder+4/3*PI()*radius^3", "in3", "at least 1,296,000", "volume")
    p.section("Cost")
    p.row("Material and forming, shell", "=0.6224*shell_t*radius*cylinder", "$", "", "c_shell")
    p.row("Material and forming, heads", "=1.7781*head_t*radius^2", "$", "", "c_heads")
    p.row("Welding", "=3.1661*shell_t^2*cylinder+19.84*shell_t^2*radius", "$", "", "c_weld")
    p.row("Cost", "=SUM(c_shell,c_heads,c_weld)", "$", "", "cost")
    plates = book.create_sheet("Plates")
    plates.append(["Plate", "Thickness in"])
    for i in range(1, 33):
        plates.append([i, f"=A{i + 1}/16"])
    p.section("Plate numbers")
    p.row("Shell plate", "=MATCH(shell_t,Plates!$B$2:$B$33,0)", "", "position in the list")
    p.row("Head plate", "=MATCH(head_t,Plates!$B$2:$B$33,0)", "", "position in the list")
    return book


def speed_reducer():
    """Golinski 1970: gear pair and two shafts, least weight."""
    book = new_book()
    p = Page(book, "Reducer", "Speed reducer, least weight")
    p.section("Design")
    p.row("Face width", 3.2, "cm", "", "x_1", True)
    p.row("Module of the teeth", 0.75, "cm", "", "x_2", True)
    p.row("Teeth of the pinion", 20, "", "a whole number", "x_3", True)
    p.row("Length of shaft 1 between bearings", 7.8, "cm", "", "x_4", True)
    p.row("Length of shaft 2 between bearings", 7.9, "cm", "", "x_5", True)
    p.row("Diameter of shaft 1", 3.4, "cm", "", "x_6", True)
    p.row("Diameter of shaft 2", 5.3, "cm", "", "x_7", True)
    p.section("Gears")
    p.row("Bending stress of the teeth", "=27/(x_1*x_2^2*x_3)", "", "at most 1", "bending")
    p.row("Contact stress of the teeth", "=397.5/(x_1*x_2^2*x_3^2)", "", "at most 1", "contact")
    p.row("Space", "=x_2*x_3/40", "", "at most 1", "space")
    p.row("Slenderness, least", "=5*x_2/x_1", "", "at most 1", "slender_1")
    p.row("Slenderness, greatest", "=x_1/(12*x_2)", "", "at most 1", "slender_2")
    p.section("Shafts")
    p.row("Deflection of shaft 1", "=1.93*x_4^3/(x_2*x_3*x_6^4)", "", "at most 1", "deflect_1")
    p.row("Deflection of shaft 2", "=1.93*x_5^3/(x_2*x_3*x_7^4)", "", "at most 1", "deflect_2")
    p.row("Stress of shaft 1", "=SQRT((745*x_4/(x_2*x_3))^2+16.9*10^6)/(110*x_6^3)", "", "at most 1", "stress_1")
    p.row("Stress of shaft 2", "=SQRT((745*x_5/(x_2*x_3))^2+157.5*10^6)/(85*x_7^3)", "", "at most 1", "stress_2")
    p.row("Proportion of shaft 1", "=(1.5*x_6+1.9)/x_4", "", "at most 1", "shape_1")
    p.row("Proportion of shaft 2", "=(1.1*x_7+1.9)/x_5", "", "at most 1", "shape_2")
    p.section("Result")
    p.row("Greatest use of a limit", "=MAX(bending,contact,space,slender_1,slender_2,deflect_1,deflect_2,stress_1,"
          "stress_2,shape_1,shape_2)", "", "at most 1", "worst")
    p.row("Weight", "=0.7854*x_1*x_2^2*(3.3333*x_3^2+14.9334*x_3-43.0934)-1.508*x_1*(x_6^2+x_7^2)"
          "+7.4777*(x_6^3+x_7^3)+0.7854*(x_4*x_6^2+x_5*x_7^2)", "", "", "weight")
    return book


def stackup():
    """A gap at the end of a chain of parts."""
    book = new_book()
    p = Page(book, "Stack", "Gap beside a shaft assembly in its housing")
    p.section("Parts as made")
    p.row("Depth of the housing", 80.00, "mm", "+- 0.12", "housing", True)
    p.row("Left bearing", 17.00, "mm", "bought, 0 / -0.12", "bearing_left", True)
    p.row("Right bearing", 17.00, "mm", "bought, 0 / -0.12", "bearing_right", True)
    p.row("Left spacer", 12.40, "mm", "+- 0.06, same bar and set-up as the right one", "spacer_left", True)
    p.row("Right spacer", 12.40, "mm", "+- 0.06", "spacer_right", True)
    p.row("Gear hub", 21.00, "mm", "+- 0.08", "hub", True)
    p.section("Result")
    p.row("Gap", "=housing-bearing_left-bearing_right-spacer_left-spacer_right-hub", "mm", "0.05 to 0.55", "gap")
    p.section("Worst case, from the tolerances alone")
    p.row("Least gap", "=80-0.12-17-17-2*12.46-21.08", "mm", "every part at its unlucky end", "gap_least")
    p.row("Greatest gap", "=80+0.12-2*16.88-2*12.34-20.92", "mm", "every part at its other end", "gap_greatest")
    return book


def voltage_divider():
    """Reference voltage from a supply by two resistors; temperature moves both."""
    book = new_book()
    p = Page(book, "Divider", "Voltage divider, worst case against statistics")
    p.section("Varying")
    p.row("Supply", 12.0, "V", "regulator, +- 2 %", "supply", True)
    p.row("Upper resistor", 6800, "ohm", "at 25 C, 1 %", "r_upper", True)
    p.row("Lower resistor", 3300, "ohm", "at 25 C, 1 %", "r_lower", True)
    p.row("Temperature coefficient, upper", 0, "ppm/K", "+- 100", "tc_upper", True)
    p.row("Temperature coefficient, lower", 0, "ppm/K", "+- 100", "tc_lower", True)
    p.row("Temperature", 25, "C", "-20 to 70", "temperature", True)
    p.row("Load current", 0.00002, "A", "0 to 40 uA", "i_load", True)
    p.section("Circuit")
    p.row("Upper resistor, warm", "=r_upper*(1+tc_upper*1E-6*(temperature-25))", "ohm", "", "r_1")
    p.row("Lower resistor, warm", "=r_lower*(1+tc_lower*1E-6*(temperature-25))", "ohm", "", "r_2")
    p.row("Output", "=(supply/r_1-i_load)/(1/r_1+1/r_2)", "V", "3.78 to 4.02", "v_out")
    p.row("Power of the upper resistor", "=(supply-v_out)^2/r_1", "W", "", "power")
    p.section("Worst case")
    p.row("Spread by temperature, least", "=1-100E-6*45", "", "45 K from 25 C", "k_least")
    p.row("Spread by temperature, greatest", "=1+100E-6*45", "", "", "k_greatest")
    p.row("Least output", "=(11.76/(6868*k_greatest)-0.00004)/(1/(6868*k_greatest)+1/(3267*k_least))", "V",
          "everything at its unlucky end", "v_least")
    p.row("Greatest output", "=(12.24/(6732*k_least))/(1/(6732*k_least)+1/(3333*k_greatest))", "V", "", "v_greatest")
    return book


def robust_spring():
    """A helical compression spring whose rate must hold in production."""
    book = new_book()
    p = Page(book, "Spring", "Helical spring: light, and its rate within limits in production")
    p.section("Design")
    p.row("Wire diameter", 3.0, "mm", "made to +- 0.02 (1 sigma 0.01)", "wire", True)
    p.row("Mean coil diameter", 26.0, "mm", "1 sigma 0.1", "coil", True)
    p.row("Active coils", 8.0, "", "1 sigma 0.05", "turns", True)
    p.section("Given")
    p.row("Shear modulus", 79300, "N/mm2", "varies with the batch, 1 sigma 800", "shear_modulus", True)
    p.row("Load", 120, "N", "", "load")
    p.row("Allowed shear stress", 560, "N/mm2", "", "stress_allowed")
    p.section("Result")
    p.row("Spring index", "=coil/wire", "", "5 to 12", "index")
    p.row("Rate", "=shear_modulus*wire^4/(8*coil^3*turns)", "N/mm", "5.4 to 6.6", "rate")
    p.row("Stress factor", "=(4*index-1)/(4*index-4)+0.615/index", "", "Wahl", "wahl")
    p.row("Shear stress", "=wahl*8*load*coil/(PI()*wire^3)", "N/mm2", "", "stress")
    p.row("Mass of the wire", "=7.85E-3*PI()^2/4*wire^2*coil*(turns+2)", "g", "", "mass")
    return book


def bearing_clearance():
    """Chase, in Drake (ed.), Dimensioning and Tolerancing Handbook (1999); after Fortini."""
    book = new_book()
    p = Page(book, "Stack", "Shaft in two bearings: end clearance")
    p.section("Dimensions")
    p.row("A: retaining ring", 0.0505, "in", "bought, +-0.0015", "ring", True)
    p.row("B: shaft between the grooves", 8.000, "in", "+-0.008", "shaft", True)
    p.row("C: bearing, left", 0.5093, "in", "bought, +-0.0025", "bearing_l", True)
    p.row("D: sleeve, left", 0.400, "in", "+-0.002", "sleeve_l", True)
    p.row("E: housing", 7.711, "in", "+-0.006", "housing", True)
    p.row("F: sleeve, right", 0.400, "in", "+-0.002", "sleeve_r", True)
    p.row("G: bearing, right", 0.5093, "in", "bought, +-0.0025", "bearing_r", True)
    p.section("Result")
    p.row("End clearance", "=-ring+shaft-bearing_l+sleeve_l-housing+sleeve_r-bearing_r", "in", "0.020 +-0.015",
          "clearance")
    return book


def one_way_clutch():
    """Glancy and Chase, A second-order method for assembly tolerance analysis, ASME DETC99/DAC-8707 (1999)."""
    book = new_book()
    p = Page(book, "Clutch", "One-way clutch: contact angle of the rollers")
    p.section("Dimensions")
    p.row("Hub height", 27.645, "mm", "+-0.05", "hub", True)
    p.row("Roller radius", 11.43, "mm", "+-0.01", "roller", True)
    p.row("Ring radius", 50.8, "mm", "+-0.0125", "ring", True)
    p.section("Result")
    p.row("Contact angle", "=DEGREES(ACOS((hub+roller)/(ring-roller)))", "deg", "", "angle")
    p.row("Distance of the angle from 7 degrees, squared", "=(angle-7)^2", "deg2", "its mean is all shift", "miss")
    return book


def piston_clearance():
    """W. Navidi, Statistics for Engineers and Scientists, 4th edition, section 4.5, exercise 13."""
    book = new_book()
    p = Page(book, "Fit", "Piston in a hole: clearance on each side")
    p.section("Diameters")
    p.row("Hole", 15.00, "cm", "standard deviation 0.025", "hole", True)
    p.row("Piston", 14.88, "cm", "standard deviation 0.015", "piston", True)
    p.section("Result")
    p.row("Clearance", "=(hole-piston)/2", "cm", "0.05 to 0.09", "clearance")
    return book


EXAMPLES = {"welded_beam": welded_beam, "pressure_vessel": pressure_vessel, "speed_reducer": speed_reducer,
            "stackup": stackup, "voltage_divider": voltage_divider, "robust_spring": robust_spring,
            "bearing_clearance": bearing_clearance, "one_way_clutch": one_way_clutch,
            "piston_clearance": piston_clearance}


def main(names):
    for name in names or EXAMPLES:
        folder = ROOT / "examples" / name
        folder.mkdir(parents=True, exist_ok=True)
        with tempfile.TemporaryDirectory() as scratch:
            raw = pathlib.Path(scratch) / f"{name}.xlsx"
            EXAMPLES[name]().save(raw)
            subprocess.run(["soffice", "--headless", "--convert-to", "xlsx:Calc MS Excel 2007 XML",
                            "--outdir", str(folder), str(raw)], check=True, stdout=subprocess.DEVNULL)
        print(folder / f"{name}.xlsx")


if __name__ == "__main__":
    main(sys.argv[1:])
