// cli/optimize.cpp - `corvane optimize`: run the search on a study and report the best design.
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Distributions.h"
#include "Moments.h"
#include "Output.h"
#include "Problem.h"
#include "Terminal.h"
#include "host/alg_m_XLinterface.h"
#include "montecarlo/c_MonteCarlo.h"
#include "optimizer/alg_m_GeneticAlgorithm.h"
#include "optimizer/c_Optimization.h"
#include "runtime/Seeds.h"
#include "stats/alg_m_MersenneTwister.h"

namespace varnex3::cli {
namespace {

constexpr const char* kGenerationMacro = "ReportGeneration";
constexpr const char* kFinalMacro = "ReportFinal";

/// What the generation report hands over.
struct Generation {
    Long number = 0;
    DoubleArray1 bestX;
    std::vector<double> statistics; // of the member in the first row: means, deviations, non-conformances
    std::vector<double> scores;     // constraint violation, goals of priority 1 to 3
};

std::vector<double> numbersOf(const Variant& array)
{
    std::vector<double> values;
    if (const auto* doubles = std::get_if<DoubleArray1>(&array.held()))
        values.assign((*doubles)->begin(), (*doubles)->end());
    if (const auto* variants = std::get_if<VariantArray1>(&array.held()))
        for (const Variant& v : **variants) values.push_back(toDouble(v));
    return values;
}

/// What a run reported.
struct Reports {
    std::vector<Generation> generations;
    DoubleArray2 genX, genY, genP; // of the final generation; none when the run was cancelled
};

/// Catches the reports that a run hands to the workbook's macros.
class Recorder {
public:
    explicit Recorder(workbook::EmbeddedApplication& application)
    {
        application.registerMacro(kGenerationMacro, [this](std::span<const Variant> a) {
            Generation g;
            g.bestX = std::get<DoubleArray1>(a[0].held());
            g.statistics = numbersOf(a[1]);
            g.scores = numbersOf(a[5]);
            g.number = toLong(a[6]);
            reports.generations.push_back(std::move(g));
            return Variant{};
        });
        application.registerMacro(kFinalMacro, [this](std::span<const Variant> a) {
            reports.genX = std::get<DoubleArray2>(a[0].held());
            reports.genY = std::get<DoubleArray2>(a[1].held());
            reports.genP = std::get<DoubleArray2>(a[2].held());
            return Variant{};
        });
    }

    Reports reports;
};

/// A constraint or goal at the best design.
struct Requirement {
    std::string id, name, aspect, oper;
    double value = 0.0, required = 0.0, deviation = 0.0;
    Long priority = 0;   // of a goal
    double weight = 0.0; // of a goal
    bool met() const { return deviation == 0.0; }
};

struct Result {
    bool completed = false, cancelled = false, keptBest = false;
    double seconds = 0.0;
    long long recalculations = 0;
    RunSummary summary;              // of the best run
    std::vector<RunSummary> runs;    // all of them
    std::vector<double> start, best; // parameter values
    std::vector<double> statistics;  // of the best design, in the columns of genY
    std::vector<Requirement> constraints, goals;
    std::vector<double> scores;
    std::vector<std::string> warnings;

    bool constraintsMet() const { return !scores.empty() && scores.front() == 0.0; }
};

class Optimization {
public:
    Optimization(Problem& problem, const OptimizeArguments& arguments)
        : problem_(problem), f_(*problem.formulation), arguments_(arguments), recorder_(*problem.application)
    {}

    /// All runs asked for, each from the start values; the best one's design ends in the cells. A failed or
    /// cancelled run is the last.
    Result run()
    {
        std::vector<double> start; // of the cells: the mean of noise is that of its distribution
        for (Long i : oneTo(f_.CountX())) {
            const Variant value = f_.Xs->Item(i)->mean->Value();
            start.push_back(isNumeric(value) ? toDouble(value) : 0.0);
        }
        Result best;
        std::vector<RunSummary> summaries;
        double seconds = 0.0;
        for (int k = 0; k < arguments_.runs; ++k) {
            if (k > 0) writeToCells(start);
            Result result = runOnce(arguments_.seed > 0 ? arguments_.seed + k : 0);
            result.start = start;
            summaries.push_back(result.summary);
            seconds += result.seconds;
            if (!result.completed && !result.cancelled) return result;
            const bool last = result.cancelled;
            if (best.best.empty() || (!result.best.empty() && result.scores < best.scores)) {
                std::swap(best, result);
                std::swap(bestReports_, recorder_.reports);
            }
            best.cancelled = best.cancelled || last;
            best.keptBest = best.keptBest || result.keptBest;
            recorder_.reports = {};
            if (last) break;
        }
        best.seconds = seconds;
        best.runs = std::move(summaries);
        if (!best.best.empty()) writeToCells(best.cancelled && !best.keptBest ? start : best.best);
        return best;
    }

    /// The reports of the best run.
    const Reports& reports() const { return bestReports_; }

private:
    Result runOnce(Long seed)
    {
        Result result;
        if (seed > 0) {
            alg_m_MersenneTwister::InitRandom(seed); // draws before the search repeat too
            setSeedSource([seed] { return seed; });
        }
        c_Optimization optimization;
        optimization.XLApplication(problem_.application);
        optimization.CorvaneFileName(problem_.workbook->Name());
        optimization.PrintGenMacro(kGenerationMacro);
        optimization.PrintFinalMacro(kFinalMacro);
        c_MonteCarlo monteCarlo;
        configure(monteCarlo);

        const auto begin = std::chrono::steady_clock::now();
        const long long before = problem_.application->calculations();
        const bool ended = optimization.Optimize(f_, monteCarlo);
        result.recalculations = problem_.application->calculations() - before;
        result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        setSeedSource({});
        result.summary = optimization.LastRun();
        result.cancelled = result.summary.cancelled;
        result.keptBest = result.summary.keptBest;
        result.completed = ended && !result.cancelled;
        if (ended && !recorder_.reports.generations.empty()) describeBest(result);
        return result;
    }

    void configure(c_MonteCarlo& monteCarlo)
    {
        configureMonteCarlo(monteCarlo, problem_);
        if (f_.Options->Stats != statsMethods::MonteCarlo) return;
        const Long trials = toLong(Variant{f_.Options->OptTrials}); // of each candidate
        const int sample = problem_.study.monteCarlo.sampleSize;
        monteCarlo.numTrials = trials;
        monteCarlo.sampleSize = sample > 0 ? sample : trials;
        // Every candidate meets the same draws: what differs between two candidates is the design.
        if (arguments_.seed > 0) monteCarlo.randSeed = arguments_.seed;
    }

    void describeBest(Result& result)
    {
        const Generation& last = recorder_.reports.generations.back();
        result.best.assign(last.bestX->begin(), last.bestX->end());
        result.scores = last.scores;
        result.statistics = last.statistics;
        writeToCells(result.best);
        // With one stored row the report holds the member evaluated last: read the best one's values afresh.
        if (!storesEveryMember() && f_.Options->Stats == statsMethods::None) readNominal(result);
        for (Long c : oneTo(f_.CountC())) {
            const c_Constraint& item = *f_.Cs->Item(c);
            result.constraints.push_back(requirement(result, item, item.Reqt));
        }
        for (Long g : oneTo(f_.CountG())) {
            const c_Goal& item = *f_.Gs->Item(g);
            Requirement row = requirement(result, item, item.Target);
            row.priority = item.Priority;
            row.weight = toDouble(alg_m_XLinterface::valueOf(item.Weight));
            result.goals.push_back(row);
        }
    }

    bool storesEveryMember() const { return f_.Options->StoreYs == "Yes"; }

    void writeToCells(const std::vector<double>& x)
    {
        for (Long i : oneTo(f_.CountX())) {
            const Long k = f_.CalcSequence(i);
            if (f_.RecalcFlags(k)) problem_.application->Calculate();
            f_.Xs->Item(k)->SetMean(x[static_cast<std::size_t>(k - 1)]);
        }
        problem_.application->Calculate();
    }

    void readNominal(Result& result)
    {
        for (Long j : oneTo(f_.CountY())) {
            const Variant value = f_.Ys->Item(j)->Formula->Value();
            result.statistics[static_cast<std::size_t>(j - 1)] =
                isNumeric(value) ? toDouble(value) : std::nan("");
        }
    }

    template <class Item>
    Requirement requirement(const Result& result, const Item& item, const Variant& required)
    {
        Requirement row{item.id, item.Name, item.Aspect, item.Oper};
        const Long block = item.Aspect == "Mean" ? 0 : item.Aspect == "StDev" ? 1 : 2;
        for (Long j : oneTo(f_.CountY())) {
            if (!alg_m_XLinterface::SameRange(*f_.Ys->Item(j)->Formula, *item.y)) continue;
            row.value = result.statistics[static_cast<std::size_t>(block * f_.CountY() + j - 1)];
            break;
        }
        row.required = toDouble(alg_m_XLinterface::valueOf(required));
        row.deviation = alg_m_GeneticAlgorithm::computeDeviation(row.value, item.Oper, row.required);
        return row;
    }

    Problem& problem_;
    c_Formulation& f_;
    const OptimizeArguments& arguments_;
    Recorder recorder_;
    Reports bestReports_;
};

std::string limitText(const Variant& limit)
{
    const Variant value = alg_m_XLinterface::valueOf(limit);
    return isEmptyText(value) ? "" : shown(value);
}

bool hasStatistics(const c_Formulation& f) { return f.Options->Stats != statsMethods::None; }

std::string parameterTable(const Problem& problem, const Result& result)
{
    using A = Table::Align;
    Table table({A::Left, A::Left, A::Right, A::Right});
    table.row({"Parameter", "Cell", "Start", "Best"});
    const c_Formulation& f = *problem.formulation;
    for (Long i : oneTo(f.CountX())) {
        const auto at = static_cast<std::size_t>(i - 1);
        table.row({f.Xs->Item(i)->Name, problem.study.parameters[at].cell.value, shown(result.start[at]),
                   shown(result.best[at])});
    }
    return table.text();
}

std::string responseTable(const Problem& problem, const Result& result)
{
    using A = Table::Align;
    const c_Formulation& f = *problem.formulation;
    const bool statistics = hasStatistics(f);
    Table table(statistics
                    ? std::vector<A>{A::Left, A::Left, A::Right, A::Right, A::Right, A::Right, A::Right}
                    : std::vector<A>{A::Left, A::Left, A::Right, A::Right, A::Right});
    if (statistics)
        table.row({"Response", "Cell", "Mean", "StDev", "pnc", "LSL", "USL"});
    else
        table.row({"Response", "Cell", "Value", "LSL", "USL"});
    const auto n = static_cast<std::size_t>(f.CountY());
    for (Long j : oneTo(f.CountY())) {
        const c_Response& y = *f.Ys->Item(j);
        const auto at = static_cast<std::size_t>(j - 1);
        std::vector<std::string> row = {y.Name, problem.study.responses[at].cell.value,
                                        shown(result.statistics[at])};
        if (statistics) {
            row.push_back(shown(result.statistics[n + at]));
            row.push_back(shown(result.statistics[2 * n + at]));
        }
        row.push_back(limitText(y.lsl));
        row.push_back(limitText(y.usl));
        table.row(std::move(row));
    }
    return table.text();
}

std::string requirementTable(const char* heading, const std::vector<Requirement>& rows, bool goals)
{
    using A = Table::Align;
    Table table({A::Left, A::Left, A::Right, A::Left, A::Right, A::Left});
    table.row({heading, "Aspect", "Value", "", goals ? "Target" : "Required", goals ? "Priority" : ""});
    for (const Requirement& r : rows) {
        const std::string met = r.met() ? "met" : "NOT MET";
        table.row({r.name, r.aspect, shown(r.value), r.oper, shown(r.required),
                   goals ? fmt::format("{}{}", r.priority, r.met() ? ", met" : "") : met});
    }
    return rows.empty() ? std::string() : table.text() + "\n";
}

std::string headline(const Result& result)
{
    if (result.cancelled)
        return result.keptBest ? "Cancelled; the best design found so far:"
                               : "Cancelled; the start values stay. Best design found so far:";
    return result.constraintsMet() ? "Done. The best design found:"
                                   : "Done, but constraints are not met. The best design found:";
}

std::string report(const Problem& problem, const Result& result)
{
    std::string text = headline(result) + "\n\n";
    text += parameterTable(problem, result) + "\n" + responseTable(problem, result) + "\n";
    text += requirementTable("Constraint", result.constraints, false);
    text += requirementTable("Goal", result.goals, true);
    for (const std::string& warning : result.warnings) text += "Warning: " + warning + "\n";
    long long evaluations = 0;
    for (const RunSummary& run : result.runs) evaluations += run.evaluations;
    const double perSecond = result.seconds > 0 ? static_cast<double>(evaluations) / result.seconds : 0.0;
    const std::string ofRuns =
        result.runs.size() > 1 ? fmt::format(" (the best of {} runs)", result.runs.size()) : std::string();
    text += fmt::format("Seed {}{}, {} generations, {} evaluations in {:.2f} s ({:.0f} per second)\n",
                        result.summary.seed, ofRuns, result.summary.genCount, evaluations, result.seconds,
                        perSecond);
    return text;
}

nlohmann::json numbers(const std::vector<double>& values)
{
    nlohmann::json list = nlohmann::json::array();
    for (double x : values) list.push_back(toJson(x));
    return list;
}

nlohmann::json matrix(const DoubleArray2& values)
{
    if (!values) return nullptr;
    nlohmann::json rows = nlohmann::json::array();
    for (Long r : oneTo(values->rows())) {
        const auto row = values->row(r);
        rows.push_back(numbers({row.begin(), row.end()}));
    }
    return rows;
}

nlohmann::json requirementJson(const Requirement& r, bool goal)
{
    nlohmann::json row = {{"id", r.id},
                          {"Name", r.name},
                          {"Aspect", r.aspect},
                          {"Oper", r.oper},
                          {"value", toJson(r.value)},
                          {goal ? "Target" : "Reqt", toJson(r.required)},
                          {"deviation", toJson(r.deviation)},
                          {"met", r.met()}};
    if (goal) {
        row["Priority"] = r.priority;
        row["Weight"] = toJson(r.weight);
    }
    return row;
}

nlohmann::json document(const Problem& problem, const Result& result, const Reports& reports)
{
    const c_Formulation& f = *problem.formulation;
    const auto n = static_cast<std::size_t>(f.CountY());
    nlohmann::json json = {
        {"study", problem.study.path},
        {"workbook", problem.study.workbookPath},
        {"status", result.cancelled ? "cancelled" : "completed"},
        {"keptBest", result.cancelled ? nlohmann::json(result.keptBest) : nlohmann::json(nullptr)},
        {"constraintsMet", result.constraintsMet()},
        {"seed", result.summary.seed},
        {"genCount", result.summary.genCount},
        {"evaluations", result.summary.evaluations},
        {"recalculations", result.recalculations},
        {"seconds", result.seconds},
        {"scores", numbers(result.scores)},
        {"warnings", result.warnings}};
    for (const RunSummary& run : result.runs)
        json["runs"].push_back(
            {{"seed", run.seed}, {"genCount", run.genCount}, {"evaluations", run.evaluations}});
    const c_Options& o = *f.Options;
    json["Options"] = {{"StopRule", o.StopRule},   {"MaxGens", o.MaxGens},    {"GenSize", o.GenSize},
                       {"Precision", o.Precision}, {"Derivs", o.Derivs},      {"Stats", o.Stats},
                       {"StoreYs", o.StoreYs},     {"OptTrials", o.OptTrials}};
    for (Long i : oneTo(f.CountX())) {
        const auto at = static_cast<std::size_t>(i - 1);
        const c_Parameter& x = *f.Xs->Item(i);
        json["parameters"].push_back({{"id", x.id},
                                      {"Name", x.Name},
                                      {"xType", x.xType},
                                      {"cell", problem.study.parameters[at].cell.value},
                                      {"start", toJson(result.start[at])},
                                      {"best", toJson(result.best[at])}});
    }
    for (Long j : oneTo(f.CountY())) {
        const auto at = static_cast<std::size_t>(j - 1);
        const c_Response& y = *f.Ys->Item(j);
        json["responses"].push_back({{"id", y.id},
                                     {"Name", y.Name},
                                     {"cell", problem.study.responses[at].cell.value},
                                     {"Mean", toJson(result.statistics[at])},
                                     {"StDev", toJson(result.statistics[n + at])},
                                     {"pnc", toJson(result.statistics[2 * n + at])},
                                     {"lsl", toJson(alg_m_XLinterface::valueOf(y.lsl))},
                                     {"usl", toJson(alg_m_XLinterface::valueOf(y.usl))}});
    }
    json["constraints"] = nlohmann::json::array();
    json["goals"] = nlohmann::json::array();
    for (const Requirement& r : result.constraints) json["constraints"].push_back(requirementJson(r, false));
    for (const Requirement& r : result.goals) json["goals"].push_back(requirementJson(r, true));
    for (const Generation& g : reports.generations)
        json["generations"].push_back({{"genCount", g.number},
                                       {"bestX", numbers({g.bestX->begin(), g.bestX->end()})},
                                       {"scores", numbers(g.scores)}});
    json["genX"] = matrix(reports.genX);
    json["genY"] = matrix(reports.genY);
    json["genP"] = matrix(reports.genP);
    return json;
}

/// The final generation, best member first: inputs, statistics of the responses, scores.
std::string csv(const Problem& problem, const Reports& reports)
{
    const c_Formulation& f = *problem.formulation;
    std::string text = "member";
    for (Long i : oneTo(f.CountX())) text += "," + csvField(f.Xs->Item(i)->Name);
    const bool everyRow = reports.genY->rows() == reports.genX->rows();
    if (everyRow)
        for (const char* statistic : {"", " StDev", " pnc"})
            for (Long j : oneTo(f.CountY())) text += "," + csvField(f.Ys->Item(j)->Name + statistic);
    text += ",constraint violation,priority 1 goals,priority 2 goals,priority 3 goals\n";
    for (Long m : oneTo(reports.genX->rows())) {
        text += std::to_string(m);
        for (double x : reports.genX->row(m)) text += "," + csvField(x);
        if (everyRow)
            for (double y : reports.genY->row(m)) text += "," + csvField(y);
        for (double p : reports.genP->row(m)) text += "," + csvField(p);
        text += "\n";
    }
    return text;
}

void requireSearch(const Problem& problem)
{
    for (const StudyParameter& p : problem.study.parameters)
        if (isActiveKind(p.type)) return;
    throw Refused(problem.study.parameters.front().place,
                  "no parameter is searched: at least one must be Continuous, Integer or Discrete");
}

/// Of predictions that rounding may have spoilt.
std::vector<std::string> warningsOf(Problem& problem, const Result& result)
{
    const c_Options& o = *problem.formulation->Options;
    if (o.Stats != statsMethods::SecondOrder || o.Derivs != "Quick") return {};
    return smallStepWarnings(problem, result.best, standardDeviations(problem));
}

OnCancel onCancel(const std::string& word)
{
    return word == "keep" ? OnCancel::Keep : word == "restore" ? OnCancel::Restore : OnCancel::Ask;
}

} // namespace

int runOptimize(const OptimizeArguments& arguments)
{
    if (arguments.json == "-" && arguments.csv == "-")
        throw Refused("--json - and --csv -: standard output takes one of them");
    requireWritable(arguments.json);
    requireWritable(arguments.csv);
    Problem problem = loadProblem(arguments.study);
    if (arguments.threads > 0) problem.application->threads(static_cast<unsigned>(arguments.threads));
    if (arguments.maxGens > 0) problem.formulation->Options->MaxGens = arguments.maxGens;
    validate(problem);
    requireSearch(problem);

    Optimization optimization(problem, arguments);
    Result result;
    std::optional<std::string> failure;
    {
        Terminal terminal({arguments.quiet, onCancel(arguments.onCancel)});
        result = optimization.run();
        failure = terminal.errorReport();
    }
    if (!result.completed && !result.cancelled) {
        fmt::print(stderr, "corvane: the run failed.\n{}\n", failure.value_or("No reason was reported."));
        return exitCode::RunFailed;
    }
    if (result.best.empty()) {
        fmt::print(stderr, "corvane: cancelled before the first design was evaluated.\n");
        return exitCode::Cancelled;
    }
    result.warnings = warningsOf(problem, result);
    if (arguments.json != "-" && arguments.csv != "-") fmt::print("{}", report(problem, result));
    if (!arguments.json.empty()) writeJson(arguments.json, document(problem, result, optimization.reports()));
    if (!arguments.csv.empty() && optimization.reports().genX)
        writeFile(arguments.csv, csv(problem, optimization.reports()));
    if (result.cancelled) return exitCode::Cancelled;
    return result.constraintsMet() ? exitCode::Done : exitCode::ConstraintsNotMet;
}

} // namespace varnex3::cli
