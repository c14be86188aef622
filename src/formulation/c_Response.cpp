// formulation/c_Response.cpp - validation of a response.
#include "formulation/c_Response.h"

#include "formulation/Checks.h"
#include "host/alg_m_XLinterface.h"

namespace varnex3 {
namespace {

constexpr OperandMessages kLsl{.manyCells = "More than one cell selected for LSL",
                               .badCell = "LSL cell value is neither a number nor empty",
                               .badValue = "LSL value is neither a number nor empty",
                               .emptyTextPasses = true};
constexpr OperandMessages kUsl{.manyCells = "More than one cell selected for USL",
                               .badCell = "USL cell value is neither a number nor empty",
                               .badValue = "USL value is neither a number nor empty",
                               .emptyTextPasses = true};

/// Whether both limits are given and the upper one lies below the lower one.
bool crossed(const Variant& lsl, const Variant& usl)
{
    const Variant lower = alg_m_XLinterface::valueOf(lsl), upper = alg_m_XLinterface::valueOf(usl);
    return !isEmptyText(lower) && !isEmptyText(upper) && toDouble(upper) < toDouble(lower);
}

} // namespace

c_Response::~c_Response() { Clear(); }

bool c_Response::YisOK(std::string& problemCause)
{
    return passes(problemCause, [this](Checks& checks) {
        return checks.labelled(id, DefName, Name) &&
               checks.numericCell(Formula, "Formula is not an Excel range",
                                  "More than one cell selected for Formula",
                                  "Non-numeric value for Formula") &&
               checks.operand(lsl, kLsl) && checks.operand(usl, kUsl) &&
               checks.expect(!crossed(lsl, usl), "LSL greater than USL");
    });
}

void c_Response::Clear() { Formula.reset(); }

} // namespace varnex3
