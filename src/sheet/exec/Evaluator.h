// sheet/exec/Evaluator.h - the general evaluator: runs a code for one cell over tagged values.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "sheet/exec/Code.h"
#include "sheet/exec/Store.h"
#include "sheet/value/Environment.h"

namespace varnex3::sheet {

class Evaluator {
public:
    Evaluator(Store& store, Environment& environment) : store_(store), environment_(environment) {}

    Environment& environment() const { return environment_; }

    /// The value of a code seen from `here`: a scalar or an array. Nothing when it met a cell that waits
    /// for its own recalculation: `blocked` then says which cells must come first.
    std::optional<Value> evaluate(const Code& code, const CellAddress& here);

    /// The result of a function during an evaluation. Too many calls, or calls too deep within one another,
    /// are #NUM! and make every further call of the evaluation #NUM!.
    Value apply(const Value& function, std::span<Value> arguments);

    /// Tells that a read of the running evaluation met a cell whose value is out of date. What is read
    /// after the first such read is not trusted and adds nothing.
    void block(Slot slot)
    {
        if (!closed_) blocked_.push_back(slot);
    }
    void closeBlocked() { closed_ = closed_ || !blocked_.empty(); }
    std::span<const Slot> blocked() const { return blocked_; }

private:
    struct Machine;

    Value call(const Code& code, const Lambda& lambda, std::span<Value> arguments,
               std::span<const Value> captured);

    Store& store_;
    Environment& environment_;
    std::vector<Value> stack_;
    std::vector<Slot> blocked_;
    bool closed_ = false;
    CellAddress here_;
    std::vector<std::vector<Value>> frames_; // of the calls that run, outermost first, and spare ones
    std::size_t calls_ = 0, depth_ = 0;
    bool exhausted_ = false;
};

} // namespace varnex3::sheet
