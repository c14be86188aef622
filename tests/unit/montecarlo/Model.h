// A formulation on the fake host, for the tests of c_MonteCarlo: x1 in A1, x2 in A2, ..., y1 in B1, ...
#pragma once

#include <functional>
#include <string>

#include "montecarlo/c_MonteCarlo.h"
#include "stats/c_Distribution.h"
#include "support/Expect.h"

namespace varnex3::test {

class MonteCarloTest : public LibraryTest {
protected:
    MonteCarloTest()
    {
        mc.XLApplication(host);
        mc.CorvaneFileName("Book1.xlsx");
        mc.numTrials = 100;
        mc.sampleSize = 100;
        mc.randSeed = 1;
        mc.useLHS = true;
        mc.alpha(0.05);
        mc.refreshRate(1000);
    }

    c_Parameter& addX(const std::string& family, Variant param1, Variant param2)
    {
        const std::string n = std::to_string(f->CountX() + 1);
        f->AddX("x" + n);
        c_Parameter& x = *f->ItemX("x" + n);
        x.DefName = x.Name = "Input " + n;
        x.xType = xTypes::Noise;
        sheet.set("A" + n, 0);
        x.mean = sheet.range("A" + n);
        auto d = std::make_shared<c_Distribution>();
        d->DistType(family);
        d->param1(param1);
        d->param2(param2);
        x.dist->Add(d);
        f->CalcSequence(f->CountX(), f->CountX());
        return x;
    }

    c_Response& addY(const std::function<double(FakeSheet&)>& model)
    {
        const std::string n = std::to_string(f->CountY() + 1);
        f->AddY("y" + n);
        c_Response& y = *f->ItemY("y" + n);
        y.DefName = y.Name = "Output " + n;
        sheet.formula("B" + n, "=model" + n, [model](FakeSheet& s) { return Variant(model(s)); });
        y.Formula = sheet.range("B" + n);
        return y;
    }

    bool run(bool dbg = false, bool forOpt = false)
    {
        mc.LoadFormulation(f);
        return mc.RunMC(dbg, forOpt);
    }

    Ref<c_Formulation> f = std::make_shared<c_Formulation>();
    c_MonteCarlo mc;
};

} // namespace varnex3::test
