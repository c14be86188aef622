// sheet/formula/Lexical.cpp - references and sheet names as written.
#include "sheet/formula/Lexical.h"

#include <algorithm>

#include "sheet/formula/Parser.h"

namespace varnex3::sheet {
namespace lexical {
namespace {

/// "$"? and one to three letters up to XFD; moves `at` behind them.
std::optional<Coordinate> readColumn(std::string_view text, std::size_t& at)
{
    std::size_t p = at;
    Coordinate c;
    c.absolute = charAt(text, p) == '$';
    if (c.absolute) ++p;
    const std::size_t start = p;
    std::int32_t number = 0;
    for (; p < text.size() && isLetter(text[p]); ++p) {
        if (p - start == 3) return std::nullopt;
        number = number * 26 + (upper(text[p]) - 'A' + 1);
    }
    if (number < 1 || number > kMaxColumns) return std::nullopt;
    c.index = number - 1;
    at = p;
    return c;
}

/// "$"? and digits from 1 to the last row; moves `at` behind them.
std::optional<Coordinate> readRow(std::string_view text, std::size_t& at)
{
    std::size_t p = at;
    Coordinate c;
    c.absolute = charAt(text, p) == '$';
    if (c.absolute) ++p;
    std::int32_t number = 0;
    for (; p < text.size() && isDigit(text[p]); ++p) {
        number = number * 10 + (text[p] - '0');
        if (number > kMaxRows) return std::nullopt;
    }
    if (number < 1) return std::nullopt;
    c.index = number - 1;
    at = p;
    return c;
}

/// Whether a reference may end before `at`: what follows makes it no name, function, table or sheet.
bool endsReference(std::string_view text, std::size_t at)
{
    const char c = charAt(text, at);
    return !isNamePart(c) && c != '(' && c != '[' && c != '!' && c != '$';
}

/// As endsReference, for the second part: "A1:B2#" is A1 to the spill of B2, no area.
bool endsArea(std::string_view text, std::size_t at)
{
    return endsReference(text, at) && charAt(text, at) != '#';
}

std::optional<WrittenReference> scanRows(std::string_view text, std::size_t at)
{
    WrittenReference r;
    r.extent = Extent::WholeRows;
    const auto first = readRow(text, at);
    if (!first || charAt(text, at) != ':') return std::nullopt;
    const auto last = readRow(text, ++at);
    if (!last || !endsArea(text, at)) return std::nullopt;
    r.row0 = *first;
    r.row1 = *last;
    r.col0 = {0, true};
    r.col1 = {kMaxColumns - 1, true};
    r.end = at;
    return r;
}

/// What follows the first column of "A:C".
std::optional<WrittenReference> scanColumns(std::string_view text, std::size_t at, Coordinate first)
{
    if (charAt(text, at) != ':') return std::nullopt;
    const auto last = readColumn(text, ++at);
    if (!last || !endsArea(text, at)) return std::nullopt;
    WrittenReference r;
    r.extent = Extent::WholeColumns;
    r.col0 = first;
    r.col1 = *last;
    r.row0 = {0, true};
    r.row1 = {kMaxRows - 1, true};
    r.end = at;
    return r;
}

} // namespace

std::string upperText(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), upper);
    return result;
}

bool sameLetters(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return upper(x) == upper(y); });
}

std::size_t nameEnd(std::string_view text, std::size_t at)
{
    if (at >= text.size() || !isNameStart(text[at])) return at;
    while (at < text.size() && isNamePart(text[at])) ++at;
    return at;
}

std::optional<WrittenReference> scanReference(std::string_view text, std::size_t at)
{
    std::size_t p = at;
    const auto col = readColumn(text, p);
    if (!col) return scanRows(text, at);
    const auto row = readRow(text, p);
    if (!row) return scanColumns(text, p, *col);
    if (!endsReference(text, p)) return std::nullopt;
    WrittenReference r;
    r.row0 = r.row1 = *row;
    r.col0 = r.col1 = *col;
    r.end = p;
    if (charAt(text, p) != ':') return r;
    const auto col1 = readColumn(text, ++p);
    const auto row1 = col1 ? readRow(text, p) : std::nullopt;
    if (!row1 || !endsArea(text, p)) return r;
    r.extent = Extent::Area;
    r.row1 = *row1;
    r.col1 = *col1;
    r.end = p;
    return r;
}

bool looksLikeCell(std::string_view text)
{
    const auto r = scanReference(text, 0);
    return r && r->extent == Extent::Cell && r->end == text.size();
}

std::string columnLetters(std::int32_t col)
{
    std::string letters;
    for (std::int32_t n = col + 1; n > 0; n = (n - 1) / 26)
        letters.insert(letters.begin(), static_cast<char>('A' + (n - 1) % 26));
    return letters;
}

} // namespace lexical

namespace {

/// "R", "C3", "RC", "r1c1": would read as a reference of the other notation.
bool looksLikeR1C1(std::string_view name)
{
    std::size_t p = 0;
    const auto part = [&](char letter) {
        if (lexical::upper(lexical::charAt(name, p)) != letter) return;
        ++p;
        while (p < name.size() && lexical::isDigit(name[p])) ++p;
    };
    part('R');
    part('C');
    return p > 0 && p == name.size();
}

bool plainSheetName(std::string_view name)
{
    if (name.empty() || !lexical::isNameStart(name.front())) return false;
    const auto plain = [](char c) { return lexical::isNamePart(c) && c != '?' && c != '\\'; };
    if (!std::all_of(name.begin(), name.end(), plain)) return false;
    return !lexical::looksLikeCell(name) && !looksLikeR1C1(name) && !lexical::sameLetters(name, "TRUE") &&
           !lexical::sameLetters(name, "FALSE");
}

} // namespace

std::optional<Area> parseA1(std::string_view text)
{
    const auto r = lexical::scanReference(text, 0);
    if (!r || r->end != text.size()) return std::nullopt;
    Area area;
    area.row0 = std::min(r->row0.index, r->row1.index);
    area.row1 = std::max(r->row0.index, r->row1.index);
    area.col0 = std::min(r->col0.index, r->col1.index);
    area.col1 = std::max(r->col0.index, r->col1.index);
    return area;
}

std::string a1Text(const CellAddress& cell, bool absolute)
{
    const std::string_view mark = absolute ? "$" : "";
    std::string text(mark);
    text += lexical::columnLetters(cell.col);
    text += mark;
    return text + std::to_string(cell.row + 1);
}

std::string a1Text(const Area& area, bool absolute)
{
    const std::string first = a1Text(CellAddress{area.sheet, area.row0, area.col0}, absolute);
    if (area.isCell()) return first;
    const std::string mark = absolute ? "$" : "";
    if (area.row0 == 0 && area.row1 == kMaxRows - 1)
        return mark + lexical::columnLetters(area.col0) + ":" + mark + lexical::columnLetters(area.col1);
    if (area.col0 == 0 && area.col1 == kMaxColumns - 1)
        return mark + std::to_string(area.row0 + 1) + ":" + mark + std::to_string(area.row1 + 1);
    return first + ":" + a1Text(CellAddress{area.sheet, area.row1, area.col1}, absolute);
}

std::string quotedSheetName(std::string_view name)
{
    if (plainSheetName(name)) return std::string(name);
    std::string text = "'";
    for (char c : name) {
        if (c == '\'') text += c;
        text += c;
    }
    return text + "'";
}

} // namespace varnex3::sheet
