// sheet/exec/PackedProgram.h - typed code for one recalculation after another, over numbers that lie side by
// side.
//
// Made from the typed code of a plan. Every result has the register of its place in the plan, so that
// neighbouring formulas with the same operations become rows: one instruction for all of them, whose operands
// lie side by side as well or are gathered. What no written cell changes is worked out once. Results reach
// their cells late, when something looks at them (Store::comeLate).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "sheet/exec/Store.h"
#include "sheet/exec/TypedProgram.h"

namespace varnex3::sheet {

/// The operations of TypedProgram.h, in their order, on registers; then those on rows.
enum class PackedOp : std::uint16_t {
#define VARNEX3_NAME(name, operands, result) name,
    VARNEX3_TYPED_OPERATIONS(VARNEX3_NAME)
#undef VARNEX3_NAME

        SumRun,
    SumSquaresRun,
    ProductRun,
    LeastRun,
    GreatestRun,
    PresentRun, // not used
    DeviationsRun,
    ProductsRun,
    JumpIfZero,
    Jump,
    Try,
    Holds, // of a row: d = whether a is a number, none where b is none
    Stop,

    Select, // d = b where a is not 0, c where it is 0
    // As Find and Pick in table e, whose keys and then values are the registers from c on.
    FindAmong,
    PickAmong,
    End, // of a step

#define VARNEX3_NAME(name, operands, result) name##Row,
    VARNEX3_TYPED_OPERATIONS(VARNEX3_NAME)
#undef VARNEX3_NAME

        LeastRow, // d = the lesser of b and a
    GreatestRow,
    HoldsRow,
    SelectRow,
    GatherRow, // d = the registers from lists[a] on
};

/// A plain operation stops the program when its result is no finite number; of a row only those instructions
/// whose result is that of formulas.
struct alignas(32) PackedInstruction {
    PackedOp op = PackedOp::Copy;
    bool isResult = false; // of a row
    std::uint32_t count = 1;
    std::uint32_t d = 0, a = 0, b = 0, c = 0, e = 0;
};

struct PackedCode {
    std::vector<PackedInstruction> instructions;
    std::vector<std::uint32_t> lists;
    std::span<double (*const)(double)> ones;
    std::span<double (*const)(double, double)> twos;
    std::span<const TypedTable> tables;
    std::span<const TypedBody> bodies;
};

/// Runs the instructions from `begin` on. Gives the position of the one that stops it: an End, or the first
/// one whose result is no finite number.
std::uint32_t runPacked(const PackedCode& code, double* registers, std::uint32_t begin);

/// What a program is made from.
struct PackedSource {
    struct Formula {
        std::uint32_t position; // in the plan; ascending
        std::uint32_t begin;    // its first instruction
        std::uint64_t group;    // formulas of one group do not read one another
    };
    /// Formulas [first, last) that run without the general evaluator in between.
    struct Step {
        std::uint32_t first, last;
    };
    const TypedProgram& typed; // must live as long as the program
    std::vector<Formula> formulas;
    std::vector<Step> steps;
    std::vector<Slot> results; // by position in the plan
    std::span<const Slot> written;
};

/// A program in its registers. It stays where it is while its results are late.
class PackedProgram {
public:
    PackedProgram() = default;
    static PackedProgram make(const PackedSource& source);

    /// Takes what no written cell changes from the cells as they are.
    void load(Store& store);
    /// Runs a step for the written cells as they are. Its results come late.
    /// @return  the place in the plan of the formula that stops it; the results before it are there
    std::optional<std::uint32_t> run(Store& store, std::size_t step);

private:
    friend class PackedMaker;

    struct Step {
        std::uint32_t begin = 0, end = 0; // its first instruction, and its End
        std::uint32_t firstFormula = 0, lastFormula = 0;
        std::vector<LateNumbers::Cell> operands; // results of the general evaluator
    };

    PackedCode once_, each_;
    std::vector<double> registers_;
    std::vector<LateNumbers::Cell> inputs_, constants_; // cells that are read
    std::vector<Step> steps_;
    std::vector<std::uint32_t> starts_;    // by formula: its first instruction, shared in a row
    std::vector<std::uint32_t> positions_; // by formula: its place in the plan
    std::vector<std::uint32_t> onceFor_;   // by instruction of `once_`: the formula that needs it first
    std::optional<std::uint32_t> stop_;    // instruction with an End in place of `stopOp_`
    PackedOp stopOp_ = PackedOp::End;
    LateNumbers late_;
};

} // namespace varnex3::sheet
