// sheet/value/Slot.h - the number of a cell in the flat value store.
#pragma once

#include <cstdint>

namespace varnex3::sheet {

/// A cell in the flat store; valid until its sheet is removed.
using Slot = std::uint32_t;
inline constexpr Slot kNoSlot = 0xFFFFFFFFU;

/// A formula of the book: one per formula cell, one per block of an array formula.
using FormulaId = std::uint32_t;
inline constexpr FormulaId kNoFormula = 0xFFFFFFFFU;

} // namespace varnex3::sheet
