// cli/Terminal.h - the user interface of the library on a terminal, and Ctrl-C as its Cancel button.
//
// Progress and questions go to standard error; nothing here writes to standard output.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "ui/interface/UserInterface.h"

namespace varnex3::cli {

/// What the program answers when the library asks whether to keep the best solution found so far.
enum class OnCancel { Ask, Keep, Restore };

struct TerminalSettings {
    bool quiet = false;                // no progress, no notices
    OnCancel onCancel = OnCancel::Ask; // Ask: only where somebody can be asked, else Keep
};

class Terminal final : public ui::UserInterface {
public:
    explicit Terminal(TerminalSettings settings);
    ~Terminal() override;
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    ui::Answer messageBox(const std::string& text, ui::Buttons buttons, const std::string& title) override;
    void beep() override;
    void processEvents() override;
    void windowShown(ui::Window which) override;
    void windowChanged(ui::Window which) override;
    void windowHidden(ui::Window which) override;
    void copyToClipboard(const std::string& text) override;

    /// The text of the error window, when it was shown.
    const std::optional<std::string>& errorReport() const { return errorReport_; }
    /// Whether the user asked to stop.
    bool cancelled() const { return cancelled_; }
    /// Status steps so far; an optimization makes one per evaluated candidate.
    long long statusSteps() const { return statusSteps_; }

private:
    using Clock = std::chrono::steady_clock;

    void showProgress(bool generationDone);
    void drawLive();
    void eraseLive();
    void printLine(bool force);
    void printTrials();
    ui::Answer ask(const std::string& text);

    TerminalSettings settings_;
    bool live_; // standard error is a terminal that can be redrawn
    int drawnLines_ = 0;
    Clock::time_point started_ = Clock::now();
    Clock::time_point lastDrawn_{};
    std::string lastLine_;
    std::optional<std::string> errorReport_;
    bool cancelled_ = false;
    long long statusSteps_ = 0;
};

} // namespace varnex3::cli
