// tests/unit/xlsx/OpenDocumentTest.cpp - open document spreadsheets: cells, formulas, names, limits.
#include <gmock/gmock.h>

#include "sheet/ods/Formula.h"
#include "unit/xlsx/Packages.h"

namespace varnex3::sheet::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

std::string table(const std::string& rows) { return "<t:table t:name=\"Data\">" + rows + "</t:table>"; }
std::string times(int n, const std::string& text)
{
    std::string all;
    for (int i = 0; i < n; ++i) all += text;
    return all;
}
std::string row(const std::string& cells) { return "<t:table-row>" + cells + "</t:table-row>"; }
std::vector<std::string> cellsOf(const std::string& rows)
{
    return recordedAs("a.ods", openDocument(table(rows))).cells;
}

const char* const kOne = R"(<t:table-cell o:value-type="float" o:value="1"/>)";

// The notation is that of OpenFormula 1.2, sections 5 and 6; forms as LibreOffice 7.4 writes them.
TEST(OpenFormula, BecomesTheEnginesNotation)
{
    struct Case {
        const char* written;
        const char* want;
    };
    const Case cases[] = {
        {"of:=[.A1]+[.$B$2]", "A1+$B$2"},
        {"of:=SUM([.A1:.A3];[$'It''s'.B1])", "SUM(A1:A3,'It''s'!B1)"},
        {"of:=SUM([Data.A1:Data.B2])", "SUM(Data!A1:B2)"},
        {"of:=SUM([$'My Sheet'.A1:$Last.B2])", "SUM('My Sheet:Last'!A1:B2)"},
        {"of:=SUM([.A:.A];[.$2:.$3])", "SUM(A:A,$2:$3)"},
        {"of:=IF([.A1]>1;\"a;b\"\"]c\";{1;2|3;-4})", "IF(A1>1,\"a;b\"\"]c\",{1,2;3,-4})"},
        {"of:=SUM(([.A1:.A3]![.A2:.A5]))", "SUM((A1:A3 A2:A5))"},
        {"of:=LARGE([.A1]~[.A3];1)", "LARGE((A1,A3),1)"},
        {"of:=LARGE(([.A1]~[.A3]) ; 1)", "LARGE((A1,A3),1)"},
        {"of:=COM.MICROSOFT.STDEV.S([.A1])+legacy.chidist(3;2)", "STDEV.S(A1)+CHIDIST(3,2)"},
        {"of:=CEILING(-2.5;-1)+COM.MICROSOFT.CEILING(1;1)", "CEILING.MATH(-2.5,-1)+CEILING(1,1)"},
        {"of:=1.5E-3%+#N/A+#DIV/0!+rate", "1.5E-3%+#N/A+#DIV/0!+rate"},
        {"of:=[.#REF!]+[#REF!.A1]+[$Gone.#REF!]", "#REF!+#REF!+#REF!"},
        {"of:=['file:///home/a%20b/prices.ods'#$Sheet1.A1]", "'file:///home/a b/[prices.ods]Sheet1'!A1"},
        {"oooc:=[.A1]", "A1"},
        {"msoxl:=SUM(A1,B1)", "SUM(A1,B1)"},
        {"=[.A1]", "A1"},
        // No formulas of this notation: left for the parser to refuse.
        {"of:=[.A1", "[.A1"},
        {"of:=\"open", "\"open"},
        {"of:=[A1]", "[A1]"},
        {"of:=#", "#"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> books;
        EXPECT_EQ(ods::formulaText(c.written, books), c.want);
    }
    std::vector<std::string> books;
    EXPECT_EQ(ods::referenceText("$Data.$A$1:.B3", books, {1, 1}), "Data!$A$1:A2");
    EXPECT_EQ(ods::referenceText("Data.A1", books, ods::baseOf("$Data.$B$2")), "Data!XFD1048576");
}

TEST(OpenDocument, ReadsCellsOfEveryType)
{
    EXPECT_THAT(
        cellsOf(
            row(R"(<t:table-cell o:value-type="float" o:value="1.5"><x:p>1.50</x:p></t:table-cell>)"
                R"(<t:table-cell o:value-type="percentage" o:value="0.25"/>)"
                R"(<t:table-cell o:value-type="boolean" o:boolean-value="true"/>)"
                R"(<t:table-cell o:value-type="date" o:date-value="2024-02-29T12:00:00"/>)"
                R"(<t:table-cell o:value-type="date" o:date-value="1900-01-15"/>)"
                R"(<t:table-cell o:value-type="time" o:time-value="PT30H15M00S"/>)") +
            row(R"(<t:table-cell o:value-type="string"><x:p>a<x:s x:c="2"/>b<x:span>c</x:span></x:p><x:p><x:title>d</x:title></x:p>)"
                R"(<o:annotation><x:p>a note</x:p></o:annotation></t:table-cell>)"
                R"(<t:covered-table-cell o:value-type="string" o:string-value="under"/>)"
                R"(<t:table-cell t:formula="of:=1/0" o:value-type="string" c:value-type="error"><x:p>#DIV/0!</x:p></t:table-cell>)"
                R"(<t:table-cell t:formula="of:=NONE" o:value-type="string" c:value-type="error"><x:p>Err:502</x:p></t:table-cell>)"
                R"(<t:table-cell t:formula="of:=1=1" o:value-type="float" o:value="1"><x:p>TRUE</x:p></t:table-cell>)")),
        // 1900-01-15 is day 16 where 30 December 1899 is day 0.
        ElementsAre("A1 = 1.5", "B1 = 0.25", "C1 = TRUE", "D1 = 45351.5", "D1 is a date", "E1 = 16",
                    "E1 is a date", "F1 = 1.2604166666666667", "F1 is a date", "A2 = 'a  bc\nd'",
                    "B2 = 'under'", "C2 : 1/0 -> #DIV/0!", "D2 : NONE -> nothing", "E2 : 1=1 -> TRUE"));
}

TEST(OpenDocument, RowsAndColumnsRepeat)
{
    const std::string repeatedRow =
        R"(<t:table-row t:number-rows-repeated="2"><t:table-cell t:number-columns-repeated="2"/>)"
        R"(<t:table-cell t:number-columns-repeated="2" o:value-type="float" o:value="1"/></t:table-row>)";
    EXPECT_THAT(cellsOf("<t:table-header-rows>" + repeatedRow + "</t:table-header-rows><t:table-row-group>" +
                        row(kOne) + R"(</t:table-row-group><t:table-row t:number-rows-repeated="1048573"/>)"),
                ElementsAre("C1 = 1", "D1 = 1", "C2 = 1", "D2 = 1", "A3 = 1"));
    EXPECT_THAT(
        cellsOf(row(R"(<t:table-cell t:number-matrix-rows-spanned="2" t:number-matrix-columns-spanned="1" )"
                    R"(t:formula="of:=[.B1:.B2]*2" o:value-type="float" o:value="2"/>)" +
                    std::string(kOne)) +
                row(R"(<t:table-cell o:value-type="float" o:value="4"/>)" + std::string(kOne)) + row(kOne)),
        ElementsAre("A1:A2 array : B1:B2*2 -> 2", "B1 = 1", "A2 result 4", "B2 = 1", "A3 = 1"));
}

TEST(OpenDocument, ReadsSettingsAndNames)
{
    const Recorder found = recordedAs(
        "a.ods",
        openDocument(
            R"(<t:calculation-settings t:use-wildcards="true"><t:null-date t:date-value="1904-01-01"/>)"
            R"(<t:iteration t:status="enable" t:steps="7" t:maximum-difference="0.5"/></t:calculation-settings>)" +
            table(
                row(R"(<t:table-cell o:value-type="date" o:date-value="1904-01-02"/>)"
                    R"(<t:table-cell t:formula="of:=['file:///p.ods'#$A.B1]" o:value-type="float" o:value="3"/>)") +
                R"(<t:named-expressions><t:named-range t:name="own" t:cell-range-address="$Data.$A$1" )"
                R"(t:base-cell-address="$Data.$A$1"/></t:named-expressions>)") +
            R"(<t:table t:name="'file:///p.ods'#A"><t:table-row t:number-rows-repeated="2"><t:table-cell/>)"
            R"(<t:table-cell o:value-type="float" o:value="3"/></t:table-row></t:table>)"
            R"(<t:named-expressions><t:named-expression t:name="left" t:expression="[.A1]*2" )"
            R"(t:base-cell-address="$Data.$B$1"/></t:named-expressions><t:data-pilot-tables/>)"));
    EXPECT_TRUE(found.told.iterate);
    EXPECT_EQ(found.told.maxIterations, 7);
    EXPECT_EQ(found.told.maxChange, 0.5);
    EXPECT_EQ(found.told.dates, DateSystem::From1904);
    EXPECT_THAT(found.sheets, ElementsAre("Data"));
    EXPECT_THAT(found.cells, ElementsAre("A1 = 1", "A1 is a date", "B1 : 'file:///[p.ods]A'!B1 -> 3"));
    EXPECT_THAT(found.names, ElementsAre("0!own = Data!$A$1", "left = XFD1*2"));
    EXPECT_THAT(found.notices,
                ElementsAre("kept 0 A B1 = 3 B2 = 3", HasSubstr("pivot table"), "link to file:///p.ods"));
}

TEST(OpenDocument, DamageAndExcessAreRefused)
{
    const auto of = [](const std::string& rows) { return openDocument(table(rows)); };
    ReadLimits few;
    few.cells = 10;
    struct Case {
        std::string bytes;
        const char* says;
    };
    const Case cases[] = {
        {openDocument(""), "no sheet"},
        {of(row("<t:table-cell o:value-type=\"string\"><x:p>" + times(600, "<x:s x:c=\"99999\"/>") +
                "</x:p></t:table-cell>")),
         "cell A1 (part content.xml): more than 16 MiB of repeated spaces"},
        {of(times(100, "<t:table-row-group>")), "nested deeper than 64"},
        {of(row(R"(<t:table-cell t:formula="of:=1" o:value-type="float" o:value="1" )"
                R"(t:number-columns-repeated="11"/>)")),
         "more cells than the limit"},
        {flatDocument("<t:table/>"), "a.ods: a sheet has no name"},
        {flatDocument(table(row("<t:table-cell>"))), "sheet \"Data\""},
        {"<!DOCTYPE o [<!ENTITY a \"b\">]>" + flatDocument(table("")).substr(38),
         "document type declaration"},
        {openDocument("<t:table/>"), "a sheet has no name"},
        {of(row("<t:table-cell>")), "sheet \"Data\""},
        {of(R"(<t:table-row t:number-rows-repeated="2147483647">)" + std::string(kOne) + "</t:table-row>"),
         "more cells than the limit"},
        {of(row(R"(<t:table-cell t:number-columns-repeated="16384"/>)" + std::string(kOne))),
         "more cells than the 16384"},
        {of(R"(<t:table-row t:number-rows-repeated="1048576"/>)" + row(kOne)), "more rows than the 1048576"},
        {of(row(R"(<t:table-cell t:formula="of:=1" t:number-matrix-rows-spanned="9999999"/>)")),
         "reaches beyond the sheet"},
        {of(row(
             R"(<t:table-cell t:formula="of:=1" t:number-matrix-rows-spanned="100" t:number-matrix-columns-spanned="1"/>)")),
         "more cells than the limit"},
        {zipped(
             {{"mimetype", "x"},
              {"META-INF/manifest.xml",
               R"(<m xmlns:f="urn:oasis:names:tc:opendocument:xmlns:manifest:1.0"><f:encryption-data/></m>)"},
              {"content.xml", "noise"}}),
         "remove the password"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.says);
        EXPECT_THAT(refusalAs("a.ods", c.bytes, few), AllOf(StartsWith("a.ods: "), HasSubstr(c.says)));
    }
    const std::string formula = R"(<t:table-cell t:formula="of:=1" t:number-columns-repeated="16384"/>)";
    EXPECT_THAT(refusalAs("a.ods", of(times(7, row(formula)))),
                HasSubstr("repeats formulas more than 100000"));
    for (const std::string& whole :
         {of(row(kOne + std::string(kOne))), flatDocument(table(row(kOne + std::string(kOne))))})
        for (std::size_t length = 0; length < whole.size(); length += 1 + length / 40)
            EXPECT_THAT(refusalAs("a.ods", whole.substr(0, length)), Not(IsEmpty())) << length;
}

TEST(OpenDocument, ReadsFlatDocuments)
{
    const std::string bytes =
        flatDocument(table(row(kOne + std::string(R"(<t:table-cell t:formula="of:=[.A1]"/>)"))));
    for (const char* name : {"a.fods", "a.xml", "a.xlsx"})
        EXPECT_THAT(recordedAs(name, "\xEF\xBB\xBF" + bytes).cells,
                    ElementsAre("A1 = 1", "B1 : A1 -> nothing"));
}

TEST(OpenDocument, TellsWhatItLeavesOut)
{
    const Recorder found = recordedAs(
        "a.ods", openDocument(table(row("<t:table-cell><t:table t:is-sub-table=\"true\"/></t:table-cell>")) +
                              "<t:dde-links/><t:label-ranges/>"));
    EXPECT_THAT(found.notices,
                ElementsAre("sheet \"Data\", cell A1: a table within the cell is left out",
                            HasSubstr("values from other programs"), HasSubstr("by their headings")));
}

} // namespace
} // namespace varnex3::sheet::test
