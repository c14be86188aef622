// formulation/c_Constraint.h - a requirement on one statistic of one response.
#pragma once

#include <string>

#include "host/interface/Host.h"
#include "runtime/Variant.h"

namespace varnex3 {

class c_Constraint : public Object {
public:
    ~c_Constraint() override;

    std::string id; // key in the formulation's Cs
    std::string DefName;
    std::string Name;
    Ref<host::Range> y; // the Formula cell of one of the formulation's responses
    std::string Aspect; // "Mean", "StDev" or "pnc"
    std::string Oper;   // "<=", ">=" or "="
    Variant Reqt;       // required value: number or one-cell range

    bool ConstraintOK(std::string& problemCause);
    void Clear();
};

} // namespace varnex3
