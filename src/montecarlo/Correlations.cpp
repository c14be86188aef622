// montecarlo/Correlations.cpp - correlation lists and the matrices made of them (alg_m_LatinHypercube).
//
// Applying a matrix to a batch is in alg_m_LatinHypercube.cpp.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <utility>
#include <vector>

#include "montecarlo/alg_m_LatinHypercube.h"
#include "runtime/Number.h"
#include "runtime/Variant.h"

namespace varnex3::alg_m_LatinHypercube {
namespace {

constexpr double kLargest = 0.999999999999999; // of a coefficient; 1 would make the matrix singular
constexpr double kSmallestEigenvalue =
    1e-10; // of a repaired matrix: 0 would leave it singular but for rounding

struct Entry {
    std::string a, b, coefficient;
};

double number(const Entry& entry) { return toDouble(Variant(entry.coefficient)); }

std::vector<Entry> entriesOf(const Array2<std::string>& list)
{
    std::vector<Entry> entries;
    for (Long i : oneTo(list.cols())) entries.push_back({list(1, i), list(2, i), list(3, i)});
    return entries;
}

void toList(const std::vector<Entry>& entries, Array2<std::string>& list)
{
    list.resize(3, static_cast<Long>(entries.size()));
    Long i = 0;
    for (const Entry& entry : entries) {
        ++i;
        list(1, i) = entry.a;
        list(2, i) = entry.b;
        list(3, i) = entry.coefficient;
    }
}

/// The pairs that have an entry, in either order.
class Pairs {
public:
    bool contains(const std::string& a, const std::string& b) const
    {
        return pairs_.count(std::minmax(a, b)) > 0;
    }
    bool add(const std::string& a, const std::string& b) { return pairs_.insert(std::minmax(a, b)).second; }

private:
    std::set<std::pair<std::string, std::string>> pairs_;
};

/// Without pairs of a parameter with itself; a later entry for a pair replaces the coefficient of the first.
std::vector<Entry> tidied(const std::vector<Entry>& given)
{
    std::vector<Entry> entries;
    for (const Entry& entry : given) {
        if (entry.a == entry.b) continue;
        auto samePair = [&](const Entry& e) {
            return (e.a == entry.a && e.b == entry.b) || (e.a == entry.b && e.b == entry.a);
        };
        const auto found = std::find_if(entries.begin(), entries.end(), samePair);
        if (found == entries.end())
            entries.push_back(entry);
        else
            found->coefficient = entry.coefficient;
    }
    return entries;
}

/// The other parameter of an entry that contains `name`; null when it does not.
const std::string* otherOf(const Entry& entry, const std::string& name)
{
    if (entry.a == name) return &entry.b;
    if (entry.b == name) return &entry.a;
    return nullptr;
}

bool isSquare(const Array2<double>& A) { return A.rows() == A.cols(); }

} // namespace

void AddImpliedCorrelations(Array2<std::string>& list)
{
    Procedure here{"alg_m_LatinHypercube", "AddImpliedCorrelations"};

    here.at(1);
    std::vector<Entry> entries = tidied(entriesOf(list));
    for (Entry& entry : entries) {
        const double r = number(entry);
        if (std::fabs(r) > kLargest) entry.coefficient = toText(std::copysign(kLargest, r));
    }
    here.at(3);
    Pairs pairs;
    for (const Entry& entry : entries) pairs.add(entry.a, entry.b);
    // Entry i joins A and B; every entry j that joins one of them to some X implies the other one with X.
    // Both indices run over the entries appended on the way. Entries move as the list grows: copies.
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Entry first = entries[i];
        for (std::size_t j = 0; j < entries.size(); ++j) {
            if (j == i) continue;
            const Entry second = entries[j];
            const std::pair<const std::string*, const std::string*> joints[] = {{&first.a, &first.b},
                                                                                {&first.b, &first.a}};
            for (const auto& [common, other] : joints) {
                const std::string* x = otherOf(second, *common);
                if (!x || *x == *other || pairs.contains(*other, *x)) continue;
                entries.push_back({*other, *x, toText(number(first) * number(second))});
                pairs.add(*other, *x);
            }
        }
    }
    toList(entries, list);
}

bool CorrelationExists(const std::string& a, const std::string& b, const Array2<std::string>& list)
{
    Procedure here{"alg_m_LatinHypercube", "CorrelationExists"};

    for (Long i : oneTo(list.cols())) {
        if (list(1, i) == a && list(2, i) == b) return true;
        if (list(1, i) == b && list(2, i) == a) return true;
    }
    return false;
}

void MakeCorrMatrix(const Array2<std::string>& list, Array2<double>& matrix, Array1<std::string>& ids)
{
    Procedure here{"alg_m_LatinHypercube", "MakeCorrMatrix"};

    here.at(1);
    ids.clear();
    for (Long i : oneTo(list.cols()))
        for (Long element : {1, 2})
            if (IndexInList(list(element, i), ids) == 0) ids.append(list(element, i));
    here.at(2);
    matrix.resize(ids.size(), ids.size());
    for (Long k : oneTo(ids.size())) matrix(k, k) = 1.0;
    here.at(3);
    for (Long i : oneTo(list.cols())) {
        const Long k = IndexInList(list(1, i), ids), l = IndexInList(list(2, i), ids);
        if (k == l) continue; // the diagonal stays 1
        const double r = toDouble(Variant(list(3, i)));
        matrix(k, l) = r;
        matrix(l, k) = r;
    }
}

Long IndexInList(const std::string& name, const Array1<std::string>& ids)
{
    for (Long k : oneTo(ids.size()))
        if (ids(k) == name) return k;
    return 0;
}

Long Cholesky(const Array2<double>& A, Array2<double>& U)
{
    const Long n = A.rows();
    if (!isSquare(A) || n < 1) return 1;
    U.resize(n, n);
    for (Long i : oneTo(n)) {
        for (Long j : fromTo(i, n)) {
            double s = A(i, j);
            for (Long k : downTo(i - 1, 1)) s -= U(k, i) * U(k, j);
            if (i < j)
                U(i, j) = s / U(i, i);
            else if (s > 0.0)
                U(i, i) = std::sqrt(s);
            else
                return 2;
        }
    }
    return 0;
}

void FixCorrelations(Array2<double>& K, std::string& errorText)
{
    errorText.clear();
    if (!isSquare(K)) {
        errorText = "Correlations not a square matrix.";
        return;
    }
    try {
        const Long n = K.rows();
        Array1<double> d;
        Array2<double> V, D(n, n), Vt, T(n, n), half;
        Jacobi(K, d, V);
        for (Long i : oneTo(n)) D(i, i) = std::max(d(i), kSmallestEigenvalue);
        MatMult(V, D, half);
        Transpose(V, Vt);
        MatMult(half, Vt, K);
        for (Long i : oneTo(n)) T(i, i) = 1.0 / std::sqrt(K(i, i));
        MatMult(T, K, half);
        MatMult(half, T, K);
        for (Long i : oneTo(n)) K(i, i) = 1.0; // rounding leaves it near 1
    } catch (...) {
        adoptForeignException();
        errorText =
            "Error " + std::to_string(err().number) + ", " + err().description + " in FixCorrelations.";
        caught();
    }
}

namespace {

/// x and y after the rotation of sine sn, tau = sn / (1 + cs).
void rotate(double& x, double& y, double sn, double tau)
{
    const double g = x, h = y;
    x = g - sn * (h + g * tau);
    y = h + sn * (g - h * tau);
}

double sumAboveDiagonal(const Array2<double>& A)
{
    double sum = 0.0;
    for (Long p : oneTo(A.rows() - 1))
        for (Long q : fromTo(p + 1, A.rows())) sum += std::fabs(A(p, q));
    return sum;
}

} // namespace

void Jacobi(Array2<double>& A, Array1<double>& d, Array2<double>& V)
{
    Procedure here{"alg_m_LatinHypercube", "Jacobi"};

    const Long n = A.rows();
    if (!isSquare(A)) return;
    V.resize(n, n);
    d.resize(n);
    for (Long i : oneTo(n)) {
        V(i, i) = 1.0;
        d(i) = A(i, i);
    }
    Array1<double> b = d, z(n);
    for (Long sweep : oneTo(50)) {
        here.at(1);
        const double sm = sumAboveDiagonal(A);
        if (sm == 0.0) return;
        here.at(2);
        const double threshold = sweep <= 3 ? 0.2 * sm / (static_cast<double>(n) * n) : 0.0;
        here.at(3);
        for (Long p : oneTo(n - 1)) {
            for (Long q : fromTo(p + 1, n)) {
                const double g = 100.0 * std::fabs(A(p, q));
                if (sweep > 4 && std::fabs(d(p)) + g == std::fabs(d(p)) &&
                    std::fabs(d(q)) + g == std::fabs(d(q))) {
                    A(p, q) = 0.0;
                    continue;
                }
                if (!(std::fabs(A(p, q)) > threshold)) continue;
                double h = d(q) - d(p), t;
                if (std::fabs(h) + g == std::fabs(h)) {
                    t = A(p, q) / h;
                } else {
                    const double theta = 0.5 * h / A(p, q);
                    t = 1.0 / (std::fabs(theta) + std::sqrt(1.0 + theta * theta));
                    if (theta < 0.0) t = -t;
                }
                const double cs = 1.0 / std::sqrt(1.0 + t * t);
                const double sn = t * cs, tau = sn / (1.0 + cs);
                h = t * A(p, q);
                z(p) -= h;
                z(q) += h;
                d(p) -= h;
                d(q) += h;
                A(p, q) = 0.0;
                for (Long j : oneTo(p - 1)) rotate(A(j, p), A(j, q), sn, tau);
                for (Long j : fromTo(p + 1, q - 1)) rotate(A(p, j), A(j, q), sn, tau);
                for (Long j : fromTo(q + 1, n)) rotate(A(p, j), A(q, j), sn, tau);
                for (Long j : oneTo(n)) rotate(V(j, p), V(j, q), sn, tau);
            }
        }
        here.at(4);
        for (Long p : oneTo(n)) {
            b(p) += z(p);
            d(p) = b(p);
            z(p) = 0.0;
        }
    }
}

void CopyMatrix(const Array2<double>& A, Array2<double>& B) { B = A; }

void CopyStringMatrix(const Array2<std::string>& A, Array2<std::string>& B) { B = A; }

void Transpose(const Array2<double>& A, Array2<double>& B)
{
    Array2<double> turned(A.cols(), A.rows());
    for (Long r : oneTo(A.rows()))
        for (Long c : oneTo(A.cols())) turned(c, r) = A(r, c);
    B = std::move(turned);
}

void MatMult(const Array2<double>& A, const Array2<double>& B, Array2<double>& Out)
{
    if (A.cols() != B.rows()) return;
    Array2<double> product(A.rows(), A.cols());
    for (Long r : oneTo(A.rows())) {
        for (Long c : oneTo(A.cols())) {
            double sum = 0.0;
            for (Long k : oneTo(A.cols())) sum += A(r, k) * B(k, c);
            product(r, c) = sum;
        }
    }
    Out = std::move(product);
}

} // namespace varnex3::alg_m_LatinHypercube
