// bench/engine_bench.cpp - trials (write the inputs, recalculate, read the responses) of each model on the
// embedded host, one by one and in batches, beside the same model as plain C++, one by one.
//
// Prints the table of docs/performance.md. Every answer is compared before anything is timed.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <vector>

#include <fmt/format.h>

#include "Allocations.h"
#include "Models.h"

namespace varnex3::bench {
namespace {

constexpr std::size_t kBatch = 4096;

/// Inputs that change from trial to trial.
template <std::size_t N>
void vary(double* x, const std::array<double, N>& start, std::size_t trial)
{
    for (std::size_t i = 0; i < N; ++i)
        x[i] = start[i] * (1.0 + 0.001 * static_cast<double>((trial * 7 + i * 13) % 97));
}

std::array<double, LargeModel::kInputs> largeStart()
{
    std::array<double, LargeModel::kInputs> x{};
    for (std::size_t i = 0; i < x.size(); ++i) x[i] = 1.0 + 0.37 * static_cast<double>(i % 7);
    return x;
}

void require(double value, double wanted, const char* model)
{
    if (std::fabs(value - wanted) <= 1e-9 * std::max(1.0, std::fabs(wanted))) return;
    fmt::print(stderr, "{}: a response is {}, should be {}\n", model, value, wanted);
    std::exit(1);
}

double processorTime() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }
double wallTime()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// The fastest of several measurements.
/// @param f  f(n) does something about n times and tells how often
template <class F>
double secondsPerTrial(F f, double (*now)() = processorTime)
{
    double best = 1e9;
    std::size_t wanted = 64;
    for (int measured = 0; measured < 9;) {
        const double start = now();
        const std::size_t trials = f(wanted);
        const double elapsed = now() - start;
        if (elapsed < 0.03) {
            wanted *= 2;
            continue;
        }
        ++measured;
        best = std::min(best, elapsed / static_cast<double>(trials));
    }
    return best;
}

volatile double sink;

template <class Model>
void compare(const char* name, const std::array<double, Model::kInputs>& start,
             std::array<double, Model::kResponses> (*plain)(const std::array<double, Model::kInputs>&))
{
    constexpr std::size_t nx = Model::kInputs, ny = Model::kResponses;
    Model model;
    std::vector<double> xs(kBatch * nx), ys(kBatch * ny), single(ny);
    for (std::size_t t = 0; t < kBatch; ++t) vary(&xs[t * nx], start, t);
    const auto inputsOf = [&](std::size_t t) {
        std::array<double, nx> x{};
        std::copy_n(&xs[t % kBatch * nx], nx, x.begin());
        return x;
    };
    const auto batchOn = [&](unsigned threads) {
        model.application->threads(threads);
        return model.application->Trials(model.inputs, model.responses);
    };
    for (std::size_t t = 0; t < 8; ++t) model.run(&xs[t * nx], single.data());
    const Ref<host::Batch> first = batchOn(1);
    if (!first || first->Run(xs, ys) != static_cast<Long>(kBatch)) {
        fmt::print(stderr, "{}: no batch\n", name);
        std::exit(1);
    }
    const std::size_t before = allocations();
    for (std::size_t t = 0; t < 97; ++t) {
        model.run(&xs[t * nx], single.data());
        const std::array<double, ny> wanted = plain(inputsOf(t));
        for (std::size_t j = 0; j < ny; ++j) {
            require(single[j], wanted[j], name);
            if (single[j] != ys[t * ny + j]) require(HUGE_VAL, single[j], "a batch");
        }
    }
    const std::size_t allocated = allocations() - before;

    const double bare = secondsPerTrial([&](std::size_t n) {
        for (std::size_t t = 0; t < n; ++t) sink = plain(inputsOf(t))[0];
        return n;
    });
    const double oneByOne = secondsPerTrial([&](std::size_t n) {
        for (std::size_t t = 0; t < n; ++t) model.run(&xs[t % kBatch * nx], single.data());
        return n;
    });
    const auto inBatches = [&](unsigned threads) {
        const Ref<host::Batch> batch = batchOn(threads);
        return secondsPerTrial(
            [&](std::size_t n) {
                const std::size_t rounds = (n + kBatch - 1) / kBatch;
                for (std::size_t k = 0; k < rounds; ++k) batch->Run(xs, ys);
                return rounds * kBatch;
            },
            threads == 1 ? processorTime : wallTime);
    };
    const double batch = inBatches(1), batchOnTwo = inBatches(2);
    fmt::print("| {} | {:.4f} | {:.3f} | {:.1f} | {:.4f} | {:.2f} | {:.2f} | {} |\n", name, bare * 1e6,
               oneByOne * 1e6, oneByOne / bare, batch * 1e6, batch / bare, batchOnTwo / bare, allocated);
}

} // namespace
} // namespace varnex3::bench

int main()
{
    using namespace varnex3::bench;
    fmt::print(
        "| model | C++, us | one by one, us | ratio | batch, us | ratio | on two threads | allocations |\n"
        "|---|---|---|---|---|---|---|---|\n");
    compare<SmallModel>("small", SmallModel::kStart, smallPlain);
    compare<MediumModel>("medium", MediumModel::kStart, mediumPlain);
    compare<LargeModel>("large", largeStart(), largePlain);
    return 0;
}
