// sheet/model/Spills.cpp - formulas whose results fill as many cells as they have elements.
//
// A spilling formula owns a block from its own cell on. Where something else is in the way it shows #SPILL!
// in its own cell, remembers what it wanted, and is tried again when the obstacle goes; tables and merged
// cells are always in the way. Of two that want one
// cell the one whose own cell comes first (sheet, row, column) has it, whatever was calculated first.
#include <algorithm>
#include <tuple>

#include "sheet/model/Recalculation.h"

namespace varnex3::sheet {
namespace {

constexpr int kMostReshapes = 40; // of one formula in one calculation: beyond, it depends on its own size

Area cellArea(const CellAddress& a) { return {a.sheet, a.row, a.col, a.row, a.col}; }

bool overlap(const Area& a, const Area& b)
{
    return a.sheet == b.sheet && a.row0 <= b.row1 && b.row0 <= a.row1 && a.col0 <= b.col1 && b.col0 <= a.col1;
}

} // namespace

Area Recalculation::extent(FormulaId f) const
{
    return formulas_.isBlock(f) ? formulas_.block(f) : cellArea(store_.address(formulas_.cell(f).slot));
}

void Recalculation::spill(FormulaId f, Value result)
{
    const Slot slot = formulas_.cell(f).slot;
    const Area own = cellArea(store_.address(slot)), now = extent(f);
    if (const auto pinned = pinned_.find(f); pinned != pinned_.end()) result = pinned->second;
    formulas_.setGaveArray(f, result.isArray());
    Area wanted = own;
    if (result.isArray()) {
        wanted.row1 += result.rows() - 1;
        wanted.col1 += result.cols() - 1;
    }
    const bool refused = !refused_.empty() && refused_.erase(f) != 0;
    if (wanted == now && (!refused || wanted == own)) return storeElements(f, result);
    if (wanted == own) {
        reshape(f, own);
        return storeElements(f, result);
    }
    if (!makeRoom(f, wanted)) {
        reshape(f, own);
        refused_[f] = wanted;
        return storeAt(slot, Failure::Spill);
    }
    reshape(f, wanted);
    storeElements(f, result);
}

/// Whether a formula may have an area; later formulas that spilled into it lose theirs.
bool Recalculation::makeRoom(FormulaId f, const Area& wanted)
{
    if (wanted.row1 >= kMaxRows || wanted.col1 >= kMaxColumns) return false;
    if (std::any_of(closed_.begin(), closed_.end(), [&](const Area& area) { return overlap(area, wanted); }))
        return false;
    const auto place = [&](FormulaId g) {
        const CellAddress a = store_.address(formulas_.cell(g).slot);
        return std::make_tuple(a.sheet, a.row, a.col);
    };
    std::vector<FormulaId> later;
    const bool free = store_.visitSlots(wanted, [&](std::int32_t, std::int32_t, Slot first, std::int32_t n) {
        for (Slot s = first; s < first + static_cast<Slot>(n); ++s) {
            const FormulaId g = store_.formula(s);
            if (g == f) continue;
            if (g == kNoFormula ? !store_.value(s).isEmpty()
                                : !formulas_.spills(g) || formulas_.cell(g).slot == s || place(g) < place(f))
                return false;
            if (g != kNoFormula && (later.empty() || later.back() != g)) later.push_back(g);
        }
        return true;
    });
    if (!free) return false;
    for (const FormulaId g : later) withdraw(g);
    return true;
}

/// A spilling formula gives its further cells up and waits for its next evaluation.
void Recalculation::withdraw(FormulaId f)
{
    const Area had = extent(f);
    if (had.isCell()) return;
    reshape(f, cellArea(store_.address(formulas_.cell(f).slot)));
    refused_[f] = had;
    storeAt(formulas_.cell(f).slot, Failure::Spill);
    again_.push_back(f);
}

void Recalculation::reshape(FormulaId f, const Area& next)
{
    const Area before = extent(f);
    const Slot anchor = formulas_.cell(f).slot;
    formulas_.setBlock(f, next);
    if (before == next) return;
    if (++reshapes_[f] > kMostReshapes && pinned_.count(f) == 0) {
        pinned_.emplace(f, Failure::Circular);
        again_.push_back(f);
    }
    store_.visitSlots(before, [&](std::int32_t row, std::int32_t col, Slot first, std::int32_t n) {
        for (std::int32_t k = 0; k < n; ++k) {
            const Slot s = first + static_cast<Slot>(k);
            if (store_.formula(s) != f || next.contains({next.sheet, row + k, col})) continue;
            store_.setFormula(s, kNoFormula);
            storeAt(s, Value());
            store_.unmark(s, Store::kDirty);
            store_.mark(s, Store::kEdited);
            reshaped_.push_back(s);
        }
        return true;
    });
    for (std::int32_t r = next.row0; r <= next.row1; ++r) {
        for (std::int32_t c = next.col0; c <= next.col1; ++c) {
            const CellAddress at{next.sheet, r, c};
            const Slot s = store_.make(at);
            if (store_.formula(s) == f) continue;
            store_.use(at);
            store_.setFormula(s, f);
            reshaped_.push_back(s);
        }
    }
    store_.mark(anchor, Store::kEdited);
    reshaped_.push_back(anchor);
    for (const auto& [g, wanted] : refused_)
        if (g != f && overlap(wanted, before)) again_.push_back(g);
}

/// A block that the file gave, with cells that have got formulas of their own since.
void Recalculation::checkSpill(FormulaId f)
{
    const Area block = extent(f);
    bool whole = true;
    store_.visitSlots(block, [&](std::int32_t, std::int32_t, Slot first, std::int32_t n) {
        for (Slot s = first; s < first + static_cast<Slot>(n); ++s) whole = whole && store_.formula(s) == f;
        return whole;
    });
    if (!whole) reshape(f, cellArea(store_.address(formulas_.cell(f).slot)));
}

/// Formulas that were refused cells which have been written since are to be tried again.
void Recalculation::retryRefused()
{
    for (const auto& [f, wanted] : refused_) {
        const bool touched = std::any_of(written_.begin(), written_.end(), [&, area = wanted](Slot s) {
            return area.contains(store_.address(s));
        });
        if (touched) again_.push_back(f);
    }
}

/// Evaluates what reads cells that got or lost a block, until no block changes any more.
void Recalculation::settleSpills()
{
    if (!refused_.empty()) retryRefused();
    while (!reshaped_.empty() || !again_.empty()) {
        forgetPlans(); // their orders know the blocks as they were
        valuesChange(kNoPlan);
        std::vector<Slot> slots;
        std::vector<FormulaId> formulas;
        slots.swap(reshaped_);
        formulas.swap(again_);
        std::erase_if(formulas, [&](FormulaId f) { return !formulas_.isAlive(f); });
        std::sort(formulas.begin(), formulas.end());
        formulas.erase(std::unique(formulas.begin(), formulas.end()), formulas.end());
        for (const FormulaId f : everyTime_)
            if (formulas_.code(f).isDynamic) formulas.push_back(f);
        const Order order = orderOf(slots, formulas);
        const bool dirty = !order.loops.empty() || anyDynamic(order);
        if (dirty) markDirty(order);
        runGeneral(order, 0, dirty);
    }
    if (!reshapes_.empty()) reshapes_.clear();
    if (!pinned_.empty()) pinned_.clear();
}

} // namespace varnex3::sheet
