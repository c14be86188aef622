// sheet/functions/Block.h - the cells of a range argument, without copying them.
//
// A block is a reference, an array or one value; of a reference with several areas the first counts.
// Rows and columns count from 0 inside the block.
#pragma once

#include <algorithm>
#include <cstdint>

#include "sheet/functions/Function.h"

namespace varnex3::sheet {

class Block {
public:
    Block(Environment& environment, const Value& whole);
    Block(const Call& call, int i) : Block(call.environment(), call.value(i)) {}

    std::int32_t rows() const { return area_.rows(); }
    std::int32_t cols() const { return area_.cols(); }
    bool sameSize(const Block& other) const { return rows() == other.rows() && cols() == other.cols(); }
    bool isVector() const { return rows() == 1 || cols() == 1; }
    bool isReference() const { return whole_.isReference(); }

    /// Rows and columns up to the last that was ever used; may be 0. All of them for arrays.
    std::int32_t usedRows() const { return usedRows_; }
    std::int32_t usedCols() const { return usedCols_; }

    Value at(std::int32_t row, std::int32_t col) const;

    /// Another block from the same upper left corner, clipped to the array or the grid. A reference may
    /// grow beyond its own size.
    Block resized(std::int32_t rows, std::int32_t cols) const;
    Block row(std::int32_t r) const { return part(r, 0, 1, cols()); }
    Block col(std::int32_t c) const { return part(0, c, rows(), 1); }
    Block part(std::int32_t row, std::int32_t col, std::int32_t rows, std::int32_t cols) const;

    /// The block itself; of whole rows and columns, and where there are more than 2^24 cells, the part in
    /// use (at least one cell). For callers that store every cell.
    Block manageable() const;

    /// The block as a value: a reference when it was one, else an array or the single value.
    Value value() const;

    /// Calls visitor(row, col, first, n) with runs of cells below one another until it answers false.
    /// Empty stretches of references may be left out.
    template <class Visitor>
    void runs(Visitor visitor) const
    {
        if (whole_.isReference()) {
            if (rows() < 1 || cols() < 1) return;
            environment_->visit(area_,
                                [&](std::int32_t r, std::int32_t c, const Value* first, std::int32_t n) {
                                    return visitor(r - area_.row0, c - area_.col0, first, n);
                                });
            return;
        }
        for (std::int32_t r = 0; r < rows(); ++r)
            for (std::int32_t c = 0; c < cols(); ++c)
                if (!visitor(r, c, &item(r, c), 1)) return;
    }

private:
    const Value& item(std::int32_t r, std::int32_t c) const
    {
        return whole_.isArray() ? whole_.at(area_.row0 + r, area_.col0 + c) : whole_;
    }
    void measureUse();

    Environment* environment_;
    Value whole_;
    Area area_; // of the reference's sheet; of an array: the part that belongs to the block
    std::int32_t usedRows_ = 0, usedCols_ = 0;
};

} // namespace varnex3::sheet
