// sheet/exec/TypedProgram.h - straight-line code over numbers in cells.
//
// Three-address instructions whose operands are slots: cells, constants and temporaries alike. The program is
// plain data, made for operands of known kinds (compile/Typing.h); whoever runs it makes sure that the kinds
// still hold. It runs as PackedProgram, one recalculation after another, or as BlockProgram, many at once.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "sheet/exec/TypedTable.h"
#include "sheet/functions/Function.h"
#include "sheet/value/Slot.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// The operations that work on up to four numbers x, y, z, w and give one: name, number of operands, result.
/// Products and sums round separately; a Final one stands at the end of a formula, where a sum that cancels
/// is 0. Of no finite number a plain operation gives none either.
#define VARNEX3_PLAIN_OPERATIONS(OPERATION)                                                                  \
    OPERATION(Copy, 1, x)                                                                                    \
    OPERATION(Add, 2, x + y)                                                                                 \
    OPERATION(Subtract, 2, x - y)                                                                            \
    OPERATION(Multiply, 2, x* y)                                                                             \
    OPERATION(ProductOfThree, 3, x* y* z)                                                                    \
    OPERATION(Negate, 1, -x)                                                                                 \
    OPERATION(Percent, 1, x / 100.0)                                                                         \
    OPERATION(FinalAdd, 2, cancelled(x + y, x))                                                              \
    OPERATION(FinalSubtract, 2, cancelled(x - y, x))                                                         \
    OPERATION(AddProduct, 3, x + y * z)                                                                      \
    OPERATION(SubtractProduct, 3, x - y * z)                                                                 \
    OPERATION(ProductAdd, 3, x* y + z)                                                                       \
    OPERATION(ProductSubtract, 3, x* y - z)                                                                  \
    OPERATION(ProductSum, 4, x* y + z * w)                                                                   \
    OPERATION(ProductDifference, 4, x* y - z * w)                                                            \
    OPERATION(FinalAddProduct, 3, cancelled(x + y * z, x))                                                   \
    OPERATION(FinalSubtractProduct, 3, cancelled(x - y * z, x))                                              \
    OPERATION(FinalProductAdd, 3, cancelled(x* y + z, x * y))                                                \
    OPERATION(FinalProductSubtract, 3, cancelled(x* y - z, x * y))                                           \
    OPERATION(FinalProductSum, 4, cancelled(x* y + z * w, x * y))                                            \
    OPERATION(FinalProductDifference, 4, cancelled(x* y - z * w, x * y))                                     \
    OPERATION(SquareRoot, 1, std::sqrt(x))                                                                   \
    OPERATION(Absolute, 1, std::fabs(x))
#define VARNEX3_COMPARISONS(OPERATION)                                                                       \
    OPERATION(Equal, 2, compareNumbers(x, y) == 0 ? 1.0 : 0.0)                                               \
    OPERATION(NotEqual, 2, compareNumbers(x, y) != 0 ? 1.0 : 0.0)                                            \
    OPERATION(Less, 2, compareNumbers(x, y) < 0 ? 1.0 : 0.0)                                                 \
    OPERATION(LessEqual, 2, compareNumbers(x, y) <= 0 ? 1.0 : 0.0)                                           \
    OPERATION(Greater, 2, compareNumbers(x, y) > 0 ? 1.0 : 0.0)                                              \
    OPERATION(GreaterEqual, 2, compareNumbers(x, y) >= 0 ? 1.0 : 0.0)
#define VARNEX3_GUARDED_OPERATIONS(OPERATION)                                                                \
    OPERATION(Divide, 2, x / y)                                                                              \
    OPERATION(ProductQuotient, 3, x* y / z)                                                                  \
    OPERATION(Not, 1, x == 0.0 ? 1.0 : 0.0)                                                                  \
    OPERATION(Both, 2, x != 0.0 && y != 0.0 ? 1.0 : 0.0)                                                     \
    OPERATION(Either, 2, x != 0.0 || y != 0.0 ? 1.0 : 0.0)                                                   \
    OPERATION(Exclusive, 2, (x != 0.0) != (y != 0.0) ? 1.0 : 0.0)                                            \
    OPERATION(AddChosen, 3, y != 0.0 ? x + z : x)                                                            \
    OPERATION(Given, 2, x)                                                                                   \
    OPERATION(Power, 2, x == 0.0 && y < 0.0 ? HUGE_VAL : power(x, y))                                        \
    OPERATION(One, 1, ones[in.b](x))                                                                         \
    OPERATION(Two, 2, twos[in.c](x, y))                                                                      \
    OPERATION(Pick, 2, tables[in.c].pick(x, y))                                                              \
    OPERATION(Body, 3, bodies[in.e](x, y, z))
#define VARNEX3_SEARCHES(OPERATION) OPERATION(Find, 1, tables[in.b].find(x))
#define VARNEX3_TYPED_OPERATIONS(OPERATION)                                                                  \
    VARNEX3_PLAIN_OPERATIONS(OPERATION)                                                                      \
    VARNEX3_COMPARISONS(OPERATION) VARNEX3_GUARDED_OPERATIONS(OPERATION) VARNEX3_SEARCHES(OPERATION)

/// The operands a, b, c and e are x, y, z and w, and d takes the result.
enum class TypedOp : std::uint16_t {
#define VARNEX3_NAME(name, operands, result) name,
    VARNEX3_TYPED_OPERATIONS(VARNEX3_NAME)
#undef VARNEX3_NAME

        SumRun,    // d = b + the c numbers from slot a on, one by one
    SumSquaresRun, // d = b + their squares
    ProductRun,    // d = b * the numbers
    LeastRun,      // d = the least of b and the numbers
    GreatestRun,
    PresentRun,    // d = b; in blocks no number where one of the run is none
    DeviationsRun, // d = b + the squares of the numbers' distances from e
    ProductsRun,   // d = b + the products of the numbers with those from slot e on

    JumpIfZero, // a is 0: go to instruction d
    Jump,       // go to instruction d

    // What an error would be an answer to (IFERROR, ISERROR, IFNA):
    Try,   // from here on a result that is no number leads to instruction d, the Holds
    Holds, // d = 1; reached because of an error: d = 0. An error after it leads to the Holds c, kNoHolds:
           // stops. For blocks: it is about value a, of which b must be a number for an error to count
    Stop,  // a text or the like: nothing to go on with

    Formula, // d = formula a of BlockFormulas.h; in blocks only
};

/// The body of a worksheet function of numbers, and constants for some of its arguments.
struct TypedBody {
    struct Argument {
        std::int8_t operand = -1; // 0, 1 or 2; -1: the constant
        bool isBoolean = false;
        Value constant;
        friend bool operator==(const Argument&, const Argument&) = default;
    };
    static constexpr std::size_t kMost = 8; // arguments
    const FunctionRow* row = nullptr;
    std::vector<Argument> arguments;
    Environment* environment = nullptr; // asked for the date system alone

    double operator()(double x, double y, double z) const; // NaN for an error
    friend bool operator==(const TypedBody&, const TypedBody&) = default;
};

inline constexpr std::uint32_t kNoHolds = 0xFFFFFFFFU;

struct TypedInstruction {
    TypedOp op = TypedOp::Copy;
    std::uint32_t d = 0, a = 0, b = 0, c = 0, e = 0;

    /// The table that it looks something up in.
    std::optional<std::uint32_t> table() const
    {
        if (op == TypedOp::Find) return b;
        if (op == TypedOp::Pick) return c;
        return std::nullopt;
    }
};

/// Whether a cell compares with a text in some way. The cell changes neither while the code runs nor by it.
struct TypedComparison {
    Slot cell = kNoSlot;
    Value text;
    Operator op = Operator::Equal;
    bool textFirst = false;
    Slot answer = kNoSlot; // receives 1 or 0

    bool holdsFor(const Value& cellValue) const
    {
        const int order = compareValues(cellValue, text);
        return holds(op, textFirst ? -order : order);
    }
};

/// A step stops at the first formula one of whose results is no finite number.
struct TypedProgram {
    std::vector<TypedInstruction> instructions;
    std::vector<double (*)(double)> ones;
    std::vector<double (*)(double, double)> twos;
    std::vector<TypedTable> tables;
    std::vector<TypedBody> bodies;
    std::vector<TypedComparison> comparisons;

    /// Answers the comparisons for the cells as they are.
    void compare(Value* store) const
    {
        for (const TypedComparison& c : comparisons)
            store[c.answer].setNumber(c.holdsFor(store[c.cell]) ? 1.0 : 0.0);
    }
};

} // namespace varnex3::sheet
