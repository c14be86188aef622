// tests/unit/workbook/SavedFilesTest.cpp - saved files in a real spreadsheet program: LibreOffice opens them,
// recalculates them and gives the results that are stored in them. Skipped where it is not installed.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "sheet/formula/Parser.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::workbook {
namespace {

namespace fs = std::filesystem;

class SavedFiles : public testing::Test {
protected:
    void SetUp() override
    {
        if (std::system("command -v soffice > /dev/null 2>&1") != 0)
            GTEST_SKIP() << "needs LibreOffice: the program soffice is not there";
        fs::remove_all(folder_);
        fs::create_directories(folder_ / "out");
    }
    void TearDown() override { fs::remove_all(folder_); }

    /// Lets LibreOffice open the file and save it; the path of what it saved.
    std::string throughLibreOffice(const std::string& name) const
    {
        const std::string command = "soffice -env:UserInstallation=file://" + (folder_ / "profile").string() +
                                    " --headless --convert-to 'xlsx:Calc MS Excel 2007 XML' --outdir '" +
                                    (folder_ / "out").string() + "' '" + (folder_ / name).string() +
                                    "' > /dev/null 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
        return (folder_ / "out" / name).string();
    }

    /// Every cell of the saved file has the same value and formula in LibreOffice's copy.
    void expectKept(const std::string& name) const
    {
        const auto ours = std::make_shared<EmbeddedApplication>(),
                   theirs = std::make_shared<EmbeddedApplication>();
        const sheet::Book& saved = ours->book(*ours->open((folder_ / name).string()));
        const sheet::Book& copy = theirs->book(*theirs->open(throughLibreOffice(name)));
        ASSERT_EQ(copy.sheetCount(), saved.sheetCount());
        int formulas = 0;
        for (sheet::SheetIndex s = 0; s < saved.sheetCount(); ++s) {
            EXPECT_EQ(copy.sheetName(s), saved.sheetName(s));
            const sheet::Area used = saved.used(s);
            for (std::int32_t r = 0; r <= used.row1; ++r)
                for (std::int32_t c = 0; c <= used.col1; ++c) {
                    const sheet::CellAddress at{s, r, c};
                    const sheet::Value &mine = saved.value(at), &other = copy.value(at);
                    SCOPED_TRACE(saved.sheetName(s) + "!" + sheet::a1Text(at));
                    formulas += saved.hasFormula(at) ? 1 : 0;
                    EXPECT_EQ(copy.hasFormula(at), saved.hasFormula(at));
                    EXPECT_EQ(other.kind(), mine.kind());
                    if (mine.isNumber() && other.isNumber()) {
                        EXPECT_NEAR(other.number(), mine.number(),
                                    1e-9 * std::max(1.0, std::abs(mine.number())));
                    } else if (mine.isText() && other.isText()) {
                        EXPECT_EQ(other.text(), mine.text());
                    }
                }
        }
        EXPECT_GT(formulas, 0);
    }

    // Of this test alone: others may run beside it.
    fs::path folder_ =
        fs::path(testing::TempDir()) /
        (std::string("corvane_") + testing::UnitTest::GetInstance()->current_test_info()->name());
};

TEST_F(SavedFiles, ChangedFilesOpen)
{
    const auto application = std::make_shared<EmbeddedApplication>();
    const Ref<host::Workbook> beam = application->open(CORVANE_TEST_DATA "/workbooks/beam.xlsx");
    sheet::Book& book = application->book(*beam);
    const sheet::SheetIndex added = book.addSheet("Added & new");
    book.setValue({0, 0, 1}, sheet::Value(0.06));
    book.setContent({added, 0, 0}, "=Inputs!B1*2");
    book.setContent({added, 1, 0}, "a <text> & more");
    book.setContent({added, 2, 0}, "=IF(A1>0,\"yes\",\"no\")");
    application->Calculate();
    application->save(*beam, (folder_ / "beam.xlsx").string());
    expectKept("beam.xlsx");
}

TEST_F(SavedFiles, FilesWithSpillsAndWithoutTheirTablesOpen)
{
    for (const bool removed : {false, true}) {
        const auto application = std::make_shared<EmbeddedApplication>();
        const Ref<host::Workbook> tables =
            application->open(CORVANE_TEST_DATA "/workbooks/corpus_tables.xlsx");
        sheet::Book& book = application->book(*tables);
        const sheet::SheetIndex added = book.addSheet("Added");
        book.setContent({added, 0, 0}, "=MUNIT(3)");
        if (removed) book.removeSheet(0);
        application->Calculate();
        application->save(*tables, (folder_ / "tables.xlsx").string());
        expectKept("tables.xlsx");
    }
}

TEST_F(SavedFiles, FilesWithOtherHeadingsOpen)
{
    const auto application = std::make_shared<EmbeddedApplication>();
    const Ref<host::Workbook> tables = application->open(CORVANE_TEST_DATA "/workbooks/corpus_tables.xlsx");
    sheet::Book& book = application->book(*tables);
    book.setContent({0, 0, 1}, "Unit price, [net] (a+b)");
    book.setContent({0, 0, 3}, "Sum");
    book.setContent({1, 20, 0}, "=INDEX(Parts[Sum],3)+SUM(Parts[[Unit price, '[net'] (a+b)]])");
    application->Calculate();
    EXPECT_EQ(book.value({1, 20, 0}), sheet::Value(160.5));
    application->save(*tables, (folder_ / "headed.xlsx").string());
    expectKept("headed.xlsx");
}

TEST_F(SavedFiles, NewFilesOpen)
{
    const auto application = std::make_shared<EmbeddedApplication>();
    const Ref<host::Workbook> made = application->Workbooks()->Add();
    sheet::Book& book = application->book(*made);
    book.defineName("rate", {}, "Sheet1!$A$1");
    const char* const contents[] = {"1.5",     "=rate*2", "=STDEV.S(A1:A2)", "é \"quoted\"",
                                    "-7E-300", "=1=1",    "=A4&\"x\""};
    for (std::int32_t i = 0; i < 7; ++i) book.setContent({0, i, 0}, contents[i]);
    book.setArrayFormula({0, 0, 2, 1, 2}, "=A1:A2*2");
    book.setContent({0, 0, 4}, "=TRANSPOSE(A1:A2)+2"); // spills
    book.setContent({0, 2, 4}, "=@A1:A9+1");
    application->Calculate();
    application->save(*made, (folder_ / "made.xlsx").string());
    expectKept("made.xlsx");
}

} // namespace
} // namespace varnex3::workbook
