// sheet/functions/Lookup.cpp - finding values in ranges, and making and describing references.
//
// Exact searches walk the runs of cells of a range and copy nothing; searches in sorted ranges halve it.
#include <algorithm>
#include <cmath>
#include <string>

#include "sheet/format/Convert.h"
#include "sheet/format/Letters.h"
#include "sheet/formula/Parser.h"
#include "sheet/functions/Block.h"
#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

constexpr std::int32_t kNotFound = -1;

/// A row or a column of cells, counted from 0.
class Line {
public:
    explicit Line(const Block& cells) : Line(cells, cells.cols() == 1) {}
    Line(const Block& cells, bool vertical) : cells_(cells), vertical_(vertical) {}

    std::int32_t length() const { return vertical_ ? cells_.rows() : cells_.cols(); }
    std::int32_t usedLength() const { return vertical_ ? cells_.usedRows() : cells_.usedCols(); }
    bool isVertical() const { return vertical_; }
    Value at(std::int32_t k) const { return vertical_ ? cells_.at(k, 0) : cells_.at(0, k); }

    /// Calls visitor(k, value) for the cells in order, some empty ones left out, until it answers false.
    template <class Visitor>
    void each(Visitor visitor) const
    {
        cells_.runs([&](std::int32_t row, std::int32_t col, const Value* first, std::int32_t n) {
            const std::int32_t start = vertical_ ? row : col;
            for (std::int32_t k = 0; k < n; ++k)
                if (!visitor(start + k, first[k])) return false;
            return true;
        });
    }

private:
    Block cells_;
    bool vertical_;
};

/// An empty cell is looked up as 0.
Value wantedValue(const Value& v) { return v.isEmpty() ? Value(0.0) : v; }

/// Equality as searches see it: of one kind, numbers to the last bit, texts without regard to case.
class Sought {
public:
    Sought(const Value& wanted, bool wildcards)
        : wanted_(wanted),
          pattern_(wildcards && wanted.isText() && wanted.text().find_first_of("*?~") != std::string::npos)
    {}
    bool fits(const Value& v) const
    {
        if (v.kind() != wanted_.kind()) return false;
        if (!v.isText()) return v.number() == wanted_.number();
        return pattern_ ? matchesWildcard(v.text(), wanted_.text()) : equalTexts(v.text(), wanted_.text());
    }

private:
    Value wanted_;
    bool pattern_;
};

std::int32_t findFirst(const Line& line, const Sought& sought)
{
    std::int32_t found = kNotFound;
    line.each([&](std::int32_t k, const Value& v) {
        if (sought.fits(v)) found = k;
        return found == kNotFound;
    });
    return found;
}

std::int32_t findLast(const Line& line, const Sought& sought)
{
    std::int32_t found = kNotFound;
    line.each([&](std::int32_t k, const Value& v) {
        if (sought.fits(v)) found = k;
        return true;
    });
    return found;
}

/// The last cell of an ascending line that is not greater than the wanted value. Cells of other kinds are
/// passed over, to the right. A line that is not sorted gives what halving it happens to meet, so the middle
/// of an even number of cells, the left one, matters.
std::int32_t findAscending(const Line& line, const Value& wanted)
{
    std::int32_t low = 0, high = line.usedLength() - 1, found = kNotFound;
    while (low <= high) {
        const std::int32_t middle = low + (high - low) / 2;
        std::int32_t k = middle;
        while (k <= high && line.at(k).kind() != wanted.kind()) ++k;
        if (k <= high && compareValues(line.at(k), wanted) <= 0) {
            found = k;
            low = k + 1;
        } else {
            high = middle - 1;
        }
    }
    return found;
}

/// The last cell before the first one that is less than the wanted value, or an equal one before that.
std::int32_t findDescending(const Line& line, const Value& wanted)
{
    std::int32_t found = kNotFound;
    line.each([&](std::int32_t k, const Value& v) {
        if (v.kind() != wanted.kind()) return true;
        const int order = compareValues(v, wanted);
        if (order >= 0) found = k;
        return order > 0;
    });
    return found;
}

/// An equal cell, else the nearest one below (or above) the wanted value, in any order of the line.
std::int32_t findNearest(const Line& line, const Value& wanted, bool below, bool fromEnd)
{
    std::int32_t found = kNotFound;
    Value nearest;
    line.each([&](std::int32_t k, const Value& v) {
        if (v.kind() != wanted.kind()) return true;
        const int order = compareValues(v, wanted);
        if (below ? order > 0 : order < 0) return true;
        const int gain = found == kNotFound ? 1 : compareValues(v, nearest) * (below ? 1 : -1);
        if (gain > 0 || (gain == 0 && fromEnd)) {
            found = k;
            nearest = v;
        }
        return true;
    });
    return found;
}

/// Match mode 0 exact, -1 next smaller, 1 next larger, 2 wildcards; search mode 1 from the first, -1 from
/// the last, 2 and -2 in sorted lines, where every search finds the same.
std::int32_t findByMode(const Line& line, const Value& wanted, int match, int search)
{
    if (match == -1 || match == 1) return findNearest(line, wanted, match < 0, search == -1);
    const Sought sought(wanted, match == 2);
    return search == -1 ? findLast(line, sought) : findFirst(line, sought);
}

bool validModes(double match, double search)
{
    return match >= -1.0 && match <= 2.0 && search != 0.0 && std::fabs(search) <= 2.0 &&
           !(match == 2.0 && std::fabs(search) == 2.0);
}

/// Why a search cannot be made: a range that is a failure, a single value or several areas, a text that is
/// too long to look for.
std::optional<Failure> refusal(const Value& wanted, const Value& range)
{
    constexpr int kLongest = 255;
    if (range.isFailure()) return range.failure();
    int characters = 0;
    if (wanted.isText())
        for (std::size_t at = 0; at < wanted.text().size() && characters <= kLongest; ++characters)
            nextCharacter(wanted.text(), at);
    if (characters > kLongest) return Failure::Value;
    const bool searchable = range.isArray() || (range.isReference() && range.areas().size() == 1);
    return searchable ? std::nullopt : std::optional(Failure::NA);
}

/// What a function answers that needs a reference and was given something else.
Value noReference(const Value& v) { return v.isFailure() ? v : Value(Failure::Value); }

// Searches ----------------------------------------------------------------------------------------------

/// Unlike its kin, MATCH does not find 0 for an empty cell.
Value match(Call& call)
{
    const Value& wanted = call.value(0);
    if (const auto failure = refusal(wanted, call.value(1))) return *failure;
    const Block cells(call, 1);
    if (!cells.isVector() || wanted.isEmpty()) return Failure::NA;
    const Line line(cells);
    const double type = call.number(2);
    const std::int32_t k = type == 0.0  ? findFirst(line, Sought(wanted, true))
                           : type > 0.0 ? findAscending(line, wanted)
                                        : findDescending(line, wanted);
    return k == kNotFound ? Value(Failure::NA) : Value(k + 1);
}

Value matchByMode(Call& call)
{
    if (call.value(1).isFailure()) return call.value(1);
    const Block cells(call, 1);
    const double mode = std::trunc(call.number(2)), search = std::trunc(call.number(3));
    if (!cells.isVector() || !validModes(mode, search)) return Failure::Value;
    const std::int32_t k =
        findByMode(Line(cells), wantedValue(call.value(0)), static_cast<int>(mode), static_cast<int>(search));
    return k == kNotFound ? Value(Failure::NA) : Value(k + 1);
}

std::int32_t findInTable(const Call& call, const Line& line)
{
    const Value wanted = wantedValue(call.value(0));
    return call.boolean(3) ? findAscending(line, wanted) : findFirst(line, Sought(wanted, true));
}

Value lookupInColumn(Call& call)
{
    if (const auto failure = refusal(call.value(0), call.value(1))) return *failure;
    const Block table(call, 1);
    const double col = std::trunc(call.number(2));
    if (!(col >= 1.0)) return Failure::Value;
    if (col > table.cols()) return Failure::Ref;
    const std::int32_t k = findInTable(call, Line(table.col(0), true));
    return k == kNotFound ? Value(Failure::NA) : table.at(k, static_cast<std::int32_t>(col) - 1);
}

Value lookupInRow(Call& call)
{
    if (const auto failure = refusal(call.value(0), call.value(1))) return *failure;
    const Block table(call, 1);
    const double row = std::trunc(call.number(2));
    if (!(row >= 1.0)) return Failure::Value;
    if (row > table.rows()) return Failure::Ref;
    const std::int32_t k = findInTable(call, Line(table.row(0), false));
    return k == kNotFound ? Value(Failure::NA) : table.at(static_cast<std::int32_t>(row) - 1, k);
}

/// Vector form with a line of results, or array form: searches the longer of first row and first column,
/// the result stands in the last one.
Value lookup(Call& call)
{
    if (call.value(1).isFailure()) return call.value(1);
    const Block cells(call, 1);
    const bool vertical = cells.rows() >= cells.cols();
    const Line line(vertical ? cells.col(0) : cells.row(0), vertical);
    const std::int32_t k = findAscending(line, wantedValue(call.value(0)));
    if (k == kNotFound) return Failure::NA;
    if (call.count() < 3) return vertical ? cells.at(k, cells.cols() - 1) : cells.at(cells.rows() - 1, k);
    const Block results(call, 2);
    if (!results.isVector()) return Failure::NA;
    const Line resultLine(results);
    // A reference gives also what stands beyond its end.
    if (k < resultLine.length()) return resultLine.at(k);
    if (!results.isReference()) return Failure::NA;
    return resultLine.isVertical() ? results.resized(k + 1, 1).at(k, 0) : results.resized(1, k + 1).at(0, k);
}

Value lookupByMode(Call& call)
{
    if (call.value(1).isFailure()) return call.value(1);
    const Block cells(call, 1), results(call, 2);
    const double mode = std::trunc(call.number(4)), search = std::trunc(call.number(5));
    if (!cells.isVector() || !validModes(mode, search)) return Failure::Value;
    const bool vertical = cells.cols() == 1 && (cells.rows() > 1 || results.rows() == 1);
    const Line line(cells, vertical);
    if (line.length() != (vertical ? results.rows() : results.cols())) return Failure::Value;
    const std::int32_t k =
        findByMode(line, wantedValue(call.value(0)), static_cast<int>(mode), static_cast<int>(search));
    if (k != kNotFound) return (vertical ? results.row(k) : results.col(k)).value();
    return call.given(3) ? call.value(3) : Value(Failure::NA);
}

// Picking -----------------------------------------------------------------------------------------------

Value index(Call& call)
{
    const Value& whole = call.value(0);
    if (whole.isFailure()) return whole;
    const double area = call.given(3) ? std::trunc(call.number(3)) : 1.0;
    const auto areas = whole.isReference() ? static_cast<double>(whole.areas().size()) : 1.0;
    if (!(area >= 1.0)) return Failure::Value;
    if (area > areas) return Failure::Ref;
    const Block cells(call.environment(),
                      whole.isReference() ? Value(whole.areas()[static_cast<std::size_t>(area) - 1]) : whole);
    double row = std::trunc(call.number(1)), col = std::trunc(call.number(2));
    if (call.count() < 3 && cells.rows() == 1) { // the only number counts along the row
        col = row;
        row = 0.0;
    }
    if (row < 0.0 || col < 0.0) return Failure::Value;
    if (row > cells.rows() || col > cells.cols()) return Failure::Ref;
    const auto r = static_cast<std::int32_t>(row), c = static_cast<std::int32_t>(col);
    const Block rowPart = r == 0 ? cells : cells.row(r - 1);
    return (c == 0 ? rowPart : rowPart.col(c - 1)).value();
}

Value choose(Call& call)
{
    const double i = std::trunc(call.number(0));
    if (!(i >= 1.0 && i < call.count())) return Failure::Value;
    return call.value(static_cast<int>(i));
}

Value transpose(Call& call)
{
    const Block cells = Block(call, 0).manageable();
    const std::int32_t rows = cells.rows(), cols = cells.cols();
    std::vector<Value> items(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
    cells.runs([&](std::int32_t row, std::int32_t col, const Value* first, std::int32_t n) {
        for (std::int32_t k = 0; k < n; ++k)
            items[static_cast<std::size_t>(col) * static_cast<std::size_t>(rows) +
                  static_cast<std::size_t>(row + k)] = first[k];
        return true;
    });
    return Value::array(cols, rows, std::move(items));
}

/// The range without the empty rows and columns at its edges: 1 those that lead, 2 those that trail, 3 both.
Value trimmedRange(Call& call)
{
    const Value& whole = call.value(0);
    if (whole.isFailure()) return whole;
    const Block cells(call, 0);
    const double rowEdges = std::trunc(call.number(1)), colEdges = std::trunc(call.number(2));
    if (!(rowEdges >= 0.0 && rowEdges <= 3.0 && colEdges >= 0.0 && colEdges <= 3.0)) return Failure::Value;
    std::int32_t top = cells.rows(), bottom = -1, left = cells.cols(), right = -1;
    cells.runs([&](std::int32_t row, std::int32_t col, const Value* first, std::int32_t n) {
        for (std::int32_t k = 0; k < n; ++k) {
            if (first[k].isEmpty()) continue;
            top = std::min(top, row + k);
            bottom = std::max(bottom, row + k);
            left = std::min(left, col);
            right = std::max(right, col);
        }
        return true;
    });
    if (bottom < 0) return Failure::Ref;
    const auto cuts = [](double edges, double edge) { return edges == 3.0 || edges == edge; };
    if (!cuts(rowEdges, 1.0)) top = 0;
    if (!cuts(rowEdges, 2.0)) bottom = cells.rows() - 1;
    if (!cuts(colEdges, 1.0)) left = 0;
    if (!cuts(colEdges, 2.0)) right = cells.cols() - 1;
    return cells.part(top, left, bottom - top + 1, right - left + 1).value();
}

// References --------------------------------------------------------------------------------------------

/// Extent of a moved area along one axis; a negative size counts backwards from the start.
struct Span {
    double first = 0.0, last = 0.0;
    bool inside(double limit) const { return first >= 0.0 && last >= first && last < limit; }
};

Span movedSpan(double start, double size)
{
    return size > 0.0 ? Span{start, start + size - 1.0} : Span{start + size + 1.0, start};
}

Value offset(Call& call)
{
    if (!call.value(0).isReference()) return noReference(call.value(0));
    const Area& from = call.value(0).areas().front();
    const double height = call.given(3) ? std::trunc(call.number(3)) : from.rows();
    const double width = call.given(4) ? std::trunc(call.number(4)) : from.cols();
    if (height == 0.0 || width == 0.0) return Failure::Ref;
    const Span rows = movedSpan(from.row0 + std::trunc(call.number(1)), height);
    const Span cols = movedSpan(from.col0 + std::trunc(call.number(2)), width);
    if (!rows.inside(kMaxRows) || !cols.inside(kMaxColumns)) return Failure::Ref;
    return Area{from.sheet, static_cast<std::int32_t>(rows.first), static_cast<std::int32_t>(cols.first),
                static_cast<std::int32_t>(rows.last), static_cast<std::int32_t>(cols.last)};
}

Value indirect(Call& call)
{
    return call.environment().referenceFromText(call.text(0), call.boolean(1), call.here());
}

/// The numbers first + 1, first + 2, ... as a column or a row.
Value numbering(std::int32_t first, std::int32_t count, bool vertical)
{
    if (count == 1) return first + 1;
    std::vector<Value> items;
    items.reserve(static_cast<std::size_t>(count));
    for (std::int32_t k = 0; k < count; ++k) items.emplace_back(first + k + 1);
    return vertical ? Value::array(count, 1, std::move(items)) : Value::array(1, count, std::move(items));
}

Value rowNumber(Call& call)
{
    if (call.count() == 0) return call.here().row + 1;
    if (!call.value(0).isReference()) return noReference(call.value(0));
    if (call.value(0).areas().size() > 1) return Failure::Ref;
    const Area& area = call.value(0).areas().front();
    return numbering(area.row0, area.rows(), true);
}

Value columnNumber(Call& call)
{
    if (call.count() == 0) return call.here().col + 1;
    if (!call.value(0).isReference()) return noReference(call.value(0));
    if (call.value(0).areas().size() > 1) return Failure::Ref;
    const Area& area = call.value(0).areas().front();
    return numbering(area.col0, area.cols(), false);
}

Value extent(const Value& range, std::int32_t size)
{
    if (range.isFailure()) return range;
    if (range.isReference() && range.areas().size() > 1) return Failure::Ref;
    return size;
}

Value rowTotal(Call& call) { return extent(call.value(0), call.rows(0)); }
Value columnTotal(Call& call) { return extent(call.value(0), call.cols(0)); }

Value areaTotal(Call& call)
{
    if (!call.value(0).isReference()) return noReference(call.value(0));
    return static_cast<double>(call.value(0).areas().size());
}

Value formulaText(Call& call)
{
    if (!call.value(0).isReference()) return noReference(call.value(0));
    const Area& area = call.value(0).areas().front();
    const std::string text = call.environment().formulaText({area.sheet, area.row0, area.col0});
    return text.empty() ? Value(Failure::NA) : Value(text);
}

std::string columnLetters(double number)
{
    std::string letters = a1Text(CellAddress{0, 0, static_cast<std::int32_t>(number) - 1});
    letters.pop_back(); // the row, 1
    return letters;
}

Value address(Call& call)
{
    const double row = std::trunc(call.number(0)), col = std::trunc(call.number(1));
    const double form = call.given(2) ? std::trunc(call.number(2)) : 1.0;
    const bool a1 = !call.given(3) || call.boolean(3);
    if (!(form >= 1.0 && form <= 4.0)) return Failure::Value;
    const bool fixedRow = form <= 2.0, fixedCol = form == 1.0 || form == 3.0;
    const auto inside = [](double x, bool fixed, double limit) {
        return fixed ? x >= 1.0 && x <= limit : std::fabs(x) < limit;
    };
    if (!inside(row, fixedRow || a1, kMaxRows) || !inside(col, fixedCol || a1, kMaxColumns))
        return Failure::Value;
    const auto r = std::to_string(static_cast<int>(row)), c = std::to_string(static_cast<int>(col));
    const auto relative = [](const std::string& n) { return n == "0" ? std::string() : "[" + n + "]"; };
    const std::string sheet = call.text(4).empty() ? std::string() : quotedSheetName(call.text(4));
    const std::string prefix = call.given(4) ? sheet + "!" : std::string();
    if (!a1) return prefix + "R" + (fixedRow ? r : relative(r)) + "C" + (fixedCol ? c : relative(c));
    return prefix + (fixedCol ? "$" : "") + columnLetters(col) + (fixedRow ? "$" : "") + r;
}

Value hyperlink(Call& call) { return call.count() > 1 ? call.value(1) : call.value(0); }

constexpr Trait kMakesRange = Trait::Volatile | Trait::Dynamic | Trait::GivesRange;

constexpr FunctionRow rows[] = {
    {"ADDRESS",
     {number(), number(), number(1), boolean(true), optional(text())},
     Trait::Pure,
     address,
     "a cell's address as text",
     "=ADDRESS(2, 28, 4)",
     "AB2"},
    {"AREAS",
     {reference()},
     Trait::Pure,
     areaTotal,
     "how many areas a reference has",
     "=AREAS((A1:B2,D4))",
     "2"},
    {"CHOOSE",
     {number(), repeats(any())},
     Trait::Lazy | Trait::GivesRange,
     choose,
     "the value of that number",
     "=CHOOSE(2, \"a\", \"b\")",
     "b"},
    {"COLUMN",
     {optional(reference())},
     Trait::Pure,
     columnNumber,
     "column number of a reference",
     "=COLUMN(C5)",
     "3"},
    {"COLUMNS",
     {reference()},
     Trait::Pure,
     columnTotal,
     "how many columns a range has",
     "=COLUMNS(B1:D9)",
     "3"},
    {"FORMULATEXT",
     {reference()},
     Trait::Pure,
     formulaText,
     "the formula of a cell as text",
     "=FORMULATEXT(A1)",
     "#N/A"},
    {"HLOOKUP",
     {scalar(), array(), number(), boolean(true)},
     Trait::Pure,
     lookupInRow,
     "searches the first row of a table, answers from another",
     "=HLOOKUP(2, {1,2,3;\"a\",\"b\",\"c\"}, 2)",
     "b"},
    {"HYPERLINK",
     {scalar(), optional(any())},
     Trait::Pure,
     hyperlink,
     "a link, shown under a name",
     "=HYPERLINK(\"#A1\", \"top\")",
     "top"},
    {"INDEX",
     {array(), number(), number(0), number(1)},
     Trait::GivesRange,
     index,
     "the cell, row or column at a position of a range",
     "=INDEX({1,2;3,4}, 2, 1)",
     "3"},
    {"INDIRECT",
     {text(), boolean(true)},
     kMakesRange,
     indirect,
     "the reference that a text stands for",
     "=ROW(INDIRECT(\"B7\"))",
     "7"},
    {"LOOKUP",
     {scalar(), array(), optional(array())},
     Trait::Pure,
     lookup,
     "searches a sorted row or column",
     "=LOOKUP(2.5, {1,2,3}, {\"a\",\"b\",\"c\"})",
     "b"},
    {"MATCH",
     {scalar(), array(), number(1)},
     Trait::Pure,
     match,
     "position of a value: 0 exact, 1 in ascending, -1 in descending order",
     "=MATCH(\"b*\", {\"abc\",\"bcd\"}, 0)",
     "2"},
    {"OFFSET",
     {reference(), number(), number(), optional(number()), optional(number())},
     kMakesRange,
     offset,
     "a reference moved and resized",
     "=ROWS(OFFSET(A1, 2, 1, 5, 1))",
     "5"},
    {"ROW", {optional(reference())}, Trait::Pure, rowNumber, "row number of a reference", "=ROW(C5)", "5"},
    {"ROWS", {reference()}, Trait::Pure, rowTotal, "how many rows a range has", "=ROWS(B1:D9)", "9"},
    {"TRANSPOSE",
     {array()},
     Trait::Pure,
     transpose,
     "rows as columns",
     "=INDEX(TRANSPOSE({1,2;3,4}), 1, 2)",
     "3"},
    {"TRIMRANGE",
     {range(), number(3), number(3)},
     Trait::GivesRange,
     trimmedRange,
     "a range without the empty rows and columns at its edges",
     "=ROWS(TRIMRANGE(VSTACK({1;2},A1:A3), 2))",
     "2"},
    {"VLOOKUP",
     {scalar(), array(), number(), boolean(true)},
     Trait::Pure,
     lookupInColumn,
     "searches the first column of a table, answers from another",
     "=VLOOKUP(\"b\", {\"a\",1;\"b\",2}, 2, FALSE)",
     "2"},
    {"XLOOKUP",
     {scalar(), array(), array(), optional(any()), number(0), number(1)},
     Trait::GivesRange,
     lookupByMode,
     "searches a line, answers from another",
     "=XLOOKUP(4, {1,3,5}, {\"a\",\"b\",\"c\"}, \"-\", -1)",
     "b"},
    {"XMATCH",
     {scalar(), array(), number(0), number(1)},
     Trait::Pure,
     matchByMode,
     "position of a value, also the next smaller or larger",
     "=XMATCH(4, {5,3,1}, 1)",
     "1"},
};
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> lookupFunctions() { return rows; }

} // namespace varnex3::sheet
