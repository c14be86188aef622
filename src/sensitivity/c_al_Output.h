// sensitivity/c_al_Output.h - the standard deviations that an allocation gives to the inputs.
#pragma once

#include "runtime/Object.h"
#include "runtime/Variant.h"
#include "sensitivity/IndexedRows.h"

namespace varnex3 {

class c_al_Output : public Object {
public:
    // Per input i = 1..CountX; how gets and puts beyond behave: IndexedRows.h.
    double xStDevs(Long i) const { return inputs_.get(i, &Input::stdev); } // workbook units
    void xStDevs(Long i, double stdev) { inputs_.put(i, &Input::stdev, stdev); }

    Variant resizeArrays(Long size)
    {
        inputs_.resize(size);
        return {};
    }
    Long CountX() const { return inputs_.count(); }

private:
    struct Input {
        double stdev = 0.0;
    };
    IndexedRows<Input> inputs_;
};

} // namespace varnex3
