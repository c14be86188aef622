// tests/unit/sheet/Support.h - cells by their address in tests of the engine.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

#include "sheet/format/Convert.h"
#include "sheet/formula/Parser.h"
#include "sheet/model/Book.h"

namespace varnex3::sheet {

inline CellAddress at(std::string_view a1, SheetIndex sheet = 0)
{
    const auto area = parseA1(a1);
    return area ? CellAddress{sheet, area->row0, area->col0} : CellAddress{sheet, -1, -1};
}

/// A value as scripts write it.
inline std::string shown(const Value& v)
{
    if (v.isFailure()) return std::string(failureText(v.failure()));
    if (v.isEmpty()) return "empty";
    const Value text = toText(v);
    return text.isText() ? text.text() : "?";
}

/// Same kind and the same bits.
inline bool identical(const Value& a, const Value& b)
{
    if (a.kind() != b.kind()) return false;
    if (a.isNumber())
        return std::bit_cast<std::uint64_t>(a.number()) == std::bit_cast<std::uint64_t>(b.number());
    return a == b;
}

} // namespace varnex3::sheet
