// bindings/python/Interface.h - message boxes and windows of the library, answered by a Python object.
#pragma once

#include <chrono>

#include <pybind11/pybind11.h>

#include "ui/interface/UserInterface.h"

namespace varnex3::python {

/// Passes what the library shows to an object with the methods message, progress and error (see
/// varnex3.UserInterface), and lets Ctrl-C in. Some twenty times a second at most, so that a trial of
/// fractions of a microsecond pays next to nothing for it.
class Interface final : public ui::UserInterface {
public:
    void install(pybind11::object handler) { handler_ = std::move(handler); }
    const pybind11::object& handler() const { return handler_; }

    ui::Answer messageBox(const std::string& text, ui::Buttons buttons, const std::string& title) override;
    void beep() override {}
    void processEvents() override;
    void windowShown(ui::Window which) override;
    void windowChanged(ui::Window) override {}
    void windowHidden(ui::Window) override {}
    void copyToClipboard(const std::string&) override {}

private:
    using Clock = std::chrono::steady_clock;

    pybind11::object handler_;
    Clock::time_point next_{};
    int calls_ = 0;
};

/// The one in use.
Interface& interface();

} // namespace varnex3::python
