// sheet/model/Changes.cpp - what differs from the file that a book was loaded from.
#include "sheet/model/BookImpl.h"

namespace varnex3::sheet {

void Book::Impl::markEdited(FormulaId f)
{
    const CellAddress corner = store.address(formulas.cell(f).slot);
    const Area area = formulas.isBlock(f)
                          ? formulas.block(f)
                          : Area{corner.sheet, corner.row, corner.col, corner.row, corner.col};
    for (std::int32_t r = area.row0; r <= area.row1; ++r)
        for (std::int32_t c = area.col0; c <= area.col1; ++c)
            store.mark(store.find({corner.sheet, r, c}), Store::kEdited);
}

/// Formulas that name a sheet, or tables of one, read differently once it is renamed or removed.
void Book::Impl::markReaders(const std::string& name, const std::vector<std::string>& lost)
{
    const std::vector<bool> naming = formulas.codesNaming(name, lost);
    for (FormulaId f = 0; f < formulas.size(); ++f)
        if (formulas.isAlive(f) && naming[formulas.cell(f).code]) markEdited(f);
}

const Value& Book::Impl::storedAt(Slot slot) const
{
    static const Value empty;
    const FormulaId f = store.formula(slot);
    if (f == kNoFormula) return empty;
    if (formulas.cell(f).slot == slot) return f < stored.size() ? stored[f] : empty;
    const auto known = storedResults.find(slot);
    return known == storedResults.end() ? empty : known->second;
}

void Book::band(SheetIndex sheet, std::int32_t row, std::vector<BandCell>& cells) const
{
    const Store& store = impl_->store;
    std::vector<Slot> firsts;
    store.tilesAt(sheet, row, firsts);
    for (std::int32_t r = 0; r < kBandRows; ++r) {
        for (std::size_t c = 0; c < firsts.size(); ++c) {
            if (firsts[c] == kNoSlot) continue;
            const Slot slot = firsts[c] + static_cast<Slot>(r);
            const Value& value = store.value(slot);
            const bool formula = store.formula(slot) != kNoFormula;
            Change change = Change::None;
            if (store.isMarked(slot, Store::kEdited))
                change = Change::Content;
            else if (formula && !(value == impl_->storedAt(slot)))
                change = Change::Result;
            if (value.isEmpty() && !formula && change == Change::None) continue;
            cells.push_back({{sheet, row + r, static_cast<std::int32_t>(c)}, &value, change, formula});
        }
    }
}

const std::string* Book::loadedName(SheetIndex sheet) const
{
    const auto& name = impl_->loadedNames.at(static_cast<std::size_t>(sheet));
    return name ? &*name : nullptr;
}

SheetIndex Book::loadedSheets() const { return impl_->loadedSheets; }

std::optional<Area> Book::arrayArea(const CellAddress& cell) const
{
    const Slot slot = impl_->store.find(cell);
    const FormulaId f = slot == kNoSlot ? kNoFormula : impl_->store.formula(slot);
    if (f == kNoFormula || !impl_->formulas.isBlock(f)) return std::nullopt;
    return impl_->formulas.block(f);
}

bool Book::spills(const CellAddress& cell) const
{
    const Slot slot = impl_->store.find(cell);
    const FormulaId f = slot == kNoSlot ? kNoFormula : impl_->store.formula(slot);
    return f != kNoFormula && impl_->formulas.spills(f) && impl_->formulas.isBlock(f);
}

std::vector<NameState> Book::changedNames() const
{
    std::vector<NameState> changed;
    for (const DefinedName& defined : impl_->definedNames) {
        if (!defined.changed) continue;
        const std::size_t equals = defined.formula.starts_with('=') ? 1 : 0;
        changed.push_back({defined.name, defined.scope, defined.formula.substr(equals)});
    }
    return changed;
}

void Book::markSaved()
{
    Impl& impl = *impl_;
    impl.store.forgetEdited();
    for (FormulaId f = 0; f < impl.formulas.size(); ++f) {
        if (!impl.formulas.isAlive(f)) continue;
        const Slot first = impl.formulas.cell(f).slot;
        if (f < impl.stored.size()) impl.stored[f] = impl.store.value(first);
        if (!impl.formulas.isBlock(f)) continue;
        const Area& area = impl.formulas.block(f);
        for (std::int32_t r = area.row0; r <= area.row1; ++r)
            for (std::int32_t c = area.col0; c <= area.col1; ++c) {
                const Slot slot = impl.store.find({impl.store.address(first).sheet, r, c});
                if (slot != first) impl.storedResults[slot] = impl.store.value(slot);
            }
    }
    for (DefinedName& defined : impl.definedNames) defined.changed = false;
    impl.loadedNames.assign(impl.sheetNames.begin(), impl.sheetNames.end());
    impl.loadedSheets = sheetCount();
}

void Book::forgetFile()
{
    for (DefinedName& defined : impl_->definedNames) defined.changed = true;
    impl_->loadedNames.assign(impl_->sheetNames.size(), std::nullopt);
    impl_->loadedSheets = 0;
}

} // namespace varnex3::sheet
