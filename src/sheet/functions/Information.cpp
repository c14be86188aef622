// sheet/functions/Information.cpp - what a value or a cell is.
//
// Reads only what the environment tells about cells; number formats and widths of cells are unknown here.
#include <cmath>
#include <string>
#include <string_view>

#include "sheet/format/Convert.h"
#include "sheet/formula/Parser.h"
#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

Value isBlank(Call& call) { return call.value(0).isEmpty(); }
Value isFailure(Call& call) { return call.value(0).isFailure(); }
Value isLogical(Call& call) { return call.value(0).isBoolean(); }
Value isNumber(Call& call) { return call.value(0).isNumber(); }
Value isText(Call& call) { return call.value(0).isText(); }
Value isNoText(Call& call) { return !call.value(0).isText(); }
Value isReference(Call& call) { return call.value(0).isReference(); }

Value isUnavailable(Call& call)
{
    const Value& v = call.value(0);
    return v.isFailure() && v.failure() == Failure::NA;
}

Value isOtherFailure(Call& call)
{
    const Value& v = call.value(0);
    return v.isFailure() && v.failure() != Failure::NA;
}

/// Parity of the whole part; Booleans have none.
template <bool odd>
Value hasParity(Call& call)
{
    if (call.value(0).isBoolean()) return Failure::Value;
    const Value x = toNumber(call.value(0), call.dates());
    if (x.isFailure()) return x;
    return (std::fmod(std::trunc(x.number()), 2.0) != 0.0) == odd;
}

/// The upper left cell of a reference argument, or nothing.
std::optional<CellAddress> firstCell(const Call& call, int i)
{
    if (i >= call.count() || !call.value(i).isReference()) return std::nullopt;
    const Area& area = call.value(i).areas().front();
    return CellAddress{area.sheet, area.row0, area.col0};
}

Value isFormula(Call& call)
{
    const auto cell = firstCell(call, 0);
    return cell ? Value(call.environment().hasFormula(*cell)) : Value(Failure::Value);
}

Value asNumber(Call& call)
{
    const Value& v = call.value(0);
    if (v.isNumber() || v.isFailure()) return v;
    return v.isBoolean() ? v.number() : 0.0;
}

Value notAvailable(Call&) { return Failure::NA; }

double typeCode(const Value& v)
{
    switch (v.kind()) {
    case Kind::Text: return 2;
    case Kind::Boolean: return 4;
    case Kind::Failure: return 16;
    case Kind::Array: return 64;
    case Kind::Function: return 128;
    default: return 1;
    }
}

Value typeOf(Call& call)
{
    const Value& v = call.value(0);
    if (!v.isReference()) return typeCode(v);
    return v.areas().front().isCell() ? typeCode(call.at(0, 0, 0)) : 64.0;
}

Value failureCode(Call& call)
{
    if (!call.value(0).isFailure()) return Failure::NA;
    switch (call.value(0).failure()) {
    case Failure::Null: return 1;
    case Failure::Div0: return 2;
    case Failure::Value: return 3;
    case Failure::Ref: return 4;
    case Failure::Name: return 5;
    case Failure::Num: return 6;
    case Failure::NA: return 7;
    case Failure::Spill: return 9;
    case Failure::Calc: return 14;
    case Failure::Circular: break;
    }
    return Failure::NA;
}

/// "folder/[book.xlsx]Sheet1"; empty for a book that was never saved.
std::string fileName(const Environment& environment, SheetIndex sheet)
{
    const std::string path = environment.bookPath();
    if (path.empty()) return {};
    const std::size_t slash = path.find_last_of("/\\");
    const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
    return path.substr(0, name) + "[" + path.substr(name) + "]" + environment.sheetName(sheet);
}

Value cellProperty(Call& call)
{
    if (call.count() > 1 && !call.value(1).isReference()) return Failure::Value;
    Environment& environment = call.environment();
    const CellAddress cell = firstCell(call, 1).value_or(call.here());
    const std::string_view property = call.text(0);
    if (equalTexts(property, "address")) return a1Text(cell, true);
    if (equalTexts(property, "col")) return cell.col + 1;
    if (equalTexts(property, "row")) return cell.row + 1;
    if (equalTexts(property, "filename")) return fileName(environment, cell.sheet);
    const Value content = environment.cell(cell);
    if (equalTexts(property, "contents")) return content.isEmpty() ? Value(0.0) : content;
    if (equalTexts(property, "type")) return content.isEmpty() ? "b" : content.isText() ? "l" : "v";
    // Properties of a cell's format: those of a cell that was never formatted.
    if (equalTexts(property, "format")) return "G";
    if (equalTexts(property, "protect")) return 1;
    if (equalTexts(property, "prefix")) return content.isText() ? "'" : "";
    if (equalTexts(property, "color") || equalTexts(property, "parentheses")) return 0;
    return Failure::Value;
}

Value sheetNumber(Call& call)
{
    if (call.count() == 0) return call.here().sheet + 1;
    const Value& v = call.value(0);
    if (v.isReference()) return v.areas().front().sheet + 1;
    if (v.isFailure()) return v;
    const Value name = toText(v);
    if (name.isFailure()) return name;
    const auto sheet = call.environment().findSheet(name.text());
    return sheet ? Value(*sheet + 1) : Value(Failure::NA);
}

Value sheetTotal(Call& call)
{
    if (call.count() == 0) return call.environment().sheetCount();
    if (!call.value(0).isReference()) return Failure::Value;
    const auto& areas = call.value(0).areas();
    int sheets = 0; // areas of a reference through several sheets follow one another
    for (std::size_t i = 0; i < areas.size(); ++i)
        if (i == 0 || areas[i].sheet != areas[i - 1].sheet) ++sheets;
    return sheets;
}

Value systemInformation(Call& call)
{
    const std::string_view topic = call.text(0);
    if (equalTexts(topic, "numfile")) return call.environment().sheetCount();
    if (equalTexts(topic, "recalc")) return "Automatic";
    if (equalTexts(topic, "origin")) return "$A:$A$1";
    if (equalTexts(topic, "directory")) {
        const std::string path = call.environment().bookPath();
        return path.substr(0, path.find_last_of("/\\") + 1);
    }
    return Failure::Value;
}

constexpr FunctionRow rows[] = {
    {"CELL",
     {text(), optional(reference())},
     Trait::Volatile,
     cellProperty,
     "a property of a cell: address, col, row, contents, type, filename",
     "=CELL(\"address\", B3)",
     "$B$3"},
    {"ERROR.TYPE",
     {any()},
     Trait::Pure,
     failureCode,
     "the number of an error value",
     "=ERROR.TYPE(1/0)",
     "2"},
    {"INFO",
     {text()},
     Trait::Volatile,
     systemInformation,
     "a fact about the running program",
     "=INFO(\"recalc\")",
     "Automatic"},
    {"ISBLANK", {any()}, Trait::Pure, isBlank, "whether a cell is empty", "=ISBLANK(A1)", "TRUE"},
    {"ISERR",
     {any()},
     Trait::Pure,
     isOtherFailure,
     "whether a value is an error but not #N/A",
     "=ISERR(NA())",
     "FALSE"},
    {"ISERROR", {any()}, Trait::Pure, isFailure, "whether a value is an error", "=ISERROR(1/0)", "TRUE"},
    {"ISEVEN",
     {scalar()},
     Trait::Pure,
     hasParity<false>,
     "whether the whole part is even",
     "=ISEVEN(2.9)",
     "TRUE"},
    {"ISFORMULA",
     {reference()},
     Trait::Pure,
     isFormula,
     "whether a cell holds a formula",
     "=ISFORMULA(A1)",
     "FALSE"},
    {"ISLOGICAL", {any()}, Trait::Pure, isLogical, "whether a value is a Boolean", "=ISLOGICAL(1=1)", "TRUE"},
    {"ISNA", {any()}, Trait::Pure, isUnavailable, "whether a value is #N/A", "=ISNA(NA())", "TRUE"},
    {"ISNONTEXT",
     {any()},
     Trait::Pure,
     isNoText,
     "whether a value is no text; empty cells are none",
     "=ISNONTEXT(A1)",
     "TRUE"},
    {"ISNUMBER", {any()}, Trait::Pure, isNumber, "whether a value is a number", "=ISNUMBER(\"1\")", "FALSE"},
    {"ISODD",
     {scalar()},
     Trait::Pure,
     hasParity<true>,
     "whether the whole part is odd",
     "=ISODD(-3.5)",
     "TRUE"},
    {"ISREF",
     {reference()},
     Trait::Pure,
     isReference,
     "whether the argument is a reference",
     "=ISREF(A1)",
     "TRUE"},
    {"ISTEXT", {any()}, Trait::Pure, isText, "whether a value is text", "=ISTEXT(\"1\")", "TRUE"},
    {"N", {any()}, Trait::Pure, asNumber, "a value as a number; texts are 0", "=N(TRUE)", "1"},
    {"NA", {}, Trait::Pure, notAvailable, "the error value #N/A", "=NA()", "#N/A"},
    {"SHEET", {optional(reference())}, Trait::Pure, sheetNumber, "the number of a sheet", "=SHEET()", "1"},
    {"SHEETS",
     {optional(reference())},
     Trait::Pure,
     sheetTotal,
     "how many sheets there are",
     "=SHEETS(A1)",
     "1"},
    {"TYPE",
     {function()},
     Trait::Pure,
     typeOf,
     "kind of a value: 1 number, 2 text, 4 Boolean, 16 error, 64 array, 128 function",
     "=TYPE(\"a\")",
     "2"},
};
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> informationFunctions() { return rows; }

} // namespace varnex3::sheet
