// formulation/Checks.cpp - the shared checks of the validations.
#include "formulation/Checks.h"

#include <algorithm>

#include "host/alg_m_XLinterface.h"

namespace varnex3 {

bool Checks::oneOf(const std::string& text, std::initializer_list<const char*> allowed, const char* message)
{
    return expect(std::any_of(allowed.begin(), allowed.end(), [&](const char* a) { return text == a; }),
                  message);
}

bool Checks::labelled(const std::string& id, const std::string& defName, const std::string& name)
{
    return expect(!id.empty(), "ID is missing") && expect(!defName.empty(), "DefName is missing") &&
           expect(!name.empty(), "Name is missing");
}

bool Checks::numericCell(const Ref<host::Range>& cell, const char* noRange, const char* manyCells,
                         const char* notNumeric)
{
    return expect(alg_m_XLinterface::IsRange(cell), noRange) && expect(cell->Count() < 2, manyCells) &&
           expect(isNumeric(cell->Value()), notNumeric);
}

bool Checks::statistic(const Ref<host::Range>& y, const std::string& aspect, const std::string& oper)
{
    return numericCell(y, "Source is not an Excel range", "More than one cell selected for source",
                       "Non-numeric value for formula") &&
           oneOf(aspect, {"StDev", "Mean", "pnc"}, "Aspect is not recognized") &&
           oneOf(oper, {"<=", ">=", "="}, "Operator is not recognized");
}

bool Checks::operand(const Variant& property, const OperandMessages& messages)
{
    const bool isCell = alg_m_XLinterface::IsRange(property);
    if (isCell && !expect(alg_m_XLinterface::rangeOf(property)->Count() < 2, messages.manyCells))
        return false;

    const Variant value = isCell ? alg_m_XLinterface::valueOf(property) : property;
    if (messages.emptyTextPasses && isEmptyText(value)) return true;
    if (!expect(isNumeric(value), isCell ? messages.badCell : messages.badValue)) return false;
    const char* negative = isCell ? messages.negativeCell : messages.negativeValue;
    return !negative || expect(!(toDouble(value) < 0.0), negative);
}

} // namespace varnex3
