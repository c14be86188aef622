// sheet/value/Environment.h - what an evaluation may ask of the book around it.
//
// The model implements it over its cells; tests may implement it over anything.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// Day number of 1 January 1900 or of 1 January 1904 as the start of the serial dates.
enum class DateSystem : std::uint8_t { From1900, From1904 };

/// Calls back without owning or allocating: lives only as long as the callable it was made from.
template <class Signature>
class FunctionRef;
template <class R, class... A>
class FunctionRef<R(A...)> {
public:
    template <class F>
    requires(!std::is_same_v<std::remove_cvref_t<F>, FunctionRef>) FunctionRef(F&& f)
        : target_(const_cast<void*>(static_cast<const void*>(std::addressof(f)))),
          call_([](void* target, A... args) -> R {
              return (*static_cast<std::remove_reference_t<F>*>(target))(std::forward<A>(args)...);
          })
    {}
    R operator()(A... args) const { return call_(target_, std::forward<A>(args)...); }

private:
    void* target_;
    R (*call_)(void*, A...);
};

class Environment {
public:
    virtual ~Environment() = default;

    /// The current value of a cell; Empty for one that holds nothing.
    virtual Value cell(const CellAddress& address) = 0;
    /// Visits the cells of `area` column by column as runs of cells below one another: the first row
    /// and the column of the run, its values, their number. Stretches never used may be left out, so
    /// whole columns cost no more than what is in them. Stops when the visitor returns false.
    virtual void
    visit(const Area& area,
          FunctionRef<bool(std::int32_t row, std::int32_t col, const Value* first, std::int32_t n)>
              visitor) = 0;
    /// The smallest area from A1 that holds everything ever used on the sheet.
    virtual Area used(SheetIndex sheet) = 0;

    virtual DateSystem dateSystem() const = 0;
    virtual double now() = 0;    // serial date and time, fixed during one recalculation
    virtual double random() = 0; // uniform in [0, 1)

    /// The reference that a text stands for (INDIRECT): A1 style when `a1`, else R1C1; names included.
    /// Failure::Ref when it stands for none.
    virtual Value referenceFromText(std::string_view text, bool a1, const CellAddress& here) = 0;
    /// The result of a function value; Failure::Value when it does not take so many arguments. May be a
    /// reference, an array or a function. The arguments may be changed.
    virtual Value apply(const Value& /*function*/, std::span<Value> /*arguments*/) { return Failure::Value; }
    virtual std::string sheetName(SheetIndex sheet) const = 0;
    virtual std::optional<SheetIndex> findSheet(std::string_view name) const = 0;
    virtual SheetIndex sheetCount() const = 0;
    virtual bool hasFormula(const CellAddress& address) const = 0;
    virtual std::string formulaText(const CellAddress& address) const = 0; // with "="; empty for none
    virtual std::string bookPath() const = 0;                              // as opened; empty when new

    /// The block that the spilling formula of a cell fills now; nothing for any other cell.
    virtual std::optional<Area> spilledFrom(const CellAddress& /*cell*/) const { return std::nullopt; }

    /// Whether a row is shown; hidden ones are so by hand or by a filter.
    enum class Row : std::uint8_t { Shown, Hidden, Filtered };
    virtual Row row(SheetIndex /*sheet*/, std::int32_t /*row*/) const { return Row::Shown; }
};

} // namespace varnex3::sheet
