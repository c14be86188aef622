// sheet/graph/Dependencies.cpp - edges of cells, buckets of areas.
#include "sheet/graph/Dependencies.h"

#include <algorithm>

namespace varnex3::sheet {
namespace {

constexpr std::size_t kCrowd = 64; // readers from which on an index of them is worth its memory

} // namespace

void Dependencies::clear() { *this = Dependencies(); }

void Dependencies::addCell(Slot cell, FormulaId reader)
{
    if (cell >= heads_.size())
        heads_.resize(std::max<std::size_t>(cell + std::size_t{1}, heads_.size() + heads_.size() / 2), kNone);
    // A formula names all its cells in one go: a second mention finds the first on top.
    if (heads_[cell] != kNone && edges_[heads_[cell]].reader == reader) return;
    std::uint32_t edge = freeEdges_;
    if (edge == kNone) {
        edge = static_cast<std::uint32_t>(edges_.size());
        edges_.push_back({reader, heads_[cell]});
    } else {
        freeEdges_ = edges_[edge].next;
        edges_[edge] = {reader, heads_[cell]};
    }
    heads_[cell] = edge;
    if (crowded_.empty()) return;
    if (const auto at = crowded_.find(cell); at != crowded_.end()) at->second.edges[reader] = edge;
}

void Dependencies::removeCell(Slot cell, FormulaId reader)
{
    if (cell >= heads_.size()) return;
    if (crowded_.count(cell) == 0) {
        std::size_t steps = 0;
        for (std::uint32_t* link = &heads_[cell]; *link != kNone; link = &edges_[*link].next) {
            const std::uint32_t edge = *link;
            if (edges_[edge].reader == reader) {
                *link = edges_[edge].next;
                edges_[edge].next = freeEdges_;
                freeEdges_ = edge;
                return;
            }
            if (++steps > kCrowd) break;
        }
        if (steps <= kCrowd) return;
        crowd(cell);
    }
    CrowdedCell& crowded = crowded_[cell];
    const auto at = crowded.edges.find(reader);
    if (at == crowded.edges.end()) return;
    edges_[at->second].reader = kNoFormula;
    crowded.edges.erase(at);
    if (++crowded.dead > crowded.edges.size()) sweep(cell, crowded);
}

void Dependencies::crowd(Slot cell)
{
    CrowdedCell& crowded = crowded_[cell];
    for (std::uint32_t edge = heads_[cell]; edge != kNone; edge = edges_[edge].next)
        crowded.edges.emplace(edges_[edge].reader, edge);
}

/// Takes the edges out that lead nowhere.
void Dependencies::sweep(Slot cell, CrowdedCell& crowded)
{
    for (std::uint32_t* link = &heads_[cell]; *link != kNone;) {
        const std::uint32_t edge = *link;
        if (edges_[edge].reader != kNoFormula) {
            link = &edges_[edge].next;
            continue;
        }
        *link = edges_[edge].next;
        edges_[edge].next = freeEdges_;
        freeEdges_ = edge;
    }
    crowded.dead = 0;
    if (crowded.edges.size() <= kCrowd) crowded_.erase(cell);
}

std::size_t Dependencies::AreaHash::operator()(const Area& a) const
{
    std::uint64_t h = 0xcbf29ce484222325ULL;
    for (const std::int32_t part : {a.sheet, a.row0, a.col0, a.row1, a.col1}) {
        h = (h ^ static_cast<std::uint32_t>(part)) * 0x9E3779B97F4A7C15ULL;
        h ^= h >> 29;
    }
    return static_cast<std::size_t>(h);
}

std::uint64_t Dependencies::bucketKey(SheetIndex sheet, Level level, std::int32_t row, std::int32_t col)
{
    const auto wide = [](std::int32_t x) { return static_cast<std::uint64_t>(x); };
    return wide(sheet) << 45 | std::uint64_t{level.rows} << 40 | std::uint64_t{level.cols} << 35 |
           wide(row >> level.rows) << 14 | wide(col >> level.cols);
}

/// The smallest buckets of which the area touches at most two by two.
Dependencies::Level Dependencies::levelOf(const Area& a)
{
    Level level{0, 0};
    while ((a.row1 >> level.rows) - (a.row0 >> level.rows) > 1) ++level.rows;
    while ((a.col1 >> level.cols) - (a.col0 >> level.cols) > 1) ++level.cols;
    return level;
}

void Dependencies::addArea(const Area& area, FormulaId reader)
{
    const auto [at, isNew] = areaIds_.try_emplace(area, static_cast<std::uint32_t>(areas_.size()));
    if (isNew) {
        areas_.push_back({area, {}, nullptr});
        const Level level = levelOf(area);
        if (std::find(levels_.begin(), levels_.end(), level) == levels_.end()) levels_.push_back(level);
        for (std::int32_t r = area.row0 >> level.rows; r <= area.row1 >> level.rows; ++r)
            for (std::int32_t c = area.col0 >> level.cols; c <= area.col1 >> level.cols; ++c)
                buckets_[bucketKey(area.sheet, level, r << level.rows, c << level.cols)].push_back(
                    at->second);
    }
    AreaNode& node = areas_[at->second];
    if (!node.readers.empty() && node.readers.back() == reader) return; // named twice in one formula
    node.readers.push_back(reader);
    if (node.positions) (*node.positions)[reader] = static_cast<std::uint32_t>(node.readers.size() - 1);
}

void Dependencies::removeArea(const Area& area, FormulaId reader)
{
    const auto at = areaIds_.find(area);
    if (at == areaIds_.end()) return;
    AreaNode& node = areas_[at->second];
    std::vector<FormulaId>& readers = node.readers;
    if (!node.positions && readers.size() <= kCrowd) {
        const auto found = std::find(readers.begin(), readers.end(), reader);
        if (found != readers.end()) readers.erase(found);
        return;
    }
    if (!node.positions) {
        node.positions = std::make_unique<Index>();
        for (std::size_t i = 0; i < readers.size(); ++i)
            node.positions->emplace(readers[i], static_cast<std::uint32_t>(i));
    }
    const auto found = node.positions->find(reader);
    if (found == node.positions->end()) return;
    const std::uint32_t position = found->second;
    node.positions->erase(found);
    if (position + 1 < readers.size()) { // the last one takes its place
        readers[position] = readers.back();
        (*node.positions)[readers.back()] = position;
    }
    readers.pop_back();
}

void Dependencies::appendReaders(Slot cell, const CellAddress& address, std::vector<GraphNode>& out) const
{
    if (cell < heads_.size())
        for (std::uint32_t edge = heads_[cell]; edge != kNone; edge = edges_[edge].next)
            if (edges_[edge].reader != kNoFormula) out.push_back(edges_[edge].reader);
    for (const Level level : levels_) {
        const auto bucket = buckets_.find(bucketKey(address.sheet, level, address.row, address.col));
        if (bucket == buckets_.end()) continue;
        for (const std::uint32_t id : bucket->second)
            if (areas_[id].area.contains(address) && !areas_[id].readers.empty())
                out.push_back(id | kAreaBit);
    }
}

} // namespace varnex3::sheet
