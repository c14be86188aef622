// sheet/compile/Typing.h - which codes work on numbers alone, and their typed instructions.
//
// A template is made once per code. For a formula cell it becomes instructions when the kinds of the cells
// that it reads allow it.
#pragma once

#include <bit>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "sheet/exec/Code.h"
#include "sheet/exec/Store.h"
#include "sheet/exec/TypedProgram.h"

namespace varnex3::sheet {

/// Where an operand of a template comes from.
struct TypedOperand {
    enum class From : std::uint8_t {
        Nothing,
        Constant,
        Place,
        Temporary,
        Count,
        Question
    } from = From::Nothing;
    std::uint32_t index = 0;
    friend bool operator==(const TypedOperand&, const TypedOperand&) = default;
};

struct TypedTemplate {
    /// An instruction over operands; of a run, `a` is a Place that may be an area. Jumps and Try hold the
    /// position in `steps` that they go to, Holds that of the one around it.
    struct Step {
        TypedOp op = TypedOp::Copy;
        TypedOperand d, a, b, c, e;
        std::uint32_t target = 0;
        std::uint32_t table = 0; // of Find, Pick and Body; the choice of AddChosen
        double (*one)(double) = nullptr;
        double (*two)(double, double) = nullptr;
    };
    /// How a place is read.
    struct Reading {
        std::uint32_t place = 0;
        bool allowsBoolean = false;    // the reader converts it to 1 or 0
        bool allowsEmpty = true;       // an empty cell is 0
        bool isRun = false;            // numbers of the area, everything else left out
        bool needsNumber = false;      // of a run: there must be one
        bool isPlain = false;          // of a run: a row or column of nothing but numbers
        bool isGrid = false;           // of a run: cell by cell
        bool allowsAny = false;        // only its kind counts
        std::int32_t row = 0, col = 0; // of one cell of an area, from 1; col 0: counted along the area
    };

    /// How many numbers some readings have, and some more; refused when there are fewer than `fewest`.
    struct Count {
        std::vector<std::uint32_t> readings;
        double more = 0.0;
        double fewest = 0.0;
        bool filled = false; // all that is not empty counts
    };
    /// Whether the cell of a reading is of one of some kinds, or how it compares with a text: 1 or 0.
    struct Question {
        std::uint32_t reading = 0;
        std::uint8_t kinds = 0; // bit by Kind
        std::optional<TypedComparison> comparison;
    };
    /// Cells that meet all criteria: a step adds up the values beside them, or counts them.
    struct Choice {
        struct Criterion {
            std::uint32_t reading;
            TypedOp relation;
            TypedOperand operand;
        };
        std::vector<Criterion> criteria;
        std::optional<std::uint32_t> values; // reading; of these only numbers count
        bool counts = false;
    };
    /// A table in which a step looks up.
    struct Table {
        TypedTable::How how = TypedTable::How::Exact;
        bool fromEnd = false;
        std::uint32_t keys = 0, values = 0; // places
        bool hasValues = false;
        /// Of one place with both: the column (or row) of the result, from 1; else 0.
        std::int32_t line = 0;
        static constexpr std::int32_t kLongest = -1; // keys in the longer side, results opposite (LOOKUP)
        bool rowwise = false;                        // keys in its first row
        bool numbersOnly = false;                    // a result of another kind would be taken for an error
    };

    bool possible = false;
    Kind result = Kind::Number;
    TypedOperand value; // what the formula gives
    std::vector<Step> steps;
    std::vector<double> constants;
    std::vector<Reading> readings;
    std::vector<Count> counts;
    std::vector<Question> questions;
    std::vector<Choice> choices;
    std::vector<Table> tables;
    std::vector<TypedBody> bodies; // their operands are a, b and c of the step
    std::uint32_t temporaries = 0;
};

TypedTemplate makeTypedTemplate(const Code& code);

/// Slots for the constants and temporaries of typed code.
class TypedPool {
public:
    TypedPool(Store& store, Environment& environment) : store_(store), environment_(environment) {}
    Environment& environment() const { return environment_; }
    /// A slot for the answer to a comparison; the same one for equal comparisons.
    Slot answer(const TypedComparison& comparison);
    Slot constant(double x);
    Slot temporary(std::uint32_t i);

private:
    Slot take();

    Store& store_;
    Environment& environment_;
    std::unordered_map<std::uint64_t, Slot> constants_;
    std::map<std::tuple<Slot, Operator, bool, std::string>, Slot> answers_;
    std::vector<Slot> temporaries_;
    Slot next_ = 0, end_ = 0;
};

/// Appends the instructions that put the value of a formula at `here` into `result`.
/// @param operands  receives every cell read, with the kind for which the instructions hold
/// @return          false, with nothing appended, when the kinds of the cells do not allow it
bool appendTyped(const TypedTemplate& typed, const Code& code, const CellAddress& here, Slot result,
                 Store& store, TypedPool& pool, TypedProgram& program,
                 std::vector<std::pair<Slot, Kind>>& operands);

} // namespace varnex3::sheet
