// formulation/c_Goal.cpp - validation of a goal.
#include "formulation/c_Goal.h"

#include "formulation/Checks.h"

namespace varnex3 {
namespace {

constexpr OperandMessages kTarget{.manyCells = "More than one cell selected for target",
                                  .badCell = "Non-numeric target cell value",
                                  .badValue = "Non-numeric target value"};
// A negative weight in a cell is found when the goal is scored.
constexpr OperandMessages kWeight{.manyCells = "More than one cell selected for weight",
                                  .badCell = "Non-numeric weight cell value",
                                  .badValue = "Non-numeric weight value",
                                  .negativeValue = "Negative weight value"};

} // namespace

c_Goal::~c_Goal() { Clear(); }

bool c_Goal::goalOK(std::string& problemCause)
{
    return passes(problemCause, [this](Checks& checks) {
        return checks.labelled(id, DefName, Name) && checks.statistic(y, Aspect, Oper) &&
               checks.expect(Priority >= 1, "Nonsensical priority level") &&
               checks.expect(Priority <= kMaxPriority,
                             "Priority level exceeds maximum allowed of " + std::to_string(kMaxPriority)) &&
               checks.operand(Target, kTarget) && checks.operand(Weight, kWeight);
    });
}

void c_Goal::Clear() { y.reset(); }

} // namespace varnex3
