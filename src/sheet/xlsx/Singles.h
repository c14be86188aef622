// sheet/xlsx/Singles.h - what formulas write with @ and #, as files spell it out.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "sheet/formula/Tree.h"

namespace varnex3::sheet::xlsx {

/// Where a formula that goes into a file stands.
struct FormulaPlace {
    /// The file marks it as filling as many cells as its result has elements, and other programs then
    /// evaluate it element by element; the engine has taken the cell of its own row or column where one value
    /// is wanted.
    bool spills = false;
    /// Whether a defined name stands for several cells; none does where this is empty.
    std::function<bool(std::string_view name)> namesCells = {};
    /// The number by which the file knows another book, 0 for none; references keep their paths where this is
    /// empty.
    std::function<std::size_t(std::string_view path)> linkTo = {};
};

/// Numbers other books. Turns `@A1:A9` into SINGLE(A1:A9), `A1#` into ANCHORARRAY(A1) and `T[@Price]` into
/// T[[#This Row],[Price]]; whether anything was changed. A formula that spills gets SINGLE wherever the
/// engine takes one cell of several; in any other formula files leave it out where it goes without saying.
bool spellOutSingles(Tree& tree, const FormulaPlace& place);

} // namespace varnex3::sheet::xlsx
