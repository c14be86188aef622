// sheet/functions/Arrays.cpp - functions that make arrays of other sizes: sorted, filtered, stacked, cut.
//
// TRANSPOSE is in Lookup.cpp, matrix algebra in Matrix.cpp.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "sheet/format/Convert.h"
#include "sheet/functions/Block.h"
#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

constexpr double kMostItems = 16777216.0; // 2^24 values fill 256 MB

/// An array of values that can be cut and put together.
struct Grid {
    std::int32_t rows = 0, cols = 0;
    std::vector<Value> items; // row by row

    Grid(std::int32_t height, std::int32_t width, const Value& filler = Value())
        : rows(height), cols(width),
          items(static_cast<std::size_t>(height) * static_cast<std::size_t>(width), filler)
    {}
    Value& at(std::int32_t r, std::int32_t c)
    {
        return items[static_cast<std::size_t>(r) * static_cast<std::size_t>(cols) +
                     static_cast<std::size_t>(c)];
    }
    const Value& at(std::int32_t r, std::int32_t c) const { return const_cast<Grid&>(*this).at(r, c); }

    Value value()
    {
        if (items.empty()) return Failure::Calc; // there is no empty array
        return Value::array(rows, cols, std::move(items));
    }
};

/// The argument's elements; of whole rows and columns the part in use.
Grid gridOf(const Call& call, int i)
{
    const Block cells = Block(call, i).manageable();
    Grid grid(cells.rows(), cells.cols());
    cells.runs([&](std::int32_t row, std::int32_t col, const Value* first, std::int32_t n) {
        for (std::int32_t k = 0; k < n; ++k) grid.at(row + k, col) = first[k];
        return true;
    });
    return grid;
}

Grid transposed(const Grid& grid)
{
    Grid other(grid.cols, grid.rows);
    for (std::int32_t r = 0; r < grid.rows; ++r)
        for (std::int32_t c = 0; c < grid.cols; ++c) other.at(c, r) = grid.at(r, c);
    return other;
}

Grid pickRows(const Grid& grid, const std::vector<std::int32_t>& rows)
{
    Grid picked(static_cast<std::int32_t>(rows.size()), grid.cols);
    for (std::int32_t r = 0; r < picked.rows; ++r)
        for (std::int32_t c = 0; c < grid.cols; ++c)
            picked.at(r, c) = grid.at(rows[static_cast<std::size_t>(r)], c);
    return picked;
}

std::vector<std::int32_t> firstNumbers(std::int32_t n)
{
    std::vector<std::int32_t> numbers(static_cast<std::size_t>(n));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

/// Numbers, texts, Booleans, failures; empty cells always come last.
int sortOrder(const Value& a, const Value& b, bool descending)
{
    if (a.isEmpty() || b.isEmpty()) return static_cast<int>(a.isEmpty()) - static_cast<int>(b.isEmpty());
    int order = 0;
    if (a.isFailure() || b.isFailure()) {
        order = static_cast<int>(a.isFailure()) - static_cast<int>(b.isFailure());
    } else {
        order = compareValues(a, b);
    }
    return descending ? -order : order;
}

// Sorting and filtering -----------------------------------------------------------------------------------

Value sort(Call& call)
{
    const bool byColumns = call.boolean(3);
    const Grid given = gridOf(call, 0);
    const Grid grid = byColumns ? transposed(given) : given;
    const double key = std::trunc(call.given(1) ? call.number(1) : 1.0);
    const double direction = call.given(2) ? call.number(2) : 1.0;
    if (!(key >= 1.0 && key <= grid.cols) || (direction != 1.0 && direction != -1.0)) return Failure::Value;
    const auto col = static_cast<std::int32_t>(key) - 1;
    std::vector<std::int32_t> rows = firstNumbers(grid.rows);
    std::stable_sort(rows.begin(), rows.end(), [&](std::int32_t a, std::int32_t b) {
        return sortOrder(grid.at(a, col), grid.at(b, col), direction < 0.0) < 0;
    });
    Grid sorted = pickRows(grid, rows);
    return byColumns ? transposed(sorted).value() : sorted.value();
}

/// Keys and directions by turns; each key is a column (or a row, to sort columns) as long as the array.
Value sortBy(Call& call)
{
    struct Key {
        std::vector<Value> items;
        bool descending = false;
    };
    const Grid given = gridOf(call, 0);
    const Grid first = gridOf(call, 1);
    const bool byColumns = first.rows == 1 && first.cols > 1;
    const Grid grid = byColumns ? transposed(given) : given;
    std::vector<Key> keys;
    for (int i = 1; i < call.count(); i += 2) {
        const Grid key = gridOf(call, i);
        if ((byColumns ? key.cols : key.rows) != grid.rows || (byColumns ? key.rows : key.cols) != 1)
            return Failure::Value;
        const Value direction = call.given(i + 1) ? toNumber(call.at(i + 1, 0, 0), call.dates()) : Value(1.0);
        if (direction.isFailure()) return direction;
        keys.push_back({key.items, direction.number() < 0.0});
    }
    std::vector<std::int32_t> rows = firstNumbers(grid.rows);
    std::stable_sort(rows.begin(), rows.end(), [&](std::int32_t a, std::int32_t b) {
        for (const Key& key : keys) {
            const int order = sortOrder(key.items[static_cast<std::size_t>(a)],
                                        key.items[static_cast<std::size_t>(b)], key.descending);
            if (order != 0) return order < 0;
        }
        return false;
    });
    Grid sorted = pickRows(grid, rows);
    return byColumns ? transposed(sorted).value() : sorted.value();
}

Value filter(Call& call)
{
    const Grid given = gridOf(call, 0), conditions = gridOf(call, 1);
    const bool byColumns = conditions.rows == 1 && conditions.cols == given.cols && given.cols > 1;
    const Grid grid = byColumns ? transposed(given) : given;
    if (static_cast<std::size_t>(grid.rows) != conditions.items.size() ||
        (conditions.rows != 1 && conditions.cols != 1))
        return Failure::Value;
    std::vector<std::int32_t> kept;
    for (std::int32_t r = 0; r < grid.rows; ++r) {
        const Value holds = toBoolean(conditions.items[static_cast<std::size_t>(r)]);
        if (holds.isFailure()) return holds;
        if (holds.boolean()) kept.push_back(r);
    }
    if (kept.empty()) return call.given(2) ? call.value(2) : Value(Failure::Calc);
    Grid result = pickRows(grid, kept);
    return byColumns ? transposed(result).value() : result.value();
}

bool sameRow(const Grid& grid, std::int32_t a, std::int32_t b)
{
    for (std::int32_t c = 0; c < grid.cols; ++c) {
        const Value &x = grid.at(a, c), &y = grid.at(b, c);
        if (x.kind() != y.kind()) return false;
        if (x.isText() ? !equalTexts(x.text(), y.text()) : !(x == y)) return false;
    }
    return true;
}

Value unique(Call& call)
{
    const bool byColumns = call.boolean(1), onceOnly = call.boolean(2);
    const Grid given = gridOf(call, 0);
    const Grid grid = byColumns ? transposed(given) : given;
    std::vector<std::int32_t> kept;
    std::vector<int> times;
    for (std::int32_t r = 0; r < grid.rows; ++r) {
        std::size_t k = 0;
        while (k < kept.size() && !sameRow(grid, kept[k], r)) ++k;
        if (k < kept.size()) {
            ++times[k];
        } else {
            kept.push_back(r);
            times.push_back(1);
        }
    }
    std::vector<std::int32_t> wanted;
    for (std::size_t k = 0; k < kept.size(); ++k)
        if (!onceOnly || times[k] == 1) wanted.push_back(kept[k]);
    Grid result = pickRows(grid, wanted);
    return byColumns && !wanted.empty() ? transposed(result).value() : result.value();
}

// Making --------------------------------------------------------------------------------------------------

struct Size {
    std::int32_t rows = 1, cols = 1;
    std::optional<Failure> failure;
};

/// The size in arguments i and i + 1, 1 where they are left out.
Size sizeFrom(const Call& call, int i)
{
    const double rows = call.given(i) ? std::trunc(call.number(i)) : 1.0;
    const double cols = call.given(i + 1) ? std::trunc(call.number(i + 1)) : 1.0;
    if (rows < 0.0 || cols < 0.0) return {1, 1, Failure::Value};
    if (!(rows >= 1.0 && cols >= 1.0)) return {1, 1, Failure::Calc};
    if (!(rows <= kMaxRows && cols <= kMaxColumns && rows * cols <= kMostItems)) return {1, 1, Failure::Num};
    return {static_cast<std::int32_t>(rows), static_cast<std::int32_t>(cols), std::nullopt};
}

Value sequence(Call& call)
{
    const Size size = sizeFrom(call, 0);
    if (size.failure) return *size.failure;
    const double start = call.given(2) ? call.number(2) : 1.0, step = call.given(3) ? call.number(3) : 1.0;
    Grid grid(size.rows, size.cols);
    double k = 0.0;
    for (Value& item : grid.items) {
        item = finite(start + k * step);
        k += 1.0;
    }
    return grid.value();
}

Value randomArray(Call& call)
{
    const Size size = sizeFrom(call, 0);
    if (size.failure) return *size.failure;
    const double low = call.number(2), high = call.given(3) ? call.number(3) : 1.0;
    const bool whole = call.boolean(4);
    if (low > high || (whole && (low != std::trunc(low) || high != std::trunc(high)))) return Failure::Value;
    Grid grid(size.rows, size.cols);
    for (Value& item : grid.items) {
        const double u = call.environment().random();
        item = finite(whole ? low + std::floor(u * (high - low + 1.0)) : low + u * (high - low));
    }
    return grid.value();
}

// Cutting and putting together ------------------------------------------------------------------------------

/// First and past-the-last of the positions that TAKE keeps (or DROP leaves) of n: a negative count is from
/// the end.
struct Range {
    std::int32_t first = 0, last = 0;
};

Range taken(double count, std::int32_t n)
{
    const auto k = static_cast<std::int32_t>(std::min(std::fabs(std::trunc(count)), static_cast<double>(n)));
    return count < 0.0 ? Range{n - k, n} : Range{0, k};
}

Range left(double count, std::int32_t n)
{
    const Range away = taken(count, n);
    return count < 0.0 ? Range{0, away.first} : Range{away.last, n};
}

template <Range (*choose)(double, std::int32_t)>
Value cut(Call& call)
{
    const Grid grid = gridOf(call, 0);
    const Range rows = call.given(1) ? choose(call.number(1), grid.rows) : Range{0, grid.rows};
    const Range cols = call.given(2) ? choose(call.number(2), grid.cols) : Range{0, grid.cols};
    Grid part(rows.last - rows.first, cols.last - cols.first);
    for (std::int32_t r = 0; r < part.rows; ++r)
        for (std::int32_t c = 0; c < part.cols; ++c) part.at(r, c) = grid.at(rows.first + r, cols.first + c);
    return part.value();
}

/// The rows with those numbers, in that order; negative numbers count from the end.
template <bool columns>
Value pick(Call& call)
{
    const Grid given = gridOf(call, 0);
    const Grid grid = columns ? transposed(given) : given;
    std::vector<std::int32_t> rows;
    for (int i = 1; i < call.count(); ++i) {
        for (const Value& item : call.elements(i)) {
            const Value number = toNumber(item, call.dates());
            if (number.isFailure()) return number;
            const double n = std::trunc(number.number());
            if (n == 0.0 || std::fabs(n) > grid.rows) return Failure::Value;
            rows.push_back(static_cast<std::int32_t>(n > 0.0 ? n - 1.0 : grid.rows + n));
        }
    }
    Grid result = pickRows(grid, rows);
    return columns ? transposed(result).value() : result.value();
}

/// Arrays below or beside one another; what one lacks in width is #N/A.
template <bool beside>
Value stack(Call& call)
{
    std::vector<Grid> parts;
    double rows = 0.0;
    std::int32_t cols = 0;
    for (int i = 0; i < call.count(); ++i) {
        parts.push_back(beside ? transposed(gridOf(call, i)) : gridOf(call, i));
        rows += parts.back().rows;
        cols = std::max(cols, parts.back().cols);
    }
    if (rows * cols > kMostItems) return Failure::Num;
    Grid all(static_cast<std::int32_t>(rows), cols, Failure::NA);
    std::int32_t top = 0;
    for (const Grid& part : parts) {
        for (std::int32_t r = 0; r < part.rows; ++r)
            for (std::int32_t c = 0; c < part.cols; ++c) all.at(top + r, c) = part.at(r, c);
        top += part.rows;
    }
    return beside ? transposed(all).value() : all.value();
}

/// All elements as one column or row; mode 1 leaves out empty cells, 2 failures, 3 both.
template <bool column>
Value flatten(Call& call)
{
    const double mode = std::trunc(call.number(1));
    if (!(mode >= 0.0 && mode <= 3.0)) return Failure::Value;
    const bool noEmpty = mode == 1.0 || mode == 3.0, noFailure = mode >= 2.0;
    const Grid given = gridOf(call, 0);
    const Grid grid = call.boolean(2) ? transposed(given) : given; // by column
    std::vector<Value> kept;
    for (const Value& item : grid.items)
        if (!(noEmpty && item.isEmpty()) && !(noFailure && item.isFailure())) kept.push_back(item);
    if (kept.empty()) return Failure::Calc;
    const auto n = static_cast<std::int32_t>(kept.size());
    return column ? Value::array(n, 1, std::move(kept)) : Value::array(1, n, std::move(kept));
}

/// A row or column broken into rows (or columns) of that many elements.
template <bool columns>
Value wrap(Call& call)
{
    const Grid grid = gridOf(call, 0);
    const double width = std::trunc(call.number(1));
    if (grid.rows != 1 && grid.cols != 1) return Failure::Value;
    if (!(width >= 1.0)) return Failure::Num;
    const auto total = static_cast<std::int32_t>(grid.items.size());
    const auto size = static_cast<std::int32_t>(std::min(width, static_cast<double>(total)));
    Grid wrapped((total + size - 1) / size, size, call.given(2) ? call.value(2) : Value(Failure::NA));
    std::copy(grid.items.begin(), grid.items.end(), wrapped.items.begin());
    return columns ? transposed(wrapped).value() : wrapped.value();
}

Value expand(Call& call)
{
    const Grid grid = gridOf(call, 0);
    const double rows = call.given(1) ? std::trunc(call.number(1)) : grid.rows;
    const double cols = call.given(2) ? std::trunc(call.number(2)) : grid.cols;
    if (!(rows >= grid.rows && cols >= grid.cols)) return Failure::Value;
    if (!(rows <= kMaxRows && cols <= kMaxColumns && rows * cols <= kMostItems)) return Failure::Num;
    Grid wide(static_cast<std::int32_t>(rows), static_cast<std::int32_t>(cols),
              call.given(3) ? call.value(3) : Value(Failure::NA));
    for (std::int32_t r = 0; r < grid.rows; ++r)
        for (std::int32_t c = 0; c < grid.cols; ++c) wide.at(r, c) = grid.at(r, c);
    return wide.value();
}

constexpr FunctionRow rows[] = {
    {"CHOOSECOLS",
     {array(), repeats(array())},
     Trait::Pure,
     pick<true>,
     "columns of an array by number",
     "=SUM(CHOOSECOLS({1,2,3;4,5,6}, -1))",
     "9"},
    {"CHOOSEROWS",
     {array(), repeats(array())},
     Trait::Pure,
     pick<false>,
     "rows of an array by number",
     "=SUM(CHOOSEROWS({1,2,3;4,5,6}, 2))",
     "15"},
    {"DROP",
     {array(), optional(number()), optional(number())},
     Trait::Pure,
     cut<left>,
     "an array without its first or last rows and columns",
     "=SUM(DROP({1,2;3,4}, 1))",
     "7"},
    {"EXPAND",
     {array(), optional(number()), optional(number()), optional(any())},
     Trait::Pure,
     expand,
     "an array filled up to a size",
     "=SUM(EXPAND({1,2}, 2, 2, 5))",
     "13"},
    {"FILTER",
     {array(), array(), optional(any())},
     Trait::Pure,
     filter,
     "the rows or columns for which a condition holds",
     "=SUM(FILTER({1,2,3}, {1,0,1}))",
     "4"},
    {"HSTACK",
     {repeats(array())},
     Trait::Pure,
     stack<true>,
     "arrays side by side",
     "=COLUMNS(HSTACK({1,2}, 3))",
     "3"},
    {"RANDARRAY",
     {optional(number()), optional(number()), number(0), optional(number()), boolean(false)},
     Trait::Volatile,
     randomArray,
     "an array of random numbers",
     "=ROWS(RANDARRAY(3))",
     "3"},
    {"SEQUENCE",
     {optional(number()), optional(number()), optional(number()), optional(number())},
     Trait::Pure,
     sequence,
     "an array of evenly spaced numbers",
     "=SUM(SEQUENCE(4, 1, 10, 5))",
     "70"},
    {"SORT",
     {array(), optional(number()), optional(number()), boolean(false)},
     Trait::Pure,
     sort,
     "an array in ascending (1) or descending (-1) order",
     "=INDEX(SORT({3;1;2}), 1)",
     "1"},
    {"SORTBY",
     {array(), repeats(array()), repeats(optional(array()))},
     Trait::Pure,
     sortBy,
     "an array in the order of other arrays",
     "=INDEX(SORTBY({\"a\";\"b\"}, {2;1}), 1)",
     "b"},
    {"TAKE",
     {array(), optional(number()), optional(number())},
     Trait::Pure,
     cut<taken>,
     "the first or last rows and columns of an array",
     "=SUM(TAKE({1,2;3,4}, -1))",
     "7"},
    {"TOCOL",
     {array(), number(0), boolean(false)},
     Trait::Pure,
     flatten<true>,
     "the elements of an array as one column",
     "=ROWS(TOCOL({1,2;3,4}))",
     "4"},
    {"TOROW",
     {array(), number(0), boolean(false)},
     Trait::Pure,
     flatten<false>,
     "the elements of an array as one row",
     "=COLUMNS(TOROW({1,2;3,4}))",
     "4"},
    {"UNIQUE",
     {array(), boolean(false), boolean(false)},
     Trait::Pure,
     unique,
     "the rows of an array without repetitions",
     "=ROWS(UNIQUE({1;2;1}))",
     "2"},
    {"VSTACK",
     {repeats(array())},
     Trait::Pure,
     stack<false>,
     "arrays below one another",
     "=ROWS(VSTACK({1;2}, 3))",
     "3"},
    {"WRAPCOLS",
     {array(), number(), optional(any())},
     Trait::Pure,
     wrap<true>,
     "a row or column broken into columns",
     "=COLUMNS(WRAPCOLS({1,2,3,4}, 2))",
     "2"},
    {"WRAPROWS",
     {array(), number(), optional(any())},
     Trait::Pure,
     wrap<false>,
     "a row or column broken into rows",
     "=ROWS(WRAPROWS({1,2,3}, 2))",
     "2"},
};
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> arrayFunctions() { return rows; }

} // namespace varnex3::sheet
