// cli/Terminal.cpp - live status on a terminal, plain lines elsewhere, and the interrupt key.
#include "Terminal.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <unistd.h>

#include <fmt/format.h>

#include "ui/Windows.h"

namespace varnex3::cli {
namespace {

using namespace std::chrono_literals;

constexpr auto kRedrawEvery = 100ms; // ten pictures a second are as good as more
constexpr auto kLineEvery = 1000ms;

volatile std::sig_atomic_t interrupts = 0;

/// The first Ctrl-C is the Cancel button; the second ends the program at once.
void onInterrupt(int)
{
    interrupts = interrupts + 1;
    if (interrupts > 1) {
        constexpr std::string_view kGoodbye = "\nStopped.\n";
        [[maybe_unused]] const auto written = write(STDERR_FILENO, kGoodbye.data(), kGoodbye.size());
        _exit(130);
    }
}

void installInterrupt(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0; // a blocking read is interrupted, so that a question can be answered by Ctrl-C
    sigaction(SIGINT, &action, nullptr);
}

std::string bar(double fraction, int width)
{
    const int full = static_cast<int>(fraction * width + 0.5);
    return std::string(static_cast<std::size_t>(full), '#') +
           std::string(static_cast<std::size_t>(width - full), '.');
}

std::string duration(double seconds)
{
    const auto s = static_cast<long long>(seconds);
    if (s < 60) return fmt::format("{:.1f} s", seconds);
    if (s < 3600) return fmt::format("{}:{:02} min", s / 60, s % 60);
    return fmt::format("{}:{:02}:{:02} h", s / 3600, s / 60 % 60, s % 60);
}

} // namespace

Terminal::Terminal(TerminalSettings settings)
    : settings_(settings), live_(isatty(STDERR_FILENO) != 0 && std::getenv("TERM") != nullptr &&
                                 std::string_view(std::getenv("TERM")) != "dumb")
{
    interrupts = 0;
    installInterrupt(onInterrupt);
    ui::setUserInterface(this);
}

Terminal::~Terminal()
{
    eraseLive();
    ui::setUserInterface(nullptr);
    installInterrupt(SIG_DFL);
}

ui::Answer Terminal::messageBox(const std::string& text, ui::Buttons buttons, const std::string& title)
{
    eraseLive();
    if (buttons == ui::Buttons::YesNo) return ask(text);
    // The closing notice of a run only repeats what the results say.
    if (!settings_.quiet && text != "Optimization run is complete.")
        fmt::print(stderr, "{}{}{}\n", title, title.empty() ? "" : ": ", text);
    return ui::Answer::Ok;
}

ui::Answer Terminal::ask(const std::string& text)
{
    if (settings_.onCancel == OnCancel::Ask && isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0) {
        for (;;) {
            fmt::print(stderr, "{} [y/n] ", text);
            char answer[64];
            if (!std::fgets(answer, sizeof answer, stdin)) break; // end of input: keep
            if (answer[0] == 'y' || answer[0] == 'Y') break;
            if (answer[0] == 'n' || answer[0] == 'N') return ui::Answer::No;
        }
    } else if (settings_.onCancel == OnCancel::Restore) {
        return ui::Answer::No;
    }
    return ui::Answer::Yes;
}

void Terminal::beep()
{
    if (live_ && !settings_.quiet) std::fputc('\a', stderr);
}

void Terminal::processEvents()
{
    ++statusSteps_;
    if (interrupts > 0 && !cancelled_) {
        cancelled_ = true;
        alg_f_Status& status = statusWindow();
        alg_f_MonteCarloStatus& monteCarlo = monteCarloStatusWindow();
        if (status.visible) status.CancelButton_Click();
        if (monteCarlo.visible) monteCarlo.CancelButton_Click();
        return;
    }
    // The clock is read once in 64 steps: a step of a small model takes less than reading it.
    if (!settings_.quiet && live_ && statusSteps_ % 64 == 0) showProgress(false);
}

void Terminal::windowShown(ui::Window which)
{
    if (which == ui::Window::Error) {
        errorReport_ = errorWindow().Label1;
        eraseLive();
    } else {
        started_ = Clock::now();
    }
}

void Terminal::windowChanged(ui::Window which)
{
    if (which == ui::Window::Error) {
        errorReport_ = errorWindow().Label1;
    } else if (!settings_.quiet) {
        // The first batch is drawn before the first trial and says nothing about the rate of the trials.
        if (which == ui::Window::MonteCarloStatus && statusSteps_ <= 1) started_ = Clock::now();
        showProgress(which == ui::Window::Status);
    }
}

void Terminal::windowHidden(ui::Window which)
{
    if (which == ui::Window::Error) return;
    eraseLive();
    if (!live_ && !settings_.quiet && which == ui::Window::Status) printLine(true);
}

void Terminal::copyToClipboard(const std::string&) {} // a terminal has its own way to copy

void Terminal::showProgress(bool generationDone)
{
    if (live_) {
        if (Clock::now() - lastDrawn_ >= kRedrawEvery) drawLive();
    } else if (generationDone && statusWindow().visible) {
        printLine(false);
    } else if (monteCarloStatusWindow().visible) {
        printTrials();
    }
}

void Terminal::drawLive()
{
    lastDrawn_ = Clock::now();
    const double seconds = std::chrono::duration<double>(lastDrawn_ - started_).count();
    const double rate = seconds > 0 ? static_cast<double>(statusSteps_) / seconds : 0.0;
    const alg_f_Status& status = statusWindow();
    const alg_f_MonteCarloStatus& monteCarlo = monteCarloStatusWindow();

    std::string text;
    int lines = 0;
    const auto line = [&](const std::string& content) {
        text += "\x1b[2K" + content.substr(0, 78) + "\n"; // erase the old line first
        ++lines;
    };
    if (status.visible) {
        static constexpr const char* kRows[] = {"Constraint Violation", "Priority 1 Goals",
                                                "Priority 2 Goals", "Priority 3 Goals"};
        line(status.statusLabel);
        line(fmt::format("  {:<22}{:>16}{:>16}", "(zero is best)", "Starting Value", "Current Value"));
        for (std::size_t j = 0; j < 4; ++j)
            line(fmt::format("  {:<22}{:>16}{:>16}", kRows[j], status.lblInitVals[j], status.lblCurrVals[j]));
        line(fmt::format("  Number of generations without improvement: {}", status.lblBestCount));
        line(fmt::format("  {:.0f} evaluations per second, {}. Ctrl-C to stop.", rate, duration(seconds)));
    }
    if (monteCarlo.visible) {
        const double left =
            monteCarlo.fraction > 0 ? seconds * (1 - monteCarlo.fraction) / monteCarlo.fraction : 0;
        line(monteCarlo.statusLabel);
        line(fmt::format("  [{}] {:3.0f} %", bar(monteCarlo.fraction, 40), 100 * monteCarlo.fraction));
        line(fmt::format("  {:.0f} trials per second, {} left. Ctrl-C to stop.", rate, duration(left)));
    }
    if (lines == 0) return;
    const std::string up = drawnLines_ > 0 ? fmt::format("\x1b[{}A\r", drawnLines_) : std::string();
    fmt::print(stderr, "{}{}", up, text);
    std::fflush(stderr);
    drawnLines_ = lines;
}

void Terminal::eraseLive()
{
    if (drawnLines_ == 0) return;
    fmt::print(stderr, "\x1b[{}A\r\x1b[J", drawnLines_);
    std::fflush(stderr);
    drawnLines_ = 0;
}

/// One plain line a second: how far the trials are.
void Terminal::printTrials()
{
    const auto now = Clock::now();
    if (now - started_ < kLineEvery || now - lastDrawn_ < kLineEvery) return;
    lastDrawn_ = now;
    const double seconds = std::chrono::duration<double>(now - started_).count();
    const alg_f_MonteCarloStatus& window = monteCarloStatusWindow();
    fmt::print(stderr, "{} {:.0f} % in {}, {:.0f} per second, {} left\n", window.statusLabel,
               100 * window.fraction, duration(seconds), static_cast<double>(statusSteps_) / seconds,
               duration(window.fraction > 0 ? seconds * (1 - window.fraction) / window.fraction : 0));
}

/// One plain line per generation, at most one a second.
void Terminal::printLine(bool force)
{
    const alg_f_Status& status = statusWindow();
    if (status.chart.empty() || status.chart.back().label.empty()) return;
    const auto now = Clock::now();
    if (!force && now - lastDrawn_ < kLineEvery) return;
    lastDrawn_ = now;
    const auto& scores = status.chart.back().values;
    const std::string line = fmt::format(
        "generation {}: violation {}, goals {} {} {}, {} without improvement", status.chart.back().label,
        alg_f_Status::FormatValue(scores[0]), alg_f_Status::FormatValue(scores[1]),
        alg_f_Status::FormatValue(scores[2]), alg_f_Status::FormatValue(scores[3]), status.lblBestCount);
    if (line == lastLine_) return;
    lastLine_ = line;
    fmt::print(stderr, "{}\n", line);
}

} // namespace varnex3::cli
