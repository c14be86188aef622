// sheet/compile/Structured.cpp - tables, columns and rows behind structured references.
#include "sheet/compile/Structured.h"

#include <algorithm>

#include "sheet/format/Convert.h"

namespace varnex3::sheet {
namespace {

std::optional<std::int32_t> columnOf(const Table& table, std::string_view name)
{
    for (std::size_t i = 0; i < table.columns.size(); ++i)
        if (equalTexts(table.columns[i], name)) return table.area.col0 + static_cast<std::int32_t>(i);
    return std::nullopt;
}

/// Files know "[#This Row],[Col]", not "@Col".
std::string asInFiles(const std::string& specification)
{
    const std::size_t at = specification.find_first_not_of(' ');
    if (at == std::string::npos || specification[at] != '@') return specification;
    const std::size_t columns = specification.find_first_not_of(' ', at + 1);
    if (columns == std::string::npos) return "#This Row";
    const std::string rest = specification.substr(columns);
    return rest.front() == '[' ? "[#This Row]," + rest : "[#This Row],[" + rest + "]";
}

} // namespace

void bindToTables(Tree& tree, const CellAddress& cell, const Scope& scope)
{
    for (Node& n : tree.nodes) {
        if (n.kind != NodeKind::Structured) continue;
        if (n.text < 0) {
            const Table* around = scope.tableAt(cell);
            if (around == nullptr) continue;
            n.text = static_cast<std::int32_t>(tree.texts.size());
            tree.texts.push_back(around->name);
        }
        std::string& specification = tree.texts[static_cast<std::size_t>(n.text2)];
        const auto items = parseTableItems(specification);
        if (!items || !items->thisRow) continue;
        specification = asInFiles(specification);
        const Table* table = scope.table(tree.texts[static_cast<std::size_t>(n.text)]);
        if (table == nullptr) continue;
        const Area data = table->data();
        n.index = cell.sheet == data.sheet && cell.row >= data.row0 && cell.row <= data.row1 ? 1 : 0;
    }
}

std::optional<Area> tableCells(const Table& table, const TableItems& items)
{
    Area cells = table.data();
    if (!items.firstColumn.empty()) {
        const auto first = columnOf(table, items.firstColumn), last = columnOf(table, items.lastColumn);
        if (!first || !last) return std::nullopt;
        cells.col0 = std::min(*first, *last);
        cells.col1 = std::max(*first, *last);
    }
    if (items.thisRow) {
        if (items.headers || items.data || items.totals) return std::nullopt;
    } else if (items.headers && items.totals && !items.data) {
        return std::nullopt; // no rows of one piece
    } else {
        const bool headers = items.headers && table.headerRows > 0;
        const bool totals = items.totals && table.totalsRows > 0;
        if (!items.data && !headers && !totals) return std::nullopt;
        const Area data = table.data();
        if (headers) cells.row0 = table.area.row0;
        if (totals) cells.row1 = table.area.row1;
        if (!items.data && headers) cells.row1 = data.row0 - 1;
        if (!items.data && totals) cells.row0 = data.row1 + 1;
    }
    if (cells.row0 > cells.row1) return std::nullopt;
    return cells;
}

bool renameColumnsIn(Tree& tree, const RenamedColumns& renamed)
{
    bool changed = false;
    for (const Node& n : tree.nodes) {
        if (n.kind != NodeKind::Structured || n.text < 0) continue;
        if (!equalTexts(tree.texts[static_cast<std::size_t>(n.text)], renamed.table)) continue;
        std::string& specification = tree.texts[static_cast<std::size_t>(n.text2)];
        auto items = parseTableItems(specification);
        if (!items) continue;
        bool named = false;
        for (std::string* column : {&items->firstColumn, &items->lastColumn}) {
            const auto found =
                std::find_if(renamed.names.begin(), renamed.names.end(),
                             [&](const auto& name) { return equalTexts(name.first, *column); });
            if (found == renamed.names.end()) continue;
            *column = found->second;
            named = true;
        }
        if (named) specification = tableItemsText(*items);
        changed = changed || named;
    }
    return changed;
}

Place fixedPlace(const Area& area)
{
    Place p;
    p.first = {area.row0, area.col0, true, true};
    p.last = {area.row1, area.col1, true, true};
    p.extent = area.isCell() ? Extent::Cell : Extent::Area;
    p.sheet = area.sheet;
    return p;
}

std::variant<Place, LostReference> structuredPlace(const Tree& tree, const Node& n, const Scope& scope)
{
    if (n.text < 0) return LostReference{Failure::Name, "a reference to a table outside of any table"};
    const std::string& name = tree.texts[static_cast<std::size_t>(n.text)];
    const Table* table = scope.table(name);
    if (table == nullptr) return LostReference{Failure::Ref, "unknown table " + name};
    const std::string& specification = tree.texts[static_cast<std::size_t>(n.text2)];
    const auto items = parseTableItems(specification);
    const auto cells = items ? tableCells(*table, *items) : std::nullopt;
    if (!cells) return LostReference{Failure::Ref, "table " + name + " has no [" + specification + "]"};
    Place p = fixedPlace(*cells);
    if (!items->thisRow) return p;
    if (n.index != 1) return LostReference{Failure::Value, {}};
    p.first = {0, cells->col0, false, true};
    p.last = {0, cells->col1, false, true};
    p.extent = cells->cols() == 1 ? Extent::Cell : Extent::Area;
    return p;
}

} // namespace varnex3::sheet
