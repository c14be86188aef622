// formulation/c_Parameter.h - one input variable ("X") of a formulation.
//
// A workbook cell with its kind, search range, feasible values and variation. The distribution side
// (InitDist, RandVal, CalcMoments) is implemented in stats/.
#pragma once

#include <string>

#include "formulation/DistributionComponent.h"
#include "host/interface/Host.h"
#include "runtime/Array.h"
#include "runtime/Collection.h"
#include "runtime/Variant.h"

namespace varnex3 {

/// The kinds of input, exact and case-sensitive.
namespace xTypes {
inline constexpr const char* Continuous = "Continuous";
inline constexpr const char* Integer = "Integer";
inline constexpr const char* Discrete = "Discrete";
inline constexpr const char* Noise = "Noise";
inline constexpr const char* Constant = "Constant";
} // namespace xTypes

class c_Parameter : public Object {
public:
    c_Parameter();
    ~c_Parameter() override;

    std::string id;        // key in the formulation's Xs
    std::string DefName;   // default (defined) name
    std::string Name;      // display name
    std::string xType;     // one of xTypes
    Ref<host::Range> mean; // the cell that holds the value, workbook units
    Variant stdev;         // number or one-cell range, workbook units
    double SearchMin = 0.0;
    double SearchMax = 0.0;
    std::string DistType;
    Variant DistParam1, DistParam2, DistParam3;       // numbers or one-cell ranges
    Variant LTL, UTL;                                 // truncation limits: numbers, empty, or one-cell ranges
    Ref<KeyedCollection<DistributionComponent>> dist; // components of a "Noise" parameter
    bool needsRecalc = false;                         // moments must be computed again before use

    /// "Noise": the computed mean. Other kinds: the cell's value when it is numeric, else 0.
    double GetMean() const;
    /// "Constant": 0. "Noise": the computed standard deviation. Other kinds: `stdev` as a number, kept
    /// as the computed one. Raises 13 for text that is not a number.
    double GetStDev();
    /// Writes d into the `mean` cell, unless the kind is "Constant".
    void SetMean(double d);

    double FeasVals(Long i) const; // i-th feasible value; raises 9 outside 1..numFVs()
    Long FeasValIndex(double d) const;
    Long numFVs() const { return feasible_.size(); }
    void AddFV(double fv, Long& index);
    void AddFV(double fv);
    void RemoveFV(Long index);
    void SortFV();
    double MakeFeasible(double d) const;
    bool XisOK(std::string& problemCause);
    void Clear();

    // The distribution side (stats/c_Parameter_distribution.cpp).
    void InitDist();
    double RandVal(double rndP, std::string& errorString);
    void CalcMoments(Long& numPoints);
    void CalcMoments();

private:
    Long gapAround(double d) const;

    Array1<double> feasible_;
    bool ascending_ = true;      // feasible_ is known to be in order: searched by halving
    double computedMean_ = 0.0;  // of a "Noise" parameter, set by CalcMoments
    double computedStDev_ = 0.0; // the same; for other kinds GetStDev keeps its last result here
};

/// Searched by the optimizer: neither "Noise" nor "Constant".
bool isActiveKind(const std::string& xType);

} // namespace varnex3
