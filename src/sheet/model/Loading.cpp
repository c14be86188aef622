// sheet/model/Loading.cpp - the book as a file reader fills it.
#include <algorithm>

#include "sheet/formula/Parser.h"
#include "sheet/model/BookImpl.h"
#include "sheet/model/Externals.h"

namespace varnex3::sheet {
namespace {

std::uint64_t groupKey(SheetIndex sheet, std::uint32_t group)
{
    return static_cast<std::uint64_t>(sheet) << 32 | group;
}

std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

} // namespace

SheetIndex Book::Impl::addSheet(std::string name)
{
    checkSheetName(name, std::nullopt);
    loadedNames.push_back(loading ? std::optional(name) : std::nullopt);
    sheetNames.push_back(std::move(name));
    store.addSheet();
    if (!loading && formulas.anyUnresolved()) namesChanged();
    return store.sheetCount() - 1;
}

void Book::Impl::defineName(std::string name, std::optional<SheetIndex> scope, std::string formula)
{
    ParseResult parsed = parseFormula(formula, CellAddress{scope.value_or(0), 0, 0});
    std::unique_ptr<Tree> tree;
    if (auto* good = std::get_if<Tree>(&parsed)) tree = std::make_unique<Tree>(std::move(*good));
    const std::string key = lowerCase(name);
    const auto [first, last] = nameIndex.equal_range(key);
    for (auto at = first; at != last; ++at) {
        DefinedName& known = definedNames[at->second];
        if (known.scope != scope) continue;
        known.formula = std::move(formula);
        known.tree = std::move(tree);
        known.changed = !loading;
        namesStale = !loading;
        return;
    }
    nameIndex.emplace(key, definedNames.size());
    definedNames.push_back({std::move(name), scope, std::move(formula), std::move(tree), !loading});
    namesStale = !loading;
}

const Tree* Book::Impl::definedName(std::string_view name, SheetIndex sheet) const
{
    const Tree* global = nullptr;
    const auto [first, last] = nameIndex.equal_range(lowerCase(name));
    for (auto at = first; at != last; ++at) {
        const DefinedName& known = definedNames[at->second];
        if (known.scope == sheet) return known.tree.get();
        if (!known.scope) global = known.tree.get();
    }
    return global;
}

Slot Book::Impl::makeCell(const CellAddress& cell)
{
    store.use(cell);
    return store.make(cell);
}

void Book::Impl::constant(const CellAddress& cell, Value value)
{
    store.value(makeCell(cell)) = std::move(value);
}

void Book::Impl::storeLoaded(FormulaId f, Slot slot, Value value)
{
    store.setFormula(slot, f);
    if (stored.size() <= f) stored.resize(f + std::size_t{1});
    stored[f] = value;
    store.value(slot) = std::move(value);
}

void Book::Impl::formula(const CellAddress& cell, std::string_view text, Value value)
{
    const Slot slot = makeCell(cell);
    storeLoaded(formulas.add(slot, formulas.intern(text, cell, false, *this)), slot, std::move(value));
}

void Book::Impl::sharedMaster(const CellAddress& cell, std::uint32_t group, std::string_view text,
                              Value value)
{
    const CodeId code = formulas.intern(text, cell, false, *this);
    sharedGroups[groupKey(cell.sheet, group)] = code;
    if (refersToOtherBooks(text, cell))
        externalGroups[groupKey(cell.sheet, group)] = {cell, std::string(text)};
    const Slot slot = makeCell(cell);
    storeLoaded(formulas.add(slot, code), slot, std::move(value));
}

void Book::Impl::sharedFollower(const CellAddress& cell, std::uint32_t group, Value value)
{
    const auto master = sharedGroups.find(groupKey(cell.sheet, group));
    if (master == sharedGroups.end()) {
        notices.emplace_back(cellText(cell), "shared formula without its first cell; keeps its stored value");
        return constant(cell, std::move(value));
    }
    if (const auto known = externalGroups.find(groupKey(cell.sheet, group)); known != externalGroups.end())
        return formula(cell, movedFormula(known->second.second, known->second.first, cell), std::move(value));
    const Slot slot = makeCell(cell);
    storeLoaded(formulas.add(slot, master->second), slot, std::move(value));
}

void Book::Impl::arrayFormula(const Area& area, std::string_view text, Value value, bool spills)
{
    const CellAddress corner{area.sheet, area.row0, area.col0};
    const CodeId code = formulas.intern(text, corner, true, *this);
    const FormulaId f = formulas.addBlock(makeCell(corner), code, area);
    if (spills) formulas.setSpills(f);
    for (std::int32_t r = area.row0; r <= area.row1; ++r)
        for (std::int32_t c = area.col0; c <= area.col1; ++c)
            store.setFormula(makeCell({area.sheet, r, c}), f);
    storeLoaded(f, store.find(corner), std::move(value));
}

void Book::Impl::dataTable(const Area& area, const DataTable& table, Value value)
{
    const FormulaId f = formulas.addDataTable(makeCell({area.sheet, area.row0, area.col0}), area, table);
    for (std::int32_t r = area.row0; r <= area.row1; ++r)
        for (std::int32_t c = area.col0; c <= area.col1; ++c)
            store.setFormula(makeCell({area.sheet, r, c}), f);
    storeLoaded(f, store.find({area.sheet, area.row0, area.col0}), std::move(value));
}

void Book::Impl::arrayResult(const CellAddress& cell, Value value)
{
    const Slot slot = makeCell(cell);
    if (store.formula(slot) != kNoFormula) storedResults[slot] = value;
    store.value(slot) = std::move(value);
}

void Book::Impl::finishLoading()
{
    loading = false;
    namesStale = false;
    loadedSheets = store.sheetCount();
    sharedGroups.clear();
    externalGroups.clear();
    for (std::vector<std::int32_t>& rows : hiddenRows) std::sort(rows.begin(), rows.end());
    closeAreas();
    for (FormulaId f = 0; f < formulas.size(); ++f)
        if (formulas.isAlive(f) && formulas.spills(f) && formulas.isBlock(f)) recalculation.checkSpill(f);
    formulas.compileAll(*this);
    recalculation.relinkAll();
    recalculation.needAll();
}

} // namespace varnex3::sheet
