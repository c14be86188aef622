// formulation/Checks.h - the checks that the validations of items and options share.
//
// For the .cpp files of this folder only.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "host/interface/Host.h"
#include "runtime/Variant.h"

namespace varnex3 {

/// The messages of a property that may hold a number or a one-cell range. Texts are literals.
struct OperandMessages {
    const char* manyCells = nullptr;
    const char* badCell = nullptr;      // the cell's value is not numeric
    const char* badValue = nullptr;     // the held value is not numeric
    const char* negativeCell = nullptr; // none: negative cells pass
    const char* negativeValue = nullptr;
    bool emptyTextPasses = false;
};

/// Writes the first problem found to the caller's text. Every check returns whether it passed, so that
/// checks joined with && stop at the first failure.
class Checks {
public:
    explicit Checks(std::string& cause) : cause_(cause) {}

    bool expect(bool passed, std::string message)
    {
        if (!passed) cause_ = std::move(message);
        return passed;
    }
    bool oneOf(const std::string& text, std::initializer_list<const char*> allowed, const char* message);
    bool labelled(const std::string& id, const std::string& defName, const std::string& name);
    /// One cell with a numeric value; an empty cell counts as 0.
    bool numericCell(const Ref<host::Range>& cell, const char* noRange, const char* manyCells,
                     const char* notNumeric);
    /// What a constraint or goal is on: its response cell, statistic and operator.
    bool statistic(const Ref<host::Range>& y, const std::string& aspect, const std::string& oper);
    bool operand(const Variant& property, const OperandMessages& messages);

private:
    std::string& cause_;
};

/// Runs `list(Checks&)` with an empty cause; true when the cause stays empty and nothing is raised.
/// A failure of the host ends the checks.
template <class List>
bool passes(std::string& problemCause, List&& list)
{
    problemCause.clear();
    const bool ended = attempt([&] {
        Checks checks{problemCause};
        list(checks);
    });
    return ended && problemCause.empty();
}

} // namespace varnex3
