// sheet/model/Recalculation_plans.cpp - repeated runs: a plan for every set of written cells, and its typed
// code.
#include <algorithm>
#include <unordered_set>

#include "sheet/model/Recalculation.h"

namespace varnex3::sheet {
namespace {

constexpr std::size_t kMostPlans = 64;

} // namespace

Plan& Recalculation::planFor(const std::vector<Slot>& written)
{
    if (last_ != nullptr && last_->sequence == written) return *last_;
    sortedKey_ = written;
    std::sort(sortedKey_.begin(), sortedKey_.end());
    const auto known =
        std::find_if(plans_.begin(), plans_.end(), [&](const auto& plan) { return plan->key == sortedKey_; });
    if (known != plans_.end()) {
        last_ = known->get();
        last_->sequence = written;
        return *last_;
    }
    store_.settle(); // what is late may lie in a plan that goes
    if (plans_.size() >= kMostPlans)
        plans_.erase(std::min_element(plans_.begin(), plans_.end(),
                                      [](const auto& a, const auto& b) { return a->lastUse < b->lastUse; }));
    auto plan = std::make_unique<Plan>();
    plan->id = ++ids_;
    plan->key = sortedKey_;
    plan->sequence = written;
    plan->order = orderFrom(written, {});
    plan->marksDirty = !plan->order.loops.empty() || anyDynamic(plan->order);
    plans_.push_back(std::move(plan));
    last_ = plans_.back().get();
    return *last_;
}

void Recalculation::runPlan(Plan& plan)
{
    plan.lastUse = ++uses_;
    valuesChange(plan.id);
    if (useTyped_ && plan.order.loops.empty() && plan.runs > 0) {
        if (!plan.built || (plan.kinds != kinds_ && !kindsHold(plan))) {
            build(plan);
        } else if (plan.values != values_) {
            plan.load(store_);
        }
        plan.values = values_;
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
    if (!plan.operandsFit(store_)) return false;
    if (plan.restoreKinds(store_, formulas_)) ++kinds_;
    plan.kinds = kinds_;
    return true;
}

void Recalculation::build(Plan& plan)
{
    store_.settle();
    plan.build(store_, formulas_, pool_, levelsOf(plan.order));
    plan.kinds = kinds_;
}

void Recalculation::runBuilt(Plan& plan)
{
    if (plan.marksDirty) markDirty(plan.order);
    for (const PlanStep& step : plan.steps) {
        if (step.typed) {
            if (const auto position = plan.program.run(store_, step.number)) {
                if (plan.marksDirty)
                    for (std::uint32_t i = step.first; i < *position; ++i) clearDirty(plan.order.formulas[i]);
                return giveUp(plan, *position);
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

// Many trials at once ------------------------------------------------------------------------------------

/// Whether a block that spills may grow into an empty cell that counts as fixed.
bool Recalculation::mayBeCovered(const Order& order, const std::vector<std::pair<Slot, Kind>>& cells)
{
    std::vector<CellAddress> growing;
    for (const FormulaId f : order.formulas)
        if (formulas_.spills(f) && !formulas_.typed(f).possible)
            growing.push_back(store_.address(formulas_.cell(f).slot));
    return !growing.empty() && std::any_of(cells.begin(), cells.end(), [&](const auto& cell) {
        if (!store_.value(cell.first).isEmpty() || store_.formula(cell.first) != kNoFormula) return false;
        const CellAddress at = store_.address(cell.first);
        return std::any_of(growing.begin(), growing.end(), [&](const CellAddress& from) {
            return from.sheet == at.sheet && from.row <= at.row && from.col <= at.col;
        });
    });
}

std::optional<TrialCode> Recalculation::trialCode(const std::vector<Slot>& inputs,
                                                  const std::vector<Slot>& outputs)
{
    dropRemoved();
    if (!useTyped_ || all_ || !changed_.empty() || !written_.empty()) return std::nullopt;
    std::unordered_set<Slot> distinct;
    for (const Slot slot : inputs) {
        const bool plain = store_.value(slot).isNumber() && store_.formula(slot) == kNoFormula;
        if (!plain || !distinct.insert(slot).second) return std::nullopt;
    }
    for (const Slot slot : outputs)
        if (!store_.value(slot).isNumber()) return std::nullopt;
    const Plan& plan = planFor(inputs);
    // A formula that changes every time must have its turn in every trial.
    const bool repeats = std::none_of(everyTime_.begin(), everyTime_.end(),
                                      [&](FormulaId f) { return formulas_.code(f).isVolatile; });
    if (!repeats || !plan.order.loops.empty()) return std::nullopt;
    TrialCode code;
    TypedProgram typed;
    BlockFormulas general{{}, &evaluator_.environment()};
    if (!plan.appendNeeded(store_, formulas_, pool_, outputs, typed, general.all, code.operands))
        return std::nullopt;
    for (SheetIndex s = 0; !general.all.empty() && s < store_.sheetCount(); ++s)
        code.used.push_back(store_.used(s));
    if (mayBeCovered(plan.order, code.operands)) return std::nullopt;
    auto program = BlockProgram::make(typed, std::move(general), inputs, outputs);
    if (!program) return std::nullopt;
    code.program = std::move(*program);
    code.changing = inputs;
    for (const FormulaId f : plan.order.formulas)
        this->outputs(f, [&](Slot s) { code.changing.push_back(s); });
    std::sort(code.changing.begin(), code.changing.end());
    for (const Slot slot : outputs)
        if (!std::binary_search(code.changing.begin(), code.changing.end(), slot))
            code.operands.emplace_back(slot, Kind::Number);
    code.plan = plan.id;
    code.structure = structure_;
    return code;
}

bool Recalculation::fits(const TrialCode& code) const
{
    const bool waiting = all_ || !changed_.empty() || !written_.empty();
    if (waiting || code.structure != structure_) return false;
    for (std::size_t s = 0; s < code.used.size(); ++s)
        if (store_.used(static_cast<SheetIndex>(s)) != code.used[s]) return false;
    return std::all_of(code.operands.begin(), code.operands.end(), [&](const auto& operand) {
        return store_.value(operand.first).kind() == operand.second;
    });
}

std::uint64_t Recalculation::valuesFor(const TrialCode& code)
{
    valuesChange(code.plan);
    return values_;
}

} // namespace varnex3::sheet
