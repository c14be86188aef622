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

namespace varnex3::sheet
{

enum class TypedOp : std::uint16_t {
    Copy,     // d = a
    Add,      // d = a + b
    Subtract, // d = a - b
    Multiply, // d = a * b
    Divide,   // d = a / b
    Power,    // d = a ^ b
    Negate,   // d = -a
    Percent,  // d = a / 100

    FinalAdd,      // d = a + b, 0 when it cancels
    FinalSubtract, // d = a - b, 0 when it cancels

    // Products and sums round separately.
    AddProduct,        // d = a + b * c
    ProductAdd,        // d = a * b + c
    SubtractProduct,   // d = a - b * c
    ProductSubtract,   // d = a * b - c
    ProductSum,        // d = a * b + c * e
    ProductDifference, // d = a * b - c * e
    FinalAddProduct,   // the same six, 0 when the sum cancels
    FinalProductAdd,
    FinalSubtractProduct,
    FinalProductSubtract,
    FinalProductSum,
    FinalProductDifference,

    Equal, // d = 1 or 0
    NotEqual,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    Not,  // d = a is 0
    Both, // d = a and b
    Either,

    One, // d = ones[b](a)
    Two, // d = twos[c](a, b)

    SumRun,        // d = b + the c numbers from slot a on, one by one
    SumSquaresRun, // d = b + their squares
    ProductRun,    // d = b * the numbers
    LeastRun,      // d = the least of b and the numbers
    GreatestRun,

    JumpIfZero, // a is 0: go to instruction d
    Jump,       // go to instruction d
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
};

} // namespace varnex3::sheet
