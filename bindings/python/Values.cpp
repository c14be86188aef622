// bindings/python/Values.cpp - conversions, turns, exceptions, and Python objects as late-bound ones.
#include "Values.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>

#include "Objects.h"

namespace varnex3::python {
namespace {

std::recursive_mutex turns;
int depth = 0; // of calls on the thread whose turn it is

/// What a callback of the call that runs has raised.
struct Kept {
    py::error_already_set raised;
    std::string text;
    bool ending;
};
std::optional<Kept> kept;

// The module's own Python classes; they live as long as the interpreter.
PyObject* errorClass = nullptr;
PyObject* cellErrorClass = nullptr;
PyObject* byRefClass = nullptr;

/// Ends the library's call with the error that stands for a Python exception, which is kept.
[[noreturn]] void raiseFor(py::error_already_set& raised)
{
    const bool interrupt = raised.matches(PyExc_KeyboardInterrupt);
    const bool missing = raised.matches(PyExc_AttributeError);
    const std::string text = raised.what();
    keepException(raised, interrupt);
    raise(interrupt ? errors::UserInterrupt
          : missing ? errors::NoSuchMember
                    : errors::Internal,
          "Python", text);
}

/// A Python object whose attributes are the members.
class PythonObject final : public LateBound {
public:
    explicit PythonObject(py::object object) : object_(std::move(object)) {}
    ~PythonObject() override { letGo(object_); }

    const py::object& object() const { return object_; }

    std::optional<Long> memberId(std::string_view name) override
    {
        for (std::size_t i = 0; i < names_.size(); ++i)
            if (names_[i] == name) return static_cast<Long>(i + 1);
        names_.emplace_back(name);
        return static_cast<Long>(names_.size());
    }

    using LateBound::invoke;
    Variant invoke(Long member, InvokeKind kind, std::span<Variant> arguments) override
    {
        const py::gil_scoped_acquire lock;
        try {
            if (member == kDefaultMember) return read(py::getattr(object_, "Value"), arguments);
            if (member < 1 || static_cast<std::size_t>(member) > names_.size()) raise(errors::NoSuchMember);
            const std::string& name = names_[static_cast<std::size_t>(member - 1)];
            if (kind == InvokeKind::Read) return read(object_.attr(name.c_str()), arguments);
            if (arguments.size() == 1)
                py::setattr(object_, name.c_str(), toPython(arguments.front()));
            else
                putIndexed(object_.attr(name.c_str()), arguments);
            return {};
        } catch (py::error_already_set& raised) {
            raiseFor(raised);
        }
    }

private:
    static Variant read(const py::object& found, std::span<const Variant> arguments)
    {
        if (PyCallable_Check(found.ptr()) == 0 || isObject(found)) {
            if (arguments.empty()) return toVariant(found);
            if (PyCallable_Check(found.ptr()) == 0) return toVariant(found[index(arguments)]);
        }
        py::tuple list(arguments.size());
        for (std::size_t i = 0; i < arguments.size(); ++i) list[i] = toPython(arguments[i]);
        return toVariant(found(*list));
    }
    static py::object index(std::span<const Variant> arguments)
    {
        if (arguments.size() == 1) return toPython(arguments.front());
        py::tuple list(arguments.size());
        for (std::size_t i = 0; i < arguments.size(); ++i) list[i] = toPython(arguments[i]);
        return list;
    }
    static void putIndexed(py::object found, std::span<const Variant> arguments)
    {
        found[index(arguments.first(arguments.size() - 1))] = toPython(arguments.back());
    }

    py::object object_;
    std::vector<std::string> names_;
};

/// A NumPy array over memory that `owner` keeps alive.
template <class T>
py::object arrayOver(const std::shared_ptr<T>& owner, std::vector<py::ssize_t> shape, const double* data)
{
    using Holder = std::shared_ptr<T>;
    py::capsule keeper(new Holder(owner), [](void* held) { delete static_cast<Holder*>(held); });
    py::array_t<double> array(std::move(shape), data, keeper);
    array.attr("setflags")(py::arg("write") = false);
    return array;
}

py::object listOf(const Array1<Variant>& values)
{
    py::list list;
    for (const Variant& v : values) list.append(toPython(v));
    return list;
}

py::object listOf(const Array2<Variant>& values)
{
    py::list list;
    for (Long r : oneTo(values.rows())) {
        py::list row;
        for (const Variant& v : values.row(r)) row.append(toPython(v));
        list.append(row);
    }
    return list;
}

py::object fromNumber(double x, server::Type type)
{
    if (type == server::Type::Long || type == server::Type::Integer) return py::int_(toLong(x));
    if (type == server::Type::Boolean) return py::bool_(x != 0.0);
    return py::float_(x);
}

bool isText(py::handle value) { return PyUnicode_Check(value.ptr()) || PyBytes_Check(value.ptr()); }

Variant numbersOf(const py::array_t<double, py::array::c_style | py::array::forcecast>& array)
{
    if (array.ndim() == 1) {
        Array1<double> numbers(static_cast<Long>(array.shape(0)));
        std::copy(array.data(), array.data() + array.size(), numbers.begin());
        return DoubleArray1(std::make_shared<Array1<double>>(std::move(numbers)));
    }
    Array2<double> numbers(static_cast<Long>(array.shape(0)), static_cast<Long>(array.shape(1)));
    for (Long r : oneTo(numbers.rows())) {
        const double* row = array.data(r - 1, 0);
        std::copy(row, row + numbers.cols(), numbers.row(r).begin());
    }
    return DoubleArray2(std::make_shared<Array2<double>>(std::move(numbers)));
}

/// A list, a tuple or any other sequence; one of equally long sequences has two dimensions.
Variant elementsOf(const py::sequence& given)
{
    const auto isRow = [](py::handle v) { return py::isinstance<py::sequence>(v) && !isText(v); };
    const auto n = static_cast<Long>(given.size());
    if (n > 0 && isRow(given[0])) {
        const auto cols = static_cast<Long>(py::sequence(given[0]).size());
        Array2<Variant> values(n, cols);
        for (Long r : oneTo(n)) {
            const py::sequence row(given[static_cast<std::size_t>(r - 1)]);
            if (static_cast<Long>(row.size()) != cols) throw py::value_error("the rows differ in length");
            for (Long c : oneTo(cols)) values(r, c) = toVariant(row[static_cast<std::size_t>(c - 1)]);
        }
        return VariantArray2(std::make_shared<Array2<Variant>>(std::move(values)));
    }
    Array1<Variant> values(n);
    for (Long i : oneTo(n)) values(i) = toVariant(given[static_cast<std::size_t>(i - 1)]);
    return VariantArray1(std::make_shared<Array1<Variant>>(std::move(values)));
}

} // namespace

Turn::Turn()
{
    if (!turns.try_lock()) {
        const py::gil_scoped_release others;
        turns.lock();
    }
    ++depth;
}

Turn::~Turn()
{
    if (--depth == 0) kept.reset();
    turns.unlock();
}

void Turn::finish()
{
    if (depth > 1 || !endsInException()) return;
    py::error_already_set raised = std::move(kept->raised);
    kept.reset();
    throw raised;
}

void keepException(py::error_already_set& raised, bool ending)
{
    if (kept && kept->ending) return;
    std::string text = raised.what();
    kept.emplace(Kept{std::move(raised), std::move(text), ending});
}

bool endsInException(std::string_view report)
{
    if (!kept) return false;
    kept->ending = kept->ending || report.find(kept->text) != std::string_view::npos;
    return kept->ending;
}

void letGo(py::object& last)
{
    if (Py_IsInitialized() == 0) { // the library's own globals outlive the interpreter
        last.release();
        return;
    }
    const py::gil_scoped_acquire lock;
    last = py::object();
}

Variant toVariant(py::handle value)
{
    PyObject* p = value.ptr();
    if (p == Py_None) return {};
    if (PyFloat_Check(p)) return PyFloat_AS_DOUBLE(p);
    if (PyBool_Check(p)) return p == Py_True;
    if (PyLong_Check(p)) return value.cast<double>();
    if (PyUnicode_Check(p)) return value.cast<std::string>();
    if (isObject(value)) return Variant(objectOf(value));
    if (PyObject_IsInstance(p, cellErrorClass) == 1)
        return ErrorValue{static_cast<Long>(value.attr("code").cast<int>())};
    if (py::isinstance<py::array>(value)) {
        const py::array array = py::reinterpret_borrow<py::array>(value);
        const char kind = array.dtype().kind();
        if ((kind == 'f' || kind == 'i' || kind == 'u') && (array.ndim() == 1 || array.ndim() == 2))
            return numbersOf(py::array_t<double, py::array::c_style | py::array::forcecast>(array));
        return toVariant(value.attr("tolist")());
    }
    if (PyNumber_Check(p) && py::hasattr(value, "__float__"))
        return py::float_(py::reinterpret_borrow<py::object>(value)).cast<double>();
    if (py::isinstance<py::sequence>(value)) return elementsOf(py::reinterpret_borrow<py::sequence>(value));
    return Variant(std::make_shared<PythonObject>(py::reinterpret_borrow<py::object>(value)));
}

py::object toPython(const Variant& value, server::ValueType type)
{
    return std::visit(
        overloaded{
            [](Empty) -> py::object { return py::none(); },
            [&](double x) { return fromNumber(x, type.type); },
            [](bool b) -> py::object { return py::bool_(b); },
            [](const std::string& text) -> py::object { return py::str(text); },
            [](ErrorValue e) -> py::object { return py::handle(cellErrorClass)(e.code); },
            [](const ObjectRef& object) -> py::object {
                if (!object) return py::none();
                if (const auto* ours = dynamic_cast<const PythonObject*>(object.get())) return ours->object();
                return newObject(object);
            },
            [](const DoubleArray1& a) { return arrayOver(a, {a->size()}, a->data()); },
            [](const DoubleArray2& a) {
                return arrayOver(a, {a->rows(), a->cols()}, a->rows() > 0 ? a->row(1).data() : nullptr);
            },
            [](const auto& values) { return listOf(*values); },
        },
        value.held());
}

void raiseError()
{
    const ErrorRecord record = err();
    caught();
    const py::object error = py::handle(errorClass)(record.number, record.source, record.description);
    PyErr_SetObject(errorClass, error.ptr());
    throw py::error_already_set();
}

Variant callPython(const py::object& callable, std::span<const Variant> arguments)
{
    const py::gil_scoped_acquire lock;
    try {
        py::tuple list(arguments.size());
        for (std::size_t i = 0; i < arguments.size(); ++i) list[i] = toPython(arguments[i]);
        return toVariant(callable(*list));
    } catch (py::error_already_set& raised) {
        raiseFor(raised);
    }
}

void addValues(py::module_& module)
{
    const py::module_ values = py::module_::import("varnex3._values");
    errorClass = py::object(values.attr("Error")).release().ptr();
    cellErrorClass = py::object(values.attr("CellError")).release().ptr();
    byRefClass = py::object(values.attr("ByRef")).release().ptr();
    module.attr("Error") = py::handle(errorClass);
}

bool isByRef(py::handle value) { return Py_TYPE(value.ptr()) == reinterpret_cast<PyTypeObject*>(byRefClass); }

} // namespace varnex3::python
