// formulation/c_Response.h - one output ("Y"): a formula cell with optional specification limits.
#pragma once

#include <string>

#include "host/interface/Host.h"
#include "runtime/Variant.h"

namespace varnex3 {

class c_Response : public Object {
public:
    ~c_Response() override;

    std::string id; // key in the formulation's Ys
    std::string DefName;
    std::string Name;
    Ref<host::Range> Formula;
    Variant lsl; // lower specification limit: number, empty (none), or one-cell range
    Variant usl; // upper specification limit

    bool YisOK(std::string& problemCause);
    void Clear();
};

} // namespace varnex3
