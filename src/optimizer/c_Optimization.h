// optimizer/c_Optimization.h - the public entry of the optimizer.
#pragma once

#include <string>

#include "evaluation/OptimizationRun.h"

namespace varnex3 {

class c_Optimization : public Object {
public:
    // Write-only. Each is also kept in the process-wide host state (host/alg_m_XLinterface.h).
    void XLApplication(Ref<host::Application> application);
    void CorvaneFileName(const std::string& name);
    void PrintGenMacro(const std::string& name);
    void PrintFinalMacro(const std::string& name);

    /// Of the random stream; 0: every run invents one. A given one repeats a run.
    Long Seed = 0;

    /// Searches for the best values of the formulation's parameters. Does not validate: call
    /// formulationOK first. Sorted feasible values, search ranges taken from them and a GenSize raised to
    /// 20 stay in the formulation after the run.
    /// @return  whether the run ended without an error, a cancel included; an error has been shown
    bool Optimize(c_Formulation& f_init, c_MonteCarlo& mc);

    /// Releases the object's application; the process-wide one stays.
    void Clear();

    /// The last run of this object, failed ones included.
    const RunSummary& LastRun() const { return lastRun_; }
    /// The seed of the last run's random stream: installed as seed source it repeats the run.
    Long SeedUsed() const { return lastRun_.seed; }

private:
    void InitVars(OptimizationRun& d, c_Formulation& f_init, c_MonteCarlo& mc);

    Ref<host::Application> application_;
    std::string fileName_, printGenMacro_, printFinalMacro_;
    RunSummary lastRun_;
};

} // namespace varnex3
