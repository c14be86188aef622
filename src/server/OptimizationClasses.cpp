// server/OptimizationClasses.cpp - the rows of the optimizer and of Monte Carlo runs.
#include "server/Classes.h"
#include "server/Thunks.h"

namespace varnex3::server {
namespace {

constexpr MemberRow kOptimization[] = {
    setter<&c_Optimization::XLApplication>("XLApplication", {}, "The host application."),
    setter<&c_Optimization::CorvaneFileName>("CorvaneFileName", {},
                                             "Name of the workbook that holds the report macros."),
    setter<&c_Optimization::PrintGenMacro>("PrintGenMacro", {},
                                           "Macro run after each generation is reported."),
    setter<&c_Optimization::PrintFinalMacro>("PrintFinalMacro", {},
                                             "Macro run after the final generation is reported."),
    method<&c_Optimization::Optimize>(
        "Optimize", {ref("f_init"), ref("mc")},
        "Searches for the best parameter values; False after an error, which has been shown."),
    method<&c_Optimization::Clear>("Clear", {}, "Releases the host application."),
    field<&c_Optimization::Seed>("Seed", "Seed of the random stream; 0 lets every run invent one."),
    getter<&c_Optimization::SeedUsed>("SeedUsed", {}, "The seed of the last run's random stream."),
};

constexpr MemberRow kMonteCarlo[] = {
    field<&c_MonteCarlo::numTrials>("numTrials", "Trials of a run, 50 or more."),
    field<&c_MonteCarlo::sampleSize>("sampleSize", "Trials per sampling batch, 50 or more."),
    field<&c_MonteCarlo::randSeed>("randSeed",
                                   "Seed of the random stream; a run replaces one outside 1 to 2147483647."),
    field<&c_MonteCarlo::OutputMacroName>("OutputMacroName", "Held for the caller."),
    field<&c_MonteCarlo::SetupMacroName>("SetupMacroName",
                                         "Macro run before the first trial; empty for none."),
    field<&c_MonteCarlo::useLHS>("useLHS", "Latin hypercube sampling instead of plain random sampling."),
    field<&c_MonteCarlo::useCorrelations>("useCorrelations", "Induce the correlations added."),
    property<pick<Long() const>(&c_MonteCarlo::refreshRate),
             pick<void(const Long&)>(&c_MonteCarlo::refreshRate)>(
        "refreshRate", {}, "Trials per screen refresh; 1000 for any value below 1."),
    property<pick<double() const>(&c_MonteCarlo::alpha), pick<void(const double&)>(&c_MonteCarlo::alpha)>(
        "alpha", {}, "Significance level of the bounds on non-conformance; 0.05 for any outside 0 to 1."),
    setter<&c_MonteCarlo::XLApplication>("XLApplication", {}, "The host application."),
    setter<&c_MonteCarlo::CorvaneFileName>("CorvaneFileName", {},
                                           "Name of the workbook that holds the setup macro."),
    getter<&c_MonteCarlo::LastTrial>("LastTrial", {}, "Number of the last trial completed."),
    getter<&c_MonteCarlo::CountX>("CountX", {}, "Parameters of the loaded formulation."),
    getter<&c_MonteCarlo::CountY>("CountY", {}, "Responses of the loaded formulation."),
    constant<&c_MonteCarlo::SOURCEX>("SOURCEX", "\"Parameter\"."),
    constant<&c_MonteCarlo::SOURCEY>("SOURCEY", "\"Response\"."),
    method<&c_MonteCarlo::LoadFormulation>("LoadFormulation", {ref("f_init")},
                                           "Takes the formulation that runs work on."),
    getter<&c_MonteCarlo::Xs>("Xs", {ref("index")},
                              "The parameter at a position or under a key; no object when there is none."),
    getter<&c_MonteCarlo::Ys>("Ys", {ref("index")},
                              "The response at a position or under a key; no object when there is none."),
    method<&c_MonteCarlo::InputsOK>(
        "InputsOK", {ref("source"), ref("itemNum"), ref("cause"), opt("showMessages")},
        "Validates parameters and responses; the first problem goes to source, itemNum and cause."),
    method<&c_MonteCarlo::RunMC>("RunMC", {opt("dbg"), opt("forOpt")},
                                 "Runs the trials; True when all were completed."),
    method<&c_MonteCarlo::SortYs>("SortYs", {}, "Sorts each response's values for ySorted and yPassFail."),
    method<&c_MonteCarlo::Clear>("Clear", {}, "Releases the host application and the results."),
    method<&c_MonteCarlo::ClearCorrelations>("ClearCorrelations", {},
                                             "Forgets all correlations; call it after LoadFormulation."),
    method<&c_MonteCarlo::AddCorrelations>(
        "AddCorrelations", {ref("corrList")},
        "Adds correlations: one column per pair, two ids and the coefficient as text."),
    method<&c_MonteCarlo::CorrelationListOK>("CorrelationListOK", {ref("corrList")},
                                             "Whether a list of correlations is consistent."),
    getter<&c_MonteCarlo::CorrelationList>(
        "CorrelationList", {val("listIndex"), val("listElement")},
        "Names (elements 1, 2) and coefficient (3) of a correlation in use."),
    getter<&c_MonteCarlo::yStats>(
        "yStats", {val("yIndex"), val("statNum")},
        "1 mean, 2 standard deviation, 3 skewness, 4 kurtosis, 5 to 7 lower bound, observed value "
        "and upper bound of the probability of non-conformance."),
    getter<&c_MonteCarlo::ySums>(
        "ySums", {val("yIndex"), val("momentNum")},
        "1 to 4 sums of powers, 5 trials below the lower limit, 6 above the upper one."),
    getter<&c_MonteCarlo::ySorted>("ySorted", {val("yIndex"), val("trial")},
                                   "Response values, ascending once SortYs has run."),
    getter<&c_MonteCarlo::yPassFail>("yPassFail", {val("yIndex"), val("trial")},
                                     "1 within the limits, 0 outside; goes with ySorted."),
    getter<&c_MonteCarlo::yUnsorted>("yUnsorted", {val("yIndex"), val("trial")},
                                     "Response value of a trial."),
    getter<&c_MonteCarlo::xUnsorted>("xUnsorted", {val("xIndex"), val("trial")},
                                     "Parameter value of a trial."),
    getter<&c_MonteCarlo::VarContribs>("VarContribs", {val("xIndex"), val("yIndex")},
                                       "Contribution of a parameter to a response's variance."),
    getter<&c_MonteCarlo::RankCorrelations>("RankCorrelations", {val("xIndex"), val("yIndex")},
                                            "Rank correlation of a parameter and a response."),
    method<pick<void(std::string&)>(&c_MonteCarlo::ExtractData)>(
        "ExtractData", {opt("wbName")},
        "Writes every trial into sheets of a workbook; wbName receives its name."),
    getter<&c_MonteCarlo::accurateStats>("accurateStats", {val("yIndex"), val("statNum")},
                                         "Statistics 1 to 4 of yStats from compensated sums."),
    getter<&c_MonteCarlo::statsDiffer>("statsDiffer", {val("yIndex"), val("statNum")},
                                       "yStats is off by more than 1 % of accurateStats."),
    getter<&c_MonteCarlo::yMin>("yMin", {val("yIndex")}, "Least value of a response."),
    getter<&c_MonteCarlo::yMax>("yMax", {val("yIndex")}, "Greatest value of a response."),
};

constexpr ClassRow kRows[] = {
    publicClass<c_Optimization>(kOptimization, "The entry of the optimizer.",
                                R"(Dim opt As Object, mc As Object
Set opt = CreateObject("varnex3.c_Optimization")
Set mc = CreateObject("varnex3.c_MonteCarlo")
Set opt.XLApplication = Application
opt.CorvaneFileName = ThisWorkbook.Name
If opt.Optimize(f, mc) Then MsgBox "The best design is in the workbook.")"),
    publicClass<c_MonteCarlo>(kMonteCarlo,
                              "Monte Carlo runs: settings, correlations, trials, statistics, export.",
                              R"(Dim mc As Object
Set mc = CreateObject("varnex3.c_MonteCarlo")
Set mc.XLApplication = Application
mc.LoadFormulation f
mc.numTrials = 10000: mc.sampleSize = 1000
mc.randSeed = 42: mc.useLHS = True
If mc.RunMC Then MsgBox "Mean " & mc.yStats(1, 1) & ", standard deviation " & mc.yStats(1, 2))"),
};

} // namespace

std::span<const ClassRow> optimizationClasses() { return kRows; }

} // namespace varnex3::server
