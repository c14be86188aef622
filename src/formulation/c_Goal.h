// formulation/c_Goal.h - an objective on one statistic of one response, with priority and weight.
#pragma once

#include <string>

#include "host/interface/Host.h"
#include "runtime/Variant.h"

namespace varnex3 {

inline constexpr Long kMaxPriority = 3;

class c_Goal : public Object {
public:
    ~c_Goal() override;

    std::string id; // key in the formulation's Gs
    std::string DefName;
    std::string Name;
    Ref<host::Range> y; // the Formula cell of one of the formulation's responses
    std::string Aspect; // "Mean", "StDev" or "pnc"
    std::string Oper;   // "<=", ">=" or "="
    Variant Target;     // number or one-cell range
    Long Priority = 0;  // 1 (highest) to 3
    Variant Weight;     // within its priority level, not negative: number or one-cell range

    bool goalOK(std::string& problemCause);
    void Clear();
};

} // namespace varnex3
