// optimizer/alg_m_GeneticAlgorithm_creation.cpp - the first generation and the feasibility primitives.
#include <algorithm>
#include <cmath>
#include <span>
#include <string>

#include "optimizer/alg_m_GeneticAlgorithm.h"
#include "runtime/Number.h"
#include "runtime/Seeds.h"
#include "stats/alg_m_MersenneTwister.h"
#include "ui/Debug.h"
#include "ui/Windows.h"
#include "ui/interface/UserInterface.h"

namespace varnex3::alg_m_GeneticAlgorithm {
namespace {

using alg_m_MersenneTwister::RandDouble;

Kind kindOf(const std::string& xType)
{
    if (xType == xTypes::Continuous) return Kind::Continuous;
    if (xType == xTypes::Integer) return Kind::Integer;
    if (xType == xTypes::Discrete) return Kind::Discrete;
    return Kind::Held;
}

/// Whether no active variable tells two rows apart. A difference below the resolution counts as zero;
/// the sum of the counted ones is zero exactly when each of them is, so the first other one decides.
bool alike(std::span<const double> a, std::span<const double> b, const Variables& variables,
           const Array1<double>& resX)
{
    std::size_t at = 0; // rows are spans, counted from 0
    for (Long j : oneTo(variables.size())) {
        const double difference = std::fabs(a[at] - b[at]);
        ++at;
        if (variables(j).active && !(difference < resX(j)) && difference != 0.0) return false;
    }
    return true;
}

/// Member m becomes the corner of the search space where every active variable is at `bound`.
void setCorner(OptimizationRun& d, const Variables& variables, Long m, double Variable::*bound)
{
    for (Long j : oneTo(variables.size())) {
        const Variable& x = variables(j);
        d.genX(m, j) = x.active ? x.*bound : cellValue(x);
    }
}

} // namespace

Variable::Variable(const c_Parameter& parameter)
    : kind(kindOf(parameter.xType)), active(isActiveKind(parameter.xType)), searchMin(parameter.SearchMin),
      searchMax(parameter.SearchMax), x(&parameter)
{}

Variables searchVariables(const OptimizationRun& d)
{
    Variables variables(d.f->CountX());
    for (Long j : oneTo(variables.size())) variables(j) = required(required(d.f->Xs).Item(j));
    return variables;
}

double cellValue(const Variable& x) { return toDouble(required(x.x->mean).Value()); }

Long RandIndex(Long n)
{
    const double u = RandDouble();
    return std::min(toLong(Int(static_cast<double>(n) * u + 1.0)), n); // u = 1 would give n + 1
}

/// One random feasible value, uniform over the range, the whole numbers in it, or the listed values; the
/// cell's value for a variable that is not searched.
///
/// @draws  one; none for a variable that is not searched
double CreateFeasible(const Variable& x)
{
    Procedure here{kModule, "CreateFeasible"};

    if (x.kind == Kind::Continuous) {
        const double u = RandDouble();
        return (x.searchMax - x.searchMin) * u + x.searchMin;
    }
    if (x.kind == Kind::Integer) {
        const double u = RandDouble();
        const double r = Int((x.searchMax - x.searchMin + 1.0) * u + x.searchMin);
        if (r > x.searchMax) return Int(x.searchMax);    // u = 1
        return r < x.searchMin ? -Int(-x.searchMin) : r; // a lower end that is no whole number
    }
    if (x.kind == Kind::Discrete) return x.x->FeasVals(RandIndex(x.x->numFVs()));
    return cellValue(x);
}

/// Whether v is feasible: in the range, a whole number in it, exactly one of the listed values; anything
/// for a variable that is not searched.
bool inBounds(const Variable& x, double v)
{
    if (x.kind == Kind::Held) return true;
    if (x.kind == Kind::Discrete) return x.x->FeasValIndex(v) > 0;
    if (v < x.searchMin || v > x.searchMax) return false;
    return x.kind == Kind::Continuous || Int(v) == v;
}

/// The number of distinguishable points of the search space, not rounded; 1E+308 when a double cannot
/// hold it. Its errors pass unchanged: it leaves no trail line.
double numAlternatives(const OptimizationRun& d)
{
    constexpr const char* kName = "numAlternatives";
    const c_Options& options = d.options();
    traceEntry(options.dbg, kName);

    double n = 1.0;
    for (const Variable& x : searchVariables(d)) {
        if (x.kind == Kind::Continuous) {
            if (options.Precision == 0.0) raise(errors::DivisionByZero);
            n = n * (options.GenSize / options.Precision + 1.0);
        }
        if (x.kind == Kind::Integer) n = n * (x.searchMax - x.searchMin + 1.0);
        if (x.kind == Kind::Discrete) n = n * x.x->numFVs();
        if (std::isinf(n)) {
            n = 1e308;
            break;
        }
    }
    traceDetail(options.dbg, kName, "Number of alternatives = " + toText(n));
    return n;
}

/// Makes member 1 of the values in the workbook.
///
/// For each variable: read its cell; an infeasible value is announced and replaced in the workbook by a
/// random feasible one; read the cell again.
///
/// @draws   CreateFeasible's, per replaced value
/// @raises  13 for a cell that holds no number
void LoadInitialSolution(OptimizationRun& d)
{
    Procedure here{kModule, "LoadInitialSolution"};

    for (Long i : oneTo(d.f->CountX())) {
        c_Parameter& parameter = required(required(d.f->Xs).Item(i));
        const Variable x = parameter;
        here.at(1);
        const double v = cellValue(x);
        here.at(2);
        if (!inBounds(x, v)) {
            ui::showMessage(
                "Infeasible starting value for variable " + std::to_string(i) + " will be replaced.", kTitle);
            parameter.SetMean(CreateFeasible(x));
        }
        here.at(3);
        d.genX(1, i) = cellValue(x);
    }
}

/// Fills members 2..GenSize of the first generation; every member is distinct from those before it.
///
///   1. Report the status.
///   2. Read the variables once.
///   4. Lower corner, dropped when it is alike to member 1.
///   6. Upper corner, dropped when it is alike to one before it.
///   8. Seed the stream afresh.
///   9. Random feasible members, each drawn again until it is distinct.
///
/// @draws   step 9: CreateFeasible's, variable by variable
/// @raises  18 after a cancel; 5 when a million draws in a row gave no distinct member
void CreateGen(OptimizationRun& d)
{
    constexpr const char* kName = "CreateGen";
    Procedure here{kModule, kName};
    const c_Options& options = d.options();
    traceEntry(options.dbg, kName);

    here.at(1);
    StatusMsg(*d.xl, options.dbg, "Creating", "Generation 1");
    here.at(2);
    const Variables variables = searchVariables(d);
    here.at(3);
    const Long last = options.GenSize;
    Long m = 2;
    here.at(4);
    if (m > last) return;
    setCorner(d, variables, m, &Variable::searchMin);
    if (IsUnique(d, variables, m, RowSource::New)) ++m;
    here.at(6);
    if (m > last) return;
    setCorner(d, variables, m, &Variable::searchMax);
    if (IsUnique(d, variables, m, RowSource::New)) ++m;
    here.at(7);
    if (m > last) return;
    here.at(8);
    if (d.summary.seed == 0) d.summary.seed = freshSeed();
    alg_m_MersenneTwister::InitRandom(d.summary.seed);
    here.at(9);
    for (Long tries = 0; m <= last; ++m, tries = 0) {
        do {
            if (++tries > kMaxTries) raiseNoDistinctMember(kName);
            for (Long j : oneTo(variables.size())) d.genX(m, j) = CreateFeasible(variables(j));
        } while (!IsUnique(d, variables, m, RowSource::New));
    }
}

void raiseNoDistinctMember(const char* procedure)
{
    raise(errors::InvalidCall, procedure,
          std::to_string(kMaxTries) + " candidates in a row were alike to members that exist already; the "
                                      "search space holds too few distinct points for this GenSize");
}

/// Whether row m can be told from the rows accepted before it: members 1..m - 1 of genX, or children
/// 1..m - 1 and the members that survive into the next generation.
bool IsUnique(const OptimizationRun& d, const Variables& variables, Long m, RowSource source)
{
    Procedure here{kModule, "IsUnique"};

    const Array2<double>& rows = source == RowSource::New ? d.genX : d.kids;
    const std::span<const double> candidate = rows.row(m);
    here.at(1);
    for (Long i : oneTo(m - 1))
        if (alike(candidate, rows.row(i), variables, d.resX)) return false;
    here.at(3);
    if (source == RowSource::New) return true;
    for (Long i : oneTo(d.genX.rows() - d.kids.rows()))
        if (alike(candidate, d.genX.row(i), variables, d.resX)) return false;
    return true;
}

} // namespace varnex3::alg_m_GeneticAlgorithm
