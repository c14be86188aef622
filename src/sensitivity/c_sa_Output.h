// sensitivity/c_sa_Output.h - what a sensitivity analysis predicts of a response.
#pragma once

#include <string>

#include "runtime/Object.h"
#include "runtime/Variant.h"
#include "sensitivity/IndexedRows.h"

namespace varnex3 {

class c_sa_Output : public Object {
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

    // Per input i = 1..CountX; how gets and puts beyond behave: IndexedRows.h.
    double VarianceContribs(Long i) const { return inputs_.get(i, &Input::variance); } // share, 0..1
    void VarianceContribs(Long i, double value) { inputs_.put(i, &Input::variance, value); }
    double MeanShiftContribs(Long i) const { return inputs_.get(i, &Input::meanShift); } // response units
    void MeanShiftContribs(Long i, double value) { inputs_.put(i, &Input::meanShift, value); }

    Variant resizeArrays(Long size)
    {
        inputs_.resize(size);
        return {};
    }
    Long CountX() const { return inputs_.count(); }

private:
    struct Input {
        double variance = 0.0;
        double meanShift = 0.0;
    };
    IndexedRows<Input> inputs_;
};

} // namespace varnex3
