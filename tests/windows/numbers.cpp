// Prints results of seeded runs and sweeps over the functions behind them, with 17 digits. Builds for
// different systems must print the same text; scripts/test-windows compares them.
//
// The model uses + - * / and square roots alone; all other functions are the library's.
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string>

#include "Beam.h"
#include "host/alg_m_XLinterface.h"
#include "optimizer/c_Optimization.h"
#include "runtime/Seeds.h"
#include "sensitivity/c_al_Allocation.h"
#include "sensitivity/c_sa_Analysis.h"
#include "stats/alg_m_MersenneTwister.h"
#include "stats/c_Distribution.h"
#include "stats/c_Statistics.h"
#include "ui/Windows.h"

namespace varnex3::test {
namespace {

struct Reference {
    const char* family;
    double params[4];
    double quantiles[8];
    double mean, stdev;
};
const Reference kReferences[] = {
#include "../unit/stats/DistributionReference.inc"
    // fits to mean, standard deviation, skewness and kurtosis, in each of the four systems and on a border
    {"Johnson", {10.0, 2.0, 0.5, 4.0}, {}, 10.0, 2.0}, {"Johnson", {10.0, 2.0, 0.0, 9.0}, {}, 10.0, 2.0},
    {"Johnson", {10.0, 2.0, 0.8, 3.2}, {}, 10.0, 2.0}, {"Johnson", {10.0, 2.0, -1.0, 4.8}, {}, 10.0, 2.0},
    {"Johnson", {10.0, 2.0, 0.0, 3.0}, {}, 10.0, 2.0},
};

std::string digits17(double value)
{
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, 16).ptr;
    return {text, end};
}

void print(const std::string& label, double value)
{
    std::printf("%s %s\n", label.c_str(), digits17(value).c_str());
}

/// All bits of many values in one number (FNV-1a), so that a sweep takes one line.
class Digest {
public:
    explicit Digest(std::string label) : label_(std::move(label)) {}
    ~Digest()
    {
        std::printf("%s: %ld values, digest %016llx\n", label_.c_str(), count_,
                    static_cast<unsigned long long>(hash_));
    }
    Digest(const Digest&) = delete;
    Digest& operator=(const Digest&) = delete;

    void add(double value)
    {
        const auto bits = std::bit_cast<std::uint64_t>(value == value ? value : 0.0);
        for (int shift = 0; shift < 64; shift += 8)
            hash_ = (hash_ ^ ((bits >> shift) & 255)) * 1099511628211U;
        ++count_;
    }

private:
    std::string label_;
    std::uint64_t hash_ = 14695981039346656037U;
    long count_ = 0;
};

void normalFunctions()
{
    const c_Statistics statistics;
    Digest cdf("normCDF"), pdf("NormPDF"), quantile("findZ"), pass("PassBad");
    for (int i = -40000; i <= 40000; ++i) {
        const double z = i / 1000.0;
        cdf.add(statistics.normCDF(z, i % 2 == 0));
        pdf.add(statistics.NormPDF(z, 0.1, 1.3));
    }
    for (int i = 1; i < 400; ++i) {
        std::int16_t digits = 9;
        quantile.add(statistics.findZ(i / 400.0, digits));
        if (i % 40 == 0) pass.add(statistics.PassBad(10.0, 0.5, 10.0 + i / 400.0, 0.1));
    }
}

void families()
{
    alg_m_MersenneTwister::InitRandom(12345);
    for (const Reference& r : kReferences) {
        const Family& family = *findFamily(r.family);
        c_Distribution d;
        d.DistType(r.family);
        d.param1(r.params[0]);
        d.param2(r.params[1]);
        if (!family.parameters[2].text.empty()) d.param3(r.params[2]);
        if (!family.parameters[3].text.empty()) d.param4(r.params[3]);
        const std::string name = r.family;
        print(name + " mean", d.mean());
        print(name + " stdev", d.stdev());
        Digest values(name + " quantiles"), shares(name + " probabilities"), densities(name + " densities");
        for (int i = 0; i < 20000; ++i) {
            const double x = d.RandVal(alg_m_MersenneTwister::RandDouble());
            values.add(x);
            shares.add(d.cdf(x));
            densities.add(family.pdf ? d.pdf(x, true, std::nullopt) : 0.0);
        }
    }
}

void simulation(bool latinHypercube)
{
    const std::string label = latinHypercube ? "latin " : "random ";
    Beam beam;
    prepare(beam, 4000, latinHypercube);
    Array2<std::string> correlations(3, 1);
    correlations(1, 1) = "x4";
    correlations(2, 1) = "x5";
    correlations(3, 1) = "-0.4";
    beam.mc.useCorrelations = true;
    beam.mc.AddCorrelations(correlations);
    if (!beam.mc.RunMC()) std::printf("%sfailed\n%s\n", label.c_str(), errorWindow().Label1.c_str());
    for (Long y : oneTo(beam.mc.CountY())) {
        const std::string name = label + beam.f->ItemY(y)->id + " ";
        for (Long stat : oneTo(7)) print(name + std::to_string(stat), beam.mc.yStats(y, stat));
        for (Long i : oneTo(beam.mc.CountX())) print(name + "rank", beam.mc.RankCorrelations(i, y));
        Digest all(name + "trials");
        for (Long t : oneTo(beam.mc.LastTrial())) all.add(beam.mc.yUnsorted(y, t));
    }
}

void optimization(const char* statistics)
{
    const std::string label = statistics;
    Beam beam;
    prepare(beam, 200, true);
    setGoals(beam, statistics);
    Digest reports(label + " reports");
    auto macro = [&](std::span<const Variant> arguments) {
        for (const Variant& argument : arguments)
            if (isNumeric(argument)) reports.add(toDouble(argument));
        for (const auto& row : statusWindow().chart)
            for (double score : row.values) reports.add(score);
        return Variant{};
    };
    beam.host->macros["Book1.xlsx!Generation"] = beam.host->macros["Book1.xlsx!Final"] = macro;
    c_Optimization run;
    run.XLApplication(beam.host);
    run.CorvaneFileName("Book1.xlsx");
    run.PrintGenMacro("Generation");
    run.PrintFinalMacro("Final");
    if (!run.Optimize(*beam.f, beam.mc))
        std::printf("%s failed\n%s\n", statistics, errorWindow().Label1.c_str());
    print(label + " evaluations", static_cast<double>(run.LastRun().evaluations));
    for (int i = 1; i <= 3; ++i) print(label + " x" + std::to_string(i), Beam::x(beam.sheet, i));
    for (int row = 0; row < 4; ++row)
        print(label + " score", statusWindow().chart.back().values[static_cast<std::size_t>(row)]);
}

void sensitivity()
{
    Beam beam;
    alg_m_XLinterface::hostState().application = beam.host;
    Array1<Ref<host::Range>> cells(5);
    for (Long i : oneTo(5)) cells(i) = beam.f->ItemX(i)->mean;
    Array1<double> first, second;
    c_sa_Analysis analysis;
    analysis.CalcDerivatives(cells, beam.f->ItemY("sag")->Formula, first, second, "", "");
    c_sa_Input ins;
    c_al_Input wish;
    ins.y = beam.f->ItemY("sag")->Formula;
    ins.usl = 8.0;
    for (Long i : oneTo(5)) {
        print("derivative", first(i));
        print("second derivative", second(i));
        ins.xMeans(i, cells(i));
        ins.xStDevs(i, toDouble(beam.f->ItemX(i)->stdev));
        ins.Derivs1(i, first(i));
        ins.derivs2(i, second(i));
        wish.xStDevs(i, toDouble(beam.f->ItemX(i)->stdev));
        wish.xKeeps(i, c_al_Input::KEEP_NO);
        wish.Derivs1(i, first(i));
        wish.Drivers(i, 1.0 + 0.3 * i);
    }
    c_sa_Output outs;
    analysis.SensitivityAnalysis(ins, outs);
    print("stdev", outs.responseStDev);
    print("pnc", outs.PNC_total);
    for (Long i : oneTo(5)) print("share", outs.VarianceContribs(i));
    wish.DesiredRespStDev = 0.5 * outs.responseStDev;
    wish.Disparity = 0.4;
    c_al_Output allocated;
    c_al_Allocation allocation;
    allocation.Allocate(wish, allocated);
    for (Long i : oneTo(5)) print("allocated", allocated.xStDevs(i));
    print("respStDev", allocation.EstimRespStDev(7.0, 0.01, "", "8"));
}

} // namespace
} // namespace varnex3::test

int main()
{
    using namespace varnex3;
    test::normalFunctions();
    test::families();
    test::simulation(true);
    test::simulation(false);
    for (const char* statistics : {statsMethods::None, statsMethods::FirstOrder, statsMethods::SecondOrder,
                                   statsMethods::MonteCarlo}) {
        setSeedSource([] { return 99; });
        test::optimization(statistics);
    }
    test::sensitivity();
    std::printf("end of numbers\n");
}
