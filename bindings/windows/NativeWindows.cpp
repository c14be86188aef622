// bindings/windows/NativeWindows.cpp - controls, layout and messages of the three windows.
#include "bindings/windows/NativeWindows.h"

#include <algorithm>
#include <cstddef>

#include "bindings/windows/Drawing.h"
#include "bindings/windows/Wide.h"
#include "runtime/Error.h"

namespace varnex3::windows {
namespace {

constexpr DWORD kFixed = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
constexpr DWORD kResizable = kFixed | WS_THICKFRAME | WS_MAXIMIZEBOX;
constexpr int kMargin = 14, kButtonWidth = 92, kButtonHeight = 28;

HINSTANCE ownModule()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       kWindowClass, &module);
    return module;
}

/// Message procedures are called by the system, which an error must not pass through.
template <class F>
void shielded(F&& work)
{
    attemptInHandler(std::forward<F>(work));
}

} // namespace

void NativeWindow::registerClass()
{
    WNDCLASSEXW description{};
    description.cbSize = sizeof description;
    description.lpfnWndProc = procedure;
    description.hInstance = ownModule();
    description.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512)); // the arrow
    description.hIcon = LoadIconW(nullptr, MAKEINTRESOURCEW(32512));     // the system's own for programs
    description.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    description.lpszClassName = kWindowClass;
    RegisterClassExW(&description);
}

void NativeWindow::unregisterClass() { UnregisterClassW(kWindowClass, ownModule()); }

bool NativeWindow::show()
{
    if (!window_) {
        registerClass(); // does nothing when it is
        window_ = CreateWindowExW(WS_EX_CONTROLPARENT, kWindowClass, look_.caption, look_.style,
                                  CW_USEDEFAULT, CW_USEDEFAULT, px(look_.client.cx), px(look_.client.cy),
                                  nullptr, nullptr, ownModule(), this);
        if (!window_) return false;
        makeFont();
        create();
        const SIZE size =
            outer({px(static_cast<int>(look_.client.cx)), px(static_cast<int>(look_.client.cy))});
        RECT desk{};
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &desk, 0);
        const int x = std::max(0, static_cast<int>(desk.left + desk.right - size.cx) / 2);
        const int y = std::max(0, static_cast<int>(desk.top + desk.bottom - size.cy) / 3);
        SetWindowPos(window_, nullptr, x, y, static_cast<int>(size.cx), static_cast<int>(size.cy),
                     SWP_NOZORDER | SWP_NOACTIVATE);
        relayout();
    }
    refresh();
    ShowWindow(window_, SW_SHOWNORMAL);
    SetForegroundWindow(window_);
    RedrawWindow(window_, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    return true;
}

void NativeWindow::hide()
{
    if (window_) ShowWindow(window_, SW_HIDE);
}

void NativeWindow::destroy()
{
    if (const HWND window = window_) {
        window_ = nullptr;
        controls_.clear();
        focus_ = nullptr;
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        DestroyWindow(window);
    }
    if (font_) DeleteObject(font_);
    font_ = nullptr;
}

LRESULT CALLBACK NativeWindow::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_NCCREATE) {
        const auto* created = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        auto* self = static_cast<NativeWindow*>(created->lpCreateParams);
        self->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<NativeWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self ? self->handleMessage(message, wParam, lParam)
                : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT NativeWindow::handleMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    constexpr UINT kDpiChanged = 0x02E0;
    switch (message) {
    case WM_SIZE: relayout(); return 0;
    case WM_GETMINMAXINFO: {
        const SIZE least =
            outer({px(static_cast<int>(look_.least.cx)), px(static_cast<int>(look_.least.cy))});
        reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {least.cx, least.cy};
        return 0;
    }
    case WM_ACTIVATE:
        if (LOWORD(wParam) == WA_INACTIVE) {
            const HWND focus = GetFocus();
            if (focus && IsChild(window_, focus)) focus_ = focus;
        }
        return DefWindowProcW(window_, message, wParam, lParam);
    case WM_SETFOCUS: SetFocus(focus_); return 0;
    case WM_COMMAND:
        if (HIWORD(wParam) == BN_CLICKED) shielded([&] { clicked(LOWORD(wParam)); });
        return 0;
    case WM_CTLCOLORSTATIC:
        if (!onPaper(reinterpret_cast<HWND>(lParam))) return DefWindowProcW(window_, message, wParam, lParam);
        SetTextColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_WINDOWTEXT));
        SetBkColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_WINDOW));
        return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
    case WM_CLOSE: shielded([&] { clicked(IDCANCEL); }); return 0;
    case WM_DRAWITEM: return draw(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam)) ? TRUE : FALSE;
    case kDpiChanged: {
        const auto* place = reinterpret_cast<const RECT*>(lParam);
        dpi_ = LOWORD(wParam);
        makeFont();
        for (const HWND control : controls_)
            SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
        SetWindowPos(window_, nullptr, static_cast<int>(place->left), static_cast<int>(place->top),
                     static_cast<int>(place->right - place->left),
                     static_cast<int>(place->bottom - place->top), SWP_NOZORDER | SWP_NOACTIVATE);
        relayout();
        InvalidateRect(window_, nullptr, TRUE);
        return 0;
    }
    default: return DefWindowProcW(window_, message, wParam, lParam);
    }
}

/// The font of the system's message boxes, at this window's resolution.
void NativeWindow::makeFont()
{
    const HDC dc = GetDC(window_);
    const int systemDpi = GetDeviceCaps(dc, LOGPIXELSY);
    if (!font_) dpi_ = systemDpi;
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    metrics.lfMessageFont.lfHeight =
        MulDiv(static_cast<int>(metrics.lfMessageFont.lfHeight), dpi_, systemDpi);
    if (font_) DeleteObject(font_);
    font_ = CreateFontIndirectW(&metrics.lfMessageFont);
    const HGDIOBJ before = SelectObject(dc, font_);
    SIZE size{};
    GetTextExtentPoint32W(dc, L"Xg", 2, &size);
    lineHeight_ = static_cast<int>(size.cy);
    SelectObject(dc, before);
    ReleaseDC(window_, dc);
}

void NativeWindow::relayout()
{
    RECT client{};
    if (controls_.empty() || !GetClientRect(window_, &client) || IsIconic(window_)) return;
    layout(static_cast<int>(client.right), static_cast<int>(client.bottom));
}

SIZE NativeWindow::outer(const SIZE& client) const
{
    RECT area{0, 0, client.cx, client.cy};
    AdjustWindowRectEx(&area, look_.style, FALSE, WS_EX_CONTROLPARENT);
    return {area.right - area.left, area.bottom - area.top};
}

int NativeWindow::widthOf(const std::wstring& text) const
{
    const HDC dc = GetDC(window_);
    const HGDIOBJ before = SelectObject(dc, font_);
    SIZE size{};
    GetTextExtentPoint32W(dc, text.data(), static_cast<int>(text.size()), &size);
    SelectObject(dc, before);
    ReleaseDC(window_, dc);
    return static_cast<int>(size.cx);
}

HWND NativeWindow::add(const wchar_t* kind, DWORD style, const std::wstring& text, int id, DWORD extended)
{
    const HWND control =
        CreateWindowExW(extended, kind, text.c_str(), WS_CHILD | WS_VISIBLE | style, 0, 0, 10, 10, window_,
                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), ownModule(), nullptr);
    SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
    controls_.push_back(control);
    return control;
}

HWND NativeWindow::label(const std::wstring& text, DWORD alignment)
{
    return add(L"STATIC", alignment | SS_NOPREFIX, text);
}

HWND NativeWindow::button(const std::wstring& text, int id, bool standard)
{
    const DWORD kind = standard ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
    const HWND control = add(L"BUTTON", kind | WS_TABSTOP, text, id);
    if (standard) focus_ = control;
    return control;
}

void NativeWindow::place(HWND control, int x, int y, int width, int height)
{
    SetWindowPos(control, nullptr, x, y, std::max(0, width), std::max(0, height),
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void NativeWindow::set(HWND control, const std::string& text)
{
    const std::wstring wanted = wide(text);
    if (textOf(control) != wanted) SetWindowTextW(control, wanted.c_str());
}

// --- Optimization

StatusWindow::StatusWindow()
    : NativeWindow({L"Corvane", kResizable | WS_CLIPCHILDREN, {640, 520}, {440, 400}})
{}

void StatusWindow::create()
{
    status_ = label({}, SS_LEFT | SS_ENDELLIPSIS);
    zero_[0] = label(L"(zero is best)", SS_RIGHT);
    chart_ = add(L"STATIC", SS_OWNERDRAW);
    zero_[1] = label(L"(zero is best)");
    heads_[0] = label(L"Starting Value", SS_RIGHT);
    heads_[1] = label(L"Current Value", SS_RIGHT);
    const wchar_t* const names[] = {L"Constraint Violation", L"Priority 1 Goals", L"Priority 2 Goals",
                                    L"Priority 3 Goals"};
    for (int i = 0; i < 4; ++i) {
        rows_[i] = label(names[i]);
        first_[i] = label({}, SS_RIGHT);
        current_[i] = label({}, SS_RIGHT);
    }
    countLabel_ = label(L"Number of generations without improvement:");
    count_ = label();
    cancel_ = button(L"Cancel", IDCANCEL, true);
}

void StatusWindow::layout(int width, int height)
{
    const int margin = px(kMargin), line = lineHeight(), row = line + px(4), gap = px(10);
    const int zeroWidth = widthOf(L"(zero is best)") + px(4);
    place(status_, margin, margin, width - 2 * margin - zeroWidth - gap, line);
    place(zero_[0], width - margin - zeroWidth, margin, zeroWidth, line);

    const int buttonTop = height - margin - px(kButtonHeight);
    const int tableTop = buttonTop - gap - 5 * row;
    const int chartTop = margin + line + px(8);
    place(chart_, margin, chartTop, width - 2 * margin, tableTop - gap - chartTop);

    const int names = widthOf(L"Constraint Violation") + px(24);
    const int column = std::clamp((width - 2 * margin - names) / 2, px(80), px(170));
    auto placeRow = [&](int i, HWND name, HWND left, HWND right) {
        const int y = tableTop + i * row;
        place(name, margin, y, names, line);
        place(left, margin + names, y, column, line);
        place(right, margin + names + column, y, column, line);
    };
    placeRow(0, zero_[1], heads_[0], heads_[1]);
    for (int i = 0; i < 4; ++i) placeRow(i + 1, rows_[i], first_[i], current_[i]);

    const int countTop = buttonTop + (px(kButtonHeight) - line) / 2;
    const int countWidth = widthOf(L"Number of generations without improvement:") + px(6);
    place(countLabel_, margin, countTop, countWidth, line);
    place(count_, margin + countWidth, countTop, width - 3 * margin - countWidth - px(kButtonWidth), line);
    place(cancel_, width - margin - px(kButtonWidth), buttonTop, px(kButtonWidth), px(kButtonHeight));
    InvalidateRect(chart_, nullptr, FALSE);
}

void StatusWindow::refresh()
{
    if (!handle()) return;
    const alg_f_Status& model = statusWindow();
    set(status_, model.statusLabel);
    for (std::size_t i = 0; i < 4; ++i) {
        set(first_[i], model.lblInitVals[i]);
        set(current_[i], model.lblCurrVals[i]);
    }
    set(count_, model.lblBestCount);
    EnableWindow(cancel_, !model.cancelRequest);
    const bool same =
        std::equal(shown_.begin(), shown_.end(), model.chart.begin(), model.chart.end(),
                   [](const auto& a, const auto& b) { return a.label == b.label && a.values == b.values; });
    if (same) return;
    shown_ = model.chart;
    InvalidateRect(chart_, nullptr, FALSE);
}

void StatusWindow::clicked(int id)
{
    if (id == IDCANCEL && !statusWindow().cancelRequest) statusWindow().CancelButton_Click();
}

bool StatusWindow::draw(const DRAWITEMSTRUCT& item)
{
    if (item.hwndItem != chart_) return false;
    const Buffered canvas(item.hDC, item.rcItem);
    drawChart(canvas.dc(), item.rcItem, font(), dpi(), statusWindow());
    FrameRect(canvas.dc(), &item.rcItem, GetSysColorBrush(COLOR_BTNSHADOW));
    return true;
}

// --- Simulation

MonteCarloWindow::MonteCarloWindow()
    : NativeWindow({L"Corvane Monte Carlo", kFixed | WS_CLIPCHILDREN, {420, 128}, {420, 128}})
{}

void MonteCarloWindow::create()
{
    status_ = label({}, SS_LEFT | SS_ENDELLIPSIS);
    bar_ = add(L"STATIC", SS_OWNERDRAW);
    cancel_ = button(L"Cancel", IDCANCEL, true);
    shown_ = -1.0;
}

void MonteCarloWindow::layout(int width, int height)
{
    const int margin = px(kMargin), line = lineHeight();
    place(status_, margin, margin, width - 2 * margin, line);
    place(bar_, margin, margin + line + px(8), width - 2 * margin, px(22));
    place(cancel_, width - margin - px(kButtonWidth), height - margin - px(kButtonHeight), px(kButtonWidth),
          px(kButtonHeight));
}

void MonteCarloWindow::refresh()
{
    if (!handle()) return;
    const alg_f_MonteCarloStatus& model = monteCarloStatusWindow();
    set(status_, model.statusLabel);
    EnableWindow(cancel_, !model.cancelRequest);
    if (shown_ == model.fraction) return;
    shown_ = model.fraction;
    InvalidateRect(bar_, nullptr, FALSE);
}

void MonteCarloWindow::clicked(int id)
{
    if (id == IDCANCEL && !monteCarloStatusWindow().cancelRequest)
        monteCarloStatusWindow().CancelButton_Click();
}

bool MonteCarloWindow::draw(const DRAWITEMSTRUCT& item)
{
    if (item.hwndItem != bar_) return false;
    const Buffered canvas(item.hDC, item.rcItem);
    FrameRect(canvas.dc(), &item.rcItem, GetSysColorBrush(COLOR_BTNSHADOW));
    RECT inside = item.rcItem;
    InflateRect(&inside, -1, -1);
    drawBar(canvas.dc(), inside, monteCarloStatusWindow().fraction);
    return true;
}

// --- Error

ErrorWindow::ErrorWindow()
    : NativeWindow({L"Corvane Error", kResizable | WS_CLIPCHILDREN, {600, 260}, {400, 160}})
{}

void ErrorWindow::create()
{
    report_ = add(L"EDIT", ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL | WS_TABSTOP, {}, 0,
                  WS_EX_CLIENTEDGE);
    SendMessageW(report_, EM_SETLIMITTEXT, 0, 0);
    copy_ = button(L"Copy Text to Clipboard", kCopyButton, false);
    ok_ = button(L"OK", IDOK, true);
}

void ErrorWindow::layout(int width, int height)
{
    const int margin = px(kMargin), buttonTop = height - margin - px(kButtonHeight);
    place(report_, margin, margin, width - 2 * margin, buttonTop - margin - px(10));
    SendMessageW(report_, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELPARAM(px(6), px(6)));
    place(copy_, margin, buttonTop, widthOf(L"Copy Text to Clipboard") + px(28), px(kButtonHeight));
    place(ok_, width - margin - px(kButtonWidth), buttonTop, px(kButtonWidth), px(kButtonHeight));
}

void ErrorWindow::refresh()
{
    if (handle()) set(report_, errorWindow().Label1);
}

void ErrorWindow::clicked(int id)
{
    if (id == kCopyButton) errorWindow().CopyButton_Click();
    if (id == IDOK || id == IDCANCEL) errorWindow().OKButton_Click();
}

} // namespace varnex3::windows
