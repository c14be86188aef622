// tests/unit/xlsx/SeparatedValuesTest.cpp - .csv and .tsv: encodings, separators, quotes, what fields mean.
#include <gmock/gmock.h>

#include "unit/xlsx/Packages.h"

namespace varnex3::sheet::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

std::vector<std::string> cellsOf(const std::string& text, const std::string& name = "a.csv")
{
    return recordedAs(name, text).cells;
}

TEST(SeparatedValues, FindsTheSeparator)
{
    const auto both = ElementsAre("A1 = 1.5", "B1 = 2", "A2 = 3", "B2 = 4");
    EXPECT_THAT(cellsOf("1.5,2\r\n3,4\r\n"), both);
    EXPECT_THAT(cellsOf("1.5;2\n3;4"), both);
    EXPECT_THAT(cellsOf("1.5\t2\r3\t4\r"), both);
    EXPECT_THAT(cellsOf("1.5|2\n3|4\n"), both);
    EXPECT_THAT(cellsOf("sep=;\r\n1.5;2\r\n3;4\r\n"), both);
    EXPECT_THAT(cellsOf("1.5\t2\n3\t4", "a.TSV"), both);
    EXPECT_THAT(cellsOf("1,5;2\n3;4\n"), both); // a comma for the decimals
    // A separator in quotes, and one that does not part every line alike.
    EXPECT_THAT(cellsOf("\"a;b\",1\n\"c;d;e\",2\n"),
                ElementsAre("A1 = 'a;b'", "B1 = 1", "A2 = 'c;d;e'", "B2 = 2"));
    EXPECT_THAT(cellsOf("one, two;1\nthree;2\n"),
                ElementsAre("A1 = 'one, two'", "B1 = 1", "A2 = 'three'", "B2 = 2"));
    EXPECT_THAT(cellsOf("1,234\t1\n5\t6\n"),
                ElementsAre("A1 = '1,234'", "B1 = 1", "A2 = 5", "B2 = 6")); // perhaps thousands
    EXPECT_THAT(cellsOf("1,234;1\n2.5;1\n"), ElementsAre("A1 = '1,234'", "B1 = 1", "A2 = 2.5", "B2 = 1"));
}

TEST(SeparatedValues, FieldsBecomeValues)
{
    struct Case {
        const char* field;
        const char* want;
    };
    const Case cases[] = {
        {"-1.5e-3", "A1 = -0.0015"},
        {"+.5", "A1 = 0.5"},
        {" 12 ", "A1 = 12"},
        {"\"12\"", "A1 = 12"}, // quotes part fields, they name no type
        {"25%", "A1 = 0.25"},
        {"true", "A1 = TRUE"},
        {"#N/A", "A1 = #N/A"},
        {"=SUM(B1:B2)*2", "A1 : SUM(B1:B2)*2 -> nothing"},
        {"\"=IF(B1,\"\"a\"\",2)\"", "A1 : IF(B1,\"a\",2) -> nothing"},
        // What would lose something as a number stays text.
        {"007", "A1 = '007'"},
        {"1234567890123456", "A1 = '1234567890123456'"},
        {"0.12345678901234567", "A1 = 0.12345678901234566"},
        {"1e999", "A1 = '1e999'"},
        {"0x1F", "A1 = '0x1F'"},
        {"inf", "A1 = 'inf'"},
        {"1 000", "A1 = '1 000'"},
        {"$5", "A1 = '$5'"},
        {"3/4/2024", "A1 = '3/4/2024'"}, // day or month first: nobody can tell
        {"2024-02-30", "A1 = '2024-02-30'"},
        {"=", "A1 = '='"},
        {"-", "A1 = '-'"},
        {" x ", "A1 = ' x '"},
        {"\"a\"\"b\nc\"d", "A1 = 'a\"b\ncd'"},
        {"a\"b\"", "A1 = 'a\"b\"'"},
    };
    for (const Case& c : cases)
        EXPECT_THAT(cellsOf(std::string(c.field) + "|x\n"), ElementsAre(c.want, "B1 = 'x'"));
    EXPECT_THAT(cellsOf("2024-02-29,2024-02-29 12:00\n"),
                ElementsAre("A1 = 45351", "A1 is a date", "B1 = 45351.5", "B1 is a date"));
    EXPECT_THAT(cellsOf(",\n,,3\n\nx"), ElementsAre("C2 = 3", "A4 = 'x'"));
    EXPECT_THAT(cellsOf(""), ElementsAre());
}

TEST(SeparatedValues, ReadsEncodings)
{
    const auto accents = ElementsAre("A1 = 'é€'", "B1 = 1");
    EXPECT_THAT(cellsOf("é€,1"), accents);
    EXPECT_THAT(cellsOf("\xEF\xBB\xBFé€,1"), accents);
    EXPECT_THAT(cellsOf("\xE9\x80,1"), accents); // Windows Latin
    EXPECT_THAT(cellsOf(std::string("\xFF\xFE\xE9\0\xAC\x20,\0001\0", 10)), accents);
    EXPECT_THAT(cellsOf(std::string("\xFE\xFF\0\xE9\x20\xAC\0,\0001", 10)), accents);
    EXPECT_THAT(cellsOf(std::string("\xFF\xFE\x3D\xD8\x00\xDE", 6)), ElementsAre("A1 = '😀'"));
    EXPECT_THAT(cellsOf(std::string("\xFF\xFE\x3D\xD8,\0", 6)).front(), HasSubstr("A1 = '\uFFFD"));
}

TEST(SeparatedValues, NamesTheSheetAfterTheFile)
{
    EXPECT_THAT(recordedAs("/data/runs/test [1].csv", "1").sheets, ElementsAre("test _1_"));
    EXPECT_THAT(recordedAs("a.b.csv", "1").sheets, ElementsAre("a.b"));
    EXPECT_THAT(recordedAs(std::string(40, 'n') + ".csv", "1").sheets, ElementsAre(std::string(31, 'n')));
    EXPECT_THAT(recordedAs(".csv", "1").sheets, ElementsAre("Sheet1"));
}

TEST(SeparatedValues, RefusesWhatIsNone)
{
    ReadLimits few;
    few.cells = 3;
    EXPECT_THAT(refusalAs("a.csv", "1,2\n3,\"4\n5\n"),
                AllOf(StartsWith("a.csv: line 2: "), HasSubstr("never closed")));
    EXPECT_THAT(refusalAs("a.csv", std::string("a\0b", 3)), HasSubstr("holds zero bytes"));
    EXPECT_THAT(refusalAs("a.csv", "1,2,3,4", few), HasSubstr("more cells than the limit of 3"));
    EXPECT_THAT(refusalAs("a.csv", std::string(16384, ',') + "1"), HasSubstr("more fields than the 16384"));
    EXPECT_THAT(refusalAs("a.csv", std::string(1048576, '\n') + "1"),
                HasSubstr("more lines than the 1048576"));
    few.fileBytes = 2;
    EXPECT_THAT(refusalAs("a.csv", "1,2", few), HasSubstr("larger than the limit of 2"));
    // A workbook with the wrong ending is opened all the same; text with the ending of a workbook is not.
    EXPECT_THAT(recordedAs("a.csv", zipped(workbookParts("<row><c><v>1</v></c></row>"))).cells,
                ElementsAre("A1 = 1"));
    EXPECT_THAT(refusalAs("a.xlsx", "1,2"), HasSubstr("needs the ending .csv or .tsv"));
}

} // namespace
} // namespace varnex3::sheet::test
