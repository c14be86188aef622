// sensitivity/c_sa_Output.h - what a sensitivity analysis predicts of a response.
#pragma once

#include <string>

#include "sensitivity/IndexedRows.h"

namespace varnex3 {

struct InputContribution {
    double variance = 0.0;  // share, 0..1
    double meanShift = 0.0; // part, response units
};

class c_sa_Output : public IndexedRows<InputContribution> {
public:
    double responseMean = 0.0; // response units
    double responseStDev = 0.0;
    double eqnVal = 0.0;    // y at the input means
    double meanShift = 0.0; // responseMean - eqnVal
    double PNC_lsl = 0.0;   // probability below the lower limit
    double PNC_usl = 0.0;   // above the upper limit
    double PNC_total = 0.0;
    bool NonlinearResponse = false; // the mean shift is judged large
    std::string NonlinearTrigger;   // the sentence that says why

    double VarianceContribs(Long i) const { return get(i, &InputContribution::variance); }
    void VarianceContribs(Long i, double value) { put(i, &InputContribution::variance, value); }
    double MeanShiftContribs(Long i) const { return get(i, &InputContribution::meanShift); }
    void MeanShiftContribs(Long i, double value) { put(i, &InputContribution::meanShift, value); }
};

} // namespace varnex3
