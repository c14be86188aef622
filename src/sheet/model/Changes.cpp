// sheet/model/Changes.cpp - what differs from the file that a book was loaded from.
#include <algorithm>
#include <iterator>
#include <string_view>

#include "sheet/model/BookImpl.h"

namespace varnex3::sheet {
namespace {

// Functions whose result has as many elements as their arguments say, sorted.
constexpr std::string_view kSized[] = {
    "BYCOL",     "BYROW",  "CHOOSECOLS", "CHOOSEROWS", "DROP",      "EXPAND",    "FILTER",
    "FREQUENCY", "GROWTH", "HSTACK",     "LINEST",     "LOGEST",    "MAKEARRAY", "MAP",
    "MINVERSE",  "MMULT",  "MODE.MULT",  "MUNIT",      "RANDARRAY", "SCAN",      "SEQUENCE",
    "SORT",      "SORTBY", "TAKE",       "TEXTSPLIT",  "TOCOL",     "TOROW",     "TRANSPOSE",
    "TREND",     "UNIQUE", "VSTACK",     "WRAPCOLS",   "WRAPROWS"};
static_assert(std::is_sorted(std::begin(kSized), std::end(kSized)));

bool isSized(std::string_view function)
{
    return std::binary_search(std::begin(kSized), std::end(kSized), function);
}

bool holdsArrays(const Code& code)
{
    return std::any_of(code.constants.begin(), code.constants.end(),
                       [](const Value& value) { return value.isArray(); }) ||
           std::any_of(code.calls.begin(), code.calls.end(),
                       [](const CallSite& call) { return isSized(call.row->name); });
}

/// Whether a formula's result may be an array that stands in it: one that no function takes whole.
bool mayGiveArray(const Tree& tree)
{
    std::vector<const Node*> pending{&tree.root()};
    while (!pending.empty()) {
        const Node& n = *pending.back();
        pending.pop_back();
        if (n.kind == NodeKind::Array) return true;
        if (n.kind == NodeKind::Single || n.kind == NodeKind::Spill) continue;
        const bool call = n.kind == NodeKind::Call;
        const std::string_view name =
            call ? tree.texts[static_cast<std::size_t>(n.text)] : std::string_view();
        if (call && isSized(name)) return true;
        const FunctionRow* row = call && name != "LET" && name != "LAMBDA" ? findFunction(name) : nullptr;
        for (std::uint32_t i = 0; i < n.childCount; ++i) {
            const bool whole = row != nullptr && !has(row->traits, Trait::Lazy) &&
                               row->parameters.of(static_cast<int>(i)).take >= Take::Range;
            if (!whole) pending.push_back(&tree.child(n, i));
        }
    }
    return false;
}

} // namespace

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
    if (f == kNoFormula || !impl_->formulas.spills(f)) return false;
    if (impl_->formulas.isBlock(f) || impl_->formulas.cell(f).gaveArray) return true;
    return holdsArrays(impl_->formulas.code(f)) && mayGiveArray(impl_->formulas.tree(f));
}

bool Book::takesSingles(const CellAddress& cell) const
{
    const Slot slot = impl_->store.find(cell);
    const FormulaId f = slot == kNoSlot ? kNoFormula : impl_->store.formula(slot);
    return f != kNoFormula && !impl_->formulas.shared(impl_->formulas.cell(f).code).array;
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

std::vector<Table> Book::renamedTables() const
{
    const std::vector<std::string>& names = impl_->renamedTables;
    std::vector<Table> renamed;
    for (const Table& table : impl_->tables)
        if (std::find(names.begin(), names.end(), table.name) != names.end()) renamed.push_back(table);
    return renamed;
}

void Book::markSaved()
{
    Impl& impl = *impl_;
    impl.renamedTables.clear();
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
