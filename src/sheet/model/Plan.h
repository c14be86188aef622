// sheet/model/Plan.h - the formulas that a set of written cells affects, in order, and their typed code.
//
// A plan is data and the making of it; Recalculation keeps the plans and runs them.
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "sheet/compile/Typing.h"
#include "sheet/exec/BlockProgram.h"
#include "sheet/exec/PackedProgram.h"
#include "sheet/exec/Store.h"
#include "sheet/exec/TypedProgram.h"
#include "sheet/graph/Ordering.h"
#include "sheet/model/FormulaTable.h"

namespace varnex3::sheet {

/// A stretch of a plan: positions [first, last) of its order, either typed or for the general evaluator.
struct PlanStep {
    bool typed;
    std::uint32_t first, last;
    std::size_t number = 0; // typed: which one of the program
};

/// What lies between some inputs and outputs, for many trials at once, and what it relies on.
struct TrialCode {
    BlockProgram program;
    std::vector<std::pair<Slot, Kind>> operands; // cells read that do not depend on the inputs
    std::vector<Slot> changing;                  // inputs and all that they affect; sorted
    std::vector<Area> used;                      // by sheet; none when no formula may ask
    std::uint64_t plan = 0;
    std::uint64_t structure = 0;
};

struct Plan {
    std::uint64_t id = 0;
    std::vector<Slot> key;      // sorted
    std::vector<Slot> sequence; // as last written, in that order
    Order order;
    bool marksDirty = false; // some formula may read cells that the order does not know of
    int runs = 0;
    std::uint64_t lastUse = 0;

    bool built = false;
    std::uint64_t kinds = 0;  // state of the kinds for which the typed code was checked
    std::uint64_t values = 0; // state of the values that the program has loaded
    std::vector<PlanStep> steps;
    TypedProgram typedCode;
    PackedProgram program;
    std::vector<Kind> expected;                  // kinds of the results, by position in the order
    std::vector<std::pair<Slot, Kind>> operands; // what typed code reads from outside the plan
    std::uint32_t failures = 0, patience = 4;

    /// Makes the steps for the kinds that the cells have now, and sorts the order by level, then code. No
    /// result of an older program may be late.
    /// @param levels  by formula: its position in the longest chain of affected formulas
    void build(Store& store, FormulaTable& formulas, TypedPool& pool,
               const std::vector<std::uint32_t>& levels);
    /// Appends the instructions of the formulas that some outputs need, in order; false when one of them
    /// cannot be worked out away from the book.
    /// @param general  receives those that have no typed code
    /// @param outside  receives what they read from outside the plan
    bool appendNeeded(Store& store, FormulaTable& formulas, TypedPool& pool, std::span<const Slot> outputs,
                      TypedProgram& typed, std::vector<BlockFormula>& general,
                      std::vector<std::pair<Slot, Kind>>& outside) const;
    /// Takes what no written cell changes from the cells as they are.
    void load(Store& store)
    {
        for (TypedTable& table : typedCode.tables)
            if (!table.live) table.read(store.values());
        typedCode.compare(store.values());
        program.load(store);
    }
    /// Whether the cells that typed code reads from outside have the kinds that it was made for.
    bool operandsFit(const Store& store) const;
    /// Gives the cells that typed code writes their kinds back; whether one had another.
    bool restoreKinds(Store& store, const FormulaTable& formulas) const;

private:
    /// Whether a cell, or each cell of a table, is neither written nor worked out by the plan.
    /// @param inPlan  by formula
    bool isFixed(Slot cell, const Store& store, const std::vector<bool>& inPlan) const;
    bool isFixed(const TypedTable& table, const Store& store, const std::vector<bool>& inPlan) const;
};

} // namespace varnex3::sheet
