// cli/Problem.cpp - from the entries of a study to a formulation over workbook cells.
#include "Problem.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "Distributions.h"
#include "host/alg_m_XLinterface.h"
#include "sensitivity/c_sa_Analysis.h"

namespace varnex3::cli {
namespace {

/// Runs work on the host; what it raises becomes a refusal at `place`.
template <class F>
auto orRefuse(const Place& place, F&& work)
{
    try {
        return work();
    } catch (const Raised&) {
        const std::string description = err().description;
        caught();
        throw Refused(place, description);
    }
}

/// The key of an entry that one of the library's causes is about, told by the words the cause holds.
std::string keyOf(const std::string& cause)
{
    static constexpr std::pair<const char*, const char*> kKeys[] = {
        {"LSL", "lsl"},
        {"USL", "usl"},
        {"DefName", "name"},
        {"standard deviation", "stdev"},
        {"equirement", "reqt"},
        {"arget", "target"},
        {"eight", "weight"},
        {"Priority", "priority"},
        {"Stopping rule", "StopRule"},
        {"maximum generations", "MaxGens"},
        {"generation size", "GenSize"},
        {"recision", "Precision"},
        {"Derivative", "Derivs"},
        {"Statistical calculation", "Stats"},
        {"Monte Carlo trials", "OptTrials"},
        {"Y storage", "StoreYs"},
        {"inimum value", "range"},
    };
    for (const auto& [words, key] : kKeys)
        if (cause.find(words) != std::string::npos) return key;
    return {};
}

class Assembler {
public:
    explicit Assembler(Problem& problem) : problem_(problem), f_(*problem.formulation) {}

    void run()
    {
        for (const StudyParameter& p : problem_.study.parameters) addParameter(p);
        for (const StudyResponse& r : problem_.study.responses) addResponse(r);
        for (const StudyConstraint& c : problem_.study.constraints) addConstraint(c);
        for (const StudyGoal& g : problem_.study.goals) addGoal(g);
        setOptions(problem_.study.options);
        setCalculationOrder();
    }

private:
    Ref<host::Range> cell(const TextEntry& entry)
    {
        Ref<host::Range> range = findRange(*problem_.application, entry.value, entry.place);
        if (range->Count() != 1)
            throw Refused(entry.place,
                          fmt::format("\"{}\" is {} cells; one is needed", entry.value, range->Count()));
        return range;
    }

    Variant operand(const NumberOrCell& entry)
    {
        if (const double* x = std::get_if<double>(&entry.value)) return *x;
        if (const std::string* reference = std::get_if<std::string>(&entry.value))
            return cell(TextEntry{*reference, entry.place});
        return {};
    }

    /// A cell that must hold a number; an error value or a text is refused with what it holds.
    Ref<host::Range> numericCell(const TextEntry& entry)
    {
        Ref<host::Range> range = cell(entry);
        const Variant value = range->Value();
        if (value.asNumber() || value.asBoolean() || value.isEmpty()) return range;
        throw Refused(entry.place, fmt::format("the cell {} holds {}, not a number", entry.value,
                                               problem_.application->shownText(*range)));
    }

    void addParameter(const StudyParameter& entry)
    {
        f_.AddX(entry.id);
        c_Parameter& x = *f_.ItemX(entry.id);
        x.DefName = entry.name;
        x.Name = entry.name;
        x.xType = entry.type;
        x.mean = numericCell(entry.cell);
        if (alg_m_XLinterface::CellHasFormula(*x.mean) && isActiveKind(entry.type))
            throw Refused(entry.cell.place,
                          fmt::format("the cell {} holds a formula; {}", entry.cell.value,
                                      entry.values.empty() ? "name the cell that it gets its number from"
                                                           : "the search would overwrite it"));
        for (Long i = 1; i < f_.CountX(); ++i)
            if (alg_m_XLinterface::SameRange(*f_.Xs->Item(i)->mean, *x.mean))
                throw Refused(entry.cell.place, fmt::format("the cell {} is that of the parameter \"{}\" too",
                                                            entry.cell.value, f_.Xs->Item(i)->id));
        x.stdev = entry.stdev.given() ? operand(entry.stdev) : Variant{0.0};
        if (const std::string* spread = std::get_if<std::string>(&entry.stdev.value))
            numericCell({*spread, entry.stdev.place});
        if (entry.tolerance.given()) setTolerance(x, entry.tolerance);
        for (double value : entry.values) x.AddFV(value);
        if (entry.values.empty() && isActiveKind(entry.type)) addSpreadAsRange(x);
        x.SortFV();
        if (x.numFVs() > 0) {
            x.SearchMin = x.FeasVals(1);
            x.SearchMax = x.FeasVals(x.numFVs());
        }
    }

    /// A parameter that is analysed, not searched: the library's checks want a range all the same.
    void addSpreadAsRange(c_Parameter& x)
    {
        const double mean = x.GetMean(), s = std::fabs(toDouble(alg_m_XLinterface::valueOf(x.stdev)));
        const double reach = s == 0.0 ? 1.0 : 6.0 * s;
        x.AddFV(mean - reach);
        x.AddFV(mean + reach);
    }

    void setTolerance(c_Parameter& x, const StudyTolerance& entry)
    {
        const double halfWidth = numberOf(entry.halfWidth);
        if (halfWidth < 0.0) throw Refused(entry.halfWidth.place, "a half width cannot be negative");
        const double sigma = entry.uniform ? 0.0 : numberOf(entry.sigma);
        if (!entry.uniform && !(sigma > 0.0)) throw Refused(entry.sigma.place, "sigma must be above 0");
        const double mean = x.GetMean();
        if (entry.percent && mean == 0.0)
            throw Refused(entry.place, "a tolerance in percent of 0 is none; give it in workbook units");
        x.stdev = c_sa_Analysis{}.EstimateStDev(halfWidth, sigma, entry.percent, entry.uniform, mean);
        if (entry.uniform) x.DistType = "Uniform"; // for simulations
    }

    double numberOf(const NumberOrCell& entry)
    {
        if (const double* x = std::get_if<double>(&entry.value)) return *x;
        return toDouble(numericCell(TextEntry{std::get<std::string>(entry.value), entry.place})->Value());
    }

    void addResponse(const StudyResponse& entry)
    {
        f_.AddY(entry.id);
        c_Response& y = *f_.ItemY(entry.id);
        y.DefName = entry.name;
        y.Name = entry.name;
        y.Formula = numericCell(entry.cell);
        if (y.Formula->Value().isEmpty())
            throw Refused(entry.cell.place, fmt::format("the cell {} is empty; a response is a cell whose "
                                                        "formula gives a number",
                                                        entry.cell.value));
        y.lsl = operand(entry.lsl);
        y.usl = operand(entry.usl);
    }

    /// What constraints and goals share.
    template <class Item, class Entry>
    void fillRequirement(Item& item, const Entry& entry)
    {
        item.DefName = entry.name;
        item.Name = entry.name;
        item.y = f_.ItemY(entry.response.value)->Formula;
        item.Aspect = entry.aspect;
        item.Oper = entry.oper;
    }

    void addConstraint(const StudyConstraint& entry)
    {
        f_.AddC(entry.id);
        c_Constraint& c = *f_.ItemC(entry.id);
        fillRequirement(c, entry);
        c.Reqt = operand(entry.reqt);
    }

    void addGoal(const StudyGoal& entry)
    {
        f_.AddG(entry.id);
        c_Goal& g = *f_.ItemG(entry.id);
        fillRequirement(g, entry);
        g.Target = operand(entry.target);
        g.Priority = entry.priority;
        g.Weight = operand(entry.weight);
    }

    void setOptions(const StudyOptions& entry)
    {
        c_Options& o = *f_.Options;
        o.StopRule = entry.StopRule;
        o.MaxGens = entry.MaxGens;
        o.GenSize = entry.GenSize;
        o.Precision = entry.Precision;
        o.Derivs = entry.Derivs;
        o.Stats = entry.Stats;
        o.StoreYs = entry.StoreYs;
        o.OptTrials = entry.OptTrials;
        o.dbg = entry.dbg;
    }

    Long positionOf(const std::string& id) const
    {
        for (Long i : oneTo(f_.CountX()))
            if (f_.Xs->Item(i)->id == id) return i;
        return 0;
    }

    void setCalculationOrder()
    {
        for (Long i : oneTo(f_.CountX())) f_.CalcSequence(i, i); // natural order
        Long place = 0;
        for (const TextEntry& id : problem_.study.calculationOrder)
            f_.CalcSequence(++place, positionOf(id.value));
        for (const TextEntry& id : problem_.study.recalculateBefore)
            f_.RecalcFlags(positionOf(id.value), true);
    }

    Problem& problem_;
    c_Formulation& f_;
};

} // namespace

Ref<host::Workbook> openWorkbook(workbook::EmbeddedApplication& application, const std::string& path)
{
    return orRefuse(Place{}, [&] { return application.open(path); });
}

Ref<host::Range> findRange(workbook::EmbeddedApplication& application, const std::string& reference,
                           const Place& place)
{
    return orRefuse(place, [&] { return application.range(reference); });
}

Problem loadProblem(const std::string& studyPath)
{
    Problem problem;
    problem.study = readStudy(studyPath);
    problem.application = std::make_shared<workbook::EmbeddedApplication>();
    problem.workbook = orRefuse(problem.study.workbookPlace,
                                [&] { return problem.application->open(problem.study.workbookPath); });
    problem.application->Calculate();
    problem.formulation = std::make_shared<c_Formulation>();
    Assembler(problem).run();
    buildDistributions(problem);
    return problem;
}

Place placeOf(const Study& study, const std::string& source, Long item, const std::string& cause)
{
    const auto index = static_cast<std::size_t>(item > 0 ? item - 1 : 0);
    Place place{study.path, 0, ""};
    if (source == c_Formulation::SOURCEX) place = study.parameters[index].place;
    if (source == c_Formulation::SOURCEY) place = study.responses[index].place;
    if (source == c_Formulation::SOURCEC) place = study.constraints[index].place;
    if (source == c_Formulation::SOURCEG) place = study.goals[index].place;
    if (source == c_Formulation::SOURCEO && study.options.place.line > 0) place = study.options.place;
    const std::string key = place.key + "." + keyOf(cause);
    const auto line = study.lines.find(key);
    return line == study.lines.end() ? place : Place{study.path, line->second, key};
}

void validate(Problem& problem)
{
    for (const StudyParameter& p : problem.study.parameters)
        if (p.values.empty() && isActiveKind(p.type))
            throw Refused(p.place,
                          "to be searched, it needs \"range = [least, greatest]\" or \"values = [...]\"");
    std::string source, cause;
    Long item = 0;
    if (problem.formulation->formulationOK(source, item, cause)) return;
    throw Refused(placeOf(problem.study, source, item, cause), cause);
}

} // namespace varnex3::cli
