// tests/unit/xlsx/WriterTest.cpp - what a saved file holds: changed cells and added sheets, all else as it
// was.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <span>
#include <sstream>

#include <zip.h>

#include "sheet/files/Open.h"
#include "sheet/formula/Parser.h"
#include "sheet/model/Book.h"
#include "sheet/xlsx/Markup.h"
#include "sheet/xlsx/Metadata.h"
#include "sheet/xlsx/Writer.h"
#include "unit/xlsx/Packages.h"

namespace varnex3::sheet::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
const std::string kTypes = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

std::string bytesOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

/// The entries of an archive as they are packed, or unpacked.
std::map<std::string, std::string> entriesOf(const fs::path& path, zip_flags_t flags)
{
    std::map<std::string, std::string> entries;
    zip_t* zip = zip_open(path.c_str(), ZIP_RDONLY, nullptr);
    if (!zip) return entries;
    for (zip_int64_t i = 0; i < zip_get_num_entries(zip, 0); ++i) {
        zip_stat_t about;
        zip_stat_index(zip, static_cast<zip_uint64_t>(i), 0, &about);
        std::string content(flags != 0 ? about.comp_size : about.size, '\0');
        zip_file_t* file = zip_fopen_index(zip, static_cast<zip_uint64_t>(i), flags);
        zip_fread(file, content.data(), content.size());
        zip_fclose(file);
        entries[about.name] = content;
    }
    zip_discard(zip);
    return entries;
}

class Writer : public testing::Test {
protected:
    void SetUp() override
    {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = fs::path(testing::TempDir()) / (std::string("corvane_writer_") + test->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }

    std::unique_ptr<Book> load(const std::string& file) const
    {
        auto book = std::make_unique<Book>();
        readWorkbook(file, book->builder());
        book->finishLoading();
        return book;
    }
    /// A workbook file of these parts, opened.
    std::unique_ptr<Book> loadParts(const Parts& parts, const std::string& name = "in.xlsx") const
    {
        std::ofstream(path(name), std::ios::binary) << zipped(parts);
        return load(path(name));
    }
    std::string sheetAfter(const Book& book) const
    {
        saveWorkbook(book, path("in.xlsx"), path("out.xlsx"));
        const std::string part = entriesOf(path("out.xlsx"), 0).at("xl/worksheets/sheet1.xml");
        const std::size_t from = part.find("<sheetData>") + 11;
        return part.substr(from, part.find("</sheetData>") - from);
    }
    std::string failureOf(const Book& book, const std::string& source, const std::string& target) const
    {
        try {
            saveWorkbook(book, source, target);
        } catch (const FileError& error) {
            return error.what();
        }
        return {};
    }
    std::vector<std::string> filesLeft() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    fs::path folder_;
};

Parts macroWorkbook()
{
    const std::string relation = "<Relationship Id=\"";
    return workbookParts(
        R"(<row r="1"><c r="A1"><v>2</v></c><c r="B1"><f>A1*3</f><v>6</v></c></row>)",
        {{"[Content_Types].xml",
          R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"
          R"(<Default Extension="xml" ContentType="application/xml"/>)"
          R"(<Override PartName="/xl/workbook.xml" )"
          R"(ContentType="application/vnd.ms-excel.sheet.macroEnabled.main+xml"/>)"
          R"(<Override PartName="/xl/calcChain.xml" ContentType="chain"/></Types>)"},
         {"xl/workbook.xml",
          "<workbook xmlns=\"" + kMain + "\" xmlns:q=\"" + kTypes +
              R"("><!-- kept --><bookViews><workbookView activeTab="2"/></bookViews><sheets>)"
              R"(<sheet name="Data" sheetId="4" q:id="rId1"/><sheet name="Old" sheetId="7" q:id="rId2"/>)"
              R"(<sheet name="Last" sheetId="2" q:id="rId3"/></sheets><definedNames>)"
              R"(<definedName name="gone" localSheetId="1">1</definedName>)"
              R"(<definedName name="far" localSheetId="2">Last!$A$1</definedName></definedNames>)"
              R"(<calcPr calcId="191029"/><extLst><ext uri="x"/></extLst></workbook>)"},
         {"xl/_rels/workbook.xml.rels",
          R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)" +
              relation + "rId1\" Type=\"" + kTypes + "/worksheet\" Target=\"worksheets/sheet1.xml\"/>" +
              relation + "rId2\" Type=\"" + kTypes + "/worksheet\" Target=\"worksheets/sheet2.xml\"/>" +
              relation + "rId3\" Type=\"" + kTypes + "/worksheet\" Target=\"worksheets/sheet3.xml\"/>" +
              relation + "rId4\" Type=\"" + kTypes + "/vbaProject\" Target=\"vbaProject.bin\"/>" + relation +
              "rId5\" Type=\"" + kTypes + "/calcChain\" Target=\"calcChain.xml\"/>" + "</Relationships>"},
         {"xl/worksheets/sheet2.xml", "<worksheet xmlns=\"" + kMain + "\"><sheetData/></worksheet>"},
         {"xl/worksheets/sheet3.xml", "<worksheet xmlns=\"" + kMain +
                                          "\"><sheetData><row r=\"1\"><c r=\"A1\"><f>Data!A1+1</f><v>3</v>"
                                          "</c></row></sheetData><drawing q:id=\"rId1\" xmlns:q=\"q\"/>"
                                          "</worksheet>"},
         {"xl/calcChain.xml", "<calcChain/>"},
         {"xl/vbaProject.bin", std::string("\xD0\xCF\x11\xE0 macros \0 \xFF", 16)}});
}

TEST_F(Writer, AnUnchangedBookIsACopy)
{
    const auto book = loadParts(macroWorkbook(), "in.xlsm");
    book->calculateAll();
    saveWorkbook(*book, path("in.xlsm"), path("out.xlsm"));
    EXPECT_EQ(bytesOf(path("out.xlsm")), bytesOf(path("in.xlsm")));
}

TEST_F(Writer, KeepsEveryPartThatIsNotTouched)
{
    const auto book = loadParts(macroWorkbook(), "in.xlsm");
    const SheetIndex added = book->addSheet("New & <odd>");
    book->setValue({added, 2, 27}, "text _x0041_ \x01 \xC3\xA4");
    book->setContent({added, 0, 0}, "=NORM.S.INV(0.5)+Data!B1");
    book->calculateAll();
    saveWorkbook(*book, path("in.xlsm"), path("out.xlsm"));

    auto before = entriesOf(path("in.xlsm"), ZIP_FL_COMPRESSED);
    auto after = entriesOf(path("out.xlsm"), ZIP_FL_COMPRESSED);
    for (const char* written : {"xl/workbook.xml", "xl/_rels/workbook.xml.rels", "[Content_Types].xml"}) {
        EXPECT_NE(before.at(written), after.at(written)) << written;
        before.erase(written);
        after.erase(written);
    }
    EXPECT_EQ(after.erase("xl/worksheets/sheet4.xml"), 1U);
    EXPECT_EQ(after, before);

    const auto texts = entriesOf(path("out.xlsm"), 0);
    EXPECT_THAT(texts.at("xl/worksheets/sheet4.xml"), HasSubstr("_xlfn.NORM.S.INV(0.5)"));
    EXPECT_THAT(texts.at("xl/workbook.xml"), HasSubstr("<!-- kept -->"));
    EXPECT_THAT(texts.at("xl/workbook.xml"), HasSubstr(R"(<calcPr calcId="191029" fullCalcOnLoad="1"/>)"));
    EXPECT_THAT(texts.at("xl/workbook.xml"),
                HasSubstr(R"(<sheet name="New &amp; &lt;odd&gt;" sheetId="8" q:id="rId6"/></sheets>)"));
    EXPECT_THAT(texts.at("[Content_Types].xml"), HasSubstr("/xl/worksheets/sheet4.xml"));
    const auto again = load(path("out.xlsm"));
    ASSERT_EQ(again->sheetCount(), 4);
    EXPECT_EQ(again->value({3, 2, 27}), Value("text _x0041_ \x01 \xC3\xA4"));
    EXPECT_EQ(again->value({3, 0, 0}), Value(6.0));
    EXPECT_EQ(again->content({3, 0, 0}), "=NORM.S.INV(0.5)+Data!B1");
}

// Some programs declare the prefix of the relationship on each sheet, not on the workbook.
TEST_F(Writer, AddsSheetsWhereEverySheetDeclaresItsPrefix)
{
    const auto book = loadParts(workbookParts(
        "<row r=\"1\"><c r=\"A1\"><v>1</v></c></row>",
        {{"xl/workbook.xml", "<workbook xmlns=\"" + kMain + "\"><sheets><sheet xmlns:r=\"" + kTypes +
                                 R"(" name="Data" sheetId="1" r:id="rId1"/>)"
                                 "</sheets></workbook>"}}));
    book->setValue({book->addSheet("New"), 0, 0}, 2.0);
    saveWorkbook(*book, path("in.xlsx"), path("out.xlsx"));
    EXPECT_EQ(load(path("out.xlsx"))->value({1, 0, 0}), Value(2.0));
}

// A file in the strict form gets no part in the other one.
TEST_F(Writer, AddsSheetsToStrictFiles)
{
    Parts parts = workbookParts("<row r=\"1\"><c r=\"A1\"><v>3</v></c></row>");
    const std::pair<std::string, std::string> names[] = {
        {kMain, "http://purl.oclc.org/ooxml/spreadsheetml/main"},
        {kTypes, "http://purl.oclc.org/ooxml/officeDocument/relationships"}};
    for (auto& part : parts)
        for (const auto& [transitional, strict] : names)
            for (std::size_t at = 0; (at = part.second.find(transitional, at)) != std::string::npos;)
                part.second.replace(at, transitional.size(), strict);
    const auto book = loadParts(parts);
    book->setContent({book->addSheet("New"), 0, 0}, "=SEQUENCE(Data!A1)");
    book->calculate();
    saveWorkbook(*book, path("in.xlsx"), path("out.xlsx"));
    for (const auto& [name, content] : entriesOf(path("out.xlsx"), 0))
        EXPECT_THAT(content, Not(HasSubstr("schemas.openxmlformats.org/spreadsheetml"))) << name;
    const auto again = load(path("out.xlsx"));
    EXPECT_EQ(again->value({1, 2, 0}), Value(3.0));
    EXPECT_TRUE(again->spills({1, 0, 0}));
}

TEST_F(Writer, RemovesAndRenamesSheets)
{
    const auto book = loadParts(macroWorkbook(), "in.xlsm");
    book->removeSheet(1);
    book->renameSheet(0, "My data");
    saveWorkbook(*book, path("in.xlsm"), path("out.xlsm"));
    const auto entries = entriesOf(path("out.xlsm"), 0);
    EXPECT_EQ(entries.count("xl/worksheets/sheet2.xml"), 0U);
    EXPECT_EQ(entries.count("xl/calcChain.xml"), 0U);
    EXPECT_THAT(entries.at("[Content_Types].xml"), Not(HasSubstr("calcChain")));
    EXPECT_THAT(entries.at("xl/_rels/workbook.xml.rels"), Not(HasSubstr("rId2")));
    EXPECT_THAT(entries.at("xl/workbook.xml"), HasSubstr(R"(activeTab="1")"));
    EXPECT_THAT(entries.at("xl/workbook.xml"), Not(HasSubstr("gone")));
    EXPECT_THAT(entries.at("xl/worksheets/sheet3.xml"), HasSubstr("<drawing q:id=\"rId1\" xmlns:q=\"q\"/>"));
    const auto again = load(path("out.xlsm"));
    EXPECT_EQ(again->sheetName(0), "My data");
    EXPECT_EQ(again->content({1, 0, 0}), "='My data'!A1+1");
    EXPECT_TRUE(again->namedArea("far", 1).has_value());
}

/// Two sheets, the second with a table and a drawing whose picture the first one shows too.
Parts tableWorkbook()
{
    const auto relations = [](const Parts& typesAndTargets) {
        std::string list =
            R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)";
        for (std::size_t i = 0; i < typesAndTargets.size(); ++i)
            list += "<Relationship Id=\"rId" + std::to_string(i + 1) + "\" Type=\"" + kTypes + "/" +
                    typesAndTargets[i].first + "\" Target=\"" + typesAndTargets[i].second + "\"/>";
        return list + "</Relationships>";
    };
    std::string types = R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"
                        R"(<Default Extension="xml" ContentType="application/xml"/>)";
    for (const char* part : {"/xl/tables/table1.xml", "/xl/tables/table2.xml", "/xl/drawings/drawing1.xml"})
        types += "<Override PartName=\"" + std::string(part) + "\" ContentType=\"t\"/>";
    const auto table = [](const std::string& name) {
        return "<table xmlns=\"" + kMain + "\" id=\"1\" displayName=\"" + name +
               "\" ref=\"A1:A3\"><tableColumns count=\"1\"><tableColumn id=\"1\" "
               "name=\"Price\"/></tableColumns></table>";
    };
    const std::string rows =
        "<row r=\"1\"><c r=\"A1\" t=\"str\"><v>Price</v></c></row>"
        "<row r=\"2\"><c r=\"A2\"><v>2</v></c></row><row r=\"3\"><c r=\"A3\"><v>3</v></c></row>";
    return workbookParts(
        rows + R"(<row r="4"><c r="B4"><f>SUM(Goods[Price])+SUM(Own[Price])</f><v>10</v></c></row>)",
        {{"[Content_Types].xml", types + "</Types>"},
         {"xl/workbook.xml", "<workbook xmlns=\"" + kMain + "\" xmlns:r=\"" + kTypes +
                                 R"("><sheets><sheet name="Data" sheetId="1" r:id="rId1"/>)"
                                 R"(<sheet name="List" sheetId="2" r:id="rId2"/></sheets></workbook>)"},
         {"xl/_rels/workbook.xml.rels",
          relations({{"worksheet", "worksheets/sheet1.xml"}, {"worksheet", "worksheets/sheet2.xml"}})},
         {"xl/worksheets/_rels/sheet1.xml.rels",
          relations({{"table", "../tables/table1.xml"}, {"image", "../media/image1.png"}})},
         {"xl/worksheets/_rels/sheet2.xml.rels",
          relations({{"table", "../tables/table2.xml"}, {"drawing", "/xl/drawings/Drawing1.xml"}})},
         {"xl/drawings/_rels/drawing1.xml.rels",
          relations({{"image", "../media/image1.png"}, {"sheet", "../worksheets/sheet2.xml"}})},
         {"xl/worksheets/sheet2.xml", "<worksheet xmlns=\"" + kMain + "\"><sheetData>" + rows +
                                          R"(</sheetData><tableParts count="1"/></worksheet>)"},
         {"xl/tables/table1.xml", table("Own")},
         {"xl/tables/table2.xml", table("Goods")},
         {"xl/drawings/drawing1.xml", "<d/>"},
         {"xl/media/image1.png", "picture"}});
}

TEST_F(Writer, TablesStayAsTheyAreUntilTheirSheetGoes)
{
    const auto book = loadParts(tableWorkbook());
    book->setValue({1, 1, 0}, 7.0);
    book->calculateAll();
    EXPECT_EQ(book->value({0, 3, 1}), Value(15.0));
    saveWorkbook(*book, path("in.xlsx"), path("out.xlsx"));
    auto before = entriesOf(path("in.xlsx"), ZIP_FL_COMPRESSED);
    auto after = entriesOf(path("out.xlsx"), ZIP_FL_COMPRESSED);
    for (const char* written : {"xl/workbook.xml", "xl/worksheets/sheet1.xml", "xl/worksheets/sheet2.xml"}) {
        EXPECT_NE(before.at(written), after.at(written)) << written;
        before.erase(written);
        after.erase(written);
    }
    EXPECT_EQ(after, before);

    book->removeSheet(1);
    book->calculate();
    saveWorkbook(*book, path("in.xlsx"), path("removed.xlsx"));
    const auto left = entriesOf(path("removed.xlsx"), 0);
    std::vector<std::string> names;
    for (const auto& [name, content] : left) names.push_back(name);
    EXPECT_THAT(names, ElementsAre("[Content_Types].xml", "_rels/.rels", "xl/_rels/workbook.xml.rels",
                                   "xl/media/image1.png", "xl/tables/table1.xml", "xl/workbook.xml",
                                   "xl/worksheets/_rels/sheet1.xml.rels", "xl/worksheets/sheet1.xml"));
    EXPECT_THAT(left.at("[Content_Types].xml"), HasSubstr("table1"));
    EXPECT_THAT(left.at("[Content_Types].xml"), Not(HasSubstr("table2")));
    EXPECT_THAT(left.at("[Content_Types].xml"), Not(HasSubstr("drawing1")));
    const auto again = load(path("removed.xlsx"));
    EXPECT_EQ(again->content({0, 3, 1}), "=SUM(#REF!)+SUM(Own[Price])");
}

/// A table Goods of Price, "a" and "b" in two lines, and Total, written in unusual ways; formulas that use
/// it.
Parts headedWorkbook()
{
    Parts parts = tableWorkbook();
    const auto part = [&](const std::string& name) -> std::string& {
        return std::find_if(parts.begin(), parts.end(), [&](const auto& p) { return p.first == name; })
            ->second;
    };
    part("xl/tables/table2.xml") =
        "<?xml version='1.0'?>\n<g:table xmlns:g=\"" + kMain +
        "\" id='1'\n displayName=\"Goods\" ref=\"A1:C3\"><g:autoFilter ref=\"A1:C3\"/>"
        "<g:tableColumns count=\"3\"><!-- kept --><g:tableColumn  id=\"1\"\tname = 'Price' dataDxfId=\"0\" />"
        "<g:tableColumn id=\"2\" name=\"a_x000a_b\"/><g:tableColumn id=\"3\" name=\"Total\">"
        "<g:calculatedColumnFormula>Goods[[#This Row],[Price]]*2</g:calculatedColumnFormula>"
        "</g:tableColumn></g:tableColumns></g:table>";
    part("xl/worksheets/sheet2.xml") =
        "<worksheet xmlns=\"" + kMain +
        R"("><sheetData><row r="1"><c r="A1" t="str"><v>Price</v></c><c r="B1" t="str"><v>a_x000a_b</v></c>)"
        R"(<c r="C1" t="str"><v>Total</v></c></row><row r="2"><c r="A2"><v>2</v></c><c r="B2"><v>5</v></c>)"
        R"(<c r="C2"><f>Goods[[#This Row],[Price]]*2</f><v>4</v></c></row><row r="3"><c r="A3"><v>3</v></c>)"
        R"(<c r="C3"><f>Goods[[#This Row],[Price]]*2</f><v>6</v></c></row></sheetData></worksheet>)";
    std::string& workbook = part("xl/workbook.xml");
    workbook.insert(workbook.find("</workbook>"), "<definedNames><definedName name=\"prices\">Goods[Price]"
                                                  "</definedName></definedNames>");
    return parts;
}

TEST_F(Writer, HeadingsNameTheirColumns)
{
    const auto book = loadParts(headedWorkbook());
    book->setContent({0, 5, 1}, "=SUM(Goods[later])");
    book->setContent({0, 6, 1},
                     "=SUM(Goods[[#All],[Price]:[Total]])+ROWS(Goods[[#Headers],[#Data],[price]])");
    book->setContent({0, 7, 1}, "=SUM(prices)");
    book->calculate();
    EXPECT_EQ(book->value({0, 5, 1}), Value(Failure::Ref));

    const std::string name = "Net [#'@]\n_x0041_ \"&\" _x0041\n";
    const std::string inFormula = "[Net '['#'''@']\n_x0041_ \"&\" _x0041\n]";
    book->setValue({1, 0, 0}, Value(name));
    book->setValue({1, 0, 1}, Value("Later"));
    book->setContent({0, 8, 1}, "=SUM(Goods[" + inFormula + "])");
    book->setContent({0, 9, 1}, "=SUM(Goods[Price])");
    book->calculate();
    const auto check = [&](const Book& seen) {
        EXPECT_EQ(seen.value({1, 0, 0}), Value(name));
        EXPECT_EQ(seen.content({0, 3, 1}), "=SUM(Goods[" + inFormula + "])+SUM(Own[Price])");
        EXPECT_EQ(seen.content({1, 1, 2}), "=Goods[[#This Row]," + inFormula + "]*2");
        EXPECT_EQ(seen.content({0, 6, 1}), "=SUM(Goods[[#All]," + inFormula +
                                               ":[Total]])+ROWS(Goods[[#Headers],[#Data]," + inFormula +
                                               "])");
        const Value wanted[] = {10.0, {}, 5.0, 23.0, 5.0, 5.0, Failure::Ref};
        for (std::int32_t i = 0; i < 7; ++i) EXPECT_EQ(seen.value({0, 3 + i, 1}), wanted[i]) << i;
    };
    check(*book);

    saveWorkbook(*book, path("in.xlsx"), path("out.xlsx"));
    const auto before = entriesOf(path("in.xlsx"), 0), after = entriesOf(path("out.xlsx"), 0);
    EXPECT_EQ(after.at("xl/tables/table1.xml"), before.at("xl/tables/table1.xml"));
    std::string wanted = before.at("xl/tables/table2.xml");
    const auto replace = [&](const std::string& from, const std::string& to) {
        wanted.replace(wanted.find(from), from.size(), to);
    };
    replace("'Price'", R"("Net [#'@]_x000a__x005F_x0041_ &quot;&amp;&quot; _x005F_x0041_x000a_")");
    replace("a_x000a_b", "Later");
    replace("[Price]", "[Net '['#'''@']&#10;_x005F_x0041_ &quot;&amp;&quot; _x005F_x0041&#10;]");
    EXPECT_EQ(after.at("xl/tables/table2.xml"), wanted);

    const auto again = load(path("out.xlsx"));
    again->calculateAll();
    check(*again);
    again->setValue({1, 1, 1}, 4.0); // no heading
    saveWorkbook(*again, path("out.xlsx"), path("more.xlsx"));
    EXPECT_EQ(entriesOf(path("more.xlsx"), 0).at("xl/tables/table2.xml"), wanted);
}

TEST_F(Writer, HeadingsAreTextsThatNoOtherColumnHas)
{
    const auto book = loadParts(headedWorkbook());
    const CellAddress heading{1, 0, 0};
    const std::pair<Value, const char*> cases[] = {
        {2.5, "2.5"},          {true, "TRUE"},     {Value(), "Column1"}, {"total", "total2"},
        {Failure::NA, "#N/A"}, {"Price", "Price"}, {"PRICE", "PRICE"},   {"A\nb", "A\nb2"}};
    for (const auto& [written, wanted] : cases) {
        book->setValue(heading, written);
        book->calculate();
        EXPECT_EQ(book->value(heading), Value(wanted));
        EXPECT_EQ(book->value({1, 1, 2}), Value(4.0)) << wanted;
    }
    EXPECT_THROW(book->setContent(heading, "=1"), BookError);
    EXPECT_THROW(book->setArrayFormula({1, 0, 1, 1, 1}, "={1;2}"), BookError);
    EXPECT_THROW(book->setValue(heading, Value(std::string(256, 'x'))), BookError);
    book->setValue({1, 0, 1}, Value());
    book->setValue({1, 0, 2}, Value());
    EXPECT_EQ(book->value({1, 0, 2}), Value("Column2"));
    EXPECT_EQ(book->value(heading), Value("A\nb2"));
    EXPECT_EQ(book->content({1, 1, 2}), "=Goods[[#This Row],[A\nb2]]*2");
}

TEST_F(Writer, ChangesCellsWhereTheyStand)
{
    struct Case {
        const char* rows;
        std::vector<std::pair<CellAddress, std::string>> put;
        const char* want;
    };
    const Case cases[] = {
        // Attributes and unknown elements stay; other cells keep every character.
        {R"(<row r="2" ht="20" spans="1:2"><c r="A2" s="5" x='1' vm="1"><v>1</v><extLst><e/></extLst></c>)"
         R"( <c  r="B2"><v>01.50</v></c></row>)",
         {{{0, 1, 0}, "2.5"}},
         R"(<row r="2" ht="20"><c r="A2" s="5" x='1'><v>2.5</v><extLst><e/></extLst></c>)"
         R"( <c  r="B2"><v>01.50</v></c></row>)"},
        // A number written again as it was, and a cell emptied.
        {R"(<row r="1"><c r="A1"><v>0.10000000000000001</v></c><c r="B1" s="2" t="str"><v>x</v></c></row>)",
         {{{0, 0, 0}, "0.1"}, {{0, 0, 1}, ""}},
         R"(<row r="1"><c r="A1"><v>0.10000000000000001</v></c><c r="B1" s="2"/></row>)"},
        // New cells before, between and after, new rows, an empty row.
        {R"(<row r="2"><c r="B2"><v>1</v></c><c><v>2</v></c></row><row r="4" s="3" customFormat="1"/>)",
         {{{0, 0, 2}, "9"}, {{0, 1, 0}, "TRUE"}, {{0, 1, 27}, "#N/A"}, {{0, 3, 0}, "a&b"}, {{0, 5, 0}, "7"}},
         R"(<row r="1"><c r="C1"><v>9</v></c></row><row r="2"><c r="A2" t="b"><v>1</v></c><c r="B2"><v>1</v>)"
         R"(</c><c><v>2</v></c><c r="AB2" t="e"><v>#N/A</v></c></row><row r="4" s="3" customFormat="1">)"
         R"(<c r="A4" s="3" t="inlineStr"><is><t xml:space="preserve">a&amp;b</t></is></c></row>)"
         R"(<row r="6"><c r="A6"><v>7</v></c></row>)"},
        // The result of a formula, and formulas that come, go, and come back.
        {R"(<row r="1"><c r="A1"><v>1</v></c><c r="B1" t="str"><f ca="1"> A1 *2</f><v>x</v></c>)"
         R"(<c r="C1"><f>A1+A1</f><v>2</v></c><c r="D1"><f>A1</f></c></row>)",
         {{{0, 0, 0}, "3"}, {{0, 0, 2}, "8"}, {{0, 0, 2}, "=A1+A1"}, {{0, 0, 3}, "4"}, {{0, 0, 4}, "=A1<2"}},
         R"(<row r="1"><c r="A1"><v>3</v></c><c r="B1"><f ca="1"> A1 *2</f><v>6</v></c>)"
         R"(<c r="C1"><f>A1+A1</f><v>6</v></c><c r="D1"><v>4</v></c>)"
         R"(<c r="E1" t="b"><f>A1&lt;2</f><v>0</v></c></row>)"},
        // A shared formula that loses its first cell leaves each follower its own text.
        {R"(<row r="1"><c r="A1"><v>1</v></c><c r="B1"><f t="shared" ref="B1:B3" si="0">A1+1</f><v>2</v></c></row>)"
         R"(<row r="2"><c r="B2"><f t="shared" si="0"/><v>1</v></c></row>)"
         R"(<row r="3"><c r="B3" s="1"><f t="shared" si="0"/><v>1</v></c></row>)",
         {{{0, 0, 1}, "5"}, {{0, 2, 1}, "6"}},
         R"(<row r="1"><c r="A1"><v>1</v></c><c r="B1"><v>5</v></c></row>)"
         R"(<row r="2"><c r="B2"><f>A2+1</f><v>1</v></c></row><row r="3"><c r="B3" s="1"><v>6</v></c></row>)"},
        // The further cells of an array formula hold results only.
        {R"(<row r="1"><c r="A1"><v>1</v></c><c r="B1"><f t="array" ref="B1:C1">A1*{1,2}</f><v>1</v></c>)"
         R"(<c r="C1"><v>2</v></c></row>)",
         {{{0, 0, 0}, "2"}},
         R"(<row r="1"><c r="A1"><v>2</v></c><c r="B1"><f t="array" ref="B1:C1">A1*{1,2}</f><v>2</v></c>)"
         R"(<c r="C1"><v>4</v></c></row>)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.rows);
        const auto book = loadParts(workbookParts(c.rows));
        for (const auto& [cell, content] : c.put) book->setContent(cell, content);
        book->calculateAll();
        EXPECT_EQ(sheetAfter(*book), c.want);
    }
}

// What other programs go by: the cell's entry in the metadata part. Further entries stay as they are.
TEST(Metadata, GetsAnEntryForSpills)
{
    const std::string begin = "<metadata xmlns=\"" + kMain + "\">", end = "</metadata>";
    const std::string kind = xlsx::spillMetadataPart(false);
    const auto between = [&](const std::string& from, const std::string& to) {
        const std::size_t at = kind.find(from);
        return kind.substr(at, kind.find(to) + to.size() - at);
    };
    const std::string type = between("<metadataType ", "cellMeta=\"1\"/>"),
                      record = between("<bk><extLst>", "</extLst></bk>");
    const std::string types = "<metadataTypes count=\"1\">" + type + "</metadataTypes>";
    const std::string off = "<bk><extLst><ext/></extLst></bk>";
    const auto records = [](const std::string& list, int n) {
        return "<futureMetadata name=\"XLDAPR\" count=\"" + std::to_string(n) + "\">" + list +
               "</futureMetadata>";
    };
    const auto cells = [](const std::string& list, int n) {
        return "<cellMetadata count=\"" + std::to_string(n) + "\">" + list + "</cellMetadata>";
    };
    const std::string rich = "<metadataType name=\"XLRICHVALUE\"/>", other = "<bk><rc t=\"2\" v=\"0\"/></bk>";
    struct Case {
        std::string before, after; // `after` empty: there is an entry already
        std::uint32_t entry;
    };
    const Case cases[] = {
        {"", types + records(record, 1) + cells("<bk><rc t=\"1\" v=\"0\"/></bk>", 1), 1},
        // An entry that is there is used; one of another kind, or of a record that does not say so, is not
        // it.
        {types + records(record, 1) + cells("<bk><rc t=\"1\" v=\"0\"/></bk>", 1), "", 1},
        {types + records(off + record, 2) +
             cells("<bk><rc t=\"1\" v=\"0\"/></bk><bk><rc t=\"1\" v=\"1\"/></bk>", 2),
         "", 2},
        {types + records(off, 1) + cells("<bk><rc t=\"1\" v=\"0\"/></bk>", 1),
         types + records(off + record, 2) +
             cells("<bk><rc t=\"1\" v=\"0\"/></bk><bk><rc t=\"1\" v=\"1\"/></bk>", 2),
         2},
        // The kind is known, no cell has it.
        {types + records(record, 1) + "<valueMetadata count=\"0\"/>",
         types + records(record, 1) + cells("<bk><rc t=\"1\" v=\"0\"/></bk>", 1) +
             "<valueMetadata count=\"0\"/>",
         1},
        // Beside other kinds, with empty lists and comments.
        {"<metadataTypes count=\"1\">" + rich +
             "</metadataTypes><!-- x --><futureMetadata name=\"XLRICHVALUE\"/>" + cells(other, 1) +
             "<extLst/>",
         "<metadataTypes count=\"2\">" + rich + type +
             "</metadataTypes><!-- x --><futureMetadata name=\"XLRICHVALUE\"/>" + records(record, 1) +
             cells(other + "<bk><rc t=\"2\" v=\"0\"/></bk>", 2) + "<extLst/>",
         2},
        {"<metadataTypes/><cellMetadata count=\"0\"/>",
         types + records(record, 1) + cells("<bk><rc t=\"1\" v=\"0\"/></bk>", 1), 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.before);
        const std::string before = begin + c.before + end;
        const std::string bytes = zipped({{"m.xml", before}});
        xlsx::Package package(std::as_bytes(std::span(bytes)), "book.xlsx", {});
        const xlsx::CellMetadata known = xlsx::readCellMetadata(package, "m.xml");
        if (c.after.empty()) {
            EXPECT_EQ(known.spillingEntry(), c.entry);
            continue;
        }
        EXPECT_EQ(known.spillingEntry(), 0U);
        xlsx::MetadataEdit edit(known);
        xlsx::XmlCopier(edit).parse(before, true);
        EXPECT_EQ(edit.out, begin + c.after + end);
        EXPECT_EQ(known.spills.size() + 1, c.entry);
    }
}

TEST_F(Writer, SpillsStaySpills)
{
    const std::string none,
        elsewhere = "<metadata xmlns=\"" + kMain +
                    "\"><metadataTypes><metadataType name=\"XLMDX\"/></metadataTypes>"
                    "<cellMetadata><bk><rc t=\"1\" v=\"0\"/></bk></cellMetadata></metadata>";
    for (const std::string& metadata : {none, elsewhere}) {
        Parts more;
        if (!metadata.empty())
            more = {{"xl/metadata.xml", metadata},
                    {"xl/_rels/workbook.xml.rels",
                     "<Relationships><Relationship Id=\"rId1\" Type=\"" + kTypes +
                         "/worksheet\" Target=\"worksheets/sheet1.xml\"/><Relationship Id=\"rId2\" Type=\"" +
                         kTypes + "/sheetMetadata\" Target=\"metadata.xml\"/></Relationships>"}};
        const auto book = loadParts(workbookParts(
            R"(<row r="1"><c r="A1"><v>2</v></c><c r="B1" cm="1"><f t="array" ref="B1">A1</f><v>2</v></c></row>)",
            more));
        const SheetIndex added = book->addSheet("Added");
        book->setContent({0, 1, 0}, "=SEQUENCE(A1)*10");        // A2
        book->setContent({0, 0, 3}, "=IF(A1>5,SEQUENCE(2),0)"); // D1: one value for now
        book->setContent({0, 0, 5}, "=SUM(A2#)+@A1:A9");        // F1
        book->setContent({0, 0, 6}, "=A2:A3*SEQUENCE(1,2)");    // G1: its range means no cell of this row
        book->setContent({added, 0, 0}, "=SORT(Data!A2#,1,-1)");
        book->calculateAll();
        ASSERT_EQ(book->value({0, 2, 0}), Value(20.0));
        saveWorkbook(*book, path("in.xlsx"), path("out.xlsx"));
        saveWorkbook(*book, "", path("new.xlsx"));
        for (const char* file : {"out.xlsx", "new.xlsx"}) {
            const auto again = load(path(file));
            again->calculateAll();
            EXPECT_EQ(again->value({0, 0, 6}), Value(Failure::Value));
            EXPECT_EQ(again->content({0, 0, 5}), "=SUM(A2#)+A1:A9"); // one cell without saying so
            again->setValue({0, 0, 0}, 6.0);
            again->calculate();
            EXPECT_EQ(again->value({0, 6, 0}), Value(60.0));
            EXPECT_EQ(again->value({0, 1, 3}), Value(2.0));
            EXPECT_EQ(again->value({0, 0, 5}), Value(216.0));
            EXPECT_EQ(again->value({1, 5, 0}), Value(10.0));
            EXPECT_TRUE(again->spills({0, 1, 0}));
            EXPECT_FALSE(again->spills({0, 0, 4}) || again->spills({0, 0, 5}));
            EXPECT_FALSE(again->arrayArea({0, 0, 4}));
        }
        // Saved again with the other size: the same entry, another area.
        const auto again = load(path("out.xlsx"));
        again->setValue({0, 0, 0}, 3.0);
        again->calculate();
        saveWorkbook(*again, path("out.xlsx"), path("third.xlsx"));
        const auto second = entriesOf(path("out.xlsx"), 0), third = entriesOf(path("third.xlsx"), 0);
        EXPECT_EQ(second.at("xl/metadata.xml"), third.at("xl/metadata.xml"));
        EXPECT_THAT(third.at("xl/worksheets/sheet1.xml"), HasSubstr("ref=\"A2:A4\""));
        EXPECT_EQ(load(path("third.xlsx"))->value({1, 0, 0}), Value(30.0));
    }
}

TEST_F(Writer, WritesRepeatedRunsOverTheSourceItself)
{
    const auto book = loadParts(
        workbookParts(R"(<row r="1"><c r="A1"><v>1</v></c><c r="B1"><f>A1*2</f><v>2</v></c></row>)"));
    const Slot slot = book->slot({0, 0, 0});
    for (const double x : {4.0, 5.0, 1.0}) {
        book->write(slot, x);
        book->calculate();
        saveWorkbook(*book, path("in.xlsx"), path("in.xlsx"));
        book->markSaved();
        const auto again = load(path("in.xlsx"));
        EXPECT_EQ(again->value({0, 0, 0}), Value(x));
        EXPECT_EQ(again->value({0, 0, 1}), Value(2 * x));
    }
    EXPECT_THAT(filesLeft(), ElementsAre("in.xlsx"));
}

TEST_F(Writer, RefusesWhatItCannotSaveAndLeavesTheTargetAlone)
{
    const std::string relation = "<Relationship Id=\"rId";
    const auto book = loadParts(workbookParts(
        "<row r=\"1\"><c r=\"A1\"><v>1</v></c></row>",
        {{"xl/workbook.xml", "<workbook xmlns=\"" + kMain + "\" xmlns:r=\"" + kTypes +
                                 R"("><sheets><sheet name="Sound" sheetId="1" r:id="rId1"/>)"
                                 R"(<sheet name="Odd" sheetId="2" r:id="rId2"/></sheets></workbook>)"},
         {"xl/_rels/workbook.xml.rels",
          R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)" +
              relation + "1\" Type=\"" + kTypes + "/worksheet\" Target=\"worksheets/sheet1.xml\"/>" +
              relation + "2\" Type=\"" + kTypes +
              "/worksheet\" Target=\"worksheets/sheet2.xml\"/></Relationships>"},
         {"xl/worksheets/sheet2.xml",
          "<worksheet xmlns=\"" + kMain +
              "\"><sheetData><row r=\"2\"/><row r=\"1\"/></sheetData></worksheet>"}}));
    book->setValue({0, 0, 0}, 2.0);
    book->setValue({1, 0, 0}, 2.0);
    std::ofstream(path("out.xlsx")) << "before";
    EXPECT_THAT(failureOf(*book, path("in.xlsx"), path("out.xlsx")), HasSubstr("row 1 is not in order"));
    EXPECT_EQ(bytesOf(path("out.xlsx")), "before");
    EXPECT_THAT(failureOf(*book, path("in.xlsx"), path("no/out.xlsx")), HasSubstr("no such folder"));
    const auto macros = loadParts(macroWorkbook(), "in.xlsm");
    EXPECT_THAT(failureOf(*macros, path("in.xlsm"), path("out.xlsx")), HasSubstr("must end in .xlsm"));
    EXPECT_THAT(failureOf(*macros, path("in.xlsx"), path("out.xlsx")),
                HasSubstr("not the workbook any more"));
    EXPECT_THAT(filesLeft(), ElementsAre("in.xlsm", "in.xlsx", "out.xlsx"));
}

/// A new book with a large sheet, as its CSV shows it in another program.
// How files mark newer functions and bound names: as the program that the format comes from writes them.
TEST(FileFormula, MarksWhatLetAndLambdaBind)
{
    const std::pair<const char*, const char*> cases[] = {
        {"=LET(x,1,y,x+rate,x*y)", "_xlfn.LET(_xlpm.x,1,_xlpm.y,_xlpm.x+rate,_xlpm.x*_xlpm.y)"},
        {"=LET(x,x,x)+x", "_xlfn.LET(_xlpm.x,x,_xlpm.x)+x"},
        {"=LAMBDA(x,[y],IF(ISOMITTED(y),x,x+y))(1)",
         "_xlfn.LAMBDA(_xlpm.x,_xlop.y,IF(_xlfn.ISOMITTED(_xlpm.y),_xlpm.x,_xlpm.x+_xlpm.y))(1)"},
        {"=LET(f,LAMBDA(t,t*3),f(2))", "_xlfn.LET(_xlpm.f,_xlfn.LAMBDA(_xlpm.t,_xlpm.t*3),_xlpm.f(2))"},
        {"=LET(rank,RANK(A1,A1:A3),rank)", "_xlfn.LET(_xlpm.rank,RANK(A1,A1:A3),_xlpm.rank)"},
        {"=BYROW(A1:C3,SUM)", "_xlfn.BYROW(A1:C3,_xleta.SUM)"},
        {"=MAP(A1:A3,MYFUNCTION)", "_xlfn.MAP(A1:A3,MYFUNCTION)"},
        {"=FACTORIAL(\"LET(x\")", "FACTORIAL(\"LET(x\")"},
        {"=PERCENTOF(TRIMRANGE(A1:A3),B1:B3)", "_xlfn.PERCENTOF(_xlfn.TRIMRANGE(A1:A3),B1:B3)"},
        {"=_xlpm.x1+1", "_xlpm.x1+1"},
    };
    for (const auto& [text, want] : cases) {
        EXPECT_EQ(xlsx::fileFormula(text), want);
        const CellAddress here{0, 4, 2};
        EXPECT_EQ(std::get<Tree>(parseFormula(want, here)), std::get<Tree>(parseFormula(text, here))) << text;
    }
}

// Files have neither @ nor #, and know rows of tables by name only.
TEST(FileFormula, SpellsOutWhereOneValueIsWanted)
{
    struct Case {
        const char* text;
        bool spills;
        const char* want;
    };
    const Case cases[] = {
        {"=@A1:A9*2", false, "A1:A9*2"},
        {"=SUM(@A1:A9,B1#)", false, "SUM(_xlfn.SINGLE(A1:A9),_xlfn.ANCHORARRAY(B1))"},
        {"=A1:A9*2", false, "A1:A9*2"},
        {"=-Parts[@Price]*Parts[@[Qty]:[Price]]+ROWS(Parts[@])", false,
         "-Parts[[#This Row],[Price]]*Parts[[#This Row],[Qty]:[Price]]+ROWS(Parts[#This Row])"},
        {"=A1:A9*SORT(B1:B9)+SUM(C1:C9)", true, "_xlfn.SINGLE(A1:A9)*_xlfn._xlws.SORT(B1:B9)+SUM(C1:C9)"},
        {"=IF(A:A>1,SORT(@B1:B9*C1:C2),many+few)", true,
         "IF(_xlfn.SINGLE(A:A)>1,_xlfn._xlws.SORT(_xlfn.SINGLE(B1:B9)*C1:C2),_xlfn.SINGLE(many)+few)"},
        {"=SEQUENCE(INDEX(A1:B9,2,C1#))", true,
         "_xlfn.SEQUENCE(_xlfn.SINGLE(INDEX(A1:B9,2,_xlfn.SINGLE(_xlfn.ANCHORARRAY(C1)))))"},
        {"=LET(x,A1:A9*2,x+B1:B9)", true, "_xlfn.LET(_xlpm.x,A1:A9*2,_xlpm.x+B1:B9)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(xlsx::fileFormula(c.text, {c.spills, [](std::string_view name) { return name == "many"; }}),
                  c.want);
    }
}

// References by paths, as other kinds of files have them, become numbers with a part for each book.
TEST_F(Writer, NewBooksKeepTheirLinks)
{
    const std::string copies =
        R"(<t:table t:name="'file:///a%20b/p.ods'#My sheet"><t:table-row><t:table-cell/><t:table-cell )"
        R"(o:value-type="float" o:value="3"/></t:table-row><t:table-row><t:table-cell o:value-type="string"><x:p>)"
        R"(a&lt;b</x:p></t:table-cell></t:table-row></t:table>)";
    std::ofstream(path("in.ods"), std::ios::binary) << openDocument(
        R"(<t:table t:name="S"><t:table-row><t:table-cell o:value-type="float" o:value="2"/><t:table-cell )"
        R"(t:formula="of:=['file:///a%20b/p.ods'#$'My sheet'.B1]*[.A1]"/><t:table-cell )"
        R"x(t:formula="of:=LEN(['file:///a%20b/p.ods'#$'My sheet'.A2])"/></t:table-row></t:table>)x"
        R"(<t:named-expressions><t:named-range t:name="far" t:cell-range-address="'file:///a%20b/p.ods'#$'My sheet'.$B$1"/>)"
        "</t:named-expressions>" +
        copies);
    Book book;
    openFile(path("in.ods"), book.builder());
    book.finishLoading();
    book.calculateAll();
    EXPECT_EQ(book.value({0, 0, 1}), Value(6.0));
    book.forgetFile();
    saveWorkbook(book, "", path("out.xlsx"));
    const auto again = load(path("out.xlsx"));
    EXPECT_EQ(again->content({0, 0, 1}), "='[1]My sheet'!B1*A1");
    again->setContent({0, 0, 3}, "=far+1");
    again->setValue({0, 0, 0}, 5.0);
    again->calculateAll();
    EXPECT_EQ(again->value({0, 0, 1}), Value(15.0));
    EXPECT_EQ(again->value({0, 0, 2}), Value(3.0));
    EXPECT_EQ(again->value({0, 0, 3}), Value(4.0));
    EXPECT_THAT(again->inspect().links, ElementsAre("file:///a%20b/p.ods"));
}

TEST_F(Writer, NewBooksOpenInAnotherProgram)
{
    constexpr std::int32_t kRows = 3000, kCols = 40;
    Book book;
    const SheetIndex first = book.addSheet("First");
    book.setContent({first, 0, 0}, "=SUM(Large!A1:AN3000)");
    book.setValue({first, 0, 1}, "x;\"y\" <z>");
    book.setContent({first, 1, 0}, "=total");
    const SheetIndex large = book.addSheet("Large");
    for (std::int32_t r = 0; r < kRows; ++r)
        for (std::int32_t c = 0; c < kCols; ++c) book.setValue({large, r, c}, r + 0.25 * c);
    book.defineName("total", std::nullopt, "First!$A$1");
    book.calculateAll();
    saveWorkbook(book, "", path("new.xlsx"));
    const auto again = load(path("new.xlsx"));
    const double sum = 40.0 * 2999.0 * 1500.0 + 3000.0 * 0.25 * 780.0;
    EXPECT_EQ(again->value({0, 0, 0}), Value(sum));
    EXPECT_EQ(again->value({1, kRows - 1, kCols - 1}), Value(2999 + 9.75));
    EXPECT_EQ(again->content({0, 1, 0}), "=total");

    if (std::system("command -v soffice > /dev/null 2>&1") != 0) GTEST_SKIP() << "soffice is not installed";
    const std::string command = "soffice -env:UserInstallation=file://" + path("profile") +
                                " --headless --convert-to csv --outdir " + path("csv") + " " +
                                path("new.xlsx") + " > /dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(bytesOf(path("csv/new.csv")), "180525000,\"x;\"\"y\"\" <z>\"\n180525000,\n");
}

} // namespace
} // namespace varnex3::sheet::test
