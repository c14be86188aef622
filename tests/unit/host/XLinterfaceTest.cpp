// Cell checks, probes and recalculation on the recording host.
#include <gmock/gmock.h>

#include "support/Expect.h"

namespace varnex3 {
namespace {

using namespace alg_m_XLinterface;
using test::Lines;
using test::Record;
using testing::ElementsAre;

class XLinterface : public test::LibraryTest {};

TEST_F(XLinterface, CheckCellShowsAndNamesWhatItRejects)
{
    struct Case {
        Variant value;
        bool allowEmpty, noNegative;
        Long number; // 0: accepted
        const char* description;
    };
    const Case cases[] = {
        {2.5, false, true, 0, ""},
        {-0.0, false, true, 0, ""},
        {"1e2", false, false, 0, ""},
        {Variant{}, true, true, 0, ""},
        {"", true, false, 0, ""},
        {-1.0, false, false, 0, ""},
        {Variant{}, false, false, 515, "Non-numeric cell value"},
        {"", false, false, 515, "Non-numeric cell value"},
        {"abc", true, false, 515, "Non-numeric cell value"},
        {-1.0, false, true, 517, "Negative cell value"},
        {"-1", true, true, 517, "Negative cell value"},
        {true, false, true, 517, "Negative cell value"}, // True is -1
        {ErrorValue{2007}, true, false, 513, "Error in cell value"},
    };
    const Lines shown = {"Book1.xlsx.Activate", "Sheet1.Activate", "Sheet1!$B$3.Select"};
    const Ref<host::Range> cell = sheet.range("B3");
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << test::shown(c.value) << ", " << c.allowEmpty << ", " << c.noNegative);
        sheet.set("B3", c.value);
        test::expectRaises(c.number, c.number ? "Deterministic_Ys" : "", c.description,
                           [&] { CheckCell(*cell, "Deterministic_Ys", c.allowEmpty, c.noNegative); });
        EXPECT_EQ(host->take(), c.number ? shown : Lines{});
    }
    test::expectRaises(513, [&] { CheckCell(*sheet.range("A1:B3"), "p", true, false); }); // no single value
}

TEST_F(XLinterface, CheckCellReadsAGoodCellOnce)
{
    sheet.set("B3", 2.5);
    const Ref<host::Range> cell = sheet.range("B3");
    host->record = Record::Everything;
    CheckCell(*cell, "p", false, true);
    EXPECT_THAT(host->calls, ElementsAre("Sheet1!$B$3.Value?"));
}

TEST_F(XLinterface, CheckCellNamesItselfWhenTheCallerDoesNot)
{
    sheet.set("B3", "abc");
    std::string procedure;
    test::expectRaises(515, "CheckCell", "Non-numeric cell value",
                       [&] { CheckCell(*sheet.range("B3"), procedure, false, false); });
    EXPECT_EQ(procedure, "CheckCell");
}

TEST_F(XLinterface, RecalcGoesOnAfterAFailureAndReportsIt)
{
    struct Case {
        const char* failing; // start of the failing call
        bool want;
    };
    hostState().beforeMacro = "before";
    hostState().afterMacro = "after";
    host->macros["before"] = host->macros["after"] = [](auto) { return Variant{}; };
    for (const Case& c :
         {Case{"nothing", true}, {"Run before", false}, {"Calculate", false}, {"Run after", false}}) {
        host->heal();
        host->fail(c.failing);
        EXPECT_EQ(Recalc(*host), c.want) << c.failing;
        EXPECT_THAT(host->take(), ElementsAre("Run before()", "Calculate", "Run after()")) << c.failing;
        EXPECT_EQ(err().number, 0);
    }
    host->heal();
    hostState() = {};
    EXPECT_TRUE(Recalc(*host));
    EXPECT_THAT(host->take(), ElementsAre("Calculate"));
}

TEST_F(XLinterface, SameRangeComparesWorkbookSheetAndAddress)
{
    test::FakeSheet& otherSheet = host->sheet("sheet1"); // case matters
    test::FakeSheet& otherBook = host->addBook("Book2.xlsx").sheet();
    const Ref<host::Range> cell = sheet.range("B3");
    EXPECT_TRUE(SameRange(*cell, *sheet.range("$B$3")));
    EXPECT_FALSE(SameRange(*cell, *sheet.range("B4")));
    EXPECT_FALSE(SameRange(*cell, *otherSheet.range("B3")));
    EXPECT_FALSE(SameRange(*cell, *otherBook.range("B3")));
}

TEST_F(XLinterface, IsRangeNeedsAHostThatAnswers)
{
    const Variant cell{sheet.range("B3")};
    EXPECT_TRUE(IsRange(cell));
    for (const Variant& v :
         {Variant{}, Variant{1.0}, Variant{"B3"}, Variant{Ref<host::Range>{}}, Variant{host}})
        EXPECT_FALSE(IsRange(v));
    for (const char* member : {"Application", "Address", "Value"}) {
        host->heal();
        host->fail(std::string("Sheet1!$B$3.") + member);
        EXPECT_FALSE(IsRange(cell)) << member;
        EXPECT_NE(rangeOf(cell), nullptr); // a reference all the same
    }
}

TEST_F(XLinterface, ErrorCellsAndPlainValues)
{
    sheet.set("A1", ErrorValue{2042});
    EXPECT_TRUE(IsErrorCell(*sheet.range("A1")));
    EXPECT_FALSE(IsErrorCell(*sheet.range("A2"))); // empty
    sheet.set("A2", 7.0);
    EXPECT_EQ(valueOf(sheet.range("A2")), Variant{7.0});
    EXPECT_EQ(valueOf(3.0), Variant{3.0});
}

TEST_F(XLinterface, SheetExistsFindsOrMakesAWorkbook)
{
    std::string book;
    EXPECT_TRUE(SheetExists(*host, "Sheet1", book));
    EXPECT_EQ(book, "Book1.xlsx");
    EXPECT_FALSE(SheetExists(*host, "Sheet2", book));
    book = "Closed.xlsx";
    EXPECT_FALSE(SheetExists(*host, "Sheet1", book));
    EXPECT_THAT(host->calls, ElementsAre());

    const auto bare = test::FakeHost::createWithoutWorkbook();
    EXPECT_TRUE(NoActiveWorkbook(*bare));
    book.clear();
    EXPECT_TRUE(SheetExists(*bare, "Sheet1", book));
    EXPECT_THAT(bare->calls, ElementsAre("Workbooks.Add"));
    EXPECT_EQ(book, "Book1");
    EXPECT_TRUE(WorkbookOpen(*bare, "Book1"));
    EXPECT_FALSE(WorkbookOpen(*bare, "Book2"));
}

TEST_F(XLinterface, VersionsAreUnknownWithoutAHost)
{
    EXPECT_EQ(XLVersion(), "Unknown");
    hostState().application = host;
    EXPECT_EQ(XLVersion(), "16.0");
    host->fail("OperatingSystem");
    EXPECT_EQ(OSVersion(), "Unknown");
    EXPECT_EQ(err().number, 0);
}

} // namespace
} // namespace varnex3
