// sheet/model/Externals.h - formulas that refer to other books.
//
// Their trees hold such references as they are written, so relative ones do not move by themselves.
#pragma once

#include <string>
#include <string_view>

#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// Whether a formula refers to another book.
bool refersToOtherBooks(std::string_view formula, const CellAddress& cell);

/// A formula of `from` as it reads when it is filled into `to`. A text that is no formula stays as it is.
std::string movedFormula(std::string_view formula, const CellAddress& from, const CellAddress& to);

} // namespace varnex3::sheet
