// Runs a program and plays its user: presses the first button of every message box, closes error reports,
// and prints what the boxes said.
//
//   answer.exe program [argument...]
#include <windows.h>

#include <cstdio>
#include <string>

namespace {

DWORD program = 0; // only its windows are touched

std::string captionOf(HWND window)
{
    char text[1024] = "";
    SendMessageTimeoutA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG,
                        1000, nullptr);
    return text;
}

BOOL CALLBACK answer(HWND window, LPARAM)
{
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    if (owner != program || !IsWindowVisible(window)) return TRUE;
    char kind[64] = "";
    GetClassNameA(window, kind, sizeof kind);
    const std::string caption = captionOf(window);
    if (std::string(kind) == "#32770") {
        const HWND button = FindWindowExA(window, nullptr, "Button", nullptr);
        const HWND text = GetDlgItem(window, 0xFFFF);
        if (!button || !text) return TRUE; // not complete yet
        std::printf("box %s: %s\n", caption.c_str(), captionOf(text).c_str());
        SendMessageTimeoutA(window, WM_COMMAND, static_cast<WPARAM>(GetDlgCtrlID(button)), 0,
                            SMTO_ABORTIFHUNG, 1000, nullptr);
    } else if (caption == "Corvane Error") {
        std::printf("report\n");
        PostMessageA(window, WM_CLOSE, 0, 0);
    }
    return TRUE;
}

} // namespace

int main(int count, char** arguments)
{
    std::string line;
    for (int i = 1; i < count; ++i) line += std::string(i > 1 ? " " : "") + arguments[i];
    STARTUPINFOA start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION made{};
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &made)) {
        std::printf("FAILED to run %s\n", line.c_str());
        return 1;
    }
    program = made.dwProcessId;
    while (WaitForSingleObject(made.hProcess, 20) == WAIT_TIMEOUT) EnumWindows(answer, 0);
    std::printf("end of answers\n");
}
