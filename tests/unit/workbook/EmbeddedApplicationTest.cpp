// tests/unit/workbook/EmbeddedApplicationTest.cpp - the embedded host as the analysis library sees it.
#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>

#include "workbook/Convert.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::workbook {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kBeam = CORVANE_TEST_DATA "/workbooks/beam.xlsx";

// "number: description" of the error that `work` raises; "none" when it raises none.
template <class F>
std::string errorOf(F&& work)
{
    try {
        work();
    } catch (const Raised&) {
        const std::string text = std::to_string(err().number) + ": " + err().description;
        caught();
        return text;
    }
    return "none";
}

class Embedded : public testing::Test {
protected:
    Ref<host::Range> cell(const std::string& reference) { return application->range(reference); }
    void put(const std::string& reference, const Variant& value) { cell(reference)->Value(value); }
    Variant get(const std::string& reference) { return cell(reference)->Value(); }

    Ref<EmbeddedApplication> application = std::make_shared<EmbeddedApplication>();
};

// Kinds of files that are read only become new workbooks when they are saved.
TEST_F(Embedded, SavesReadOnlyKindsAsNewWorkbooks)
{
    const std::filesystem::path folder = testing::TempDir();
    const std::string table = (folder / "corvane_table.csv").string(),
                      copy = (folder / "corvane_table.xlsx").string();
    std::ofstream(table) << "x;2024-02-29\n2;=A2*3\n";
    const Ref<host::Workbook> opened = application->open(table);
    put("corvane_table!A2", 5.0);
    application->Calculate();
    EXPECT_THAT(errorOf([&] { application->save(*opened, table); }), HasSubstr("must end in .xlsx"));
    application->save(*opened, copy);
    const auto other = std::make_shared<EmbeddedApplication>();
    const Ref<host::Workbook> saved = other->open(copy);
    EXPECT_EQ(other->range("corvane_table!B2")->Value(), Variant(15.0));
    EXPECT_EQ(other->book(*saved).content({0, 1, 1}), "=A2*3");
    EXPECT_EQ(other->book(*saved).content({0, 0, 0}), "x");
    std::filesystem::remove(table);
    std::filesystem::remove(copy);
}

TEST_F(Embedded, OpensFilesAndFindsThemByName)
{
    EXPECT_THAT(errorOf([&] { application->ActiveWorkbook(); }), StartsWith("91: "));
    const Ref<host::Workbook> beam = application->open(kBeam);
    EXPECT_EQ(beam->Name(), "beam.xlsx");
    EXPECT_EQ(application->ActiveWorkbook(), beam);
    EXPECT_EQ(application->Workbooks()->Item("BEAM.xlsx"), beam);
    EXPECT_THAT(errorOf([&] { application->open(kBeam); }),
                AllOf(StartsWith("1004: "), HasSubstr("open already")));
    EXPECT_THAT(errorOf([&] { application->open("no such.xlsx"); }),
                HasSubstr("no such.xlsx: there is no such file"));
    EXPECT_EQ(errorOf([&] { application->Workbooks()->Item("other"); }), "9: No workbook \"other\" is open");

    const Ref<host::Workbook> made = application->Workbooks()->Add();
    EXPECT_EQ(made->Name(), "Book1");
    EXPECT_EQ(made->SheetCount(), 1);
    EXPECT_EQ(application->ActiveWorkbook()->Name(), "Book1");
    beam->Activate();
    EXPECT_EQ(application->ActiveWorkbook(), beam);
    EXPECT_EQ(application->Workbooks()->Add()->Name(), "Book2");
}

TEST_F(Embedded, SheetsKeepTheirIdentityWhenOthersGo)
{
    const Ref<host::Workbook> book = application->Workbooks()->Add();
    const Ref<host::Worksheet> first = book->Worksheets("SHEET1");
    const Ref<host::Worksheet> second = book->AddWorksheet();
    const Ref<host::Worksheet> third = book->AddWorksheet();
    EXPECT_EQ(third->Name(), "Sheet3");
    third->Name("Results");
    const Ref<host::Range> inThird = third->Cells(2, 3);
    const Ref<host::Range> inSecond = second->Cells(1, 1);
    third->Cells(2, 3, 7.5);
    inSecond->Value(1.0);
    EXPECT_EQ(inThird->Value(), Variant(7.5));

    second->Delete();
    EXPECT_EQ(book->SheetCount(), 2);
    EXPECT_EQ(inThird->Value(), Variant(7.5));
    inThird->Value(8.0);
    EXPECT_EQ(book->Worksheets(2)->Cells(2, 3)->Value(), Variant(8.0));
    EXPECT_EQ(book->Worksheets(2)->Name(), "Results");
    for (const auto& use :
         std::vector<std::function<void()>>{[&] { inSecond->Value(); }, [&] { inSecond->Value(1.0); },
                                            [&] { inSecond->Address(); }, [&] { second->Name(); }})
        EXPECT_EQ(errorOf(use), "1004: the sheet has been deleted");
    EXPECT_EQ(book->AddWorksheet()->Name(), "Sheet3");

    EXPECT_THAT(errorOf([&] { book->Worksheets("Sheet2"); }), StartsWith("9: There is no sheet \"Sheet2\""));
    EXPECT_THAT(errorOf([&] { book->Worksheets(4); }), StartsWith("9: "));
    for (const char* name : {"", "a/b", "'a", "results", "a name of more than thirty-one letters"})
        EXPECT_THAT(errorOf([&] { first->Name(name); }), StartsWith("1004: ")) << name;
    EXPECT_THAT(errorOf([&] { first->Cells(0, 1); }), HasSubstr("row 0, column 1 is outside"));
    EXPECT_THAT(errorOf([&] { first->Cells(1, 16385); }), HasSubstr("outside"));
    first->Delete();
    book->Worksheets(2)->Delete();
    EXPECT_THAT(errorOf([&] { third->Delete(); }), HasSubstr("the only sheet"));
}

TEST_F(Embedded, CellsHoldWhatIsPutIntoThem)
{
    application->Workbooks()->Add();
    struct Case {
        Variant put, want;
        const char* formula;
    };
    const Case cases[] = {
        {2.5, 2.5, "2.5"},
        {"text", "text", "text"},
        {"12", 12.0, "12"}, // as if typed
        {"'12", "12", "12"},
        {"=1+1", 2.0, "=1+1"},
        {"", Variant(), ""},
        {Variant(), Variant(), ""},
        {std::numeric_limits<double>::infinity(), ErrorValue{2036}, "#NUM!"},
        {ErrorValue{2007}, ErrorValue{2007}, "#DIV/0!"},
        {true, true, "TRUE"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.formula);
        put("A1", 99.0);
        put("A1", c.put);
        EXPECT_EQ(get("A1"), c.want);
        EXPECT_EQ(cell("A1")->Formula(), c.formula);
    }
    put("B1", "=A1*2");
    put("A1", 4.0);
    EXPECT_TRUE(cell("B1")->HasFormula());
    put("C1", cell("B1")); // a range stands for its value
    EXPECT_EQ(get("C1"), Variant(8.0));
    EXPECT_FALSE(cell("C1")->HasFormula());
    const std::string saved = cell("B1")->Formula(); // what a run does with a parameter cell
    put("B1", 1.0);
    EXPECT_FALSE(cell("B1")->HasFormula());
    cell("B1")->Formula(saved);
    EXPECT_EQ(get("B1"), Variant(8.0));
    EXPECT_THAT(errorOf([&] { cell("B1")->Formula("=1+*"); }), StartsWith("1004: "));
    EXPECT_EQ(get("B1"), Variant(8.0));
    EXPECT_THAT(errorOf([&] { put("A1", Ref<host::Workbooks>(application->Workbooks())); }),
                StartsWith("13: "));
}

TEST_F(Embedded, AreasCountFromOneInBothDirections)
{
    application->Workbooks()->Add();
    const Ref<host::Range> area = cell("B2:C3");
    EXPECT_EQ(area->Count(), 4);
    EXPECT_EQ(area->Address(), "$B$2:$C$3");
    EXPECT_EQ(cell("$b$3")->Address(), "$B$3");
    area->Value(std::make_shared<const Array2<double>>(Array2<double>(2, 1, 5.0))); // one column goes to all
    EXPECT_EQ(get("C3"), Variant(5.0));
    Array2<Variant> block(1, 2);
    block(1, 1) = "x";
    block(1, 2) = true;
    area->Value(std::make_shared<const Array2<Variant>>(block)); // one row goes to all
    const Variant read = area->Value();
    const auto& values = *std::get<VariantArray2>(read.held());
    EXPECT_EQ(values(2, 1), Variant("x"));
    EXPECT_EQ(values(2, 2), Variant(true));
    cell("B2:D3")->Value(std::make_shared<const Array2<double>>(Array2<double>(2, 2, 1.0)));
    EXPECT_EQ(get("D3"), Variant(ErrorValue{2042})); // #N/A where the array does not reach
    put("A2:A3", 3.0);
    cell("D2:D3")->Formula("=A2+$A$2*10");
    put("A3", 4.0);
    EXPECT_EQ(get("D3"), Variant(34.0));
    EXPECT_TRUE(cell("D2:D3")->HasFormula());
    EXPECT_FALSE(cell("C2:D3")->HasFormula());
    EXPECT_THAT(errorOf([&] { cell("A1:XFD1048576")->Count(); }), StartsWith("6: "));
}

TEST_F(Embedded, CalculationModeDecidesWhenFormulasFollow)
{
    application->Workbooks()->Add();
    put("A1", 1.0);
    put("B1", "=A1*10");
    const Ref<host::Range> in = cell("A1"), out = cell("B1");
    EXPECT_EQ(out->Value(), Variant(10.0));
    application->Calculation(host::kCalculationManual);
    in->Value(2.0);
    EXPECT_EQ(out->Value(), Variant(10.0));
    application->Calculate();
    EXPECT_EQ(out->Value(), Variant(20.0));
    in->Value(3.0);
    EXPECT_EQ(out->Value(), Variant(20.0));
    application->Calculation(host::kCalculationAutomatic); // what was missed is made up for
    EXPECT_EQ(out->Value(), Variant(30.0));
    EXPECT_EQ(application->Calculation(), host::kCalculationAutomatic);
    EXPECT_THAT(errorOf([&] { application->Calculation(7); }), StartsWith("1004: "));
}

TEST_F(Embedded, ReferencesNameWhatIsWrongWithThem)
{
    application->open(kBeam);
    EXPECT_EQ(get("Inputs!$B$4"), Variant(1500.0));
    EXPECT_EQ(get("B4"), Variant(1500.0)); // the first sheet is active
    EXPECT_EQ(get(" LOAD "), Variant(1500.0));
    EXPECT_EQ(get("'results & more'!A1"), Variant("inertia"));
    EXPECT_EQ(get("'[beam.xlsx]Results & more'!A1"), Variant("inertia"));
    EXPECT_EQ(get("beam.xlsx!load"), Variant(1500.0));
    EXPECT_EQ(cell("load")->Worksheet()->Name(), "Inputs");
    EXPECT_EQ(cell("load")->Worksheet()->Parent()->Name(), "beam.xlsx");
    application->ActiveWorkbook()->Worksheets(2)->Activate();
    EXPECT_EQ(get("A1"), Variant("inertia"));

    struct Case {
        const char* reference;
        const char* says;
    };
    const Case cases[] = {
        {"Input!B4", "there is no sheet \"Input\" in beam.xlsx; it has \"Inputs\", \"Results & more\""},
        {"laod", "\"laod\" is neither a cell such as Sheet1!B3 nor a name of cells in beam.xlsx"},
        {"Inputs!B0", "\"B0\" in \"Inputs!B0\" is neither a cell such as B3"},
        {"Inputs!", "names no cell"},
        {"", "names no cell"},
        {"!B4", "no sheet name before"},
        {"'Inputs!B4", "does not end"},
        {"'Inputs'B4", "a \"!\" must follow"},
        {"[beam.xlsxInputs!B4", "the bracket"},
        {"[other.xlsx]Inputs!B4", "no workbook \"other.xlsx\" is open"},
        {"Inputs!XFE1", "is neither a cell"},
    };
    for (const Case& c : cases)
        EXPECT_THAT(errorOf([&] { cell(c.reference); }), AllOf(StartsWith("1004: "), HasSubstr(c.says)))
            << c.reference;
}

TEST_F(Embedded, RunsMacrosByName)
{
    application->open(kBeam);
    application->registerMacro("Report", [](std::span<const Variant> arguments) {
        return Variant(static_cast<double>(arguments.size()));
    });
    const std::vector<Variant> arguments(30);
    EXPECT_EQ(application->Run("report"), Variant(0.0));
    EXPECT_EQ(application->Run("Beam.xlsx!Report", arguments), Variant(30.0));
    EXPECT_EQ(application->Run("'beam.xlsx'!Report"), Variant(0.0));
    EXPECT_THAT(errorOf([&] { application->Run("beam.xlsx!Missing"); }),
                AllOf(StartsWith("1004: "), HasSubstr("\"beam.xlsx!Missing\"")));
    EXPECT_THAT(errorOf([&] { application->Run("Book9!Report"); }),
                HasSubstr("no workbook \"Book9\" is open"));
    EXPECT_THAT(errorOf([&] { application->Run("!Report"); }), StartsWith("1004: "));
    EXPECT_THAT(errorOf([&] { application->Run("Report", std::vector<Variant>(31)); }), StartsWith("1004: "));
    // A macro may replace itself, and its errors are the caller's.
    application->registerMacro("Once", [&](std::span<const Variant>) -> Variant {
        application->registerMacro("Once",
                                   [](std::span<const Variant>) -> Variant { raise(513, "m", "again"); });
        return true;
    });
    EXPECT_EQ(application->Run("Once"), Variant(true));
    EXPECT_EQ(errorOf([&] { application->Run("Once"); }), "513: again");
}

TEST_F(Embedded, RemembersHostState)
{
    application->Workbooks()->Add();
    application->StatusBar("busy");
    EXPECT_EQ(application->statusBar(), Variant("busy"));
    application->StatusBar(false);
    EXPECT_EQ(application->statusBar(), Variant(false));
    application->ScreenUpdating(false);
    application->EnableEvents(false);
    application->DisplayAlerts(false);
    EXPECT_FALSE(application->ScreenUpdating() || application->enableEvents() ||
                 application->displayAlerts());
    cell("C5")->Select();
    EXPECT_EQ(application->selection()->Address(), "$C$5");
    EXPECT_EQ(application->selection()->Application(), application);
    EXPECT_THAT(application->Version(), testing::MatchesRegex("Corvane [0-9.]+"));
    EXPECT_FALSE(application->OperatingSystem().empty());
    put("A1", "x");
    EXPECT_EQ(application->shownText(*cell("A1")), "\"x\"");
    put("A1", ErrorValue{2042});
    EXPECT_EQ(application->shownText(*cell("A1")), "#N/A");

    const Ref<host::Range> kept = cell("A2"); // cells outlive their application
    kept->Value(3.0);
    application.reset();
    EXPECT_EQ(kept->Value(), Variant(3.0));
    EXPECT_THAT(errorOf([&] { kept->Application(); }), HasSubstr("has ended"));
}

// Numbers as the host's own documentation of its error values lists them.
TEST(Convert, FailuresKeepTheHostsNumbers)
{
    using sheet::Failure;
    const std::pair<Failure, Long> codes[] = {
        {Failure::Null, 2000}, {Failure::Div0, 2007},     {Failure::Value, 2015}, {Failure::Ref, 2023},
        {Failure::Name, 2029}, {Failure::Num, 2036},      {Failure::NA, 2042},    {Failure::Spill, 2045},
        {Failure::Calc, 2050}, {Failure::Circular, 2046},
    };
    for (const auto& [failure, number] : codes) {
        EXPECT_EQ(errorValue(failure).code, number);
        EXPECT_EQ(failureOf({number}), failure);
    }
    EXPECT_EQ(failureOf({1}), Failure::Value);
    const Variant array = toVariant(sheet::Value::array(1, 2, {1.0, "b"}));
    EXPECT_EQ((*std::get<VariantArray2>(array.held()))(1, 2), Variant("b"));
}

TEST_F(Embedded, SavesCopiesAndOverItsOwnFile)
{
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(testing::TempDir()) / "corvane_save";
    fs::remove_all(folder);
    fs::create_directories(folder);
    const std::string own = (folder / "own.xlsx").string(), copy = (folder / "copy.xlsx").string();
    fs::copy_file(kBeam, own);
    const Ref<host::Workbook> beam = application->open(own);
    beam->AddWorksheet()->Name("Report");
    put("Report!B2", Variant(7.0));
    put("Report!B3", Variant(std::string("=B2*2")));
    application->save(*beam, copy);
    application->save(*beam, own);
    put("Report!B2", Variant(8.0));
    application->save(*beam, own);

    for (const auto& [path, value] : {std::pair(copy, 14.0), std::pair(own, 16.0)}) {
        const auto other = std::make_shared<EmbeddedApplication>();
        const Ref<host::Workbook> again = other->open(path);
        EXPECT_EQ(again->SheetCount(), beam->SheetCount());
        EXPECT_EQ(other->book(*again).value({again->SheetCount() - 1, 2, 1}),
                  sheet::Value(value)); // as stored
    }
    EXPECT_THAT(errorOf([&] { application->save(*beam, (folder / "beam.txt").string()); }),
                AllOf(StartsWith("1004: "), HasSubstr("must end in .xlsx")));
    fs::last_write_time(own, fs::last_write_time(own) + std::chrono::seconds(5));
    EXPECT_THAT(errorOf([&] { application->save(*beam, copy); }),
                AllOf(StartsWith("1004: "), HasSubstr("has changed since it was opened")));
    const Ref<host::Workbook> made = application->Workbooks()->Add();
    application->save(*made, (folder / "made.xlsx").string());
    EXPECT_TRUE(fs::exists(folder / "made.xlsx"));
    fs::remove_all(folder);
}

} // namespace
} // namespace varnex3::workbook
