// sheet/exec/Code.cpp - places seen from a cell.
#include "sheet/exec/Code.h"

#include <algorithm>

namespace varnex3::sheet {
namespace {

bool place(std::int32_t& coordinate, bool absolute, std::int32_t own, std::int32_t limit, bool wraps)
{
    if (!absolute) coordinate += own;
    if (coordinate >= 0 && coordinate < limit) return true;
    if (!wraps) return false;
    coordinate = (coordinate % limit + limit) % limit;
    return true;
}

} // namespace

std::optional<Area> resolve(const Place& p, const CellAddress& here)
{
    Area area{p.sheet < 0 ? here.sheet : p.sheet, p.first.row, p.first.col, p.last.row, p.last.col};
    if (p.extent == Extent::Cell) {
        area.row1 = area.row0;
        area.col1 = area.col0;
    }
    const CellRef& last = p.extent == Extent::Cell ? p.first : p.last;
    if (p.extent == Extent::WholeColumns) {
        area.row0 = 0;
        area.row1 = kMaxRows - 1;
    } else if (!place(area.row0, p.first.rowAbsolute, here.row, kMaxRows, p.wraps) ||
               !place(area.row1, last.rowAbsolute, here.row, kMaxRows, p.wraps)) {
        return std::nullopt;
    }
    if (p.extent == Extent::WholeRows) {
        area.col0 = 0;
        area.col1 = kMaxColumns - 1;
    } else if (!place(area.col0, p.first.colAbsolute, here.col, kMaxColumns, p.wraps) ||
               !place(area.col1, last.colAbsolute, here.col, kMaxColumns, p.wraps)) {
        return std::nullopt;
    }
    if (area.row0 > area.row1) std::swap(area.row0, area.row1);
    if (area.col0 > area.col1) std::swap(area.col0, area.col1);
    return area;
}

std::optional<CellAddress> implicitCell(const Area& area, const CellAddress& here)
{
    CellAddress cell{area.sheet, area.row0, area.col0};
    if (area.rows() > 1) {
        if (here.row < area.row0 || here.row > area.row1) return std::nullopt;
        cell.row = here.row;
    }
    if (area.cols() > 1) {
        if (here.col < area.col0 || here.col > area.col1) return std::nullopt;
        cell.col = here.col;
    }
    return cell;
}

} // namespace varnex3::sheet
