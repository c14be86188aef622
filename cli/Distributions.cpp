// cli/Distributions.cpp - components, moments and correlations made from the study's entries.
#include "Distributions.h"

#include <cmath>
#include <memory>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "host/alg_m_XLinterface.h"
#include "runtime/Number.h"
#include "stats/c_Distribution.h"

namespace varnex3::cli {
namespace {

class Builder {
public:
    explicit Builder(Problem& problem) : problem_(problem) {}

    void build(const StudyParameter& entry, c_Parameter& x)
    {
        if (x.xType == xTypes::Noise) {
            if (entry.distribution.empty() && !entry.stdev.given())
                throw Refused(entry.place,
                              "a \"Noise\" parameter needs a distribution = { type = ..., ... }, or "
                              "a stdev for a normal one around the cell's value");
            x.dist = std::make_shared<KeyedCollection<DistributionComponent>>();
            if (entry.distribution.empty()) addNormal(entry, x);
            for (const StudyComponent& component : entry.distribution) addComponent(component, x);
            x.CalcMoments();
        } else if (!entry.distribution.empty()) {
            x.DistType = entry.distribution.front().family;
        }
        fillDistribution(x); // a "Constant" parameter's point
    }

private:
    /// A number, or the cells of a reference.
    Variant operand(const NumberOrCell& entry, bool manyCells)
    {
        if (const double* x = std::get_if<double>(&entry.value)) return *x;
        const std::string* reference = std::get_if<std::string>(&entry.value);
        if (!reference) return {};
        Ref<host::Range> range = findRange(*problem_.application, *reference, entry.place);
        if (!manyCells && range->Count() != 1)
            throw Refused(entry.place,
                          fmt::format("\"{}\" is {} cells; one is needed", *reference, range->Count()));
        dynamic_ = true;
        return range;
    }

    /// A family parameter: cells, a number, or a list of numbers.
    Variant parameter(const StudyComponent& entry, std::size_t i)
    {
        if (i >= entry.data.size() || entry.data[i].empty()) {
            const Family* family = findFamily(entry.family);
            return operand(entry.params[i], family && family->parameters[i].data);
        }
        auto list = std::make_shared<Array1<double>>();
        for (double value : entry.data[i]) list->append(value);
        return DoubleArray1(list);
    }

    void addComponent(const StudyComponent& entry, c_Parameter& x)
    {
        auto component = std::make_shared<c_Distribution>();
        dynamic_ = false;
        component->DistType(entry.family);
        component->param1(parameter(entry, 0));
        component->param2(parameter(entry, 1));
        component->param3(parameter(entry, 2));
        component->param4(parameter(entry, 3));
        component->LTL(operand(entry.ltl, false));
        component->UTL(operand(entry.utl, false));
        component->ScaleFactor = entry.weight;
        add(std::move(component), entry.place, x);
    }

    /// A normal distribution around the value that the cell holds at the start.
    void addNormal(const StudyParameter& entry, c_Parameter& x)
    {
        auto component = std::make_shared<c_Distribution>();
        dynamic_ = false;
        component->DistType("Normal");
        component->param1(toDouble(x.mean->Value()));
        component->param2(operand(entry.stdev, false));
        add(std::move(component), entry.stdev.place, x);
    }

    void add(std::shared_ptr<c_Distribution> component, const Place& place, c_Parameter& x)
    {
        component->Dynamic = dynamic_;
        std::string reason;
        if (!component->ParamsOK(reason)) throw Refused(place, reason);
        x.dist->Add(std::move(component));
    }

    Problem& problem_;
    bool dynamic_ = false; // the component under construction reads cells
};

} // namespace

void buildDistributions(Problem& problem)
{
    Builder builder(problem);
    Long i = 0;
    for (const StudyParameter& entry : problem.study.parameters)
        builder.build(entry, *problem.formulation->Xs->Item(++i));
}

Array2<std::string> correlationList(const Study& study)
{
    Array2<std::string> list(3, static_cast<Long>(study.correlations.size()));
    Long i = 0;
    for (const StudyCorrelation& c : study.correlations) {
        ++i;
        list(1, i) = c.first;
        list(2, i) = c.second;
        list(3, i) = toText(c.coefficient);
    }
    return list;
}

void configureMonteCarlo(c_MonteCarlo& monteCarlo, Problem& problem)
{
    const Study& study = problem.study;
    const StudyMonteCarlo& settings = study.monteCarlo;
    monteCarlo.XLApplication(problem.application);
    monteCarlo.CorvaneFileName(problem.workbook->Name());
    monteCarlo.LoadFormulation(problem.formulation);
    monteCarlo.numTrials = settings.trials;
    monteCarlo.sampleSize = settings.sampleSize > 0 ? settings.sampleSize : settings.trials;
    monteCarlo.randSeed = settings.seed;
    monteCarlo.useLHS = settings.latinHypercube;
    monteCarlo.alpha(settings.alpha);
    monteCarlo.refreshRate(1000);
    monteCarlo.ClearCorrelations();
    monteCarlo.useCorrelations = !study.correlations.empty();
    if (monteCarlo.useCorrelations) monteCarlo.AddCorrelations(correlationList(study));
}

void validateInputs(Problem& problem)
{
    c_MonteCarlo run;
    run.LoadFormulation(problem.formulation);
    std::string source, cause;
    Long item = 0;
    if (run.InputsOK(source, item, cause)) return;
    throw Refused(placeOf(problem.study, source, item, cause), cause);
}

std::vector<std::string> momentWarnings(Problem& problem)
{
    std::vector<std::string> warnings;
    for (Long i : oneTo(problem.formulation->CountX())) {
        c_Parameter& x = *problem.formulation->Xs->Item(i);
        if (x.xType != xTypes::Noise) continue;
        const std::optional<Moments> exact = closedFormMoments(x);
        if (!exact) continue;
        const double mean = x.GetMean(), stdev = x.GetStDev();
        if (std::fabs(mean - exact->mean) <= 0.01 * std::max(std::fabs(exact->mean), exact->stdev) &&
            std::fabs(stdev - exact->stdev) <= 0.01 * exact->stdev)
            continue;
        warnings.push_back(fmt::format(
            "parameter \"{}\": the moments of its mixture read mean {:.7g}, standard deviation {:.7g}, but "
            "are "
            "{:.7g} and {:.7g}: a component is too narrow for their grid. Trials are not affected",
            x.id, mean, stdev, exact->mean, exact->stdev));
    }
    return warnings;
}

} // namespace varnex3::cli
