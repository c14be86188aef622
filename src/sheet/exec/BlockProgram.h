// sheet/exec/BlockProgram.h - typed code turned around: one instruction, many trials.
//
// Made from the typed code of all formulas between some inputs and outputs. What the outputs do not need is
// left out, what does not depend on the inputs is worked out once, IFs become masks, and registers are
// used again as soon as nothing reads them any more, so that a long recurrence stays in the cache.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "sheet/exec/BlockKernel.h"
#include "sheet/exec/Store.h"
#include "sheet/exec/TypedProgram.h"

namespace varnex3::sheet {

class BlockProgram {
public:
    /// @param typed    the instructions of formulas in order
    /// @param inputs   cells that differ from trial to trial
    /// @param formulas what the Formula instructions of `typed` stand for
    /// @param outputs  cells wanted; each an input, a result of `typed`, or a cell that holds a number
    /// @return         nothing when the code goes beyond what blocks can do
    static std::optional<BlockProgram> make(const TypedProgram& typed, BlockFormulas formulas,
                                            std::span<const Slot> inputs, std::span<const Slot> outputs);

    /// Takes what tables hold and texts compare to from the cells as they are; before `load`.
    void readTables(Store& store);
    /// Registers for one thread, with what does not depend on the inputs worked out from the cells as they
    /// are.
    BlockRegisters load(const Store& store) const;

    /// Works out trials 0..count-1 of `inputs`, one row of numbers per trial, into the rows of `outputs`.
    /// @param count  at most kLanes
    /// @return       trials done: those before the first one that has a result which is no finite number
    std::size_t run(BlockRegisters& registers, const double* inputs, double* outputs,
                    std::size_t count) const;

    /// Instructions per trial: a measure of its cost.
    std::size_t length() const
    {
        constexpr std::size_t kFormula = 50; // in instructions
        return each_.instructions.size() + kFormula * formulas_->all.size();
    }

private:
    friend class BlockMaker;

    BlockCode once_, each_;
    TypedProgram comparing_; // comparisons alone
    std::shared_ptr<const BlockFormulas> formulas_;
    std::vector<std::pair<Slot, std::uint32_t>> constants_; // cell -> register
    std::vector<std::optional<std::uint32_t>> inputs_;      // register, for those that are read
    std::vector<std::uint32_t> outputs_;                    // register
    std::size_t registers_ = 0;
};

} // namespace varnex3::sheet
