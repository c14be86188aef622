// bindings/windows/NativeWindows.h - the three windows as Windows shows them.
//
// Each draws what its view model (ui/Windows.h) holds and hands clicks back to it; none knows the library
// beyond that. Lengths are given for 96 dots per inch and scaled to the screen's.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "ui/Windows.h"

namespace varnex3::windows {

/// A top-level window of our class with labels and buttons. The window itself is made by the first `show`.
class NativeWindow {
public:
    virtual ~NativeWindow() { destroy(); }
    NativeWindow(const NativeWindow&) = delete;
    NativeWindow& operator=(const NativeWindow&) = delete;

    /// False when there is no display to show it on.
    bool show();
    void hide();
    void destroy();
    /// Brings labels and drawings up to the model.
    virtual void refresh() = 0;
    HWND handle() const { return window_; }

    static void registerClass();
    static void unregisterClass(); // a library must before it unloads

protected:
    struct Look {
        const wchar_t* caption;
        DWORD style;
        SIZE client, least; // at 96 dots per inch; least: of the client area, when it can be resized
    };
    explicit NativeWindow(const Look& look) : look_(look) {}

    virtual void create() = 0;                      // adds the controls
    virtual void layout(int width, int height) = 0; // places them
    virtual void clicked(int id) = 0;               // IDCANCEL also stands for Esc and the close box
    virtual bool draw(const DRAWITEMSTRUCT&) { return false; }
    virtual bool onPaper(HWND) const
    {
        return false;
    } // a text on the background of documents, not of dialogs

    int px(int length) const { return MulDiv(length, dpi_, 96); }
    int dpi() const { return dpi_; }
    HFONT font() const { return font_; }
    int lineHeight() const { return lineHeight_; }
    int widthOf(const std::wstring& text) const;
    HWND add(const wchar_t* kind, DWORD style, const std::wstring& text = {}, int id = 0, DWORD extended = 0);
    HWND label(const std::wstring& text = {}, DWORD alignment = SS_LEFT);
    HWND button(const std::wstring& text, int id, bool standard); // the standard one has the focus at first
    static void place(HWND control, int x, int y, int width, int height);
    /// Changes a text only when it differs: nothing flickers.
    static void set(HWND control, const std::string& text);

private:
    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT handleMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void makeFont();
    void relayout();
    SIZE outer(const SIZE& client) const;

    Look look_;
    HWND window_ = nullptr;
    HWND focus_ = nullptr; // where the keyboard is when the window is active
    HFONT font_ = nullptr;
    int dpi_ = 96, lineHeight_ = 16;
    std::vector<HWND> controls_;
};

/// The progress of an optimization: status, chart, table of scores, Cancel.
class StatusWindow final : public NativeWindow {
public:
    StatusWindow();
    void refresh() override;

private:
    void create() override;
    void layout(int width, int height) override;
    void clicked(int id) override;
    bool draw(const DRAWITEMSTRUCT& item) override;

    HWND status_ = nullptr, chart_ = nullptr, zero_[2]{}, heads_[2]{}, rows_[4]{}, first_[4]{}, current_[4]{};
    HWND countLabel_ = nullptr, count_ = nullptr, cancel_ = nullptr;
    std::deque<alg_f_Status::ChartRow> shown_; // what the chart shows
};

/// The progress of a simulation: status, bar, Cancel.
class MonteCarloWindow final : public NativeWindow {
public:
    MonteCarloWindow();
    void refresh() override;

private:
    void create() override;
    void layout(int width, int height) override;
    void clicked(int id) override;
    bool draw(const DRAWITEMSTRUCT& item) override;

    HWND status_ = nullptr, bar_ = nullptr, cancel_ = nullptr;
    double shown_ = -1.0;
};

/// An error report, whole and selectable, with its two buttons.
class ErrorWindow final : public NativeWindow {
public:
    ErrorWindow();
    void refresh() override;

private:
    void create() override;
    void layout(int width, int height) override;
    void clicked(int id) override;

    bool onPaper(HWND control) const override { return control == report_; }

    HWND report_ = nullptr, copy_ = nullptr, ok_ = nullptr;
};

inline constexpr int kCopyButton = 101;
inline constexpr const wchar_t* kWindowClass = L"CorvaneWindow";

} // namespace varnex3::windows
