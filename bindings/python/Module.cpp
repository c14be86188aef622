// bindings/python/Module.cpp - the extension module behind the package: classes of the table, the embedded
// host, and who is asked.
#include <memory>
#include <string>
#include <utility>

#include <pybind11/pybind11.h>

#include "Interface.h"
#include "Objects.h"
#include "Values.h"
#include "runtime/Seeds.h"
#include "server/Invoke.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::python {
namespace {

using workbook::EmbeddedApplication;

/// The embedded host behind an Application object; TypeError for any other.
EmbeddedApplication& embedded(const py::object& application)
{
    auto* host =
        isObject(application) ? dynamic_cast<EmbeddedApplication*>(objectOf(application).get()) : nullptr;
    if (!host) throw py::type_error("not an application of the embedded host");
    return *host;
}

host::Workbook& workbookOf(const py::object& object)
{
    auto* book = isObject(object) ? dynamic_cast<host::Workbook*>(objectOf(object).get()) : nullptr;
    if (!book) throw py::type_error("not a workbook");
    return *book;
}

/// Takes its turn and turns the library's errors into exceptions.
template <class F>
py::object run(F&& work)
{
    try {
        return inTurn(std::forward<F>(work));
    } catch (const Raised&) {
        raiseError();
    }
}

void registerMacro(const py::object& application, const std::string& name, py::object callable)
{
    // Held where its end takes the interpreter lock: the host may go away without it.
    const std::shared_ptr<py::object> held(new py::object(std::move(callable)), [](py::object* last) {
        letGo(*last);
        delete last;
    });
    embedded(application).registerMacro(name, [held](std::span<const Variant> arguments) {
        const py::gil_scoped_acquire lock;
        return callPython(*held, arguments);
    });
}

void addHost(py::module_& module)
{
    module.def("application", [] { return newObject(std::make_shared<EmbeddedApplication>()); });
    module.def("open", [](const py::object& application, const std::string& path) {
        return run([&] { return newObject(embedded(application).open(path)); });
    });
    module.def("save", [](const py::object& application, const py::object& book, const std::string& path) {
        run([&] {
            embedded(application).save(workbookOf(book), path);
            return py::none();
        });
    });
    module.def("range", [](const py::object& application, const std::string& reference) {
        return run([&] { return newObject(embedded(application).range(reference)); });
    });
    module.def("register_macro", registerMacro);
}

} // namespace
} // namespace varnex3::python

PYBIND11_MODULE(_varnex3, module)
{
    using namespace varnex3;
    using namespace varnex3::python;
    addValues(module);
    addClasses(module);
    addHost(module);
    ui::setUserInterface(&interface());
    module.def("set_user_interface", [](py::object handler) { interface().install(std::move(handler)); });
    module.def("user_interface", [] { return interface().handler(); });
    module.def("set_seed", [](Long seed) { setSeedSource([seed] { return seed; }); });
    // The interface lets go of Python before the interpreter ends.
    py::module_::import("atexit").attr("register")(py::cpp_function([] {
        ui::setUserInterface(nullptr);
        interface().install(py::object());
    }));
}
