// ui/interface/UserInterface.cpp - the interface in use, and the silent one it starts with.
#include "ui/interface/UserInterface.h"

namespace varnex3::ui {
namespace {

class Silent final : public UserInterface {
public:
    Answer messageBox(const std::string&, Buttons buttons, const std::string&) override
    {
        return buttons == Buttons::Ok ? Answer::Ok : Answer::No;
    }
    void beep() override {}
    void processEvents() override {}
    void windowShown(Window) override {}
    void windowChanged(Window) override {}
    void windowHidden(Window) override {}
    void copyToClipboard(const std::string&) override {}
};

UserInterface*& current()
{
    static Silent silent;
    static UserInterface* inUse = &silent;
    if (!inUse) inUse = &silent;
    return inUse;
}

} // namespace

UserInterface& userInterface() { return *current(); }

void setUserInterface(UserInterface* installed) { current() = installed; }

void showMessage(const std::string& text, const std::string& title)
{
    userInterface().messageBox(text, Buttons::Ok, title);
}

} // namespace varnex3::ui
