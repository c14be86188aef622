// stats/c_Distribution.h - one component of a parameter's distribution: a family, its parameters, its limits.
//
// The families' formulas are in stats/distributions/; choosing among the components of a mixture is
// c_Parameter's. Give the properties, call ParamsOK, then ask for values: the parameters are read when
// ParamsOK runs, or at the first question after a property changed.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "formulation/DistributionComponent.h"
#include "runtime/Array.h"
#include "stats/distributions/Family.h"

namespace varnex3 {

class c_Parameter;

class c_Distribution : public DistributionComponent {
public:
    c_Distribution();

    const std::string& DistType() const override { return distType_; }
    void DistType(const std::string& family) override;

    // Family parameters: numbers or one-cell ranges. "Discrete" takes its values and weights, "Empirical"
    // its data, as arrays or ranges of cells. Empty ones take the family's standard value where it has one.
    const Variant& param1() const { return params_[0]; }
    const Variant& param2() const { return params_[1]; }
    const Variant& param3() const { return params_[2]; }
    const Variant& param4() const { return params_[3]; }
    void param1(const Variant& value) override { setParam(0, value); }
    void param2(const Variant& value) override { setParam(1, value); }
    void param3(const Variant& value) { setParam(2, value); }
    void param4(const Variant& value) { setParam(3, value); }

    // Truncation limits, cut off on that side when they lie inside the support. Empty: none.
    Variant LTL() const override { return ltl_; }
    void LTL(const Variant& value) override;
    Variant UTL() const override { return utl_; }
    void UTL(const Variant& value) override;
    double NegInfinity() const override { return -1e307; }
    double PosInfinity() const override { return 1e307; }

    /// Closed-form moments of the family, without truncation. Raise 5 with the reason for bad parameters.
    double mean() override;
    double stdev() override;

    /// Reads the parameters and checks them; the first reason, which names the parameter, goes to
    /// `errorString`, which is otherwise left alone.
    bool ParamsOK(std::string& errorString) override;

    /// The quantile at p of the (truncated) distribution, accurate to 1e-9 relative for p in
    /// [1e-12, 1 - 1e-12]. Never infinite: at p = 0 and p = 1 the end of the support, or where that is
    /// infinite the quantile half a step of the random stream inside.
    /// @raises 5 for bad parameters and for p outside [0, 1]
    double RandVal(double p) override;

    /// The probability at or below x.
    double cdf(double x);

    double pdf(double x, bool flag, std::optional<double> previousX) override;
    double xMin(double k) override; // mean - k standard deviations, inside support and limits
    double xMax(double k) override;

    void resizeArrays(Long n) override;
    double GraphX(Long j) const override { return graphX_(j); }
    void GraphX(Long j, double x) override { graphX_(j) = x; }
    double GraphOL(Long j) const override { return graphOL_(j); }
    void GraphOL(Long j, double density) override { graphOL_(j) = density; }
    double CalcMean() override;
    double CalcStdev(double& mean) override;

private:
    void setParam(std::size_t i, const Variant& value);
    std::string read(FamilyValues& values, double& lower, double& upper) const;
    std::string prepare(FamilyValues values, double lower, double upper);
    void require();
    Probability share(double x) const; // probability of the family on either side, before truncation
    Probability truncated(const Probability& p) const;
    Support graphEnds(double k);

    std::string distType_;
    std::array<Variant, 4> params_;
    Variant ltl_, utl_;
    Array1<double> graphX_, graphOL_;

    // What the properties came to at the last reading.
    bool ready_ = false;
    FamilyValues given_; // as read, to see whether anything changed
    double lower_ = 0.0, upper_ = 0.0;
    const Family* family_ = nullptr; // Discrete when the component is a single point
    FamilyValues values_;
    Support ends_; // of the support, cut by the limits
    Moments moments_;
    bool cut_ = false;              // a limit removes probability
    Probability atLower_, atUpper_; // of the family, outside the limits on each side
};

/// Whether either truncation limit is other than the value that stands for none.
bool isTruncated(const DistributionComponent& component);

/// Gives a "Noise" or "Constant" parameter whose `dist` is empty its single component: from DistType,
/// DistParam1 to DistParam3, LTL and UTL ("Constant": a point). A filled `dist` is left alone.
void fillDistribution(c_Parameter& parameter);

/// Mean and standard deviation of a parameter's mixture from its components' closed forms; nothing when a
/// component is truncated or its parameters are not valid.
std::optional<Moments> closedFormMoments(c_Parameter& parameter);

} // namespace varnex3
