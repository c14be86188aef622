// formulation/DistributionComponent.h - what a parameter needs of a component of its distribution.
//
// The families themselves are c_Distribution's (stats/); a parameter combines components, chooses among
// them and drives them through this interface.
#pragma once

#include <optional>
#include <string>

#include "runtime/Object.h"
#include "runtime/Variant.h"

namespace varnex3 {

class DistributionComponent : public Object {
public:
    double ScaleFactor = 1.0;  // weight of the component in a mixture
    double mixtureTotal = 0.0; // sum of the mixture's ScaleFactors; 0 while the component stands alone
    bool Dynamic = false;      // its parameters come from cells: check them before every draw

    virtual const std::string& DistType() const = 0; // family: "Normal", "Uniform", "Johnson", ...
    virtual void DistType(const std::string& family) = 0;
    virtual void
    param1(const Variant& value) = 0; // a number, a range, or an array where the family takes data
    virtual void param2(const Variant& value) = 0;
    virtual Variant LTL() const = 0; // truncation limits: a number or a one-cell range
    virtual void LTL(const Variant& value) = 0;
    virtual Variant UTL() const = 0;
    virtual void UTL(const Variant& value) = 0;
    virtual double NegInfinity() const = 0; // the value that stands for no lower limit
    virtual double PosInfinity() const = 0; // the value that stands for no upper limit
    virtual double mean() = 0;
    virtual double stdev() = 0;
    virtual bool ParamsOK(std::string& errorString) = 0;
    virtual double RandVal(double p) = 0; // the quantile at p in [0, 1], finite at both ends
    /// Density at x times the component's share of the mixture. `previousX` is the preceding grid point,
    /// nothing at the first one.
    virtual double pdf(double x, bool flag, std::optional<double> previousX) = 0;
    virtual double xMin(double k) = 0; // ends of the range that covers the component, for the width k
    virtual double xMax(double k) = 0;

    // The graph of the mixture, kept by its first component: 1..n grid points.
    virtual void resizeArrays(Long n) = 0;
    virtual double GraphX(Long j) const = 0;
    virtual void GraphX(Long j, double x) = 0;
    virtual double GraphOL(Long j) const = 0;
    virtual void GraphOL(Long j, double density) = 0;
    virtual double CalcMean() = 0;              // mean of the density in the graph
    virtual double CalcStdev(double& mean) = 0; // its standard deviation about `mean`
};

} // namespace varnex3
