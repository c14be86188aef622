// cli/sensitivity.cpp - `corvane sensitivity`: what the spreads of the inputs do to every response.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Moments.h"
#include "Output.h"
#include "Terminal.h"
#include "host/alg_m_XLinterface.h"

namespace varnex3::cli {
namespace {

constexpr double kPerMillion = 1E6;
constexpr int kBarWidth = 25;
constexpr double kNoShift = 1E-6; // of the response's standard deviation

using Sizes = std::vector<double>; // by parameter

/// The parameters by falling absolute size; equal ones as listed.
std::vector<Long> ranking(const Sizes& sizes)
{
    std::vector<Long> order(sizes.size());
    std::iota(order.begin(), order.end(), Long{1});
    std::stable_sort(order.begin(), order.end(), [&](Long a, Long b) {
        return std::fabs(sizes[static_cast<std::size_t>(a - 1)]) >
               std::fabs(sizes[static_cast<std::size_t>(b - 1)]);
    });
    return order;
}

std::string bar(double share)
{
    if (!std::isfinite(share)) return {};
    const double length = std::clamp(std::fabs(share), 0.0, 1.0) * kBarWidth;
    return std::string(static_cast<std::size_t>(length + 0.5), '#');
}

std::string orDash(double x) { return std::isfinite(x) ? shown(x) : "-"; }

std::string limitText(const Variant& limit)
{
    const Variant value = alg_m_XLinterface::valueOf(limit);
    return isEmptyText(value) ? "-" : shown(value);
}

struct Analysed {
    const Problem& problem;
    const Moments& moments;
    std::vector<c_sa_Output> outputs; // by response

    const c_Formulation& f() const { return *problem.formulation; }
    const c_Parameter& x(Long i) const { return *f().Xs->Item(i); }
    const c_Response& y(Long j) const { return *f().Ys->Item(j); }
    const c_sa_Output& of(Long j) const { return outputs[static_cast<std::size_t>(j - 1)]; }
    double stdev(Long i) const { return moments.stdevs[static_cast<std::size_t>(i - 1)]; }
    double mean(Long i) const { return moments.means[static_cast<std::size_t>(i - 1)]; }

    Sizes contributions(Long j, bool ofVariance) const
    {
        Sizes sizes;
        for (Long i : oneTo(f().CountX()))
            sizes.push_back(ofVariance ? of(j).VarianceContribs(i) : of(j).MeanShiftContribs(i));
        return sizes;
    }
};

std::string predictionText(const Analysed& a, Long j)
{
    using A = Table::Align;
    const c_sa_Output& out = a.of(j);
    const Capability c = capability(a.y(j), out.responseMean, out.responseStDev);
    Table table({A::Left, A::Right, A::Left});
    const auto probability = [&](const char* label, double p, const std::string& limit) {
        table.row({label, shown(p), fmt::format("{} ppm{}", shown(p * kPerMillion), limit)});
    };
    table.row({"Value", shown(out.eqnVal)});
    table.row({"Mean", shown(out.responseMean), fmt::format("mean shift {}", shown(out.meanShift))});
    table.row({"Standard deviation", shown(out.responseStDev)});
    probability("Below the lower limit", out.PNC_lsl, ", LSL " + limitText(a.y(j).lsl));
    probability("Above the upper limit", out.PNC_usl, ", USL " + limitText(a.y(j).usl));
    probability("Outside in total", out.PNC_total, "");
    table.row({"Cp", orDash(c.Cp)});
    table.row({"Cpk", orDash(c.Cpk)});
    return table.text();
}

std::string varianceTable(const Analysed& a, Long j)
{
    using A = Table::Align;
    const Sizes shares = a.contributions(j, true);
    const bool varies = a.of(j).responseStDev != 0.0;
    Table table({A::Left, A::Right, A::Right, A::Right, A::Right, A::Right, A::Left});
    table.row({"Input", "Value", "StDev", "dy/dx", "d2y/dx2", "Variance", ""});
    for (Long i : ranking(shares)) {
        const double share = shares[static_cast<std::size_t>(i - 1)];
        table.row({a.x(i).Name, shown(a.mean(i)), shown(a.stdev(i)), shown(a.moments.first(j, i)),
                   a.moments.order == 2 ? shown(a.moments.second(j, i)) : "-",
                   varies ? fmt::format("{:.2f} %", 100.0 * share) : "-", varies ? bar(share) : ""});
    }
    return table.text();
}

/// Empty when the inputs shift the mean by no more than rounding does.
std::string meanShiftTable(const Analysed& a, Long j)
{
    using A = Table::Align;
    const Sizes shifts = a.contributions(j, false);
    double total = 0.0;
    for (double shift : shifts) total += std::fabs(shift);
    if (total <= kNoShift * a.of(j).responseStDev) return {};
    Table table({A::Left, A::Right, A::Left});
    table.row({"Input", "Mean shift", ""});
    for (Long i : ranking(shifts)) {
        const double shift = shifts[static_cast<std::size_t>(i - 1)];
        table.row({a.x(i).Name, shown(shift), bar(shift / total)});
    }
    return "\n" + table.text();
}

/// The library's sentence with the input's name for its number, and what it means.
std::string nonlinearityText(const Analysed& a, Long j)
{
    const c_sa_Output& out = a.of(j);
    if (!out.NonlinearResponse) return {};
    std::string trigger = out.NonlinearTrigger;
    for (Long i : downTo(a.f().CountX(), 1)) {
        const std::string number = " X" + std::to_string(i) + " ";
        const std::size_t at = trigger.find(number);
        if (at != std::string::npos) trigger.replace(at, number.size(), " " + a.x(i).Name + " ");
    }
    return fmt::format(
        "\n  Warning: over the spread of its inputs this response is far from a straight line.\n"
        "  {}\n"
        "  Its standard deviation and probabilities are rough; compare with a simulation.\n",
        trigger);
}

std::string report(const Analysed& a)
{
    std::string text;
    for (Long j : oneTo(a.f().CountY())) {
        text += fmt::format("{} ({})\n\n", a.y(j).Name,
                            a.problem.study.responses[static_cast<std::size_t>(j - 1)].cell.value);
        text += predictionText(a, j) + "\n" + varianceTable(a, j) + meanShiftTable(a, j) +
                nonlinearityText(a, j) + "\n";
    }
    for (const std::string& warning : a.moments.warnings) text += "Warning: " + warning + "\n";
    text += fmt::format("Order {}, {} derivatives, {} recalculations in {:.3f} s\n", a.moments.order,
                        a.moments.derivs == "Quick" ? "quick" : "accurate", a.moments.recalculations,
                        a.moments.seconds);
    return text;
}

nlohmann::json inputJson(const Analysed& a, Long j, Long i)
{
    return {{"id", a.x(i).id},
            {"Name", a.x(i).Name},
            {"mean", toJson(a.mean(i))},
            {"xStDev", toJson(a.stdev(i))},
            {"Derivs1", toJson(a.moments.first(j, i))},
            {"derivs2", a.moments.order == 2 ? toJson(a.moments.second(j, i)) : nlohmann::json(nullptr)},
            {"VarianceContribs", toJson(a.of(j).VarianceContribs(i))},
            {"MeanShiftContribs", toJson(a.of(j).MeanShiftContribs(i))}};
}

nlohmann::json document(const Analysed& a)
{
    nlohmann::json json = {{"study", a.problem.study.path},
                           {"workbook", a.problem.study.workbookPath},
                           {"order", a.moments.order},
                           {"Derivs", a.moments.derivs},
                           {"recalculations", a.moments.recalculations},
                           {"seconds", a.moments.seconds},
                           {"warnings", a.moments.warnings}};
    for (Long j : oneTo(a.f().CountY())) {
        const c_sa_Output& out = a.of(j);
        const Capability c = capability(a.y(j), out.responseMean, out.responseStDev);
        nlohmann::json y = {{"id", a.y(j).id},
                            {"Name", a.y(j).Name},
                            {"cell", a.problem.study.responses[static_cast<std::size_t>(j - 1)].cell.value},
                            {"lsl", toJson(alg_m_XLinterface::valueOf(a.y(j).lsl))},
                            {"usl", toJson(alg_m_XLinterface::valueOf(a.y(j).usl))},
                            {"eqnVal", toJson(out.eqnVal)},
                            {"responseMean", toJson(out.responseMean)},
                            {"meanShift", toJson(out.meanShift)},
                            {"responseStDev", toJson(out.responseStDev)},
                            {"PNC_lsl", toJson(out.PNC_lsl)},
                            {"PNC_usl", toJson(out.PNC_usl)},
                            {"PNC_total", toJson(out.PNC_total)},
                            {"Cp", toJson(c.Cp)},
                            {"Cpk", toJson(c.Cpk)},
                            {"NonlinearResponse", out.NonlinearResponse},
                            {"NonlinearTrigger", out.NonlinearTrigger}};
        for (Long i : oneTo(a.f().CountX())) y["inputs"].push_back(inputJson(a, j, i));
        json["responses"].push_back(std::move(y));
    }
    return json;
}

} // namespace

int runSensitivity(const SensitivityArguments& arguments)
{
    requireWritable(arguments.json);
    Problem problem = loadProblem(arguments.study);
    requireAnalysable(problem);
    if (!arguments.derivs.empty())
        problem.formulation->Options->Derivs = arguments.derivs == "quick" ? "Quick" : "Accurate";
    const Long order = arguments.order > 0 ? arguments.order : orderOf(problem.study);

    Terminal terminal({});
    const Moments moments = differentiate(problem, order);
    Analysed analysed{problem, moments, {}};
    for (Long j : oneTo(problem.formulation->CountY())) {
        analysed.outputs.push_back(propagate(problem, moments, j, moments.stdevs));
        if (!terminal.errorReport()) continue;
        fmt::print(stderr, "corvane: the analysis failed.\n{}\n", *terminal.errorReport());
        return exitCode::RunFailed;
    }
    if (arguments.json != "-") fmt::print("{}", report(analysed));
    if (!arguments.json.empty()) writeJson(arguments.json, document(analysed));
    return exitCode::Done;
}

} // namespace varnex3::cli
