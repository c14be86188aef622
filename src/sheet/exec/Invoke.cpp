// sheet/exec/Invoke.cpp - conversion of arguments, broadcasting, the call.
#include "sheet/exec/Invoke.h"

#include <algorithm>

#include "sheet/exec/Operators.h"
#include "sheet/format/Convert.h"

namespace varnex3::sheet {
namespace {

bool takesOneValue(Take take) { return take <= Take::Any; }

/// False when the argument turned into the failure that is the result.
bool convert(Value& v, Take take, DateSystem dates)
{
    if (v.isFunction() && take != Take::Function) {
        v = Failure::Value;
        return false;
    }
    switch (take) {
    case Take::Number:
        if (!v.isNumber()) v = toNumber(v, dates);
        return !v.isFailure();
    case Take::Boolean:
        if (!v.isBoolean()) v = toBoolean(v);
        return !v.isFailure();
    case Take::Text:
        if (!v.isText()) v = toText(v);
        return !v.isFailure();
    case Take::Scalar: return !v.isFailure();
    case Take::Reference: return !v.isFailure(); // ISREF and ROWS also take what is no reference
    default: return true;
    }
}

Value callBody(const CallSite& site, std::span<Value> arguments, Environment& environment,
               const CellAddress& here)
{
    const FunctionRow& row = *site.row;
    const DateSystem dates = environment.dateSystem();
    for (std::size_t i = 0; i < arguments.size(); ++i)
        if (!convert(arguments[i], row.parameters.of(static_cast<int>(i)).take, dates)) return arguments[i];
    Call call(environment, here, row, arguments, site.missing);
    return row.body.call(call);
}

Value broadcast(const CallSite& site, std::span<Value> arguments, Environment& environment,
                const CellAddress& here)
{
    const ParameterList& parameters = site.row->parameters;
    std::int32_t rows = 1, cols = 1;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (!takesOneValue(parameters.of(static_cast<int>(i)).take)) continue;
        rows = std::max(rows, rowsOf(arguments[i]));
        cols = std::max(cols, colsOf(arguments[i]));
    }
    std::vector<Value> items, element(arguments.size());
    items.reserve(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
    for (std::int32_t r = 0; r < rows; ++r) {
        for (std::int32_t c = 0; c < cols; ++c) {
            for (std::size_t i = 0; i < arguments.size(); ++i)
                element[i] = takesOneValue(parameters.of(static_cast<int>(i)).take)
                                 ? spreadElement(arguments[i], r, c)
                                 : arguments[i];
            Value result = callBody(site, element, environment, here);
            if (result.isReference()) result = dereference(result, environment);
            items.push_back(result.isArray() ? Value(result.at(0, 0)) : std::move(result));
        }
    }
    return Value::array(rows, cols, std::move(items));
}

Area clipped(Area area, Environment& environment)
{
    if (area.row1 < kMaxRows - 1 && area.col1 < kMaxColumns - 1) return area;
    // One limit for all sheets, so that whole columns of different sheets still fit one another.
    std::int32_t lastRow = area.row0, lastCol = area.col0;
    for (SheetIndex s = 0; s < environment.sheetCount(); ++s) {
        const Area used = environment.used(s);
        lastRow = std::max(lastRow, used.row1);
        lastCol = std::max(lastCol, used.col1);
    }
    if (area.row1 == kMaxRows - 1) area.row1 = lastRow;
    if (area.col1 == kMaxColumns - 1) area.col1 = lastCol;
    return area;
}

} // namespace

Value invoke(const CallSite& site, std::span<Value> arguments, Environment& environment,
             const CellAddress& here)
{
    for (std::size_t i = 0; i < arguments.size(); ++i)
        if (arguments[i].isArray() && takesOneValue(site.row->parameters.of(static_cast<int>(i)).take))
            return broadcast(site, arguments, environment, here);
    return callBody(site, arguments, environment, here);
}

Value dereference(const Value& reference, Environment& environment)
{
    if (reference.areas().size() != 1) return Failure::Value;
    const Area area = clipped(reference.areas().front(), environment);
    if (area.isCell()) return environment.cell({area.sheet, area.row0, area.col0});
    constexpr std::size_t kMostElements = std::size_t{1} << 24;
    const auto width = static_cast<std::size_t>(area.cols());
    const std::size_t count = static_cast<std::size_t>(area.rows()) * width;
    if (count > kMostElements) return Failure::Num;
    std::vector<Value> items(count);
    environment.visit(area, [&](std::int32_t row, std::int32_t col, const Value* first, std::int32_t n) {
        for (std::int32_t k = 0; k < n; ++k)
            items[static_cast<std::size_t>(row + k - area.row0) * width +
                  static_cast<std::size_t>(col - area.col0)] = first[k];
        return true;
    });
    return Value::array(area.rows(), area.cols(), std::move(items));
}

} // namespace varnex3::sheet
