// sensitivity/c_sa_Analysis.h - tolerances through a worksheet model by the method of moments.
//
// Holds no state. Each method is an entry point: an error is shown once in the error window, and the method
// returns 0 or leaves its results as far as they had come.
#pragma once

#include <string>

#include "runtime/Array.h"
#include "sensitivity/c_sa_Input.h"
#include "sensitivity/c_sa_Output.h"

namespace varnex3 {

class c_sa_Analysis : public Object {
public:
    /// The standard deviation behind a tolerance: half width / sigma, or / sqrt(3) for a uniform one.
    /// @param asPercentOfMean  TolHalfWidth is in percent of `mean`, otherwise in workbook units
    /// @return                 0 or more; 0 for a sigma of 0
    double EstimateStDev(double TolHalfWidth, double TolSigma, bool asPercentOfMean, bool uniformDist,
                         double mean = 0.0, const std::string& dbg = {}) const;

    void CalcDerivatives(const Array1<Ref<host::Range>>& xMeans, const Ref<host::Range>& y,
                         Array1<double>& Derivs1, Array1<double>& derivs2, const std::string& beforeMacro,
                         const std::string& afterMacro, const std::string& dbg = {}) const;

    void SensitivityAnalysis(const c_sa_Input& ins, c_sa_Output& outs) const;
};

} // namespace varnex3
