// sheet/functions/Logic.cpp - conditions and their connectives.
//
// The compiler evaluates only the branches that are needed; the bodies here serve array evaluation, where
// all arguments are at hand. CHOOSE is with the lookup functions.
#include "sheet/format/Convert.h"
#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

/// The TRUEs and FALSEs among all arguments; of cells only numbers and Booleans count.
struct TruthCount {
    int trues = 0;
    int falses = 0;
    std::optional<Failure> failure;
};

TruthCount countTruths(const Call& call)
{
    TruthCount found;
    for (int i = 0; i < call.count() && !found.failure; ++i) {
        call.visit(i, [&](const Value& v, bool fromCell) {
            if (v.isFailure()) {
                found.failure = v.failure();
            } else if (v.isNumber() || v.isBoolean()) {
                ++(v.number() != 0.0 ? found.trues : found.falses);
            } else if (!fromCell) {
                const Value converted = toBoolean(v);
                if (converted.isFailure()) {
                    found.failure = converted.failure();
                } else {
                    ++(converted.boolean() ? found.trues : found.falses);
                }
            }
            return !found.failure;
        });
    }
    if (!found.failure && found.trues + found.falses == 0) found.failure = Failure::Value;
    return found;
}

Value all(Call& call)
{
    const TruthCount found = countTruths(call);
    return found.failure ? Value(*found.failure) : Value(found.falses == 0);
}

Value some(Call& call)
{
    const TruthCount found = countTruths(call);
    return found.failure ? Value(*found.failure) : Value(found.trues > 0);
}

Value oddNumber(Call& call)
{
    const TruthCount found = countTruths(call);
    return found.failure ? Value(*found.failure) : Value(found.trues % 2 == 1);
}

Value opposite(Call& call) { return !call.boolean(0); }
Value yes(Call&) { return true; }
Value no(Call&) { return false; }

Value branch(Call& call)
{
    if (call.boolean(0)) return call.value(1);
    return call.count() > 2 ? call.value(2) : Value(false);
}

/// Conditions and results by turns; the first condition that holds.
Value firstThatHolds(Call& call)
{
    for (int i = 0; i + 1 < call.count(); i += 2) {
        const Value condition = toBoolean(call.value(i));
        if (condition.isFailure()) return condition;
        if (condition.boolean()) return call.value(i + 1);
    }
    return Failure::NA;
}

/// A value, then candidates and results by turns, then perhaps what to take when none fits.
Value switchOver(Call& call)
{
    const Value& wanted = call.value(0);
    if (wanted.isFailure()) return wanted;
    int i = 1;
    for (; i + 1 < call.count(); i += 2) {
        const Value& candidate = call.value(i);
        if (candidate.isFailure()) return candidate;
        if (compareValues(wanted, candidate) == 0) return call.value(i + 1);
    }
    return i < call.count() ? call.value(i) : Value(Failure::NA);
}

Value unlessFailure(Call& call) { return call.value(call.value(0).isFailure() ? 1 : 0); }

Value unlessUnavailable(Call& call)
{
    const Value& v = call.value(0);
    return call.value(v.isFailure() && v.failure() == Failure::NA ? 1 : 0);
}

constexpr Trait kBranches = Trait::Lazy | Trait::GivesRange;

constexpr FunctionRow rows[] = {
    {"AND", {repeats(range())}, Trait::Pure, all, "whether all conditions hold", "=AND(TRUE, 1>2)", "FALSE"},
    {"FALSE", {}, Trait::Pure, no, "the Boolean FALSE", "=FALSE()", "FALSE"},
    {"IF",
     {boolean(), any(), optional(any())},
     kBranches,
     branch,
     "one of two values by a condition",
     "=IF(1<2, \"yes\", \"no\")",
     "yes"},
    {"IFERROR",
     {any(), any()},
     Trait::Lazy,
     unlessFailure,
     "a value, or another one in place of an error",
     "=IFERROR(1/0, \"none\")",
     "none"},
    {"IFNA",
     {any(), any()},
     Trait::Lazy,
     unlessUnavailable,
     "a value, or another one in place of #N/A",
     "=IFNA(NA(), 5)",
     "5"},
    {"IFS",
     {repeats(any()), repeats(any())},
     kBranches,
     firstThatHolds,
     "the value after the first condition that holds",
     "=IFS(1>2, \"a\", 2>1, \"b\")",
     "b"},
    {"NOT", {boolean()}, Trait::Pure, opposite, "the opposite of a condition", "=NOT(1>2)", "TRUE"},
    {"OR", {repeats(range())}, Trait::Pure, some, "whether any condition holds", "=OR(FALSE, 1<2)", "TRUE"},
    {"SWITCH",
     {any(), any(), any(), optional(repeats(any()))},
     kBranches,
     switchOver,
     "the value after the candidate that equals the first argument",
     "=SWITCH(2, 1, \"one\", 2, \"two\")",
     "two"},
    {"TRUE", {}, Trait::Pure, yes, "the Boolean TRUE", "=TRUE()", "TRUE"},
    {"XOR",
     {repeats(range())},
     Trait::Pure,
     oddNumber,
     "whether an odd number of conditions holds",
     "=XOR(TRUE, TRUE, TRUE)",
     "TRUE"},
};
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> logicFunctions() { return rows; }

} // namespace varnex3::sheet
