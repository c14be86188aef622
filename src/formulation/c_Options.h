// formulation/c_Options.h - the settings of an optimization run. A new object is empty and fails OptionsOK.
#pragma once

#include <string>

#include "runtime/Object.h"
#include "runtime/Variant.h"

namespace varnex3 {

namespace stopRules {
inline constexpr const char* FixedNumber = "Stop after fixed #";
inline constexpr const char* NoChange = "Stop after no change";
} // namespace stopRules

namespace statsMethods {
inline constexpr const char* None = "No Statistics";
inline constexpr const char* FirstOrder = "1st Order Sensitivity Analysis";
inline constexpr const char* SecondOrder = "2nd Order Sensitivity Analysis";
inline constexpr const char* MonteCarlo = "Monte Carlo Analysis";
} // namespace statsMethods

inline constexpr Long kMinGenSize = 20;
inline constexpr Long kMinTrials = 50;

class c_Options : public Object {
public:
    std::string StopRule;   // one of stopRules
    Long MaxGens = 0;       // generations, or generations without improvement
    Long GenSize = 0;       // members per generation, 20 or more
    double Precision = 0.0; // resolution of continuous parameters as a fraction of their search range
    std::string Derivs;     // "Quick" or "Accurate"
    std::string Stats;      // one of statsMethods
    std::string StoreYs;    // "Yes" or "No"
    std::string OptTrials;  // a whole number as text, 50 or more
    std::string beforeMacro;
    std::string afterMacro;
    std::string dbg; // a procedure name, or empty

    bool OptionsOK(std::string& problemCause);
};

} // namespace varnex3
