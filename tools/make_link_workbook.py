#!/usr/bin/env python3
"""Makes tests/workbooks/links.xlsx: formulas that refer to other workbooks and to another program.

No program that runs without a window keeps values of other workbooks in a file, so the parts are written
here, in the form of ECMA-376 part 1, 18.14. Needs nothing but the standard library.
"""
import pathlib
import zipfile
from xml.sax.saxutils import escape

TARGET = pathlib.Path(__file__).resolve().parent.parent / "tests" / "workbooks" / "links.xlsx"
DECLARATION = '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
MAIN = 'xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"'
OFFICE = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
PACKAGE = "http://schemas.openxmlformats.org/package/2006"
SHEET_TYPES = "application/vnd.openxmlformats-officedocument.spreadsheetml"

# Prices, column A and B: item, price from row 2; the sheet Gone could not be read the last time.
CELLS = [
    ("A1", "", None, "3"),
    ("B1", "", "[1]Prices!B2*A1", "7.5"),
    ("C1", "", 'VLOOKUP("nut",[1]Prices!$A:$B,2,FALSE)*A1', "12"),
    ("D1", "", 'SUMIF([1]Prices!$A$2:$A$4,"nut",[1]Prices!$B$2:$B$4)', "4"),
    ("B2", ' t="shared" ref="B2:B4" si="0"', "[1]Prices!B2*2", "5"),
    ("C2", "", "SUM([1]!prices)", "13.5"),
    ("D2", "", "[1]Gone!A1+1", "99"),
    ("B3", ' t="shared" si="0"', "", "8"),
    ("C3", "", "ROW([1]Prices!B4)", "4"),
    ("D3", "", "[2]!'rate of day'*A1", "33"),
    ("B4", ' t="shared" si="0"', "", "14"),
    ("C4", "", "COUNTBLANK([1]Prices!A1:B5)", "2"),
]


def relationships(*items):
    lines = "".join(f'<Relationship Id="{i}" Type="{OFFICE}/{kind}" Target="{target}"{mode}/>'
                    for i, kind, target, mode in items)
    return f'<Relationships xmlns="{PACKAGE}/relationships">{lines}</Relationships>'


def rows():
    text, row = "", ""
    for name, attributes, formula, value in CELLS:
        if name[1:] != row:
            text += ("</row>" if row else "") + f'<row r="{name[1:]}">'
            row = name[1:]
        written = "" if formula is None else f"<f{attributes}>{escape(formula)}</f>"
        text += f'<c r="{name}">{written}<v>{value}</v></c>'
    return text + "</row>"


def main():
    prices = "".join(f'<row r="{r}"><cell r="A{r}" t="str"><v>{item}</v></cell>{price}</row>' for r, item, price in [
        (1, "item", '<cell r="B1" t="str"><v>price</v></cell>'), (2, "bolt", '<cell r="B2"><v>2.5</v></cell>'),
        (3, "nut", '<cell r="B3"><v>4</v></cell>'), (4, "pin", '<cell r="B4"><v>7</v></cell>')])
    overrides = "".join(f'<Override PartName="/xl/{part}" ContentType="{SHEET_TYPES}.{kind}+xml"/>' for part, kind in [
        ("workbook.xml", "sheet.main"), ("worksheets/sheet1.xml", "worksheet"),
        ("externalLinks/externalLink1.xml", "externalLink"), ("externalLinks/externalLink2.xml", "externalLink")])
    parts = {
        "[Content_Types].xml": f'<Types xmlns="{PACKAGE}/content-types"><Default Extension="rels" ContentType='
                               f'"application/vnd.openxmlformats-package.relationships+xml"/>{overrides}</Types>',
        "_rels/.rels": relationships(("rId1", "officeDocument", "xl/workbook.xml", "")),
        "xl/workbook.xml": f'<workbook {MAIN} xmlns:r="{OFFICE}"><sheets><sheet name="Main" sheetId="1" r:id="rId1"/>'
                           '</sheets><externalReferences><externalReference r:id="rId2"/>'
                           '<externalReference r:id="rId3"/></externalReferences></workbook>',
        "xl/_rels/workbook.xml.rels": relationships(
            ("rId1", "worksheet", "worksheets/sheet1.xml", ""),
            ("rId2", "externalLink", "externalLinks/externalLink1.xml", ""),
            ("rId3", "externalLink", "externalLinks/externalLink2.xml", "")),
        "xl/worksheets/sheet1.xml": f"<worksheet {MAIN}><sheetData>{rows()}</sheetData></worksheet>",
        "xl/externalLinks/externalLink1.xml":
            f'<externalLink {MAIN}><externalBook xmlns:r="{OFFICE}" r:id="rId1"><sheetNames><sheetName val="Gone"/>'
            '<sheetName val="Prices"/></sheetNames><definedNames><definedName name="Prices" '
            "refersTo=\"='Prices'!$B$2:$B$4\"/></definedNames><sheetDataSet><sheetData sheetId=\"0\" "
            'refreshError="1"><row r="1"><cell r="A1"><v>5</v></cell></row></sheetData>'
            f'<sheetData sheetId="1">{prices}</sheetData></sheetDataSet></externalBook></externalLink>',
        "xl/externalLinks/_rels/externalLink1.xml.rels":
            relationships(("rId1", "externalLinkPath", "prices.xlsx", ' TargetMode="External"')),
        "xl/externalLinks/externalLink2.xml":
            f'<externalLink {MAIN}><ddeLink ddeService="bank" ddeTopic="rates"><ddeItems>'
            '<ddeItem name="rate of day"/></ddeItems></ddeLink></externalLink>',
    }
    with zipfile.ZipFile(TARGET, "w", zipfile.ZIP_DEFLATED) as file:
        for name, text in parts.items():
            file.writestr(zipfile.ZipInfo(name, (1980, 1, 1, 0, 0, 0)), DECLARATION + text)


if __name__ == "__main__":
    main()
