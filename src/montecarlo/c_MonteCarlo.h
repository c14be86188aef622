// montecarlo/c_MonteCarlo.h - Monte Carlo runs: settings, correlations, trials, statistics, export.
//
// Propagates the distributions of a formulation's parameters through the workbook. Sampling of a batch is
// alg_m_LatinHypercube's, values for probabilities are c_Parameter's.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "formulation/c_Formulation.h"
#include "host/interface/Host.h"
#include "runtime/Array.h"

namespace varnex3 {

class c_MonteCarlo : public Object {
public:
    static constexpr const char* SOURCEX = c_Formulation::SOURCEX;
    static constexpr const char* SOURCEY = c_Formulation::SOURCEY;

    c_MonteCarlo();
    ~c_MonteCarlo() override;
    c_MonteCarlo(const c_MonteCarlo&) = delete;
    c_MonteCarlo& operator=(const c_MonteCarlo&) = delete;

    Long numTrials = 0;          // trials of a run; RunMC raises it to 50
    Long sampleSize = 0;         // trials per sampling batch; 50 or more, not more than numTrials
    Long randSeed = 0;           // 1..2147483647; RunMC makes one up for any other and leaves it here
    std::string OutputMacroName; // held for the caller
    std::string SetupMacroName;  // run before the first trial of a stand-alone run; empty for none
    bool useLHS = false;
    bool useCorrelations = false;

    Long refreshRate() const
    {
        return refreshRate_;
    } // trials per screen refresh; never assigned: 0, runs as 1000
    void refreshRate(const Long& trials) { refreshRate_ = trials < 1 ? kDefaultRefreshRate : trials; }
    double alpha() const
    {
        return alpha_;
    } // significance level of the bounds; never assigned: 0, runs as 0.05
    void alpha(const double& level) { alpha_ = level > 0.0 && level < 1.0 ? level : kDefaultAlpha; }
    void XLApplication(Ref<host::Application> application);                    // also the process-wide one
    void CorvaneFileName(const std::string& name) { corvaneFileName_ = name; } // workbook of the setup macro

    Long LastTrial() const { return lastTrial_; } // trials done by the latest run; 0 until its first
    Long CountX() const { return formulation_ ? formulation_->CountX() : 0; }
    Long CountY() const { return formulation_ ? formulation_->CountY() : 0; }

    void LoadFormulation(const Ref<c_Formulation>& f_init);
    Ref<c_Parameter> Xs(const Variant& index) const; // by position or key; no object when there is none
    Ref<c_Response> Ys(const Variant& index) const;
    bool InputsOK(std::string& source, Long& itemNum, std::string& cause, bool showMessages = false);
    bool RunMC(bool dbg = false, bool forOpt = false);
    /// After a run that was stopped: the statistics of the trials it completed, or only of its whole batches
    /// (the rows of a batch may ascend, so that a part of one is no fair sample). Trials left out are
    /// dropped. False, and nothing changed, when fewer than two are left.
    bool CompleteEarly(bool wholeBatchesOnly);
    void SortYs();
    void Clear();

    // Correlations: a list has one column per entry, rows 1 and 2 the ids of two parameters, row 3 the
    // coefficient as text.
    void ClearCorrelations();
    void AddCorrelations(const Array2<std::string>& corrList);
    bool CorrelationListOK(const Array2<std::string>& corrList) const;
    std::string CorrelationList(Long listIndex, Long listElement) const; // names and coefficients in use

    // Results. An index outside its range gives 0.
    double yStats(Long yIndex, Long statNum) const;  // 1 mean, 2 stdev, 3 skewness, 4 kurtosis, 5..7 PNC
    double ySums(Long yIndex, Long momentNum) const; // 1..4 sums of powers, 5 below LSL, 6 above USL
    double ySorted(Long yIndex, Long trial) const;   // ascending once SortYs has run
    double yPassFail(Long yIndex, Long trial) const; // 1 within the limits, 0 outside; goes with ySorted
    double yUnsorted(Long yIndex, Long trial) const; // in trial order
    double xUnsorted(Long xIndex, Long trial) const;
    double VarContribs(Long xIndex, Long yIndex) const;
    double RankCorrelations(Long xIndex, Long yIndex) const;
    void ExtractData(std::string& wbName);
    void ExtractData();

    // Beside the prescribed statistics, whose power sums lose digits when a spread is small against its mean.
    double accurateStats(Long yIndex, Long statNum) const; // 1..4 as in yStats, from compensated updates
    bool statsDiffer(Long yIndex, Long statNum) const;     // yStats is off by more than 1 %
    double yMin(Long yIndex) const;
    double yMax(Long yIndex) const;
    /// The value that the latest run left in a parameter's cell last, in the trial that stopped it or in its
    /// last one; not a number where none was drawn.
    double trialX(Long xIndex) const;
    /// The parameter whose draw ended the latest run, 0 for none, and why.
    Long refusedX() const { return refusedX_; }
    const std::string& refusal() const { return refusal_; }

    /// Confidence bounds of a probability from x failures in n trials at the level alpha.
    static double minPNC(Long n, Long x, double alpha);
    static double maxPNC(Long n, Long x, double alpha);

private:
    static constexpr Long kDefaultRefreshRate = 1000;
    static constexpr double kDefaultAlpha = 0.05;

    /// Mean and sums of powers of deviations from it, updated value by value.
    /// @source [Peb08]
    struct CentralMoments {
        double n = 0.0, mean = 0.0, m2 = 0.0, m3 = 0.0, m4 = 0.0, least = 0.0, greatest = 0.0;
        void add(double y);
        double stat(Long statNum) const; // 1..4 as in yStats
    };
    struct Run; // what one call of RunMC needs and nobody else
    using CorrelationEntries = std::vector<std::array<std::string, 3>>; // two parameters, the coefficient

    /// Every trial's values. The room for all trials of a run is made before the first one, so that appending
    /// one copies nothing and the stores never take more than their final size.
    struct Trials {
        Array3<double> sorted; // value and mark x response x trial
        Array2<double> y;      // trial x response: a batch is its last rows
        Array2<double> x;      // trial x parameter

        void start(Long nx, Long ny, Long expected);
        void resize(Long trials);
        void shrinkToFit(); // after a run that was cut short
    };

    void prepare(Procedure& here, Run& run, bool dbg);
    bool runTrials(Procedure& here, Run& run);
    bool drawTrial(Run& run, Long pos);
    void askForAhead(Run& run);
    bool takeAhead(Run& run, Long t, Long pos);
    void writeTrial(Run& run);
    void readResponses(Run& run);
    void accumulate(Run& run, Long t);
    void restoreFormula(const Run& run, Long i);
    void restoreFormulas(const Run& run);
    void ReportProgress(const std::string& text, Long i, Long n);
    void reportTrial(Run& run, Long t);
    void noticeCancel();
    void raiseOnCancel();
    void RestoreHostState();
    void AddToArrays(const Array1<double>& xRow, const Array1<double>& yRow, Long t);
    void CalcStatistics();
    void CalcRankCorrelation(Long n, Long N);
    void CreateRanks(Long k, Long n, Array2<double>& ranks, double& T) const;
    void writeData(Procedure& here, std::string& wbName);
    Long XIndexOf(const std::string& id) const;
    double effectiveAlpha() const { return alpha_ == 0.0 ? kDefaultAlpha : alpha_; }

    Ref<host::Application> application_;
    Ref<c_Formulation> formulation_;
    std::string corvaneFileName_;
    Long refreshRate_ = 0;
    double alpha_ = 0.0;
    Long lastTrial_ = 0;
    bool forOpt_ = false;  // of the running call
    Long calculation_ = 0; // the host's mode before the run

    Array2<double> yStats_; // response x 7
    Array2<double> ySums_;  // response x 6
    Trials trials_;
    Array2<double> rankCorrelations_, varContribs_; // parameter x response
    Array1<CentralMoments> moments_;                // by response
    struct {
        Long trials = 0;
        Array2<double> ySums;
        Array1<CentralMoments> moments;
    } closed_;              // the state at the end of the latest whole batch
    Array1<double> trialX_; // by parameter
    Long refusedX_ = 0;
    std::string refusal_;
    std::vector<char> limitsCrossed_; // by response: a trial had its lower limit above the upper one

    Array2<double> corrMatrix_; // parameter x parameter
    bool correlationsUnusable_ = false;
    CorrelationEntries accepted_; // by id
    CorrelationEntries listed_;   // the same with names and the coefficients in use
};

} // namespace varnex3
