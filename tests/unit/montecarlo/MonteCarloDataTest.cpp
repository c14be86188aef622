// c_MonteCarlo: the correlations of a run, and the export of its trials.
#include <gtest/gtest.h>

#include "Model.h"
#include "montecarlo/alg_m_LatinHypercube.h"

namespace varnex3 {
namespace {

using test::FakeSheet;
using test::Lines;
using test::MonteCarloTest;

class MonteCarloCorrelations : public MonteCarloTest {
protected:
    MonteCarloCorrelations()
    {
        for (int i = 0; i < 4; ++i) addX("Uniform", 0, 1);
        f->ItemX(4)->xType = xTypes::Constant;
        addY([](FakeSheet& s) { return s.number("A1"); });
        mc.LoadFormulation(f);
        mc.ClearCorrelations();
    }

    void add(std::initializer_list<std::array<const char*, 3>> entries)
    {
        Array2<std::string> list(3, static_cast<Long>(entries.size()));
        Long i = 0;
        for (const auto& entry : entries) {
            ++i;
            for (Long element : {1, 2, 3}) list(element, i) = entry[static_cast<std::size_t>(element - 1)];
        }
        given = list;
        mc.AddCorrelations(list);
    }
    Lines listed() const
    {
        Lines lines;
        for (Long i = 1; !mc.CorrelationList(i, 1).empty(); ++i)
            lines.push_back(mc.CorrelationList(i, 1) + ", " + mc.CorrelationList(i, 2) + ", " +
                            mc.CorrelationList(i, 3));
        return lines;
    }

    Array2<std::string> given;
};

TEST_F(MonteCarloCorrelations, OnlyPairsOfNoiseParametersAreTaken)
{
    add({{"x1", "x2", "1"}, {"x1", "x4", "0.5"}, {"x1", "nobody", "0.5"}, {"x3", "x3", "0.5"}});
    EXPECT_EQ(listed(), (Lines{"Input 1, Input 2, 0.999999999999999"}));
    EXPECT_EQ(mc.CorrelationList(0, 1) + mc.CorrelationList(2, 1) + mc.CorrelationList(1, 4), "");

    add({{"x2", "x1", "0.5"}, {"x2", "x3", "-0.25"}}); // adds by id; the later coefficient counts
    EXPECT_EQ(listed(), (Lines{"Input 1, Input 2, 0.5", "Input 2, Input 3, -0.25"}));
    mc.ClearCorrelations();
    EXPECT_EQ(listed(), Lines{});
}

TEST_F(MonteCarloCorrelations, ACoefficientThatIsNoNumberLeavesWhatWasAcceptedBefore)
{
    add({{"x1", "x2", "0.5"}});
    test::expectRaises(errors::TypeMismatch, [&] { add({{"x2", "x3", "strong"}}); });
    EXPECT_EQ(listed(), (Lines{"Input 1, Input 2, 0.5"}));
    add({{"x1", "x3", "0.25"}});
    EXPECT_EQ(listed(), (Lines{"Input 1, Input 2, 0.5", "Input 1, Input 3, 0.25"}));
}

TEST_F(MonteCarloCorrelations, AnInconsistentListIsRepairedAndReadBackAsApplied)
{
    const std::initializer_list<std::array<const char*, 3>> entries = {
        {"x1", "x2", "0.9"}, {"x2", "x3", "0.9"}, {"x1", "x3", "-0.9"}};
    add(entries);
    EXPECT_FALSE(mc.CorrelationListOK(given));
    EXPECT_EQ(user.boxes,
              (Lines{"[Monte Carlo] Inconsistency found in correlations.  Attempting to correct."}));
    // the nearest matrix of rank two: by symmetry 1/2, 1/2, -1/2
    ASSERT_EQ(listed().size(), 3u);
    for (Long i : oneTo(3))
        EXPECT_NEAR(toDouble(Variant(mc.CorrelationList(i, 3))), i == 3 ? -0.5 : 0.5, 1e-8) << i;

    mc.useCorrelations = true;
    mc.numTrials = mc.sampleSize = 2000;
    ASSERT_TRUE(mc.RunMC(false, true));
    double product = 0.0;
    for (Long t : oneTo(2000)) product += (mc.xUnsorted(1, t) - 0.5) * (mc.xUnsorted(3, t) - 0.5) / 2000.0;
    EXPECT_NEAR(product * 12.0, -0.5, 0.07); // scores of uniform columns approach the target
    add({{"x1", "x4", "0.5"}});              // nothing accepted, nothing to say
    EXPECT_EQ(user.boxes.size(), 1u);        // the repaired matrix passes in every batch
}

TEST_F(MonteCarloTest, ExportWritesEveryTrialIntoDataSheets)
{
    addX("Uniform", 0, 1);
    addX("Uniform", 5, 6);
    addY([](FakeSheet& s) { return s.number("A1") + s.number("A2"); });
    std::string name = "Book1.xlsx";
    mc.ExtractData(name); // nothing to write yet
    EXPECT_EQ(host->take(), Lines{});
    ASSERT_TRUE(run(false, true));
    for (const char* old : {"MC Data1", "MC Data of May", "MC Datasheet7"}) host->sheet(old).set("A1", "old");
    host->sheet("Mine").set("A1", "kept");
    host->take();
    mc.ExtractData(name);

    const auto book = host->Workbooks()->Item(name);
    Lines sheets;
    for (Long i : oneTo(book->SheetCount())) sheets.push_back(book->Worksheets(i)->Name());
    EXPECT_EQ(sheets, (Lines{"Sheet1", "Mine", "MC Data1", "MC Results"}));
    FakeSheet& data = host->sheet("MC Data1");
    const char* headers[] = {"Trial", "Input 1", "Input 2", "Output 1"};
    for (Long c : oneTo(4)) EXPECT_EQ(*data.Cells(1, c)->Value().asText(), headers[c - 1]);
    for (Long t : oneTo(mc.LastTrial())) {
        EXPECT_EQ(data.Cells(t + 1, 1)->Value(), Variant(t));
        EXPECT_EQ(data.Cells(t + 1, 3)->Value(), Variant(mc.xUnsorted(2, t)));
        EXPECT_EQ(data.Cells(t + 1, 4)->Value(), Variant(mc.yUnsorted(1, t)));
    }
    EXPECT_TRUE(data.Cells(mc.LastTrial() + 2, 1)->Value().isEmpty());
    EXPECT_EQ(user.events, mc.LastTrial());
    EXPECT_TRUE(host->enableEvents);
    EXPECT_TRUE(host->displayAlerts);

    std::string other = "Nowhere.xlsx"; // not open: a new workbook
    mc.ExtractData(other);
    EXPECT_EQ(other, host->ActiveWorkbook()->Name());
    EXPECT_NE(other, name);

    user.onEvents = [](Long) { monteCarloStatusWindow().CancelButton_Click(); };
    mc.ExtractData(name);
    EXPECT_NE(errorWindow().Label1.find("in varnex3.c_MonteCarlo.ExtractData at line 10"), std::string::npos);
    EXPECT_TRUE(host->enableEvents);
}

TEST_F(MonteCarloTest, ExportSpreadsManyVariablesAndTrialsOverSheets)
{
    host->record = test::Record::Nothing;
    for (int i = 0; i < 2; ++i) addX("Uniform", 0, 1);
    for (int i = 0; i < 254; ++i) addY([](FakeSheet& s) { return s.number("A1"); });
    ASSERT_TRUE(run(false, true));
    std::string name = "Book1.xlsx";
    mc.ExtractData(name);
    FakeSheet& second = host->sheet("MC Data2"); // variable 256 is the first of the second column block
    EXPECT_EQ(*second.Cells(1, 2)->Value().asText(), "Output 254");
    EXPECT_EQ(second.Cells(101, 1)->Value(), Variant(100));
    EXPECT_TRUE(second.Cells(1, 3)->Value().isEmpty());
    EXPECT_EQ(*host->sheet("MC Data1").Cells(1, 256)->Value().asText(), "Output 253");
}

TEST_F(MonteCarloTest, ExportContinuesBelow65535TrialsOnFurtherSheets)
{
    host->record = test::Record::Nothing;
    addX("Uniform", 0, 1);
    addY([](FakeSheet& s) { return s.number("A1"); });
    mc.numTrials = mc.sampleSize = 65536;
    ASSERT_TRUE(run(false, true));
    std::string name = "Book1.xlsx";
    mc.ExtractData(name);
    EXPECT_EQ(host->sheet("MC Data1").Cells(65536, 1)->Value(), Variant(65535));
    EXPECT_EQ(host->sheet("MC Data2").Cells(2, 1)->Value(), Variant(65536));
    EXPECT_EQ(host->sheet("MC Data2").Cells(2, 3)->Value(), Variant(mc.yUnsorted(1, 65536)));
}

} // namespace
} // namespace varnex3
