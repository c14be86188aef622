// sheet/format/Widths.h - the half and full widths of East Asian letters, and amounts in Thai words.
#pragma once

#include <string>
#include <string_view>

namespace varnex3::sheet {

/// Full-width Latin letters, signs and katakana as their half-width forms; everything else as it is.
std::string halfWidth(std::string_view text);

/// Half-width Latin letters, signs and katakana as their full-width forms; everything else as it is.
std::string fullWidth(std::string_view text);

/// An amount in baht and satang in Thai words, rounded to satang; |amount| below 1E+15.
std::string bahtText(double amount);

} // namespace varnex3::sheet
