// sheet/exec/BlockFormulas.h - formulas without typed code in trials that go in blocks.
//
// The general evaluator works them out trial by trial, over copies of the cells that they read. What their
// results are read by, and when, is BlockProgram's business.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "sheet/exec/Code.h"
#include "sheet/exec/Store.h"
#include "sheet/value/Environment.h"

namespace varnex3::sheet {

class BlockRegisters;

/// A formula, what it reads and what it gives.
struct BlockFormula {
    const Code* code = nullptr;
    CellAddress here;
    Kind kind = Kind::Number; // of its result as typed code takes it; of any other kind it is no number there
    bool spills = false;      // an array would fill further cells
    std::vector<Area> areas;  // all that it may read
    std::vector<std::pair<Slot, Kind>> cells; // those of the areas that are in use, with their kinds
};

/// The formulas of a program and the book around them.
struct BlockFormulas {
    std::vector<BlockFormula> all;
    Environment* book = nullptr;
};

/// The formula of a cell; nothing when it cannot be worked out away from its book.
std::optional<BlockFormula> blockFormula(const Code& code, Slot cell, bool spills, Store& store);

/// A cell that differs from trial to trial: a register, or the whole value of an earlier formula.
struct BlockSource {
    Slot cell = kNoSlot;       // in the book
    std::uint32_t number = 0;  // register
    Kind kind = Kind::Number;  // of the number: Number or Boolean
    std::int32_t formula = -1; // -1: the number is all there is
};

/// One thread's copies of cells, and the results of one block.
class FormulaLanes {
public:
    /// @param store  the cells as they are now
    FormulaLanes(std::shared_ptr<const BlockFormulas> formulas, const Store& store);
    ~FormulaLanes();

    /// The lanes worked out by `run`; the others take the result of the last one.
    void setCount(std::size_t count) { count_ = count; }
    /// Works out formula k in every lane.
    /// @param result  receives numbers; what is no number where the formula gives none, or reads a cell
    ///                whose error is not known
    void run(std::size_t k, const std::vector<BlockSource>& sources, BlockRegisters& registers,
             double* result);

private:
    class Cells;

    std::shared_ptr<const BlockFormulas> formulas_;
    std::unique_ptr<Cells> cells_;
    std::vector<Value> values_; // formula x lane; an omitted value for what is not known
    std::size_t count_;
    std::vector<std::pair<Slot, const BlockSource*>> targets_; // scratch
};

} // namespace varnex3::sheet
