// tests/support/ScriptedUi.h - a user who answers message boxes from a script and presses Cancel on cue.
//
// Installs itself for its lifetime.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "ui/interface/UserInterface.h"

namespace varnex3::test {

class ScriptedUi final : public ui::UserInterface {
public:
    ScriptedUi() { ui::setUserInterface(this); }
    ~ScriptedUi() override { ui::setUserInterface(nullptr); }
    ScriptedUi(const ScriptedUi&) = delete;
    ScriptedUi& operator=(const ScriptedUi&) = delete;

    std::deque<ui::Answer> answers;   // to Yes/No boxes, in order; No once they run out
    std::vector<std::string> boxes;   // "[title] text", "[] text" without a title
    std::vector<std::string> windows; // "shown Status", "changed Error", "hidden ..."
    std::vector<std::string>* sharedLog =
        nullptr; // boxes and beeps also go here: "MsgBox [title] text", "Beep"
    std::string clipboard;
    Long beeps = 0;
    Long events = 0;                    // calls of processEvents
    std::function<void(Long)> onEvents; // receives the number of this call, 1 and up

    ui::Answer messageBox(const std::string& text, ui::Buttons buttons, const std::string& title) override
    {
        boxes.push_back("[" + title + "] " + text);
        log("MsgBox " + boxes.back());
        if (buttons == ui::Buttons::Ok) return ui::Answer::Ok;
        if (answers.empty()) return ui::Answer::No;
        const ui::Answer answer = answers.front();
        answers.pop_front();
        return answer;
    }
    void beep() override
    {
        ++beeps;
        log("Beep");
    }
    void processEvents() override
    {
        ++events;
        if (onEvents) onEvents(events);
    }
    void windowShown(ui::Window which) override { windows.push_back("shown " + name(which)); }
    void windowChanged(ui::Window which) override { windows.push_back("changed " + name(which)); }
    void windowHidden(ui::Window which) override { windows.push_back("hidden " + name(which)); }
    void copyToClipboard(const std::string& text) override { clipboard = text; }

private:
    void log(const std::string& line)
    {
        if (sharedLog) sharedLog->push_back(line);
    }
    static std::string name(ui::Window which)
    {
        switch (which) {
        case ui::Window::Status: return "Status";
        case ui::Window::MonteCarloStatus: return "MonteCarloStatus";
        default: return "Error";
        }
    }
};

} // namespace varnex3::test
