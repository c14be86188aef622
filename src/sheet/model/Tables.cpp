// sheet/model/Tables.cpp - tables and merged cells of sheets, and rows that are not shown.
#include <algorithm>

#include "sheet/compile/Structured.h"
#include "sheet/format/Convert.h"
#include "sheet/format/Letters.h"
#include "sheet/formula/Parser.h"
#include "sheet/model/BookImpl.h"

namespace varnex3::sheet {
namespace {

constexpr std::size_t kLongestHeading = 255; // that desktop programs open

} // namespace

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

/// A table whose headings share cells with the area.
Table* Book::Impl::headingAt(const Area& area)
{
    const auto found = std::find_if(tables.begin(), tables.end(), [&](const Table& table) {
        const Area& whole = table.area;
        return table.headerRows > 0 && whole.sheet == area.sheet && area.row0 <= whole.row0 &&
               whole.row0 <= area.row1 && area.col0 <= whole.col1 && whole.col0 <= area.col1;
    });
    return found == tables.end() ? nullptr : &*found;
}

/// A heading is the name of its column, which does not change with other cells.
void Book::Impl::refuseFormulaInHeading(const Area& area)
{
    if (const Table* table = headingAt(area))
        throw BookError(cellText({area.sheet, area.row0, area.col0}) + ": a heading of the table " +
                        table->name + " holds a text, no formula");
}

/// The name that a value gives to a column: its text with the first number from 2 behind it that makes the
/// name unique in the table; "Column1", "Column2" and so on for no text.
std::string Book::Impl::headingText(const Table& table, std::size_t column, const Value& value) const
{
    const std::string text = value.isFailure() ? std::string(failureText(value.failure()))
                             : value.isEmpty() ? std::string()
                                               : toText(value).text();
    const auto taken = [&](const std::string& name) {
        for (std::size_t i = 0; i < table.columns.size(); ++i)
            if (i != column && equalTexts(table.columns[i], name)) return true;
        return false;
    };
    std::string name = text.empty() ? "Column1" : text;
    for (int n = 2; taken(name); ++n) name = (text.empty() ? "Column" : text) + std::to_string(n);
    std::size_t units = 0; // of UTF-16
    for (std::size_t at = 0; at < name.size();) units += nextCharacter(name, at) > 0xFFFF ? 2 : 1;
    if (units > kLongestHeading)
        throw BookError("a heading of the table " + table.name + " has at most 255 characters");
    return name;
}

/// Formulas and defined names that refer to the column by its name follow.
void Book::Impl::renameColumn(Table& table, std::size_t column, const std::string& name)
{
    const std::string old = table.columns[column];
    if (old == name) return;
    const RenamedColumns renamed{table.name, {{old, name}}};
    table.columns[column] = name;
    const std::vector<bool> changed = formulas.renameColumns(renamed);
    for (FormulaId f = 0; f < formulas.size(); ++f)
        if (formulas.isAlive(f) && changed[formulas.cell(f).code]) markEdited(f);
    for (DefinedName& defined : definedNames) {
        if (!defined.tree || !renameColumnsIn(*defined.tree, renamed)) continue;
        defined.formula = sheet::formulaText(*defined.tree, CellAddress{defined.scope.value_or(0), 0, 0});
        defined.changed = true;
    }
    if (std::find(renamedTables.begin(), renamedTables.end(), table.name) == renamedTables.end())
        renamedTables.push_back(table.name);
    namesStale = namesStale || formulas.anyUnresolved(); // one may have waited for the new name
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
