// sheet/graph/Ordering.cpp - Tarjan's strongly connected components without recursion.
#include "sheet/graph/Ordering.h"

#include <algorithm>

namespace varnex3::sheet {

bool Ordering::enter(GraphNode n, FunctionRef<void(GraphNode, std::vector<GraphNode>&)> readers)
{
    State& s = state(n);
    if (s.visit == visit_) return false;
    s = {visit_, counter_, counter_, true};
    ++counter_;
    open_.push_back(n);
    const auto begin = static_cast<std::uint32_t>(readers_.size());
    readers(n, readers_);
    frames_.push_back({n, begin, begin, false});
    return true;
}

/// Closes the frame on top; a complete component goes to the result, components last first.
void Ordering::leave(Order& reversed)
{
    const Frame frame = frames_.back();
    frames_.pop_back();
    readers_.resize(frame.begin);
    const State s = state(frame.node);
    if (!frames_.empty()) {
        State& parent = state(frames_.back().node);
        parent.low = std::min(parent.low, s.low);
    }
    if (s.low != s.index) return;
    const auto begin = static_cast<std::uint32_t>(reversed.formulas.size());
    bool isLoop = frame.readsItself || open_.back() != frame.node;
    for (bool more = true; more;) {
        const GraphNode n = open_.back();
        open_.pop_back();
        state(n).open = false;
        if ((n & kAreaBit) == 0) reversed.formulas.push_back(n);
        more = n != frame.node;
    }
    const auto end = static_cast<std::uint32_t>(reversed.formulas.size());
    if (isLoop && end > begin) reversed.loops.emplace_back(begin, end);
}

Order Ordering::order(std::span<const GraphNode> sources, std::size_t formulaCount, std::size_t areaCount,
                      FunctionRef<void(GraphNode node, std::vector<GraphNode>& out)> readers)
{
    formulas_.resize(formulaCount);
    areas_.resize(areaCount);
    ++visit_;
    counter_ = 0;
    Order result;
    for (const GraphNode source : sources) {
        if (!enter(source, readers)) continue;
        while (!frames_.empty()) {
            Frame& frame = frames_.back();
            const std::size_t end = readers_.size(); // frames above have given theirs back
            if (frame.next == end) {
                leave(result);
                continue;
            }
            const GraphNode n = readers_[frame.next++];
            if (n == frame.node) frame.readsItself = true;
            const GraphNode from = frame.node;
            if (enter(n, readers)) continue; // `frame` is no longer valid
            const State& reached = state(n);
            if (reached.open) state(from).low = std::min(state(from).low, reached.index);
        }
    }
    const auto count = static_cast<std::uint32_t>(result.formulas.size());
    std::reverse(result.formulas.begin(), result.formulas.end());
    std::reverse(result.loops.begin(), result.loops.end());
    for (auto& [begin, end] : result.loops) {
        const std::uint32_t first = count - end;
        end = count - begin;
        begin = first;
    }
    return result;
}

} // namespace varnex3::sheet
