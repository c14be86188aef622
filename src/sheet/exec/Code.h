// sheet/exec/Code.h - compiled formulas: instructions for a stack machine over tagged values.
//
// A code belongs to all formulas with equal trees; what differs is the cell from which its places are
// seen. exec/Evaluator.h runs it, compile/ makes it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sheet/formula/Tree.h"
#include "sheet/functions/Function.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

enum class Op : std::uint8_t {
    Constant,    // push constants[operand]
    Cell,        // push the value of the cell places[operand]
    Area,        // push a reference to places[operand]
    Intersected, // push the cell of places[operand] in the formula's own row or column
    Intersect,   // a reference on top becomes the value of its cell in the own row or column
    Spilled,     // a reference to a cell becomes one to the block that its formula fills
    Dereference, // a reference on top becomes the array of its values
    Binary,      // Operator in detail
    FinalBinary, // the same at the end of a formula: a sum that cancels is 0
    Unary,       // Operator in detail
    Call,        // calls[operand], arguments on top

    // IF leaves condition, first and second value for IfEnd; a branch not taken leaves Empty.
    IfTest, // false: push Empty, go to operand; failure: go to the IfEnd
    IfThen, // condition true: push Empty, go to operand, the IfEnd
    IfEnd,

    ErrorTest, // IFERROR, IFNA (detail 1): no failure on top: go to operand, past the ErrorEnd
    ErrorEnd,
    Choose,      // labels[operand...], `count` of them and the end: go to the one that top selects
    ChooseArray, // an index and `count` values on top: element by element
    SwitchTest,  // top differs from the value below it: drop it, go to operand; alike: drop both
    Jump,        // go to operand
    Exchange,    // drop what lies under the top

    MakeRange,        // reference : reference
    MakeUnion,        // reference , reference
    MakeIntersection, // reference blank reference

    // Names of LET and LAMBDA live in the slots of their frame, below the stack.
    Local,       // push slot operand
    SetLocal,    // the top becomes slot operand
    Closure,     // push lambdas[operand] with what it takes from this frame
    Apply,       // `count` arguments on top of a function: its result
    ApplyLambda, // `count` arguments: the result of lambdas[operand], which takes nothing from around it
    End,         // of the formula or of a LAMBDA
};

struct Instruction {
    Op op = Op::End;
    std::uint8_t detail = 0;
    std::uint16_t count = 0;
    std::uint32_t operand = 0;
};

/// A reference of a formula, to be seen from the formula's own cell.
struct Place {
    CellRef first, last;
    Extent extent = Extent::Cell;
    SheetIndex sheet = -1;     // -1: the formula's own
    SheetIndex lastSheet = -1; // of a reference over several sheets; else -1
    bool wraps = false;        // stands in a defined name: offsets run around the grid
    bool precedent = true;     // the formula's value depends on what is in it
    bool single = false;       // only the cell in the formula's own row or column is read
    friend bool operator==(const Place&, const Place&) = default;
};

/// The cells that a place means from `here` (of its first sheet); nothing when it leaves the grid.
std::optional<Area> resolve(const Place& place, const CellAddress& here);

/// The cell of `area` in the row or column of `here`, as a formula that wants one value takes it.
std::optional<CellAddress> implicitCell(const Area& area, const CellAddress& here);

struct CallSite {
    const FunctionRow* row = nullptr;
    std::uint32_t count = 0;
    std::uint64_t missing = 0; // bit i: argument i was left empty between separators
};

/// The body of a LAMBDA: a stretch of its code's instructions with a frame of its own.
struct Lambda {
    struct Capture {
        std::uint32_t from, to; // slot of the frame around it, own slot
    };
    std::uint32_t start = 0;              // instruction
    std::uint32_t required = 0, most = 0; // parameters; their slots come first
    std::uint32_t locals = 0;             // slots
    std::uint32_t depth = 1;              // values on the stack at most
    std::vector<Capture> captures;
};

/// Why a code's value cannot be trusted, or deserves a word.
struct CodeRemark {
    enum class Why : std::uint8_t { UnknownFunction, Unparsable, Unsupported, External } why;
    std::string text;
};

struct Code {
    std::vector<Instruction> instructions;
    std::vector<Value> constants;
    std::vector<Place> places;
    std::vector<CallSite> calls;
    std::vector<std::uint32_t> labels;
    std::vector<Lambda> lambdas;
    std::vector<CodeRemark> remarks;
    std::uint32_t depth = 1;  // values on the stack at most
    std::uint32_t locals = 0; // slots of names
    bool isVolatile = false;  // to be evaluated at every recalculation
    bool isDynamic = false;   // may read cells that are not among its places
    bool keepsStored = false; // its value is what the file stored (external links)
    bool bySheet = false;     // resolved names as one sheet sees them
    bool unresolved = false;  // a sheet or name that is not there now
};

} // namespace varnex3::sheet
