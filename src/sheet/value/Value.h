// sheet/value/Value.h - the small value that lives in the engine's cells and registers.
//
// Sixteen bytes: a number, Boolean or failure in place; text, array, reference and function behind a counted
// pointer. Conversions between kinds are in format/Convert.h.
#pragma once

#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace varnex3::sheet {

inline constexpr std::int32_t kMaxRows = 1048576;
inline constexpr std::int32_t kMaxColumns = 16384;

using SheetIndex = std::int32_t; // position of a sheet in its book, from 0

/// One cell; row and column from 0.
struct CellAddress {
    SheetIndex sheet = 0;
    std::int32_t row = 0;
    std::int32_t col = 0;
    friend bool operator==(const CellAddress&, const CellAddress&) = default;
};

/// A block of cells of one sheet, both corners included, rows and columns from 0.
struct Area {
    SheetIndex sheet = 0;
    std::int32_t row0 = 0, col0 = 0, row1 = 0, col1 = 0;

    std::int32_t rows() const { return row1 - row0 + 1; }
    std::int32_t cols() const { return col1 - col0 + 1; }
    bool isCell() const { return row0 == row1 && col0 == col1; }
    bool contains(const CellAddress& a) const
    {
        return a.sheet == sheet && a.row >= row0 && a.row <= row1 && a.col >= col0 && a.col <= col1;
    }
    friend bool operator==(const Area&, const Area&) = default;
};

/// The error values of a spreadsheet. Circular marks a cell of a circular reference.
enum class Failure : std::uint8_t { Null, Div0, Value, Ref, Name, Num, NA, Spill, Calc, Circular };

/// "#DIV/0!" and so on; "#CIRCULAR!" for a circular reference.
std::string_view failureText(Failure f);

/// The failure of that text (any letter case), or nothing.
std::optional<Failure> parseFailure(std::string_view text);

enum class Kind : std::uint8_t { Empty, Number, Boolean, Failure, Text, Array, Reference, Function };

class Value;
struct Code;
struct FunctionRow;

namespace detail {
struct Payload {
    std::atomic<std::uint32_t> references{1};
};
struct TextData : Payload {
    std::string text;
};
struct ArrayData;
struct ReferenceData : Payload {
    std::vector<Area> areas;
};
struct FunctionData;
} // namespace detail

class Value {
public:
    Value() noexcept : number_(0.0) {}
    Value(double x) noexcept : number_(x), kind_(Kind::Number) {}
    Value(int x) noexcept : Value(static_cast<double>(x)) {}
    Value(bool b) noexcept : number_(b ? 1.0 : 0.0), kind_(Kind::Boolean) {}
    Value(Failure f) noexcept : number_(0.0), kind_(Kind::Failure), failure_(f) {}
    Value(std::string text);
    Value(std::string_view text) : Value(std::string(text)) {}
    Value(const char* text) : Value(std::string(text)) {}
    Value(const Area& area); // a reference to one area
    static Value reference(std::vector<Area> areas);
    /// rows x cols values, row by row; both at least 1.
    static Value array(std::int32_t rows, std::int32_t cols, std::vector<Value> items);
    static Value function(detail::FunctionData function);
    /// An argument that a call left out: Empty, but ISOMITTED knows it.
    static Value omitted()
    {
        Value v;
        v.number_ = -0.0;
        return v;
    }

    Value(const Value& other) noexcept : number_(other.number_), kind_(other.kind_), failure_(other.failure_)
    {
        if (owns()) payload_->references.fetch_add(1, std::memory_order_relaxed);
    }
    Value(Value&& other) noexcept : number_(other.number_), kind_(other.kind_), failure_(other.failure_)
    {
        other.kind_ = Kind::Empty;
        other.number_ = 0.0;
    }
    Value& operator=(const Value& other) noexcept
    {
        Value copy(other);
        swap(copy);
        return *this;
    }
    Value& operator=(Value&& other) noexcept
    {
        swap(other);
        return *this;
    }
    ~Value()
    {
        if (owns()) release();
    }

    void swap(Value& other) noexcept
    {
        std::swap(number_, other.number_); // payload_ shares its bytes
        std::swap(kind_, other.kind_);
        std::swap(failure_, other.failure_);
    }

    Kind kind() const { return kind_; }
    bool isEmpty() const { return kind_ == Kind::Empty; }
    bool isNumber() const { return kind_ == Kind::Number; }
    bool isBoolean() const { return kind_ == Kind::Boolean; }
    bool isFailure() const { return kind_ == Kind::Failure; }
    bool isText() const { return kind_ == Kind::Text; }
    bool isArray() const { return kind_ == Kind::Array; }
    bool isReference() const { return kind_ == Kind::Reference; }
    bool isFunction() const { return kind_ == Kind::Function; }
    bool isOmitted() const { return kind_ == Kind::Empty && std::signbit(number_); }
    bool isScalar() const { return kind_ < Kind::Array; }

    // Each may be called on its own kind only.
    double number() const { return number_; } // also 0 for Empty, 1 and 0 for Boolean
    bool boolean() const { return number_ != 0.0; }
    Failure failure() const { return failure_; }
    const std::string& text() const { return static_cast<const detail::TextData*>(payload_)->text; }
    const std::vector<Area>& areas() const
    {
        return static_cast<const detail::ReferenceData*>(payload_)->areas;
    }
    std::int32_t rows() const; // of an array
    std::int32_t cols() const;
    const Value& at(std::int32_t row, std::int32_t col) const; // of an array, from 0
    const std::vector<Value>& items() const;                   // of an array, row by row
    const detail::FunctionData& function() const;

    /// Overwrites a Number in place; the caller knows that this value is one.
    void setNumber(double x) { number_ = x; }

    /// Same kind and content; numbers bit for bit except that 0 equals -0; texts exactly.
    friend bool operator==(const Value& a, const Value& b);

private:
    bool owns() const { return kind_ >= Kind::Text; }
    void release() noexcept;

    union {
        double number_;
        detail::Payload* payload_;
    };
    Kind kind_ = Kind::Empty;
    Failure failure_ = Failure::Null; // meaningful for Kind::Failure only
};

static_assert(sizeof(Value) == 16);

namespace detail {
struct ArrayData : Payload {
    std::int32_t rows = 0, cols = 0;
    std::vector<Value> items;
};
/// A function of the table (`row`), or a LAMBDA with the values that it took from around it. A LAMBDA lives
/// no longer than the evaluation of the code that it belongs to.
struct FunctionData : Payload {
    FunctionData() = default;
    FunctionData(FunctionData&& other) noexcept
        : row(other.row), code(other.code), lambda(other.lambda), required(other.required), most(other.most),
          captured(std::move(other.captured))
    {}
    const FunctionRow* row = nullptr;
    const Code* code = nullptr;
    std::uint32_t lambda = 0;   // which of the code's
    int required = 0, most = 0; // arguments
    std::vector<Value> captured;
};
} // namespace detail

} // namespace varnex3::sheet
