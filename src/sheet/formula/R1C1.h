// sheet/formula/R1C1.h - references in row and column notation.
#pragma once

#include <optional>
#include <string_view>

#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// The cells of the sheet of `here` that a text means, relative coordinates counted from `here`: "R3C4",
/// "R[-1]C", "RC[2]:R9C4", whole rows "R3" and "R[1]:R[2]", whole columns "C4", "R" and "C" for the own ones.
/// Nothing for any other text and for cells outside the grid.
std::optional<Area> parseR1C1(std::string_view text, const CellAddress& here);

} // namespace varnex3::sheet
