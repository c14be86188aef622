#!/usr/bin/env python3
"""Makes tests/workbooks/*.xlsx: workbooks as a desktop spreadsheet program saves them.

Writes flat document spreadsheets and lets soffice, which must be on the PATH, recalculate and convert
them. Run from anywhere; the files go beside the tests. Needs nothing but the standard library.
"""
import pathlib
import subprocess
import tempfile
from xml.sax.saxutils import quoteattr, escape

TARGET = pathlib.Path(__file__).resolve().parent.parent / "tests" / "workbooks"

HEAD = """<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0" xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0"
 xmlns:style="urn:oasis:names:tc:opendocument:xmlns:style:1.0" xmlns:number="urn:oasis:names:tc:opendocument:xmlns:datastyle:1.0"
 xmlns:of="urn:oasis:names:tc:opendocument:xmlns:of:1.2" office:version="1.2"
 office:mimetype="application/vnd.oasis.opendocument.spreadsheet">
<office:automatic-styles>
<number:date-style style:name="N1"><number:year number:style="long"/><number:text>-</number:text>
<number:month number:style="long"/><number:text>-</number:text><number:day number:style="long"/></number:date-style>
<style:style style:name="date" style:family="table-cell" style:data-style-name="N1"/>
</office:automatic-styles>
<office:body><office:spreadsheet>
"""
TAIL = "</office:spreadsheet></office:body></office:document>\n"


def cell(value, area=None):
    """A number, Boolean, date ("d:2024-01-31"), formula ("=...", over `area` rows x columns) or text."""
    if value is None:
        return "<table:table-cell/>"
    if isinstance(value, bool):
        return f'<table:table-cell office:value-type="boolean" office:boolean-value="{str(value).lower()}"/>'
    if isinstance(value, (int, float)):
        return f'<table:table-cell office:value-type="float" office:value="{value!r}"/>'
    if value.startswith("d:"):
        return ('<table:table-cell table:style-name="date" office:value-type="date" '
                f'office:date-value="{value[2:]}"/>')
    if value.startswith("="):
        span = "" if area is None else (f' table:number-matrix-rows-spanned="{area[0]}"'
                                        f' table:number-matrix-columns-spanned="{area[1]}"')
        return f"<table:table-cell{span} table:formula={quoteattr('of:' + value)}/>"
    return f'<table:table-cell office:value-type="string"><text:p>{escape(value)}</text:p></table:table-cell>'


def sheet(name, rows):
    lines = [f"<table:table table:name={quoteattr(name)}>"]
    for row in rows:
        cells = "".join(c if isinstance(c, str) and c.startswith("<") else cell(c) for c in row)
        lines.append(f"<table:table-row>{cells}</table:table-row>")
    return "\n".join(lines) + "\n</table:table>\n"


def names(items):
    ranges = "".join(f"<table:named-range table:name={quoteattr(n)} table:base-cell-address={quoteattr(a)}"
                     f" table:cell-range-address={quoteattr(a)}/>" for n, a in items)
    return f"<table:named-expressions>{ranges}</table:named-expressions>\n"


def save(name, body):
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / (name + ".fods")
        source.write_text(HEAD + body + TAIL, encoding="utf-8")
        subprocess.run(["soffice", f"-env:UserInstallation=file://{folder}/profile", "--headless", "--convert-to",
                        "xlsx", "--outdir", str(TARGET), str(source)], check=True)


def main():
    TARGET.mkdir(exist_ok=True)
    # A beam: inputs, formulas over two sheets, names, a date, errors, an array.
    save("beam", sheet("Inputs", [
        ["width", 0.05, "m"], ["height", 0.1, "m"], ["length", 2.0, "m"], ["load", 1500.0, "N"],
        ["made on", "d:2024-02-29", None], ["checked", True, "f\u00fcr \u03c3 < 1 & \"q\""],
    ]) + sheet("Results & more", [
        ["inertia", "=[$Inputs.B1]*[$Inputs.B2]^3/12"],
        ["deflection", "=load*[$Inputs.B3]^3/(3*210E9*[.B1])"],
        ["text", "=\"I = \"&TEXT([.B1];\"0.00E+00\")"],
        ["broken", "=1/0"],
        ["ok", "=[.B2]<0.01"],
        ["array", cell("=[$Inputs.B1:.B2]*2", (2, 1))],
    ]) + names([("load", "$Inputs.$B$4")]))
    # The same formula down a column.
    save("filled", sheet("Column", [[float(i), f"=SQRT([.A{i}])+[.$A$1]"] for i in range(1, 61)]))


if __name__ == "__main__":
    main()
