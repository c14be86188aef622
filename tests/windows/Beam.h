// A beam on the fake host, with spread in its load and material: the model of the programs in this folder.
//
// Responses use + - * / and square roots alone, which every system rounds alike.
#pragma once

#include <cmath>
#include <functional>
#include <memory>
#include <string>

#include "montecarlo/c_MonteCarlo.h"
#include "stats/c_Distribution.h"
#include "support/FakeHost.h"

namespace varnex3::test {

/// A beam: width, height, length, load and stiffness of the material in A1..A5, all five with spread.
class Beam {
public:
    Beam()
    {
        const double values[] = {0.05, 0.1, 2.0, 1000.0, 2.1e11};
        const char* const kinds[] = {xTypes::Continuous, xTypes::Discrete, xTypes::Continuous, xTypes::Noise,
                                     xTypes::Noise};
        for (Long i = 1; i <= 5; ++i) {
            const std::string n = std::to_string(i), cell = "A" + n, id = "x" + n;
            sheet.set(cell, values[i - 1]);
            f->AddX(id);
            f->CalcSequence(i, i);
            c_Parameter& x = *f->ItemX(id);
            x.DefName = x.Name = id;
            x.xType = kinds[i - 1];
            x.mean = sheet.range(cell);
            x.stdev = 0.01 * values[i - 1];
        }
        for (double v : {0.02, 0.2}) f->ItemX(1)->AddFV(v);
        for (double v : {0.06, 0.08, 0.1, 0.12, 0.15, 0.2}) f->ItemX(2)->AddFV(v);
        for (double v : {1.5, 3.0}) f->ItemX(3)->AddFV(v);
        component(*f->ItemX(4), "Gumbel Maximum", 950.0, 80.0);
        component(*f->ItemX(5), "Lognormal", 26.07, 0.04);

        response("mass", [](FakeSheet& s) { return 7850.0 * x(s, 1) * x(s, 2) * x(s, 3); });
        response("stress",
                 [](FakeSheet& s) { return 6.0 * x(s, 4) * x(s, 3) / (x(s, 1) * x(s, 2) * x(s, 2)); });
        response("sag", [](FakeSheet& s) {
            const double l = x(s, 3), h = x(s, 2);
            return 1000.0 * 4.0 * x(s, 4) * l * l * l / (x(s, 5) * x(s, 1) * h * h * h);
        });
        response("pitch",
                 [](FakeSheet& s) { return std::sqrt(x(s, 5) / 7850.0) * x(s, 2) / (x(s, 3) * x(s, 3)); });
        f->ItemY("stress")->usl = 3e7;
        f->ItemY("sag")->usl = 8.0;
        f->ItemY("pitch")->lsl = 100.0;
    }

    static double x(FakeSheet& s, int i) { return s.number("A" + std::to_string(i)); }

    Ref<FakeHost> host = FakeHost::create();
    FakeSheet& sheet = host->sheet();
    Ref<c_Formulation> f = std::make_shared<c_Formulation>();
    c_MonteCarlo mc;

private:
    static void component(c_Parameter& parameter, const char* family, double param1, double param2)
    {
        auto d = std::make_shared<c_Distribution>();
        d->DistType(family);
        d->param1(param1);
        d->param2(param2);
        parameter.dist->Add(d);
    }
    void response(const std::string& id, const std::function<double(FakeSheet&)>& model)
    {
        f->AddY(id);
        c_Response& y = *f->ItemY(id);
        const std::string cell = "B" + std::to_string(f->CountY());
        sheet.formula(cell, "=" + id, [model](FakeSheet& s) { return Variant(model(s)); });
        y.DefName = y.Name = id;
        y.Formula = sheet.range(cell);
    }
};

inline void prepare(Beam& beam, Long trials, bool latinHypercube)
{
    beam.mc.XLApplication(beam.host);
    beam.mc.CorvaneFileName("Book1.xlsx");
    beam.mc.numTrials = trials;
    beam.mc.sampleSize = trials / 2;
    beam.mc.randSeed = 4711;
    beam.mc.useLHS = latinHypercube;
    beam.mc.LoadFormulation(beam.f);
}

/// What a search is to reach: light and stiff within a limit of stress.
inline void setGoals(Beam& beam, const char* statistics)
{
    c_Options& options = *beam.f->Options;
    options.StopRule = stopRules::FixedNumber;
    options.MaxGens = 8;
    options.GenSize = 30;
    options.Precision = 0.001;
    options.Derivs = "Accurate";
    options.Stats = statistics;
    options.StoreYs = "Yes";
    options.OptTrials = "200";
    auto cell = [&](const char* id) { return beam.f->ItemY(id)->Formula; };
    beam.f->AddC("strength");
    c_Constraint& strength = *beam.f->ItemC("strength");
    strength.y = cell("stress");
    strength.Aspect = "Mean";
    strength.Oper = "<=";
    strength.Reqt = 2e7;
    beam.f->AddG("light");
    c_Goal& light = *beam.f->ItemG("light");
    light.y = cell("mass");
    light.Aspect = "Mean";
    light.Oper = "<=";
    light.Target = 10.0;
    light.Priority = 1;
    light.Weight = 1.0;
    beam.f->AddG("stiff");
    c_Goal& stiff = *beam.f->ItemG("stiff");
    stiff.y = cell("sag");
    stiff.Aspect = options.Stats == statsMethods::None ? "Mean" : "StDev";
    stiff.Oper = "<=";
    stiff.Target = 0.01;
    stiff.Priority = 2;
    stiff.Weight = 2.0;
}

} // namespace varnex3::test
