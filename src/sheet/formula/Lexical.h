// sheet/formula/Lexical.h - the letters of formulas: character classes and references as written.
//
// Shared by the parser, the printer and the A1 helpers; nothing here knows of trees.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sheet/formula/Tree.h"

namespace varnex3::sheet::lexical {

inline bool isDigit(char c) { return c >= '0' && c <= '9'; }
inline bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
inline bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
inline char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

/// Bytes outside ASCII count as letters: names may be in any script.
inline bool isNameStart(char c)
{
    return isLetter(c) || c == '_' || c == '\\' || static_cast<unsigned char>(c) >= 0x80;
}
inline bool isNamePart(char c) { return isNameStart(c) || isDigit(c) || c == '.' || c == '?'; }

/// The character at `at`, or a NUL past the end.
inline char charAt(std::string_view text, std::size_t at) { return at < text.size() ? text[at] : '\0'; }

std::string upperText(std::string_view text);

/// Whether two texts agree but for the case of ASCII letters.
bool sameLetters(std::string_view a, std::string_view b);

/// The position behind the name that starts at `at`; `at` itself where none starts.
std::size_t nameEnd(std::string_view text, std::size_t at);

/// A row or column from 0, with or without "$".
struct Coordinate {
    std::int32_t index = 0;
    bool absolute = false;
};

struct WrittenReference {
    Extent extent = Extent::Cell;
    Coordinate row0, col0, row1, col1;
    std::size_t end = 0; // position behind it
};

/// The cell, area, whole columns or whole rows that start at `at` and end there as a word: "A1" in
/// "A1(" or in "A1.x" is none.
std::optional<WrittenReference> scanReference(std::string_view text, std::size_t at);

/// Whether the whole text reads as one cell, so that it can be no name.
bool looksLikeCell(std::string_view text);

/// The letters of a column from 0: "A", "XFD".
std::string columnLetters(std::int32_t col);

} // namespace varnex3::sheet::lexical
