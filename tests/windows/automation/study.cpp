// The numbers of study.vbs from the C++ classes on the fake host, printed the same way.
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string>

#include "montecarlo/c_MonteCarlo.h"
#include "optimizer/c_Optimization.h"
#include "sensitivity/c_sa_Analysis.h"
#include "stats/c_Distribution.h"
#include "support/FakeHost.h"
#include "ui/Windows.h"

namespace varnex3::test {
namespace {

/// Sign, upper 27 and lower 26 bits of the mantissa, exponent.
void exact(const std::string& label, double x)
{
    int exponent = 0;
    const double mantissa = std::ldexp(std::frexp(std::fabs(x), &exponent), 53);
    const double upper = std::floor(mantissa / 67108864.0);
    std::printf("= %s %c%.0f %.0f %d\n", label.c_str(), x < 0 ? '-' : '+', upper,
                mantissa - upper * 67108864.0, x == 0.0 ? 0 : exponent - 53);
}

class Study {
public:
    Study()
    {
        host->macros["Count"] = [this](std::span<const Variant>) {
            ++macroRuns;
            return Variant();
        };
        host->macros["Model.xlsm!Generation"] = [this](std::span<const Variant> arguments) {
            generations = *arguments[6].asNumber();
            reported = (*std::get<DoubleArray1>(arguments[0].held()))(1);
            return Variant();
        };
        host->macros["Model.xlsm!Final"] = [](std::span<const Variant>) { return Variant(); };
        sheet.set("A1", 4.0);
        sheet.set("A2", 5.0);
        sheet.formula("B1", "=width*width*height",
                      [](FakeSheet& s) { return Variant(s.number("A1") * s.number("A1") * s.number("A2")); });
        sheet.formula("B2", "=2*width+height/width", [](FakeSheet& s) {
            return Variant(2 * s.number("A1") + s.number("A2") / s.number("A1"));
        });
    }

    void optimize()
    {
        c_Formulation f;
        fill(f, "Continuous");
        c_Optimization optimization;
        c_MonteCarlo mc;
        optimization.XLApplication(host);
        optimization.CorvaneFileName("Model.xlsm");
        optimization.PrintGenMacro("Generation");
        optimization.PrintFinalMacro("Final");
        optimization.Seed = 12345;
        if (!optimization.Optimize(f, mc)) std::printf("%s\n", errorWindow().Label1.c_str());
        exact("best width", sheet.number("A1"));
        exact("best height", sheet.number("A2"));
        exact("best cost", sheet.number("B2"));
        exact("macro runs", macroRuns);
        exact("generations", generations);
        exact("best width reported", reported);
    }

    void simulate()
    {
        const auto f = std::make_shared<c_Formulation>();
        fill(*f, "Noise");
        c_MonteCarlo mc;
        mc.XLApplication(host);
        mc.LoadFormulation(f);
        mc.numTrials = 300;
        mc.sampleSize = 100;
        mc.randSeed = 7;
        mc.useLHS = true;
        mc.alpha(0.05);
        mc.refreshRate(100);
        mc.RunMC();
        for (Long i : {1, 2}) {
            for (Long k : oneTo(7))
                exact("response " + std::to_string(i) + " statistic " + std::to_string(k), mc.yStats(i, k));
            exact("contribution " + std::to_string(i), mc.VarContribs(i, 1));
        }
        mc.SortYs();
        exact("least", mc.ySorted(1, 1));
        exact("trial 300", mc.xUnsorted(2, 300));
    }

    void analyse()
    {
        sheet.set("A1", 4.0);
        sheet.set("A2", 5.0);
        const c_sa_Analysis analysis;
        c_sa_Input ins;
        c_sa_Output outs;
        Array1<double> d1, d2;
        analysis.CalcDerivatives({sheet.range("A1"), sheet.range("A2")}, sheet.range("B1"), d1, d2, "", "");
        ins.y = sheet.range("B1");
        ins.lsl = 70;
        for (Long i : {1, 2}) {
            ins.xStDevs(i, analysis.EstimateStDev(0.3 * i, 3, false, false));
            ins.Derivs1(i, d1(i));
            ins.derivs2(i, d2(i));
            exact("first derivative " + std::to_string(i), d1(i));
            exact("second derivative " + std::to_string(i), d2(i));
        }
        analysis.SensitivityAnalysis(ins, outs);
        exact("predicted mean", outs.responseMean);
        exact("predicted standard deviation", outs.responseStDev);
        exact("below the limit", outs.PNC_lsl);
        exact("share of the width", outs.VarianceContribs(1));
    }

private:
    void fill(c_Formulation& f, const char* xType)
    {
        for (Long i : {1, 2}) {
            const std::string id = "x" + std::to_string(i);
            f.AddX(id);
            f.CalcSequence(i, i);
            c_Parameter& x = *f.ItemX(i);
            x.Name = id;
            x.xType = xType;
            x.mean = sheet.range("A" + std::to_string(i));
            x.stdev = 0.1;
            x.AddFV(1);
            x.AddFV(10);
            x.SearchMin = 1;
            x.SearchMax = 10;
            auto d = std::make_shared<c_Distribution>();
            d->DistType("Normal");
            d->param1(3 + i);
            d->param2(0.25);
            if (x.xType == xTypes::Noise) x.dist->Add(d);
            f.AddY("y" + std::to_string(i));
            f.ItemY(i)->Formula = sheet.range("B" + std::to_string(i));
        }
        f.ItemY(1)->lsl = 50;
        f.ItemY(2)->usl = "10.5";
        f.AddC("c");
        c_Constraint& c = *f.ItemC(1);
        c.Aspect = "Mean";
        c.Oper = ">=";
        c.Reqt = 50;
        c.y = sheet.range("B1");
        f.AddG("g");
        c_Goal& g = *f.ItemG(1);
        g.Aspect = "Mean";
        g.Oper = "<=";
        g.Target = 0;
        g.Priority = 1;
        g.Weight = 1;
        g.y = sheet.range("B2");
        c_Options& options = *f.Options;
        options.StopRule = stopRules::FixedNumber;
        options.MaxGens = 12;
        options.GenSize = 24;
        options.Precision = 0.001;
        options.Derivs = "Quick";
        options.Stats = statsMethods::None;
        options.StoreYs = "Yes";
        options.OptTrials = "100";
        options.beforeMacro = "Count";
    }

    Ref<FakeHost> host = FakeHost::create();
    FakeSheet& sheet = host->sheet();
    int macroRuns = 0;
    double generations = 0.0, reported = 0.0;
};

} // namespace
} // namespace varnex3::test

int main()
{
    varnex3::test::Study study;
    study.optimize();
    study.simulate();
    study.analyse();
}
