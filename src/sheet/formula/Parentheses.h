// sheet/formula/Parentheses.h - where an operand must stand in parentheses.
//
// The parser asks it to give a tree the parentheses without which its text would read otherwise, the printer
// to write them for trees that were changed since. So a printed tree always reads back as the same tree.
#pragma once

#include <cstdint>

#include "sheet/formula/Tree.h"

namespace varnex3::sheet {

/// Whether child i of `parent`, which has no parentheses of its own, needs a pair.
bool needsParentheses(const Tree& tree, const Node& parent, std::uint32_t i);

} // namespace varnex3::sheet
