// montecarlo/c_MonteCarlo.cpp - loading, checking and clearing; the indexed results.
//
// The trial loop is in c_MonteCarlo_run.cpp, the statistics in c_MonteCarlo_statistics.cpp.
#include "montecarlo/c_MonteCarlo.h"

#include <limits>
#include <memory>
#include <utility>

#include "host/alg_m_XLinterface.h"
#include "sorting/alg_m_Sorting.h"
#include "ui/interface/UserInterface.h"

namespace varnex3 {
namespace {

constexpr const char* kTitle = "Corvane";

bool within(Long i, Long last) { return i >= 1 && i <= last; }

double elementOrZero(const Array2<double>& table, Long r, Long c)
{
    return within(r, table.rows()) && within(c, table.cols()) ? table(r, c) : 0.0;
}

bool reject(const std::string& message, bool show)
{
    if (show) ui::showMessage(message, kTitle);
    return false;
}

} // namespace

c_MonteCarlo::c_MonteCarlo() = default;

c_MonteCarlo::~c_MonteCarlo() { Clear(); }

void c_MonteCarlo::XLApplication(Ref<host::Application> application)
{
    alg_m_XLinterface::hostState().application = application;
    application_ = std::move(application);
}

/// Keeps the formulation (not a copy) and takes over its recalculation macros.
void c_MonteCarlo::LoadFormulation(const Ref<c_Formulation>& f_init)
{
    formulation_ = f_init ? f_init : std::make_shared<c_Formulation>();
    const c_Options& options = required(formulation_->Options);
    alg_m_XLinterface::hostState().beforeMacro = options.beforeMacro;
    alg_m_XLinterface::hostState().afterMacro = options.afterMacro;
    if (CountX() < 1 || CountY() < 1) return;
    rankCorrelations_.resize(CountX(), CountY());
    varContribs_.resize(CountX(), CountY());
}

Ref<c_Parameter> c_MonteCarlo::Xs(const Variant& index) const
{
    return formulation_ ? formulation_->ItemX(index) : nullptr;
}

Ref<c_Response> c_MonteCarlo::Ys(const Variant& index) const
{
    return formulation_ ? formulation_->ItemY(index) : nullptr;
}

/// Checks that there is something to run and that every parameter and response is valid; the first failing
/// item ends the check and is told by `source`, `itemNum` and `cause`.
bool c_MonteCarlo::InputsOK(std::string& source, Long& itemNum, std::string& cause, bool showMessages)
{
    if (CountX() < 1) {
        cause = "Please define at least one parameter.";
        return reject(cause, showMessages);
    }
    if (CountY() < 1) {
        cause = "Please define at least one response.";
        return reject(cause, showMessages);
    }
    for (Long i : oneTo(CountX())) {
        const Ref<c_Parameter> x = Xs(i);
        if (x && x->XisOK(cause)) continue;
        source = SOURCEX;
        itemNum = i;
        return reject(cause + " for X " + std::to_string(i), showMessages);
    }
    for (Long i : oneTo(CountY())) {
        const Ref<c_Response> y = Ys(i);
        if (y && y->YisOK(cause)) continue;
        source = SOURCEY;
        itemNum = i;
        return reject(cause + " for Y " + std::to_string(i), showMessages);
    }
    return true;
}

/// Releases the host and the results; the formulation and the settings stay.
void c_MonteCarlo::Clear()
{
    application_ = nullptr;
    lastTrial_ = 0;
    yStats_.clear();
    ySums_.clear();
    trials_ = {};
    rankCorrelations_.clear();
    varContribs_.clear();
    moments_.clear();
    closed_ = {};
    trialX_.clear();
    refusedX_ = 0;
    refusal_.clear();
    corrMatrix_.clear();
    accepted_.clear();
    listed_.clear();
}

/// Sorts every response's values, each with its pass/fail mark.
void c_MonteCarlo::SortYs()
{
    Procedure here{"c_MonteCarlo", "SortYs"};

    for (Long j : oneTo(trials_.sorted.size2()))
        alg_m_Sorting::Sort3D(trials_.sorted, 1, lastTrial_, j, true);
}

double c_MonteCarlo::yStats(Long yIndex, Long statNum) const
{
    return elementOrZero(yStats_, yIndex, statNum);
}

double c_MonteCarlo::ySums(Long yIndex, Long momentNum) const
{
    return elementOrZero(ySums_, yIndex, momentNum);
}

double c_MonteCarlo::ySorted(Long yIndex, Long trial) const
{
    return within(yIndex, trials_.sorted.size2()) && within(trial, lastTrial_)
               ? trials_.sorted(1, yIndex, trial)
               : 0.0;
}

double c_MonteCarlo::yPassFail(Long yIndex, Long trial) const
{
    return within(yIndex, trials_.sorted.size2()) && within(trial, lastTrial_)
               ? trials_.sorted(2, yIndex, trial)
               : 0.0;
}

double c_MonteCarlo::yUnsorted(Long yIndex, Long trial) const
{
    return within(trial, lastTrial_) ? elementOrZero(trials_.y, trial, yIndex) : 0.0;
}

double c_MonteCarlo::xUnsorted(Long xIndex, Long trial) const
{
    return within(trial, lastTrial_) ? elementOrZero(trials_.x, trial, xIndex) : 0.0;
}

double c_MonteCarlo::VarContribs(Long xIndex, Long yIndex) const
{
    return elementOrZero(varContribs_, xIndex, yIndex);
}

double c_MonteCarlo::RankCorrelations(Long xIndex, Long yIndex) const
{
    return elementOrZero(rankCorrelations_, xIndex, yIndex);
}

double c_MonteCarlo::accurateStats(Long yIndex, Long statNum) const
{
    return within(yIndex, moments_.size()) && lastTrial_ >= 2 ? moments_(yIndex).stat(statNum) : 0.0;
}

double c_MonteCarlo::yMin(Long yIndex) const
{
    return within(yIndex, moments_.size()) ? moments_(yIndex).least : 0.0;
}

double c_MonteCarlo::yMax(Long yIndex) const
{
    return within(yIndex, moments_.size()) ? moments_(yIndex).greatest : 0.0;
}

double c_MonteCarlo::trialX(Long xIndex) const
{
    return within(xIndex, trialX_.size()) ? trialX_(xIndex) : std::numeric_limits<double>::quiet_NaN();
}

} // namespace varnex3
