// tests/unit/xlsx/DamagedTest.cpp - files that are damaged, hostile, or no workbooks at all.
#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "unit/xlsx/Packages.h"

namespace varnex3::sheet::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const std::string kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";

std::string repeated(const std::string& text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i) result += text;
    return result;
}

std::string ofRows(const std::string& rows, const Parts& more = {})
{
    return zipped(workbookParts(rows, more));
}

TEST(Damaged, OtherFilesAreToldApart)
{
    const auto wide = [](const std::string& text) {
        std::string result;
        for (char c : text) result += {c, '\0'};
        return result;
    };
    const std::string compound = std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + std::string(600, '\0');
    struct Case {
        std::string bytes;
        const char* says;
    };
    const Case cases[] = {
        {"", "the file is empty"},
        {compound + wide("Workbook"), "old binary format (.xls)"},
        {compound + wide("EncryptedPackage"), "remove the password and save it as .xlsx"},
        {std::string("\x09\x08\x10\x00", 4), "old binary format (.xls)"},
        {"name,amount\r\nx,1\r\n", "plain text, not a workbook"},
        {"\xEF\xBB\xBF<?xml version=\"1.0\"?><o:document-content "
         "xmlns:o=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\"/>",
         "an open document, but no spreadsheet"},
        {"<html><table/></html>", "an XML or web page file"},
        {"%PDF-1.7", "PDF"},
        {std::string("\x7F\x45\x4C\x46\x00\x01", 6), "this is not an .xlsx workbook"},
        {zipped({{"mimetype", "application/vnd.oasis.opendocument.spreadsheet"}, {"content.xml", "<a/>"}}),
         "part content.xml: it is no document content"},
        {zipped({{"xl/workbook.bin", "x"}}), "(.xlsb)"},
        {zipped({{"word/document.xml", "<a/>"}}), "text document"},
        {zipped({{"a.txt", "x"}}), "no .xlsx workbook"},
        {"PK\x03\x04 and then nothing of the kind", "damaged or incomplete"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.says);
        EXPECT_THAT(refusal(c.bytes), AllOf(StartsWith("book.xlsx: "), HasSubstr(c.says)));
    }
}

TEST(Damaged, PathsThatAreNoFiles)
{
    const auto message = [](const std::string& path) {
        Recorder recorder;
        try {
            readWorkbook(path, recorder);
        } catch (const FileError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    const std::filesystem::path folder = testing::TempDir();
    EXPECT_THAT(message(folder.string()), HasSubstr("this is a folder"));
    EXPECT_THAT(message((folder / "no such.xlsx").string()),
                HasSubstr("no such.xlsx: there is no such file"));
    const std::string text = (folder / "corvane_text.xlsx").string();
    std::ofstream(text) << "just text";
    EXPECT_THAT(message(text), HasSubstr("plain text"));
    std::filesystem::remove(text);
}

// Whatever is cut off, the file is refused; nothing is read as if it were whole.
TEST(Damaged, TruncationIsAlwaysNoticed)
{
    const std::string whole = ofRows(repeated("<row><c><v>1</v></c><c><f>A1+1</f></c></row>", 200));
    ASSERT_THAT(refusal(whole), IsEmpty());
    for (std::size_t length = 0; length < whole.size(); length += 1 + length / 40) {
        SCOPED_TRACE(length);
        EXPECT_THAT(refusal(whole.substr(0, length)), Not(IsEmpty()));
    }
}

// Each byte of the file in turn: either the reader refuses, or it reads exactly what was there.
TEST(Damaged, ChangedBytesAreRefusedOrHarmless)
{
    const std::string whole =
        ofRows(R"(<row r="1"><c r="A1"><v>1</v></c><c r="B1"><f>A1+1</f><v>2</v></c></row>)");
    const std::vector<std::string> cells = recorded(whole).cells;
    int refused = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        std::string changed = whole;
        changed[i] = static_cast<char>(~changed[i]);
        try {
            EXPECT_EQ(recorded(changed).cells, cells) << "byte " << i;
        } catch (const FileError&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, static_cast<int>(whole.size() / 2));
}

TEST(Damaged, MessagesNamePartSheetAndCell)
{
    const std::string rowsBefore = "<row r=\"1\"><c r=\"A1\"><v>1</v></c></row>";
    struct Case {
        std::string bytes;
        std::vector<const char*> says;
    };
    const auto sheetPart = [](const std::string& text) {
        return ofRows("", {{"xl/worksheets/sheet1.xml", text}});
    };
    const Case cases[] = {
        // Parts.
        {zipped(workbookParts("", {{"xl/worksheets/sheet1.xml", ""}})),
         {"part xl/worksheets/sheet1.xml", "is missing"}},
        {zipped(workbookParts("", {{"xl/_rels/workbook.xml.rels", ""}})),
         {"sheet \"Data\"", "does not say which part"}},
        {sheetPart(""), {"is missing"}},
        {sheetPart("<worksheet"), {"sheet \"Data\" (part xl/worksheets/sheet1.xml)", "line 1"}},
        {sheetPart("<workbook/>"), {"it is no worksheet part"}},
        {ofRows("", {{"xl/workbook.xml", "<workbook><sheets/></workbook>"}}),
         {"the workbook has no worksheet"}},
        {ofRows("", {{"xl/sharedStrings.xml", "<sst><si><t>a</si></sst>"}}),
         {"shared text 0", "mismatched tag"}},
        // A relationship that leads back to the workbook itself.
        {ofRows(
             "",
             {{"xl/_rels/workbook.xml.rels",
               R"(<Relationships><Relationship Id="rId1" Type="x/worksheet" Target="workbook.xml"/></Relationships>)"}}),
         {"sheet \"Data\" (part xl/workbook.xml)", "it is no worksheet part"}},
        {ofRows("", {{"xl/workbook.xml", R"(<workbook xmlns:r="r"><sheets><sheet name="Ab" r:id="rId1"/>)"
                                         R"(<sheet name="aB" r:id="rId1"/></sheets></workbook>)"}}),
         {"two sheets are called \"aB\""}},
        // Entities and nesting.
        {sheetPart("<!DOCTYPE w [<!ENTITY a \"aaaa\">]><worksheet/>"), {"document type declaration"}},
        {sheetPart("<!DOCTYPE worksheet SYSTEM \"file:///etc/passwd\"><worksheet/>"),
         {"document type declaration"}},
        {sheetPart("<worksheet>&undefined;</worksheet>"), {"undefined entity"}},
        {sheetPart("<worksheet>" + repeated("<a>", 100)), {"deeper than 64 levels"}},
        {ofRows("<row><c><is>" + repeated("<r>", 100)), {"cell A1", "deeper than 64 levels"}},
        {sheetPart("<worksheet a=\"" + std::string(9 << 20, ' ') + "\"/>"), {"a single tag"}},
        // Cells.
        {ofRows(rowsBefore + "<row><c r=\"A0\"/></row>"), {"sheet \"Data\", row 2", "a cell at \"A0\""}},
        {ofRows("<row><c r=\"XFE1\"/></row>"), {"XFE1"}},
        {ofRows("<row><c r=\"A1048577\"/></row>"), {"A1048577"}},
        {ofRows("<row><c r=\"A99999999999\"/></row>"), {"A99999999999"}},
        {ofRows("<row><c r=\"A1B\"/></row>"), {"A1B"}},
        {ofRows("<row><c r=\"\"/></row>"), {"a cell at \"\""}},
        {ofRows("<row r=\"1048577\"/>"), {"a row numbered \"1048577\""}},
        {ofRows("<row r=\"1048576\"/><row/>"), {"more rows than"}},
        {ofRows("<row><c r=\"XFD1\"/><c/></row>"), {"more cells than"}},
        {ofRows(rowsBefore + "<row><c/><c t=\"s\"><v>4294967295</v></c></row>"),
         {"sheet \"Data\", cell B2", "shared text \"4294967295\", but the file has 0"}},
        {ofRows("<row><c t=\"s\"><v>-1</v></c></row>"), {"shared text \"-1\""}},
    };
    for (const Case& c : cases) {
        const std::string message = refusal(c.bytes);
        EXPECT_THAT(message, StartsWith("book.xlsx: "));
        for (const char* part : c.says) EXPECT_THAT(message, HasSubstr(part));
    }
}

TEST(Damaged, PartsOfTheSameNameAreRefused)
{
    std::string bytes = zipped(workbookParts("", {{"xl/worksheets/sheet2.xml", "<worksheet/>"}}));
    for (std::size_t at = 0; (at = bytes.find("sheet2.xml", at)) != std::string::npos;) bytes[at + 5] = '1';
    EXPECT_THAT(refusal(bytes), HasSubstr("part xl/worksheets/sheet1.xml: is in the file more than once"));
}

// The directory at the end of the file states the sizes of each part; it may lie.
TEST(Damaged, WrongSizesInTheDirectory)
{
    const std::string whole = ofRows(repeated("<row><c><v>1</v></c></row>", 500));
    const std::size_t entry = whole.rfind("xl/worksheets/sheet1.xml") - 46; // fixed part of a directory entry
    ASSERT_EQ(whole.substr(entry, 4), "PK\x01\x02");
    for (const std::size_t field : {16U, 20U, 24U}) { // check sum, packed size, unpacked size
        std::string changed = whole;
        changed[entry + field] = static_cast<char>(changed[entry + field] & 0x0F);
        changed[entry + field + 1] = 0; // smaller
        EXPECT_THAT(refusal(changed), HasSubstr("xl/worksheets/sheet1.xml")) << "field at " << field;
    }
}

TEST(Damaged, LimitsHoldWhileReading)
{
    const auto with = [](auto ReadLimits::*limit, auto value) {
        ReadLimits limits;
        limits.*limit = value;
        return limits;
    };
    const std::string cells = ofRows(repeated("<row><c><v>1</v></c></row>", 20));
    const std::string blank = ofRows(std::string(8 << 20, ' '));
    const Parts texts = {
        {"xl/sharedStrings.xml", "<sst>" + repeated("<si><t>some text</t></si>", 100) + "</sst>"}};
    EXPECT_THAT(refusal(cells, with(&ReadLimits::cells, 20)), IsEmpty());
    EXPECT_THAT(refusal(cells, with(&ReadLimits::cells, 19)),
                HasSubstr("cell A20: the file has more cells than"));
    EXPECT_THAT(refusal(cells, with(&ReadLimits::fileBytes, 100)), HasSubstr("larger than the limit of 100"));
    EXPECT_THAT(refusal(cells, with(&ReadLimits::depth, 4)), HasSubstr("deeper than 4"));
    EXPECT_THAT(refusal(blank, with(&ReadLimits::partRatio, 100)), HasSubstr("more than 100 times its size"));
    EXPECT_THAT(refusal(blank, with(&ReadLimits::expandedBytes, 4 << 20)),
                HasSubstr("unpacks to more than the limit"));
    EXPECT_THAT(refusal(ofRows("", texts), with(&ReadLimits::textBytes, 5000)),
                HasSubstr("the texts of the file"));
    EXPECT_THAT(refusal(ofRows(R"(<row><c><f t="array" ref="A1:XFD1048576">1</f></c></row>)")),
                HasSubstr("more cells than the limit"));
    Parts many = {{"xl/t.xml", "<table displayName=\"T\" ref=\"A1\"><tableColumns><tableColumn "
                               "name=\"a\"/></tableColumns></table>"}};
    many.emplace_back("xl/worksheets/_rels/sheet1.xml.rels",
                      "<Relationships>" +
                          repeated(R"(<Relationship Id="r" Type="x/table" Target="/xl/t.xml"/>)", 10001) +
                          "</Relationships>");
    EXPECT_THAT(refusal(ofRows("", many)),
                HasSubstr("sheet \"Data\": the workbook has more than 10000 tables"));
    const std::string bad = repeated("<row><c><v>?</v></c></row>", 5000);
    EXPECT_LT(recorded(ofRows(bad)).notices.size(), 30U);
}

} // namespace
} // namespace varnex3::sheet::test
