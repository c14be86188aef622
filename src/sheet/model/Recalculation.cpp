// sheet/model/Recalculation.cpp - linking, ordering, running.
#include "sheet/model/Recalculation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <tuple>

namespace varnex3::sheet {
namespace {

constexpr std::int64_t kCellsOnTheirOwn = 4; // a smaller area is linked cell by cell

} // namespace

// Links -------------------------------------------------------------------------------------------------

void Recalculation::outputs(FormulaId f, FunctionRef<void(Slot)> visitor) const
{
    if (!formulas_.isBlock(f)) return visitor(formulas_.cell(f).slot);
    store_.visitSlots(formulas_.block(f), [&](std::int32_t, std::int32_t, Slot first, std::int32_t n) {
        for (Slot s = first; s < first + static_cast<Slot>(n); ++s) visitor(s);
        return true;
    });
}

void Recalculation::link(FormulaId f, bool add)
{
    const Code& code = formulas_.code(f);
    if (code.isVolatile || code.isDynamic) {
        std::uint8_t& lists = listed(f);
        if (!add) {
            lists = static_cast<std::uint8_t>(lists & ~kWantsEveryTime);
            anyRemoved_ = true;
        } else {
            if ((lists & kEveryTime) == 0) everyTime_.push_back(f);
            lists = static_cast<std::uint8_t>(lists | kEveryTime | kWantsEveryTime);
        }
    }
    const CellAddress here = store_.address(formulas_.cell(f).slot);
    for (const Place& place : code.places) {
        auto area = place.precedent ? resolve(place, here) : std::nullopt;
        if (!area) continue;
        if (place.single) {
            const auto cell = implicitCell(*area, here);
            if (!cell) continue;
            *area = {cell->sheet, cell->row, cell->col, cell->row, cell->col};
        }
        for (SheetIndex sheet = area->sheet; sheet <= std::max(area->sheet, place.lastSheet); ++sheet) {
            Area part = *area;
            part.sheet = sheet;
            if (static_cast<std::int64_t>(part.rows()) * part.cols() > kCellsOnTheirOwn) {
                if (add) {
                    dependencies_.addArea(part, f);
                } else {
                    dependencies_.removeArea(part, f);
                }
                continue;
            }
            for (std::int32_t r = part.row0; r <= part.row1; ++r) {
                for (std::int32_t c = part.col0; c <= part.col1; ++c) {
                    const Slot slot = store_.make({sheet, r, c});
                    if (add) {
                        dependencies_.addCell(slot, f);
                    } else {
                        dependencies_.removeCell(slot, f);
                    }
                }
            }
        }
    }
}

void Recalculation::formulaChanged(FormulaId f)
{
    forgetPlans();
    link(f, true);
    std::uint8_t& lists = listed(f);
    if ((lists & kChanged) == 0) changed_.push_back(f);
    lists = static_cast<std::uint8_t>(lists | kChanged);
}

void Recalculation::formulaRemoved(FormulaId f)
{
    forgetPlans();
    link(f, false);
    if (formulas_.spills(f)) withdraw(f);
    refused_.erase(f);
    circular_.erase(f);
    iterated_.erase(f);
}

void Recalculation::forgetChanged()
{
    for (const FormulaId f : changed_) listed_[f] = static_cast<std::uint8_t>(listed_[f] & ~kChanged);
    changed_.clear();
}

/// The lists may hold formulas that went away since; their numbers may have been given anew.
void Recalculation::dropRemoved()
{
    const auto gone = [&](FormulaId f) {
        if (formulas_.isAlive(f)) return false;
        listed_[f] = static_cast<std::uint8_t>(listed_[f] & ~kChanged);
        return true;
    };
    std::erase_if(changed_, gone);
    if (!anyRemoved_) return;
    std::erase_if(everyTime_, [&](FormulaId f) {
        if ((listed_[f] & kWantsEveryTime) != 0) return false;
        listed_[f] = static_cast<std::uint8_t>(listed_[f] & ~kEveryTime);
        return true;
    });
    anyRemoved_ = false;
}

void Recalculation::relinkAll()
{
    forgetPlans();
    dependencies_.clear();
    everyTime_.clear();
    anyRemoved_ = false;
    for (std::uint8_t& lists : listed_) lists = static_cast<std::uint8_t>(lists & kChanged);
    for (FormulaId f = 0; f < formulas_.size(); ++f)
        if (formulas_.isAlive(f)) link(f, true);
}

void Recalculation::useTypedCode(bool use)
{
    useTyped_ = use;
    forgetPlans();
}

// Order -------------------------------------------------------------------------------------------------

void Recalculation::appendReaders(GraphNode node, std::vector<GraphNode>& out) const
{
    if ((node & kAreaBit) != 0) return dependencies_.appendReaders(node, out);
    outputs(node, [&](Slot slot) { dependencies_.appendReaders(slot, store_.address(slot), out); });
}

/// With what is evaluated at every recalculation.
Order Recalculation::orderFrom(const std::vector<Slot>& slots, const std::vector<FormulaId>& formulas)
{
    std::vector<FormulaId> all(formulas);
    all.insert(all.end(), everyTime_.begin(), everyTime_.end());
    return orderOf(slots, all);
}

Order Recalculation::orderOf(const std::vector<Slot>& slots, const std::vector<FormulaId>& formulas)
{
    std::vector<GraphNode> sources;
    for (const Slot slot : slots) dependencies_.appendReaders(slot, store_.address(slot), sources);
    sources.insert(sources.end(), formulas.begin(), formulas.end());
    return ordering_.order(sources, formulas_.size(), dependencies_.areaCount(),
                           [&](GraphNode node, std::vector<GraphNode>& out) { appendReaders(node, out); });
}

bool Recalculation::anyDynamic(const Order& order) const
{
    return !everyTime_.empty() && std::any_of(order.formulas.begin(), order.formulas.end(),
                                              [&](FormulaId f) { return formulas_.code(f).isDynamic; });
}

/// Position in the longest chain of affected formulas, for each formula of an order without loops.
std::vector<std::uint32_t> Recalculation::levelsOf(const Order& order) const
{
    std::vector<std::uint32_t> levels(formulas_.size(), 0);
    std::vector<GraphNode> readers, behindArea;
    for (const FormulaId f : order.formulas) {
        readers.clear();
        appendReaders(f, readers);
        const std::uint32_t next = levels[f] + 1;
        for (const GraphNode reader : readers) {
            if ((reader & kAreaBit) == 0) {
                levels[reader] = std::max(levels[reader], next);
                continue;
            }
            behindArea.clear();
            dependencies_.appendReaders(reader, behindArea);
            for (const GraphNode g : behindArea) levels[g] = std::max(levels[g], next);
        }
    }
    return levels;
}

// One formula -------------------------------------------------------------------------------------------

void Recalculation::storeAt(Slot slot, Value v)
{
    Value& target = store_.value(slot);
    if (target.kind() != v.kind()) ++kinds_;
    target = std::move(v);
}

void Recalculation::store(FormulaId f, Value result)
{
    if (!circular_.empty() && pinned_.count(f) == 0) circular_.erase(f);
    const bool block = formulas_.isBlock(f);
    if (formulas_.spills(f) && !frozen_ && (block || result.isArray())) return spill(f, std::move(result));
    if (block) return storeElements(f, result);
    if (result.isArray()) result = Value(result.at(0, 0));
    storeAt(formulas_.cell(f).slot, result.isEmpty() ? Value(0.0) : std::move(result));
}

/// Fills the block of a formula with the elements of its result.
void Recalculation::storeElements(FormulaId f, const Value& result)
{
    const auto shown = [](Value v) { return v.isEmpty() ? Value(0.0) : v; };
    if (!formulas_.isBlock(f)) formulas_.setBlock(f, extent(f));
    const Area& block = formulas_.block(f);
    const auto element = [&](std::int32_t r, std::int32_t c) -> Value {
        if (!result.isArray()) return result;
        if (result.rows() == 1) r = 0;
        if (result.cols() == 1) c = 0;
        if (r >= result.rows() || c >= result.cols()) return Failure::NA;
        return result.at(r, c);
    };
    store_.visitSlots(block, [&](std::int32_t row, std::int32_t col, Slot first, std::int32_t n) {
        for (std::int32_t k = 0; k < n; ++k)
            storeAt(first + static_cast<Slot>(k), shown(element(row + k - block.row0, col - block.col0)));
        return true;
    });
}

/// False when cells that wait for their turn must come first; the evaluator knows which.
bool Recalculation::evaluate(FormulaId f)
{
    const Code& code = formulas_.code(f);
    if (code.keepsStored) return true;
    if (formulas_.isDataTable(f)) return evaluateTable(f);
    auto result = evaluator_.evaluate(code, store_.address(formulas_.cell(f).slot));
    if (!result) return false;
    store(f, std::move(*result));
    return true;
}

void Recalculation::markDirty(const Order& order)
{
    for (const FormulaId f : order.formulas) outputs(f, [&](Slot s) { store_.mark(s, Store::kDirty); });
}

void Recalculation::clearDirty(FormulaId f)
{
    outputs(f, [&](Slot s) { store_.unmark(s, Store::kDirty); });
}

/// Evaluates a formula, and before it whatever it turns out to read that is not up to date.
void Recalculation::bring(FormulaId f)
{
    path_.push_back({f, false});
    while (!path_.empty()) {
        Frame& frame = path_.back();
        const FormulaId g = frame.formula;
        const Slot slot = formulas_.cell(g).slot;
        const bool dirty = store_.isDirty(slot);
        if (!dirty || evaluate(g)) {
            clearDirty(g);
            store_.unmark(slot, Store::kStarted);
            path_.pop_back();
            continue;
        }
        frame.started = true;
        store_.mark(slot, Store::kStarted);
        const std::span<const Slot> blocked = evaluator_.blocked();
        const auto own = [&](Slot s) { return formulas_.cell(store_.formula(s)).slot; };
        const auto closing = std::find_if(blocked.begin(), blocked.end(),
                                          [&](Slot s) { return store_.isMarked(own(s), Store::kStarted); });
        if (closing != blocked.end()) {
            const FormulaId last = store_.formula(*closing);
            std::size_t at = path_.size() - 1;
            while (path_[at].formula != last || !path_[at].started) --at;
            closeLoop(at);
            continue;
        }
        for (auto s = blocked.rbegin(); s != blocked.rend(); ++s)
            path_.push_back({store_.formula(*s), false});
    }
}

/// The started frames from `from` on read one another in a circle.
void Recalculation::closeLoop(std::size_t from)
{
    auto circle = std::make_shared<std::vector<FormulaId>>();
    for (std::size_t i = from; i < path_.size(); ++i)
        if (path_[i].started) circle->push_back(path_[i].formula);
    if (inLoop_ && rounds_ > 0) { // their turn comes when the rest of the loop has had its own
        for (const FormulaId f : *circle) {
            clearDirty(f);
            store_.unmark(formulas_.cell(f).slot, Store::kStarted);
            inClosedLoops_.push_back(f);
        }
        return;
    }
    for (const FormulaId f : *circle) {
        if (formulas_.spills(f) && !extent(f).isCell()) pinned_.emplace(f, Failure::Circular);
        store(f, Failure::Circular);
        clearDirty(f);
        store_.unmark(formulas_.cell(f).slot, Store::kStarted);
        circular_[f] = circle;
    }
}

// Runs --------------------------------------------------------------------------------------------------

/// Formulas that read one another at least on paper: each is brought up to date by what it really reads.
void Recalculation::runLoop(const Order& order, std::size_t begin, std::size_t end)
{
    std::vector<FormulaId> members(order.formulas.begin() + static_cast<std::ptrdiff_t>(begin),
                                   order.formulas.begin() + static_cast<std::ptrdiff_t>(end));
    sortByPlace(members);
    inLoop_ = true;
    inClosedLoops_.clear();
    for (const FormulaId f : members) {
        iterated_.erase(f);
        bring(f);
    }
    if (!inClosedLoops_.empty()) iterateLoop(members);
    inLoop_ = false;
}

void Recalculation::sortByPlace(std::vector<FormulaId>& members) const
{
    std::sort(members.begin(), members.end(), [&](FormulaId a, FormulaId b) {
        const CellAddress x = store_.address(formulas_.cell(a).slot);
        const CellAddress y = store_.address(formulas_.cell(b).slot);
        return std::tie(x.sheet, x.row, x.col) < std::tie(y.sheet, y.row, y.col);
    });
}

/// Evaluates the formulas of a loop sheet by sheet and row by row with the values that they have, round
/// after round.
void Recalculation::iterateLoop(std::vector<FormulaId>& members)
{
    members.insert(members.end(), inClosedLoops_.begin(),
                   inClosedLoops_.end()); // met through OFFSET and such
    sortByPlace(members);
    members.erase(std::unique(members.begin(), members.end()), members.end());
    iterated_.insert(members.begin(), members.end());
    for (int round = 0; round < rounds_; ++round) {
        double largest = 0.0;
        for (const FormulaId f : members) largest = std::max(largest, evaluateAgain(f));
        if (largest < change_ || largest == 0.0) return;
    }
}

/// By how much the first value of a formula changes; infinite when it is not a number before and after.
double Recalculation::evaluateAgain(FormulaId f)
{
    const Slot slot = formulas_.cell(f).slot;
    const Value before = store_.value(slot);
    while (!evaluate(f)) {
        const std::vector<Slot> first(evaluator_.blocked().begin(), evaluator_.blocked().end());
        for (const Slot s : first) bring(store_.formula(s));
    }
    const Value& after = store_.value(slot);
    if (before == after) return 0.0;
    if (!before.isNumber() || !after.isNumber()) return std::numeric_limits<double>::infinity();
    return std::fabs(after.number() - before.number());
}

void Recalculation::runGeneral(const Order& order, std::size_t begin, bool dirty)
{
    auto loop = order.loops.begin();
    for (std::size_t i = begin; i < order.formulas.size();) {
        while (loop != order.loops.end() && loop->first < i) ++loop;
        if (loop != order.loops.end() && loop->first == i) {
            runLoop(order, loop->first, loop->second);
            i = loop->second;
        } else if (dirty) {
            bring(order.formulas[i++]);
        } else {
            evaluate(order.formulas[i++]);
        }
    }
}

void Recalculation::forgetWritten()
{
    for (const Slot slot : written_) store_.unmark(slot, Store::kWritten);
    written_.clear();
}

void Recalculation::calculateAll()
{
    valuesChange(kNoPlan);
    all_ = false;
    dropRemoved();
    forgetChanged();
    circular_.clear();
    iterated_.clear();
    std::vector<FormulaId> every;
    for (FormulaId f = 0; f < formulas_.size(); ++f)
        if (formulas_.isAlive(f)) every.push_back(f);
    const Order order = orderFrom({}, every);
    const bool dirty = !order.loops.empty() || anyDynamic(order);
    if (dirty) markDirty(order);
    runGeneral(order, 0, dirty);
    settleSpills();
    forgetWritten();
}

void Recalculation::calculate()
{
    if (all_) return calculateAll();
    dropRemoved();
    if (!changed_.empty()) {
        valuesChange(kNoPlan);
        const Order order = orderFrom(written_, changed_);
        const bool dirty = !order.loops.empty() || anyDynamic(order);
        if (dirty) markDirty(order);
        runGeneral(order, 0, dirty);
        forgetChanged();
    } else if (!written_.empty() || !everyTime_.empty()) {
        runPlan(planFor(written_));
    }
    settleSpills();
    forgetWritten();
}

} // namespace varnex3::sheet
