// tests/unit/xlsx/ReaderTest.cpp - what arrives of a sound file: values, formulas, names, settings, notices.
#include <gmock/gmock.h>

#include <span>

#include "unit/xlsx/Packages.h"

namespace varnex3::sheet::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;

const std::string kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
const std::string kTypes = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";

std::string relationships(const Parts& idAndTypeAndTarget)
{
    std::string text =
        R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)";
    int id = 0;
    for (const auto& [type, target] : idAndTypeAndTarget)
        text += "<Relationship Id=\"rId" + std::to_string(++id) + "\" Type=\"" + kTypes + type +
                "\" Target=\"" + target + "\"/>";
    return text + "</Relationships>";
}

std::string workbook(const std::string& inside)
{
    return "<workbook xmlns=\"" + kMain + "\" xmlns:r=\"" + kTypes.substr(0, kTypes.size() - 1) + "\">" +
           inside + "</workbook>";
}

Recorder ofRows(const std::string& rows, const Parts& more = {})
{
    return recorded(zipped(workbookParts(rows, more)));
}

TEST(Reader, TellsValuesByTheirType)
{
    struct Case {
        const char* cell;
        std::vector<std::string> want;
    };
    const Case cases[] = {
        {R"(<c r="A1"><v>2.5</v></c>)", {"A1 = 2.5"}},
        {R"(<c r="A1" t="n"><v> -1E-3 </v></c>)", {"A1 = -0.001"}},
        {R"(<c r="A1"><v>1E-400</v></c>)", {"A1 = 0"}},
        {R"(<c r="A1" t="b"><v>1</v></c>)", {"A1 = TRUE"}},
        {R"(<c r="A1" t="b"><v>false</v></c>)", {"A1 = FALSE"}},
        {R"(<c r="A1" t="e"><v>#DIV/0!</v></c>)", {"A1 = #DIV/0!"}},
        {R"(<c r="A1" t="s"><v>1</v></c>)", {"A1 = 'rich text'"}},
        {R"(<c r="A1" t="s"><v>2</v></c>)", {"A1 = ' kept '"}},
        {R"(<c r="A1" t="s"><v>3</v></c>)", {"A1 = '_x41_ \r\n \xF0\x9F\x98\x80 _x000D_'"}},
        {R"(<c r="A1" t="inlineStr"><is><t>in</t><rPh><t>no</t></rPh></is></c>)", {"A1 = 'in'"}},
        {R"(<c r="A1" t="str"><v>a &lt; b <![CDATA[& c]]></v></c>)", {"A1 = 'a < b & c'"}},
        {R"(<c r="A1" t="d"><v>2024-01-31T12:00:00Z</v></c>)", {"A1 = 45322.5", "A1 is a date"}},
        {R"(<c r="A1" t="d"><v>T06:00</v></c>)", {"A1 = 0.25", "A1 is a date"}},
        {R"(<c r="A1" s="1"><v>45322</v></c>)", {"A1 = 45322", "A1 is a date"}},
        {R"(<c r="A1" s="2"><v>45322</v></c>)", {"A1 = 45322", "A1 is a date"}},
        {R"(<c r="A1" s="3"><v>45322</v></c>)", {"A1 = 45322"}}, // a text format, not a date
        {R"(<c r="A1" s="1"/>)", {}},
    };
    const Parts beside = {
        {"xl/sharedStrings.xml",
         "<sst xmlns=\"" + kMain +
             R"("><si><t>zero</t></si><si><r><rPr><b/></rPr><t xml:space="preserve">rich </t></r><r><t>text</t></r>)"
             R"(<rPh sb="0" eb="1"><t>guide</t></rPh><phoneticPr fontId="1"/></si><si><t xml:space="preserve"> kept </t></si>)"
             R"(<si><t>_x41_ _x000D__x000A_ _xD83D__xDE00_ _x005F_x000D_</t></si></sst>)"},
        {"xl/styles.xml",
         "<styleSheet xmlns=\"" + kMain +
             R"("><numFmts><numFmt numFmtId="164" formatCode="yyyy\-mm\-dd"/></numFmts>)"
             R"(<cellStyleXfs><xf numFmtId="14"/><xf numFmtId="14"/></cellStyleXfs><cellXfs>)"
             R"(<xf numFmtId="0"/><xf numFmtId="22"/><xf numFmtId="164"/><xf numFmtId="49"/>)"
             R"(</cellXfs></styleSheet>)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.cell);
        const Recorder told = ofRows("<row r=\"1\">" + std::string(c.cell) + "</row>", beside);
        EXPECT_EQ(told.cells, c.want);
        EXPECT_THAT(told.notices, IsEmpty());
    }
}

TEST(Reader, ReadsWhatFitsNoTypeAsTextAndSaysSo)
{
    const Recorder told =
        ofRows(R"(<row><c><v>1,5</v></c><c t="b"><v>yes</v></c><c t="d"><v>2023-02-30</v></c>)"
               R"(<c t="x"><v>?</v></c><c t="e"><v>#BLOCKED!</v></c><c><v>nan</v></c></row>)");
    EXPECT_THAT(told.cells, ElementsAre("A1 = '1,5'", "B1 = 'yes'", "C1 = '2023-02-30'", "D1 = '?'",
                                        "E1 = #VALUE!", "F1 = 'nan'"));
    EXPECT_EQ(told.notices.size(), 6U);
    EXPECT_THAT(told.notices[0], HasSubstr("sheet \"Data\", cell A1: the value \"1,5\""));
}

// What changes values and is not evaluated is named.
TEST(Reader, TellsWhatItDoesNotEvaluate)
{
    const Recorder told = recorded(zipped(workbookParts(
        "", {{"xl/worksheets/sheet1.xml",
              "<worksheet xmlns=\"" + kMain +
                  R"("><sheetPr transitionEvaluation="1"/><sheetData><row><c><f t="odd">1</f></c>)"
                  R"(<c t="e" vm="1"><v>#VALUE!</v></c></row></sheetData></worksheet>)"},
             {"xl/workbook.xml",
              workbook(R"(<workbookPr dateCompatibility="0"/><sheets><sheet name="Data" r:id="rId1"/>)"
                       R"(</sheets><calcPr fullPrecision="0"/>)")}})));
    EXPECT_THAT(told.cells, ElementsAre("A1 : 1 -> nothing", "B1 = #VALUE!"));
    EXPECT_THAT(told.notices, ElementsAre(HasSubstr("rounded as shown"), HasSubstr("dates by the calendar"),
                                          HasSubstr("texts counted as 0"),
                                          HasSubstr("cell A1: the formula is of an unknown type"),
                                          HasSubstr("cell B1: the cell holds a picture")));
}

TEST(Reader, PlacesCellsWithoutReferencesByOrder)
{
    EXPECT_THAT(
        ofRows(R"(<row><c><v>1</v></c><c r="D1"><v>2</v></c><c><v>3</v></c></row>)"
               R"(<row><c><v>4</v></c></row><row r="7"><c><v>5</v></c></row><row><c><v>6</v></c></row>)")
            .cells,
        ElementsAre("A1 = 1", "D1 = 2", "E1 = 3", "A2 = 4", "A7 = 5", "A8 = 6"));
}

TEST(Reader, TellsFormulasOfEveryKind)
{
    const Recorder told = ofRows(
        R"(<row r="1"><c r="A1"><f> 1 + <![CDATA[2]]> </f><v>3</v></c><c r="B1" t="str"><f>"a"&amp;"_x000D_"</f><v></v></c>)"
        R"(<c r="C1"><f>[1]Prices!A1</f></c><c r="D1"><f></f><v>4</v></c></row>)"
        R"(<row r="2"><c r="A2"><f t="shared" ref="A2:A4" si="0">B2*2</f><v>1</v></c>)"
        R"(<c r="B2"><f t="shared" si="5"/><v>9</v></c></row>)"
        R"(<row r="3"><c r="A3"><f t="shared" si="0"/><v>2</v></c></row>)"
        R"(<row r="4"><c r="A4"><f t="shared" si="0">B4*3</f><v>2</v></c></row>)"
        R"(<row r="5"><c r="A5"><f t="array" ref="A5:B6">C1:D2</f><v>1</v></c><c r="B5"><v>2</v></c><c r="C5"><v>7</v></c></row>)"
        R"(<row r="6"><c r="A6"><v>3</v></c><c r="B6"><v>4</v></c></row><row r="7"><c r="A7"><v>5</v></c>)"
        R"(<c r="D7" cm="1"><f t="array" ref="D7:D8">_xlfn.UNIQUE(A1:A3)</f><v>1</v></c></row>)"
        R"(<row r="8"><c r="D8"><v>6</v></c><c r="E8"><f t="dataTable" ref="E8:E9" r1="A1" del1="1"/><v>8</v></c></row>)");
    EXPECT_THAT(told.cells,
                ElementsAre("A1 : 1 + 2 -> 3", "B1 : \"a\"&\"\r\" -> ''", "C1 : [1]Prices!A1 -> nothing",
                            "D1 = 4", "A2 master 0 : B2*2 -> 1", "B2 = 9", "A3 follows 0 -> 2",
                            "A4 : B4*3 -> 2", "A5:B6 array : C1:D2 -> 1", "B5 result 2", "C5 = 7",
                            "A6 result 3", "B6 result 4", "A7 = 5", "D7:D8 spills : _xlfn.UNIQUE(A1:A3) -> 1",
                            "D8 result 6", "E8 = 8"));
    EXPECT_THAT(told.notices, ElementsAre(HasSubstr("cell B2: the shared formula 5 has no text"),
                                          HasSubstr("cell E8: a data table without its input cells")));
}

TEST(Reader, KeepsTabOrderNamesAndSettings)
{
    const std::string sheet =
        "<worksheet xmlns=\"" + kMain + "\"><sheetData><row><c><v>1</v></c></row></sheetData></worksheet>";
    const Recorder told = recorded(zipped(workbookParts(
        "",
        {{"xl/workbook.xml",
          workbook(
              R"(<workbookPr date1904="true"/><sheets><sheet name="One" r:id="rId1"/><sheet name="Plot" )"
              R"(r:id="rId2"/><sheet name="T&amp;wo" r:id="rId3" state="hidden"/></sheets><externalReferences>)"
              R"(<externalReference r:id="rId4"/></externalReferences><definedNames>)"
              R"(<definedName name="rate">One!$A$1</definedName><definedName name="rate" localSheetId="2">2</definedName>)"
              R"(<definedName name="RATE">3</definedName><definedName name="p" localSheetId="1">1</definedName>)"
              R"(<definedName name="_xlnm.Print_Area" localSheetId="0">One!$A$1</definedName>)"
              R"(<definedName name="quiet" hidden="1">4</definedName><definedName name="m" function="1">m</definedName>)"
              R"(<definedName name="lost" localSheetId="9">1</definedName></definedNames>)"
              R"(<calcPr calcMode="manual" iterate="1" iterateCount="7" iterateDelta="0.5"/>)")},
         {"xl/_rels/workbook.xml.rels", relationships({{"worksheet", "/xl/worksheets/sheet1.xml"},
                                                       {"chartsheet", "chartsheets/sheet1.xml"},
                                                       {"worksheet", "..\\xl\\my%20sheets/./Sheet2.XML"},
                                                       {"externalLink", "externalLinks/externalLink1.xml"},
                                                       {"vbaProject", "vbaProject.bin"}})},
         {"xl/externalLinks/externalLink1.xml", "<externalLink/>"},
         {"xl/externalLinks/_rels/externalLink1.xml.rels",
          R"(<Relationships><Relationship Id="rId1" Type="x/externalLinkPath" Target="prices.xlsx" TargetMode="External"/></Relationships>)"},
         {"xl/my sheets/sheet2.xml", sheet},
         {"xl/my sheets/_rels/Sheet2.XML.rels",
          relationships({{"table", "../tables/table1.xml"}, {"pivotTable", "../pivot.xml"}})},
         {"xl/tables/table1.xml",
          "<t:table xmlns:t=\"" + kMain + "\" displayName=\"Sales\" ref=\"A1:C9\"/>"}})));
    EXPECT_THAT(told.sheets, ElementsAre("One", "T&wo"));
    EXPECT_THAT(told.cells, ElementsAre("1!A1 = 1"));
    EXPECT_THAT(told.names, ElementsAre("rate = One!$A$1", "1!rate = 2", "quiet = 4"));
    EXPECT_TRUE(told.told.manual && told.told.iterate && told.told.dates == DateSystem::From1904);
    EXPECT_EQ(told.told.maxIterations, 7);
    EXPECT_EQ(told.told.maxChange, 0.5);
    EXPECT_THAT(told.notices,
                ElementsAre("sheet \"Plot\": a chart sheet has no cells and is left out",
                            HasSubstr("name RATE: it is defined twice"),
                            HasSubstr("name m: it stands for a macro"),
                            HasSubstr("name lost: it belongs to a sheet that the file does not have"),
                            "link to prices.xlsx", "workbook: macros are kept, not run",
                            HasSubstr("sheet \"T&wo\": the columns of table Sales do not fit its cells"),
                            HasSubstr("sheet \"T&wo\": a pivot table")));
}

TEST(Reader, TellsWhatTheFileKeepsOfOtherBooks)
{
    Recorder links;
    readWorkbook(CORVANE_TEST_DATA "/workbooks/links.xlsx", links);
    EXPECT_THAT(links.notices,
                ElementsAre("kept 0 Prices='Prices'!$B$2:$B$4",
                            "kept 0 Prices A1 = 'item' B1 = 'price' A2 = 'bolt' B2 = 2.5 A3 = 'nut' B3 = 4 "
                            "A4 = 'pin' B4 = 7",
                            "link to prices.xlsx", HasSubstr("link bank|rates: values from other programs"),
                            "link to bank|rates"));
}

struct LayoutRecorder final : Recorder {
    void table(Table t) override
    {
        told += t.name + "(" + std::to_string(t.area.row0) + "-" + std::to_string(t.area.row1) + "," +
                std::to_string(t.headerRows) + "," + std::to_string(t.totalsRows) + ") ";
        for (const std::string& column : t.columns) told += "[" + column + "] ";
    }
    void hiddenRow(SheetIndex, std::int32_t row) override { told += "hidden " + std::to_string(row) + " "; }
    void filtered(const Area& a) override { told += "filter to " + std::to_string(a.row1) + " "; }
    std::string told;
};

TEST(Reader, TellsTablesHiddenRowsAndFiltersThatChoose)
{
    const auto sheetPart = [](const std::string& filter) {
        return "<worksheet xmlns=\"" + kMain + "\"><sheetData><row r=\"1\"/><row r=\"3\" hidden=\"1\"/>" +
               "</sheetData><autoFilter ref=\"A1:A5\">" + filter + "</autoFilter></worksheet>";
    };
    const std::string table = "<table xmlns=\"" + kMain +
                              R"(" displayName="T" ref="A1:B9" totalsRowCount="1"><autoFilter ref="A1:B8"/>)"
                              R"(<tableColumns count="2"><tableColumn id="1" name="a_x000a_b"/>)"
                              R"(<tableColumn id="2" name="c"/></tableColumns></table>)";
    const auto told = [&](const std::string& filter) {
        LayoutRecorder recorder;
        const std::string bytes = zipped(workbookParts(
            "", {{"xl/worksheets/sheet1.xml", sheetPart(filter)},
                 {"xl/worksheets/_rels/sheet1.xml.rels", relationships({{"table", "../tables/t.xml"}})},
                 {"xl/tables/t.xml", table}}));
        readWorkbook(std::as_bytes(std::span(bytes)), "t.xlsx", recorder);
        return recorder.told;
    };
    EXPECT_EQ(told(""), "T(0-8,1,1) [a\nb] [c] hidden 2 ");
    EXPECT_EQ(told(R"(<filterColumn colId="0"/>)"), "T(0-8,1,1) [a\nb] [c] hidden 2 filter to 4 ");
}

// Prefixes, the strict vocabulary, other vocabularies in between, and UTF-16.
TEST(Reader, GoesByNamespacesNotPrefixes)
{
    const std::string strict = "http://purl.oclc.org/ooxml/spreadsheetml/main";
    const std::string text =
        "<x:worksheet xmlns:x=\"" + strict +
        R"(" xmlns:o="urn:other"><o:sheetData><o:row><o:c><o:v>9</o:v></o:c></o:row></o:sheetData>)"
        R"(<x:sheetData><o:row/><x:row><x:c><o:v>8</o:v><x:v>1</x:v></x:c></x:row></x:sheetData>)"
        R"(</x:worksheet>)";
    std::string wide = "\xFF\xFE";
    for (char c : text) wide += {c, '\0'};
    for (const std::string& part : {text, wide})
        EXPECT_THAT(ofRows("", {{"xl/worksheets/sheet1.xml", part}}).cells, ElementsAre("A1 = 1"));
}

// The strict form of a whole file: other namespaces and types of relationships, dates as texts.
TEST(Reader, ReadsStrictFiles)
{
    Parts parts =
        workbookParts(R"(<row r="1"><c r="A1" t="s"><v>0</v></c><c r="B1" t="d"><v>2024-02-29</v></c>)"
                      R"(<c r="C1"><f>B1+1</f><v>45352</v></c></row>)",
                      {{"xl/sharedStrings.xml", "<sst xmlns=\"" + kMain + "\"><si><t>day</t></si></sst>"}});
    const std::pair<std::string, std::string> names[] = {
        {kMain, "http://purl.oclc.org/ooxml/spreadsheetml/main"},
        {"http://schemas.openxmlformats.org/officeDocument/2006/relationships",
         "http://purl.oclc.org/ooxml/officeDocument/relationships"}};
    for (auto& part : parts)
        for (const auto& [transitional, strict] : names)
            for (std::size_t at = 0; (at = part.second.find(transitional, at)) != std::string::npos;)
                part.second.replace(at, transitional.size(), strict);
    const Recorder found = recorded(zipped(parts));
    EXPECT_THAT(found.sheets, ElementsAre("Data"));
    EXPECT_THAT(found.cells, ElementsAre("A1 = 'day'", "B1 = 45351", "B1 is a date", "C1 : B1+1 -> 45352"));
    EXPECT_THAT(found.notices, IsEmpty());
}

// Saved by a desktop program: tools/make_test_workbooks.py.
TEST(Reader, ReadsFilesOfADesktopProgram)
{
    Recorder beam;
    readWorkbook(CORVANE_TEST_DATA "/workbooks/beam.xlsx", beam);
    EXPECT_THAT(beam.sheets, ElementsAre("Inputs", "Results & more"));
    EXPECT_THAT(beam.names, ElementsAre("load = Inputs!$B$4"));
    EXPECT_THAT(
        beam.cells,
        IsSupersetOf({"B1 = 0.05", "B5 = 45351", "B5 is a date", "B6 = 1",
                      "C6 = 'f\xC3\xBCr \xCF\x83 < 1 & \"q\"'",
                      "1!B2 : load*Inputs!B3^3/(3*210000000000*B1) -> 0.00457142857142857",
                      "1!B3 : \"I = \"&TEXT(B1,\"0.00E+00\") -> 'I = 4.17E-06'", "1!B4 : 1/0 -> #DIV/0!",
                      "1!B5 : B2<0.01 -> TRUE", "1!B6:B7 array : Inputs!B1:B2*2 -> 0.1", "1!B7 result 0.2"}));
    EXPECT_THAT(beam.notices, IsEmpty());

    Recorder filled;
    readWorkbook(CORVANE_TEST_DATA "/workbooks/filled.xlsx", filled);
    EXPECT_EQ(filled.cells.size(), 120U);
    EXPECT_EQ(filled.cells.back(), "B60 : SQRT(A60)+$A$1 -> 8.74596669241483");
}

} // namespace
} // namespace varnex3::sheet::test
