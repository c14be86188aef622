// sheet/compile/Structured.h - which cells a structured reference means.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "sheet/compile/Compiler.h"
#include "sheet/formula/Parser.h"

namespace varnex3::sheet {

/// Notes in the Structured nodes of a tree what depends on where its formula stands: the table of a
/// reference that names none, and (in `Node::index`, 1 or 0) whether the formula stands in a data row of the
/// table, so that only formulas for which "this row" means the same share their code.
void bindToTables(Tree& tree, const CellAddress& cell, const Scope& scope);

/// The cells of a table that an item specification asks for; for "this row", the data rows of its columns.
/// Nothing when the table has no such rows or columns, or the items cannot stand together.
std::optional<Area> tableCells(const Table& table, const TableItems& items);

/// Columns of one table and what they are called from now on.
struct RenamedColumns {
    std::string table;
    std::vector<std::pair<std::string, std::string>> names; // old, new; all at once
};
/// Whether references that name the table used the old names; they use the new ones then.
bool renameColumnsIn(Tree& tree, const RenamedColumns& renamed);

/// A place, or the error value that the reference gives with what is wrong about it.
struct LostReference {
    Failure failure;
    std::string reason;
};
std::variant<Place, LostReference> structuredPlace(const Tree& tree, const Node& n, const Scope& scope);

/// A place that means an area, wherever it is seen from.
Place fixedPlace(const Area& area);

} // namespace varnex3::sheet
