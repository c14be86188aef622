// bindings/python/Interface.cpp - what is asked of the Python object, and when.
#include "Interface.h"

#include <string>

#include "Values.h"
#include "ui/Windows.h"

namespace varnex3::python {
namespace {

constexpr std::chrono::milliseconds kBetween{50};
constexpr int kCallsBetweenLooks = 64; // at the clock

void cancel()
{
    statusWindow().cancelRequest = statusWindow().visible;
    monteCarloStatusWindow().cancelRequest = monteCarloStatusWindow().visible;
}

/// Calls a method of the handler; nothing when it raised, which ends the library's call.
template <class... A>
py::object ask(const py::object& handler, const char* method, A&&... arguments)
{
    try {
        return handler.attr(method)(std::forward<A>(arguments)...);
    } catch (py::error_already_set& raised) {
        keepException(raised, true);
        cancel();
        return py::none();
    }
}

} // namespace

Interface& interface()
{
    static Interface installed;
    return installed;
}

ui::Answer Interface::messageBox(const std::string& text, ui::Buttons buttons, const std::string& title)
{
    const py::gil_scoped_acquire lock;
    const bool question = buttons == ui::Buttons::YesNo;
    const py::object answer = ask(handler_, "message", text, title, question);
    if (!question) return ui::Answer::Ok;
    return PyObject_IsTrue(answer.ptr()) == 1 ? ui::Answer::Yes : ui::Answer::No;
}

void Interface::processEvents()
{
    if (++calls_ < kCallsBetweenLooks) return;
    calls_ = 0;
    const Clock::time_point now = Clock::now();
    if (now < next_) return;
    const py::gil_scoped_acquire lock;
    if (endsInException()) return cancel();
    if (PyErr_CheckSignals() != 0) {
        py::error_already_set raised;
        keepException(raised, true);
        return cancel();
    }
    const alg_f_MonteCarloStatus& trials = monteCarloStatusWindow();
    const py::object go = trials.visible
                              ? ask(handler_, "progress", trials.statusLabel, py::float_(trials.fraction))
                              : ask(handler_, "progress", statusWindow().statusLabel, py::none());
    if (go.ptr() == Py_False) cancel();
    next_ = Clock::now() + kBetween;
}

/// The error window is read and closed at once: a script has nobody in front of it.
void Interface::windowShown(ui::Window which)
{
    if (which != ui::Window::Error) return;
    const std::string report = errorWindow().Label1;
    errorWindow().OKButton_Click();
    const py::gil_scoped_acquire lock;
    if (!endsInException(report)) ask(handler_, "error", report);
}

} // namespace varnex3::python
