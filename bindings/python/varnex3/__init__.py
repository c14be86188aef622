"""Design analysis on spreadsheets: optimization, Monte Carlo simulation, sensitivity, tolerance allocation.

    import varnex3

    book = varnex3.open_workbook("beam.xlsx")
    f = varnex3.c_Formulation()
    f.AddX("width")
    f.ItemX("width").mean = book["Sheet1!B2"]

Classes and members go by their own names. Indexes count from 1. An argument that a method assigns to is a
`ByRef`. Errors of the library are raised as `Error`.
"""

import sys

from . import _varnex3
from ._values import ByRef, CellError, Error
from ._varnex3 import Object

for _row in _varnex3.table():
    if _row["creatable"]:
        globals()[_row["name"]] = getattr(_varnex3, _row["name"])
del _row


class UserInterface:
    """Who answers the library. Derive from it, and install the object with `set_user_interface`."""

    def message(self, text, title, question):
        """A message box; for a question the result says yes or no. Prints it, and answers yes."""
        print(f"{title}: {text}" if title else text, file=sys.stderr)
        return True

    def progress(self, text, fraction):
        """Called some twenty times a second during long work; `fraction` may be None. False cancels."""

    def error(self, report):
        """An entry point has failed; it will answer False. Raises it as `Error` from that call instead."""
        raise Error.from_report(report)


def set_user_interface(interface):
    """Installs who answers the library from now on; None for a plain `UserInterface`."""
    _varnex3.set_user_interface(UserInterface() if interface is None else interface)


def set_seed(seed):
    """The seed of runs for which none is given, 1 to 2147483647; by default one is made up from the clock."""
    if not 1 <= seed <= 2147483647:
        raise ValueError("a seed lies between 1 and 2147483647")
    _varnex3.set_seed(seed)


class Book:
    """A workbook in the embedded host; `application` and `workbook` are its host objects."""

    def __init__(self, path):
        self.application = _varnex3.application()
        self.workbook = _varnex3.open(self.application, str(path))

    @property
    def name(self):
        return self.workbook.Name

    def __getitem__(self, reference):
        """The cells of "Sheet1!B3", "B3" on the active sheet, or a defined name."""
        return _varnex3.range(self.application, reference)

    def calculate(self):
        self.application.Calculate()

    def macro(self, name, function=None):
        """Makes a function the macro of that name; also a decorator: @book.macro("Report")."""
        if function is None:
            return lambda decorated: self.macro(name, decorated) or decorated
        _varnex3.register_macro(self.application, name, function)
        return None

    def save(self, path):
        """Writes the workbook as .xlsx; what was not touched stays as it is in the file."""
        _varnex3.save(self.application, self.workbook, str(path))


def open_workbook(path):
    """Opens a workbook file in an embedded host of its own."""
    return Book(path)


set_user_interface(None)
