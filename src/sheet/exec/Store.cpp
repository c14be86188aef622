// sheet/exec/Store.cpp - tiles: making, finding, visiting.
#include "sheet/exec/Store.h"

#include <algorithm>

namespace varnex3::sheet {

void Store::putAll() const
{
    const LateNumbers& late = *late_;
    late_ = nullptr;
    for (std::size_t i = late.done; i < late.ready; ++i)
        values_[late.cells[i].slot].setNumber(late.numbers[late.cells[i].number]);
}

void Store::putOne(Slot slot) const
{
    const auto at = std::lower_bound(late_->bySlot.begin(), late_->bySlot.end(), LateNumbers::Cell{slot, 0});
    if (at == late_->bySlot.end() || at->slot != slot) return;
    const bool allWait = late_->done == 0 && late_->ready == late_->cells.size();
    if (!allWait) return putAll();
    values_[slot].setNumber(late_->numbers[at->number]);
}

void Store::removeSheet(SheetIndex sheet)
{
    settle();
    for (std::size_t t = 0; t < tiles_.size(); ++t) {
        if (tiles_[t].sheet == sheet) {
            tiles_[t].sheet = -1;
            for (std::size_t k = t * kTileRows; k < (t + 1) * kTileRows; ++k) {
                values_[k] = Value();
                formulas_[k] = kNoFormula;
                marks_[k] = 0;
            }
        } else if (tiles_[t].sheet > sheet) {
            --tiles_[t].sheet;
        }
    }
    sheets_.erase(sheets_.begin() + sheet);
}

std::uint32_t Store::makeTiles(std::size_t count, const Tile& where)
{
    const std::size_t first = tiles_.size();
    tiles_.resize(first + count, where);
    dates_.resize(first + count, 0);
    const std::size_t slots = (first + count) * kTileRows;
    values_.resize(slots);
    formulas_.resize(slots, kNoFormula);
    marks_.resize(slots, 0);
    return static_cast<std::uint32_t>(first);
}

Slot Store::make(const CellAddress& at)
{
    auto& columns = sheets_[index(at.sheet)].columns;
    if (index(at.col) >= columns.size()) columns.resize(index(at.col) + 1);
    auto& tiles = columns[index(at.col)];
    const std::size_t k = index(at.row) / kTileRows;
    if (k >= tiles.size()) tiles.resize(k + 1, kNoTile);
    if (tiles[k] == kNoTile)
        tiles[k] = makeTiles(1, {at.sheet, static_cast<std::int32_t>(k) * kTileRows, at.col});
    return tiles[k] * kTileRows + static_cast<Slot>(at.row % kTileRows);
}

void Store::use(const CellAddress& at)
{
    Sheet& sheet = sheets_[index(at.sheet)];
    sheet.rows = std::max(sheet.rows, at.row + 1);
    sheet.cols = std::max(sheet.cols, at.col + 1);
}

Slot Store::makeScratch(std::size_t count)
{
    return makeTiles((count + kTileRows - 1) / kTileRows, Tile{}) * kTileRows;
}

CellAddress Store::address(Slot slot) const
{
    const Tile& tile = tiles_[slot / kTileRows];
    return {tile.sheet, tile.row + static_cast<std::int32_t>(slot % kTileRows), tile.col};
}

Area Store::used(SheetIndex sheet) const
{
    const Sheet& s = sheets_[index(sheet)];
    return {sheet, 0, 0, std::max(0, s.rows - 1), std::max(0, s.cols - 1)};
}

bool Store::visitSlots(
    const Area& area,
    FunctionRef<bool(std::int32_t row, std::int32_t col, Slot first, std::int32_t n)> visitor) const
{
    if (index(area.sheet) >= sheets_.size()) return true;
    const auto& columns = sheets_[index(area.sheet)].columns;
    const std::int32_t lastCol = std::min(area.col1, static_cast<std::int32_t>(columns.size()) - 1);
    for (std::int32_t col = area.col0; col <= lastCol; ++col) {
        const auto& tiles = columns[index(col)];
        const std::int32_t lastRow =
            std::min(area.row1, static_cast<std::int32_t>(tiles.size()) * kTileRows - 1);
        for (std::int32_t row = area.row0; row <= lastRow;) {
            const std::int32_t inTile = row % kTileRows;
            const std::int32_t n = std::min(kTileRows - inTile, lastRow - row + 1);
            const std::uint32_t tile = tiles[index(row / kTileRows)];
            if (tile != kNoTile && !visitor(row, col, tile * kTileRows + static_cast<Slot>(inTile), n))
                return false;
            row += n;
        }
    }
    return true;
}

void Store::tilesAt(SheetIndex sheet, std::int32_t row, std::vector<Slot>& firsts) const
{
    firsts.clear();
    const std::size_t k = index(row) / kTileRows;
    for (const std::vector<std::uint32_t>& tiles : sheets_[index(sheet)].columns) {
        const bool held = k < tiles.size() && tiles[k] != kNoTile;
        firsts.push_back(held ? tiles[k] * kTileRows : kNoSlot);
    }
}

} // namespace varnex3::sheet
