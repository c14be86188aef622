// sheet/model/Recalculation.cpp - linking, ordering, running.
#include "sheet/model/Recalculation.h"

#include <algorithm>
#include <span>
#include <tuple>

namespace varnex3::sheet {
namespace {

constexpr std::int64_t kCellsOnTheirOwn = 4; // a smaller area is linked cell by cell
constexpr std::size_t kMostPlans = 64;

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
        if (add) {
            everyTime_.push_back(f);
        } else {
            everyTime_.erase(std::remove(everyTime_.begin(), everyTime_.end(), f), everyTime_.end());
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
    plans_.clear();
    last_ = nullptr;
    link(f, true);
    changed_.push_back(f);
}

void Recalculation::formulaRemoved(FormulaId f)
{
    plans_.clear();
    last_ = nullptr;
    link(f, false);
    circular_.erase(f);
    changed_.erase(std::remove(changed_.begin(), changed_.end(), f), changed_.end());
}

void Recalculation::relinkAll()
{
    plans_.clear();
    last_ = nullptr;
    dependencies_.clear();
    everyTime_.clear();
    for (FormulaId f = 0; f < formulas_.size(); ++f)
        if (formulas_.isAlive(f)) link(f, true);
}

void Recalculation::useTypedCode(bool use)
{
    useTyped_ = use;
    plans_.clear();
    last_ = nullptr;
}

// Order -------------------------------------------------------------------------------------------------

void Recalculation::appendReaders(GraphNode node, std::vector<GraphNode>& out) const
{
    if ((node & kAreaBit) != 0) return dependencies_.appendReaders(node, out);
    outputs(node, [&](Slot slot) { dependencies_.appendReaders(slot, store_.address(slot), out); });
}

Order Recalculation::orderFrom(const std::vector<Slot>& slots, const std::vector<FormulaId>& formulas)
{
    std::vector<GraphNode> sources;
    for (const Slot slot : slots) dependencies_.appendReaders(slot, store_.address(slot), sources);
    sources.insert(sources.end(), formulas.begin(), formulas.end());
    sources.insert(sources.end(), everyTime_.begin(), everyTime_.end());
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
    if (!circular_.empty()) circular_.erase(f);
    const auto shown = [](Value v) { return v.isEmpty() ? Value(0.0) : v; };
    if (!formulas_.isBlock(f)) {
        if (result.isArray()) result = Value(result.at(0, 0));
        return storeAt(formulas_.cell(f).slot, shown(std::move(result)));
    }
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
    for (const FormulaId f : *circle) {
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
    std::sort(members.begin(), members.end(), [&](FormulaId a, FormulaId b) {
        const CellAddress x = store_.address(formulas_.cell(a).slot);
        const CellAddress y = store_.address(formulas_.cell(b).slot);
        return std::tie(x.sheet, x.row, x.col) < std::tie(y.sheet, y.row, y.col);
    });
    for (const FormulaId f : members) bring(f);
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
    all_ = false;
    changed_.clear();
    circular_.clear();
    std::vector<FormulaId> every;
    for (FormulaId f = 0; f < formulas_.size(); ++f)
        if (formulas_.isAlive(f)) every.push_back(f);
    const Order order = orderFrom({}, every);
    const bool dirty = !order.loops.empty() || anyDynamic(order);
    if (dirty) markDirty(order);
    runGeneral(order, 0, dirty);
    forgetWritten();
}

void Recalculation::calculate()
{
    if (all_) return calculateAll();
    if (!changed_.empty()) {
        const Order order = orderFrom(written_, changed_);
        const bool dirty = !order.loops.empty() || anyDynamic(order);
        if (dirty) markDirty(order);
        runGeneral(order, 0, dirty);
        changed_.clear();
    } else if (!written_.empty() || !everyTime_.empty()) {
        runPlan(planFor());
    }
    forgetWritten();
}

// Plans -------------------------------------------------------------------------------------------------

Recalculation::Plan& Recalculation::planFor()
{
    if (last_ != nullptr && last_->sequence == written_) return *last_;
    sortedKey_ = written_;
    std::sort(sortedKey_.begin(), sortedKey_.end());
    const auto known =
        std::find_if(plans_.begin(), plans_.end(), [&](const auto& plan) { return plan->key == sortedKey_; });
    if (known != plans_.end()) {
        last_ = known->get();
        last_->sequence = written_;
        return *last_;
    }
    if (plans_.size() >= kMostPlans)
        plans_.erase(std::min_element(plans_.begin(), plans_.end(),
                                      [](const auto& a, const auto& b) { return a->lastUse < b->lastUse; }));
    auto plan = std::make_unique<Plan>();
    plan->key = sortedKey_;
    plan->sequence = written_;
    plan->order = orderFrom(written_, {});
    plan->marksDirty = !plan->order.loops.empty() || anyDynamic(plan->order);
    plans_.push_back(std::move(plan));
    last_ = plans_.back().get();
    return *last_;
}

void Recalculation::runPlan(Plan& plan)
{
    plan.lastUse = ++uses_;
    if (useTyped_ && plan.order.loops.empty() && plan.runs > 0) {
        if (!plan.built || (plan.kinds != kinds_ && !kindsHold(plan))) build(plan);
        runBuilt(plan);
    } else {
        if (plan.marksDirty) markDirty(plan.order);
        runGeneral(plan.order, 0, plan.marksDirty);
    }
    ++plan.runs;
}

/// Whether the typed code of a plan still fits the cells; results that it will write get their kind back.
bool Recalculation::kindsHold(Plan& plan)
{
    for (const auto& [slot, kind] : plan.operands)
        if (store_.value(slot).kind() != kind) return false;
    bool changed = false;
    for (const Step& step : plan.steps) {
        if (!step.typed) continue;
        for (std::uint32_t i = step.first; i < step.last; ++i) {
            Value& v = store_.value(formulas_.cell(plan.order.formulas[i]).slot);
            if (v.kind() == plan.expected[i]) continue;
            v = plan.expected[i] == Kind::Boolean ? Value(false) : Value(0.0);
            changed = true;
        }
    }
    if (changed) ++kinds_;
    plan.kinds = kinds_;
    return true;
}

void Recalculation::build(Plan& plan)
{
    Order& order = plan.order;
    const std::vector<std::uint32_t> levels = levelsOf(order);
    std::sort(order.formulas.begin(), order.formulas.end(), [&](FormulaId a, FormulaId b) {
        const FormulaCell &x = formulas_.cell(a), &y = formulas_.cell(b);
        return std::tie(levels[a], x.code, x.slot) < std::tie(levels[b], y.code, y.slot);
    });
    std::vector<bool> inPlan(formulas_.size(), false);
    for (const FormulaId f : order.formulas) inPlan[f] = true;

    plan.steps.clear();
    plan.program = {};
    plan.operands.clear();
    plan.starts.clear();
    plan.typedAt.clear();
    plan.expected.resize(order.formulas.size());
    for (std::uint32_t i = 0; i < order.formulas.size(); ++i) {
        const FormulaId f = order.formulas[i];
        const Slot slot = formulas_.cell(f).slot;
        plan.expected[i] = store_.value(slot).kind();
        const auto start = static_cast<std::uint32_t>(plan.program.instructions.size());
        const std::size_t known = plan.operands.size();
        bool typed = !formulas_.isBlock(f) && formulas_.typed(f).result == plan.expected[i] &&
                     appendTyped(formulas_.typed(f), formulas_.code(f), store_.address(slot), slot, store_,
                                 pool_, plan.program, plan.operands);
        // The cells of an array formula change their kinds unseen; what the plan itself works out is checked
        // when it is there.
        for (std::size_t k = known; typed && k < plan.operands.size(); ++k) {
            const FormulaId from = store_.formula(plan.operands[k].first);
            if (from != kNoFormula && inPlan[from] && formulas_.isBlock(from)) typed = false;
        }
        if (typed) {
            const auto inside = [&](const std::pair<Slot, Kind>& operand) {
                const FormulaId from = store_.formula(operand.first);
                return from != kNoFormula && inPlan[from];
            };
            plan.operands.erase(std::remove_if(plan.operands.begin() + static_cast<std::ptrdiff_t>(known),
                                               plan.operands.end(), inside),
                                plan.operands.end());
            plan.starts.push_back(start);
            plan.typedAt.push_back(i);
        } else {
            plan.program.instructions.resize(start);
            plan.operands.resize(known);
        }
        if (plan.steps.empty() || plan.steps.back().typed != typed)
            plan.steps.push_back({typed, i, i, start, start});
        plan.steps.back().last = i + 1;
        plan.steps.back().end = static_cast<std::uint32_t>(plan.program.instructions.size());
    }
    // Joined are formulas of one step, one level and one code.
    std::vector<std::uint64_t> groups;
    std::uint64_t group = 0;
    for (Step& step : plan.steps) {
        if (!step.typed) continue;
        step.begin = static_cast<std::uint32_t>(groups.size());
        for (std::uint32_t i = step.first; i < step.last; ++i) {
            const FormulaId f = order.formulas[i], before = order.formulas[i > 0 ? i - 1 : 0];
            const bool same = i > step.first && levels[f] == levels[before] &&
                              formulas_.cell(f).code == formulas_.cell(before).code;
            groups.push_back(same ? group : ++group);
        }
    }
    joinRepeats(plan.program, plan.starts, groups, pool_);
    for (Step& step : plan.steps) {
        if (!step.typed) continue;
        const std::size_t next = step.begin + (step.last - step.first);
        step.begin = plan.starts[step.begin];
        step.end = next < plan.starts.size() ? plan.starts[next]
                                             : static_cast<std::uint32_t>(plan.program.instructions.size());
    }
    std::sort(plan.operands.begin(), plan.operands.end());
    plan.operands.erase(std::unique(plan.operands.begin(), plan.operands.end()), plan.operands.end());
    plan.built = true;
    plan.failures = 0;
    plan.kinds = kinds_;
}

void Recalculation::runBuilt(Plan& plan)
{
    if (plan.marksDirty) markDirty(plan.order);
    for (const Step& step : plan.steps) {
        if (step.typed) {
            const std::uint32_t stop = plan.program.run(store_.values(), step.begin, step.end);
            if (stop != step.end) {
                const auto after = std::upper_bound(plan.starts.begin(), plan.starts.end(), stop);
                // Formulas that are worked out together start over together.
                const auto at = std::lower_bound(plan.starts.begin(), after, *(after - 1));
                const std::uint32_t position =
                    plan.typedAt[static_cast<std::size_t>(at - plan.starts.begin())];
                if (plan.marksDirty)
                    for (std::uint32_t i = step.first; i < position; ++i) clearDirty(plan.order.formulas[i]);
                return giveUp(plan, position);
            }
            if (plan.marksDirty)
                for (std::uint32_t i = step.first; i < step.last; ++i) clearDirty(plan.order.formulas[i]);
            continue;
        }
        for (std::uint32_t i = step.first; i < step.last; ++i) {
            const FormulaId f = plan.order.formulas[i];
            if (plan.marksDirty) {
                bring(f);
            } else {
                evaluate(f);
            }
            if (store_.value(formulas_.cell(f).slot).kind() != plan.expected[i]) return giveUp(plan, i + 1);
        }
    }
    plan.failures = 0;
    // Kinds that changed on the way are those of cells outside typed code, or came back as expected.
}

/// A result is not of the kind that the typed code was made for: the general evaluator does the rest.
void Recalculation::giveUp(Plan& plan, std::size_t position)
{
    runGeneral(plan.order, position, plan.marksDirty);
    if (++plan.failures < plan.patience) return;
    plan.built = false; // the cells have other kinds for good: make it anew for them
    constexpr std::uint32_t kMostPatience = 4096;
    plan.patience = std::min(2 * plan.patience, kMostPatience);
}

} // namespace varnex3::sheet
