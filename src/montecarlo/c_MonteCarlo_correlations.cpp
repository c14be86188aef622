// montecarlo/c_MonteCarlo_correlations.cpp - the correlations of a run: whose they are and which apply.
//
// Completing, checking and repairing a list is alg_m_LatinHypercube's.
#include <algorithm>
#include <utility>

#include "host/alg_m_XLinterface.h"
#include "montecarlo/alg_m_LatinHypercube.h"
#include "montecarlo/c_MonteCarlo.h"
#include "runtime/Number.h"
#include "ui/interface/UserInterface.h"

namespace varnex3 {
namespace {

using namespace alg_m_LatinHypercube;

constexpr const char* kTitle = "Monte Carlo";

} // namespace

/// The identity matrix and no list. To be called after LoadFormulation and before AddCorrelations.
void c_MonteCarlo::ClearCorrelations()
{
    accepted_.clear();
    listed_.clear();
    corrMatrix_.resize(CountX(), CountX());
    for (Long i : oneTo(CountX())) corrMatrix_(i, i) = 1.0;
    correlationsUnusable_ = false;
}

/// The position of the first parameter with that id; 0 when there is none.
Long c_MonteCarlo::XIndexOf(const std::string& id) const
{
    for (Long i : oneTo(CountX())) {
        const Ref<c_Parameter> x = Xs(i);
        if (x && x->id == id) return i;
    }
    return 0;
}

/// Adds correlations to those accepted before, by id; a later coefficient for a pair replaces the earlier.
///
///   1. Entries are accepted when both ids are "Noise" parameters and not the same one; others are dropped.
///   2. Nothing accepted: done.
///   3. The list is completed by the correlations that it implies, and becomes a matrix.
///   4. A matrix that is not positive definite is repaired; failing that, correlations are disabled.
///   5. The matrix's coefficients become those of the parameters.
///   6. The list for the user: names, and the coefficients in use.
void c_MonteCarlo::AddCorrelations(const Array2<std::string>& corrList)
{
    Procedure here{"c_MonteCarlo", "AddCorrelations"};

    here.at(1);
    bool any = false;
    CorrelationEntries accepted = accepted_; // kept once its coefficients have been read
    for (Long i : oneTo(corrList.cols())) {
        const Long a = XIndexOf(corrList(1, i)), b = XIndexOf(corrList(2, i));
        if (a == 0 || b == 0 || a == b) continue;
        if (Xs(a)->xType != xTypes::Noise || Xs(b)->xType != xTypes::Noise) continue;
        const std::array<std::string, 3> entry = {corrList(1, i), corrList(2, i), corrList(3, i)};
        const auto known = std::find_if(accepted.begin(), accepted.end(), [&](const auto& other) {
            return std::minmax(other[0], other[1]) == std::minmax(entry[0], entry[1]);
        });
        if (known == accepted.end())
            accepted.push_back(entry);
        else
            (*known)[2] = entry[2];
        any = true;
    }

    here.at(2);
    if (CountX() < 2 || !any) return;

    here.at(3);
    Array2<std::string> working(3, static_cast<Long>(accepted.size()));
    for (Long i : oneTo(working.cols()))
        for (Long element : {1, 2, 3})
            working(element, i) =
                accepted[static_cast<std::size_t>(i - 1)][static_cast<std::size_t>(element - 1)];
    AddImpliedCorrelations(working);
    Array2<double> matrix, factor;
    Array1<std::string> ids;
    MakeCorrMatrix(working, matrix, ids);
    accepted_ = std::move(accepted);
    listed_ = accepted_; // by id, in case the matrix cannot be used

    here.at(4);
    if (Cholesky(matrix, factor) != 0) {
        ui::showMessage("Inconsistency found in correlations.  Attempting to correct.", kTitle);
        std::string errorText;
        FixCorrelations(matrix, errorText);
        if (errorText.empty() && Cholesky(matrix, factor) != 0) errorText = "Cholesky failed.";
        if (!errorText.empty()) {
            ui::showMessage("Correlations could not be resolved and will be disabled.", kTitle);
            correlationsUnusable_ = true;
            return;
        }
    }

    here.at(5);
    if (corrMatrix_.rows() != CountX()) { // never cleared since the formulation was loaded
        corrMatrix_.resize(CountX(), CountX());
        for (Long i : oneTo(CountX())) corrMatrix_(i, i) = 1.0;
    }
    for (Long k : oneTo(ids.size())) {
        for (Long l : fromTo(k + 1, ids.size())) {
            const Long p = XIndexOf(ids(k)), q = XIndexOf(ids(l));
            corrMatrix_(p, q) = matrix(k, l);
            corrMatrix_(q, p) = matrix(k, l);
        }
    }

    here.at(6);
    listed_.clear();
    for (const auto& entry : accepted_) {
        const Long p = XIndexOf(entry[0]), q = XIndexOf(entry[1]);
        listed_.push_back({Xs(p)->Name, Xs(q)->Name, toText(corrMatrix_(p, q))});
    }
}

/// Whether a list, completed by what it implies, is consistent as it stands.
bool c_MonteCarlo::CorrelationListOK(const Array2<std::string>& corrList) const
{
    Array2<std::string> list;
    CopyStringMatrix(corrList, list);
    AddImpliedCorrelations(list);
    Array2<double> matrix, factor;
    Array1<std::string> ids;
    MakeCorrMatrix(list, matrix, ids);
    return Cholesky(matrix, factor) == 0;
}

std::string c_MonteCarlo::CorrelationList(Long listIndex, Long listElement) const
{
    if (listIndex < 1 || listIndex > static_cast<Long>(listed_.size())) return {};
    if (listElement < 1 || listElement > 3) return {};
    return listed_[static_cast<std::size_t>(listIndex - 1)][static_cast<std::size_t>(listElement - 1)];
}

} // namespace varnex3
