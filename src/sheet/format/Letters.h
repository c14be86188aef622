// sheet/format/Letters.h - UTF-8 and the case of letters, without locale.
//
// Covers the simple one-to-one cases of the Latin, Greek, Cyrillic and Armenian letters; characters whose
// case changes their number (ß to SS) keep theirs.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace varnex3::sheet {

/// The character at `at`, which moves behind it. A byte that is no UTF-8 counts as a character of its own,
/// above all real ones.
char32_t nextCharacter(std::string_view text, std::size_t& at);

void appendCharacter(std::string& text, char32_t c);

char32_t lowerLetter(char32_t c);
char32_t upperLetter(char32_t c);

/// What letters of either case have in common: lower case, with the final sigma and the micro sign as
/// their Greek letters.
char32_t foldedLetter(char32_t c);

} // namespace varnex3::sheet
