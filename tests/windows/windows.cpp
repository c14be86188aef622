// Shows every window and box of the library and drives them as a user would, from a second thread.
//
//   windows.exe [folder for pictures]
//   windows.exe --no-display             where no window can be shown, texts must not get lost
//
// Checks what the library makes of clicks and keys. The closing line "end of windows" is printed when all
// was as expected.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "Beam.h"
#include "bindings/windows/Drawing.h"
#include "bindings/windows/NativeUserInterface.h"
#include "bindings/windows/Wide.h"
#include "optimizer/c_Optimization.h"
#include "runtime/Seeds.h"
#include "ui/Windows.h"

namespace varnex3::windows {
namespace {

LONG failures = 0;
std::string pictures; // folder; empty: none

void check(bool ok, const std::string& what)
{
    std::printf("%s %s\n", ok ? "ok    " : "FAILED", what.c_str());
    std::fflush(stdout);
    if (!ok) InterlockedIncrement(&failures);
}

/// The user: a thread that finds windows by their captions, looks at them, and clicks.
class User {
public:
    explicit User(std::function<void()> acts) : acts_(std::move(acts))
    {
        thread_ = CreateThread(
            nullptr, 0,
            [](void* self) -> DWORD {
                static_cast<User*>(self)->acts_();
                return 0;
            },
            this, 0, nullptr);
    }
    ~User()
    {
        check(WaitForSingleObject(thread_, 30000) == WAIT_OBJECT_0, "the user came to an end");
        CloseHandle(thread_);
    }
    User(const User&) = delete;
    User& operator=(const User&) = delete;

private:
    std::function<void()> acts_;
    HANDLE thread_;
};

template <class F>
bool waitUntil(F&& condition)
{
    for (int i = 0; i < 1000; ++i) {
        if (condition()) return true;
        Sleep(20);
    }
    return false;
}

/// A visible window. A user who waits in vain ends the program: nobody would answer what follows.
HWND waitForWindow(const wchar_t* kind, const wchar_t* caption)
{
    HWND window = nullptr;
    if (waitUntil(
            [&] { return (window = FindWindowW(kind, caption)) != nullptr && IsWindowVisible(window); }))
        return window;
    check(false, "a window " + narrow(caption) + " appears");
    ExitProcess(1);
}
HWND waitForBox(const wchar_t* caption) { return waitForWindow(L"#32770", caption); }

std::string contentsOf(HWND window)
{
    std::string all;
    EnumChildWindows(
        window,
        [](HWND child, LPARAM target) -> BOOL {
            std::wstring text(20000, L'\0');
            text.resize(static_cast<std::size_t>(
                SendMessageW(child, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
            *reinterpret_cast<std::string*>(target) += narrow(text) + "|";
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&all));
    return all;
}
bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

void click(HWND window, int id) { PostMessageW(GetDlgItem(window, id), BM_CLICK, 0, 0); }
void press(HWND window, int id, WPARAM key) { PostMessageW(GetDlgItem(window, id), WM_KEYDOWN, key, 0); }

/// The window as it is on the screen, as a bitmap file.
void photograph(HWND window, const std::string& name)
{
    if (pictures.empty()) return;
    Sleep(700); // what is on its way to the screen arrives
    RECT area{};
    GetWindowRect(window, &area);
    const int width = static_cast<int>(area.right - area.left),
              height = static_cast<int>(area.bottom - area.top);
    const HDC screen = GetDC(nullptr), memory = CreateCompatibleDC(screen);
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, width, height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, screen, static_cast<int>(area.left), static_cast<int>(area.top),
           SRCCOPY);
    GdiFlush();
    const DWORD size = static_cast<DWORD>(width) * static_cast<DWORD>(height) * 4;
    BITMAPFILEHEADER header{};
    header.bfType = 0x4D42; // "BM"
    header.bfOffBits = sizeof header + sizeof info.bmiHeader;
    header.bfSize = header.bfOffBits + size;
    if (std::FILE* file = std::fopen((pictures + "/" + name + ".bmp").c_str(), "wb")) {
        std::fwrite(&header, sizeof header, 1, file);
        std::fwrite(&info.bmiHeader, sizeof info.bmiHeader, 1, file);
        std::fwrite(bits, 1, size, file);
        std::fclose(file);
    }
    SelectObject(memory, before);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
}

std::string clipboardText()
{
    std::string text;
    if (!waitUntil([] { return OpenClipboard(nullptr) != 0; })) return text;
    if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
        text = narrow(static_cast<const wchar_t*>(GlobalLock(data)));
        GlobalUnlock(data);
    }
    CloseClipboard();
    return text;
}

void optimizationCancelled()
{
    test::Beam beam;
    test::prepare(beam, 200, true);
    test::setGoals(beam, statsMethods::None);
    c_Options& options = *beam.f->Options;
    options.StopRule = stopRules::NoChange;
    options.MaxGens = 100000;
    options.GenSize = 20;
    options.Precision = 1e-5;
    const double start[] = {0.06, 0.12, 2.4};
    for (int i = 0; i < 3; ++i) beam.sheet.set("A" + std::to_string(i + 1), start[i]);
    beam.f->ItemX(2)->xType = xTypes::Continuous;
    beam.f->ItemC("strength")->Reqt = 4e6;
    beam.f->ItemG("light")->Target = 40.0;
    beam.f->ItemG("stiff")->Target = 0.1;
    beam.f->ItemG("stiff")->Weight = 1.0;
    beam.f->AddG("high");
    c_Goal& high = *beam.f->ItemG("high");
    high.y = beam.f->ItemY("pitch")->Formula;
    high.Aspect = "Mean";
    high.Oper = ">=";
    high.Target = 500.0;
    high.Priority = 3;
    high.Weight = 1.0;
    volatile LONG generations = 0;
    beam.host->macros["Book1.xlsx!Generation"] = [&](std::span<const Variant>) {
        const LONG n = InterlockedIncrement(&generations);
        Sleep(n < 13 ? 15 : n < 40 ? 100 : 0); // time to be looked at
        return Variant{};
    };
    beam.host->macros["Book1.xlsx!Final"] = [](std::span<const Variant>) { return Variant{}; };
    setSeedSource([] { return 1; });
    c_Optimization run;
    run.XLApplication(beam.host);
    run.CorvaneFileName("Book1.xlsx");
    run.PrintGenMacro("Generation");
    run.PrintFinalMacro("Final");

    bool ended = false;
    {
        const User user([&] {
            const HWND window = waitForWindow(kWindowClass, L"Corvane");
            check(waitUntil([&] { return generations >= 13; }), "generations are reported");
            photograph(window, "windows_optimization");
            const std::string contents = contentsOf(window);
            for (const char* part : {"generation", "Constraint Violation|", "Priority 3 Goals|",
                                     "Starting Value|", "Current Value|", "(zero is best)|",
                                     "Number of generations without improvement:|", "|Cancel|"})
                check(holds(contents, part), std::string("the window shows ") + part);
            RECT before{}, after{};
            GetClientRect(GetWindow(window, GW_CHILD), &before);
            SetWindowPos(window, nullptr, 0, 0, 900, 700, SWP_NOZORDER | SWP_NOMOVE);
            GetClientRect(GetWindow(window, GW_CHILD), &after);
            check(after.right > before.right, "the contents follow the window's size");
            click(window, IDCANCEL);
            const HWND box = waitForBox(L"Corvane");
            check(holds(contentsOf(box), "Keep best solution found so far?"),
                  "the library asks whether to keep the best");
            check(holds(contentsOf(window), "Canceling..."),
                  "the label tells that the run is being cancelled");
            check(!IsWindowEnabled(GetDlgItem(window, IDCANCEL)), "Cancel cannot be pressed again");
            photograph(box, "windows_question");
            PostMessageW(box, WM_COMMAND, IDYES, 0);
        });
        ended = run.Optimize(*beam.f, beam.mc);
    }
    check(ended && run.LastRun().cancelled && run.LastRun().keptBest,
          "the run ended, cancelled, with the best kept");
    check(!IsWindowVisible(FindWindowW(kWindowClass, L"Corvane")), "the window is hidden after the run");
}

void simulationCancelledByKey()
{
    test::Beam beam;
    test::prepare(beam, 4000, true);
    beam.f->Options->afterMacro = "Slow";
    beam.host->macros["Slow"] = [](std::span<const Variant>) {
        Sleep(1); // a workbook that takes its time
        return Variant{};
    };
    bool ended = true;
    {
        const User user([&] {
            const HWND window = waitForWindow(kWindowClass, L"Corvane Monte Carlo");
            check(waitUntil([] { return monteCarloStatusWindow().fraction > 0.4; }), "the bar grows");
            photograph(window, "windows_simulation");
            check(holds(contentsOf(window), "rial"), "the label counts trials: " + contentsOf(window));
            press(window, IDCANCEL, VK_ESCAPE);
            const HWND report = waitForWindow(kWindowClass, L"Corvane Error");
            check(holds(contentsOf(report), "Error 18:  User interrupt occurred"),
                  "the interrupt is reported");
            PostMessageW(report, WM_CLOSE, 0, 0);
        });
        ended = beam.mc.RunMC();
    }
    check(beam.mc.LastTrial() > 0 && beam.mc.LastTrial() < 4000,
          "Esc stopped the simulation after " + std::to_string(beam.mc.LastTrial()) + " trials");
    check(!ended, "RunMC answers False");
    check(!FindWindowW(kWindowClass, L"Corvane Monte Carlo"), "the window is gone after the run");
}

void errorReported()
{
    test::Beam beam;
    test::prepare(beam, 2000, true);
    beam.host->fail("Sheet1!$B$3.Value?", 700, errors::HostFailure,
                    "The workbook cannot be read: Träger!B3 is protected");
    bool ended = true;
    {
        const User user([&] {
            const HWND window = waitForWindow(kWindowClass, L"Corvane Error");
            photograph(window, "windows_error");
            const std::string contents = contentsOf(window);
            for (const char* part : {"Error 1004:  The workbook cannot be read", "Träger!B3",
                                     "in varnex3.c_MonteCarlo.RunMC at line ", "\r\nExcel version: 16.0",
                                     "\r\nWindows version: ", "|Copy Text to Clipboard|", "|OK|"})
                check(holds(contents, part), std::string("the report holds ") + part);
            click(window, kCopyButton);
            check(
                waitUntil([&] { return holds(contents, clipboardText() + "|") && !clipboardText().empty(); }),
                "the clipboard holds the whole report");
            click(window, IDOK);
        });
        ended = beam.mc.RunMC();
    }
    check(!ended, "RunMC answers False after an error");
    check(!FindWindowW(kWindowClass, L"Corvane Error") && errorWindow().Label1.empty(),
          "OK unloads the error window");
}

void boxes(ui::UserInterface& shown)
{
    for (const int id : {IDYES, IDNO, IDOK}) {
        const User user([&] {
            const HWND box = waitForBox(id == IDOK ? L"" : L"Monte Carlo");
            check(holds(contentsOf(box), "Größe µ ≤ 3"), "the box shows its text");
            PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(id), 0);
        });
        const bool question = id != IDOK;
        const ui::Answer answer = shown.messageBox(
            "Größe µ ≤ 3", question ? ui::Buttons::YesNo : ui::Buttons::Ok, question ? "Monte Carlo" : "");
        check(answer == (id == IDYES  ? ui::Answer::Yes
                         : id == IDNO ? ui::Answer::No
                                      : ui::Answer::Ok),
              "the answer arrives");
    }
}

void scales()
{
    struct Case {
        double highest, step, top;
    };
    for (const Case& c : {Case{0.0, 0.2, 1.0},
                          {1.0, 0.2, 1.0},
                          {7.3, 2.0, 8.0},
                          {0.00123, 0.00025, 0.00125},
                          {1e6, 2e5, 1e6},
                          {2.4e12, 5e11, 2.5e12}}) {
        const Scale scale = scaleFor(c.highest, 5);
        auto close = [](double a, double b) { return a > b * (1 - 1e-12) && a < b * (1 + 1e-12); };
        check(close(scale.step, c.step) && close(scale.top, c.top), "axis to " + std::to_string(c.highest));
    }
}

void withoutDisplay(ui::UserInterface& shown)
{
    check(shown.messageBox("A question", ui::Buttons::YesNo, "Corvane") == ui::Answer::No, "nobody says yes");
    errorWindow().Initialize("A report");
    check(!errorWindow().visible, "nobody is waited for");
}

} // namespace
} // namespace varnex3::windows

int main(int argc, char** argv)
{
    using namespace varnex3::windows;
    NativeUserInterface shown;
    varnex3::ui::setUserInterface(&shown);
    if (argc > 1 && std::strcmp(argv[1], "--no-display") == 0) {
        withoutDisplay(shown);
    } else {
        if (argc > 1) pictures = argv[1];
        scales();
        optimizationCancelled();
        simulationCancelledByKey();
        errorReported();
        boxes(shown);
    }
    varnex3::ui::setUserInterface(nullptr);
    if (failures == 0) std::printf("end of windows\n");
    return failures == 0 ? 0 : 1;
}
