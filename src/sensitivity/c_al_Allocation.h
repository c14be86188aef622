// sensitivity/c_al_Allocation.h - the sensitivity analysis backwards: from a wish for the response to its
// inputs.
//
// Holds no state. Each method is an entry point: an error is shown once in the error window. A request that
// makes no sense is refused with a message box.
#pragma once

#include <string>

#include "sensitivity/c_al_Input.h"
#include "sensitivity/c_al_Output.h"

namespace varnex3 {

class c_al_Allocation : public Object {
public:
    void Allocate(const c_al_Input& ins, c_al_Output& outs) const;

    double EstimRespStDev(double respMean, double desiredPNC, const std::string& lsl, const std::string& usl,
                          const std::string& dbg = {}) const;
};

} // namespace varnex3
