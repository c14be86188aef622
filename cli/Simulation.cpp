// cli/Simulation.cpp - the figures of a Monte Carlo run as tables, histogram, JSON and CSV.
#include "Simulation.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numeric>
#include <optional>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Output.h"
#include "host/alg_m_XLinterface.h"
#include "stats/c_Distribution.h"
#include "stats/c_Statistics.h"

namespace varnex3::cli {
namespace {

using A = Table::Align;

std::optional<double> numberOf(const Variant& limit)
{
    const Variant value = alg_m_XLinterface::valueOf(limit);
    if (isEmptyText(value) || !isNumeric(value)) return std::nullopt;
    return toDouble(value);
}

/// What the limits of a response say about its trials.
struct Conformance {
    std::optional<double> lsl, usl;
    Long below = 0, above = 0;
    double observed = 0.0;
    Bounds own, exact;
    std::optional<double> Cp, Cpk, Z;

    bool limited() const { return lsl || usl; }
};

/// The accurate figure of a statistic: the prescribed one unless cancellation has spoilt it.
double statistic(const c_MonteCarlo& run, Long j, Long number)
{
    return run.statsDiffer(j, number) ? run.accurateStats(j, number) : run.yStats(j, number);
}

/// The standard normal deviate with that much probability above it, to four decimals.
double deviate(double upperTail)
{
    std::int16_t digits = 4;
    return c_Statistics{}.findZ(upperTail, digits);
}

Conformance conformanceOf(const c_MonteCarlo& run, Long j)
{
    Conformance c;
    const c_Response& y = *run.Ys(j);
    c.lsl = numberOf(y.lsl);
    c.usl = numberOf(y.usl);
    c.below = toLong(run.ySums(j, 5));
    c.above = toLong(run.ySums(j, 6));
    c.observed = run.yStats(j, 6);
    c.own = {run.yStats(j, 5), run.yStats(j, 7)};
    c.exact = exactBounds(run.LastTrial(), c.below + c.above, run.alpha());
    if (!c.limited()) return c;
    const double mean = statistic(run, j, 1), s = statistic(run, j, 2);
    if (s > 0.0) {
        if (c.lsl && c.usl) c.Cp = (*c.usl - *c.lsl) / (6.0 * s);
        if (c.lsl) c.Cpk = (mean - *c.lsl) / (3.0 * s);
        if (c.usl) c.Cpk = std::min(c.Cpk.value_or(1e300), (*c.usl - mean) / (3.0 * s));
    }
    if (c.observed > 0.0 && c.observed < 1.0) c.Z = deviate(c.observed);
    return c;
}

std::vector<Long> bySize(Long count, const std::function<double(Long)>& value)
{
    std::vector<Long> order(static_cast<std::size_t>(count));
    std::iota(order.begin(), order.end(), Long{1});
    std::stable_sort(order.begin(), order.end(),
                     [&](Long a, Long b) { return std::fabs(value(a)) > std::fabs(value(b)); });
    return order;
}

std::string ppm(double fraction) { return fmt::format("{:.7g}", fraction * 1e6); }

std::string statisticsText(const c_MonteCarlo& run, Long j)
{
    static constexpr const char* kNames[] = {"mean", "standard deviation", "skewness", "kurtosis"};
    Table table({A::Left, A::Right, A::Left, A::Right});
    std::vector<std::string> cells;
    for (Long number : {1, 2, 3, 4}) {
        cells.insert(cells.end(), {kNames[number - 1], shown(statistic(run, j, number))});
        if (cells.size() == 4) table.row(std::exchange(cells, {}));
    }
    table.row({"minimum", shown(run.yMin(j)), "maximum", shown(run.yMax(j))});
    std::string text = table.text();
    for (Long number : {1, 2, 3, 4})
        if (run.statsDiffer(j, number))
            text += fmt::format(
                "  Warning: the {} by sums of powers reads {}: the spread is so small beside the mean "
                "that digits cancel. Shown is the accurate figure.\n",
                kNames[number - 1], shown(run.yStats(j, number)));
    return text;
}

std::string percentilesText(const c_MonteCarlo& run, Long j)
{
    Table table({A::Left, A::Right, A::Right, A::Right, A::Right, A::Right, A::Right});
    std::vector<std::string> heads = {"percent"}, values = {"value"};
    for (double p : kPercents) {
        heads.push_back(fmt::format("{:g}", p));
        values.push_back(shown(percentile(run, j, p)));
        if (heads.size() < 7) continue;
        table.row(std::exchange(heads, {"percent"}));
        table.row(std::exchange(values, {"value"}));
    }
    table.row(heads);
    table.row(values);
    return table.text();
}

std::string conformanceText(const c_MonteCarlo& run, const Conformance& c)
{
    const double n = run.LastTrial();
    Table table({A::Left, A::Right, A::Right, A::Right});
    table.row({"outside the limits", "trials", "fraction", "ppm"});
    if (c.lsl)
        table.row({"below " + shown(*c.lsl), std::to_string(c.below), shown(c.below / n), ppm(c.below / n)});
    if (c.usl)
        table.row({"above " + shown(*c.usl), std::to_string(c.above), shown(c.above / n), ppm(c.above / n)});
    table.row({"observed", std::to_string(c.below + c.above), shown(c.observed), ppm(c.observed)});
    const double level = 100.0 * (1.0 - run.alpha());
    table.row({fmt::format("lower {:g} % bound", level), "", shown(c.own.lower), ppm(c.own.lower)});
    table.row({fmt::format("upper {:g} % bound", level), "", shown(c.own.upper), ppm(c.own.upper)});
    table.row({"lower bound, exact binomial", "", shown(c.exact.lower), ppm(c.exact.lower)});
    table.row({"upper bound, exact binomial", "", shown(c.exact.upper), ppm(c.exact.upper)});
    std::string text = table.text() + "\n ";
    if (c.Cp) text += fmt::format(" Cp {:.4g}  ", *c.Cp);
    if (c.Cpk) text += fmt::format(" Cpk {:.4g}  ", *c.Cpk);
    if (c.Z)
        text += fmt::format(" Z {:.4g}", *c.Z);
    else if (c.observed == 0.0)
        text += fmt::format(" Z above {:.4g} (no trial failed)", deviate(c.own.upper));
    return text + "\n";
}

/// Two columns side by side: inputs by their share of the variance, with the rank correlation.
std::string driversText(const c_MonteCarlo& run, Long j)
{
    if (run.LastTrial() % run.sampleSize != 0 && run.LastTrial() < 50)
        return "  Fewer than 50 trials: no rank correlations.\n";
    Table table({A::Left, A::Right, A::Right});
    table.row({"input", "contribution to variance", "rank correlation"});
    for (Long i : bySize(run.CountX(), [&](Long x) { return run.VarContribs(x, j); }))
        table.row({run.Xs(i)->Name, fmt::format("{:.2f} %", 100.0 * run.VarContribs(i, j)),
                   fmt::format("{:.4f}", run.RankCorrelations(i, j))});
    return table.text();
}

/// Classes of a histogram: from `origin` upwards, all `width` wide.
struct Classes {
    double origin, width;
    std::optional<double> usl; // where it is an edge: the value itself lies below it

    Long indexOf(double y) const
    {
        const auto index = static_cast<Long>(std::floor((y - origin) / width));
        if (!usl) return index;
        const auto edge = static_cast<Long>(std::lround((*usl - origin) / width));
        return y <= *usl ? std::min(index, edge - 1) : std::max(index, edge);
    }
    double edge(Long index) const { return origin + static_cast<double>(index) * width; }
};

/// About twenty, so that limits among the values lie on edges where that can be: no class holds both sides.
Classes classesOf(double least, double greatest, const Conformance& c)
{
    const double width = (greatest - least) / 20.0;
    const auto inside = [&](const std::optional<double>& limit) {
        return limit && *limit > least && *limit < greatest;
    };
    if (inside(c.lsl) && inside(c.usl) && *c.usl - *c.lsl > 0.75 * width)
        return {*c.lsl, (*c.usl - *c.lsl) / std::round((*c.usl - *c.lsl) / width), c.usl};
    if (inside(c.usl)) return {*c.usl, width, c.usl};
    return {inside(c.lsl) ? *c.lsl : least, width, {}};
}

/// Counts between the smallest and the greatest value; a line stands where a limit lies.
std::string histogramText(const c_MonteCarlo& run, Long j, const Conformance& c)
{
    constexpr int kWidth = 50;
    const double least = run.yMin(j), greatest = run.yMax(j);
    if (!(greatest - least > 0.0) || !std::isfinite(greatest - least)) return {};
    const Classes classes = classesOf(least, greatest, c);
    if (!(std::fabs(classes.origin - least) / classes.width < 1000.0)) return {}; // no digits are left
    const Long first = classes.indexOf(least);
    Long last = classes.indexOf(greatest);
    if (last > first && classes.edge(last) >= greatest) --last; // the greatest value alone is no class
    std::vector<Long> counts(static_cast<std::size_t>(last - first + 1), 0);
    for (Long t : oneTo(run.LastTrial()))
        ++counts[static_cast<std::size_t>(std::clamp(classes.indexOf(run.ySorted(j, t)), first, last) -
                                          first)];
    const Long most = *std::max_element(counts.begin(), counts.end());
    std::vector<std::pair<double, std::string>> marks;
    if (c.lsl) marks.emplace_back(*c.lsl, "LSL");
    if (c.usl) marks.emplace_back(*c.usl, "USL");
    std::size_t mark = 0;
    std::string text;
    const auto drawMarks = [&](double upTo) {
        for (; mark < marks.size() && marks[mark].first <= upTo; ++mark)
            text += fmt::format("  {:>12} +{:-<{}} {}\n", shown(marks[mark].first), "", kWidth,
                                marks[mark].second);
    };
    for (Long b : fromTo(first, last)) {
        const double from = classes.edge(b);
        drawMarks(from + 1e-9 * classes.width);
        const Long count = counts[static_cast<std::size_t>(b - first)];
        const auto length = static_cast<std::size_t>(
            std::lround(static_cast<double>(count) / static_cast<double>(most) * kWidth));
        text += fmt::format("  {:>12} |{:<{}} {}\n", fmt::format("{:.5g}", from), std::string(length, '#'),
                            kWidth, count);
    }
    drawMarks(HUGE_VAL);
    return text;
}

std::string correlationsText(const Problem& problem, const Simulation& simulation)
{
    const auto& given = problem.study.correlations;
    if (given.empty()) return {};
    Table table({A::Left, A::Left, A::Right, A::Right});
    table.row({"Correlated", "", "Given", simulation.repaired ? "Applied" : ""});
    for (std::size_t i = 0; i < given.size(); ++i) {
        const auto index = static_cast<Long>(i + 1);
        table.row(
            {simulation.run.CorrelationList(index, 1), simulation.run.CorrelationList(index, 2),
             shown(given[i].coefficient),
             simulation.repaired ? shown(toDouble(Variant(simulation.run.CorrelationList(index, 3)))) : ""});
    }
    if (!simulation.run.useCorrelations)
        return "The correlations contradict each other and could not be repaired; none was applied.\n\n";
    return (simulation.repaired
                ? std::string(
                      "The correlations contradict each other; the nearest consistent ones were applied.\n")
                : std::string()) +
           table.text() + "\n";
}

std::string headline(const Simulation& s)
{
    const Long done = s.run.LastTrial();
    if (s.cancelled)
        return fmt::format("INCOMPLETE: cancelled, {} of {} trials are reported.\n\n", done, s.planned);
    return fmt::format("Done: {} trials.\n\n", done);
}

std::string inputsText(const Problem& problem, const c_MonteCarlo& run)
{
    Table table({A::Left, A::Left, A::Left, A::Right, A::Right});
    table.row({"Input", "Cell", "Distribution", "Mean", "StDev"});
    for (Long i : oneTo(run.CountX())) {
        c_Parameter& x = *run.Xs(i);
        std::string families;
        if (x.xType != xTypes::Constant)
            for (Long k : oneTo(x.dist->Count()))
                families += (k > 1 ? " + " : "") + x.dist->Item(k)->DistType();
        table.row({x.Name, problem.study.parameters[static_cast<std::size_t>(i - 1)].cell.value,
                   x.xType == xTypes::Constant ? "constant" : families, shown(x.GetMean()),
                   shown(x.GetStDev())});
    }
    return table.text() + "\n";
}

nlohmann::json optional(const std::optional<double>& x) { return x ? toJson(*x) : nlohmann::json(nullptr); }

nlohmann::json responseJson(const Problem& problem, const c_MonteCarlo& run, Long j)
{
    const Conformance c = conformanceOf(run, j);
    const c_Response& y = *run.Ys(j);
    const double n = run.LastTrial();
    nlohmann::json json = {{"id", y.id},
                           {"Name", y.Name},
                           {"cell", problem.study.responses[static_cast<std::size_t>(j - 1)].cell.value},
                           {"minimum", toJson(run.yMin(j))},
                           {"maximum", toJson(run.yMax(j))},
                           {"lsl", optional(c.lsl)},
                           {"usl", optional(c.usl)},
                           {"Cp", optional(c.Cp)},
                           {"Cpk", optional(c.Cpk)},
                           {"Z", optional(c.Z)}};
    for (Long k : oneTo(7)) json["yStats"].push_back(toJson(run.yStats(j, k)));
    for (Long k : oneTo(4)) json["accurateStats"].push_back(toJson(run.accurateStats(j, k)));
    for (Long k : oneTo(6)) json["ySums"].push_back(toJson(run.ySums(j, k)));
    for (double p : kPercents) json["percentiles"][fmt::format("{:g}", p)] = toJson(percentile(run, j, p));
    json["pnc"] = {{"below", toJson(c.below / n)},        {"above", toJson(c.above / n)},
                   {"observed", toJson(c.observed)},      {"minPNC", toJson(c.own.lower)},
                   {"maxPNC", toJson(c.own.upper)},       {"exactLower", toJson(c.exact.lower)},
                   {"exactUpper", toJson(c.exact.upper)}, {"ppm", toJson(1e6 * c.observed)}};
    for (Long i : oneTo(run.CountX()))
        json["inputs"].push_back({{"id", run.Xs(i)->id},
                                  {"VarContribs", toJson(run.VarContribs(i, j))},
                                  {"RankCorrelations", toJson(run.RankCorrelations(i, j))}});
    return json;
}

} // namespace

double percentile(const c_MonteCarlo& run, Long response, double p)
{
    const double rank = p / 100.0 * (run.LastTrial() - 1);
    const auto i = static_cast<Long>(rank);
    const double here = run.ySorted(response, i + 1);
    if (i + 2 > run.LastTrial()) return here;
    return here + (rank - i) * (run.ySorted(response, i + 2) - here);
}

Bounds exactBounds(Long n, Long x, double alpha)
{
    const auto quantile = [](double first, double second, double p) {
        c_Distribution beta;
        beta.DistType("Beta");
        beta.param1(first);
        beta.param2(second);
        return beta.RandVal(p);
    };
    const double failures = x, passes = static_cast<double>(n) - x;
    Bounds bounds;
    if (x > 0) bounds.lower = quantile(failures, passes + 1.0, alpha / 2.0);
    if (x < n) bounds.upper = quantile(failures + 1.0, passes, 1.0 - alpha / 2.0);
    return bounds;
}

std::string report(const Problem& problem, const Simulation& simulation)
{
    const c_MonteCarlo& run = simulation.run;
    std::string text =
        headline(simulation) + inputsText(problem, run) + correlationsText(problem, simulation);
    for (Long j : oneTo(run.CountY())) {
        const Conformance c = conformanceOf(run, j);
        text += fmt::format("{}  ({})\n\n", run.Ys(j)->Name,
                            problem.study.responses[static_cast<std::size_t>(j - 1)].cell.value);
        text += statisticsText(run, j) + "\n" + percentilesText(run, j) + "\n";
        if (c.limited()) text += conformanceText(run, c) + "\n";
        text += driversText(run, j) + "\n";
        const std::string histogram = histogramText(run, j, c);
        if (!histogram.empty()) text += histogram + "\n";
    }
    text +=
        fmt::format("Seed {}, {} sampling, batches of {}, {} trials in {:.2f} s ({:.0f} per second)\n",
                    run.randSeed, run.useLHS ? "Latin hypercube" : "random", run.sampleSize, run.LastTrial(),
                    simulation.seconds, simulation.seconds > 0 ? run.LastTrial() / simulation.seconds : 0.0);
    return text;
}

nlohmann::json document(const Problem& problem, const Simulation& simulation)
{
    const c_MonteCarlo& run = simulation.run;
    nlohmann::json json = {{"study", problem.study.path},
                           {"workbook", problem.study.workbookPath},
                           {"status", simulation.cancelled ? "incomplete" : "completed"},
                           {"numTrials", simulation.planned},
                           {"LastTrial", run.LastTrial()},
                           {"sampleSize", run.sampleSize},
                           {"randSeed", run.randSeed},
                           {"useLHS", run.useLHS},
                           {"useCorrelations", run.useCorrelations},
                           {"alpha", run.alpha()},
                           {"seconds", simulation.seconds}};
    for (Long i : oneTo(run.CountX())) {
        c_Parameter& x = *run.Xs(i);
        json["parameters"].push_back(
            {{"id", x.id},
             {"Name", x.Name},
             {"xType", x.xType},
             {"cell", problem.study.parameters[static_cast<std::size_t>(i - 1)].cell.value},
             {"mean", toJson(x.GetMean())},
             {"stdev", toJson(x.GetStDev())}});
    }
    json["correlations"] = nlohmann::json::array();
    Long index = 0;
    for (const StudyCorrelation& c : problem.study.correlations) {
        ++index;
        const std::string applied = run.useCorrelations ? run.CorrelationList(index, 3) : std::string("0");
        json["correlations"].push_back({{"first", c.first},
                                        {"second", c.second},
                                        {"given", c.coefficient},
                                        {"applied", toDouble(Variant(applied))}});
    }
    for (Long j : oneTo(run.CountY())) json["responses"].push_back(responseJson(problem, run, j));
    return json;
}

std::string trialsAsCsv(const Problem& problem, const Simulation& simulation)
{
    const c_MonteCarlo& run = simulation.run;
    const c_Formulation& f = *problem.formulation;
    std::string text = "trial";
    for (Long i : oneTo(f.CountX())) text += "," + csvField(f.Xs->Item(i)->Name);
    for (Long j : oneTo(f.CountY())) text += "," + csvField(f.Ys->Item(j)->Name);
    text += "\n";
    for (Long t : oneTo(run.LastTrial())) {
        text += std::to_string(t);
        for (Long i : oneTo(run.CountX())) text += "," + csvField(run.xUnsorted(i, t));
        for (Long j : oneTo(run.CountY())) text += "," + csvField(run.yUnsorted(j, t));
        text += "\n";
    }
    return text;
}

} // namespace varnex3::cli
