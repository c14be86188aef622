// sheet/model/Externals.h - formulas that refer to other books.
//
// Their trees hold such references as they are written, so relative ones do not move by themselves.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// "[1]Sheet!A1" or "'folder/[book.xlsx]My sheet'!A1" in pieces; nothing for any other text.
struct ExternalReference {
    std::string folder, book, sheet; // book: its number or its name
    std::string_view prefix, rest;   // of the text: up to the "!", and what stands behind it
};
std::optional<ExternalReference> externalReference(std::string_view text);

/// Whether a formula refers to another book.
bool refersToOtherBooks(std::string_view formula, const CellAddress& cell);

/// A formula of `from` as it reads when it is filled into `to`. A text that is no formula stays as it is.
std::string movedFormula(std::string_view formula, const CellAddress& from, const CellAddress& to);

} // namespace varnex3::sheet
