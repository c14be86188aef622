// sheet/xlsx/Text.h - how a workbook file writes values: cell references, escapes, numbers, dates.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sheet/value/Environment.h"
#include "sheet/value/Value.h"
#include "sheet/xlsx/Xml.h"

namespace varnex3::sheet::xlsx {

struct Position {
    std::int32_t row = 0, col = 0; // from 0
};

/// "B3" as the file writes it: no "$", inside the grid. Nothing for any other text.
std::optional<Position> parseCell(std::string_view text);

/// "A1:B3", or one cell; corners in any order. Sheet 0.
std::optional<Area> parseArea(std::string_view text);

/// Without white space at both ends, white space as XML has it.
std::string_view trimmed(std::string_view text);

/// Resolves escapes such as _x000D_, which stand for UTF-16 units. Half pairs become U+FFFD.
std::string unescaped(std::string_view text);

/// A whole number from 0 as an attribute holds it, white space around it; nothing for any other text.
std::optional<std::uint32_t> parseIndex(std::string_view text);

/// A finite decimal number, white space around it.
std::optional<double> parseDouble(std::string_view text);

/// An XML Boolean attribute; `otherwise` when absent or neither.
bool parseFlag(const char* attribute, bool otherwise);

/// The serial number of an ISO 8601 date, time, or both ("2024-01-31T12:30:00.5Z"); offsets from
/// universal time are left out of account, as cells know no time zones.
std::optional<double> serialFromIso(std::string_view text, DateSystem dates);

/// The text of a shared or inline string: its direct text or its runs, without phonetic guides.
/// `open` and `close` take levels counted from the string element's children as 1.
class RichText {
public:
    void begin() { text_.clear(); }
    bool open(const Tag& tag, int level);
    void close(int level);
    void text(std::string_view piece)
    {
        if (collecting_) text_.append(piece);
    }
    std::size_t size() const { return text_.size(); }
    std::string result() const { return unescaped(text_); }

private:
    std::string text_;
    std::size_t start_ = 0; // of the current <t>
    int level_ = 0;         // of the current <t>
    bool collecting_ = false;
    bool keepSpace_ = false;
};

} // namespace varnex3::sheet::xlsx
