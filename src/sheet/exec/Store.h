// sheet/exec/Store.h - the flat store of all cell values of a book.
//
// A tile is 64 cells of one column, one below the other; each column of a sheet holds the numbers of its
// tiles. A slot is tile * 64 + row % 64, so neighbours in a column are neighbours in memory and a cell is
// found by two subscripts. What stands beside a value (formula, marks) lies in parallel arrays.
#pragma once

#include <cstdint>
#include <vector>

#include "sheet/value/Environment.h"
#include "sheet/value/Slot.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// Numbers that a program has worked out and not yet put into their cells.
struct LateNumbers {
    struct Cell {
        Slot slot;
        std::uint32_t number; // where it lies in `numbers`
        friend auto operator<=>(const Cell&, const Cell&) = default;
    };
    std::vector<Cell> cells;  // in the order of evaluation
    std::vector<Cell> bySlot; // the same
    const double* numbers = nullptr;
    std::size_t done = 0, ready = 0; // cells [done, ready) are worked out and wait
};

class Store {
public:
    static constexpr std::int32_t kTileRows = 64;

    /// Marks of a slot; a set of bits.
    enum Mark : std::uint8_t {
        kDirty = 1,   // its formula waits for its turn in the recalculation that runs
        kWritten = 2, // written since the last recalculation
        kStarted = 4, // its evaluation waits for cells that it reads
        kEdited = 8,  // given another content since the book was loaded
    };

    void addSheet() { sheets_.emplace_back(); }
    /// The slots of the sheet are lost; later sheets move down.
    void removeSheet(SheetIndex sheet);
    SheetIndex sheetCount() const { return static_cast<SheetIndex>(sheets_.size()); }

    Slot find(const CellAddress& at) const
    {
        if (static_cast<std::size_t>(at.sheet) >= sheets_.size()) return kNoSlot;
        const std::vector<std::vector<std::uint32_t>>& columns = sheets_[index(at.sheet)].columns;
        if (static_cast<std::size_t>(at.col) >= columns.size()) return kNoSlot;
        const std::vector<std::uint32_t>& tiles = columns[index(at.col)];
        const std::size_t k = static_cast<std::size_t>(at.row) / kTileRows;
        if (k >= tiles.size() || tiles[k] == kNoTile) return kNoSlot;
        return tiles[k] * kTileRows + static_cast<Slot>(at.row % kTileRows);
    }
    /// The slot of a cell inside the grid, made when there is none.
    Slot make(const CellAddress& at);
    /// Counts the cell as used.
    void use(const CellAddress& at);
    /// `count` consecutive slots that belong to no sheet: constants and registers of compiled code.
    Slot makeScratch(std::size_t count);

    CellAddress address(Slot slot) const;
    Area used(SheetIndex sheet) const;
    std::size_t size() const { return values_.size(); }

    Value& value(Slot slot)
    {
        settle();
        return values_[slot];
    }
    const Value& value(Slot slot) const
    {
        settle();
        return values_[slot];
    }
    Value* values()
    {
        settle();
        return values_.data();
    }

    /// Numbers that are to reach their cells only when something looks at cells; they must live until
    /// `settle`.
    void comeLate(const LateNumbers& numbers)
    {
        if (late_ != &numbers) settle();
        late_ = &numbers;
    }
    bool isLate(const LateNumbers& numbers) const { return late_ == &numbers; }
    /// Puts late numbers into their cells.
    void settle() const
    {
        if (late_ != nullptr) putAll();
    }
    /// One cell, without the others that are late.
    const Value& peek(Slot slot) const
    {
        if (late_ != nullptr && formulas_[slot] != kNoFormula) putOne(slot);
        return values_[slot];
    }
    /// A cell without a formula, which is never late.
    Value& constant(Slot slot) { return values_[slot]; }
    FormulaId formula(Slot slot) const { return formulas_[slot]; }
    void setFormula(Slot slot, FormulaId formula)
    {
        settle();
        formulas_[slot] = formula;
    }

    bool isDirty(Slot slot) const { return (marks_[slot] & kDirty) != 0; }
    bool isMarked(Slot slot, Mark mark) const { return (marks_[slot] & mark) != 0; }
    void mark(Slot slot, Mark mark) { marks_[slot] = static_cast<std::uint8_t>(marks_[slot] | mark); }
    /// kWritten and kEdited at once.
    void markWritten(Slot slot)
    {
        marks_[slot] = static_cast<std::uint8_t>(marks_[slot] | kWritten | kEdited);
    }
    void unmark(Slot slot, Mark mark) { marks_[slot] = static_cast<std::uint8_t>(marks_[slot] & ~mark); }

    void setDate(Slot slot) { dates_[slot / kTileRows] |= std::uint64_t{1} << (slot % kTileRows); }
    bool isDate(Slot slot) const { return (dates_[slot / kTileRows] >> (slot % kTileRows) & 1U) != 0; }

    /// Visits the tiles' stretches inside `area`, column by column from the top; stops on false.
    bool visitSlots(
        const Area& area,
        FunctionRef<bool(std::int32_t row, std::int32_t col, Slot first, std::int32_t n)> visitor) const;

    /// The first slot of each column's tile that holds `row`, in order of the columns; kNoSlot where there
    /// is no tile.
    void tilesAt(SheetIndex sheet, std::int32_t row, std::vector<Slot>& firsts) const;
    /// Takes kEdited from every slot whose next write will set it again.
    void forgetEdited()
    {
        for (std::uint8_t& marks : marks_)
            if ((marks & kWritten) == 0) marks = static_cast<std::uint8_t>(marks & ~kEdited);
    }

private:
    static constexpr std::uint32_t kNoTile = 0xFFFFFFFFU;
    static std::size_t index(std::int32_t i) { return static_cast<std::size_t>(i); }

    struct Sheet {
        std::vector<std::vector<std::uint32_t>> columns; // column -> row / 64 -> tile
        std::int32_t rows = 0, cols = 0;                 // ever used
    };
    struct Tile {
        SheetIndex sheet = -1;
        std::int32_t row = 0, col = 0; // of its first cell
    };
    std::uint32_t makeTiles(std::size_t count, const Tile& where);
    void putAll() const;
    void putOne(Slot slot) const;

    std::vector<Sheet> sheets_;
    std::vector<Tile> tiles_;
    std::vector<std::uint64_t> dates_;  // one bit per slot: a number format that shows dates
    mutable std::vector<Value> values_; // of a cell with a late number: an older one
    mutable const LateNumbers* late_ = nullptr;
    std::vector<FormulaId> formulas_;
    std::vector<std::uint8_t> marks_;
};

} // namespace varnex3::sheet
