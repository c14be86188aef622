// sheet/compile/Compiler.h - from a parsed formula to code.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sheet/exec/Code.h"
#include "sheet/formula/Tree.h"
#include "sheet/value/Environment.h"
#include "sheet/value/Table.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// What the compiler asks of the book: who is meant by a name.
class Scope {
public:
    virtual ~Scope() = default;
    virtual std::optional<SheetIndex> sheetOf(std::string_view name) const = 0;
    /// The formula behind a defined name, references seen from A1: that of `sheet` before that of the
    /// whole book; null for an unknown one. Lives as long as the compilation.
    virtual const Tree* definedName(std::string_view name, SheetIndex sheet) const = 0;
    /// The table of that name, and the one that a cell belongs to; null for none.
    virtual const Table* table(std::string_view name) const = 0;
    virtual const Table* tableAt(const CellAddress& cell) const = 0;
    /// The value of a cell or the array of an area of another book, by the reference as it is written;
    /// nothing when it is not known. `fixed`: of an absolute reference only.
    virtual std::optional<Value> externalValue(std::string_view /*reference*/, bool /*fixed*/) const
    {
        return std::nullopt;
    }
    /// For constants worked out while compiling.
    virtual Environment& environment() const = 0;
};

/// Compiles a formula of a cell of `ownSheet`. `array` evaluates element by element, as array formulas do.
/// Never raises: what cannot be evaluated becomes #NAME? with a remark that says why, for the formula as a
/// whole, so that no IFERROR around it turns it into a number.
Code compileFormula(const Tree& tree, SheetIndex ownSheet, bool array, const Scope& scope);

/// The code of a text that is no formula.
Code compileUnparsable(std::string reason);

} // namespace varnex3::sheet
