// montecarlo/c_MonteCarlo_run.cpp - the trial loop: sample, write, recalculate, read, accumulate.
//
// What becomes of the sums is in c_MonteCarlo_statistics.cpp.
#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "host/TrialsAhead.h"
#include "host/alg_m_XLinterface.h"
#include "montecarlo/alg_m_LatinHypercube.h"
#include "montecarlo/c_MonteCarlo.h"
#include "runtime/Seeds.h"
#include "stats/alg_m_MersenneTwister.h"
#include "ui/EntryPoint.h"
#include "ui/Windows.h"
#include "ui/interface/UserInterface.h"

namespace varnex3 {
namespace {

void appendNumber(std::string& text, Long n)
{
    std::array<char, 12> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), n);
    text.append(digits.data(), end);
}

/// A specification limit as a trial needs it: none, a number, or a cell to be read each time.
class Limit {
public:
    explicit Limit(const Variant& property)
    {
        if (alg_m_XLinterface::IsRange(property))
            cell_ = alg_m_XLinterface::rangeOf(property);
        else
            take(property);
    }

    /// Reads the cell again; raises 513 or 515 for a bad one.
    void refresh()
    {
        if (!cell_) return;
        alg_m_XLinterface::CheckCell(*cell_, "RunMC", true, false);
        take(cell_->Value());
    }

    const Ref<host::Range>& cell() const { return cell_; } // no object when there is none
    bool isSet() const { return set_; }
    double value() const { return value_; }

private:
    void take(const Variant& v)
    {
        set_ = isNumeric(v) && !isEmptyText(v);
        if (set_) value_ = toDouble(v);
    }

    Ref<host::Range> cell_;
    bool set_ = false;
    double value_ = 0.0;
};

struct Limits {
    Limit lower, upper;
};

} // namespace

struct c_MonteCarlo::Run {
    Array2<double> probabilities; // trial of the batch x parameter
    Array1<std::string> savedFormulas;
    Array1<double> yRow;
    // The formulation as the trials use it, looked up once.
    Array1<Ref<c_Parameter>> xs;
    Array1<Ref<host::Range>> xCells, yCells;
    std::vector<Limits> limits; // by response
    Array1<Long> sequence;      // parameter written in place i
    Array1<char> recalcFirst;   // by parameter
    std::string errorText;      // of a draw ahead of its turn
    std::string status;         // reused
    TrialsAhead ahead;
    bool askedForAhead = false;
    std::vector<Long> varying;      // parameters whose cells are written
    std::vector<double> notWritten; // their values in the last trial, when the cells do not hold them
    bool formulasSaved = false;
    bool hostChanged = false;
};

/// Runs the trials and computes the statistics.
///
///    1. Nothing to run: False.
///    2. At least 50 trials, batches of 50 to all of them.
///    3. The stream restarts from randSeed, which is made up when it is none.
///    4. Working arrays.  5. Sums to 0.
///    6. The content of every parameter's cell is saved.  7. InitDist of every parameter.
///    8. The progress window.  9. The host: manual calculation, screen updating off.
///   10. Unusable correlations are switched off.  11. The setup macro.  12. Contributions to 0.
///   14. The trials, in batches.
///   15. The cells get their content back; statistics; the host gets its state back.
///
/// @param dbg     shows three message boxes on the way
/// @param forOpt  no window, no status, no cancel, no setup macro: a run for one candidate
/// @return        True when all trials completed
/// @draws         those of CreateInputMatrix at the first trial of every batch
/// @raises        nothing: errors are reported, cells and host put back, and the answer is False
bool c_MonteCarlo::RunMC(bool dbg, bool forOpt)
{
    if (CountX() < 1 || CountY() < 1) return false;

    Procedure here{"c_MonteCarlo", "RunMC"};
    Run run;
    forOpt_ = forOpt;
    try {
        prepare(here, run, dbg);
        if (runTrials(here, run)) return true;
        trials_.shrinkToFit();
        return false;
    } catch (...) {
        attemptInHandler([&] { writeTrial(run); });
        reportError(here);
        if (run.formulasSaved) // one cell that the host refuses does not keep the others from theirs
            for (Long i : oneTo(run.savedFormulas.size())) attempt([&] { restoreFormula(run, i); });
        if (run.hostChanged) attempt([&] { RestoreHostState(); });
        attempt([&] { trials_.shrinkToFit(); });
        return false;
    }
}

/// Steps 2 to 13.
void c_MonteCarlo::prepare(Procedure& here, Run& run, bool dbg)
{
    const Long nx = CountX(), ny = CountY();
    c_Formulation& f = *formulation_;
    host::Application& host = required(application_);

    here.at(2);
    numTrials = std::max(numTrials, kMinTrials);
    sampleSize = std::min(std::max(sampleSize, kMinTrials), numTrials);

    here.at(3);
    if (randSeed < 1) randSeed = freshSeed();
    alg_m_MersenneTwister::InitRandom(randSeed);

    here.at(4);
    run.probabilities.resize(sampleSize, nx);
    run.savedFormulas.resize(nx);
    run.yRow.resize(ny);
    trialX_.resize(nx, std::numeric_limits<double>::quiet_NaN());
    refusedX_ = 0;
    refusal_.clear();
    lastTrial_ = 0;
    closed_.trials = 0;
    yStats_.resize(ny, 7);
    moments_.resize(ny);
    limitsCrossed_.assign(static_cast<std::size_t>(ny), 0);
    rankCorrelations_.resize(nx, ny);
    varContribs_.resize(nx, ny);
    trials_.start(nx, ny, numTrials);

    here.at(5);
    if (dbg) ui::showMessage("zeroing Y sums");
    ySums_.resize(ny, 6);

    here.at(6);
    for (Long i : oneTo(nx)) run.savedFormulas(i) = required(f.Xs->Item(i)->mean).Formula();
    run.formulasSaved = true;

    here.at(7);
    if (dbg) ui::showMessage("initializing X's");
    for (Long i : oneTo(nx)) f.Xs->Item(i)->InitDist();

    here.at(8);
    if (!forOpt_) monteCarloStatusWindow().Initialize();

    here.at(9);
    calculation_ = host.Calculation();
    run.hostChanged = true;
    host.Calculation(host::kCalculationManual);
    host.ScreenUpdating(false);

    here.at(10);
    if (correlationsUnusable_) useCorrelations = false;

    here.at(11);
    if (!forOpt_ && !SetupMacroName.empty()) {
        const Variant collections[] = {Variant(f.Xs), Variant(f.Ys)};
        host.Run(corvaneFileName_ + "!" + SetupMacroName, collections);
    }

    here.at(12);
    varContribs_.fill(0.0);

    here.at(13);
    if (dbg) ui::showMessage("starting trials");
    for (Long i : oneTo(nx)) {
        run.xs.append(f.Xs->Item(i));
        run.xCells.append(f.Xs->Item(i)->mean);
        run.sequence.append(f.CalcSequence(i));
        run.recalcFirst.append(f.RecalcFlags(i) ? 1 : 0);
    }
    for (Long j : oneTo(ny)) {
        c_Response& y = *f.Ys->Item(j);
        required(y.Formula);
        run.yCells.append(y.Formula);
        run.limits.push_back({Limit(y.lsl), Limit(y.usl)});
    }
}

/// Steps 14 and 15. False when a draw was refused.
bool c_MonteCarlo::runTrials(Procedure& here, Run& run)
{
    host::Application& host = required(application_);
    const Long refresh = refreshRate_ < 1 ? kDefaultRefreshRate : refreshRate_;

    for (Long t : oneTo(numTrials)) {
        here.at(1401);
        const Long pos = (t - 1) % sampleSize + 1;
        if (pos == 1) {
            here.at(1402);
            ReportProgress("Creating batch of parameter values.", t, numTrials);
            alg_m_LatinHypercube::CreateInputMatrix(run.probabilities, corrMatrix_, useLHS, useCorrelations,
                                                    [this] { noticeCancel(); });
        }
        here.at(1403);
        reportTrial(run, t);
        here.at(1404);
        const bool ahead = takeAhead(run, t, pos);
        if (!ahead && !drawTrial(run, pos)) {
            writeTrial(run);
            RestoreHostState();
            restoreFormulas(run);
            return false;
        }
        here.at(1405);
        if (t % refresh == 0)
            host.ScreenUpdating(true);
        else if (host.ScreenUpdating())
            host.ScreenUpdating(false);
        if (!ahead) {
            alg_m_XLinterface::Recalc(host);
            run.notWritten.clear();
        }
        here.at(1406);
        if (!ahead) readResponses(run);
        here.at(1407);
        AddToArrays(trialX_, run.yRow, t);
        here.at(1408);
        if (pos == sampleSize) CalcRankCorrelation(sampleSize, t);
        here.at(1409);
        lastTrial_ = t;
        here.at(1410);
        accumulate(run, t);
        if (pos == sampleSize) closed_ = {t, ySums_, moments_};
    }

    here.at(1501);
    restoreFormulas(run);
    here.at(1502);
    CalcStatistics();
    here.at(1503);
    RestoreHostState();
    return true;
}

/// Draws a value for every parameter in calculation order and writes it to its cell. False when a draw
/// gave a reason why there is none.
bool c_MonteCarlo::drawTrial(Run& run, Long pos)
{
    for (Long i : oneTo(run.sequence.size())) {
        const Long k = run.sequence(i);
        if (run.recalcFirst(k)) alg_m_XLinterface::Recalc(*application_);
        c_Parameter& x = *run.xs(k);
        const double v = x.RandVal(run.probabilities(pos, k), refusal_);
        if (!refusal_.empty()) {
            refusedX_ = k;
            return false;
        }
        trialX_(k) = v;
        if (x.xType != xTypes::Constant) run.xCells(k)->Value(v); // a constant's cell is never written
    }
    return true;
}

/// Whether the host works out trials ahead. Not with values that depend on the trial in other ways than
/// through the parameters' cells.
void c_MonteCarlo::askForAhead(Run& run)
{
    run.askedForAhead = true;
    const Long nx = run.xs.size();
    TrialsAhead::Cells inputs, outputs, fixed;
    std::vector<bool> placed(static_cast<std::size_t>(nx) + 1, false);
    for (Long i : oneTo(nx)) {
        const Long k = run.sequence(i);
        if (k < 1 || k > nx || placed[static_cast<std::size_t>(k)] || run.recalcFirst(k)) return;
        placed[static_cast<std::size_t>(k)] = true;
        c_Parameter& x = *run.xs(k);
        if (x.xType == xTypes::Constant) {
            fixed.push_back(run.xCells(k));
            continue;
        }
        for (Long q : oneTo(required(x.dist).Count()))
            if (x.dist->Item(q)->Dynamic) return;
        run.varying.push_back(k);
        inputs.push_back(run.xCells(k));
    }
    for (Long j : oneTo(run.yCells.size())) {
        outputs.push_back(run.yCells(j));
        const Limits& limits = run.limits[static_cast<std::size_t>(j - 1)];
        for (const Limit* limit : {&limits.lower, &limits.upper})
            if (limit->cell()) fixed.push_back(limit->cell());
    }
    run.ahead.open(*application_, inputs, outputs, fixed);
}

/// Draws and responses of a trial that the host has worked out before its turn. False when there are none: of
/// the first trial, which puts numbers in place of formulas, and of the last, which the workbook keeps.
bool c_MonteCarlo::takeAhead(Run& run, Long t, Long pos)
{
    if (t == 1 || t == numTrials) return false;
    if (!run.askedForAhead) askForAhead(run);
    if (!run.ahead.isOpen()) return false;
    if (!run.ahead.holds(t)) {
        const Long last = std::min(t + sampleSize - pos, numTrials - 1);
        run.ahead.advance(t, last, [&](Long trial, std::span<double> row) {
            return attempt([&] {
                for (std::size_t i = 0; i < row.size(); ++i) {
                    const Long k = run.varying[i];
                    run.errorText.clear();
                    row[i] = run.xs(k)->RandVal(run.probabilities(pos + trial - t, k), run.errorText);
                    if (!run.errorText.empty()) raise(errors::InvalidCall); // in its turn, with its message
                }
            });
        });
        if (!run.ahead.holds(t)) return false;
    }
    const std::span<const double> x = run.ahead.inputs(t), y = run.ahead.outputs(t);
    for (std::size_t i = 0; i < x.size(); ++i) trialX_(run.varying[i]) = x[i];
    std::copy(y.begin(), y.end(), run.yRow.begin());
    run.notWritten.assign(x.begin(), x.end());
    return true;
}

/// Where the last trial has left no trace in the workbook, the workbook is given what it would have left.
void c_MonteCarlo::writeTrial(Run& run)
{
    if (run.notWritten.empty()) return;
    for (std::size_t i = 0; i < run.notWritten.size(); ++i)
        run.xCells(run.varying[i])->Value(run.notWritten[i]);
    run.notWritten.clear();
    alg_m_XLinterface::Recalc(*application_);
}

void c_MonteCarlo::readResponses(Run& run)
{
    for (Long j : oneTo(run.yCells.size())) {
        host::Range& cell = *run.yCells(j);
        alg_m_XLinterface::CheckCell(cell, "RunMC", false, false);
        run.yRow(j) = toDouble(cell.Value());
    }
}

/// Adds the trial's responses to the sums of powers and marks those outside a limit.
void c_MonteCarlo::accumulate(Run& run, Long t)
{
    for (Long j : oneTo(run.yRow.size())) {
        const double y = run.yRow(j);
        ySums_(j, 1) += y;
        ySums_(j, 2) += y * y;
        ySums_(j, 3) += y * y * y;
        ySums_(j, 4) += y * y * y * y;
        moments_(j).add(y);

        double mark = 1.0;
        Limits& limits = run.limits[static_cast<std::size_t>(j - 1)];
        limits.lower.refresh();
        if (limits.lower.isSet() && y < limits.lower.value()) {
            ySums_(j, 5) += 1.0;
            mark = 0.0;
        }
        limits.upper.refresh();
        if (limits.upper.isSet() && y > limits.upper.value()) {
            ySums_(j, 6) += 1.0;
            mark = 0.0;
        }
        trials_.sorted(2, j, t) = mark;
        if (limits.lower.isSet() && limits.upper.isSet() && limits.lower.value() > limits.upper.value())
            limitsCrossed_[static_cast<std::size_t>(j - 1)] = 1;
    }
}

/// Writes the saved content back into a parameter's cell. A constant's cell was never written.
void c_MonteCarlo::restoreFormula(const Run& run, Long i)
{
    c_Parameter& x = *formulation_->Xs->Item(i);
    if (x.xType != xTypes::Constant) required(x.mean).Formula(run.savedFormulas(i));
}

void c_MonteCarlo::restoreFormulas(const Run& run)
{
    for (Long i : oneTo(run.savedFormulas.size())) restoreFormula(run, i);
}

/// One status step of a stand-alone run.
/// @raises 18 when the user has asked to cancel
void c_MonteCarlo::ReportProgress(const std::string& text, Long i, Long n)
{
    if (forOpt_) return;
    required(application_).StatusBar(text);
    raiseOnCancel();
    monteCarloStatusWindow().UpdateMe(text, i, n);
    ui::userInterface().processEvents();
}

/// The status step of a trial.
void c_MonteCarlo::reportTrial(Run& run, Long t)
{
    if (forOpt_) return;
    std::string& status = run.status;
    status.assign("Running trial ");
    appendNumber(status, t);
    status.append(" of ");
    appendNumber(status, numTrials);
    ReportProgress(status, t, numTrials);
}

/// Between two status steps that lie far apart: a cancel counts, and the host is left alone.
void c_MonteCarlo::noticeCancel()
{
    if (forOpt_) return;
    ui::userInterface().processEvents();
    raiseOnCancel();
}

void c_MonteCarlo::raiseOnCancel()
{
    alg_f_MonteCarloStatus& window = monteCarloStatusWindow();
    if (!window.cancelRequest) return;
    window.cancelRequest = false;
    raise(errors::UserInterrupt);
}

void c_MonteCarlo::RestoreHostState()
{
    host::Application& host = required(application_);
    if (monteCarloStatusWindow().visible) monteCarloStatusWindow().Unload();
    host.ScreenUpdating(true);
    host.StatusBar(false);
    host.Calculation(calculation_);
}

/// Keeps the trial's values: appended to every store.
void c_MonteCarlo::AddToArrays(const Array1<double>& xRow, const Array1<double>& yRow, Long t)
{
    Procedure here{"c_MonteCarlo", "AddToArrays"};

    here.at(1);
    trials_.resize(t);
    here.at(2);
    std::copy(xRow.begin(), xRow.end(), trials_.x.row(t).begin());
    here.at(3);
    std::copy(yRow.begin(), yRow.end(), trials_.y.row(t).begin());
    for (Long j : oneTo(yRow.size())) trials_.sorted(1, j, t) = yRow(j);
}

void c_MonteCarlo::Trials::start(Long nx, Long ny, Long expected)
{
    sorted.resize(2, ny, 0);
    y.resize(0, ny);
    x.resize(0, nx);
    sorted.reserveLast(expected);
    y.reserveRows(expected);
    x.reserveRows(expected);
}

void c_MonteCarlo::Trials::resize(Long trials)
{
    sorted.resizeLastKeep(trials);
    y.resizeRowsKeep(trials);
    x.resizeRowsKeep(trials);
}

void c_MonteCarlo::Trials::shrinkToFit()
{
    sorted.shrinkToFit();
    y.shrinkToFit();
    x.shrinkToFit();
}

} // namespace varnex3
