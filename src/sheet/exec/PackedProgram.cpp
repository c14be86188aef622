// sheet/exec/PackedProgram.cpp - runs of packed code, and how results reach their cells.
#include "sheet/exec/PackedProgram.h"

#include <algorithm>
#include <utility>

namespace varnex3::sheet {
namespace {

/// So few that putting all of them into their cells costs less than looking for those that are read.
constexpr std::size_t kFewCells = 32;

} // namespace

void PackedProgram::load(Store& store)
{
    for (const LateNumbers::Cell& c : constants_) registers_[c.number] = store.value(c.slot).number();
    const auto count = static_cast<std::uint32_t>(onceFor_.size());
    auto fails = static_cast<std::uint32_t>(starts_.size());
    for (std::uint32_t at = 0; at < count; ++at) {
        at = runPacked(once_, registers_.data(), at);
        if (at < count) fails = std::min(fails, onceFor_[at]);
    }
    // A formula that needs what failed stops the program before it starts.
    std::vector<PackedInstruction>& each = each_.instructions;
    if (stop_) each[*stop_].op = stopOp_;
    stop_.reset();
    if (fails == starts_.size()) return;
    stop_ = starts_[fails];
    stopOp_ = std::exchange(each[*stop_].op, PackedOp::End);
}

std::optional<std::uint32_t> PackedProgram::run(Store& store, std::size_t number)
{
    const Step& step = steps_[number];
    if (number == 0)
        for (const LateNumbers::Cell& c : inputs_) registers_[c.number] = store.constant(c.slot).number();
    for (const LateNumbers::Cell& c : step.operands) registers_[c.number] = store.peek(c.slot).number();
    if (number == 0 || !store.isLate(late_)) late_.done = step.firstFormula;
    late_.numbers = registers_.data();

    const std::uint32_t stop = runPacked(each_, registers_.data(), step.begin);
    late_.ready = step.lastFormula;
    if (stop != step.end) {
        // Formulas that are worked out together start over together.
        const auto after = std::upper_bound(starts_.begin(), starts_.end(), stop);
        late_.ready = static_cast<std::size_t>(std::lower_bound(starts_.begin(), after, *(after - 1)) -
                                               starts_.begin());
    }
    store.comeLate(late_);
    if (late_.cells.size() <= kFewCells) store.settle();
    if (stop == step.end) return std::nullopt;
    return positions_[late_.ready];
}

} // namespace varnex3::sheet
