// formulation/c_Options.cpp - validation of the run settings.
#include "formulation/c_Options.h"

#include "formulation/Checks.h"
#include "runtime/Number.h"

namespace varnex3 {
namespace {

constexpr Long kMinGens = 1;
constexpr double kMinPrecision = 1e-6;
constexpr double kMaxPrecision = 0.1;

/// The number of trials must be a whole number of at least kMinTrials; one beyond 32 bits raises 6.
bool trialsPass(Checks& checks, const Variant& trials)
{
    if (!checks.expect(isNumeric(trials), "Non-numeric value for number of Monte Carlo trials")) return false;
    const Long whole = toLong(trials);
    return checks.expect(whole == toDouble(trials), "Non-integer value for number of Monte Carlo trials") &&
           checks.expect(whole >= kMinTrials,
                         "Value for number of Monte Carlo trials is below the minimum of " +
                             std::to_string(kMinTrials));
}

} // namespace

bool c_Options::OptionsOK(std::string& problemCause)
{
    return passes(problemCause, [this](Checks& checks) {
        return checks.oneOf(StopRule, {stopRules::FixedNumber, stopRules::NoChange},
                            "Stopping rule is not recognized") &&
               checks.expect(MaxGens >= kMinGens, "Value for maximum generations is below the minimum of " +
                                                      std::to_string(kMinGens)) &&
               checks.expect(GenSize >= kMinGenSize, "Value for generation size is below the minimum of " +
                                                         std::to_string(kMinGenSize)) &&
               checks.expect(Precision >= kMinPrecision && Precision <= kMaxPrecision,
                             "Value for precision falls outside boundaries of " + toText(kMinPrecision) +
                                 " to " + toText(kMaxPrecision)) &&
               trialsPass(checks, OptTrials) &&
               checks.oneOf(Derivs, {"Quick", "Accurate"},
                            "Derivative calculation method is not recognized") &&
               checks.oneOf(Stats,
                            {statsMethods::None, statsMethods::FirstOrder, statsMethods::SecondOrder,
                             statsMethods::MonteCarlo},
                            "Statistical calculation method is not recognized") &&
               checks.oneOf(StoreYs, {"Yes", "No"}, "Y storage option is not recognized");
    });
}

} // namespace varnex3
