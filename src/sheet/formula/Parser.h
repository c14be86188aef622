// sheet/formula/Parser.h - formula text to tree and back.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "sheet/formula/Tree.h"

namespace varnex3::sheet {

/// Why a text is no formula, and where (offset into the text, from 0).
struct ParseError {
    std::size_t position = 0;
    std::string message;
};

using ParseResult = std::variant<Tree, ParseError>;

/// Parses a formula in the file's notation (English names, comma separators), with or without "=".
/// Relative references are taken from `here`. Texts longer than 32,767 characters and nesting deeper
/// than 256 levels are refused; never raises and never recurses deeper than that.
ParseResult parseFormula(std::string_view text, const CellAddress& here);

/// The text of a tree as seen from `here`, with "=". A relative reference that leaves the sheet reads
/// "#REF!".
std::string formulaText(const Tree& tree, const CellAddress& here);

/// A cell or area in A1 notation, with or without "$", without sheet; nothing for any other text.
std::optional<Area> parseA1(std::string_view text);

/// "B3" or "$B$3"; "A1:C3" for an area, "A:C" and "1:3" for whole columns and rows.
std::string a1Text(const CellAddress& cell, bool absolute = false);
std::string a1Text(const Area& area, bool absolute = false);

/// A sheet name as written before "!", quoted where it must be.
std::string quotedSheetName(std::string_view name);

/// What a Structured node's item specification (the text inside the outer brackets) asks for.
struct TableItems {
    bool headers = false, data = false, totals = false, thisRow = false;
    std::string firstColumn, lastColumn; // escapes undone; both empty for every column of the table
};

/// Reads an item specification: "Col", "@Col", "[#This Row],[Col]", "[#Headers],[#Data],[A]:[B]", "".
/// Nothing for any other text. `data` is set where no item is named.
std::optional<TableItems> parseTableItems(std::string_view specification);
/// A specification that reads back as these items, with columns in brackets of their own where desktop
/// programs want them.
std::string tableItemsText(const TableItems& items);

} // namespace varnex3::sheet
