// bench/engine_bench.cpp - one trial (write the inputs, recalculate, read the responses) of each model, in
// the embedded engine and as plain C++, and the ratio of the two.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "Allocations.h"
#include "Models.h"

namespace {

using namespace varnex3::bench;

/// Inputs that change from trial to trial.
template <std::size_t N>
void vary(std::array<double, N>& x, const std::array<double, N>& start, unsigned trial)
{
    for (std::size_t i = 0; i < N; ++i)
        x[i] =
            start[i] * (1.0 + 0.001 * static_cast<double>((trial * 7 + static_cast<unsigned>(i) * 13) % 97));
}

template <std::size_t N>
void require(const std::array<double, N>& a, const std::array<double, N>& b, const char* model)
{
    for (std::size_t i = 0; i < N; ++i) {
        if (std::fabs(a[i] - b[i]) <= 1e-9 * std::max(1.0, std::fabs(b[i]))) continue;
        std::fprintf(stderr, "%s: response %zu is %.17g, should be %.17g\n", model, i, a[i], b[i]);
        std::exit(1);
    }
}

std::array<double, LargeModel::kWidth> largeStart()
{
    std::array<double, LargeModel::kWidth> x{};
    for (std::size_t i = 0; i < x.size(); ++i) x[i] = 1.0 + 0.37 * static_cast<double>(i % 7);
    return x;
}

template <class F>
double secondsPerTrial(F f)
{
    const auto cpu = [] { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; };
    double best = 1e9;
    for (int repeat = 0; repeat < 5; ++repeat) {
        unsigned trials = 0;
        const double start = cpu();
        double elapsed = 0.0;
        do {
            for (int k = 0; k < 64; ++k) f(trials++);
            elapsed = cpu() - start;
        } while (elapsed < 0.1);
        best = std::min(best, elapsed / trials);
    }
    return best;
}

template <class Model, std::size_t N, std::size_t M>
void compare(const char* name, const std::array<double, N>& start,
             std::array<double, M> (*plain)(const std::array<double, N>&), int formulas)
{
    Model model;
    std::array<double, N> x{};
    for (unsigned trial = 0; trial < 50; ++trial) {
        vary(x, start, trial);
        require(model.run(x), plain(x), name);
    }
    const std::size_t before = allocations();
    for (unsigned trial = 0; trial < 50; ++trial) {
        vary(x, start, trial);
        benchmark::DoNotOptimize(model.run(x));
    }
    const std::size_t allocated = allocations() - before;
    const double engine = secondsPerTrial([&](unsigned trial) {
        vary(x, start, trial);
        benchmark::DoNotOptimize(model.run(x));
    });
    const double bare = secondsPerTrial([&](unsigned trial) {
        vary(x, start, trial);
        benchmark::DoNotOptimize(plain(x));
    });
    std::printf("%-6s engine %10.3f us, %6.2f ns per formula; C++ %9.4f us; ratio %6.1f; allocations %zu\n",
                name, engine * 1e6, engine * 1e9 / formulas, bare * 1e6, engine / bare, allocated);
}

template <class Model, std::size_t N>
void runModel(benchmark::State& state, const std::array<double, N>& start)
{
    Model model;
    std::array<double, N> x{};
    unsigned trial = 0;
    for (auto _ : state) {
        vary(x, start, trial++);
        benchmark::DoNotOptimize(model.run(x));
    }
}

void smallEngine(benchmark::State& state) { runModel<SmallModel>(state, SmallModel::kStart); }
void largeEngine(benchmark::State& state) { runModel<LargeModel>(state, largeStart()); }
BENCHMARK(smallEngine);
BENCHMARK(largeEngine);

} // namespace

int main(int argc, char** argv)
{
    compare<SmallModel>("small", SmallModel::kStart, smallPlain, 12);
    compare<LargeModel>("large", largeStart(), largePlain, LargeModel::kWidth * LargeModel::kRows + 8);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
