// sheet/functions/Function.h - a worksheet function: one row of a table and one body.
//
// The engine counts, converts and broadcasts arguments from the row before it calls the body; a body
// returns a value or a Failure and never raises. A family of functions is one .cpp file with its rows.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "sheet/value/Environment.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

class Call;

/// What a parameter takes, and what the engine does with the argument before the body sees it.
enum class Take : std::uint8_t {
    Number,    // one number: text that reads as one, Booleans and empty cells are converted
    Boolean,   // one Boolean, converted
    Text,      // one text, converted
    Scalar,    // one value of any kind but a failure, as it is
    Any,       // one value of any kind, failures included
    Range,     // a reference, an array or one value, as it is; failures inside are the body's business
    Array,     // like Range, and the argument is evaluated element by element (as in an array formula)
    Reference, // a reference whose address alone counts: its cells are no precedents of the formula;
               // any other value as it is, failures included: what to do with it is the body's business
    Function,  // a function (a LAMBDA, or one of this table by its name), evaluated like Array; any other
               // value as it is: what to do with it is the body's business. Functions reach no other
               // parameter.
};

struct Parameter {
    Take take = Take::Number;
    bool optional = false;
    bool repeats = false;  // belongs to the group at the end that may be given again and again
    double fallback = 0.0; // of an optional Number or Boolean that is not written
};

constexpr Parameter number() { return {Take::Number}; }
constexpr Parameter number(double fallback) { return {Take::Number, true, false, fallback}; }
constexpr Parameter boolean() { return {Take::Boolean}; }
constexpr Parameter boolean(bool fallback) { return {Take::Boolean, true, false, fallback ? 1.0 : 0.0}; }
constexpr Parameter text() { return {Take::Text}; }
constexpr Parameter scalar() { return {Take::Scalar}; }
constexpr Parameter any() { return {Take::Any}; }
constexpr Parameter range() { return {Take::Range}; }
constexpr Parameter array() { return {Take::Array}; }
constexpr Parameter reference() { return {Take::Reference}; }
constexpr Parameter function() { return {Take::Function}; }
constexpr Parameter optional(Parameter p)
{
    p.optional = true;
    return p;
}
/// Part of the group that repeats; the first time it is required unless also optional.
constexpr Parameter repeats(Parameter p)
{
    p.repeats = true;
    return p;
}

inline constexpr int kMaxArguments = 255;

/// Up to twelve parameters; those that repeat stand last.
struct ParameterList {
    std::array<Parameter, 12> items{};
    int count = 0;

    constexpr ParameterList() = default;
    constexpr ParameterList(std::initializer_list<Parameter> list)
    {
        for (const Parameter& p : list) items[static_cast<std::size_t>(count++)] = p;
    }
    constexpr int repeating() const
    {
        int n = 0;
        for (int i = 0; i < count; ++i) n += items[static_cast<std::size_t>(i)].repeats ? 1 : 0;
        return n;
    }
    constexpr int required() const
    {
        int n = 0;
        for (int i = 0; i < count; ++i) n += items[static_cast<std::size_t>(i)].optional ? 0 : 1;
        return n;
    }
    constexpr int most() const { return repeating() > 0 ? kMaxArguments : count; }
    /// The parameter of argument i, counted from 0.
    constexpr const Parameter& of(int i) const
    {
        if (i < count) return items[static_cast<std::size_t>(i)];
        const int group = repeating();
        return items[static_cast<std::size_t>(count - group + (i - count) % group)];
    }
};

/// Properties of a function beyond its arguments; a set of bits.
enum class Trait : std::uint8_t {
    Pure = 0,
    Volatile = 1,   // recalculated every time: RAND, NOW
    Dynamic = 2,    // makes references while it runs: OFFSET, INDIRECT
    Lazy = 4,       // the compiler evaluates only the arguments that are needed: IF, CHOOSE, IFERROR
    GivesRange = 8, // may return a reference: INDEX, CHOOSE, IF, OFFSET
};
constexpr Trait operator|(Trait a, Trait b)
{
    return static_cast<Trait>(static_cast<std::uint8_t>(a) | static_cast<std::uint8_t>(b));
}
constexpr bool has(Trait set, Trait bit)
{
    return (static_cast<std::uint8_t>(set) & static_cast<std::uint8_t>(bit)) != 0;
}

/// The body of a function. Plain mathematics of one or two numbers also carries the bare function, which
/// compiled code calls directly; a result that is not finite means #NUM! unless the body says otherwise.
struct Body {
    Value (*call)(Call&) = nullptr;
    double (*one)(double) = nullptr;
    double (*two)(double, double) = nullptr;
    bool given = false; // a comparison of `call` with null is no constant under sanitizers

    constexpr Body() = default;
    constexpr Body(Value (*body)(Call&)) : call(body), given(true) {}
    constexpr Body(Value (*body)(Call&), double (*f)(double)) : call(body), one(f), given(true) {}
    constexpr Body(Value (*body)(Call&), double (*f)(double, double)) : call(body), two(f), given(true) {}
};

struct FunctionRow {
    std::string_view name; // upper case, without the prefixes that files put before newer functions
    ParameterList parameters;
    Trait traits = Trait::Pure;
    Body body;
    std::string_view summary; // half a sentence for the list of functions
    std::string_view example; // "=ROUND(2.5, 0)"; evaluated by a test in an empty book
    std::string_view shows;   // what the example shows: a number in general format, TRUE, a text, #NUM!
};

/// One call of a function, its arguments counted and converted.
class Call {
public:
    Call(Environment& environment, const CellAddress& here, const FunctionRow& row,
         std::span<const Value> arguments, std::uint64_t missing = 0)
        : environment_(environment), here_(here), row_(row), arguments_(arguments), missing_(missing)
    {}

    /// Arguments written in the formula, those left empty between separators included.
    int count() const { return static_cast<int>(arguments_.size()); }
    /// Written and not left empty between separators.
    bool given(int i) const { return i < count() && (i >= 64 || (missing_ >> i & 1U) == 0); }

    // Each on its own kind of parameter. An optional Number or Boolean that is not written gives its
    // fallback.
    double number(int i) const { return i < count() ? value(i).number() : fallback(i); }
    bool boolean(int i) const { return number(i) != 0.0; }
    std::string_view text(int i) const
    {
        return i < count() && value(i).isText() ? std::string_view(value(i).text()) : std::string_view();
    }
    const Value& value(int i) const { return arguments_[static_cast<std::size_t>(i)]; }

    /// Size of a Range or Array argument; 1 x 1 for a single value. A reference of several areas counts its
    /// first.
    std::int32_t rows(int i) const;
    std::int32_t cols(int i) const;
    /// The element of a Range or Array argument at row r, column c from 0.
    Value at(int i, std::int32_t r, std::int32_t c) const;
    /// All elements of a Range or Array argument, row by row, clipped to what is in use when it is a
    /// reference to whole rows or columns.
    std::vector<Value> elements(int i) const;

    /// Visits every element of argument i: references column by column (empty stretches left out),
    /// arrays row by row, a single value once. Stops when the visitor returns false.
    /// `fromCell` tells elements of references and arrays from a value written as the argument itself.
    void visit(int i, FunctionRef<bool(const Value& v, bool fromCell)> visitor) const;

    /// The numbers of the arguments from `first` on, as SUM sees them: of references and arrays only
    /// numbers; of values written as arguments numbers, Booleans and texts that read as numbers.
    /// Returns the first failure met (a text argument that is no number: #VALUE!), or nothing.
    std::optional<Failure> numbers(int first, FunctionRef<void(double)> visitor) const;
    /// The same for one argument.
    std::optional<Failure> numbersOf(int i, FunctionRef<void(double)> visitor) const;

    Environment& environment() const { return environment_; }
    DateSystem dates() const { return environment_.dateSystem(); }
    const CellAddress& here() const { return here_; } // the cell that holds the formula
    const FunctionRow& row() const { return row_; }

private:
    double fallback(int i) const { return row_.parameters.of(i).fallback; }

    Environment& environment_;
    CellAddress here_;
    const FunctionRow& row_;
    std::span<const Value> arguments_;
    std::uint64_t missing_; // bit i: argument i was left empty between separators
};

/// A number as a result: #NUM! when it is not finite.
inline Value finite(double x) { return std::isfinite(x) ? Value(x) : Value(Failure::Num); }

Value callOne(Call& call); // body of map1: applies row().body.one
Value callTwo(Call& call); // body of map2: applies row().body.two

/// Bodies of plain mathematics; NaN and infinities become #NUM!.
template <double (*f)(double)>
inline constexpr Body map1{&callOne, f};
template <double (*f)(double, double)>
inline constexpr Body map2{&callTwo, f};

/// The function of that name in upper case, or null.
const FunctionRow* findFunction(std::string_view name);

/// Whether a function may be called with so many arguments.
bool takesCount(const FunctionRow& row, int count);

/// All functions, sorted by name.
std::span<const FunctionRow* const> allFunctions();

/// Checks a family's rows at compile time: names upper case, sorted and unique; optional parameters after
/// required ones; repeating ones last; every row with a body, a summary and an example.
constexpr bool wellFormed(std::span<const FunctionRow> rows)
{
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const FunctionRow& row = rows[i];
        if (row.name.empty() || row.summary.empty() || row.example.empty() || !row.body.given) return false;
        for (char c : row.name)
            if (c >= 'a' && c <= 'z') return false;
        if (i > 0 && !(rows[i - 1].name < row.name)) return false;
        bool optionalSeen = false, repeatsSeen = false;
        for (int k = 0; k < row.parameters.count; ++k) {
            const Parameter& p = row.parameters.items[static_cast<std::size_t>(k)];
            if (repeatsSeen && !p.repeats) return false;
            if (optionalSeen && !p.optional) return false;
            optionalSeen = optionalSeen || p.optional;
            repeatsSeen = repeatsSeen || p.repeats;
        }
    }
    return true;
}

// The families, one per file.
std::span<const FunctionRow> mathematicsFunctions();
std::span<const FunctionRow> logicFunctions();
std::span<const FunctionRow> informationFunctions();
std::span<const FunctionRow> lookupFunctions();
std::span<const FunctionRow> lambdaFunctions(); // LET, LAMBDA and what takes functions
std::span<const FunctionRow> matrixFunctions();
std::span<const FunctionRow> arrayFunctions();
std::span<const FunctionRow> aggregateFunctions();    // SUM, COUNTIF, SUMPRODUCT and the like
std::span<const FunctionRow> statisticsFunctions();   // descriptive statistics and regression
std::span<const FunctionRow> distributionFunctions(); // probability distributions and their inverses
std::span<const FunctionRow> textFunctions();
std::span<const FunctionRow> dateFunctions();
std::span<const FunctionRow> financialFunctions();
std::span<const FunctionRow> securityFunctions();
std::span<const FunctionRow> databaseFunctions();
std::span<const FunctionRow> textFormFunctions(); // values and arrays as texts, for formulas and addresses
std::span<const FunctionRow> engineeringFunctions();

} // namespace varnex3::sheet
