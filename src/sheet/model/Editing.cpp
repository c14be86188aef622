// sheet/model/Editing.cpp - changes to a book that is in use.
#include <algorithm>

#include "sheet/compile/Structured.h"
#include "sheet/format/Convert.h"
#include "sheet/formula/Parser.h"
#include "sheet/model/BookImpl.h"

namespace varnex3::sheet {

std::string Book::Impl::cellText(const CellAddress& cell) const
{
    return quotedSheetName(sheetName(cell.sheet)) + "!" + a1Text(cell);
}

void Book::Impl::checkAddress(const CellAddress& cell) const
{
    if (cell.sheet < 0 || cell.sheet >= store.sheetCount()) throw BookError("there is no such sheet");
    if (cell.row < 0 || cell.row >= kMaxRows || cell.col < 0 || cell.col >= kMaxColumns)
        throw BookError("the cell is outside the sheet " + sheetName(cell.sheet));
}

void Book::Impl::clearFormula(Slot slot)
{
    const FormulaId f = store.formula(slot);
    if (f == kNoFormula) return;
    if (formulas.spills(f) && formulas.cell(f).slot != slot) return recalculation.withdraw(f);
    if (formulas.isBlock(f) && !formulas.spills(f)) {
        const Area& block = formulas.block(f);
        if (!block.isCell())
            throw BookError(cellText(store.address(slot)) + " is part of the array formula in " +
                            a1Text(block));
    }
    recalculation.formulaRemoved(f);
    formulas.remove(f);
    if (f < stored.size()) stored[f] = Value();
    store.setFormula(slot, kNoFormula);
}

void Book::Impl::replace(Slot slot, double x)
{
    store.use(store.address(slot));
    setValue(slot, x);
}

void Book::Impl::setValue(Slot slot, Value value)
{
    if (value.isNumber() && !std::isfinite(value.number())) value = Failure::Num;
    const CellAddress at = store.address(slot);
    if (!value.isScalar()) throw BookError(cellText(at) + ": a cell holds one value");
    Table* table = headingAt({at.sheet, at.row, at.col, at.row, at.col});
    const auto column = table ? static_cast<std::size_t>(at.col - table->area.col0) : 0;
    if (table) value = headingText(*table, column, value);
    clearFormula(slot);
    if (table) renameColumn(*table, column, value.text());
    Value& target = store.value(slot);
    if (target.kind() != value.kind()) recalculation.kindChanged();
    target = std::move(value);
    recalculation.valueWritten(slot);
}

void Book::Impl::putFormula(FormulaId f)
{
    const CodeId code = formulas.cell(f).code;
    if (!formulas.isCompiled(code)) formulas.compile(code, *this);
    if (stored.size() <= f) stored.resize(f + std::size_t{1});
    stored[f] = Value();
    if (formulas.code(f).keepsStored) store.value(formulas.cell(f).slot) = Failure::Ref; // there is none
    markEdited(f);
    recalculation.formulaChanged(f);
}

void Book::Impl::setFormula(const CellAddress& cell, std::string_view text)
{
    const ParseResult parsed = parseFormula(text, cell);
    if (const auto* error = std::get_if<ParseError>(&parsed))
        throw BookError(cellText(cell) + ": " + error->message + " (at character " +
                        std::to_string(error->position + 1) + ")");
    refuseFormulaInHeading({cell.sheet, cell.row, cell.col, cell.row, cell.col});
    const Slot slot = makeCell(cell);
    clearFormula(slot);
    const FormulaId f = formulas.add(slot, formulas.intern(text, cell, false, *this));
    store.setFormula(slot, f);
    formulas.setSpills(f);
    putFormula(f);
}

void Book::Impl::setArrayFormula(const Area& block, std::string_view text)
{
    const CellAddress corner{block.sheet, block.row0, block.col0};
    checkAddress(corner);
    checkAddress({block.sheet, block.row1, block.col1});
    const ParseResult parsed = parseFormula(text, corner);
    if (const auto* error = std::get_if<ParseError>(&parsed))
        throw BookError(cellText(corner) + ": " + error->message);
    refuseFormulaInHeading(block);
    for (std::int32_t r = block.row0; r <= block.row1; ++r)
        for (std::int32_t c = block.col0; c <= block.col1; ++c) clearFormula(makeCell({block.sheet, r, c}));
    const FormulaId f =
        formulas.addBlock(makeCell(corner), formulas.intern(text, corner, true, *this), block);
    for (std::int32_t r = block.row0; r <= block.row1; ++r)
        for (std::int32_t c = block.col0; c <= block.col1; ++c)
            store.setFormula(store.find({block.sheet, r, c}), f);
    putFormula(f);
}

void Book::Impl::namesChanged()
{
    namesStale = false;
    formulas.compileAll(*this);
    recalculation.relinkAll();
    recalculation.needAll();
}

/// Many names may be defined before they matter.
void Book::Impl::settleNames()
{
    if (namesStale) namesChanged();
}

void Book::Impl::checkSheetName(std::string_view name, std::optional<SheetIndex> except) const
{
    if (name.empty()) throw BookError("a sheet needs a name");
    const auto taken = findSheet(name);
    if (taken && taken != except) throw BookError("there is a sheet named " + std::string(name) + " already");
}

void Book::Impl::renameSheet(SheetIndex sheet, const std::string& name)
{
    checkAddress({sheet, 0, 0});
    checkSheetName(name, sheet);
    std::string& own = sheetNames[static_cast<std::size_t>(sheet)];
    markReaders(own, {});
    formulas.renameSheet(own, name);
    for (DefinedName& defined : definedNames) {
        if (!defined.tree || !renameSheetIn(*defined.tree, own, name)) continue;
        defined.formula = sheet::formulaText(*defined.tree, CellAddress{defined.scope.value_or(0), 0, 0});
        defined.changed = true;
    }
    own = name;
    if (formulas.anyUnresolved()) namesChanged();
}

void Book::Impl::removeSheet(SheetIndex sheet)
{
    checkAddress({sheet, 0, 0});
    if (store.sheetCount() == 1) throw BookError("a book keeps at least one sheet");
    for (FormulaId f = 0; f < formulas.size(); ++f) {
        if (!formulas.isAlive(f) || store.address(formulas.cell(f).slot).sheet != sheet) continue;
        formulas.remove(f);
        if (f < stored.size()) stored[f] = Value();
    }
    const std::string name = sheetNames[static_cast<std::size_t>(sheet)];
    const std::vector<std::string> lost = tablesOf(sheet);
    markReaders(name, lost);
    formulas.removeSheet(name, sheet, lost);
    std::vector<DefinedName> kept;
    for (DefinedName& defined : definedNames) {
        if (defined.scope == sheet) continue;
        if (defined.scope && *defined.scope > sheet) --*defined.scope;
        if (defined.tree && removeSheetFrom(*defined.tree, name, lost)) {
            defined.formula = "#REF!";
            defined.changed = true;
        }
        kept.push_back(std::move(defined));
    }
    nameIndex.clear();
    definedNames.clear();
    for (DefinedName& defined : kept) {
        std::string key = defined.name;
        std::transform(key.begin(), key.end(), key.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        nameIndex.emplace(std::move(key), definedNames.size());
        definedNames.push_back(std::move(defined));
    }
    sheetNames.erase(sheetNames.begin() + sheet);
    loadedNames.erase(loadedNames.begin() + sheet);
    forgetSheet(sheet);
    recalculation.forgetSlots();
    store.removeSheet(sheet);
    ++generation;
    namesChanged();
}

/// The cells that a tree stands for when it is a reference, or a name for one; coordinates seen from A1.
std::optional<Area> Book::Impl::areaOf(const Tree& tree, SheetIndex sheet, int depth) const
{
    constexpr int kDeepest = 32;
    const Node& n = tree.root();
    if (n.kind == NodeKind::Name && depth < kDeepest) {
        SheetIndex scope = sheet;
        if (n.sheet >= 0) {
            const auto found = findSheet(tree.texts[static_cast<std::size_t>(n.sheet)]);
            if (!found) return std::nullopt;
            scope = *found;
        }
        const Tree* meaning = definedName(tree.texts[static_cast<std::size_t>(n.text)], scope);
        if (meaning) return areaOf(*meaning, scope, depth + 1);
        const Table* whole = table(tree.texts[static_cast<std::size_t>(n.text)]);
        return whole ? std::optional(whole->data()) : std::nullopt;
    }
    if (n.kind == NodeKind::Structured) {
        const auto found = structuredPlace(tree, n, *this);
        const Place* p = std::get_if<Place>(&found);
        return p ? resolve(*p, CellAddress{p->sheet, 0, 0}) : std::nullopt;
    }
    if (n.kind != NodeKind::Reference || n.lastSheet >= 0) return std::nullopt;
    Place place{n.first, n.last, n.extent, sheet, -1, true, true, false};
    if (n.sheet >= 0) {
        const auto found = findSheet(tree.texts[static_cast<std::size_t>(n.sheet)]);
        if (!found) return std::nullopt;
        place.sheet = *found;
    }
    return resolve(place, CellAddress{place.sheet, 0, 0});
}

} // namespace varnex3::sheet
