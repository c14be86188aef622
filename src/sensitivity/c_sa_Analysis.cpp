// sensitivity/c_sa_Analysis.cpp - second-order mean, first-order variance, and what follows from them.
#include "sensitivity/c_sa_Analysis.h"

#include <cmath>
#include <optional>

#include "host/alg_m_XLinterface.h"
#include "runtime/Number.h"
#include "sensitivity/c_Derivatives.h"
#include "stats/c_Statistics.h"
#include "ui/Debug.h"
#include "ui/EntryPoint.h"

namespace varnex3 {
namespace {

constexpr const char* kModule = "c_sa_Analysis";
constexpr double kStepDivisor = 5.0;
constexpr double kFallbackStep = 0.2;       // where the input is 0
constexpr double kLargeMeanShift = 0.1;     // of the response value: the response is nonlinear
constexpr double kLargeContribution = 0.05; // the same for one input's part of the mean shift

/// Mean, standard deviation and mean shift.
///
///   1. m = y; v = 0.
///   2. For each input: m = m + d2y/dx2 x 0.5 x s^2; v = v + (s x dy/dx)^2.
///   3. Mean m, standard deviation sqrt(v), mean shift m - y.
///
/// @raises  513, 515 after showing the response cell; 91 without one; 6 for sums too large
void CalcResponse(const c_sa_Input& ins, c_sa_Output& outs)
{
    constexpr const char* kName = "CalcResponse";
    Procedure here{kModule, kName};
    traceEntry(ins.dbg, kName);

    here.at(1);
    alg_m_XLinterface::CheckCell(required(ins.y), kName, false, false);
    const double y = toDouble(ins.y->Value());
    double m = y, v = 0.0;
    here.at(2);
    for (Long i : oneTo(ins.CountX())) {
        const double s = ins.xStDevs(i);
        const double t = s * ins.Derivs1(i);
        m = m + ins.derivs2(i) * 0.5 * (s * s);
        v = v + t * t;
    }
    if (!std::isfinite(m) || !std::isfinite(v)) raise(errors::Overflow);
    here.at(3);
    outs.responseMean = m;
    outs.responseStDev = std::sqrt(v);
    outs.meanShift = m - y;
    outs.eqnVal = y;
}

/// Each input's part of the mean shift, and its share of the variance: the variance itself when the
/// response's is 0.
void CalcContribs(const c_sa_Input& ins, c_sa_Output& outs)
{
    constexpr const char* kName = "CalcContribs";
    Procedure here{kModule, kName};
    traceEntry(ins.dbg, kName);

    here.at(1);
    for (Long i : oneTo(ins.CountX())) {
        const double s = ins.xStDevs(i);
        double t = s * ins.Derivs1(i);
        if (outs.responseStDev != 0.0) t = t / outs.responseStDev;
        outs.MeanShiftContribs(i, s * s * ins.derivs2(i) * 0.5);
        outs.VarianceContribs(i, t * t);
    }
}

/// Probabilities of falling below the lower and above the upper limit, for a normal response. A response
/// that does not vary is certain to.
///
/// @raises  513, 515 after showing a limit's cell; 13 for a limit that is no number
void CalcPNCs(const c_sa_Input& ins, c_sa_Output& outs)
{
    constexpr const char* kName = "CalcPNCs";
    Procedure here{kModule, kName};
    traceEntry(ins.dbg, kName);

    here.at(1);
    const std::optional<double> lsl = alg_m_XLinterface::specificationLimit(ins.lsl, kName);
    const std::optional<double> usl = alg_m_XLinterface::specificationLimit(ins.usl, kName);
    const double m = outs.responseMean, s = outs.responseStDev;
    outs.PNC_lsl = outs.PNC_usl = 0.0;
    if (s == 0.0) {
        traceDetail(ins.dbg, kName, "responseStDev=0");
        if (lsl && *lsl > m) outs.PNC_lsl = 1.0;
        if (usl && *usl < m) outs.PNC_usl = 1.0;
    } else {
        here.at(2);
        const c_Statistics statistics;
        if (lsl) {
            const double z = (*lsl - m) / s;
            traceDetail(ins.dbg, kName, "z_LSL = " + toText(z));
            outs.PNC_lsl = statistics.normCDF(z);
        }
        if (usl) {
            const double z = (*usl - m) / s;
            traceDetail(ins.dbg, kName, "z_USL = " + toText(z));
            outs.PNC_usl = statistics.normCDF(z, true);
        }
    }
    here.at(3);
    outs.PNC_total = outs.PNC_lsl + outs.PNC_usl;
}

/// Whether the mean shift is large: as a whole beside the response value, or any input's part of it.
///
///   1. Not nonlinear.
///   2. |mean shift| above 10 % of |y|, or above 0.1 where y is 0.
///   3. Otherwise the first input with |its part| x mean shift / mean above 5 %; without the division where
///      the mean is 0.
void CheckNonlinearity(const c_sa_Input& ins, c_sa_Output& outs)
{
    constexpr const char* kName = "CheckNonlinearity";
    Procedure here{kModule, kName};
    traceEntry(ins.dbg, kName);

    here.at(1);
    outs.NonlinearResponse = false;
    outs.NonlinearTrigger.clear();
    here.at(2);
    const double y0 = toDouble(required(ins.y).Value());
    const double shift = y0 == 0.0 ? outs.meanShift : outs.meanShift / y0;
    if (std::fabs(shift) > kLargeMeanShift) {
        outs.NonlinearResponse = true;
        outs.NonlinearTrigger = "Mean shift is greater than 10% of the response equation value.";
        return;
    }
    here.at(3);
    for (Long i : oneTo(ins.CountX())) {
        double r = std::fabs(outs.MeanShiftContribs(i)) * outs.meanShift;
        if (outs.responseMean != 0.0) r = r / outs.responseMean;
        if (!(r > kLargeContribution)) continue;
        outs.NonlinearResponse = true;
        outs.NonlinearTrigger =
            "Mean shift from X" + std::to_string(i) + " is greater than 5% of the response equation value.";
        return;
    }
}

} // namespace

double c_sa_Analysis::EstimateStDev(double TolHalfWidth, double TolSigma, bool asPercentOfMean,
                                    bool uniformDist, double mean, const std::string& dbg) const
{
    constexpr const char* kName = "EstimateStDev";
    return entryPoint(kModule, kName, 0.0, [&](Procedure& here) {
        traceEntry(dbg, kName);
        here.at(1);
        const double h = asPercentOfMean ? TolHalfWidth * mean / 100.0 : TolHalfWidth;
        const double k = uniformDist ? std::sqrt(3.0) : TolSigma;
        return k == 0.0 ? 0.0 : std::fabs(h / k);
    });
}

/// First and second derivatives of y with respect to each input, by c_Derivatives::Deriv.
///
///   1. Size the results to the number of inputs, unless they have it.
///   2. For each input: its cell must hold a number; the first step is a fifth of it, 0.2 where it is 0.
///
/// Errors shown: those of CheckCell and Deriv, the description followed by the number of the input.
void c_sa_Analysis::CalcDerivatives(const Array1<Ref<host::Range>>& xMeans, const Ref<host::Range>& y,
                                    Array1<double>& Derivs1, Array1<double>& derivs2,
                                    const std::string& beforeMacro, const std::string& afterMacro,
                                    const std::string& dbg) const
{
    constexpr const char* kName = "CalcDerivatives";
    const c_Derivatives derivatives;
    const auto differentiate = [&](Long i) {
        host::Range& x = required(xMeans(i));
        alg_m_XLinterface::CheckCell(x, kName, false, false);
        double h = toDouble(x.Value()) / kStepDivisor;
        if (h == 0.0) h = kFallbackStep;
        traceDetail(dbg, kName, "h for x" + std::to_string(i) + " = " + toText(h));
        Derivs1(i) = derivatives.Deriv(1, x, required(y), beforeMacro, afterMacro, &h);
        derivs2(i) = derivatives.Deriv(2, x, required(y), beforeMacro, afterMacro, &h);
    };
    entryPoint(kModule, kName, false, [&](Procedure& here) {
        traceEntry(dbg, kName);
        here.at(1);
        const Long n = xMeans.size();
        if (Derivs1.size() != n) Derivs1.resize(n);
        if (derivs2.size() != n) derivs2.resize(n);
        here.at(2);
        for (Long i : oneTo(n)) {
            try {
                differentiate(i);
            } catch (...) {
                adoptForeignException();
                err().description += "\r\nCalcDerivatives: factor " + std::to_string(i);
                throw Raised{};
            }
        }
        return true;
    });
}

/// Predicts the response of `ins` from its inputs' standard deviations and derivatives into `outs`.
/// Errors shown: a response or limit cell without a number.
void c_sa_Analysis::SensitivityAnalysis(const c_sa_Input& ins, c_sa_Output& outs) const
{
    constexpr const char* kName = "SensitivityAnalysis";
    entryPoint(kModule, kName, false, [&](Procedure& here) {
        traceEntry(ins.dbg, kName);
        here.at(1);
        CalcResponse(ins, outs);
        here.at(2);
        CalcContribs(ins, outs);
        here.at(3);
        CalcPNCs(ins, outs);
        here.at(4);
        CheckNonlinearity(ins, outs);
        return true;
    });
}

} // namespace varnex3
