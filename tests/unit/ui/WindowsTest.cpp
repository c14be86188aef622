// The windows' contents, the status step, the error report and the debug trace.
#include <gmock/gmock.h>

#include <stdexcept>

#include "support/Expect.h"
#include "ui/Debug.h"
#include "ui/EntryPoint.h"

namespace varnex3 {
namespace {

using alg_m_XLinterface::hostState;
using testing::ElementsAre;

class Windows : public test::LibraryTest {
protected:
    alg_f_Status& window = statusWindow();
};

TEST_F(Windows, FormatValue)
{
    // Origin: the three formats, worked by hand.
    const std::pair<double, const char*> cases[] = {
        {0.0, "0"},
        {3.0, "3"},
        {-2.5, "-2.5"},
        {0.125, "0.125"},
        {1.23456789, "1.234568"},
        {1e6, "1000000"},
        {2e6, "2.0E+06"},
        {-1234567.0, "-1.234567E+06"},
        {1e-6, "0.000001"},
        {1e-7, "1.0E-07"},
    };
    for (const auto& [x, want] : cases) EXPECT_EQ(alg_f_Status::FormatValue(x), want);
}

TEST_F(Windows, ChartKeepsTheLastTenGenerations)
{
    window.Initialize();
    ASSERT_EQ(window.chart.size(), 1U);
    EXPECT_EQ(window.chart[0].label, "");

    window.UpdateStatusGraph({0.5, 1.0, 2.0, 3.0}, 0, 0);
    EXPECT_THAT(window.lblInitVals, ElementsAre("0.5", "1", "2", "3"));
    EXPECT_THAT(window.lblCurrVals, ElementsAre("", "", "", ""));
    for (Long gen : fromTo(1, 12)) window.UpdateStatusGraph({0.0, 0.0, 0.0, 100.0 - gen}, gen, gen - 2);

    ASSERT_EQ(window.chart.size(), 10U);
    EXPECT_EQ(window.chart.front().label, "3");
    EXPECT_EQ(window.chart.front().values[3], 97.0);
    EXPECT_EQ(window.chart.back().label, "12");
    EXPECT_THAT(window.lblInitVals, ElementsAre("0.5", "1", "2", "3"));
    EXPECT_THAT(window.lblCurrVals, ElementsAre("0", "0", "0", "88"));
    EXPECT_EQ(window.lblBestCount, "10");
    test::expectRaises(errors::Subscript, [&] { window.UpdateStatusGraph({1.0, 2.0, 3.0}, 13, 0); });

    window.cancelRequest = true;
    window.Initialize();
    EXPECT_FALSE(window.cancelRequest);
    EXPECT_EQ(window.chart.size(), 1U);
    EXPECT_THAT(window.lblInitVals, ElementsAre("", "", "", ""));
    EXPECT_EQ(user.windows.front(), "shown Status");
    EXPECT_EQ(user.windows.back(), "changed Status"); // it was already on show
}

TEST_F(Windows, StatusMsgRaisesAtTheStepAfterACancel)
{
    window.Initialize();
    user.onEvents = [&](Long n) {
        if (n == 2) window.CancelButton_Click();
    };
    StatusMsg(*host, "", "Creating", "Generation 1");
    EXPECT_EQ(window.statusLabel, "Creating Generation 1");
    StatusMsg(*host, "", "Sorting", "");
    EXPECT_EQ(window.statusLabel, "Canceling..."); // set while events were processed
    for (int again = 0; again < 2; ++again)
        test::expectRaises(18, kRuntimeSource, "User interrupt occurred",
                           [&] { StatusMsg(*host, "StatusMsg", "Evaluating", "x"); });
    EXPECT_EQ(window.statusLabel, "Canceling...");
    EXPECT_EQ(user.events, 2);
    EXPECT_THAT(host->take(), ElementsAre("StatusBar=Creating Generation 1", "StatusBar=Sorting ",
                                          "StatusBar=Evaluating x", "StatusBar=Evaluating x"));
    EXPECT_EQ(user.boxes[1], "[] cancel clicked. raising a ERR_USER_INTERRUPT error");

    window.Initialize();
    user.boxes.clear();
    StatusMsg(*host, "StatusMsg", "a", "b");
    EXPECT_THAT(user.boxes, ElementsAre("[] StatusMsg", "[] writing statusMsg to userform label"));
    host->fail("StatusBar");
    test::expectRaises(errors::HostFailure, [&] { StatusMsg(*host, "", "c", "d"); });
    EXPECT_EQ(window.statusLabel, "a b");
}

TEST_F(Windows, MonteCarloBarAndItsEnds)
{
    alg_f_MonteCarloStatus& bar = monteCarloStatusWindow();
    bar.Initialize();
    struct Case {
        Long i, n;
        double want;
    };
    for (const Case& c : {Case{3, 10, 0.3}, {0, 10, 0.0}, {12, 10, 1.0}, {5, 0, 1.0}, {-3, 10, 0.3}}) {
        bar.UpdateMe("Trial", c.i, c.n);
        EXPECT_DOUBLE_EQ(bar.fraction, c.want) << c.i << " of " << c.n;
    }
    bar.CancelButton_Click();
    EXPECT_EQ(bar.statusLabel, "Canceling...");
    bar.Unload();
    EXPECT_FALSE(bar.cancelRequest);
    EXPECT_EQ(user.windows.back(), "hidden MonteCarloStatus");
}

TEST_F(Windows, EntryPointReportsTheTrailOnce)
{
    const auto inner = [] {
        Procedure here{"alg_m_Evaluation", "Deterministic_Ys"};
        here.at(4);
        raise(515, "Deterministic_Ys", "Non-numeric cell value");
    };
    const bool result = entryPoint("c_Optimization", "Optimize", false, [&](Procedure& here) {
        here.at(5);
        inner();
        return true;
    });
    EXPECT_FALSE(result);
    EXPECT_EQ(err().number, 0);
    EXPECT_EQ(errorWindow().Label1, "Error 515:  Non-numeric cell value\r\nDeterministic_Ys\r\n"
                                    "in varnex3.alg_m_Evaluation.Deterministic_Ys at line 4\r\n"
                                    "in varnex3.c_Optimization.Optimize at line 5\r\n"
                                    "Excel version: Unknown\r\nWindows version: Unknown");
    EXPECT_THAT(user.windows, ElementsAre("shown Error"));
    errorWindow().CopyButton_Click();
    EXPECT_EQ(user.clipboard, errorWindow().Label1);
    errorWindow().OKButton_Click();
    EXPECT_EQ(user.windows.back(), "hidden Error");

    hostState().application =
        host; // a foreign exception is reported as an error of the runtime, with versions
    entryPoint("m", "p", 0, [](Procedure&) -> int { throw std::runtime_error("what happened"); });
    EXPECT_THAT(errorWindow().Label1,
                testing::MatchesRegex("Error 51:  Internal error: what happened(.|\r|\n)*"
                                      "Excel version: 16.0\r\nWindows version: Test OS 1"));
}

TEST_F(Windows, TraceShowsNamesAndTheDetailsOfOneProcedure)
{
    const auto traced = [](const char* dbg) {
        traceEntry(dbg, "InitVars");
        traceDetail(dbg, "InitVars", "d.f created");
    };
    traced("");
    EXPECT_THAT(user.boxes, ElementsAre());
    traced("PrintGen");
    EXPECT_THAT(user.boxes, ElementsAre("[] InitVars"));
    traced("InitVars");
    EXPECT_THAT(user.boxes, ElementsAre("[] InitVars", "[] InitVars", "[] d.f created"));
}

} // namespace
} // namespace varnex3
