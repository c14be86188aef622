// formulation/c_Constraint.cpp - validation of a constraint.
#include "formulation/c_Constraint.h"

#include "formulation/Checks.h"

namespace varnex3 {
namespace {

constexpr OperandMessages kReqt{.manyCells = "More than one cell selected for requirement",
                                .badCell = "Non-numeric requirement cell value",
                                .badValue = "Non-numeric requirement value"};

} // namespace

c_Constraint::~c_Constraint() { Clear(); }

bool c_Constraint::ConstraintOK(std::string& problemCause)
{
    return passes(problemCause, [this](Checks& checks) {
        return checks.labelled(id, DefName, Name) && checks.statistic(y, Aspect, Oper) &&
               checks.operand(Reqt, kReqt);
    });
}

void c_Constraint::Clear() { y.reset(); }

} // namespace varnex3
