// sheet/graph/Ordering.h - the order in which affected formulas are to be recalculated.
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "sheet/graph/Dependencies.h"
#include "sheet/value/Environment.h"

namespace varnex3::sheet {

/// Every formula after those it reads. A loop is a stretch of formulas that read one another in a circle,
/// at least by what is written in them.
struct Order {
    std::vector<FormulaId> formulas;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> loops; // [begin, end) of `formulas`
};

class Ordering {
public:
    /// All that is reached from `sources`, in topological order; the strongly connected components come from
    /// Tarjan's algorithm with a stack of its own (chains may be a million cells long).
    /// @param readers  appends what reads a formula's cells, or the formulas that read an area
    Order order(std::span<const GraphNode> sources, std::size_t formulaCount, std::size_t areaCount,
                FunctionRef<void(GraphNode node, std::vector<GraphNode>& out)> readers);

private:
    struct State {
        std::uint32_t visit = 0; // number of the run that reached the node
        std::uint32_t index = 0;
        std::uint32_t low = 0;
        bool open = false; // its component is not complete
    };
    struct Frame {
        GraphNode node;
        std::uint32_t begin, next; // its readers in `readers_`
        bool readsItself;
    };
    State& state(GraphNode n) { return (n & kAreaBit) != 0 ? areas_[n & ~kAreaBit] : formulas_[n]; }
    bool enter(GraphNode n, FunctionRef<void(GraphNode, std::vector<GraphNode>&)> readers);
    void leave(Order& reversed);

    std::vector<State> formulas_, areas_;
    std::vector<Frame> frames_;
    std::vector<GraphNode> readers_, open_;
    std::uint32_t visit_ = 0, counter_ = 0;
};

} // namespace varnex3::sheet
