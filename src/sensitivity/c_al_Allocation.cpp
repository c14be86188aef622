// sensitivity/c_al_Allocation.cpp - the allowed response variance, and its division among the inputs.
#include "sensitivity/c_al_Allocation.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "runtime/Elementary.h"
#include "runtime/Number.h"
#include "stats/c_Statistics.h"
#include "ui/Debug.h"
#include "ui/EntryPoint.h"
#include "ui/interface/UserInterface.h"

namespace varnex3 {
namespace {

constexpr const char* kModule = "c_al_Allocation";
constexpr const char* kTitle = "Corvane";
constexpr double kSmallestPNC = 1E-11; // also how near the search comes to the desired one
constexpr int kSearchRounds = 501;
constexpr double kSmallestStDev = 1E-100; // stands in for 0 during the search
constexpr double kSmallestDisparity = 0.000001;

Long CountLimits(const std::string& lsl, const std::string& usl)
{
    return (lsl.empty() ? 0 : 1) + (usl.empty() ? 0 : 1);
}

struct Limits {
    std::optional<double> lsl, usl;
};

Limits limitsOf(const std::string& lsl, const std::string& usl)
{
    Limits limits;
    if (!lsl.empty()) limits.lsl = toDouble(Variant{lsl});
    if (!usl.empty()) limits.usl = toDouble(Variant{usl});
    return limits;
}

bool MeanInSpec(const Limits& limits, double mean)
{
    return !(limits.lsl && *limits.lsl >= mean) && !(limits.usl && *limits.usl <= mean);
}

/// Why no standard deviation can be given within these limits; null when one may exist.
const char* refusal(const Limits& limits, bool inSpec, double desiredPNC)
{
    if (limits.lsl && limits.usl)
        return *limits.usl > *limits.lsl ? nullptr : "Can't estimate if the LSL is greater than the USL.";
    if (inSpec && desiredPNC >= 0.5)
        return "Can't estimate; PNC can't be 0.5 or greater when the mean is in spec.";
    if (!inSpec && desiredPNC < 0.5)
        return "Can't estimate; PNC can't less than 0.5 when the mean is out of spec.";
    return nullptr;
}

/// A standard deviation to start from: half the distance to the limit over the quantile, the whole distance
/// where the quantile is 0.
double startingPoint(const Limits& limits, double respMean, double desiredPNC)
{
    const bool both = limits.lsl && limits.usl;
    double dist;
    if (both)
        dist = (*limits.usl - *limits.lsl) / 2.0;
    else
        dist = limits.usl ? *limits.usl - respMean : respMean - *limits.lsl;
    std::int16_t digits = 1;
    const double z = c_Statistics{}.findZ(both ? desiredPNC / 2.0 : desiredPNC, digits);
    return z == 0.0 ? dist : std::fabs(dist / z / 2.0);
}

/// Steps towards the standard deviation that gives the desired probability: forward until it is passed,
/// then back at half the step. Ends within 1E-11 of the probability or after 501 rounds.
double searchStDev(const Limits& limits, double respMean, double desiredPNC, double start, bool inSpec)
{
    const c_Statistics statistics;
    double s = start, step = start;
    for (int round = 0; round < kSearchRounds; ++round) {
        const double next = s + step;
        if (next > 0.0)
            s = next;
        else if (next == 0.0)
            s = kSmallestStDev;
        else
            s = s / 2.0;
        double p = limits.lsl ? statistics.normCDF((*limits.lsl - respMean) / s) : 0.0;
        if (limits.usl) p = p + statistics.normCDF(-(*limits.usl - respMean) / s);
        const double error = inSpec ? p - desiredPNC : desiredPNC - p;
        if (error * step > 0.0) step = -step / 2.0;
        if (std::fabs(error) < kSmallestPNC) break;
    }
    return s;
}

bool isKept(const c_al_Input& ins, Long i) { return ins.xKeeps(i) == ins.KEEP_YES; }
bool isFree(const c_al_Input& ins, Long i) { return ins.xKeeps(i) == ins.KEEP_NO; }

/// What divides an input's part: its driver, or the reciprocal of its cost; 0 for an input without one.
double driverOf(const c_al_Input& ins, Long i)
{
    const double c = std::fabs(ins.Drivers(i));
    return ins.useCostDrivers && c != 0.0 ? 1.0 / c : c;
}

} // namespace

/// Divides the variance that the response may have among the inputs marked KEEP_NO, so that
/// sum((dy/dx x stdev)^2) over all inputs is DesiredRespStDev^2. Every other input keeps its own; one that is
/// marked neither way is not counted.
///
///   2. Variance assigned to the kept inputs.
///   3. Refuse a negative goal.
///   4. Variance left to allocate.
///   5. None left: the free inputs get 0.
///   6. Disparity d within [0.000001, 1].
///   7. kappaSum = sum of (dy/dx)^2 / c^(4d) over the free inputs with a driver c.
///   8. kappa = sqrt(variance left / kappaSum).
///   9. A free input gets kappa / c^(2d), one without a driver 0.
void c_al_Allocation::Allocate(const c_al_Input& ins, c_al_Output& outs) const
{
    constexpr const char* kName = "Allocate";
    const auto detail = [&](const char* what, double value) {
        if (ins.dbg == kName) ui::showMessage(std::string(what) + " = " + toText(value), kTitle);
    };
    const Counting inputs = oneTo(ins.CountX());
    entryPoint(kModule, kName, false, [&](Procedure& here) {
        here.at(1);
        if (!ins.dbg.empty()) ui::showMessage(kName, kTitle);
        if (outs.CountX() != ins.CountX()) outs.resizeArrays(ins.CountX());
        here.at(2);
        double assigned = 0.0;
        for (Long i : inputs) {
            const double t = ins.xStDevs(i) * ins.Derivs1(i);
            if (isKept(ins, i)) assigned = assigned + t * t;
        }
        detail("var assigned", assigned);
        here.at(3);
        if (ins.DesiredRespStDev < 0.0) {
            ui::showMessage("Desired response standard deviation can't be a negative number.", kTitle);
            return false;
        }
        here.at(4);
        const double left = ins.DesiredRespStDev * ins.DesiredRespStDev - assigned;
        detail("var allocated", left);
        here.at(5);
        if (left <= 0.0) {
            for (Long i : inputs) outs.xStDevs(i, isFree(ins, i) ? 0.0 : ins.xStDevs(i));
            return true;
        }
        here.at(6);
        double d = std::min(ins.Disparity, ins.DISPARITY_MAX);
        if (d < kSmallestDisparity) d = kSmallestDisparity;
        detail("d", d);
        here.at(7);
        double kappaSum = 0.0;
        for (Long i : inputs) {
            const double c = driverOf(ins, i);
            if (isFree(ins, i) && c != 0.0)
                kappaSum = kappaSum + ins.Derivs1(i) * ins.Derivs1(i) / elementary::pow(c, 4.0 * d);
        }
        detail("kappaSum", kappaSum);
        here.at(8);
        const double kappa = kappaSum != 0.0 ? std::sqrt(left / kappaSum) : 0.0;
        detail("kappa", kappa);
        here.at(9);
        for (Long i : inputs) {
            const double c = driverOf(ins, i);
            double stdev = ins.xStDevs(i);
            if (isFree(ins, i)) stdev = c == 0.0 ? 0.0 : kappa / elementary::pow(c, 2.0 * d);
            outs.xStDevs(i, stdev);
        }
        return true;
    });
}

/// The standard deviation at which a normal response falls outside its limits with the desired probability.
///
///   2.-5. Refuse what has no answer; 0 is returned then.
///   6. A starting point from the quantile.
///   7. Search; see searchStDev. Not every request that passes has an answer: what the search ends with is
///      returned as it is, also when it is negative or gives another probability.
///
/// @param lsl, usl  numbers as texts, empty for no limit
double c_al_Allocation::EstimRespStDev(double respMean, double desiredPNC, const std::string& lsl,
                                       const std::string& usl, const std::string& dbg) const
{
    constexpr const char* kName = "EstimRespStDev";
    const auto refuse = [](const char* reason) {
        ui::showMessage(reason, kTitle);
        return 0.0;
    };
    return entryPoint(kModule, kName, 0.0, [&](Procedure& here) {
        here.at(1);
        traceEntry(dbg, kName);
        here.at(2);
        if (!(desiredPNC >= 0.0 && desiredPNC < 1.0))
            return refuse("Please enter a real number between 0 and 1 for the desired PNC.");
        here.at(3);
        if (desiredPNC < kSmallestPNC)
            return refuse("Can't calculate to this precision.  Please enter a larger value for the "
                          "desired PNC.");
        here.at(4);
        if (CountLimits(lsl, usl) == 0) return refuse("Can't estimate if both LSL and USL are empty.");
        here.at(5);
        const Limits limits = limitsOf(lsl, usl);
        const bool inSpec = MeanInSpec(limits, respMean);
        if (const char* reason = refusal(limits, inSpec, desiredPNC)) return refuse(reason);
        here.at(6);
        const double start = startingPoint(limits, respMean, desiredPNC);
        here.at(7);
        return searchStDev(limits, respMean, desiredPNC, start, inSpec);
    });
}

} // namespace varnex3
