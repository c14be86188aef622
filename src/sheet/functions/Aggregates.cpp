// sheet/functions/Aggregates.cpp - sums, products, counts, means and extremes, plain and under criteria.
//
// Deviations and other statistics are in Statistics.cpp; here they appear only as choices of SUBTOTAL and
// AGGREGATE.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "sheet/format/Convert.h"
#include "sheet/functions/Block.h"
#include "sheet/functions/Criterion.h"
#include "sheet/functions/Function.h"
#include "sheet/functions/Samples.h"

namespace varnex3::sheet {
namespace {

/// Call::numbers with the visitor inlined into the walk over runs of cells.
template <class Visitor>
std::optional<Failure> eachNumber(const Call& call, int first, Visitor visitor)
{
    for (int i = first; i < call.count(); ++i) {
        const Value& argument = call.value(i);
        if (!argument.isReference()) {
            if (const auto failure = call.numbersOf(i, visitor)) return failure;
            continue;
        }
        std::optional<Failure> failure;
        for (const Area& area : argument.areas()) {
            call.environment().visit(area,
                                     [&](std::int32_t, std::int32_t, const Value* cells, std::int32_t n) {
                                         for (std::int32_t k = 0; k < n; ++k) {
                                             if (cells[k].isNumber()) {
                                                 visitor(cells[k].number());
                                             } else if (cells[k].isFailure()) {
                                                 failure = cells[k].failure();
                                                 return false;
                                             }
                                         }
                                         return true;
                                     });
            if (failure) return failure;
        }
    }
    return std::nullopt;
}

struct Smallest {
    double value = HUGE_VAL;
    void operator()(double x) { value = x < value ? x : value; }
    double result() const { return std::isinf(value) ? 0.0 : value; } // 0 when there was no number
};

struct Largest {
    double value = -HUGE_VAL;
    void operator()(double x) { value = x > value ? x : value; }
    double result() const { return std::isinf(value) ? 0.0 : value; }
};

struct Mean {
    double sum = 0.0;
    double count = 0.0;
    void operator()(double x)
    {
        sum += x;
        count += 1.0;
    }
    Value result() const { return count == 0.0 ? Value(Failure::Div0) : finite(sum / count); }
};

// Without criteria --------------------------------------------------------------------------------------

Value sum(Call& call)
{
    double total = 0.0;
    if (const auto failure = eachNumber(call, 0, [&](double x) { total += x; })) return *failure;
    return finite(total);
}

Value sumOfSquares(Call& call)
{
    double total = 0.0;
    if (const auto failure = eachNumber(call, 0, [&](double x) { total += x * x; })) return *failure;
    return finite(total);
}

Value product(Call& call)
{
    double result = 1.0;
    bool any = false;
    const auto failure = eachNumber(call, 0, [&](double x) {
        result *= x;
        any = true;
    });
    if (failure) return *failure;
    return any ? finite(result) : Value(0.0);
}

Value percentOf(Call& call)
{
    double part = 0.0, whole = 0.0;
    if (const auto failure = call.numbersOf(0, [&](double x) { part += x; })) return *failure;
    if (const auto failure = call.numbersOf(1, [&](double x) { whole += x; })) return *failure;
    return whole == 0.0 ? Value(Failure::Div0) : finite(part / whole);
}

Value mean(Call& call)
{
    Mean found;
    if (const auto failure = eachNumber(call, 0, [&](double x) { found(x); })) return *failure;
    return found.result();
}

Value meanA(Call& call)
{
    Mean found;
    const auto failure = numbersWithTexts(call, TextsInArrays::CountZero, [&](double x) { found(x); });
    if (failure) return *failure;
    return found.result();
}

template <class Extreme>
Value extreme(Call& call)
{
    Extreme found;
    if (const auto failure = eachNumber(call, 0, [&](double x) { found(x); })) return *failure;
    return found.result();
}

template <class Extreme>
Value extremeA(Call& call)
{
    Extreme found;
    const auto failure = numbersWithTexts(call, TextsInArrays::LeaveOut, [&](double x) { found(x); });
    if (failure) return *failure;
    return found.result();
}

/// Numbers in cells; of values written as arguments all that can be read as a number.
Value countNumbers(Call& call)
{
    double count = 0.0;
    for (int i = 0; i < call.count(); ++i) {
        call.visit(i, [&](const Value& v, bool fromCell) {
            if (v.isNumber() || (!fromCell && !toNumber(v, call.dates()).isFailure())) count += 1.0;
            return true;
        });
    }
    return count;
}

Value countFilled(Call& call)
{
    double count = 0.0;
    for (int i = 0; i < call.count(); ++i) {
        call.visit(i, [&](const Value& v, bool fromCell) {
            if (!fromCell || !v.isEmpty()) count += 1.0;
            return true;
        });
    }
    return count;
}

Value countBlank(Call& call)
{
    const Block cells(call, 0);
    double blank = static_cast<double>(cells.rows()) * cells.cols();
    cells.runs([&](std::int32_t, std::int32_t, const Value* first, std::int32_t n) {
        for (std::int32_t k = 0; k < n; ++k) {
            const Value& v = first[k];
            if (!v.isEmpty() && !(v.isText() && v.text().empty())) blank -= 1.0;
        }
        return true;
    });
    return blank;
}

// Element by element ------------------------------------------------------------------------------------

/// Blocks of one size, cut to the part of it that any of them uses; what is not in use is empty.
class SameSizeBlocks {
public:
    void add(const Block& block)
    {
        rows_ = std::max(rows_, block.usedRows());
        cols_ = std::max(cols_, block.usedCols());
        blocks_.push_back(block);
    }
    bool sameSize() const
    {
        return std::all_of(blocks_.begin(), blocks_.end(),
                           [&](const Block& b) { return b.sameSize(blocks_.front()); });
    }
    std::size_t count() const { return blocks_.size(); }
    std::size_t cells() const { return static_cast<std::size_t>(rows_) * static_cast<std::size_t>(cols_); }
    double cellsBeyond() const
    {
        const Block& block = blocks_.front();
        return static_cast<double>(block.rows()) * block.cols() - static_cast<double>(cells());
    }

    /// Calls visitor(index, first, n) for runs of cells of block b; index counts column by column.
    template <class Visitor>
    void runs(std::size_t b, Visitor visitor) const
    {
        if (cells() == 0) return;
        blocks_[b]
            .resized(rows_, cols_)
            .runs([&](std::int32_t row, std::int32_t col, const Value* first, std::int32_t n) {
                const auto index = static_cast<std::size_t>(col) * static_cast<std::size_t>(rows_) +
                                   static_cast<std::size_t>(row);
                return visitor(index, first, n);
            });
    }

private:
    std::vector<Block> blocks_;
    std::int32_t rows_ = 0, cols_ = 0;
};

Value sumOfProducts(Call& call)
{
    SameSizeBlocks blocks;
    for (int i = 0; i < call.count(); ++i) blocks.add(Block(call, i));
    if (!blocks.sameSize()) return Failure::Value;
    std::vector<double> products(blocks.cells(), 1.0), factors;
    std::optional<Failure> failure;
    for (std::size_t b = 0; b < blocks.count() && !failure; ++b) {
        factors.assign(blocks.cells(), 0.0); // whatever is no number counts as 0
        blocks.runs(b, [&](std::size_t index, const Value* first, std::int32_t n) {
            for (std::int32_t k = 0; k < n; ++k) {
                if (first[k].isNumber()) factors[index + static_cast<std::size_t>(k)] = first[k].number();
                if (!failure && first[k].isFailure()) failure = first[k].failure();
            }
            return !failure;
        });
        for (std::size_t k = 0; k < products.size(); ++k) products[k] *= factors[k];
    }
    if (failure) return *failure;
    double total = 0.0;
    for (const double x : products) total += x;
    return finite(total);
}

double differenceOfSquares(double x, double y) { return x * x - y * y; }
double sumOfTwoSquares(double x, double y) { return x * x + y * y; }
double squareOfDifference(double x, double y) { return (x - y) * (x - y); }

/// Sums a term over the pairs of two arrays in which both are numbers.
template <double (*term)(double, double)>
Value sumOverPairs(Call& call)
{
    const Block x(call, 0), y(call, 1);
    if (static_cast<double>(x.rows()) * x.cols() != static_cast<double>(y.rows()) * y.cols())
        return Failure::NA;
    const std::vector<Value> xs = call.elements(0), ys = call.elements(1);
    double total = 0.0;
    for (std::size_t k = 0; k < std::min(xs.size(), ys.size()); ++k) {
        if (xs[k].isFailure()) return xs[k];
        if (ys[k].isFailure()) return ys[k];
        if (xs[k].isNumber() && ys[k].isNumber()) total += term(xs[k].number(), ys[k].number());
    }
    return finite(total);
}

// Under criteria ----------------------------------------------------------------------------------------

/// Which cells of same-sized blocks meet all criteria.
struct Selection {
    SameSizeBlocks blocks;
    std::vector<char> chosen;       // one per cell in use, column by column
    bool emptyIsChosen = true;      // a row of empty cells meets all criteria
    std::optional<Failure> failure; // sizes differ
};

/// Keeps of the chosen cells those whose cell in block b fits.
void narrow(Selection& selection, std::size_t b, const Criterion& criterion)
{
    std::vector<char> kept(selection.chosen.size(), 0);
    if (criterion.fitsEmpty()) kept = selection.chosen; // cells that are not visited are empty
    selection.blocks.runs(b, [&](std::size_t index, const Value* first, std::int32_t n) {
        for (std::int32_t k = 0; k < n; ++k) {
            const std::size_t at = index + static_cast<std::size_t>(k);
            kept[at] = static_cast<char>(selection.chosen[at] != 0 && criterion.fits(first[k]));
        }
        return true;
    });
    selection.chosen.swap(kept);
    selection.emptyIsChosen = selection.emptyIsChosen && criterion.fitsEmpty();
}

/// Ranges and criteria by turns from argument `first` on. The values, if any, become the last block.
Selection select(const Call& call, int first, const Block* values)
{
    Selection selection;
    const int pairs = (call.count() - first) / 2;
    for (int p = 0; p < pairs; ++p) selection.blocks.add(Block(call, first + 2 * p));
    if (values != nullptr) selection.blocks.add(*values);
    if (!selection.blocks.sameSize() || (call.count() - first) % 2 != 0) {
        selection.failure = Failure::Value;
        return selection;
    }
    selection.chosen.assign(selection.blocks.cells(), 1);
    for (int p = 0; p < pairs; ++p)
        narrow(selection, static_cast<std::size_t>(p),
               Criterion(call.value(first + 2 * p + 1), call.dates()));
    return selection;
}

/// Visits the numbers among the chosen cells of the last block.
template <class Visitor>
std::optional<Failure> eachChosen(const Selection& selection, Visitor visitor)
{
    if (selection.failure) return selection.failure;
    std::optional<Failure> failure;
    selection.blocks.runs(selection.blocks.count() - 1,
                          [&](std::size_t index, const Value* first, std::int32_t n) {
                              for (std::int32_t k = 0; k < n && !failure; ++k) {
                                  if (selection.chosen[index + static_cast<std::size_t>(k)] == 0) continue;
                                  if (first[k].isNumber()) visitor(first[k].number());
                                  if (first[k].isFailure()) failure = first[k].failure();
                              }
                              return !failure;
                          });
    return failure;
}

/// Range, criterion, and the values if they are not the range itself: as many cells as the range has,
/// from the upper left cell of the values.
Selection selectIf(const Call& call)
{
    Selection selection;
    const Block tested(call, 0);
    const Block values = call.count() > 2 ? Block(call, 2).resized(tested.rows(), tested.cols()) : tested;
    selection.blocks.add(tested.resized(values.rows(), values.cols()));
    selection.blocks.add(values);
    selection.chosen.assign(selection.blocks.cells(), 1);
    narrow(selection, 0, Criterion(call.value(1), call.dates()));
    return selection;
}

Value sumIf(Call& call)
{
    double total = 0.0;
    if (const auto failure = eachChosen(selectIf(call), [&](double x) { total += x; })) return *failure;
    return finite(total);
}

Value meanIf(Call& call)
{
    Mean found;
    if (const auto failure = eachChosen(selectIf(call), [&](double x) { found(x); })) return *failure;
    return found.result();
}

Value countIf(Call& call)
{
    const Block tested(call, 0);
    const Criterion criterion(call.value(1), call.dates());
    double count = 0.0, visited = 0.0;
    tested.runs([&](std::int32_t, std::int32_t, const Value* first, std::int32_t n) {
        for (std::int32_t k = 0; k < n; ++k) count += criterion.fits(first[k]) ? 1.0 : 0.0;
        visited += n;
        return true;
    });
    if (criterion.fitsEmpty()) count += static_cast<double>(tested.rows()) * tested.cols() - visited;
    return count;
}

Value countIfs(Call& call)
{
    const Selection selection = select(call, 0, nullptr);
    if (selection.failure) return *selection.failure;
    double count = selection.emptyIsChosen ? selection.blocks.cellsBeyond() : 0.0;
    for (const char chosen : selection.chosen) count += chosen;
    return count;
}

Value sumIfs(Call& call)
{
    const Block values(call, 0);
    double total = 0.0;
    const auto failure = eachChosen(select(call, 1, &values), [&](double x) { total += x; });
    return failure ? Value(*failure) : finite(total);
}

Value meanIfs(Call& call)
{
    const Block values(call, 0);
    Mean found;
    const auto failure = eachChosen(select(call, 1, &values), [&](double x) { found(x); });
    return failure ? Value(*failure) : found.result();
}

template <class Extreme>
Value extremeIfs(Call& call)
{
    const Block values(call, 0);
    Extreme found;
    const auto failure = eachChosen(select(call, 1, &values), [&](double x) { found(x); });
    return failure ? Value(*failure) : Value(found.result());
}

// SUBTOTAL and AGGREGATE --------------------------------------------------------------------------------

struct Gathered {
    std::vector<double> numbers;
    double filled = 0.0; // cells that are not empty
};

/// Sum of squared deviations from the mean.
double squaredDeviations(const std::vector<double>& xs)
{
    double total = 0.0, squares = 0.0;
    for (const double x : xs) total += x;
    const double center = total / static_cast<double>(xs.size());
    for (const double x : xs) squares += (x - center) * (x - center);
    return squares;
}

Value variance(const std::vector<double>& xs, double freedom)
{
    return freedom > 0.0 ? finite(squaredDeviations(xs) / freedom) : Value(Failure::Div0);
}

Value rootOf(const Value& v) { return v.isFailure() ? v : finite(std::sqrt(v.number())); }

/// The value at position p (from 1, between two values interpolated) of a sorted sample.
Value atPosition(const std::vector<double>& sorted, double p)
{
    const auto n = static_cast<double>(sorted.size());
    if (!(p >= 1.0 && p <= n)) return Failure::Num;
    const double below = std::floor(p);
    const auto i = static_cast<std::size_t>(below) - 1;
    if (below == n) return sorted[i];
    return sorted[i] + (p - below) * (sorted[i + 1] - sorted[i]);
}

/// The most frequent number; among equals the one that came first.
Value mode(const std::vector<double>& xs)
{
    std::vector<double> sorted = xs;
    std::sort(sorted.begin(), sorted.end());
    std::ptrdiff_t most = 1;
    Value found = Failure::NA;
    for (const double x : xs) {
        const auto [low, high] = std::equal_range(sorted.begin(), sorted.end(), x);
        if (high - low <= most) continue;
        most = high - low;
        found = Value(x);
    }
    return found;
}

/// Choices 1 to 11, common to SUBTOTAL and AGGREGATE.
Value summary(int choice, const Gathered& sample)
{
    const std::vector<double>& xs = sample.numbers;
    const auto n = static_cast<double>(xs.size());
    double total = 0.0, factors = xs.empty() ? 0.0 : 1.0;
    Smallest least;
    Largest most;
    for (const double x : xs) {
        total += x;
        factors *= x;
        least(x);
        most(x);
    }
    switch (choice) {
    case 1: return xs.empty() ? Value(Failure::Div0) : finite(total / n);
    case 2: return n;
    case 3: return sample.filled;
    case 4: return most.result();
    case 5: return least.result();
    case 6: return finite(factors);
    case 7: return rootOf(variance(xs, n - 1.0));
    case 8: return rootOf(variance(xs, n));
    case 9: return finite(total);
    case 10: return variance(xs, n - 1.0);
    default: return variance(xs, n);
    }
}

/// Choices 12 to 19 of AGGREGATE; k is the rank, fraction or quarter of those from 14 on.
Value orderStatistic(int choice, const Gathered& sample, double k)
{
    if (choice == 13) return mode(sample.numbers);
    std::vector<double> sorted = sample.numbers;
    std::sort(sorted.begin(), sorted.end());
    const auto n = static_cast<double>(sorted.size());
    switch (choice) {
    case 12: return atPosition(sorted, (n + 1.0) / 2.0);
    case 14: return atPosition(sorted, n + 1.0 - std::ceil(k));
    case 15: return atPosition(sorted, std::ceil(k));
    case 16: return atPosition(sorted, 1.0 + k * (n - 1.0));
    case 17: return atPosition(sorted, 1.0 + std::trunc(k) / 4.0 * (n - 1.0));
    case 18: return atPosition(sorted, k * (n + 1.0));
    default: return atPosition(sorted, std::trunc(k) / 4.0 * (n + 1.0));
    }
}

/// Whether a cell's formula is itself a SUBTOTAL or AGGREGATE: such cells do not count twice.
bool isSubtotal(Environment& environment, const CellAddress& cell)
{
    if (!environment.hasFormula(cell)) return false;
    const std::string formula = environment.formulaText(cell);
    return formula.find("SUBTOTAL(") != std::string::npos || formula.find("AGGREGATE(") != std::string::npos;
}

struct Leaving {
    bool subtotals = true;
    bool failures = false;
    bool hidden = false; // rows hidden by hand
    bool filtered = true;

    bool row(Environment::Row shown) const
    {
        return (shown == Environment::Row::Hidden && hidden) ||
               (shown == Environment::Row::Filtered && filtered);
    }
};

std::optional<Failure> gather(const Call& call, int i, Leaving leaving, Gathered& sample)
{
    std::optional<Failure> failure;
    const auto take = [&](const Value& v) {
        if (v.isFailure() && !leaving.failures) failure = v.failure();
        if (v.isNumber()) sample.numbers.push_back(v.number());
        if (!v.isEmpty() && !v.isFailure()) sample.filled += 1.0;
        return !failure;
    };
    const Value& argument = call.value(i);
    if (!argument.isReference()) {
        call.visit(i, [&](const Value& v, bool) { return take(v); });
        return failure;
    }
    Environment& environment = call.environment();
    for (const Area& area : argument.areas()) {
        environment.visit(area, [&](std::int32_t row, std::int32_t col, const Value* first, std::int32_t n) {
            for (std::int32_t k = 0; k < n && !failure; ++k) {
                if (leaving.row(environment.row(area.sheet, row + k))) continue;
                if (leaving.subtotals && isSubtotal(environment, {area.sheet, row + k, col})) continue;
                take(first[k]);
            }
            return !failure;
        });
        if (failure) break;
    }
    return failure;
}

Value subtotal(Call& call)
{
    double choice = std::trunc(call.number(0));
    const bool leavesHidden = choice > 100.0; // a filter leaves its rows out whatever the choice
    if (leavesHidden) choice -= 100.0;
    if (!(choice >= 1.0 && choice <= 11.0)) return Failure::Value;
    const bool countsOnly = choice == 2.0 || choice == 3.0;
    Gathered sample;
    for (int i = 1; i < call.count(); ++i)
        if (const auto failure = gather(call, i, {true, countsOnly, leavesHidden, true}, sample))
            return *failure;
    return summary(static_cast<int>(choice), sample);
}

Value aggregate(Call& call)
{
    const double choice = std::trunc(call.number(0)), option = std::trunc(call.number(1));
    if (!(choice >= 1.0 && choice <= 19.0) || !(option >= 0.0 && option <= 7.0)) return Failure::Value;
    const bool ranked = choice >= 14.0;
    if (ranked && call.count() != 4) return Failure::Value;
    const bool leavesFailures = option == 2.0 || option == 3.0 || option == 6.0 || option == 7.0;
    const bool countsOnly = choice == 2.0 || choice == 3.0;
    const bool leavesHidden = option == 1.0 || option == 3.0 || option == 5.0 || option == 7.0;
    const Leaving leaving{option <= 3.0, leavesFailures || countsOnly, leavesHidden, true};
    Gathered sample;
    const int last = ranked ? 3 : call.count();
    for (int i = 2; i < last; ++i)
        if (const auto failure = gather(call, i, leaving, sample)) return *failure;
    const auto chosen = static_cast<int>(choice);
    if (chosen <= 11) return summary(chosen, sample);
    double k = 0.0;
    if (ranked) {
        const Value rank = toNumber(call.at(3, 0, 0), call.dates());
        if (rank.isFailure()) return rank;
        k = rank.number();
    }
    return orderStatistic(chosen, sample, k);
}

constexpr FunctionRow rows[] = {
    {"AGGREGATE",
     {number(), number(), array(), optional(repeats(array()))},
     Trait::Pure,
     aggregate,
     "one of nineteen summaries, leaving out errors or subtotals",
     "=AGGREGATE(9, 6, {1,2,#N/A})",
     "3"},
    {"AVERAGE", {repeats(range())}, Trait::Pure, mean, "mean of the numbers", "=AVERAGE(1, 2, 6)", "3"},
    {"AVERAGEA",
     {repeats(range())},
     Trait::Pure,
     meanA,
     "mean; texts count as 0, TRUE as 1",
     "=AVERAGEA({1,\"a\",5})",
     "2"},
    {"AVERAGEIF",
     {range(), any(), optional(range())},
     Trait::Pure,
     meanIf,
     "mean of the cells that meet a criterion",
     "=AVERAGEIF({1,2,6}, \">1\")",
     "4"},
    {"AVERAGEIFS",
     {range(), repeats(range()), repeats(any())},
     Trait::Pure,
     meanIfs,
     "mean of the cells that meet all criteria",
     "=AVERAGEIFS({1,2,6}, {1,2,3}, \">1\")",
     "4"},
    {"COUNT",
     {repeats(range())},
     Trait::Pure,
     countNumbers,
     "how many numbers there are",
     "=COUNT({1,\"a\",3})",
     "2"},
    {"COUNTA",
     {repeats(range())},
     Trait::Pure,
     countFilled,
     "how many values are not empty",
     "=COUNTA({1,\"a\",3})",
     "3"},
    {"COUNTBLANK",
     {range()},
     Trait::Pure,
     countBlank,
     "how many cells are empty or hold an empty text",
     "=COUNTBLANK(A1:B3)",
     "6"},
    {"COUNTIF",
     {range(), any()},
     Trait::Pure,
     countIf,
     "how many cells meet a criterion",
     "=COUNTIF({1,2,3}, \">=2\")",
     "2"},
    {"COUNTIFS",
     {repeats(range()), repeats(any())},
     Trait::Pure,
     countIfs,
     "how many cells meet all criteria",
     "=COUNTIFS({1,2,3}, \">1\", {4,5,6}, \"<6\")",
     "1"},
    {"MAX", {repeats(range())}, Trait::Pure, extreme<Largest>, "largest number", "=MAX(3, 7, 5)", "7"},
    {"MAXA",
     {repeats(range())},
     Trait::Pure,
     extremeA<Largest>,
     "largest; texts count as 0, TRUE as 1",
     "=MAXA(-1,TRUE)",
     "1"},
    {"MAXIFS",
     {range(), repeats(range()), repeats(any())},
     Trait::Pure,
     extremeIfs<Largest>,
     "largest of the cells that meet all criteria",
     "=MAXIFS({1,2,6}, {1,1,0}, 1)",
     "2"},
    {"MIN", {repeats(range())}, Trait::Pure, extreme<Smallest>, "smallest number", "=MIN(3, 7, 5)", "3"},
    {"MINA",
     {repeats(range())},
     Trait::Pure,
     extremeA<Smallest>,
     "smallest; texts count as 0, TRUE as 1",
     "=MINA(2,FALSE)",
     "0"},
    {"MINIFS",
     {range(), repeats(range()), repeats(any())},
     Trait::Pure,
     extremeIfs<Smallest>,
     "smallest of the cells that meet all criteria",
     "=MINIFS({1,2,6}, {0,1,1}, 1)",
     "2"},
    {"PERCENTOF",
     {range(), range()},
     Trait::Pure,
     percentOf,
     "share that the first numbers have in the sum of the second",
     "=PERCENTOF({1,2}, {1,2,5})",
     "0.375"},
    {"PRODUCT",
     {repeats(range())},
     Trait::Pure,
     product,
     "product of the numbers",
     "=PRODUCT(2, 3, 4)",
     "24"},
    {"SUBTOTAL",
     {number(), repeats(range())},
     Trait::Pure,
     subtotal,
     "one of eleven summaries, leaving out other subtotals",
     "=SUBTOTAL(9, A1:A3)",
     "0"},
    {"SUM", {repeats(range())}, Trait::Pure, sum, "sum of the numbers", "=SUM(1, 2, {3,4})", "10"},
    {"SUMIF",
     {range(), any(), optional(range())},
     Trait::Pure,
     sumIf,
     "sum of the cells that meet a criterion",
     "=SUMIF({1,2,3}, \">1\", {10,20,30})",
     "50"},
    {"SUMIFS",
     {range(), repeats(range()), repeats(any())},
     Trait::Pure,
     sumIfs,
     "sum of the cells that meet all criteria",
     "=SUMIFS({10,20,30}, {1,2,3}, \">1\")",
     "50"},
    {"SUMPRODUCT",
     {repeats(array())},
     Trait::Pure,
     sumOfProducts,
     "sum of products, element by element",
     "=SUMPRODUCT({1,2}, {3,4})",
     "11"},
    {"SUMSQ", {repeats(range())}, Trait::Pure, sumOfSquares, "sum of squares", "=SUMSQ(3, 4)", "25"},
    {"SUMX2MY2",
     {array(), array()},
     Trait::Pure,
     sumOverPairs<differenceOfSquares>,
     "sum of x^2 - y^2",
     "=SUMX2MY2({2,3}, {1,2})",
     "8"},
    {"SUMX2PY2",
     {array(), array()},
     Trait::Pure,
     sumOverPairs<sumOfTwoSquares>,
     "sum of x^2 + y^2",
     "=SUMX2PY2({2,3}, {1,2})",
     "18"},
    {"SUMXMY2",
     {array(), array()},
     Trait::Pure,
     sumOverPairs<squareOfDifference>,
     "sum of (x - y)^2",
     "=SUMXMY2({2,3}, {1,1})",
     "5"},
};
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> aggregateFunctions() { return rows; }

} // namespace varnex3::sheet
