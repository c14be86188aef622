// montecarlo/alg_m_LatinHypercube.h - batches of sampling probabilities, and the correlations they carry.
//
// Turning a probability into a parameter value is the distribution's business; the trial loop and the
// resolving of parameter ids are c_MonteCarlo's.
#pragma once

#include <functional>
#include <string>

#include "runtime/Array.h"

namespace varnex3::alg_m_LatinHypercube {

/// Called once in a million draws or exchanges, so that a batch of millions of trials can be given up. When
/// it raises, the batch is left half made.
using Interlude = std::function<void()>;

/// Fills a batch: one row per trial, one column per parameter, entries in [0, 1].
/// @param corrMatrix  parameter x parameter; only read with `useCorrelations`
/// @param interlude   never called for batches of fewer than 100,000 entries
/// @draws  plain: row by row. Latin hypercube: the shuffle column by column, i = n..2 within each, then the
///         place within its stratum row by row
/// @source [MBC79]; the induction of rank correlations after [IC82]
void CreateInputMatrix(Array2<double>& P, const Array2<double>& corrMatrix, bool useLHS, bool useCorrelations,
                       const Interlude& interlude = {});

/// A whole number in lo..hi; the two ends are half as likely as the inner ones.
/// @draws  one
Long RandInt(Long lo, Long hi);

// A correlation list has one column per entry: two names and the coefficient as text (rows 1 to 3).

/// Completes a list in place: drops entries that name one parameter twice, lets the last of several
/// entries for one pair count, clamps coefficients to +-0.999999999999999, and appends the correlations
/// that chains of given ones imply, as products along the first chain found.
/// @raises 13 for a coefficient that is not a number
void AddImpliedCorrelations(Array2<std::string>& list);

/// An entry pairs a and b in either order.
bool CorrelationExists(const std::string& a, const std::string& b, const Array2<std::string>& list);

/// The names of a list in order of first appearance, and their correlation matrix.
void MakeCorrMatrix(const Array2<std::string>& list, Array2<double>& matrix, Array1<std::string>& ids);

/// Position of a name among the ids; 0 when absent.
Long IndexInList(const std::string& name, const Array1<std::string>& ids);

/// Upper triangular U with A = U'U. 0: done. 1: A is not square, or empty. 2: not positive definite.
Long Cholesky(const Array2<double>& A, Array2<double>& U);

/// Makes K positive definite: eigenvalues below 1E-10 are raised to 1E-10, then the diagonal is made 1
/// again. `errorText` is empty on success.
void FixCorrelations(Array2<double>& K, std::string& errorText);

/// Eigenvalues d and eigenvectors (columns of V) of a symmetric A by cyclic rotations; not sorted.
/// A is overwritten. At most 50 sweeps.
/// @source [Rut66]
void Jacobi(Array2<double>& A, Array1<double>& d, Array2<double>& V);

void CopyMatrix(const Array2<double>& A, Array2<double>& B);
void CopyStringMatrix(const Array2<std::string>& A, Array2<std::string>& B);
void Transpose(const Array2<double>& A, Array2<double>& B);

/// Out = A * B, in A's shape, so B must be square; left alone when A's columns are not as many as B's rows.
void MatMult(const Array2<double>& A, const Array2<double>& B, Array2<double>& Out);

} // namespace varnex3::alg_m_LatinHypercube
