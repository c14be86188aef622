// tests/unit/ahead/AheadTest.cpp - runs whose trials the host works out ahead are those of trials cell by
// cell.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "formulation/c_Formulation.h"
#include "host/TrialsAhead.h"
#include "host/alg_m_XLinterface.h"
#include "montecarlo/c_MonteCarlo.h"
#include "optimizer/c_Optimization.h"
#include "runtime/Seeds.h"
#include "stats/alg_m_MersenneTwister.h"
#include "stats/c_Distribution.h"
#include "support/ScriptedUi.h"
#include "ui/Windows.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3 {
namespace {

/// The embedded host, with what a run asks of the application written down; offers its batches or not.
class Recorder final : public host::Application {
public:
    explicit Recorder(bool offers) : offers_(offers) { real->threads(2); }

    Ref<workbook::EmbeddedApplication> real = std::make_shared<workbook::EmbeddedApplication>();
    std::vector<std::string> texts; // of the status bar
    std::vector<bool> updates;      // of the screen
    int calculations = 0;           // asked for cell by cell

    void Calculate() override
    {
        ++calculations;
        real->Calculate();
    }
    Variant Run(const std::string& macro, std::span<const Variant> arguments) override
    {
        return real->Run(macro, arguments);
    }
    bool ScreenUpdating() override { return real->ScreenUpdating(); }
    void ScreenUpdating(bool on) override
    {
        updates.push_back(on);
        real->ScreenUpdating(on);
    }
    void StatusBar(const Variant& text) override { texts.push_back(text.asText() ? *text.asText() : "-"); }
    Long Calculation() override { return real->Calculation(); }
    void Calculation(Long mode) override { real->Calculation(mode); }
    void EnableEvents(bool on) override { real->EnableEvents(on); }
    void DisplayAlerts(bool on) override { real->DisplayAlerts(on); }
    Ref<host::Workbook> ActiveWorkbook() override { return real->ActiveWorkbook(); }
    Ref<host::Workbooks> Workbooks() override { return real->Workbooks(); }
    std::string Version() override { return real->Version(); }
    std::string OperatingSystem() override { return real->OperatingSystem(); }
    Ref<host::Batch> Trials(std::span<const Ref<host::Range>> inputs,
                            std::span<const Ref<host::Range>> outputs) override
    {
        return offers_ ? real->Trials(inputs, outputs) : nullptr;
    }

private:
    bool offers_;
};

struct Outcome {
    bool done = false;
    Long trials = 0, calculations = 0, cellByCell = 0;
    std::vector<double> numbers;
    std::vector<std::string> texts, cells;
    std::vector<bool> updates;
    std::string error;
    bool offered = false;
};

struct Model {
    std::vector<std::string> formulas; // of B1, B2, ...; B1 and B2 are responses
    std::string limit;                 // of the first response; in cell C1
    std::string firstInput = "10";     // content of A1
    bool constant = false;             // A2 is no input
};

/// Inputs A1 to A3.
struct Sheet {
    Sheet(const Model& model, bool offers) : host(std::make_shared<Recorder>(offers))
    {
        sheet = host->Workbooks()->Add()->Worksheets(1);
        for (Long i : oneTo(3)) sheet->Cells(i, 1, 10.0 * i);
        sheet->Cells(1, 1)->Formula(model.firstInput);
        Long row = 0;
        for (const std::string& formula : model.formulas) sheet->Cells(++row, 2)->Formula(formula);
        sheet->Cells(1, 3)->Formula(model.limit);
        host->Calculate();
        formulation = std::make_shared<c_Formulation>();
    }
    void addResponses()
    {
        for (Long j : oneTo(2)) {
            const std::string id = "y" + std::to_string(j);
            formulation->AddY(id);
            c_Response& y = *formulation->ItemY(id);
            y.Name = y.DefName = id;
            y.Formula = sheet->Cells(j, 2);
            if (j == 1) y.usl = sheet->Cells(1, 3);
        }
    }
    void finish(Outcome& outcome) const
    {
        for (Long c : oneTo(3))
            for (Long r : oneTo(6)) {
                outcome.cells.push_back(sheet->Cells(r, c)->Formula());
                outcome.cells.push_back(host->real->shownText(*sheet->Cells(r, c)));
            }
        outcome.texts = host->texts;
        outcome.updates = host->updates;
        outcome.cellByCell = host->calculations;
        outcome.calculations = static_cast<Long>(host->real->calculations());
        outcome.error = errorWindow().Label1;
    }

    Ref<Recorder> host;
    Ref<host::Worksheet> sheet;
    Ref<c_Formulation> formulation;
};

/// @param cancelAt  the trial before which the user cancels; 0: never
Outcome simulate(const Model& model, bool offers, Long cancelAt)
{
    Sheet s(model, offers);
    for (Long i : oneTo(3)) {
        const std::string id = "x" + std::to_string(i);
        s.formulation->AddX(id);
        c_Parameter& x = *s.formulation->ItemX(id);
        x.Name = x.DefName = id;
        x.mean = s.sheet->Cells(i, 1);
        x.xType = model.constant && i == 2 ? xTypes::Constant : xTypes::Integer;
        x.DistType = i == 3 ? "Uniform" : "Normal";
        x.dist = std::make_shared<KeyedCollection<DistributionComponent>>();
        x.dist->Add(std::make_shared<c_Distribution>());
        x.stdev = 2.0;
        s.formulation->CalcSequence(i, 4 - i);
    }
    s.addResponses();
    test::ScriptedUi user;
    user.onEvents = [cancelAt](Long event) {
        if (event == cancelAt) monteCarloStatusWindow().cancelRequest = true;
    };
    errorWindow().Label1.clear();
    c_MonteCarlo run;
    run.XLApplication(s.host);
    run.LoadFormulation(s.formulation);
    run.numTrials = 700;
    run.sampleSize = 300;
    run.randSeed = 7;
    run.refreshRate(100);
    Outcome outcome;
    outcome.done = run.RunMC();
    outcome.trials = run.LastTrial();
    for (Long j : oneTo(2)) {
        for (Long k : oneTo(7)) outcome.numbers.push_back(run.yStats(j, k));
        for (Long k : oneTo(6)) outcome.numbers.push_back(run.ySums(j, k));
        for (Long t : oneTo(run.LastTrial())) outcome.numbers.push_back(run.yUnsorted(j, t));
        for (Long i : oneTo(3)) outcome.numbers.push_back(run.VarContribs(i, j));
    }
    for (Long i : oneTo(3)) {
        outcome.numbers.push_back(run.trialX(i));
        for (Long t : oneTo(run.LastTrial())) outcome.numbers.push_back(run.xUnsorted(i, t));
    }
    s.finish(outcome);
    return outcome;
}

void expectSame(const Outcome& a, const Outcome& b)
{
    EXPECT_EQ(a.done, b.done);
    EXPECT_EQ(a.trials, b.trials);
    EXPECT_EQ(a.numbers, b.numbers);
    EXPECT_EQ(a.texts, b.texts);
    EXPECT_EQ(a.updates, b.updates);
    EXPECT_EQ(a.cells, b.cells);
    EXPECT_EQ(a.error, b.error);
}

TEST(TrialsAhead, ASimulationIsThatOfTrialsCellByCell)
{
    const std::vector<std::string> plain = {"=A1*A2+B3", "=IF(A1>A3,A1,SQRT(A3)/A2)", "=EXP(A3/40)"};
    struct Case {
        const char* what;
        Model model;
        Long cancelAt;
        bool ahead, done;
    };
    const Case cases[] = {
        {"plain", {plain, "210"}, 0, true, true},
        {"an input holds a formula", {plain, "210", "=5+5"}, 0, true, true},
        {"a constant", {plain, "210", "10", true}, 0, true, true},
        {"cancelled", {plain, "210"}, 333, true, false},
        {"a response that fails", {{"=A1*A2", "=SQRT(A1-4.5)"}, "210"}, 0, true, false},
        {"a response that becomes a text", {{"=A1*A2", "=IF(A1<5,\"low\",A1)"}, "210"}, 0, true, false},
        {"a limit that depends on the inputs", {plain, "=A1*21"}, 0, false, true},
        {"a volatile cell elsewhere", {{"=A1*A2", "=A3", "=RAND()*0"}, "210"}, 0, false, true},
        {"no limit", {plain, ""}, 0, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Outcome ahead = simulate(c.model, true, c.cancelAt),
                      single = simulate(c.model, false, c.cancelAt);
        EXPECT_EQ(single.done, c.done);
        EXPECT_GT(single.trials, 20);
        expectSame(ahead, single);
        EXPECT_EQ(ahead.cellByCell < 30, c.ahead) << ahead.cellByCell;
        EXPECT_TRUE(!c.done || ahead.calculations == single.calculations) << ahead.calculations;
    }
}

Outcome optimize(const Model& model, bool offers, const std::string& target)
{
    Sheet s(model, offers);
    for (Long i : oneTo(3)) {
        const std::string id = "x" + std::to_string(i);
        s.formulation->AddX(id);
        c_Parameter& x = *s.formulation->ItemX(id);
        x.Name = x.DefName = id;
        x.mean = s.sheet->Cells(i, 1);
        x.xType = xTypes::Continuous;
        x.AddFV(1.0);
        x.AddFV(60.0);
        x.stdev = 0.0;
        s.formulation->CalcSequence(i, i);
    }
    s.addResponses();
    s.formulation->AddG("g");
    c_Goal& g = *s.formulation->ItemG("g");
    g.DefName = g.Name = "g";
    g.y = s.sheet->Cells(2, 2);
    g.Aspect = "Mean";
    g.Oper = "=";
    s.sheet->Cells(2, 3)->Formula(target);
    s.host->Calculate();
    g.Target = s.sheet->Cells(2, 3);
    g.Priority = 1;
    g.Weight = 1.0;
    c_Options& o = *s.formulation->Options;
    o.StopRule = stopRules::FixedNumber;
    o.MaxGens = 6;
    o.GenSize = 80;
    o.Precision = 0.001;
    o.Derivs = "Quick";
    o.Stats = statsMethods::None;
    o.StoreYs = "Yes";
    o.OptTrials = "50";
    const auto nothing = [](std::span<const Variant>) { return Variant{}; };
    s.host->real->registerMacro("generation", nothing);
    s.host->real->registerMacro("final", nothing);
    setSeedSource([] { return Long{11}; });
    alg_m_MersenneTwister::InitRandom(11);
    errorWindow().Label1.clear();
    c_MonteCarlo mc;
    c_Optimization optimization;
    optimization.XLApplication(s.host);
    optimization.CorvaneFileName("Book1");
    optimization.PrintGenMacro("generation");
    optimization.PrintFinalMacro("final");
    Outcome outcome;
    outcome.done = optimization.Optimize(*s.formulation, mc);
    setSeedSource({});
    outcome.trials = static_cast<Long>(optimization.LastRun().evaluations);
    s.finish(outcome);
    return outcome;
}

TEST(TrialsAhead, ASearchIsThatOfMembersCellByCell)
{
    struct Case {
        const char *what, *target;
        std::vector<std::string> formulas;
        int ahead; // 1: yes, 0: no, -1: it ends too soon to tell
    };
    const Case cases[] = {
        {"plain", "50", {"=A1*A2", "=A1+A2*A3-B3", "=SQRT(A1)"}, 1},
        {"a target that depends on the inputs", "=A1", {"=A1*A2", "=A1+A2*A3-B3", "=SQRT(A1)"}, 0},
        {"a member that fails", "50", {"=A1*A2", "=LN(A1-20)", "=SQRT(A1)"}, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Model model{c.formulas, "4000", "30"};
        const Outcome ahead = optimize(model, true, c.target), single = optimize(model, false, c.target);
        EXPECT_GT(single.texts.size(), 3U);
        expectSame(ahead, single);
        const bool mostlyAhead = ahead.cellByCell < single.cellByCell / 4;
        EXPECT_TRUE(c.ahead < 0 || mostlyAhead == (c.ahead == 1)) << ahead.cellByCell;
    }
}

} // namespace
} // namespace varnex3
