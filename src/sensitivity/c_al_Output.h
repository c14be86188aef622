// sensitivity/c_al_Output.h - the standard deviations that an allocation gives to the inputs.
#pragma once

#include "sensitivity/IndexedRows.h"

namespace varnex3 {

struct AllocatedInput {
    double stdev = 0.0; // workbook units
};

class c_al_Output : public IndexedRows<AllocatedInput> {
public:
    double xStDevs(Long i) const { return get(i, &AllocatedInput::stdev); }
    void xStDevs(Long i, double stdev) { put(i, &AllocatedInput::stdev, stdev); }
};

} // namespace varnex3
