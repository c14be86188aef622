"""Values of the library that Python has no type of its own for."""

_ERROR_TEXTS = {
    2000: "#NULL!",
    2007: "#DIV/0!",
    2015: "#VALUE!",
    2023: "#REF!",
    2029: "#NAME?",
    2036: "#NUM!",
    2042: "#N/A",
}


class Error(Exception):
    """An error of the library: `number`, `source` with its trail lines, `description`."""

    def __init__(self, number, source="", description=""):
        super().__init__(number, source, description)
        self.number = number
        self.source = source
        self.description = description

    def __str__(self):
        return f"{self.description} (error {self.number})"

    @classmethod
    def from_report(cls, report):
        """The error that an error report is about: "Error <number>:  <description>", then the source."""
        first, _, source = report.partition("\n")
        head, _, description = first.partition(":")
        number = head.removeprefix("Error").strip()
        return cls(int(number) if number.lstrip("-").isdigit() else 0, source.strip(), description.strip())


class CellError:
    """An error value of a cell, such as #DIV/0!; `code` is the host's number for it."""

    __slots__ = ("code",)

    def __init__(self, code):
        self.code = int(code)

    def __str__(self):
        return _ERROR_TEXTS.get(self.code, f"#ERROR {self.code}")

    def __repr__(self):
        return f"CellError({self.code})"

    def __eq__(self, other):
        return isinstance(other, CellError) and other.code == self.code

    def __hash__(self):
        return hash(self.code)


class ByRef:
    """A box for an argument that a method assigns to; `value` is what it holds."""

    __slots__ = ("value",)

    def __init__(self, value=None):
        self.value = value

    def __repr__(self):
        return f"ByRef({self.value!r})"
