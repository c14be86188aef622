// optimizer/alg_m_XLinterface_reports.cpp - report macros and the dump of a formulation.
#include "optimizer/alg_m_XLinterface_reports.h"

#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include "host/alg_m_XLinterface.h"
#include "optimizer/alg_m_GeneticAlgorithm.h"
#include "ui/Debug.h"
#include "ui/Windows.h"

namespace varnex3::alg_m_XLinterface {
namespace {

constexpr Long kObjectRequired = 424;

std::string macroName(const std::string& macro) { return hostState().fileName + "!" + macro; }

Variant packed(Array1<Variant> values)
{
    return VariantArray1(std::make_shared<Array1<Variant>>(std::move(values)));
}
Variant packed(const Array1<double>& values)
{
    return DoubleArray1(std::make_shared<Array1<double>>(values));
}
Variant packed(const Array2<double>& values)
{
    return DoubleArray2(std::make_shared<Array2<double>>(values));
}

/// Arguments 3 to 5 of the generation macro; the number 0 stands for no items.
struct ItemValues {
    Variant constraints = 0;
    Variant deviations = 0;
    Variant goals = 0;
};

/// The first row of genY is the best member's, or the only one there is.
ItemValues itemValues(const OptimizationRun& d)
{
    ItemValues values;
    if (const Long n = d.f->CountC(); n > 0) {
        Array1<Variant> statistics(n), deviations(n);
        for (Long c : oneTo(n)) {
            const c_Constraint& constraint = required(required(d.f->Cs).Item(c));
            const double value = d.genY(1, d.columnOfY(constraint.Aspect, d.cSource(c)));
            const double requirement = toDouble(valueOf(constraint.Reqt));
            statistics(c) = value;
            deviations(c) = alg_m_GeneticAlgorithm::computeDeviation(value, constraint.Oper, requirement);
        }
        values.constraints = packed(std::move(statistics));
        values.deviations = packed(std::move(deviations));
    }
    if (const Long n = d.f->CountG(); n > 0) {
        Array1<Variant> statistics(n);
        for (Long g : oneTo(n)) {
            const c_Goal& goal = required(required(d.f->Gs).Item(g));
            statistics(g) = d.genY(1, d.columnOfY(goal.Aspect, d.gSource(g)));
        }
        values.goals = packed(std::move(statistics));
    }
    return values;
}

void rememberBest(OptimizationRun& d)
{
    for (Long i : oneTo(d.f->CountX())) {
        if (d.genCount > 0) d.prevBestX(i) = d.bestX(i);
        d.bestX(i) = d.genX(1, i);
    }
}

Array1<double> bestScores(const OptimizationRun& d)
{
    Array1<double> scores(kScores);
    for (Long p : oneTo(kScores)) scores(p) = d.genP(1, p);
    return scores;
}

/// Writes values into one row of a sheet after the other.
class RowWriter {
public:
    explicit RowWriter(host::Worksheet& sheet) : sheet_(sheet) {}

    void row(const std::vector<Variant>& values)
    {
        Long column = 1;
        for (const Variant& value : values) sheet_.Cells(row_, column++, value);
        ++row_;
    }
    void emptyRow() { ++row_; }

private:
    host::Worksheet& sheet_;
    Long row_ = 1;
};

Variant reference(const Ref<host::Range>& range)
{
    if (!range) raise(kObjectRequired, kRuntimeSource, "Object required");
    return referenceText(*range);
}

void printParameters(RowWriter& out, const c_Formulation& f)
{
    out.row(
        {"id", "DefName", "Name", "xType", "Mean", "StDev", "searchMin", "searchMax", "numFVs", "FeasVals"});
    for (Long i : oneTo(f.CountX())) {
        const c_Parameter& x = required(required(f.Xs).Item(i));
        std::vector<Variant> row = {x.id,        x.DefName,         x.Name,
                                    x.xType,     reference(x.mean), reference(rangeOf(x.stdev)),
                                    x.SearchMin, x.SearchMax,       x.numFVs()};
        for (Long v : oneTo(x.numFVs())) row.emplace_back(x.FeasVals(v));
        out.row(row);
    }
}

void printResponses(RowWriter& out, const c_Formulation& f)
{
    out.row({"id", "DefName", "Name", "LSL", "Formula", "USL"});
    for (Long i : oneTo(f.CountY())) {
        const c_Response& y = required(required(f.Ys).Item(i));
        out.row({y.id, y.DefName, y.Name, valueOf(y.lsl), reference(y.Formula), valueOf(y.usl)});
    }
}

void printConstraints(RowWriter& out, const c_Formulation& f)
{
    out.row({"id", "DefName", "Name", "y", "Aspect", "Oper", "Reqt"});
    for (Long i : oneTo(f.CountC())) {
        const c_Constraint& c = required(required(f.Cs).Item(i));
        out.row({c.id, c.DefName, c.Name, reference(c.y), c.Aspect, c.Oper, valueOf(c.Reqt)});
    }
}

void printGoals(RowWriter& out, const c_Formulation& f)
{
    out.row({"id", "DefName", "Name", "y", "Aspect", "Oper", "Target", "Priority", "Weight"});
    for (Long i : oneTo(f.CountG())) {
        const c_Goal& g = required(required(f.Gs).Item(i));
        out.row({g.id, g.DefName, g.Name, reference(g.y), g.Aspect, g.Oper, valueOf(g.Target), g.Priority,
                 valueOf(g.Weight)});
    }
}

} // namespace

void PrintGen(OptimizationRun& d)
{
    constexpr const char* kName = "PrintGen";
    const std::string& dbg = d.options().dbg;
    traceEntry(dbg, kName);
    StatusMsg(*d.xl, dbg, "Printing Generation " + std::to_string(d.genCount), "");

    rememberBest(d);
    Array1<Variant> statistics(d.genY.cols());
    for (Long j : oneTo(d.genY.cols())) statistics(j) = d.genY(1, j);
    const ItemValues items = itemValues(d);
    const Array1<double> scores = bestScores(d);
    statusWindow().UpdateStatusGraph(scores, d.genCount, d.genCount - d.genOfBest);

    const std::string macro = macroName(hostState().printGenMacro);
    traceDetail(dbg, kName, "Calling " + macro);
    const Variant arguments[] = {packed(d.bestX),   packed(std::move(statistics)),
                                 items.constraints, items.deviations,
                                 items.goals,       packed(scores),
                                 d.genCount};
    d.xl->Run(macro, arguments);
}

void PrintFinalGen(OptimizationRun& d)
{
    constexpr const char* kName = "PrintFinalGen";
    const std::string& dbg = d.options().dbg;
    traceEntry(dbg, kName);
    StatusMsg(*d.xl, dbg, "Printing Members of Final Generation", "");
    const std::string macro = macroName(hostState().printFinalMacro);
    traceDetail(dbg, kName, "Calling " + macro);
    const Variant arguments[] = {packed(d.genX), packed(d.genY), packed(d.genP), d.genCount};
    d.xl->Run(macro, arguments);
}

void PrintFormulation(OptimizationRun& d)
{
    d.xl->Workbooks()->Add();
    const Ref<host::Worksheet> sheet = required(d.xl->ActiveWorkbook()).Worksheets("Sheet1");
    RowWriter out(required(sheet));
    printParameters(out, *d.f);
    out.emptyRow();
    printResponses(out, *d.f);
    out.emptyRow();
    printConstraints(out, *d.f);
    out.emptyRow();
    printGoals(out, *d.f);
}

std::string referenceText(host::Range& range)
{
    return required(range.Worksheet()).Name() + "!" + range.Address();
}

} // namespace varnex3::alg_m_XLinterface
