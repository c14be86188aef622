// stats/c_Parameter_distribution.cpp - the distribution side of c_Parameter: mixtures, moments, draws.
//
// The families are c_Distribution's. Sampling probabilities come from montecarlo/.
#include <algorithm>
#include <cmath>

#include "formulation/c_Parameter.h"
#include "host/alg_m_XLinterface.h"
#include "stats/c_Distribution.h"

namespace varnex3 {
namespace {

using Components = KeyedCollection<DistributionComponent>;

/// "Parameter <name> in <workbook>.<sheet>.<address>", as far as the host answers.
std::string whereabouts(const c_Parameter& parameter)
{
    std::string workbook, sheet, address;
    attempt([&] {
        host::Range& cell = required(parameter.mean);
        address = cell.Address();
        sheet = cell.Worksheet()->Name();
        workbook = cell.Worksheet()->Parent()->Name();
    });
    return "Parameter " + parameter.Name + " in " + workbook + "." + sheet + "." + address;
}

} // namespace

/// Gives a searched parameter its default distribution and readies the first component.
///
///   1. "Continuous", "Integer", "Discrete": one component, normal or uniform with the parameter's mean and
///      standard deviation, not truncated, not dynamic.
///   2. Every kind: ParamsOK of the first component; its answer is not used.
///
/// @raises  9 when `dist` is empty at 2; 13 for a mean or standard deviation that is not numeric
void c_Parameter::InitDist()
{
    Procedure here{"c_Parameter", "InitDist"};

    if (isActiveKind(xType)) {
        here.at(1);
        if (!dist) dist = std::make_shared<Components>();
        if (dist->Count() == 0) dist->Add(std::make_shared<c_Distribution>());
        while (dist->Count() > 1) dist->Remove(1);
        const double m = toDouble(required(mean).Value());
        const double s =
            toDouble(alg_m_XLinterface::IsRange(stdev) ? alg_m_XLinterface::valueOf(stdev) : stdev);
        DistributionComponent& component = *dist->Item(1);
        if (DistType == "Uniform") {
            component.DistType("Uniform");
            component.param1(m - std::sqrt(3.0) * s);
            component.param2(m + std::sqrt(3.0) * s);
        } else {
            component.DistType("Normal");
            component.param1(m);
            component.param2(s);
        }
        component.ScaleFactor = 1.0;
        component.mixtureTotal = 0.0;
        component.Dynamic = false;
        const c_Distribution fresh;
        component.LTL(fresh.NegInfinity());
        component.UTL(fresh.PosInfinity());
    }
    here.at(2);
    if (!dist) raise(errors::ObjectNotSet);
    std::string unused;
    dist->Item(1)->ParamsOK(unused);
}

/// The parameter's value at probability rndP.
///
///   1. "Constant": the value of its cell.
///   2. The component whose share of the cumulative weights holds rndP, and rndP's place within that share.
///   3. A dynamic component checks its parameters first; bad ones leave their reason in `errorString`.
///
/// @raises  whatever the host or the component raises, with the parameter's name and place added
double c_Parameter::RandVal(double rndP, std::string& errorString)
{
    Procedure here{"c_Parameter", "RandVal"};
    try {
        here.at(1);
        if (xType == xTypes::Constant) return toDouble(required(mean).Value());

        here.at(2);
        if (!dist) raise(errors::ObjectNotSet);
        const Long n = dist->Count();
        Long chosen = 1;
        double p = rndP;
        if (n >= 2) {
            double total = 0.0;
            for (Long i : oneTo(n)) total += dist->Item(i)->ScaleFactor;
            if (total == 0.0) raise(errors::DivisionByZero);
            double sum = dist->Item(1)->ScaleFactor, before = 0.0, upTo = sum / total;
            while (chosen < n && !(rndP <= upTo)) {
                before = upTo;
                sum += dist->Item(++chosen)->ScaleFactor;
                upTo = sum / total;
            }
            p = upTo > before ? (rndP - before) / (upTo - before) : 0.0; // before is 0 for the first
        }

        here.at(3);
        DistributionComponent& component = *dist->Item(chosen);
        if (component.Dynamic && !component.ParamsOK(errorString)) return 0.0;
        return component.RandVal(p);
    } catch (...) {
        adoptForeignException();
        const ErrorRecord record = err(); // asking the host for names may disturb it
        const std::string place = whereabouts(*this);
        err() = record;
        err().description += "\r\n" + place;
        throw;
    }
}

/// Computes mean and standard deviation of the distribution.
///
///   1. Every component's ParamsOK; at the first that fails the moments stay as they were.
///   2. One component, not truncated, not "Johnson": its closed-form moments.
///   3. Otherwise the moments of the mixture's density on numPoints grid points, at least 50.
void c_Parameter::CalcMoments(Long& numPoints)
{
    Procedure here{"c_Parameter", "CalcMoments"};

    here.at(1);
    const Long n = dist ? dist->Count() : 0;
    std::string unused;
    for (Long i : oneTo(n))
        if (!dist->Item(i)->ParamsOK(unused)) return;

    here.at(2);
    if (n == 1) {
        DistributionComponent& only = *dist->Item(1);
        if (!isTruncated(only) && only.DistType() != "Johnson") {
            computedMean_ = only.mean();
            computedStDev_ = only.stdev();
            return;
        }
    }

    here.at(3);
    if (n == 0) return;
    numPoints = std::max(numPoints, Long{50});
    DistributionComponent& first = *dist->Item(1);
    first.resizeArrays(numPoints);
    double total = 0.0;
    for (Long i : oneTo(n)) total += dist->Item(i)->ScaleFactor;
    double lo = first.xMin(7.0), hi = first.xMax(7.0);
    for (Long i : oneTo(n)) {
        dist->Item(i)->mixtureTotal = n == 1 ? 0.0 : total;
        lo = std::min(lo, dist->Item(i)->xMin(7.0));
        hi = std::max(hi, dist->Item(i)->xMax(7.0));
    }
    here.at(4);
    for (Long j : oneTo(numPoints)) {
        first.GraphX(j, lo + (hi - lo) / (numPoints - 1) * (j - 1));
        first.GraphOL(j, 0.0);
        std::optional<double> previous;
        if (j > 1) previous = first.GraphX(j - 1);
        for (Long i : oneTo(n))
            first.GraphOL(j, first.GraphOL(j) + dist->Item(i)->pdf(first.GraphX(j), false, previous));
    }
    here.at(5);
    double mean1 = first.CalcMean();
    const double stdev1 = first.CalcStdev(mean1);
    computedMean_ = mean1;
    computedStDev_ = stdev1;
}

void c_Parameter::CalcMoments()
{
    Long numPoints = 0;
    CalcMoments(numPoints);
}

} // namespace varnex3
