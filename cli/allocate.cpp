// cli/allocate.cpp - `corvane allocate`: the spreads that the inputs may have for a wish on one response.
#include <cmath>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Moments.h"
#include "Output.h"
#include "Suggest.h"
#include "Terminal.h"
#include "WriteStudy.h"
#include "host/alg_m_XLinterface.h"
#include "montecarlo/c_MonteCarlo.h"
#include "runtime/Number.h"
#include "sensitivity/c_al_Allocation.h"
#include "stats/c_Distribution.h"
#include "stats/c_Statistics.h"

namespace varnex3::cli {
namespace {

constexpr double kProbabilityMiss = 1E-9; // of the standard deviation that was found
constexpr double kSpreadMiss = 1E-9;      // of the allocated response, relative
constexpr int kMeanRounds = 50;
constexpr double kMeanSettled = 1E-12; // relative to the response's standard deviation
constexpr double kUsualSigma = 3.0;
constexpr double kBoundsAlpha = 0.05;

std::size_t at(Long i) { return static_cast<std::size_t>(i - 1); }

/// What the simulation saw of the response.
struct Observed {
    double mean, stdev, pnc;
    double meanHalf, stdevHalf; // half widths of 95 % intervals
    double pncLow, pncHigh;
    Long trials, seed;
};

struct Allocation {
    Long response = 0;
    double wanted = 0.0;       // standard deviation
    std::optional<double> pnc; // wanted
    std::vector<bool> kept;    // by parameter: not to be allocated
    std::vector<double> before, after;
    Moments moments;
    c_sa_Output today, predicted;
    int rounds = 1; // of mean and allocation
    std::optional<Observed> observed;

    bool reached() const
    {
        return std::fabs(predicted.responseStDev - wanted) <= kSpreadMiss * std::fabs(wanted);
    }
};

/// The run cannot go on; the message is for standard error.
struct Failed {
    std::string message;
    int code = exitCode::RunFailed;
};

Long findResponse(const Study& study, const std::string& id)
{
    std::set<std::string> ids;
    for (std::size_t j = 0; j < study.responses.size(); ++j) {
        if (study.responses[j].id == id) return static_cast<Long>(j + 1);
        ids.insert(study.responses[j].id);
    }
    const std::string near = nearest(id, ids);
    throw Refused(Place{study.path, 0, "--response"},
                  fmt::format("there is no response \"{}\"{}", id,
                              near.empty() ? "" : fmt::format("; did you mean \"{}\"?", near)));
}

/// Whether the study leaves the parameter's spread alone.
bool isKept(const Problem& problem, Long i)
{
    const std::string& type = problem.formulation->Xs->Item(i)->xType;
    return problem.study.parameters[at(i)].keep || type == xTypes::Constant || type == xTypes::Noise;
}

class Allocator {
public:
    Allocator(Problem& problem, const AllocateArguments& arguments, const Terminal& terminal)
        : problem_(problem), f_(*problem.formulation), arguments_(arguments), terminal_(terminal)
    {}

    const Allocation& allocation() const { return a_; } // as far as `run` came

    void run(Long response)
    {
        a_.response = response;
        a_.pnc = arguments_.pnc;
        a_.moments = differentiate(problem_, orderOf(problem_.study));
        a_.before = a_.after = a_.moments.stdevs;
        for (Long i : oneTo(f_.CountX())) {
            const bool moves = a_.moments.first(response, i) != 0.0;
            a_.kept.push_back(isKept(problem_, i) || !moves);
        }
        a_.today = a_.predicted = predict(a_.before);
        if (arguments_.stdev)
            divide(*arguments_.stdev);
        else
            closeOnProbability();
        if (arguments_.verify) simulate();
    }

private:
    c_sa_Output predict(const std::vector<double>& stdevs)
    {
        const c_sa_Output out = propagate(problem_, a_.moments, a_.response, stdevs);
        if (terminal_.errorReport()) throw Failed{*terminal_.errorReport()};
        return out;
    }

    /// The allowed standard deviation depends on the mean, and the mean on what is allocated: repeated until
    /// the mean stays. One round when the mean does not shift.
    void closeOnProbability()
    {
        for (a_.rounds = 1; a_.rounds <= kMeanRounds; ++a_.rounds) {
            const double mean = a_.predicted.responseMean;
            if (!std::isfinite(mean)) break;
            divide(allowedStDev(mean, *arguments_.pnc));
            if (std::fabs(a_.predicted.responseMean - mean) <= kMeanSettled * a_.wanted) return;
        }
        throw Failed{"The mean shifts with every allocation and does not settle; allocate a --stdev."};
    }

    double allowedStDev(double mean, double pnc)
    {
        const c_Response& y = *f_.Ys->Item(a_.response);
        const std::optional<double> lsl = alg_m_XLinterface::specificationLimit(y.lsl, "allocate");
        const std::optional<double> usl = alg_m_XLinterface::specificationLimit(y.usl, "allocate");
        const auto text = [](const std::optional<double>& limit) { return limit ? toText(*limit) : ""; };
        const double s = c_al_Allocation{}.EstimRespStDev(mean, pnc, text(lsl), text(usl));
        if (terminal_.errorReport()) throw Failed{*terminal_.errorReport()};
        const std::string none = fmt::format(
            "No standard deviation gives {} a probability of {} outside its limits at the mean {}.", y.Name,
            shown(pnc), shown(mean));
        if (!(s > 0.0)) throw Failed{none};
        const c_Statistics statistics;
        double p = lsl ? statistics.normCDF((*lsl - mean) / s) : 0.0;
        if (usl) p = p + statistics.normCDF((*usl - mean) / s, true);
        if (!(std::fabs(p - pnc) <= kProbabilityMiss)) throw Failed{none};
        return s;
    }

    void divide(double wanted)
    {
        a_.wanted = wanted;
        c_al_Input ins;
        ins.DesiredRespStDev = wanted;
        ins.Disparity = arguments_.disparity;
        ins.useCostDrivers = arguments_.cost;
        ins.dbg = f_.Options->dbg;
        ins.resizeArrays(f_.CountX());
        for (Long i : oneTo(f_.CountX())) {
            ins.xStDevs(i, a_.before[at(i)]);
            ins.xKeeps(i, a_.kept[at(i)] ? ins.KEEP_YES : ins.KEEP_NO);
            ins.Derivs1(i, a_.moments.first(a_.response, i));
            ins.Drivers(i, problem_.study.parameters[at(i)].driver);
        }
        c_al_Output outs;
        c_al_Allocation{}.Allocate(ins, outs);
        if (terminal_.errorReport()) throw Failed{*terminal_.errorReport()};
        for (Long i : oneTo(f_.CountX())) a_.after[at(i)] = outs.xStDevs(i);
        a_.predicted = predict(a_.after);
    }

    void simulate()
    {
        for (Long i : oneTo(f_.CountX())) {
            c_Parameter& x = *f_.Xs->Item(i);
            if (!a_.kept[at(i)]) x.stdev = a_.after[at(i)];
            // A run readies every parameter's first component, also of those that hold still.
            if (x.xType == xTypes::Constant && x.dist->Count() == 0)
                x.dist->Add(std::make_shared<c_Distribution>());
        }
        c_MonteCarlo run;
        run.XLApplication(problem_.application);
        run.CorvaneFileName(problem_.workbook->Name());
        run.LoadFormulation(problem_.formulation);
        run.numTrials = run.sampleSize = arguments_.trials;
        run.randSeed = arguments_.seed;
        run.useLHS = false; // the bounds below hold for independent trials
        run.alpha(kBoundsAlpha);
        run.refreshRate(1000);
        const bool ended = run.RunMC();
        if (terminal_.cancelled()) throw Failed{"Cancelled during the simulation.", exitCode::Cancelled};
        if (!ended)
            throw Failed{terminal_.errorReport().value_or("The simulation ended before its last trial.")};

        const Long j = a_.response;
        const double n = run.LastTrial();
        const double z = c_Statistics{}.findZ(kBoundsAlpha / 2.0);
        const double stdev = run.accurateStats(j, 2), kurtosis = run.accurateStats(j, 4);
        // Large samples: var(mean) = s^2 / n, var(stdev) = s^2 (kurtosis - 1) / 4n.
        a_.observed = Observed{run.accurateStats(j, 1),
                               stdev,
                               run.yStats(j, 6),
                               z * stdev / std::sqrt(n),
                               z * stdev * std::sqrt(std::fmax(kurtosis - 1.0, 0.0) / (4.0 * n)),
                               run.yStats(j, 5),
                               run.yStats(j, 7),
                               run.LastTrial(),
                               run.randSeed};
    }

    Problem& problem_;
    c_Formulation& f_;
    const AllocateArguments& arguments_;
    const Terminal& terminal_;
    Allocation a_;
};

/// Half width / standard deviation of a parameter's tolerance.
double sigmaOf(Problem& problem, const StudyParameter& p)
{
    if (!p.tolerance.given()) return kUsualSigma;
    if (p.tolerance.uniform) return std::sqrt(3.0);
    if (const double* sigma = std::get_if<double>(&p.tolerance.sigma.value)) return *sigma;
    return toDouble(findRange(*problem.application, std::get<std::string>(p.tolerance.sigma.value),
                              p.tolerance.sigma.place)
                        ->Value());
}

std::string inputTable(Problem& problem, const Allocation& a)
{
    using A = Table::Align;
    Table table({A::Left, A::Left, A::Right, A::Right, A::Right, A::Right, A::Right, A::Right, A::Right});
    table.row(
        {"Input", "", "dy/dx", "StDev", "allocated", "Tolerance", "allocated", "Variance", "allocated"});
    const auto share = [](const c_sa_Output& out, Long i) {
        return out.responseStDev == 0.0 ? std::string("-")
                                        : fmt::format("{:.2f} %", 100.0 * out.VarianceContribs(i));
    };
    for (Long i : oneTo(problem.formulation->CountX())) {
        const double sigma = sigmaOf(problem, problem.study.parameters[at(i)]);
        const double before = a.before[at(i)], after = a.after[at(i)];
        table.row({problem.formulation->Xs->Item(i)->Name,
                   isKept(problem, i) ? "kept"
                   : a.kept[at(i)]    ? "no effect"
                                      : "free",
                   shown(a.moments.first(a.response, i)), shown(before), shown(after), shown(before * sigma),
                   shown(after * sigma), share(a.today, i), share(a.predicted, i)});
    }
    return table.text();
}

std::string responseTable(const Problem& problem, const Allocation& a)
{
    using A = Table::Align;
    const c_Response& y = *problem.formulation->Ys->Item(a.response);
    const auto& seen = a.observed;
    Table table({A::Left, A::Right, A::Right, A::Right, A::Right, A::Left});
    table.row({y.Name, "Before", "Asked", "Predicted", seen ? "Observed" : "", seen ? "95 % bounds" : ""});
    const auto range = [](double low, double high) { return shown(low) + " to " + shown(high); };
    const auto around = [&](double x, double half) { return range(x - half, x + half); };
    table.row({"Mean", shown(a.today.responseMean), "", shown(a.predicted.responseMean),
               seen ? shown(seen->mean) : "", seen ? around(seen->mean, seen->meanHalf) : ""});
    table.row({"Standard deviation", shown(a.today.responseStDev), shown(a.wanted),
               shown(a.predicted.responseStDev), seen ? shown(seen->stdev) : "",
               seen ? around(seen->stdev, seen->stdevHalf) : ""});
    table.row({"Outside the limits", shown(a.today.PNC_total), a.pnc ? shown(*a.pnc) : "",
               shown(a.predicted.PNC_total), seen ? shown(seen->pnc) : "",
               seen ? range(seen->pncLow, seen->pncHigh) : ""});
    return table.text();
}

std::string warningText(const Allocation& a)
{
    std::string text;
    for (const std::string& warning : a.moments.warnings) text += "Warning: " + warning + "\n";
    return text;
}

std::string report(Problem& problem, const Allocation& a)
{
    std::string text = inputTable(problem, a) + "\n" + responseTable(problem, a) + "\n";
    if (!a.reached()) {
        const double asked = a.wanted * a.wanted;
        double kept = 0.0;
        for (Long i : oneTo(problem.formulation->CountX())) {
            const double t = a.before[at(i)] * a.moments.first(a.response, i);
            if (a.kept[at(i)]) kept = kept + t * t;
        }
        text += kept >= asked
                    ? fmt::format("The kept inputs alone give a standard deviation of {}: nothing is left.\n",
                                  shown(std::sqrt(kept)))
                    : "No free input with a driver moves the response: the rest cannot be allocated.\n";
    }
    text += warningText(a);
    text += fmt::format("Order {}, {} derivatives, {} recalculations, {} round{}\n", a.moments.order,
                        a.moments.derivs == "Quick" ? "quick" : "accurate", a.moments.recalculations,
                        a.rounds, a.rounds == 1 ? "" : "s");
    if (a.observed)
        text += fmt::format("Simulation: {} trials, seed {}\n", a.observed->trials, a.observed->seed);
    return text;
}

nlohmann::json predictionJson(const c_sa_Output& out)
{
    return {{"responseMean", toJson(out.responseMean)},
            {"responseStDev", toJson(out.responseStDev)},
            {"PNC_total", toJson(out.PNC_total)}};
}

nlohmann::json document(Problem& problem, const AllocateArguments& arguments, const Allocation& a)
{
    nlohmann::json json = {{"study", problem.study.path},
                           {"response", arguments.response},
                           {"DesiredRespStDev", toJson(a.wanted)},
                           {"desiredPNC", a.pnc ? toJson(*a.pnc) : nlohmann::json(nullptr)},
                           {"Disparity", toJson(arguments.disparity)},
                           {"useCostDrivers", arguments.cost},
                           {"reached", a.reached()},
                           {"order", a.moments.order},
                           {"Derivs", a.moments.derivs},
                           {"recalculations", a.moments.recalculations},
                           {"rounds", a.rounds},
                           {"warnings", a.moments.warnings},
                           {"before", predictionJson(a.today)},
                           {"predicted", predictionJson(a.predicted)}};
    for (Long i : oneTo(problem.formulation->CountX())) {
        const StudyParameter& p = problem.study.parameters[at(i)];
        const double sigma = sigmaOf(problem, p);
        json["inputs"].push_back({{"id", p.id},
                                  {"Name", p.name},
                                  {"keep", a.kept[at(i)]},
                                  {"driver", toJson(p.driver)},
                                  {"Derivs1", toJson(a.moments.first(a.response, i))},
                                  {"xStDev", toJson(a.before[at(i)])},
                                  {"allocated", toJson(a.after[at(i)])},
                                  {"halfWidth", toJson(a.before[at(i)] * sigma)},
                                  {"allocatedHalfWidth", toJson(a.after[at(i)] * sigma)}});
    }
    json["observed"] = nullptr;
    if (!a.observed) return json;
    const Observed& o = *a.observed;
    json["observed"] = {{"trials", o.trials},
                        {"seed", o.seed},
                        {"mean", toJson(o.mean)},
                        {"meanBounds", {toJson(o.mean - o.meanHalf), toJson(o.mean + o.meanHalf)}},
                        {"stdev", toJson(o.stdev)},
                        {"stdevBounds", {toJson(o.stdev - o.stdevHalf), toJson(o.stdev + o.stdevHalf)}},
                        {"pnc", toJson(o.pnc)},
                        {"pncBounds", {toJson(o.pncLow), toJson(o.pncHigh)}}};
    return json;
}

/// A parameter's new line in the study: a tolerance where it has one, else a standard deviation.
std::string spreadEntry(Problem& problem, const Allocation& a, Long i)
{
    const StudyParameter& p = problem.study.parameters[at(i)];
    if (!p.tolerance.given()) return "stdev = " + csvField(a.after[at(i)]);
    const double sigma = sigmaOf(problem, p);
    double halfWidth = a.after[at(i)] * sigma;
    if (p.tolerance.percent) halfWidth = halfWidth * 100.0 / std::fabs(a.moments.means[at(i)]);
    return fmt::format("tolerance = {{ half_width = {}, {}{} }}", csvField(halfWidth),
                       p.tolerance.uniform ? "distribution = \"uniform\"" : "sigma = " + csvField(sigma),
                       p.tolerance.percent ? ", unit = \"percent\"" : "");
}

} // namespace

int runAllocate(const AllocateArguments& arguments)
{
    requireWritable(arguments.json);
    requireWritable(arguments.writeStudy);
    Problem problem = loadProblem(arguments.study);
    const Long response = findResponse(problem.study, arguments.response);
    requireAnalysable(problem);
    const StudyResponse& entry = problem.study.responses[at(response)];
    if (arguments.pnc && !entry.lsl.given() && !entry.usl.given())
        throw Refused(entry.place, "--pnc needs a specification limit: give \"lsl\" or \"usl\"");

    const Terminal terminal({});
    Allocator allocator(problem, arguments, terminal);
    const Allocation& allocation = allocator.allocation();
    try {
        allocator.run(response);
    } catch (const Failed& failure) {
        fmt::print(stderr, "corvane: {}\n{}", failure.message, warningText(allocation));
        return failure.code;
    }
    if (arguments.json != "-") fmt::print("{}", report(problem, allocation));
    if (!arguments.json.empty()) writeJson(arguments.json, document(problem, arguments, allocation));
    if (!allocation.reached()) return exitCode::ConstraintsNotMet;
    if (arguments.writeStudy.empty()) return exitCode::Done;
    std::vector<NewSpread> spreads;
    for (Long i : oneTo(problem.formulation->CountX()))
        if (!allocation.kept[at(i)]) spreads.push_back({at(i), spreadEntry(problem, allocation, i)});
    writeStudy(problem.study, spreads, arguments.writeStudy);
    return exitCode::Done;
}

} // namespace varnex3::cli
