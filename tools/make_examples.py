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


EXAMPLES = {"welded_beam": welded_beam, "pressure_vessel": pressure_vessel, "speed_reducer": speed_reducer}


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
