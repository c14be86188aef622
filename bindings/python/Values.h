// bindings/python/Values.h - values on their way between Python and the library.
//
// Numbers, texts and Booleans are Python's own, empty is None, arrays of numbers are NumPy arrays over the
// library's memory. Python objects that are none of these take part as late-bound objects.
#pragma once

#include <mutex>
#include <span>
#include <string_view>
#include <utility>

#include <pybind11/pybind11.h>

#include "runtime/Error.h"
#include "runtime/LateBound.h"
#include "runtime/Variant.h"
#include "server/ClassTable.h"

namespace varnex3::python {

namespace py = pybind11;

/// The library runs one call at a time, whatever thread it comes from. A call back into Python may call the
/// library again on its own thread.
class Turn {
public:
    /// Waits for its turn; other threads run Python meanwhile. The caller holds the interpreter lock.
    Turn();
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    /// Ends an outermost call: raises the Python exception that ended it, if one did.
    void finish();
};

/// Keeps a Python exception of a callback until the library's outermost call is over; the latest one counts.
/// The library may yet handle the error that stands for it; `ending` says that it cannot.
void keepException(py::error_already_set& raised, bool ending);
/// Whether a kept exception ends the call. `report` is the text of an error that does; it may be the one that
/// stands for the exception.
bool endsInException(std::string_view report = {});

/// Drops a reference wherever the library ends an object of its own, with the interpreter lock or without.
void letGo(py::object& last);

/// For arguments and values.
Variant toVariant(py::handle value);
/// For results: `type` tells whole numbers from others.
py::object toPython(const Variant& value, server::ValueType type = {});

/// Runs one use of the library in its turn. An error that stands for a callback's exception is raised as that
/// exception, which says more.
template <class F>
auto inTurn(F&& work)
{
    Turn turn;
    try {
        auto result = std::forward<F>(work)();
        turn.finish();
        return result;
    } catch (const Raised&) {
        if (endsInException(err().description)) turn.finish();
        throw;
    }
}

/// Raises the library's error in flight as varnex3.Error.
[[noreturn]] void raiseError();

/// Calls a Python callable with the library's values, as a macro or event handler; what it raises ends the
/// library's call and is raised again at the end of it.
Variant callPython(const py::object& callable, std::span<const Variant> arguments);

/// A box for an argument that the library assigns to: varnex3.ByRef.
bool isByRef(py::handle value);

/// Adds Error, CellError and ByRef to the module.
void addValues(py::module_& module);

} // namespace varnex3::python
