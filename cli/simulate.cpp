// cli/simulate.cpp - `corvane simulate`: run the trials of a study and report what its results do.
//
// The report is Simulation.h's.
#include <chrono>
#include <cmath>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <system_error>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Distributions.h"
#include "Output.h"
#include "Simulation.h"
#include "Terminal.h"

namespace varnex3::cli {
namespace {

void takeArguments(const SimulateArguments& arguments, Study& study)
{
    StudyMonteCarlo& m = study.monteCarlo;
    if (arguments.trials > 0) m.trials = arguments.trials;
    if (arguments.seed > 0) m.seed = arguments.seed;
    if (!arguments.sampling.empty()) m.latinHypercube = arguments.sampling == "lhs";
}

/// Batches that do not come out even leave a last one that may have seen low values only.
void warnOfBatches(const Study& study)
{
    const StudyMonteCarlo& m = study.monteCarlo;
    if (m.sampleSize == 0 || m.sampleSize >= m.trials || m.trials % m.sampleSize == 0) return;
    fmt::print(stderr, "{}: warning: batches of {} do not divide {} trials; the last batch is cut short{}\n",
               m.sampleSizePlace.text(), m.sampleSize, m.trials,
               study.correlations.empty()
                   ? ""
                   : ", and with correlations it holds low values of the first input only");
}

/// A copy can be made under that name: asked before the trials, not after them.
void requireSavable(const std::string& path, const Study& study)
{
    if (path.empty()) return;
    const std::filesystem::path copy(path), workbook(study.workbookPath);
    std::error_code none;
    if (std::filesystem::equivalent(copy, workbook, none))
        throw Refused(
            fmt::format("--save {}: that is the workbook of the study; give the copy another name", path));
    if (copy.extension() != workbook.extension())
        throw Refused(fmt::format("--save {}: the copy of {} must end in {} too", path,
                                  workbook.filename().string(), workbook.extension().string()));
}

/// Why the trial that stopped a run did so: its inputs are written again, and the responses looked at.
class FailedTrial {
public:
    FailedTrial(Problem& problem, const c_MonteCarlo& run) : problem_(problem), run_(run) {}

    /// False when the run failed before its first trial.
    bool begun() const
    {
        for (Long i : oneTo(run_.CountX()))
            if (!std::isnan(run_.trialX(i))) return true;
        return run_.refusedX() > 0;
    }

    std::string text()
    {
        const c_Formulation& f = *problem_.formulation;
        for (Long i : oneTo(f.CountX())) {
            const Long k = f.CalcSequence(i);
            if (f.RecalcFlags(k)) problem_.application->Calculate();
            if (!std::isnan(run_.trialX(k))) attempt([&] { f.Xs->Item(k)->SetMean(run_.trialX(k)); });
        }
        attempt([&] { problem_.application->Calculate(); });
        std::string reason, get;
        if (const Long k = run_.refusedX(); k > 0)
            reason = fmt::format("the distribution of \"{}\": {}", f.Xs->Item(k)->Name, run_.refusal());
        for (Long j : oneTo(f.CountY())) {
            if (!reason.empty()) break;
            const Variant value = f.Ys->Item(j)->Formula->Value();
            if (value.asNumber() || value.asBoolean()) continue;
            const std::string& cell = problem_.study.responses[static_cast<std::size_t>(j - 1)].cell.value;
            reason = fmt::format("the response \"{}\" in {} holds {}", f.Ys->Item(j)->Name, cell,
                                 problem_.application->shownText(*f.Ys->Item(j)->Formula));
            get = " --get " + quoted(cell);
        }
        std::string message = fmt::format("trial {}: {}\n", run_.LastTrial() + 1,
                                          reason.empty() ? "the cause is in the report below" : reason);
        message += "The inputs of that trial:\n  corvane calc " + quoted(problem_.study.workbookPath);
        for (Long i : oneTo(f.CountX())) {
            if (f.Xs->Item(i)->xType == xTypes::Constant || std::isnan(run_.trialX(i))) continue;
            const std::string& cell = problem_.study.parameters[static_cast<std::size_t>(i - 1)].cell.value;
            message += " --set " + quoted(cell + "=" + csvField(run_.trialX(i)));
        }
        return message + get + "\n";
    }

private:
    static std::string quoted(const std::string& word)
    {
        if (word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./=+") ==
            std::string::npos)
            return word;
        std::string text = "'";
        for (char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return text + "'";
    }

    Problem& problem_;
    const c_MonteCarlo& run_;
};

/// Runs the trials. False when a trial failed.
bool runTrials(Problem& problem, Simulation& simulation, const SimulateArguments& arguments,
               std::optional<std::string>& failure)
{
    Terminal terminal({arguments.quiet, OnCancel::Keep});
    c_MonteCarlo& run = simulation.run;
    configureMonteCarlo(run, problem);
    validateInputs(problem);
    simulation.planned = run.numTrials;
    if (run.useCorrelations) simulation.repaired = !run.CorrelationListOK(correlationList(problem.study));
    const auto begin = std::chrono::steady_clock::now();
    const bool done = run.RunMC();
    simulation.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    simulation.cancelled = !done && terminal.cancelled();
    failure = terminal.errorReport();
    return done || simulation.cancelled;
}

/// The figures of every response in a sheet, one row each, then what drives them.
void fillResults(Problem& problem, const c_MonteCarlo& run)
{
    const Ref<host::Worksheet> results = problem.workbook->Worksheets("MC Results");
    host::Worksheet& sheet = *results;
    Long row = 0;
    const auto write = [&](std::initializer_list<Variant> cells) {
        ++row;
        Long column = 0;
        for (const Variant& cell : cells) sheet.Cells(row, ++column, cell);
    };
    write({"Response", "Trials", "Mean", "StDev", "Skewness", "Kurtosis", "Minimum", "Maximum", "Below LSL",
           "Above USL", "minPNC", "pnc", "maxPNC"});
    for (Long j : oneTo(run.CountY())) {
        const auto stat = [&](Long k) {
            return run.statsDiffer(j, k) ? run.accurateStats(j, k) : run.yStats(j, k);
        };
        write({run.Ys(j)->Name, static_cast<double>(run.LastTrial()), stat(1), stat(2), stat(3), stat(4),
               run.yMin(j), run.yMax(j), run.ySums(j, 5), run.ySums(j, 6), run.yStats(j, 5), run.yStats(j, 6),
               run.yStats(j, 7)});
    }
    ++row;
    write({"Response", "Input", "VarContribs", "RankCorrelations"});
    for (Long j : oneTo(run.CountY()))
        for (Long i : oneTo(run.CountX()))
            write({run.Ys(j)->Name, run.Xs(i)->Name, run.VarContribs(i, j), run.RankCorrelations(i, j)});
}

/// Writes the workbook with the sheets "MC Results" and "MC Data1" and so on. False when the user cancelled.
bool saveResults(Problem& problem, c_MonteCarlo& run, const SimulateArguments& arguments)
{
    {
        Terminal terminal({arguments.quiet, OnCancel::Keep});
        std::string name = problem.workbook->Name();
        run.ExtractData(name);
        if (terminal.cancelled()) return false;
        if (terminal.errorReport()) throw Refused(arguments.save + ": " + *terminal.errorReport());
    }
    fillResults(problem, run);
    problem.application->save(*problem.workbook, arguments.save);
    return true;
}

} // namespace

int runSimulate(const SimulateArguments& arguments)
{
    if (arguments.json == "-" && arguments.csv == "-")
        throw Refused("--json - and --csv -: standard output takes one of them");
    for (const std::string& path : {arguments.json, arguments.csv, arguments.save}) requireWritable(path);
    Problem problem = loadProblem(arguments.study);
    if (arguments.threads > 0) problem.application->threads(static_cast<unsigned>(arguments.threads));
    requireSavable(arguments.save, problem.study);
    takeArguments(arguments, problem.study);
    warnOfBatches(problem.study);

    Simulation simulation;
    std::optional<std::string> failure;
    if (!runTrials(problem, simulation, arguments, failure)) {
        FailedTrial trial(problem, simulation.run);
        const bool full = failure && failure->rfind("Error 7:", 0) == 0; // out of memory
        fmt::print(stderr, "corvane: the run failed {}{}{}\n",
                   trial.begun() ? "in " + trial.text() : "before its first trial\n",
                   full ? fmt::format("{} trials need too much memory; ask for fewer.\n", simulation.planned)
                        : std::string(),
                   failure.value_or(""));
        return exitCode::RunFailed;
    }
    c_MonteCarlo& run = simulation.run;
    if (simulation.cancelled && !run.CompleteEarly(run.useCorrelations)) {
        fmt::print(stderr, "corvane: cancelled before {} was done; nothing can be reported.\n",
                   run.useCorrelations ? "the first whole batch" : "the second trial");
        return exitCode::Cancelled;
    }
    run.SortYs();
    if (arguments.json != "-" && arguments.csv != "-") fmt::print("{}", report(problem, simulation));
    if (!arguments.json.empty()) writeJson(arguments.json, document(problem, simulation));
    if (!arguments.csv.empty()) writeFile(arguments.csv, trialsAsCsv(problem, simulation));
    if (!arguments.save.empty() && !saveResults(problem, run, arguments)) {
        fmt::print(stderr, "corvane: cancelled; {} was not written.\n", arguments.save);
        return exitCode::Cancelled;
    }
    return simulation.cancelled ? exitCode::Cancelled : exitCode::Done;
}

} // namespace varnex3::cli
