// sheet/ods/Formula.h - formulas as open document spreadsheets write them, in the engine's own notation.
//
// References stand in brackets ([.A1], [$Sheet1.$A$1:.B3]), arguments are separated by ";", "~" joins and "!"
// intersects references, arrays are {1;2|3;4}, and some functions have other names.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnex3::sheet::ods {

/// The cell that relative references of a name are taken from, from 0.
struct Base {
    std::int32_t row = 0, col = 0;
};

/// A formula text with or without its prefix ("of:=", "=") as the engine writes it, without "=". What does
/// not read as this notation is passed on as it is, for the parser to refuse. Paths of other books that it
/// refers to are appended to `books`.
std::string formulaText(std::string_view text, std::vector<std::string>& books, Base base = {});

/// A cell or area as names give it, without brackets: "$Sheet1.$A$1:.$B$3".
std::string referenceText(std::string_view text, std::vector<std::string>& books, Base base = {});

/// The sheet of another book whose copy a table with such a name is: "'file:///prices.ods'#Sheet1".
struct CopiedSheet {
    std::string book, sheet;
};
std::optional<CopiedSheet> copiedSheet(std::string_view tableName);

/// Row and column of an address such as "$Sheet1.$B$3"; A1 for any other text.
Base baseOf(std::string_view address);

} // namespace varnex3::sheet::ods
