// ui/Windows.h - the three windows as plain view models, and the status step that notices a cancel.
//
// Nothing here draws: a terminal, a desktop window or a test reads these fields.
#pragma once

#include <array>
#include <deque>
#include <string>

#include "host/interface/Host.h"
#include "runtime/Array.h"

namespace varnex3 {

/// The progress window of an optimization, caption "Corvane".
class alg_f_Status {
public:
    struct ChartRow {
        std::string label;              // generation number; empty until the first update
        std::array<double, 4> values{}; // constraint violation, goals of priority 1 to 3
    };

    bool cancelRequest = false;
    std::string statusLabel;
    std::deque<ChartRow> chart; // the last ten generations
    std::array<std::string, 4> lblInitVals;
    std::array<std::string, 4> lblCurrVals;
    std::string lblBestCount; // generations without improvement
    bool visible = false;

    void Initialize();
    void UpdateStatusGraph(const Array1<double>& vals, Long gen, Long sinceBest);
    void Hide();
    void CancelButton_Click();

    static std::string FormatValue(double x);
};

/// The progress window of a Monte Carlo run, caption "Corvane Monte Carlo".
class alg_f_MonteCarloStatus {
public:
    bool cancelRequest = false;
    std::string statusLabel;
    double fraction = 0.0; // of the progress bar, 0..1
    bool visible = false;

    void Initialize();
    void UpdateMe(const std::string& text, Long i, Long n);
    void Unload();
    void CancelButton_Click();
};

/// The error window, caption "Corvane Error".
class alg_f_Error {
public:
    std::string Label1;
    bool visible = false;

    void Initialize(const std::string& text);
    void CopyButton_Click();
    void OKButton_Click();
};

// One of each per process.
alg_f_Status& statusWindow();
alg_f_MonteCarloStatus& monteCarloStatusWindow();
alg_f_Error& errorWindow();

/// Shows progress and raises 18 when the user has pressed Cancel.
void StatusMsg(host::Application& application, const std::string& dbg, const std::string& msg,
               const std::string& suffix);

} // namespace varnex3
