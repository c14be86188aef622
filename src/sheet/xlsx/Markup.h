// sheet/xlsx/Markup.h - values and formulas as a workbook file writes them.
#pragma once

#include <string>
#include <string_view>

#include "sheet/value/Value.h"
#include "sheet/xlsx/Singles.h"

namespace varnex3::sheet::xlsx {

/// Appends text for an element or an attribute: markup characters and quotes escaped, characters that XML
/// cannot hold as _xHHHH_, bytes that are no UTF-8 as U+FFFD.
void appendEscaped(std::string& out, std::string_view text);

/// Appends the name of a column as table parts have it: line feeds and tabs as _xHHHH_, too, because heading
/// cells are compared with it.
void appendColumnName(std::string& out, std::string_view name);

/// Appends the shortest digits that read back as the same double.
void appendNumber(std::string& out, double x);

/// "B3".
void appendCellName(std::string& out, std::int32_t row, std::int32_t col);

/// A formula as files write it: without "=", functions newer than the format and bound names with their
/// prefixes, no @ and #. A text that is no formula is given back as it is.
std::string fileFormula(std::string_view formula, const FormulaPlace& place = {});

/// What a cell's "t" attribute says for a value; empty for numbers and for no value. Texts of formulas
/// are stored directly ("str"), other texts in the cell ("inlineStr"): the shared texts stay as they are.
std::string_view cellType(const Value& value, bool formula);

/// Appends the value element of a cell, nothing for an empty one. `prefix` is that of its element names.
/// A circular reference has no value that other programs know: it is left to them.
void appendValue(std::string& out, const Value& value, bool formula, std::string_view prefix);

} // namespace varnex3::sheet::xlsx
