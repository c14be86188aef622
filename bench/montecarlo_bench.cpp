// bench/montecarlo_bench.cpp - simulations: on the embedded engine, on a host of plain C++ formulas, and as
// the loop that one would write by hand, with the same draws and the same statistics.
//
// Prints trials per second and ratios; every run must give the same means before its time counts. Then what
// the trials cost in memory. Arguments: trials, a multiple of 1000 (200000), repetitions (5); the fastest
// repetition counts.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "Allocations.h"
#include "Models.h"
#include "PlainHost.h"
#include "formulation/c_Formulation.h"
#include "montecarlo/c_MonteCarlo.h"
#include "stats/alg_m_MersenneTwister.h"
#include "stats/c_Distribution.h"
#include "stats/distributions/NormalQuantile.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::bench {
namespace {

constexpr Long kSeed = 1;

/// Seconds of processor time: other programs on the machine take none of it.
double now() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// A model in both forms. Inputs are normal around `start` with 2 % standard deviation; the first response
/// has an upper limit.
struct Model {
    const char* name;
    std::vector<double> start;
    std::vector<std::string> formulas; // rows of column B; inputs are the rows of column A
    std::vector<Long> responses;       // rows of column B
    double usl;
    std::function<void(const double* x, double* y)> plain;
    std::vector<CellFormula> grid =
        {}; // in place of `formulas`; inputs stand in row 1, responses in column V
};

const Model& fourInputs()
{
    static const Model model{"4 inputs, 12 formulas, 3 responses",
                             {0.05, 0.12, 2.0, 3500.0},
                             {"=A1*(A2*A2*A2)/12", "=A1*A2", "=A4*A3", "=B3*(A2/2)/B1", "=1.5*A4/B2",
                              "=A4*(A3*A3*A3)/(3*2.1E11*B1)", "=B2*A3*7850", "=A4/B6",
                              "=SQRT(B8/(0.23*B7))/(2*3.14159265358979)", "=SQRT(B4*B4+3*(B5*B5))",
                              "=2.35E8/B10", "=B7*2.5+IF(B11<1.5,100,0)"},
                             {11, 12, 9},
                             4.2,
                             [](const double* x, double* y) {
                                 const std::array<double, 3> r = smallPlain({x[0], x[1], x[2], x[3]});
                                 std::copy(r.begin(), r.end(), y);
                             }};
    return model;
}

const Model& tenInputs()
{
    static const Model model = [] {
        Model m{"10 inputs, 2 formulas, 2 responses", {}, {}, {1, 2}, 1500.0, {}};
        std::string sum = "=";
        for (int i = 1; i <= 10; ++i) {
            m.start.push_back(10.0 + i);
            sum += fmt::format("{}(A{}-{})*(A{}-{})", i > 1 ? "+" : "", i, i, i, i);
        }
        m.formulas = {sum, "=A1*A2+A3"};
        m.plain = [](const double* x, double* y) {
            double s = 0.0;
            for (int i = 0; i < 10; ++i) s += (x[i] - (i + 1)) * (x[i] - (i + 1));
            y[0] = s;
            y[1] = x[0] * x[1] + x[2];
        };
        return m;
    }();
    return model;
}

const Model& twentyThousandFormulas()
{
    static const Model model{"20 inputs, 20,008 formulas, 3 responses",
                             std::vector<double>(LargeModel::kWidth, 1.0),
                             {},
                             {1, 2, 3},
                             20.1,
                             [](const double* x, double* y) {
                                 std::array<double, LargeModel::kWidth> inputs{};
                                 std::copy(x, x + LargeModel::kWidth, inputs.begin());
                                 const std::array<double, 5> r = largePlain(inputs);
                                 std::copy(r.begin(), r.begin() + 3, y);
                             },
                             largeFormulas()};
    return model;
}

double stdevOf(double start) { return 0.02 * start; }

struct Hosted {
    Ref<host::Application> application;
    std::vector<Ref<host::Range>> inputs, responses;
};

Hosted embedded(const Model& model)
{
    auto application = std::make_shared<workbook::EmbeddedApplication>();
    const auto sheet = application->Workbooks()->Add()->Worksheets(1);
    Hosted hosted{application, {}, {}};
    const bool grid = !model.grid.empty();
    application->Calculation(host::kCalculationManual); // while the formulas come in
    for (Long i : oneTo(static_cast<Long>(model.start.size()))) {
        const Long row = grid ? 1 : i, column = grid ? i : 1;
        sheet->Cells(row, column, model.start[static_cast<std::size_t>(i - 1)]);
        hosted.inputs.push_back(sheet->Cells(row, column));
    }
    for (const CellFormula& f : model.grid) sheet->Cells(f.row + 1, f.col + 1)->Formula("=" + f.text);
    for (Long i : oneTo(static_cast<Long>(model.formulas.size())))
        sheet->Cells(i, 2)->Formula(model.formulas[static_cast<std::size_t>(i - 1)]);
    for (Long row : model.responses) hosted.responses.push_back(sheet->Cells(row, grid ? 22 : 2));
    application->Calculate();
    return hosted;
}

Hosted onPlainHost(const Model& model)
{
    const std::size_t n = model.start.size();
    std::vector<double> cells = model.start;
    cells.resize(n + model.responses.size());
    auto application = std::make_shared<PlainApplication>(
        cells, [&model, n](std::vector<double>& c) { model.plain(c.data(), c.data() + n); });
    Hosted hosted{application, {}, {}};
    for (std::size_t i = 0; i < cells.size(); ++i)
        (i < n ? hosted.inputs : hosted.responses).push_back(application->cell(static_cast<Long>(i + 1)));
    return hosted;
}

struct Outcome {
    std::vector<double> means, contributions;
    double fails = 0.0, seconds = 0.0;
};

Outcome simulate(const Model& model, const Hosted& hosted, Long trials, Long batch)
{
    auto f = std::make_shared<c_Formulation>();
    for (std::size_t i = 0; i < model.start.size(); ++i) {
        const std::string id = "x" + std::to_string(i + 1);
        f->AddX(id);
        c_Parameter& x = *f->ItemX(id);
        x.Name = x.DefName = id;
        x.xType = xTypes::Noise;
        x.mean = hosted.inputs[i];
        x.DistType = "Normal";
        x.DistParam1 = model.start[i];
        x.DistParam2 = stdevOf(model.start[i]);
        fillDistribution(x);
        f->CalcSequence(static_cast<Long>(i + 1), static_cast<Long>(i + 1));
    }
    for (std::size_t j = 0; j < model.responses.size(); ++j) {
        const std::string id = "y" + std::to_string(j + 1);
        f->AddY(id);
        f->ItemY(id)->Name = f->ItemY(id)->DefName = id;
        f->ItemY(id)->Formula = hosted.responses[j];
        if (j == 0) f->ItemY(id)->usl = model.usl;
    }
    c_MonteCarlo run;
    run.XLApplication(hosted.application);
    run.LoadFormulation(f);
    run.numTrials = trials;
    run.sampleSize = batch;
    run.randSeed = kSeed;
    Outcome outcome;
    const double begin = now();
    if (!run.RunMC()) std::abort();
    outcome.seconds = now() - begin;
    for (Long j : oneTo(run.CountY())) {
        outcome.means.push_back(run.yStats(j, 1));
        for (Long i : oneTo(run.CountX())) outcome.contributions.push_back(run.VarContribs(i, j));
    }
    outcome.fails = run.ySums(1, 6);
    return outcome;
}

/// Seconds of as many recalculations as trials, each with all inputs written and all responses read.
double recalculations(const Model& model, const Hosted& hosted, Long trials)
{
    double sum = 0.0;
    const double begin = now();
    for (Long t : oneTo(trials)) {
        for (std::size_t i = 0; i < hosted.inputs.size(); ++i)
            hosted.inputs[i]->Value(model.start[i] * (t % 2 == 0 ? 1.0 : 1.001));
        hosted.application->Calculate();
        for (const auto& response : hosted.responses) sum += toDouble(response->Value());
    }
    const double seconds = now() - begin;
    if (!std::isfinite(sum)) std::abort();
    return seconds;
}

/// Ranks of the last n rows of a column.
std::vector<double> ranksOf(const std::vector<double>& store, std::size_t end, std::size_t n,
                            std::size_t width, std::size_t column)
{
    std::vector<std::pair<double, std::size_t>> values(n);
    for (std::size_t t = 0; t < n; ++t) values[t] = {store[(end - n + t) * width + column], t};
    std::sort(values.begin(), values.end());
    std::vector<double> ranks(n);
    for (std::size_t r = 0; r < n; ++r) ranks[values[r].second] = static_cast<double>(r + 1);
    return ranks;
}

/// Adds the squared rank correlations of the batch that ends before row `end`, scaled to a sum of 1.
void addContributions(Outcome& outcome, const std::vector<double>& xs, const std::vector<double>& ys,
                      std::size_t end, std::size_t n, std::size_t nx, std::size_t ny)
{
    std::vector<std::vector<double>> xRanks;
    for (std::size_t i = 0; i < nx; ++i) xRanks.push_back(ranksOf(xs, end, n, nx, i));
    const double size = static_cast<double>(n);
    for (std::size_t j = 0; j < ny; ++j) {
        const std::vector<double> yRanks = ranksOf(ys, end, n, ny, j);
        std::vector<double> squares;
        for (const std::vector<double>& ranks : xRanks) {
            double d = 0.0;
            for (std::size_t t = 0; t < n; ++t) d += (ranks[t] - yRanks[t]) * (ranks[t] - yRanks[t]);
            const double r = 1.0 - 6.0 * d / (size * size * size - size);
            squares.push_back(r * r);
        }
        const double total = std::accumulate(squares.begin(), squares.end(), 0.0);
        for (std::size_t i = 0; i < nx; ++i) outcome.contributions[j * nx + i] += squares[i] / total;
    }
}

/// The loop by hand: draw, compute, keep, sum; ranks at the end of every batch.
Outcome byHand(const Model& model, Long trials, Long batch)
{
    const std::size_t nx = model.start.size(), ny = model.responses.size(),
                      n = static_cast<std::size_t>(trials);
    Outcome outcome;
    const double begin = now();
    alg_m_MersenneTwister::InitRandom(kSeed);
    const auto size = static_cast<std::size_t>(batch);
    outcome.contributions.assign(nx * ny, 0.0);
    std::vector<double> xs(n * nx), ys(n * ny), sums(4 * ny, 0.0);
    for (double& p : xs) p = alg_m_MersenneTwister::RandDouble();
    for (std::size_t t = 0; t < n; ++t) {
        double* x = &xs[t * nx];
        double* y = &ys[t * ny];
        for (std::size_t i = 0; i < nx; ++i)
            x[i] = model.start[i] + stdevOf(model.start[i]) * normalQuantile({x[i], 1.0 - x[i]});
        model.plain(x, y);
        for (std::size_t j = 0; j < ny; ++j) {
            double power = 1.0;
            for (std::size_t k = 0; k < 4; ++k) sums[4 * j + k] += power *= y[j];
        }
        if (y[0] > model.usl) outcome.fails += 1.0;
        if ((t + 1) % size == 0) addContributions(outcome, xs, ys, t + 1, size, nx, ny);
    }
    for (std::size_t j = 0; j < ny; ++j) outcome.means.push_back(sums[4 * j] / static_cast<double>(n));
    for (double& c : outcome.contributions) c *= static_cast<double>(batch) / static_cast<double>(n);
    outcome.seconds = now() - begin;
    return outcome;
}

void requireSame(const Outcome& a, const Outcome& b, const char* what)
{
    bool same = a.fails == b.fails;
    for (std::size_t j = 0; j < a.means.size(); ++j)
        same = same && std::fabs(a.means[j] - b.means[j]) <= 1e-12 * std::fabs(b.means[j]);
    for (std::size_t k = 0; k < a.contributions.size(); ++k) // ties of draws share ranks in one of them only
        same = same && std::fabs(a.contributions[k] - b.contributions[k]) <= 1e-6;
    if (same) return;
    fmt::print(stderr, "{} and the loop by hand give different results\n", what);
    std::exit(1);
}

void compare(const Model& model, Long trials, Long batch, int repetitions)
{
    const Hosted engine = embedded(model), plain = onPlainHost(model);
    double hand = 1e300, library = 1e300, whole = 1e300, recalculation = 1e300, formulas = 1e300;
    for (int r = 0; r < repetitions; ++r) {
        const Outcome a = byHand(model, trials, batch), b = simulate(model, plain, trials, batch),
                      c = simulate(model, engine, trials, batch);
        requireSame(b, a, "the library on a plain host");
        requireSame(c, a, "the embedded engine");
        hand = std::min(hand, a.seconds);
        library = std::min(library, b.seconds);
        whole = std::min(whole, c.seconds);
        recalculation = std::min(recalculation, recalculations(model, engine, trials));
        formulas = std::min(formulas, recalculations(model, plain, trials));
    }
    const double n = trials;
    fmt::print("{}, {} trials in batches of {}\n", model.name, trials, batch);
    const auto line = [&](const char* what, double seconds) {
        fmt::print("  {:<38}{:>12.0f} trials/s {:>8.3f} us a trial {:>6.2f} times the loop by hand\n", what,
                   n / seconds, 1e6 * seconds / n, seconds / hand);
    };
    line("plain loop by hand", hand);
    line("library, plain C++ formulas", library);
    line("library, embedded engine", whole);
    line("recalculations one by one, embedded", recalculation);
    fmt::print("  sampling, bookkeeping, status, statistics, beyond recalculation: {:.3f} us a trial\n",
               1e6 * (library - formulas) / n); // both without batches
    fmt::print("  the library's own cost, beyond the loop by hand: {:.3f} us a trial\n",
               1e6 * (library - hand) / n);
}

/// The most memory that a run takes, as a multiple of what its trials take in the end, and the time per trial
/// as their number grows. False when a completed run takes more than 1.6 times as much.
bool growth(const Model& model, Long batch)
{
    const Hosted plain = onPlainHost(model);
    const double perTrial = 8.0 * static_cast<double>(model.start.size() + 3 * model.responses.size());
    bool within = true;
    simulate(model, plain, 1000, batch); // lets go of the workbook of the run before
    fmt::print("{}: memory, batches of {}\n", model.name, batch);
    for (const Long trials : {100000, 1000000, 4000000}) {
        resetPeak();
        const std::size_t before = liveBytes();
        const Outcome outcome = simulate(model, plain, trials, batch);
        const double kept = perTrial * trials, most = static_cast<double>(peakBytes() - before);
        fmt::print("  {:>8} trials: {:>7.1f} MB kept, at most {:>7.1f} MB in use, {:.3f} times; {:.3f} us a "
                   "trial\n",
                   trials, kept / 1e6, most / 1e6, most / kept, 1e6 * outcome.seconds / trials);
        within = within && most <= 1.6 * kept;
    }
    return within;
}

} // namespace
} // namespace varnex3::bench

int main(int argc, char** argv)
{
    const auto argument = [&](int i, long fallback) {
        return argc > i ? std::strtol(argv[i], nullptr, 10) : fallback;
    };
    const auto trials = static_cast<varnex3::Long>(argument(1, 200000));
    const auto repetitions = static_cast<int>(argument(2, 5));
    // In one batch the rank correlations weigh most; in small ones the trials themselves do.
    for (const varnex3::Long batch : {trials, varnex3::Long{1000}}) {
        varnex3::bench::compare(varnex3::bench::fourInputs(), trials, batch, repetitions);
        varnex3::bench::compare(varnex3::bench::tenInputs(), trials, batch, repetitions);
    }
    using namespace varnex3::bench;
    compare(twentyThousandFormulas(), 1000, 1000, repetitions);
    const bool within = growth(fourInputs(), 1000);
    growth(fourInputs(), 4000000); // one batch: its probabilities and ranks come on top
    return within ? 0 : 1;
}
