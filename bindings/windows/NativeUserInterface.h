// bindings/windows/NativeUserInterface.h - the library's windows and boxes on Windows.
//
// Everything happens on the thread that calls the library. Pending events are handled in processEvents, in
// message boxes, and while the error window waits.
#pragma once

#include <windows.h>

#include <string>

#include "bindings/windows/NativeWindows.h"
#include "ui/interface/UserInterface.h"

namespace varnex3::windows {

class NativeUserInterface final : public ui::UserInterface {
public:
    NativeUserInterface() = default;
    /// Closes what is open. Not while a call of the library runs.
    ~NativeUserInterface() override;
    NativeUserInterface(const NativeUserInterface&) = delete;
    NativeUserInterface& operator=(const NativeUserInterface&) = delete;

    /// Without a display: the text goes to the standard error stream, and the answer is Ok or No.
    ui::Answer messageBox(const std::string& text, ui::Buttons buttons, const std::string& title) override;
    void beep() override;
    /// Handles what is pending, at most every 15 ms: an optimization calls it for every candidate.
    void processEvents() override;
    /// The error window waits for the user, so that a report outlives the program that caused it.
    void windowShown(ui::Window which) override;
    void windowChanged(ui::Window which) override;
    void windowHidden(ui::Window which) override;
    void copyToClipboard(const std::string& text) override;

private:
    NativeWindow& windowOf(ui::Window which);
    void handleMessage(MSG& message);
    void handlePending();
    void refreshAll();
    void waitForError();

    StatusWindow status_;
    MonteCarloWindow monteCarlo_;
    ErrorWindow error_;
    ULONGLONG lastEvents_ = 0, nextRefresh_ = 0; // milliseconds since the system's start
};

} // namespace varnex3::windows
