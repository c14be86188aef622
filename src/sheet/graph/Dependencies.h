// sheet/graph/Dependencies.h - which formulas read a cell.
//
// Single cells carry a list of their readers; areas are nodes of their own, shared by all formulas that
// read the same area and found through a grid of buckets, so a whole column costs as much as one cell.
// Where very many formulas read one cell or area, the first removal makes an index of them, so that taking
// all of them away one by one is not quadratic.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "sheet/value/Slot.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// A formula, or (with the top bit set) an area that formulas read.
using GraphNode = std::uint32_t;
inline constexpr GraphNode kAreaBit = 0x80000000U;

class Dependencies {
public:
    void clear();
    void addCell(Slot cell, FormulaId reader);
    void removeCell(Slot cell, FormulaId reader);
    void addArea(const Area& area, FormulaId reader);
    void removeArea(const Area& area, FormulaId reader);

    /// Appends the readers of a cell: formulas, and the areas that contain it.
    void appendReaders(Slot cell, const CellAddress& address, std::vector<GraphNode>& out) const;
    /// Appends the formulas that read an area.
    void appendReaders(GraphNode area, std::vector<GraphNode>& out) const
    {
        const std::vector<FormulaId>& readers = areas_[area & ~kAreaBit].readers;
        out.insert(out.end(), readers.begin(), readers.end());
    }
    std::size_t areaCount() const { return areas_.size(); }

private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFFU;

    struct Edge {
        FormulaId reader;
        std::uint32_t next;
    };
    using Index = std::unordered_map<FormulaId, std::uint32_t>;
    struct AreaNode {
        Area area;
        std::vector<FormulaId> readers;
        std::unique_ptr<Index> positions; // of the readers, once there is one to be taken away
    };
    /// A cell with many readers: its edges, and how many of them lead to no formula any more.
    struct CrowdedCell {
        Index edges;
        std::uint32_t dead = 0;
    };
    void crowd(Slot cell);
    void sweep(Slot cell, CrowdedCell& crowded);
    struct AreaHash {
        std::size_t operator()(const Area& a) const;
    };
    /// Buckets of 2^rows x 2^cols cells.
    struct Level {
        std::uint8_t rows, cols;
        friend bool operator==(const Level&, const Level&) = default;
    };
    static std::uint64_t bucketKey(SheetIndex sheet, Level level, std::int32_t row, std::int32_t col);
    static Level levelOf(const Area& area);

    std::vector<std::uint32_t> heads_; // slot -> first edge
    std::vector<Edge> edges_;
    std::uint32_t freeEdges_ = kNone;
    std::unordered_map<Slot, CrowdedCell> crowded_;
    std::vector<AreaNode> areas_;
    std::unordered_map<Area, std::uint32_t, AreaHash> areaIds_;
    std::vector<Level> levels_; // in use
    std::unordered_map<std::uint64_t, std::vector<std::uint32_t>> buckets_;
};

} // namespace varnex3::sheet
