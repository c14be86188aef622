// sheet/exec/BlockKernel.h - instructions over registers that hold one number of each trial of a block.
//
// The operations are those of TypedProgram.h, done for kLanes trials at a time, so that a processor with wide
// registers does several trials in one step. Every lane gives the bits that the trial on its own gives:
// additions keep their order, functions are called lane by lane.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "sheet/exec/BlockFormulas.h"
#include "sheet/exec/TypedProgram.h"

namespace varnex3::sheet {

inline constexpr std::size_t kLanes = 64;
inline constexpr std::size_t kDeepestIf = 64;

/// The operations of Lanes.h on the lanes of registers.
enum class BlockOp : std::uint8_t {
#define VARNEX3_NAME(name, operands, result) name,
    VARNEX3_TYPED_OPERATIONS(VARNEX3_NAME)
#undef VARNEX3_NAME

    // d = b joined with the c registers from lists[a] on, one after the other
    SumList,
    SumSquaresList,
    ProductList,
    LeastList,
    GreatestList,
    PresentList,    // b, and no number where one of them is none
    DeviationsList, // the squares of their distances from e
    ProductsList,   // the products of the first of them with the second, the third with the fourth, ...

    If,    // lanes where a is not 0 go on, the others wait; none left: on to the Take, instruction d
    Take,  // d = a in the lanes that go on; in all others no number
    Else,  // those where the condition was 0 go on; none there: on to the End, instruction d
    Merge, // d = a in the lanes that go on
    End,   // all go on

    FindList, // as Find and Pick with table e, whose keys and then cells are the registers from lists[c] on
    PickList,
    Holds, // d = 1 where a is a number; 0 where it is none, but b is one

    Formula, // d = formula a, which reads sources[a]
};

struct BlockInstruction {
    BlockOp op = BlockOp::Copy;
    std::uint32_t d = 0, a = 0, b = 0, c = 0, e = 0;
};

struct BlockCode {
    std::vector<BlockInstruction> instructions;
    std::vector<std::uint32_t> lists;
    std::vector<double (*)(double)> ones;
    std::vector<double (*)(double, double)> twos;
    std::shared_ptr<std::vector<TypedTable>> tables;
    std::vector<TypedBody> bodies;
    std::vector<std::vector<BlockSource>> sources; // by formula
    std::size_t depth = 0;                         // of IFs within one another
};

/// The numbers of a block: registers one after the other, the lanes of each side by side.
class BlockRegisters {
public:
    BlockRegisters(std::size_t count, std::size_t depth);
    BlockRegisters(BlockRegisters&&) = default;
    BlockRegisters& operator=(BlockRegisters&&) = default;
    double* lanes(std::size_t r) { return first_ + r * kLanes; }
    /// Of IF number `depth` from outside, which lanes take its first (0) or second (1) value.
    std::uint64_t* mask(std::size_t depth, std::size_t branch)
    {
        return masks_.data() + (2 * depth + branch) * kLanes;
    }
    std::unique_ptr<FormulaLanes> formulas; // null when the program has none

private:
    std::vector<double> space_;
    double* first_;
    std::vector<std::uint64_t> masks_;
};

/// Runs the code over all lanes.
void runBlock(const BlockCode& code, BlockRegisters& registers);

} // namespace varnex3::sheet
