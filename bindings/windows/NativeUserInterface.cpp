// bindings/windows/NativeUserInterface.cpp - message boxes, pending events, clipboard, waiting for the user.
#include "bindings/windows/NativeUserInterface.h"

#include <algorithm>
#include <cstring>

#include "bindings/windows/Wide.h"

namespace varnex3::windows {
namespace {

// In ms. A click is noticed soon enough, and candidates and trials cost little.
constexpr ULONGLONG kEventsEvery = 15, kRefreshEvery = 40, kRefreshAtLeastEvery = 250;

/// The last resort for a text that no window can show.
void writeToErrorStream(const std::string& text)
{
    const std::string line = text + "\r\n";
    DWORD written = 0;
    const HANDLE stream = GetStdHandle(STD_ERROR_HANDLE);
    if (stream && stream != INVALID_HANDLE_VALUE)
        WriteFile(stream, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    OutputDebugStringW(wide(line).c_str());
}

/// Another program may hold the clipboard for a moment.
bool openClipboard(HWND owner)
{
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (OpenClipboard(owner)) return true;
        Sleep(10);
    }
    return false;
}

bool putOnClipboard(HWND owner, const std::wstring& text)
{
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (!memory) return false;
    std::memcpy(GlobalLock(memory), text.c_str(), bytes);
    GlobalUnlock(memory);
    if (openClipboard(owner)) {
        const bool put = EmptyClipboard() && SetClipboardData(CF_UNICODETEXT, memory);
        CloseClipboard();
        if (put) return true; // the memory is the clipboard's now
    }
    GlobalFree(memory);
    return false;
}

} // namespace

NativeUserInterface::~NativeUserInterface()
{
    for (NativeWindow* window :
         {static_cast<NativeWindow*>(&status_), static_cast<NativeWindow*>(&monteCarlo_),
          static_cast<NativeWindow*>(&error_)})
        window->destroy();
    NativeWindow::unregisterClass();
}

ui::Answer NativeUserInterface::messageBox(const std::string& text, ui::Buttons buttons,
                                           const std::string& title)
{
    refreshAll();
    const bool question = buttons == ui::Buttons::YesNo;
    const UINT kind = question ? MB_YESNO | MB_ICONQUESTION : MB_OK | MB_ICONINFORMATION;
    const int answer =
        MessageBoxW(GetActiveWindow(), wide(text).c_str(), wide(title).c_str(), kind | MB_SETFOREGROUND);
    if (answer <= 0) writeToErrorStream(title.empty() ? text : title + ": " + text); // no display
    if (!question) return ui::Answer::Ok;
    return answer == IDYES ? ui::Answer::Yes : ui::Answer::No;
}

void NativeUserInterface::beep() { MessageBeep(MB_OK); }

void NativeUserInterface::processEvents()
{
    const ULONGLONG now = GetTickCount64();
    if (now - lastEvents_ < kEventsEvery) return;
    lastEvents_ = now;
    if (now >= nextRefresh_) refreshAll();
    handlePending();
}

/// On a slow display most of the time still goes to the work.
void NativeUserInterface::refreshAll()
{
    const ULONGLONG began = GetTickCount64();
    for (NativeWindow* window :
         {static_cast<NativeWindow*>(&status_), static_cast<NativeWindow*>(&monteCarlo_)}) {
        if (!window->handle() || !IsWindowVisible(window->handle())) continue;
        window->refresh();
        RedrawWindow(window->handle(), nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    }
    const ULONGLONG ended = GetTickCount64();
    nextRefresh_ = ended + std::clamp(4 * (ended - began), kRefreshEvery, kRefreshAtLeastEvery);
}

void NativeUserInterface::handlePending()
{
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) { // the program's own loop must see it
            PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
        handleMessage(message);
    }
}

/// Tab, Enter and Esc work in our windows as in dialogs.
void NativeUserInterface::handleMessage(MSG& message)
{
    for (const HWND window : {status_.handle(), monteCarlo_.handle(), error_.handle()})
        if (window && IsDialogMessageW(window, &message)) return;
    TranslateMessage(&message);
    DispatchMessageW(&message);
}

NativeWindow& NativeUserInterface::windowOf(ui::Window which)
{
    switch (which) {
    case ui::Window::Status: return status_;
    case ui::Window::MonteCarloStatus: return monteCarlo_;
    default: return error_;
    }
}

void NativeUserInterface::windowShown(ui::Window which)
{
    const HWND owner = GetActiveWindow();
    const bool shown = windowOf(which).show();
    if (which != ui::Window::Error) {
        if (shown) handlePending();
        return;
    }
    if (!shown) {
        writeToErrorStream(errorWindow().Label1);
        errorWindow().OKButton_Click();
        return;
    }
    beep();
    if (owner) EnableWindow(owner, FALSE); // as for a message box
    waitForError();
    if (owner) EnableWindow(owner, TRUE);
    error_.destroy();
    if (owner) SetActiveWindow(owner);
}

void NativeUserInterface::waitForError()
{
    MSG message{};
    while (errorWindow().visible) {
        const BOOL got = GetMessageW(&message, nullptr, 0, 0);
        if (got <= 0) { // the program is ending
            if (got == 0) PostQuitMessage(static_cast<int>(message.wParam));
            writeToErrorStream(errorWindow().Label1);
            errorWindow().OKButton_Click();
            return;
        }
        handleMessage(message);
    }
}

/// A simulation announces every trial: what comes too fast is shown when events are processed.
void NativeUserInterface::windowChanged(ui::Window which)
{
    if (which == ui::Window::Error)
        error_.refresh();
    else if (statusWindow().cancelRequest || monteCarloStatusWindow().cancelRequest ||
             GetTickCount64() >= nextRefresh_)
        refreshAll();
}

void NativeUserInterface::windowHidden(ui::Window which)
{
    if (which == ui::Window::MonteCarloStatus) {
        monteCarlo_.destroy();
    } else {
        windowOf(which).hide(); // the error window is destroyed by whoever waits for it
    }
}

void NativeUserInterface::copyToClipboard(const std::string& text)
{
    if (!putOnClipboard(error_.handle(), wide(text)))
        messageBox("The clipboard is in use by another program. Please try again.", ui::Buttons::Ok,
                   "Corvane");
}

} // namespace varnex3::windows
