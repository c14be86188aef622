// cli/Suggest.h - the known word that a mistyped one was probably meant to be.
#pragma once

#include <set>
#include <string>

namespace varnex3::cli {

/// The word of `known` that differs from `word` by at most a third of its letters (insertions,
/// deletions, replacements; case counts little), or an empty text.
std::string nearest(const std::string& word, const std::set<std::string>& known);

} // namespace varnex3::cli
