// bench/optimize_bench.cpp - whole optimizations: on the embedded engine, and on a plain C++ function of the
// same formulas. The plain run is the cost of the search itself.
//
// Both must end at the same design before anything is timed.
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "PlainHost.h"
#include "formulation/c_Formulation.h"
#include "montecarlo/c_MonteCarlo.h"
#include "optimizer/c_Optimization.h"
#include "runtime/Seeds.h"
#include "stats/alg_m_MersenneTwister.h"
#include "ui/Windows.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::bench {
namespace {

constexpr Long kGenSize = 100;
constexpr Long kGenerations = 100;
constexpr Long kSeed = 1;

/// Ten inputs in cells 1..10, the sum of squared distances from 1..10 in cell 11, a product in cell 12.
constexpr Long kInputs = 10;

struct Model {
    Ref<host::Application> application;
    std::vector<Ref<host::Range>> cells; // inputs, then the two results
};

Model plainModel()
{
    auto application =
        std::make_shared<PlainApplication>(std::vector<double>(12, 5.0), [](std::vector<double>& c) {
            double sum = 0.0;
            for (std::size_t i = 0; i < 10; ++i) {
                const double d = c[i] - static_cast<double>(i + 1);
                sum += d * d;
            }
            c[10] = sum;
            c[11] = c[0] * c[1] + c[2];
        });
    Model model{application, {}};
    for (Long i : oneTo(12)) model.cells.push_back(application->cell(i));
    return model;
}

Model embeddedModel()
{
    auto application = std::make_shared<workbook::EmbeddedApplication>();
    const auto sheet = application->Workbooks()->Add()->Worksheets(1);
    std::string sum = "=";
    for (Long i : oneTo(kInputs)) {
        sheet->Cells(i, 1, 5.0);
        sum += fmt::format("{}(A{}-{})^2", i > 1 ? "+" : "", i, i);
    }
    sheet->Cells(11, 1)->Formula(sum);
    sheet->Cells(12, 1)->Formula("=A1*A2+A3");
    application->Calculate();
    Model model{application, {}};
    for (Long i : oneTo(12)) model.cells.push_back(sheet->Cells(i, 1));
    return model;
}

Ref<c_Formulation> formulationOn(const Model& model)
{
    auto f = std::make_shared<c_Formulation>();
    for (Long i : oneTo(kInputs)) {
        const std::string id = "x" + std::to_string(i);
        f->AddX(id);
        c_Parameter& x = *f->ItemX(id);
        x.DefName = x.Name = id;
        x.xType = xTypes::Continuous;
        x.mean = model.cells[static_cast<std::size_t>(i - 1)];
        x.stdev = 0.0;
        x.AddFV(0.0);
        x.AddFV(20.0);
        f->CalcSequence(i, i);
    }
    for (Long j : oneTo(2)) {
        const std::string id = "y" + std::to_string(j);
        f->AddY(id);
        c_Response& y = *f->ItemY(id);
        y.DefName = y.Name = id;
        y.Formula = model.cells[static_cast<std::size_t>(kInputs + j - 1)];
    }
    f->AddG("g");
    c_Goal& g = *f->ItemG("g");
    g.DefName = g.Name = "g";
    g.y = model.cells[10];
    g.Aspect = "Mean";
    g.Oper = "<=";
    g.Target = -1.0; // out of reach
    g.Priority = 1;
    g.Weight = 1.0;
    f->AddC("c");
    c_Constraint& c = *f->ItemC("c");
    c.DefName = c.Name = "c";
    c.y = model.cells[11];
    c.Aspect = "Mean";
    c.Oper = ">=";
    c.Reqt = 4.0;
    c_Options& o = *f->Options;
    o.StopRule = stopRules::FixedNumber;
    o.MaxGens = kGenerations;
    o.GenSize = kGenSize;
    o.Precision = 0.001;
    o.Derivs = "Quick";
    o.Stats = statsMethods::None;
    o.StoreYs = "Yes";
    o.OptTrials = "50";
    return f;
}

/// Runs one optimization from the same start; the evaluations it made and the sum of squares it reached.
struct Outcome {
    long long evaluations = 0;
    double best = 0.0;
};

Outcome optimize(const Model& model)
{
    for (Long i : oneTo(kInputs)) model.cells[static_cast<std::size_t>(i - 1)]->Value(5.0);
    setSeedSource([] { return kSeed; });
    alg_m_MersenneTwister::InitRandom(kSeed);
    const auto f = formulationOn(model);
    c_MonteCarlo mc;
    c_Optimization optimization;
    optimization.XLApplication(model.application);
    optimization.CorvaneFileName("Book1");
    optimization.PrintGenMacro("generation");
    optimization.PrintFinalMacro("final");
    if (!optimization.Optimize(*f, mc)) {
        fmt::print(stderr, "{}\n", errorWindow().Label1);
        std::abort();
    }
    setSeedSource({});
    return {optimization.LastRun().evaluations, toDouble(model.cells[10]->Value())};
}

const Model& plain()
{
    static const Model model = plainModel();
    return model;
}

const Model& embedded()
{
    static const Model model = [] {
        Model m = embeddedModel();
        auto& application = static_cast<workbook::EmbeddedApplication&>(*m.application);
        const auto nothing = [](std::span<const Variant>) { return Variant{}; };
        application.registerMacro("generation", nothing);
        application.registerMacro("final", nothing);
        return m;
    }();
    return model;
}

void requireSameOutcome()
{
    static const bool same = [] {
        const Outcome a = optimize(plain()), b = optimize(embedded());
        return a.evaluations == b.evaluations && std::fabs(a.best - b.best) <= 1e-12 * std::fabs(a.best);
    }();
    if (!same) {
        fmt::print(stderr, "the embedded engine and the plain function end at different designs\n");
        std::abort();
    }
}

void run(benchmark::State& state, const Model& model)
{
    requireSameOutcome();
    long long evaluations = 0;
    for (auto _ : state) evaluations += optimize(model).evaluations;
    state.counters["s_per_candidate"] = benchmark::Counter(
        static_cast<double>(evaluations), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_SearchOnPlainFunction(benchmark::State& state) { run(state, plain()); }
void BM_SearchOnEmbeddedEngine(benchmark::State& state) { run(state, embedded()); }

BENCHMARK(BM_SearchOnPlainFunction)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SearchOnEmbeddedEngine)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace varnex3::bench

BENCHMARK_MAIN();
