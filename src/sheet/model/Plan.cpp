// sheet/model/Plan.cpp - typed code for the formulas of an order.
#include "sheet/model/Plan.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <unordered_set>

namespace varnex3::sheet {

bool Plan::operandsFit(const Store& store) const
{
    return std::all_of(operands.begin(), operands.end(), [&](const auto& operand) {
        return store.value(operand.first).kind() == operand.second;
    });
}

bool Plan::restoreKinds(Store& store, const FormulaTable& formulas) const
{
    bool changed = false;
    for (const PlanStep& step : steps) {
        if (!step.typed) continue;
        for (std::uint32_t i = step.first; i < step.last; ++i) {
            Value& v = store.value(formulas.cell(order.formulas[i]).slot);
            if (v.kind() == expected[i]) continue;
            v = expected[i] == Kind::Boolean ? Value(false) : Value(0.0);
            changed = true;
        }
    }
    return changed;
}

bool Plan::isFixed(Slot cell, const Store& store, const std::vector<bool>& inPlan) const
{
    const FormulaId from = store.formula(cell);
    return (from == kNoFormula || !inPlan[from]) && !std::binary_search(key.begin(), key.end(), cell);
}

bool Plan::isFixed(const TypedTable& table, const Store& store, const std::vector<bool>& inPlan) const
{
    const auto fixed = [&](const std::pair<Slot, Kind>& cell) { return isFixed(cell.first, store, inPlan); };
    return std::all_of(table.keyCells.begin(), table.keyCells.end(), fixed) &&
           std::all_of(table.cells.begin(), table.cells.end(), fixed);
}

void Plan::build(Store& store, FormulaTable& formulas, TypedPool& pool,
                 const std::vector<std::uint32_t>& levels)
{
    std::sort(order.formulas.begin(), order.formulas.end(), [&](FormulaId a, FormulaId b) {
        const FormulaCell &x = formulas.cell(a), &y = formulas.cell(b);
        return std::tie(levels[a], x.code, x.slot) < std::tie(levels[b], y.code, y.slot);
    });
    std::vector<bool> inPlan(formulas.size(), false);
    for (const FormulaId f : order.formulas) inPlan[f] = true;
    const auto inside = [&](const std::pair<Slot, Kind>& operand) {
        const FormulaId from = store.formula(operand.first);
        return from != kNoFormula && inPlan[from];
    };

    steps.clear();
    typedCode = {};
    operands.clear();
    expected.resize(order.formulas.size());
    PackedSource source{typedCode, {}, {}, {}, key};
    std::uint64_t group = 0;
    std::size_t tables = 0;
    std::vector<bool> arrayTables;
    const auto isArray = [&](const std::pair<Slot, Kind>& cell) {
        const FormulaId from = store.formula(cell.first);
        return from != kNoFormula && inPlan[from] && formulas.isBlock(from);
    };
    const auto readsArray = [&](const TypedTable& table) {
        return std::any_of(table.keyCells.begin(), table.keyCells.end(), isArray) ||
               std::any_of(table.cells.begin(), table.cells.end(), isArray);
    };
    for (std::uint32_t i = 0; i < order.formulas.size(); ++i) {
        const FormulaId f = order.formulas[i], before = order.formulas[i > 0 ? i - 1 : 0];
        const Slot slot = formulas.cell(f).slot;
        source.results.push_back(slot);
        expected[i] = store.value(slot).kind();
        const auto start = static_cast<std::uint32_t>(typedCode.instructions.size());
        const std::size_t known = operands.size(), compared = typedCode.comparisons.size();
        bool fits = !formulas.isBlock(f) && formulas.typed(f).result == expected[i] &&
                    appendTyped(formulas.typed(f), formulas.code(f), store.address(slot), slot, store, pool,
                                typedCode, operands);
        // The cells of an array formula change their kinds unseen; what the plan itself works out is checked
        // when it is there.
        for (std::size_t k = known; fits && k < operands.size(); ++k) fits = !isArray(operands[k]);
        for (std::size_t k = compared; fits && k < typedCode.comparisons.size(); ++k)
            fits = isFixed(typedCode.comparisons[k].cell, store, inPlan);
        for (; tables < typedCode.tables.size(); ++tables) {
            TypedTable& table = typedCode.tables[tables];
            table.live = !isFixed(table, store, inPlan);
            arrayTables.push_back(table.live && readsArray(table));
        }
        for (std::size_t k = start; fits && k < typedCode.instructions.size(); ++k)
            if (const auto table = typedCode.instructions[k].table()) fits = !arrayTables[*table];
        if (fits) {
            operands.erase(
                std::remove_if(operands.begin() + static_cast<std::ptrdiff_t>(known), operands.end(), inside),
                operands.end());
            if (levels[f] != levels[before] || formulas.cell(f).code != formulas.cell(before).code) ++group;
            source.formulas.push_back({i, start, group});
        } else {
            typedCode.instructions.resize(start);
            typedCode.comparisons.resize(compared);
            operands.resize(known);
        }
        const auto count = static_cast<std::uint32_t>(source.formulas.size());
        if (steps.empty() || steps.back().typed != fits) {
            steps.push_back({fits, i, i, source.steps.size()});
            if (fits) source.steps.push_back({count - 1, count});
        }
        steps.back().last = i + 1;
        if (fits) source.steps.back().last = count;
    }
    program = PackedProgram::make(source);
    for (const TypedTable& table : typedCode.tables) {
        std::remove_copy_if(table.keyCells.begin(), table.keyCells.end(), std::back_inserter(operands),
                            inside);
        std::remove_copy_if(table.cells.begin(), table.cells.end(), std::back_inserter(operands), inside);
    }
    std::sort(operands.begin(), operands.end());
    operands.erase(std::unique(operands.begin(), operands.end()), operands.end());
    load(store);
    built = true;
    failures = 0;
}

bool Plan::appendNeeded(Store& store, FormulaTable& formulas, TypedPool& pool, std::span<const Slot> outputs,
                        TypedProgram& typed, std::vector<BlockFormula>& general,
                        std::vector<std::pair<Slot, Kind>>& outside) const
{
    std::vector<bool> inPlan(formulas.size(), false);
    for (const FormulaId f : order.formulas) inPlan[f] = true;
    const auto append = [&](FormulaId f, TypedProgram& into, std::vector<std::pair<Slot, Kind>>& reads) {
        const Slot slot = formulas.cell(f).slot;
        return formulas.typed(f).result == store.value(slot).kind() &&
               appendTyped(formulas.typed(f), formulas.code(f), store.address(slot), slot, store, pool, into,
                           reads);
    };
    // Typed code leaves out cells of some kinds.
    const auto holds = [&](const TypedProgram& made, std::vector<std::pair<Slot, Kind>>& reads) {
        for (const TypedInstruction& in : made.instructions) {
            const auto t = in.table();
            if (!t) continue;
            const TypedTable& table = made.tables[*t];
            reads.insert(reads.end(), table.keyCells.begin(), table.keyCells.end());
            reads.insert(reads.end(), table.cells.begin(), table.cells.end());
        }
        for (const TypedComparison& comparison : made.comparisons)
            if (!isFixed(comparison.cell, store, inPlan)) return false;
        return std::all_of(reads.begin(), reads.end(), [&](const auto& cell) {
            const FormulaId from = store.formula(cell.first);
            return cell.second == Kind::Number || cell.second == Kind::Boolean || from == kNoFormula ||
                   !inPlan[from];
        });
    };

    struct Chosen {
        FormulaId formula;
        std::optional<BlockFormula> general;
    };
    std::vector<Chosen> chosen;
    std::unordered_set<Slot> needed(outputs.begin(), outputs.end()), results;
    std::unordered_set<Slot> readWhole; // by a formula of the general evaluator
    TypedProgram scratch;
    std::vector<std::pair<Slot, Kind>> read, own;
    for (auto f = order.formulas.rbegin(); f != order.formulas.rend(); ++f) {
        const Slot slot = formulas.cell(*f).slot;
        bool wanted = needed.contains(slot);
        if (formulas.isBlock(*f)) {
            store.visitSlots(formulas.block(*f), [&](std::int32_t, std::int32_t, Slot first, std::int32_t n) {
                for (Slot s = first; s < first + static_cast<Slot>(n); ++s)
                    wanted = wanted || needed.contains(s);
                return true;
            });
            if (wanted) return false;
        }
        if (!wanted) continue;
        scratch.instructions.clear();
        scratch.comparisons.clear();
        own.clear();
        bool isTyped = append(*f, scratch, own) && holds(scratch, own);
        if (readWhole.contains(slot)) // where it may give a text, the reader wants to see it
            isTyped = isTyped && std::none_of(scratch.instructions.begin(), scratch.instructions.end(),
                                              [](const auto& in) { return in.op == TypedOp::Stop; });
        if (!isTyped) {
            auto formula = blockFormula(formulas.code(*f), slot, formulas.spills(*f), store);
            if (!formula) return false;
            own = formula->cells;
            for (const auto& cell : own) readWhole.insert(cell.first);
            chosen.push_back({*f, std::move(*formula)});
        } else {
            chosen.push_back({*f, std::nullopt});
        }
        for (const auto& cell : own) needed.insert(cell.first);
        read.insert(read.end(), own.begin(), own.end());
        results.insert(slot);
    }
    std::sort(read.begin(), read.end());
    read.erase(std::unique(read.begin(), read.end()), read.end());
    for (const auto& operand : read)
        if (!results.contains(operand.first)) outside.push_back(operand);
    for (auto f = chosen.rbegin(); f != chosen.rend(); ++f) {
        own.clear();
        if (!f->general) {
            if (!append(f->formula, typed, own)) return false;
            continue;
        }
        typed.instructions.push_back({TypedOp::Formula, formulas.cell(f->formula).slot,
                                      static_cast<std::uint32_t>(general.size()), 0, 0, 0});
        general.push_back(std::move(*f->general));
    }
    return true;
}

} // namespace varnex3::sheet
