// sheet/model/Trials.h - many trials of a book at once, without a trace in its cells.
//
// A trial writes the inputs, recalculates and reads the outputs. Trials gives the numbers that this would
// give, bit for bit, on all processors and several trials per step.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "sheet/exec/BlockKernel.h"
#include "sheet/exec/Workers.h"
#include "sheet/model/Plan.h"

namespace varnex3::sheet {

class Recalculation;

class Trials {
public:
    /// Made by Book::trials; must not outlive the book.
    Trials(Recalculation& recalculation, Store& store, TrialCode code, std::size_t inputs,
           std::size_t outputs, unsigned threads)
        : recalculation_(recalculation), store_(store), code_(std::move(code)), inputs_(inputs),
          outputs_(outputs), threads_(threads)
    {}

    /// Works out trials from the first one on.
    /// @param inputs   one row of finite numbers per trial
    /// @param outputs  receives one row per trial
    /// @return         trials done. The next one has a result that is no number, or the book has changed so
    ///                 that trials must be done one by one
    std::size_t run(std::span<const double> inputs, std::span<double> outputs);

    /// Whether `run` may still give what a recalculation would.
    bool fits() const;

    /// Whether a cell keeps its value whatever the inputs are.
    bool isFixed(Slot cell) const;

private:
    bool load();

    Recalculation& recalculation_;
    Store& store_;
    TrialCode code_;
    std::size_t inputs_, outputs_;
    unsigned threads_;
    std::unique_ptr<Workers> workers_;      // from the first run on that is worth it
    std::vector<BlockRegisters> registers_; // by thread
    std::uint64_t values_ = 0;
};

} // namespace varnex3::sheet
