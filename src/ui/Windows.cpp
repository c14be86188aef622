// ui/Windows.cpp - what the three windows hold, and the status step of an optimization.
//
// Every change is told to the user interface, except the label of a status step: that changes with
// every candidate and is on show when pending events are processed.
#include "ui/Windows.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "host/alg_m_XLinterface.h"
#include "runtime/Number.h"
#include "ui/Debug.h"
#include "ui/interface/UserInterface.h"

namespace varnex3 {
namespace {

constexpr Long kChartRows = 10;
constexpr const char* kCanceling = "Canceling...";

void showOrChange(ui::Window which, bool& visible)
{
    if (std::exchange(visible, true))
        ui::userInterface().windowChanged(which);
    else
        ui::userInterface().windowShown(which);
}

void hide(ui::Window which, bool& visible)
{
    if (std::exchange(visible, false)) ui::userInterface().windowHidden(which);
}

} // namespace

void alg_f_Status::Initialize()
{
    cancelRequest = false;
    statusLabel.clear();
    lblBestCount.clear();
    chart.assign(1, ChartRow{});
    lblInitVals.fill({});
    lblCurrVals.fill({});
    showOrChange(ui::Window::Status, visible);
}

/// Adds a generation to the chart, which keeps the last ten, and to the table of values.
///
/// @param vals       1..4: constraint violation, goals of priority 1 to 3, of the best member
/// @param gen        generation number; 0 fills the starting values, any other the current ones
/// @param sinceBest  generations without improvement
/// @raises           9 when gen is negative or vals has fewer than four values
void alg_f_Status::UpdateStatusGraph(const Array1<double>& vals, Long gen, Long sinceBest)
{
    if (gen < 0) raise(errors::Subscript);
    if (gen >= kChartRows && !chart.empty()) chart.pop_front();
    chart.resize(static_cast<std::size_t>(std::min(gen, kChartRows - 1)) + 1);
    ChartRow& row = chart.back();
    row.label = std::to_string(gen);
    auto& labels = gen == 0 ? lblInitVals : lblCurrVals;
    for (Long j : oneTo(4)) {
        const auto column = static_cast<std::size_t>(j - 1);
        row.values[column] = vals(j);
        labels[column] = FormatValue(vals(j));
    }
    lblBestCount = std::to_string(sinceBest);
    ui::userInterface().windowChanged(ui::Window::Status);
}

void alg_f_Status::Hide() { hide(ui::Window::Status, visible); }

void alg_f_Status::CancelButton_Click()
{
    cancelRequest = true;
    statusLabel = kCanceling;
    ui::userInterface().windowChanged(ui::Window::Status);
}

/// A score for the table: whole numbers plainly, others to six decimals, very small and very large ones
/// with an exponent.
std::string alg_f_Status::FormatValue(double x)
{
    if (x == 0.0) return "0";
    const double size = std::fabs(x);
    if (!(size >= 1e-6 && size <= 1e6)) return formatNumber(x, "0.0#####E+00");
    return formatNumber(x, x == roundHalfEven(x) ? "0" : "0.0#####");
}

void alg_f_MonteCarloStatus::Initialize()
{
    cancelRequest = false;
    statusLabel.clear();
    fraction = 0.0;
    showOrChange(ui::Window::MonteCarloStatus, visible);
}

/// Sets the text, and the bar to i of n; the bar is full when n is 0.
void alg_f_MonteCarloStatus::UpdateMe(const std::string& text, Long i, Long n)
{
    statusLabel = text;
    fraction = n == 0 ? 1.0 : std::min(1.0, std::fabs(static_cast<double>(i) / static_cast<double>(n)));
    ui::userInterface().windowChanged(ui::Window::MonteCarloStatus);
}

/// Hides the window and forgets its contents.
void alg_f_MonteCarloStatus::Unload()
{
    hide(ui::Window::MonteCarloStatus, visible);
    *this = {};
}

void alg_f_MonteCarloStatus::CancelButton_Click()
{
    cancelRequest = true;
    statusLabel = kCanceling;
    ui::userInterface().windowChanged(ui::Window::MonteCarloStatus);
}

/// Shows the report with the versions of host and operating system. Never raises; ends any error in flight.
void alg_f_Error::Initialize(const std::string& text)
{
    attempt([&] {
        Label1 = text + "\r\nExcel version: " + alg_m_XLinterface::XLVersion() +
                 "\r\nWindows version: " + alg_m_XLinterface::OSVersion();
        showOrChange(ui::Window::Error, visible);
    });
    caught();
}

void alg_f_Error::CopyButton_Click() { ui::userInterface().copyToClipboard(Label1); }

void alg_f_Error::OKButton_Click()
{
    hide(ui::Window::Error, visible);
    Label1.clear();
}

alg_f_Status& statusWindow()
{
    static alg_f_Status window;
    return window;
}

alg_f_MonteCarloStatus& monteCarloStatusWindow()
{
    static alg_f_MonteCarloStatus window;
    return window;
}

alg_f_Error& errorWindow()
{
    static alg_f_Error window;
    return window;
}

/// The status step of an optimization.
///
///   1. The host's status bar shows msg, a blank, suffix.
///   2. Without a cancel request the window's label shows the same, and pending events are processed.
///   3. With one: raise 18. The request stays until the window's next Initialize.
///
/// @raises  18; what the host raises when it refuses the status bar
void StatusMsg(host::Application& application, const std::string& dbg, const std::string& msg,
               const std::string& suffix)
{
    constexpr const char* kName = "StatusMsg";
    alg_f_Status& window = statusWindow();

    traceDetail(dbg, kName, kName);
    std::string text;
    text.reserve(msg.size() + 1 + suffix.size());
    text.append(msg).append(1, ' ').append(suffix);
    const Variant shown{std::move(text)};
    application.StatusBar(shown);
    if (window.cancelRequest) {
        traceDetail(dbg, kName, "cancel clicked. raising a ERR_USER_INTERRUPT error");
        raise(errors::UserInterrupt);
    }
    traceDetail(dbg, kName, "writing statusMsg to userform label");
    window.statusLabel = *shown.asText();
    ui::userInterface().processEvents();
}

} // namespace varnex3
