// sheet/functions/Lambda.cpp - functions that call functions: MAP, REDUCE and their kin.
//
// LET and LAMBDA themselves are the compiler's: their rows are here, their bodies are never called. Elements
// of a reference are handed on as references, so that ROW and its kin work on them.
#include "sheet/functions/Block.h"
#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

constexpr double kMostElements = 16777216.0;

/// The function that the last argument of a call is; its own failure, or #VALUE! for anything that does not
/// take so many arguments.
std::optional<Value> refusal(const Call& call, int arguments)
{
    const Value& f = call.value(call.count() - 1);
    if (f.isFailure()) return f;
    if (!f.isFunction()) return Value(Failure::Value);
    if (arguments < f.function().required || arguments > f.function().most) return Value(Failure::Value);
    return std::nullopt;
}

Value outcome(Call& call, std::span<Value> arguments)
{
    return call.environment().apply(call.value(call.count() - 1), arguments);
}

/// A result as a value: the cells of a reference, an array of one element as that.
Value settled(Call& call, Value v)
{
    if (v.isReference()) {
        if (v.areas().size() != 1) return Failure::Value;
        const Block block = Block(call.environment(), v).manageable();
        std::vector<Value> items;
        for (std::int32_t r = 0; r < block.rows(); ++r)
            for (std::int32_t c = 0; c < block.cols(); ++c) items.push_back(block.at(r, c));
        v = Value::array(block.rows(), block.cols(), std::move(items));
    }
    if (v.isArray() && v.rows() == 1 && v.cols() == 1) return Value(v.at(0, 0));
    return v;
}

/// A result that becomes one element.
Value element(Call& call, Value v)
{
    v = settled(call, std::move(v));
    return v.isScalar() ? v : Value(Failure::Calc);
}

Value part(const Block& block, std::int32_t row, std::int32_t col, std::int32_t rows, std::int32_t cols)
{
    return block.part(row, col, rows, cols).value();
}

/// Whether an argument is a block of cells or elements; false leaves its failure in `why`.
bool isBlock(const Value& v, Value& why)
{
    if (v.isFailure()) why = v;
    if (v.isFunction() || (v.isReference() && v.areas().size() != 1)) why = Failure::Value;
    return why.isEmpty();
}

Value map(Call& call)
{
    if (const auto no = refusal(call, call.count() - 1)) return *no;
    std::vector<Block> blocks;
    std::int32_t rows = 1, cols = 1;
    for (int i = 0; i + 1 < call.count(); ++i) {
        Value why;
        if (!isBlock(call.value(i), why)) return why;
        blocks.push_back(Block(call, i).manageable());
        rows = std::max(rows, blocks.back().rows());
        cols = std::max(cols, blocks.back().cols());
    }
    std::vector<Value> items, arguments(blocks.size());
    items.reserve(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
    for (std::int32_t r = 0; r < rows; ++r) {
        for (std::int32_t c = 0; c < cols; ++c) {
            for (std::size_t k = 0; k < blocks.size(); ++k)
                arguments[k] = r < blocks[k].rows() && c < blocks[k].cols() ? part(blocks[k], r, c, 1, 1)
                                                                            : Value(Failure::NA);
            items.push_back(element(call, outcome(call, arguments)));
        }
    }
    return Value::array(rows, cols, std::move(items));
}

/// The values of the accumulator, from a start or from the first element, through all elements row by row.
template <class Visitor>
Value fold(Call& call, Visitor visitor)
{
    if (const auto no = refusal(call, 2)) return *no;
    Value why;
    if (!isBlock(call.value(1), why)) return why;
    const Block block = Block(call, 1).manageable();
    const bool started = call.given(0) && !call.value(0).isOmitted();
    Value total = started ? call.value(0) : part(block, 0, 0, 1, 1);
    for (std::int32_t r = 0; r < block.rows(); ++r) {
        for (std::int32_t c = 0; c < block.cols(); ++c) {
            if (started || r > 0 || c > 0) {
                Value arguments[] = {std::move(total), part(block, r, c, 1, 1)};
                total = outcome(call, arguments);
            }
            visitor(total);
        }
    }
    return total;
}

Value reduce(Call& call)
{
    return settled(call, fold(call, [](const Value&) {}));
}

Value scan(Call& call)
{
    std::vector<Value> items;
    const Value end = fold(call, [&](const Value& total) { items.push_back(element(call, total)); });
    if (items.empty()) return end;
    const Block block = Block(call, 1).manageable();
    return Value::array(block.rows(), block.cols(), std::move(items));
}

Value byLine(Call& call, bool rows)
{
    if (const auto no = refusal(call, 1)) return *no;
    Value why;
    if (!isBlock(call.value(0), why)) return why;
    const Block block = Block(call, 0).manageable();
    const std::int32_t count = rows ? block.rows() : block.cols();
    std::vector<Value> items;
    for (std::int32_t k = 0; k < count; ++k) {
        Value line = rows ? part(block, k, 0, 1, block.cols()) : part(block, 0, k, block.rows(), 1);
        items.push_back(element(call, outcome(call, {&line, 1})));
    }
    return rows ? Value::array(count, 1, std::move(items)) : Value::array(1, count, std::move(items));
}

Value byRow(Call& call) { return byLine(call, true); }
Value byColumn(Call& call) { return byLine(call, false); }

Value makeArray(Call& call)
{
    if (const auto no = refusal(call, 2)) return *no;
    const double rows = std::trunc(call.number(0)), cols = std::trunc(call.number(1));
    if (!(rows >= 1.0 && cols >= 1.0)) return Failure::Value;
    if (rows > kMaxRows || cols > kMaxColumns || rows * cols > kMostElements) return Failure::Num;
    std::vector<Value> items;
    for (double r = 1.0; r <= rows; ++r) {
        for (double c = 1.0; c <= cols; ++c) {
            Value arguments[] = {r, c};
            items.push_back(element(call, outcome(call, arguments)));
        }
    }
    return Value::array(static_cast<std::int32_t>(rows), static_cast<std::int32_t>(cols), std::move(items));
}

Value isOmitted(Call& call) { return call.value(0).isOmitted(); }
Value compiled(Call&) { return Failure::Calc; }

constexpr FunctionRow rows[] = {
    {"BYCOL",
     {array(), function()},
     Trait::Pure,
     byColumn,
     "a function of each column of a range",
     "=SUM(BYCOL({1,2;3,4}, LAMBDA(c, MAX(c))))",
     "7"},
    {"BYROW",
     {array(), function()},
     Trait::Pure,
     byRow,
     "a function of each row of a range",
     "=SUM(BYROW({1,2;3,4}, MAX))",
     "6"},
    {"ISOMITTED",
     {function()},
     Trait::Pure,
     isOmitted,
     "whether an argument of a LAMBDA was left out",
     "=LAMBDA(x, [y], ISOMITTED(y))(1)",
     "TRUE"},
    {"LAMBDA",
     {repeats(any())},
     Trait::Pure,
     compiled,
     "a function: names of its parameters, [optional] ones last, then its formula",
     "=LAMBDA(x, y, x*x + y)(3, 1)",
     "10"},
    {"LET",
     {any(), any(), repeats(any())},
     Trait::Pure,
     compiled,
     "a formula with names for values that it uses more than once",
     "=LET(x, 2, y, x+1, x*y)",
     "6"},
    {"MAKEARRAY",
     {number(), number(), function()},
     Trait::Pure,
     makeArray,
     "an array from a function of row and column",
     "=SUM(MAKEARRAY(2, 3, LAMBDA(r, c, r*c)))",
     "18"},
    {"MAP",
     {array(), repeats(function())},
     Trait::Pure,
     map,
     "a function of each element, or of those of several ranges in step",
     "=SUM(MAP({1,2,3}, LAMBDA(x, x*x)))",
     "14"},
    {"REDUCE",
     {function(), array(), function()},
     Trait::Pure,
     reduce,
     "what a function makes of a start value and one element after the other",
     "=REDUCE(1, {2,3,4}, LAMBDA(a, x, a*x))",
     "24"},
    {"SCAN",
     {function(), array(), function()},
     Trait::Pure,
     scan,
     "like REDUCE, with every value on the way",
     "=SUM(SCAN(0, {1,2,3}, LAMBDA(a, x, a+x)))",
     "10"},
};
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> lambdaFunctions() { return rows; }

} // namespace varnex3::sheet
