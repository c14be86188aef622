// sheet/xlsx/Prefixes.h - how files mark the names that LET and LAMBDA bind.
#pragma once

#include <string>
#include <string_view>

namespace varnex3::sheet::xlsx {

/// A formula with the prefixes that files put before names bound by LET and LAMBDA (_xlpm.), before optional
/// parameters (_xlop.) and before functions that are handed on by their names (_xleta.). Any other formula,
/// and a text that is none, is given back as it is.
std::string withNamePrefixes(std::string_view formula);

} // namespace varnex3::sheet::xlsx
