// sheet/functions/Block.cpp - blocks and their parts.
#include "sheet/functions/Block.h"

namespace varnex3::sheet {

Block::Block(Environment& environment, const Value& whole) : environment_(&environment), whole_(whole)
{
    if (whole_.isReference()) {
        area_ = whole_.areas().front();
    } else if (whole_.isArray()) {
        area_.row1 = whole_.rows() - 1;
        area_.col1 = whole_.cols() - 1;
    }
    measureUse();
}

void Block::measureUse()
{
    usedRows_ = rows();
    usedCols_ = cols();
    if (!isReference()) return;
    const Area used = environment_->used(area_.sheet);
    usedRows_ = std::clamp(used.row1 - area_.row0 + 1, 0, rows());
    usedCols_ = std::clamp(used.col1 - area_.col0 + 1, 0, cols());
}

Value Block::at(std::int32_t row, std::int32_t col) const
{
    if (!isReference()) return item(row, col);
    return environment_->cell({area_.sheet, area_.row0 + row, area_.col0 + col});
}

Block Block::resized(std::int32_t rows, std::int32_t cols) const
{
    const std::int32_t lastRow = isReference() ? kMaxRows - 1 : area_.row1;
    const std::int32_t lastCol = isReference() ? kMaxColumns - 1 : area_.col1;
    Block other = *this;
    other.area_.row1 = std::min(area_.row0 + rows - 1, lastRow);
    other.area_.col1 = std::min(area_.col0 + cols - 1, lastCol);
    other.measureUse();
    return other;
}

Block Block::part(std::int32_t row, std::int32_t col, std::int32_t rows, std::int32_t cols) const
{
    Block other = *this;
    other.area_.row0 = area_.row0 + row;
    other.area_.col0 = area_.col0 + col;
    other.area_.row1 = other.area_.row0 + rows - 1;
    other.area_.col1 = other.area_.col0 + cols - 1;
    other.measureUse();
    return other;
}

Block Block::manageable() const
{
    constexpr double kMostCells = 16777216.0;
    const bool whole = rows() == kMaxRows || cols() == kMaxColumns;
    if (!isReference() || (!whole && static_cast<double>(rows()) * cols() <= kMostCells)) return *this;
    return resized(std::max(usedRows_, 1), std::max(usedCols_, 1));
}

Value Block::value() const
{
    if (isReference()) return Value(area_);
    if (rows() == 1 && cols() == 1) return item(0, 0);
    std::vector<Value> items;
    items.reserve(static_cast<std::size_t>(rows()) * static_cast<std::size_t>(cols()));
    for (std::int32_t r = 0; r < rows(); ++r)
        for (std::int32_t c = 0; c < cols(); ++c) items.push_back(item(r, c));
    return Value::array(rows(), cols(), std::move(items));
}

} // namespace varnex3::sheet
