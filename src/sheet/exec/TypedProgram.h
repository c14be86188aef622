// sheet/exec/TypedProgram.h - straight-line code over numbers that lie in the value store itself.
//
// Three-address instructions whose operands are slots: cells, constants and temporaries alike. The program is
// plain data, so that another back end can read it. It is made for operands of known kinds
// (compile/Typing.h); whoever runs it makes sure that the kinds still hold.
#pragma once

#include <cstdint>
#include <vector>

#include "sheet/value/Slot.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// The operations that work on up to four numbers x, y, z, w and give one: name, result. Products and sums
/// round separately; a Final one stands at the end of a formula, where a sum that cancels is 0.
#define VARNEX3_TYPED_OPERATIONS(OPERATION)                                                                  \
    OPERATION(Copy, x)                                                                                       \
    OPERATION(Add, x + y)                                                                                    \
    OPERATION(Subtract, x - y)                                                                               \
    OPERATION(Multiply, x* y)                                                                                \
    OPERATION(Divide, x / y)                                                                                 \
    OPERATION(Power, x == 0.0 && y < 0.0 ? HUGE_VAL : power(x, y))                                           \
    OPERATION(Negate, -x)                                                                                    \
    OPERATION(Percent, x / 100.0)                                                                            \
    OPERATION(FinalAdd, cancelled(x + y, x))                                                                 \
    OPERATION(FinalSubtract, cancelled(x - y, x))                                                            \
    OPERATION(AddProduct, x + y * z)                                                                         \
    OPERATION(SubtractProduct, x - y * z)                                                                    \
    OPERATION(ProductAdd, x* y + z)                                                                          \
    OPERATION(ProductSubtract, x* y - z)                                                                     \
    OPERATION(ProductSum, x* y + z * w)                                                                      \
    OPERATION(ProductDifference, x* y - z * w)                                                               \
    OPERATION(FinalAddProduct, cancelled(x + y * z, x))                                                      \
    OPERATION(FinalSubtractProduct, cancelled(x - y * z, x))                                                 \
    OPERATION(FinalProductAdd, cancelled(x* y + z, x * y))                                                   \
    OPERATION(FinalProductSubtract, cancelled(x* y - z, x * y))                                              \
    OPERATION(FinalProductSum, cancelled(x* y + z * w, x * y))                                               \
    OPERATION(FinalProductDifference, cancelled(x* y - z * w, x * y))                                        \
    OPERATION(Equal, compareNumbers(x, y) == 0 ? 1.0 : 0.0)                                                  \
    OPERATION(NotEqual, compareNumbers(x, y) != 0 ? 1.0 : 0.0)                                               \
    OPERATION(Less, compareNumbers(x, y) < 0 ? 1.0 : 0.0)                                                    \
    OPERATION(LessEqual, compareNumbers(x, y) <= 0 ? 1.0 : 0.0)                                              \
    OPERATION(Greater, compareNumbers(x, y) > 0 ? 1.0 : 0.0)                                                 \
    OPERATION(GreaterEqual, compareNumbers(x, y) >= 0 ? 1.0 : 0.0)                                           \
    OPERATION(Not, x == 0.0 ? 1.0 : 0.0)                                                                     \
    OPERATION(Both, x != 0.0 && y != 0.0 ? 1.0 : 0.0)                                                        \
    OPERATION(Either, x != 0.0 || y != 0.0 ? 1.0 : 0.0)                                                      \
    OPERATION(One, ones[in.b](x))                                                                            \
    OPERATION(Two, twos[in.c](x, y))

/// The operands a, b, c and e are x, y, z and w, and d takes the result.
enum class TypedOp : std::uint16_t {
#define VARNEX3_NAME(name, result) name,
    VARNEX3_TYPED_OPERATIONS(VARNEX3_NAME)
#undef VARNEX3_NAME

        SumRun,    // d = b + the c numbers from slot a on, one by one
    SumSquaresRun, // d = b + their squares
    ProductRun,    // d = b * the numbers
    LeastRun,      // d = the least of b and the numbers
    GreatestRun,

    JumpIfZero, // a is 0: go to instruction d
    Jump,       // go to instruction d

    /// The b operations that follow, each with an instruction that holds the strides of its operands: every
    /// one is done for a neighbouring formulas before the next one starts.
    Repeat,
};

struct TypedInstruction {
    TypedOp op = TypedOp::Copy;
    std::uint32_t d = 0, a = 0, b = 0, c = 0, e = 0;
};

struct TypedProgram {
    std::vector<TypedInstruction> instructions;
    std::vector<double (*)(double)> ones;
    std::vector<double (*)(double, double)> twos;

    /// Runs instructions [begin, end) over the slots at `values`. Stops before the first one whose result is
    /// no finite number, and gives its position; else `end`.
    std::uint32_t run(Value* values, std::uint32_t begin, std::uint32_t end) const;

private:
    bool repeat(Value* values, const TypedInstruction& in, const TypedInstruction& stride,
                std::uint32_t count) const;
};

} // namespace varnex3::sheet
