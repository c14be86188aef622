// A small problem on the fake host, the run record made of it, and scripted random draws.
#pragma once

#include <deque>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "montecarlo/c_MonteCarlo.h"
#include "optimizer/alg_m_GeneticAlgorithm.h"
#include "optimizer/c_Optimization.h"
#include "stats/alg_m_MersenneTwister.h"
#include "support/Expect.h"

namespace varnex3::test {

/// Draws from a list; a list that runs dry fails the test.
class ScriptedDraws : public alg_m_MersenneTwister::DrawSource {
public:
    ScriptedDraws(std::initializer_list<double> draws) : draws_(draws) { setDrawSource(this); }
    ~ScriptedDraws() override
    {
        alg_m_MersenneTwister::setDrawSource(nullptr);
        EXPECT_TRUE(draws_.empty()) << draws_.size() << " draws are left over";
    }
    double next() override
    {
        if (draws_.empty()) raise(errors::Internal, "ScriptedDraws", "one draw too many");
        const double u = draws_.front();
        draws_.pop_front();
        return u;
    }
    void reseeded(Long seed) override { seeds.push_back(seed); }
    std::vector<Long> seeds;

private:
    std::deque<double> draws_;
};

/// Parameters stand in A1, A2, ..., responses in B1, B2, ...
class SearchTest : public LibraryTest {
protected:
    SearchTest()
    {
        f.Options->GenSize = 20;
        f.Options->MaxGens = 3;
        f.Options->Precision = 0.01;
        f.Options->StopRule = stopRules::FixedNumber;
        f.Options->Stats = statsMethods::None;
        f.Options->StoreYs = "Yes";
        optimization.XLApplication(host);
        optimization.CorvaneFileName("Book1.xlsx");
        optimization.PrintGenMacro("Generation");
        optimization.PrintFinalMacro("Final");
        host->macros["Book1.xlsx!Generation"] = [this](std::span<const Variant> arguments) {
            reports.emplace_back(arguments.begin(), arguments.end());
            return Variant{};
        };
        host->macros["Book1.xlsx!Final"] = [this](std::span<const Variant> arguments) {
            finalReport.assign(arguments.begin(), arguments.end());
            return Variant{};
        };
        setSeedSource([] { return 1; });
    }

    c_Parameter& addX(const char* xType, double value, std::initializer_list<double> feasible = {})
    {
        const Long i = f.CountX() + 1;
        const std::string cell = "A" + std::to_string(i);
        sheet.set(cell, value);
        f.AddX("x" + std::to_string(i));
        f.CalcSequence(i, i);
        c_Parameter& x = *f.ItemX(i);
        x.xType = xType;
        x.mean = sheet.range(cell);
        for (double v : feasible) x.AddFV(v);
        return x;
    }
    c_Response& addY(FakeFormula formula)
    {
        const Long j = f.CountY() + 1;
        const std::string cell = "B" + std::to_string(j);
        sheet.formula(cell, "=y" + std::to_string(j), std::move(formula));
        f.AddY("y" + std::to_string(j));
        c_Response& y = *f.ItemY(j);
        y.Formula = sheet.range(cell);
        return y;
    }
    c_Constraint& addC(Long response, const char* aspect, const char* oper, const Variant& reqt)
    {
        f.AddC("c" + std::to_string(f.CountC() + 1));
        c_Constraint& c = *f.ItemC(f.CountC());
        c.y = sheet.range("B" + std::to_string(response));
        c.Aspect = aspect;
        c.Oper = oper;
        c.Reqt = reqt;
        return c;
    }
    c_Goal& addG(Long response, const char* aspect, const char* oper, const Variant& target,
                 Long priority = 1, const Variant& weight = 1.0)
    {
        f.AddG("g" + std::to_string(f.CountG() + 1));
        c_Goal& g = *f.ItemG(f.CountG());
        g.y = sheet.range("B" + std::to_string(response));
        g.Aspect = aspect;
        g.Oper = oper;
        g.Target = target;
        g.Priority = priority;
        g.Weight = weight;
        return g;
    }

    bool optimize() { return optimization.Optimize(f, monteCarlo); }

    /// The record as InitVars leaves it, for procedures tested on their own.
    OptimizationRun& record()
    {
        const Long size = f.Options->GenSize, countX = f.CountX();
        d.f = &f;
        d.xl = host;
        d.numKids = size * 4 / 5;
        d.genX.resize(size, countX);
        d.genY.resize(d.storesYs() ? size : 1, kStatistics * f.CountY());
        d.genP.resize(size, kScores);
        d.kids.resize(d.numKids, countX);
        for (auto* array : {&d.resX, &d.startX, &d.bestX, &d.prevBestX, &d.trendX, &d.cumTrendX})
            array->resize(countX);
        d.cSource.resize(f.CountC(), 1);
        d.gSource.resize(f.CountG(), 1);
        d.mutationScale = 0.25;
        d.numSmallOne = d.numSmallAll = d.numMinMax = 1;
        d.numRandom = 2;
        d.xoverProb = 0.5;
        d.fitnessFloor = 0.01;
        return d;
    }

    c_Formulation f;
    c_MonteCarlo monteCarlo;
    c_Optimization optimization;
    OptimizationRun d;
    std::vector<std::vector<Variant>> reports; // arguments of the generation macro
    std::vector<Variant> finalReport;
};

inline std::vector<double> rowOf(const Array2<double>& A, Long r)
{
    const auto row = A.row(r);
    return {row.begin(), row.end()};
}

} // namespace varnex3::test
