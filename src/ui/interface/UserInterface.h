// ui/interface/UserInterface.h - what the library asks of whoever stands in front of it.
//
// Message boxes answer through it; windows are plain view models (ui/Windows.h) that it may draw.
// The library itself prints nothing.
#pragma once

#include <string>

#include "runtime/Error.h"

namespace varnex3::ui {

enum class Buttons { Ok, YesNo };
enum class Answer { Ok, Yes, No };

/// The windows of the library, for `showWindow` and the like.
enum class Window { Status, MonteCarloStatus, Error };

class UserInterface {
public:
    virtual ~UserInterface() = default;

    /// Shows `text` and waits. An empty title stands for none. `Ok` boxes answer Ok.
    virtual Answer messageBox(const std::string& text, Buttons buttons, const std::string& title) = 0;
    virtual void beep() = 0;
    /// Lets pending user events happen; a click on a Cancel button is noticed here. The status step of an
    /// optimization calls it for every candidate and does not announce its new label with windowChanged:
    /// read the label here, as often as the display wants.
    virtual void processEvents() = 0;
    /// A window became visible, changed, or went away. Its contents are read from its view model.
    virtual void windowShown(Window which) = 0;
    virtual void windowChanged(Window which) = 0;
    virtual void windowHidden(Window which) = 0;
    virtual void copyToClipboard(const std::string& text) = 0;
};

/// The interface in use. Until one is installed, a silent one that answers Ok and No.
UserInterface& userInterface();

/// Installs one (not owned); null puts the silent one back.
void setUserInterface(UserInterface* installed);

/// A message box with one OK button.
void showMessage(const std::string& text, const std::string& title = {});

} // namespace varnex3::ui
