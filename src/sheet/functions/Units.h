// sheet/functions/Units.h - units of measurement and their factors, for CONVERT.
#pragma once

#include <optional>
#include <string_view>

namespace varnex3::sheet {

/// x of one unit in another: 1 "lbm" in "kg" is 0.45359237. Names respect letter case and may carry a
/// decimal prefix (or a binary one, for bit and byte) where the unit takes one. Nothing for unknown units
/// and for units of different quantities.
std::optional<double> convertUnits(double x, std::string_view from, std::string_view to);

} // namespace varnex3::sheet
