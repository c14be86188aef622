// sheet/formula/R1C1.cpp - reads row and column notation.
#include "sheet/formula/R1C1.h"

#include <algorithm>
#include <charconv>
#include <tuple>

#include "sheet/formula/Lexical.h"

namespace varnex3::sheet {
namespace {

class R1C1Reader {
public:
    R1C1Reader(std::string_view text, const CellAddress& here) : text_(text), here_(here) {}

    std::optional<Area> read()
    {
        Corner first;
        if (!corner(first)) return std::nullopt;
        Corner last = first;
        if (text_.starts_with(':')) {
            text_.remove_prefix(1);
            last = {};
            if (!corner(last) || last.row.has_value() != first.row.has_value() ||
                last.col.has_value() != first.col.has_value())
                return std::nullopt;
        }
        if (!text_.empty()) return std::nullopt;
        Area area{here_.sheet, 0, 0, kMaxRows - 1, kMaxColumns - 1};
        if (first.row) std::tie(area.row0, area.row1) = std::minmax({*first.row, *last.row});
        if (first.col) std::tie(area.col0, area.col1) = std::minmax({*first.col, *last.col});
        return area;
    }

private:
    /// A row without column is a whole row.
    struct Corner {
        std::optional<std::int32_t> row, col;
    };

    bool corner(Corner& c)
    {
        return coordinate('R', here_.row, kMaxRows, c.row) &&
               coordinate('C', here_.col, kMaxColumns, c.col) && (c.row || c.col);
    }

    /// False for one that is wrong; one that is not there leaves `result` alone.
    bool coordinate(char letter, std::int32_t own, std::int32_t limit, std::optional<std::int32_t>& result)
    {
        if (lexical::upper(lexical::charAt(text_, 0)) != letter) return true;
        text_.remove_prefix(1);
        const bool relative = text_.starts_with('[');
        if (relative) text_.remove_prefix(1);
        std::int32_t n = 0;
        const char sign = lexical::charAt(text_, 0);
        const bool mayBeNumber = lexical::isDigit(sign) || (relative && sign == '-');
        const auto [end, error] = std::from_chars(text_.data(), text_.data() + text_.size(), n);
        const bool written = mayBeNumber && error == std::errc();
        if (mayBeNumber && !written) return false;
        if (written) text_.remove_prefix(static_cast<std::size_t>(end - text_.data()));
        if (relative && (!written || !text_.starts_with(']'))) return false;
        if (relative) text_.remove_prefix(1);
        const std::int64_t at = relative || !written ? std::int64_t{own} + n : std::int64_t{n} - 1;
        result = static_cast<std::int32_t>(std::clamp<std::int64_t>(at, -1, limit));
        return at >= 0 && at < limit;
    }

    std::string_view text_;
    const CellAddress& here_;
};

} // namespace

std::optional<Area> parseR1C1(std::string_view text, const CellAddress& here)
{
    return R1C1Reader(text, here).read();
}

} // namespace varnex3::sheet
