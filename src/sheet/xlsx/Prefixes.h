// sheet/xlsx/Prefixes.h - how files mark the names that LET and LAMBDA bind.
#pragma once

#include "sheet/formula/Tree.h"

namespace varnex3::sheet::xlsx {

/// Puts the prefixes that files have before names bound by LET and LAMBDA (_xlpm.), before optional
/// parameters
/// (_xlop.) and before functions that are handed on by their names (_xleta.); whether there were any.
bool prefixNames(Tree& tree);

} // namespace varnex3::sheet::xlsx
