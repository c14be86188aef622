// bindings/python/Objects.h - the classes of the table as Python classes.
//
// Properties are attributes, methods are called with positions or names, indexed properties take their
// indexes in parentheses or brackets, counted from 1.
#pragma once

#include <pybind11/pybind11.h>

#include "runtime/Object.h"

namespace varnex3::python {

/// Whether a Python object is one of the library's.
bool isObject(pybind11::handle value);
ObjectRef objectOf(pybind11::handle value);
/// A Python object for one of the library's.
pybind11::object newObject(const ObjectRef& object);

/// Makes a class for every row of the table, and `table()`, which lists them.
void addClasses(pybind11::module_& module);

} // namespace varnex3::python
