// bindings/python/Objects.cpp - the types behind the classes, made from the table with the interpreter's own
// interface: one call through it is what a member costs.
#include "Objects.h"

#include <algorithm>
#include <array>
#include <deque>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>

#include "Values.h"
#include "server/Invoke.h"

namespace varnex3::python {
namespace {

using server::ClassRow;
using server::MemberRow;
using server::Type;

/// An object of the library, as Python sees it.
struct Held {
    PyObject_HEAD ObjectRef object;
    const ClassRow* row;
};
/// A method or an indexed property in its class.
struct Member {
    PyObject_HEAD const MemberRow* row;
};
/// The same of one object: to be called or subscripted.
struct Bound {
    PyObject_HEAD Held* self;
    const MemberRow* row;
};

PyTypeObject* baseType = nullptr; // varnex3.Object
PyTypeObject* memberType = nullptr;
PyTypeObject* boundType = nullptr;
std::unordered_map<const ClassRow*, PyTypeObject*> typeOf;
std::unordered_map<PyTypeObject*, const ClassRow*> rowOf;

Held* heldBy(PyObject* p) { return reinterpret_cast<Held*>(p); }
template <class T>
PyObject* asPython(T* p)
{
    return reinterpret_cast<PyObject*>(p);
}

/// Runs the body of a slot; what it throws becomes the Python exception, and `failure` is answered.
template <class Result, class F>
Result guarded(Result failure, F&& body)
{
    try {
        return body();
    } catch (py::error_already_set& raised) {
        raised.restore();
    } catch (const py::builtin_exception& raised) {
        raised.set_error();
    } catch (...) {
        adoptForeignException();
        try {
            raiseError();
        } catch (py::error_already_set& raised) {
            raised.restore();
        }
    }
    return failure;
}

/// One use of a member. The interpreter is free for other threads while a method runs.
Variant use(Held& self, const MemberRow& row, InvokeKind kind, std::span<Variant> arguments)
{
    if (!row.method || kind != InvokeKind::Read) return server::invoke(*self.object, row, kind, arguments);
    const py::gil_scoped_release others;
    return server::invoke(*self.object, row, kind, arguments);
}

/// Arguments of a call on their way in, and, for boxes, out.
class Given {
public:
    explicit Given(const MemberRow& row) : row_(row) {}

    void add(py::handle value)
    {
        if (count_ == row_.list.count + 1) raise(errors::ArgumentCount);
        put(count_++, value);
    }
    void add(std::string_view name, py::handle value)
    {
        const auto rows = row_.arguments();
        const auto found =
            std::find_if(rows.begin(), rows.end(), [&](const auto& a) { return name == a.name; });
        const auto at = static_cast<std::size_t>(found - rows.begin());
        if (found == rows.end())
            throw py::type_error(std::string(row_.name) + "() has no argument '" + std::string(name) + "'");
        if (at < count_ && !isMissing(values_[at]))
            throw py::type_error(std::string(row_.name) + "() got '" + std::string(name) + "' twice");
        for (; count_ <= at; ++count_) values_[count_] = missingArgument();
        put(at, value);
    }
    std::span<Variant> values() { return {values_.data(), count_}; }

    /// Gives the boxes among the arguments what the member assigned.
    void fillBoxes() const
    {
        for (std::size_t i = 0; i < count_; ++i)
            if (boxes_[i] && row_.list.rows[i].changed)
                boxes_[i].attr("value") = toPython(values_[i], row_.list.rows[i].type);
    }

private:
    void put(std::size_t at, py::handle value)
    {
        if (isByRef(value)) {
            boxes_[at] = value;
            values_[at] = toVariant(py::object(value.attr("value")));
        } else {
            values_[at] = toVariant(value);
        }
    }

    const MemberRow& row_;
    std::size_t count_ = 0;
    std::array<Variant, server::kMaxArguments + 1> values_;
    std::array<py::handle, server::kMaxArguments + 1> boxes_;
};

py::object read(Held& self, const MemberRow& row, Given& given)
{
    const Variant result = inTurn([&] { return use(self, row, InvokeKind::Read, given.values()); });
    given.fillBoxes();
    return toPython(result, row.type);
}

void write(Held& self, const MemberRow& row, Given& given)
{
    Variant& value = given.values().back();
    const bool reference = !row.byValue || (row.byReference && value.object());
    if (row.type.type == Type::Object && value.isEmpty()) value = Variant(ObjectRef());
    inTurn([&] { return use(self, row, reference ? InvokeKind::PutRef : InvokeKind::Put, given.values()); });
}

// Attributes: properties without indexes -----------------------------------------------------------------

PyObject* getAttribute(PyObject* self, void* closure)
{
    return guarded<PyObject*>(nullptr, [&] {
        const auto& row = *static_cast<const MemberRow*>(closure);
        Given none(row);
        return read(*heldBy(self), row, none).release().ptr();
    });
}

int setAttribute(PyObject* self, PyObject* value, void* closure)
{
    return guarded<int>(-1, [&] {
        const auto& row = *static_cast<const MemberRow*>(closure);
        if (!value) throw py::type_error(std::string(row.name) + " cannot be deleted");
        Given given(row);
        given.add(value);
        write(*heldBy(self), row, given);
        return 0;
    });
}

// Methods and indexed properties --------------------------------------------------------------------------

PyObject* bind(PyObject* member, PyObject* self, PyObject*)
{
    if (!self || self == Py_None) return Py_NewRef(member);
    Bound* bound = PyObject_New(Bound, boundType);
    if (!bound) return nullptr;
    bound->self = heldBy(Py_NewRef(self));
    bound->row = reinterpret_cast<Member*>(member)->row;
    return asPython(bound);
}

void freeBound(PyObject* p)
{
    Py_DECREF(asPython(reinterpret_cast<Bound*>(p)->self));
    PyTypeObject* type = Py_TYPE(p);
    PyObject_Free(p);
    Py_DECREF(type);
}

PyObject* callBound(PyObject* p, PyObject* positions, PyObject* names)
{
    return guarded<PyObject*>(nullptr, [&] {
        const Bound& bound = *reinterpret_cast<Bound*>(p);
        Given given(*bound.row);
        for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(positions); ++i)
            given.add(PyTuple_GET_ITEM(positions, i));
        if (names)
            for (const auto& [name, value] : py::reinterpret_borrow<py::dict>(names))
                given.add(py::cast<std::string_view>(name), value);
        return read(*bound.self, *bound.row, given).release().ptr();
    });
}

void addIndexes(Given& given, PyObject* index)
{
    if (!PyTuple_Check(index)) return given.add(index);
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(index); ++i) given.add(PyTuple_GET_ITEM(index, i));
}

/// mc.yUnsorted[1, 1:n + 1]: numbers first..last of the index that is a slice, in one array.
py::object readSlice(Held& self, const MemberRow& row, const py::tuple& index, std::size_t at)
{
    const py::slice slice(index[at]);
    const auto bound = [&](const char* name, Long standard) {
        const py::object v = slice.attr(name);
        return v.is_none() ? standard : v.cast<Long>();
    };
    const Long first = bound("start", 1), step = bound("step", 1);
    if (slice.attr("stop").is_none() || step < 1 || first < 1)
        throw py::value_error("a slice counts from 1 upwards and needs an end, as in [1, 1:101]");
    const Long last = bound("stop", 0) - 1;
    Given given(row);
    for (std::size_t i = 0; i < index.size(); ++i)
        given.add(i == at ? py::object(py::int_(first)) : index[i]);
    Turn turn;
    const Long n = last < first ? 0 : (last - first) / step + 1;
    py::array_t<double> numbers(n);
    for (Long k = 0; k < n; ++k) {
        given.values()[at] = static_cast<double>(first + k * step);
        numbers.mutable_at(k) = toDouble(use(self, row, InvokeKind::Read, given.values()));
    }
    return numbers;
}

PyObject* subscriptBound(PyObject* p, PyObject* index)
{
    return guarded<PyObject*>(nullptr, [&] {
        const Bound& bound = *reinterpret_cast<Bound*>(p);
        if (bound.row->method)
            throw py::type_error(std::string(bound.row->name) + " is called, not subscripted");
        const auto indexes = PyTuple_Check(index) ? py::reinterpret_borrow<py::tuple>(index)
                                                  : py::make_tuple(py::handle(index));
        for (std::size_t i = 0; i < indexes.size(); ++i)
            if (PySlice_Check(PyTuple_GET_ITEM(indexes.ptr(), static_cast<Py_ssize_t>(i))))
                return readSlice(*bound.self, *bound.row, indexes, i).release().ptr();
        Given given(*bound.row);
        addIndexes(given, index);
        return read(*bound.self, *bound.row, given).release().ptr();
    });
}

int assignBound(PyObject* p, PyObject* index, PyObject* value)
{
    return guarded<int>(-1, [&] {
        const Bound& bound = *reinterpret_cast<Bound*>(p);
        if (!value) throw py::type_error(std::string(bound.row->name) + ": elements cannot be deleted");
        Given given(*bound.row);
        addIndexes(given, index);
        given.add(value);
        write(*bound.self, *bound.row, given);
        return 0;
    });
}

const MemberRow& rowBehind(PyObject* p)
{
    return Py_TYPE(p) == boundType ? *reinterpret_cast<Bound*>(p)->row : *reinterpret_cast<Member*>(p)->row;
}
PyObject* memberName(PyObject* p, void*) { return PyUnicode_FromString(rowBehind(p).name); }
PyObject* memberDoc(PyObject* p, void*) { return PyUnicode_FromString(rowBehind(p).summary); }
PyObject* memberSignature(PyObject* p, void*)
{
    std::string text = "(";
    for (const server::ArgumentRow& a : rowBehind(p).arguments()) {
        text += text.size() > 1 ? ", " : "";
        text += a.name;
        if (a.optional) text += "=None";
    }
    return PyUnicode_FromString((text + ")").c_str());
}

// Objects -------------------------------------------------------------------------------------------------

PyObject* hold(PyTypeObject* type, ObjectRef object, const ClassRow* row)
{
    PyObject* p = type->tp_alloc(type, 0);
    if (!p) return nullptr;
    new (&heldBy(p)->object) ObjectRef(std::move(object));
    heldBy(p)->row = row;
    return p;
}

PyObject* createObject(PyTypeObject* type, PyObject* positions, PyObject* names)
{
    return guarded<PyObject*>(nullptr, [&] {
        const PyTypeObject* known = type;
        while (known && !rowOf.count(const_cast<PyTypeObject*>(known))) known = known->tp_base;
        const ClassRow* row = known ? rowOf[const_cast<PyTypeObject*>(known)] : nullptr;
        if (!row || !row->creatable) throw py::type_error("objects of this class come out of others");
        if (known == type && (PyTuple_GET_SIZE(positions) > 0 || (names && PyDict_Size(names) > 0)))
            throw py::type_error(std::string(row->name) + "() takes no arguments");
        Turn turn;
        return hold(type, row->create(), row);
    });
}

void freeObject(PyObject* p)
{
    {
        ObjectRef last = std::move(heldBy(p)->object); // may run the library's Clear
        std::destroy_at(&heldBy(p)->object);
        Turn turn;
        attempt([&] { last = nullptr; });
    }
    PyTypeObject* type = Py_TYPE(p);
    type->tp_free(p);
    Py_DECREF(type);
}

PyObject* compareObjects(PyObject* a, PyObject* b, int op)
{
    if ((op != Py_EQ && op != Py_NE) || !isObject(b)) Py_RETURN_NOTIMPLEMENTED;
    return PyBool_FromLong((heldBy(a)->object == heldBy(b)->object) == (op == Py_EQ));
}

Py_hash_t hashObject(PyObject* p)
{
    return static_cast<Py_hash_t>(std::hash<ObjectRef>{}(heldBy(p)->object) >> 4U);
}

PyObject* describeObject(PyObject* p)
{
    return PyUnicode_FromFormat("<varnex3.%s at %p>", heldBy(p)->row->name,
                                static_cast<const void*>(heldBy(p)->object.get()));
}

const MemberRow* memberNamed(const ClassRow& row, std::string_view name)
{
    const Long number = server::findMember(row, name);
    return number ? &row.members[static_cast<std::size_t>(number - 1)] : nullptr;
}

const MemberRow& defaultMember(const ClassRow& row)
{
    if (row.defaultMember == 0) throw py::type_error(std::string(row.name) + " has no default member");
    return row.members[static_cast<std::size_t>(row.defaultMember - 1)];
}

PyObject* callObject(PyObject* p, PyObject* positions, PyObject*)
{
    return guarded<PyObject*>(nullptr, [&] {
        Held& self = *heldBy(p);
        const MemberRow& row = defaultMember(*self.row);
        Given given(row);
        addIndexes(given, positions);
        return read(self, row, given).release().ptr();
    });
}

PyObject* subscriptObject(PyObject* p, PyObject* index)
{
    return guarded<PyObject*>(nullptr, [&] {
        Held& self = *heldBy(p);
        const MemberRow& row = defaultMember(*self.row);
        if (row.list.count == 0) throw py::type_error(std::string(self.row->name) + " takes no subscript");
        Given given(row);
        addIndexes(given, index);
        return read(self, row, given).release().ptr();
    });
}

Py_ssize_t lengthOfObject(PyObject* p)
{
    return guarded<Py_ssize_t>(-1, [&] {
        Held& self = *heldBy(p);
        const MemberRow* row = memberNamed(*self.row, "Count");
        if (!row) throw py::type_error(std::string(self.row->name) + " has no length");
        Given none(*row);
        return read(self, *row, none).cast<Py_ssize_t>();
    });
}

PyObject* iterateObject(PyObject* p)
{
    return guarded<PyObject*>(nullptr, [&] {
        Held& self = *heldBy(p);
        const MemberRow& row = defaultMember(*self.row);
        const MemberRow* count = memberNamed(*self.row, "Count");
        if (row.list.count != 1 || !count)
            throw py::type_error(std::string(self.row->name) + " holds no items");
        Given none(*count);
        py::list items;
        for (Long i : oneTo(read(self, *count, none).cast<Long>())) {
            Given given(row);
            given.add(py::int_(i));
            items.append(read(self, row, given));
        }
        return PyObject_GetIter(items.ptr());
    });
}

/// Objects are true whatever their length: an empty collection is one.
int truthOfObject(PyObject*) { return 1; }

// Making the types ----------------------------------------------------------------------------------------

template <class F>
void* slot(F* f)
{
    return reinterpret_cast<void*>(f);
}

PyTypeObject* makeType(const char* name, std::size_t size, unsigned flags, std::vector<PyType_Slot> slots,
                       PyTypeObject* base = nullptr)
{
    slots.push_back({0, nullptr});
    PyType_Spec spec{name, static_cast<int>(size), 0, flags, slots.data()};
    const py::object bases = base ? py::object(py::make_tuple(py::handle(asPython(base)))) : py::none();
    PyObject* type = base ? PyType_FromSpecWithBases(&spec, bases.ptr()) : PyType_FromSpec(&spec);
    if (!type) throw py::error_already_set();
    return reinterpret_cast<PyTypeObject*>(type);
}

void makeMemberTypes()
{
    static PyGetSetDef about[] = {{"__name__", memberName, nullptr, nullptr, nullptr},
                                  {"__doc__", memberDoc, nullptr, nullptr, nullptr},
                                  {"__text_signature__", memberSignature, nullptr, nullptr, nullptr},
                                  {}};
    memberType =
        makeType("varnex3.Member", sizeof(Member), Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION,
                 {{Py_tp_descr_get, slot(bind)}, {Py_tp_getset, about}});
    boundType =
        makeType("varnex3.BoundMember", sizeof(Bound), Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION,
                 {{Py_tp_dealloc, slot(freeBound)},
                  {Py_tp_call, slot(callBound)},
                  {Py_mp_subscript, slot(subscriptBound)},
                  {Py_mp_ass_subscript, slot(assignBound)},
                  {Py_tp_getset, about}});
}

void makeBaseType()
{
    baseType = makeType("varnex3.Object", sizeof(Held), Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
                        {{Py_tp_new, slot(createObject)},
                         {Py_tp_dealloc, slot(freeObject)},
                         {Py_tp_richcompare, slot(compareObjects)},
                         {Py_tp_hash, slot(hashObject)},
                         {Py_tp_repr, slot(describeObject)},
                         {Py_nb_bool, slot(truthOfObject)},
                         {Py_tp_doc, const_cast<char*>("An object of the library.")}});
}

PyTypeObject* makeClass(const ClassRow& row)
{
    static std::deque<std::vector<PyGetSetDef>> attributes; // the types point into them
    static std::deque<std::string> names;
    std::vector<PyGetSetDef>& properties = attributes.emplace_back();
    for (const MemberRow& m : row.members)
        if (!m.method && m.list.count == 0)
            properties.push_back({m.name, m.read ? getAttribute : nullptr, m.write ? setAttribute : nullptr,
                                  m.summary, const_cast<MemberRow*>(&m)});
    properties.push_back({});
    std::vector<PyType_Slot> slots{{Py_tp_getset, properties.data()},
                                   {Py_tp_doc, const_cast<char*>(row.summary)}};
    if (row.defaultMember != 0) {
        slots.push_back({Py_tp_call, slot(callObject)});
        slots.push_back({Py_mp_subscript, slot(subscriptObject)});
        slots.push_back({Py_mp_length, slot(lengthOfObject)});
        slots.push_back({Py_tp_iter, slot(iterateObject)});
    }
    names.push_back(std::string(server::kLibrary) + "." + row.name);
    PyTypeObject* type = makeType(names.back().c_str(), sizeof(Held),
                                  Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, std::move(slots), baseType);
    for (const MemberRow& m : row.members) {
        if (!m.method && m.list.count == 0) continue;
        Member* member = PyObject_New(Member, memberType);
        if (!member) throw py::error_already_set();
        member->row = &m;
        py::setattr(asPython(type), m.name, py::reinterpret_steal<py::object>(asPython(member)));
    }
    return type;
}

const char* textOf(Type type)
{
    constexpr const char* kNames[] = {"None",    "Double",  "Long",   "Integer", "Boolean", "Text",
                                      "Variant", "Doubles", "Ranges", "Texts",   "Object"};
    return kNames[static_cast<std::size_t>(type)];
}

py::dict described(server::ValueType type)
{
    py::dict d;
    d["type"] = textOf(type.type);
    d["class"] = type.className ? py::object(py::str(type.className)) : py::none();
    return d;
}

py::list table()
{
    py::list classes;
    for (const ClassRow* row : server::classTable()) {
        py::list members;
        for (const MemberRow& m : row->members) {
            py::list arguments;
            for (const server::ArgumentRow& a : m.arguments()) {
                py::dict argument = described(a.type);
                argument["name"] = a.name;
                argument["optional"] = a.optional;
                argument["changed"] = a.changed;
                arguments.append(argument);
            }
            py::dict member = described(m.type);
            member["name"] = m.name;
            member["method"] = m.method;
            member["read"] = m.read != nullptr;
            member["write"] = m.write != nullptr;
            member["arguments"] = arguments;
            member["summary"] = m.summary;
            members.append(member);
        }
        py::dict d;
        d["name"] = row->name;
        d["creatable"] = row->creatable;
        d["members"] = members;
        d["default"] = row->defaultMember;
        d["summary"] = row->summary;
        classes.append(d);
    }
    return classes;
}

} // namespace

bool isObject(py::handle value) { return PyObject_TypeCheck(value.ptr(), baseType); }

ObjectRef objectOf(py::handle value) { return heldBy(value.ptr())->object; }

py::object newObject(const ObjectRef& object)
{
    const ClassRow* row = server::classOf(*object);
    if (!row) throw py::type_error("an object that Python cannot hold");
    return py::reinterpret_steal<py::object>(hold(typeOf.at(row), object, row));
}

void addClasses(py::module_& module)
{
    makeMemberTypes();
    makeBaseType();
    module.attr("Object") = py::handle(asPython(baseType));
    for (const ClassRow* row : server::classTable()) {
        PyTypeObject* type = makeClass(*row);
        typeOf[row] = type;
        rowOf[type] = row;
        if (!py::hasattr(module, row->name)) module.attr(row->name) = py::handle(asPython(type));
    }
    module.def("table", table, "Every class with its members, as the bindings know them.");
}

} // namespace varnex3::python
