// bench/sensitivity_bench.cpp - derivatives on the embedded engine: the errors they reach, the recalculations
// they spend, and their time as a multiple of one recalculation.
//
// With --table as its only argument it prints the table of docs/accuracy.md; otherwise it measures times.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "runtime/Number.h"
#include "sensitivity/DifferenceQuotient.h"
#include "sensitivity/c_Derivatives.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::bench {
namespace {

struct Case {
    const char* name;
    const char* formula; // of A1
    double x, first, second;
};

const Case kCases[] = {
    {"x^3 - 2 x at 1.5", "=A1^3-2*A1", 1.5, 3 * 1.5 * 1.5 - 2, 9.0},
    {"e^x at 1", "=EXP(A1)", 1.0, std::exp(1.0), std::exp(1.0)},
    {"sin x at 1", "=SIN(A1)", 1.0, std::cos(1.0), -std::sin(1.0)},
    {"1 / (1 + x^2) at 0.5", "=1/(1+A1^2)", 0.5, -0.64, -0.256},
    {"e^x at 1e-6", "=EXP(A1)", 1e-6, std::exp(1e-6), std::exp(1e-6)},
    {"kink: abs(x - 1) at 1.1", "=ABS(A1-1)", 1.1, 1.0, 0.0},
    {"cliff: sqrt(x - 1) at 1.1", "=SQRT(A1-1)", 1.1, 0.5 / std::sqrt(0.1), -0.25 / std::pow(0.1, 1.5)},
    {"cliff: arccos x at 0.9", "=ACOS(A1)", 0.9, -1 / std::sqrt(0.19), -0.9 / std::pow(0.19, 1.5)},
};

struct Model {
    explicit Model(const Case& c) : application(std::make_shared<workbook::EmbeddedApplication>())
    {
        const auto sheet = application->Workbooks()->Add()->Worksheets(1);
        sheet->Cells(1, 1, c.x);
        sheet->Cells(1, 2)->Formula(c.formula);
        application->Calculate();
        x = sheet->Cells(1, 1);
        y = sheet->Cells(1, 2);
    }
    double accurate(std::int16_t order) { return c_Derivatives{}.Deriv(order, *x, *y, "", ""); }
    double quick(std::int16_t order)
    {
        return c_Derivatives{}.FiniteDiff(order, *x, *y, 0.0001 * toDouble(x->Value()), "", "");
    }

    Ref<workbook::EmbeddedApplication> application;
    Ref<host::Range> x, y;
};

void printTable()
{
    fmt::print("| function | order | quick: error | accurate: error | accurate: recalculations |\n"
               "|---|---|---|---|---|\n");
    for (const Case& c : kCases)
        for (std::int16_t order : {1, 2}) {
            Model model(c);
            const double exact = order == 1 ? c.first : c.second,
                         scale = exact == 0.0 ? 1.0 : std::fabs(exact);
            const double quick = std::fabs(model.quick(order) - exact) / scale;
            const long long before = model.application->calculations();
            const double accurate = std::fabs(model.accurate(order) - exact) / scale;
            fmt::print("| {} | {} | {:.1e} | {:.1e} | {} |\n", c.name, order, quick, accurate,
                       model.application->calculations() - before);
        }
}

void BM_Recalculation(benchmark::State& state)
{
    Model model(kCases[1]);
    double x = 1.0;
    for (auto _ : state) {
        model.x->Value(x = 2.5 - x);
        model.application->Calculate();
        benchmark::DoNotOptimize(model.y->Value());
    }
}

template <bool accurate>
void BM_Derivative(benchmark::State& state)
{
    Model model(kCases[1]);
    const auto order = static_cast<std::int16_t>(state.range(0));
    const long long before = model.application->calculations();
    for (auto _ : state) benchmark::DoNotOptimize(accurate ? model.accurate(order) : model.quick(order));
    state.counters["recalculations"] = benchmark::Counter(
        static_cast<double>(model.application->calculations() - before), benchmark::Counter::kAvgIterations);
}

BENCHMARK(BM_Recalculation);
BENCHMARK(BM_Derivative<false>)->Name("BM_QuickDerivative")->Arg(1)->Arg(2);
BENCHMARK(BM_Derivative<true>)->Name("BM_AccurateDerivative")->Arg(1)->Arg(2);

} // namespace
} // namespace varnex3::bench

int main(int argc, char** argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--table") == 0) {
        varnex3::bench::printTable();
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
