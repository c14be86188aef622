// sheet/model/Tables.cpp - tables and merged cells of sheets, and rows that are not shown.
#include <algorithm>

#include "sheet/compile/Structured.h"
#include "sheet/format/Convert.h"
#include "sheet/model/BookImpl.h"

namespace varnex3::sheet {

void Book::Impl::table(Table table)
{
    if (Impl::table(table.name) != nullptr) {
        notices.emplace_back("table " + table.name, "it is defined twice; the first definition is taken");
        return;
    }
    tables.push_back(std::move(table));
}

const Table* Book::Impl::table(std::string_view name) const
{
    const auto found = std::find_if(tables.begin(), tables.end(),
                                    [&](const Table& table) { return equalTexts(table.name, name); });
    return found == tables.end() ? nullptr : &*found;
}

const Table* Book::Impl::tableAt(const CellAddress& cell) const
{
    const auto found = std::find_if(tables.begin(), tables.end(),
                                    [&](const Table& table) { return table.area.contains(cell); });
    return found == tables.end() ? nullptr : &*found;
}

std::vector<std::string> Book::Impl::tablesOf(SheetIndex sheet) const
{
    std::vector<std::string> names;
    for (const Table& table : tables)
        if (table.area.sheet == sheet) names.push_back(table.name);
    return names;
}

/// Tables and hidden rows go away with their sheet; those of later sheets move down.
void Book::Impl::forgetSheet(SheetIndex sheet)
{
    std::erase_if(tables, [&](const Table& table) { return table.area.sheet == sheet; });
    for (std::vector<Area>* areas : {&filters, &mergedAreas})
        std::erase_if(*areas, [&](const Area& area) { return area.sheet == sheet; });
    const auto moved = [&](SheetIndex& s) { s -= s > sheet ? 1 : 0; };
    for (Table& table : tables) moved(table.area.sheet);
    for (std::vector<Area>* areas : {&filters, &mergedAreas})
        for (Area& area : *areas) moved(area.sheet);
    closeAreas();
    if (static_cast<std::size_t>(sheet) < hiddenRows.size()) hiddenRows.erase(hiddenRows.begin() + sheet);
}

/// Formulas do not spill into tables and merged cells.
void Book::Impl::closeAreas()
{
    std::vector<Area> closed = mergedAreas;
    for (const Table& table : tables) closed.push_back(table.area);
    recalculation.closedAreas(std::move(closed));
}

void Book::Impl::hiddenRow(SheetIndex sheet, std::int32_t row)
{
    const auto s = static_cast<std::size_t>(sheet);
    if (s >= hiddenRows.size()) hiddenRows.resize(s + 1);
    hiddenRows[s].push_back(row); // in order once loading ends
}

Environment::Row Book::Impl::row(SheetIndex sheet, std::int32_t row) const
{
    const auto s = static_cast<std::size_t>(sheet);
    if (s >= hiddenRows.size() || !std::binary_search(hiddenRows[s].begin(), hiddenRows[s].end(), row))
        return Row::Shown;
    const bool filtered = std::any_of(filters.begin(), filters.end(), [&](const Area& area) {
        return area.sheet == sheet && row > area.row0 && row <= area.row1; // its first row has the headings
    });
    return filtered ? Row::Filtered : Row::Hidden;
}

} // namespace varnex3::sheet
