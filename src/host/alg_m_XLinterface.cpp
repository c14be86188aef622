// host/alg_m_XLinterface.cpp - cells and host state: recalculation, probes, and the check of a numeric cell.
//
// None of these procedures leaves a trail line. The reports to the workbook are in optimizer/.
#include "host/alg_m_XLinterface.h"

#include <memory>

namespace varnex3::alg_m_XLinterface {
namespace {

/// The range that v refers to, without counting a reference.
host::Range* rangeIn(const Variant& v)
{
    const ObjectRef* held = std::get_if<ObjectRef>(&v.held());
    return held ? dynamic_cast<host::Range*>(held->get()) : nullptr;
}

/// Whether the value has no text: an error value, or the array of a range of several cells.
bool hasNoText(const Variant& value)
{
    return std::visit(overloaded{
                          [](Empty) { return false; },
                          [](double) { return false; },
                          [](bool) { return false; },
                          [](const std::string&) { return false; },
                          [](const auto&) { return true; },
                      },
                      value.held());
}

/// The cell's value; an error value when the host refuses to give it.
Variant valueOrError(host::Range& cell)
{
    Variant value;
    if (!attempt([&] { value = cell.Value(); })) value = ErrorValue{};
    return value;
}

[[noreturn]] void reject(host::Range& cell, Long number, const char* procedureName, const char* description)
{
    ShowCell(cell);
    raise(number, procedureName, description);
}

template <class Read>
std::string textOrUnknown(Read&& read)
{
    std::string text;
    const bool known = attempt([&] { text = read(required(hostState().application)); });
    return known ? text : "Unknown";
}

} // namespace

HostState& hostState()
{
    static HostState state;
    return state;
}

/// One recalculation of the workbook, around the before and after macros.
///
///   1. Run the before macro, when it has a name.
///   2. Calculate, whatever became of the macro.
///   3. Run the after macro, when it has a name.
///
/// @return  whether all of it succeeded; the reason of a failure is dropped
bool Recalc(host::Application& application)
{
    const HostState& state = hostState();
    bool ok = true;
    if (!state.beforeMacro.empty()) ok = attempt([&] { application.Run(state.beforeMacro); });
    ok = attempt([&] { application.Calculate(); }) && ok;
    if (!state.afterMacro.empty()) ok = attempt([&] { application.Run(state.afterMacro); }) && ok;
    return ok;
}

/// Whether two ranges are the same cells: equal address, on sheets and in workbooks of the same name.
bool SameRange(host::Range& a, host::Range& b)
{
    if (a.Address() != b.Address()) return false;
    const Ref<host::Worksheet> sheetOfA = a.Worksheet(), sheetOfB = b.Worksheet();
    return sheetOfA->Name() == sheetOfB->Name() && sheetOfA->Parent()->Name() == sheetOfB->Parent()->Name();
}

/// Whether v refers to a range that the host still answers for.
bool IsRange(const Variant& v)
{
    host::Range* range = rangeIn(v);
    return range && attempt([&] {
               if (!range->Application()) raise(errors::TypeMismatch);
               range->Address();
               range->Value();
           });
}

bool IsErrorCell(host::Range& cell) { return hasNoText(valueOrError(cell)); }

/// Brings the cell before the user: workbook, sheet, selection.
void ShowCell(host::Range& cell)
{
    const Ref<host::Worksheet> sheet = cell.Worksheet();
    sheet->Parent()->Activate();
    sheet->Activate();
    cell.Select();
}

bool CellHasFormula(host::Range& cell) { return cell.HasFormula(); }

/// Accepts a cell that holds a number, and shows and rejects any other. A number costs one read of the
/// cell and no allocation.
///
/// @param procedureName  becomes the error's source; "CheckCell" when empty
/// @param allowEmpty     an empty cell passes; without it an empty cell is not numeric
/// @param noNegative     numbers below 0 are rejected
/// @raises               513, 515, 517
void CheckCell(host::Range& cell, const char* procedureName, bool allowEmpty, bool noNegative)
{
    const char* source = procedureName && *procedureName ? procedureName : "CheckCell";
    const Variant value = valueOrError(cell);
    if (hasNoText(value)) reject(cell, errors::CellError, source, "Error in cell value");
    if (isEmptyText(value)) {
        if (allowEmpty) return;
        reject(cell, errors::NonNumericCell, source, "Non-numeric cell value");
    }
    if (!isNumeric(value)) reject(cell, errors::NonNumericCell, source, "Non-numeric cell value");
    if (noNegative && toDouble(value) < 0.0)
        reject(cell, errors::NegativeCell, source, "Negative cell value");
}

void CheckCell(host::Range& cell, std::string& procedureName, bool allowEmpty, bool noNegative)
{
    if (procedureName.empty()) procedureName = "CheckCell";
    CheckCell(cell, procedureName.c_str(), allowEmpty, noNegative);
}

bool WorkbookOpen(host::Application& application, const std::string& workbookName)
{
    return attempt([&] { application.Workbooks()->Item(workbookName)->Name(); });
}

bool NoActiveWorkbook(host::Application& application)
{
    return !attempt([&] { application.ActiveWorkbook()->Name(); });
}

/// Whether the workbook has a sheet of that name. An empty workbook name stands for the active workbook,
/// a new one when there is none, and receives its name.
bool SheetExists(host::Application& application, const std::string& sheetName, std::string& workbookName)
{
    return attempt([&] {
        if (workbookName.empty()) {
            if (NoActiveWorkbook(application)) application.Workbooks()->Add();
            workbookName = application.ActiveWorkbook()->Name();
        }
        application.Workbooks()->Item(workbookName)->Worksheets(sheetName)->Name();
    });
}

std::string XLVersion()
{
    return textOrUnknown([](host::Application& application) { return application.Version(); });
}

std::string OSVersion()
{
    return textOrUnknown([](host::Application& application) { return application.OperatingSystem(); });
}

Ref<host::Range> rangeOf(const Variant& v) { return std::dynamic_pointer_cast<host::Range>(v.object()); }

Variant valueOf(const Variant& property)
{
    host::Range* range = rangeIn(property);
    return range ? range->Value() : property;
}

std::optional<double> specificationLimit(const Variant& limit, const char* procedureName)
{
    Variant value = limit;
    if (IsRange(limit)) {
        host::Range& cell = *rangeIn(limit);
        CheckCell(cell, procedureName, true, false);
        value = cell.Value();
    }
    if (isEmptyText(value)) return std::nullopt;
    return toDouble(value);
}

} // namespace varnex3::alg_m_XLinterface
