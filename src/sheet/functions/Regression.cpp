// sheet/functions/Regression.cpp - least squares: LINEST, LOGEST, TREND and GROWTH.
//
// One fit serves the four: QR with column pivoting of the centred variables. Simple regressions of one
// variable (SLOPE, FORECAST) are with the statistics.
#include "sheet/functions/Regression.h"

#include <cmath>
#include <optional>
#include <vector>

#include <Eigen/Dense>

#include "sheet/functions/Samples.h"

namespace varnex3::sheet {
namespace {

/// Which way the observations run, found from the shapes of y and x.
enum class Layout : std::uint8_t {
    Single,  // one variable: x has the shape of y, whatever that is
    Columns, // observations below one another, one column of x per variable
    Rows,    // observations side by side, one row of x per variable
};

struct Data {
    Layout layout = Layout::Single;
    std::int32_t shapeRows = 0, shapeCols = 0; // of y
    Eigen::VectorXd y;
    Eigen::MatrixXd x; // observation x variable
    std::optional<Failure> failure;
};

struct Fit {
    Eigen::VectorXd slopes; // 0 for variables that others determine
    double intercept = 0.0;
    Eigen::VectorXd slopeErrors;
    double interceptError = 0.0;
    double residualSquares = 0.0, regressionSquares = 0.0;
    double freedom = 0.0; // observations less fitted coefficients
    Eigen::Index rank = 0;
};

/// Rows of a table as observations of its variables.
Eigen::MatrixXd observations(const Table& t, Layout layout)
{
    if (layout == Layout::Single) {
        Eigen::MatrixXd x(static_cast<Eigen::Index>(t.x.size()), 1);
        for (std::size_t i = 0; i < t.x.size(); ++i) x(static_cast<Eigen::Index>(i), 0) = t.x[i];
        return x;
    }
    const bool down = layout == Layout::Columns;
    Eigen::MatrixXd x(down ? t.rows : t.cols, down ? t.cols : t.rows);
    for (std::int32_t r = 0; r < t.rows; ++r)
        for (std::int32_t c = 0; c < t.cols; ++c) (down ? x(r, c) : x(c, r)) = t.at(r, c);
    return x;
}

/// The table 1, 2, 3 ... that stands for xs left out.
Table counting(std::int32_t rows, std::int32_t cols)
{
    Table t{rows, cols, {}, std::nullopt};
    for (std::int32_t i = 1; i <= rows * cols; ++i) t.x.push_back(i);
    return t;
}

Table xTable(Call& call, const Table& y)
{
    return call.given(1) ? tableOf(call, 1) : counting(y.rows, y.cols);
}

/// Reads ys and xs. With `logarithmic` the logarithms of ys, which have to be positive (#NUM!).
Data dataFrom(Call& call, bool logarithmic)
{
    Data d;
    const Table y = tableOf(call, 0);
    if (y.failure) {
        d.failure = y.failure;
        return d;
    }
    const Table x = xTable(call, y);
    d.shapeRows = y.rows;
    d.shapeCols = y.cols;
    if (x.failure) {
        d.failure = x.failure;
    } else if (x.rows == y.rows && x.cols == y.cols) {
        d.layout = Layout::Single;
    } else if (y.cols == 1 && x.rows == y.rows) {
        d.layout = Layout::Columns;
    } else if (y.rows == 1 && x.cols == y.cols) {
        d.layout = Layout::Rows;
    } else {
        d.failure = Failure::Ref;
    }
    if (d.failure) return d;
    d.x = observations(x, d.layout);
    d.y = observations(y, Layout::Single).col(0);
    if (!logarithmic) return d;
    if ((d.y.array() <= 0.0).any()) d.failure = Failure::Num;
    d.y = d.y.array().log().matrix();
    return d;
}

/// Fits y = intercept + x * slopes.
///
///   1. Centre the variables and y on their means, when there is an intercept.
///   2. Factorise with column pivoting; columns beyond the rank depend on others and get a slope of 0.
///   3. Errors: s² = residual squares / freedom; the slopes' from the diagonal of s² (R'R)^-1, the
///      intercept's from s² (1/n + m'(R'R)^-1 m), m the means of the variables.
Fit fitted(const Data& d, bool withIntercept)
{
    const Eigen::Index n = d.x.rows(), k = d.x.cols();
    Eigen::RowVectorXd means = Eigen::RowVectorXd::Zero(k);
    double yMean = 0.0;
    if (withIntercept) {
        means = d.x.colwise().mean();
        yMean = d.y.mean();
    }
    const Eigen::MatrixXd x = d.x.rowwise() - means;
    const Eigen::VectorXd y = (d.y.array() - yMean).matrix();

    Eigen::ColPivHouseholderQR<Eigen::MatrixXd> qr;
    qr.setThreshold(1e-13);
    qr.compute(x);

    Fit fit;
    fit.rank = qr.rank();
    fit.slopes = Eigen::VectorXd::Zero(k);
    fit.slopeErrors = Eigen::VectorXd::Zero(k);
    Eigen::MatrixXd inverse; // of the triangle R
    if (fit.rank > 0) {
        const Eigen::MatrixXd triangle = qr.matrixR().topLeftCorner(fit.rank, fit.rank);
        inverse =
            triangle.triangularView<Eigen::Upper>().solve(Eigen::MatrixXd::Identity(fit.rank, fit.rank));
        const Eigen::VectorXd projected = qr.householderQ().adjoint() * y;
        const Eigen::VectorXd solution =
            triangle.triangularView<Eigen::Upper>().solve(projected.head(fit.rank));
        for (Eigen::Index i = 0; i < fit.rank; ++i)
            fit.slopes(qr.colsPermutation().indices()(i)) = solution(i);
    }
    fit.intercept = withIntercept ? yMean - means.dot(fit.slopes) : 0.0;

    const Eigen::VectorXd explained = x * fit.slopes;
    fit.regressionSquares = explained.squaredNorm();
    fit.residualSquares = (y - explained).squaredNorm();
    fit.freedom = static_cast<double>(n - fit.rank - (withIntercept ? 1 : 0));

    const double s = fit.freedom > 0.0 ? std::sqrt(fit.residualSquares / fit.freedom) : 0.0;
    double meanTerm = 0.0; // m'(R'R)^-1 m = |m' R^-1|²
    for (Eigen::Index i = 0; i < fit.rank; ++i)
        fit.slopeErrors(qr.colsPermutation().indices()(i)) = s * inverse.row(i).norm();
    for (Eigen::Index j = 0; j < fit.rank; ++j) {
        double dot = 0.0;
        for (Eigen::Index i = 0; i <= j; ++i) dot += means(qr.colsPermutation().indices()(i)) * inverse(i, j);
        meanTerm += dot * dot;
    }
    fit.interceptError = s * std::sqrt(1.0 / static_cast<double>(n) + meanTerm);
    return fit;
}

/// True unless written as FALSE; an argument left empty between separators is not written.
bool flag(Call& call, int i, bool otherwise) { return call.given(i) ? call.boolean(i) : otherwise; }

/// The result of LINEST and LOGEST: slopes from the last variable to the first, then the intercept; with
/// statistics four more rows, filled up with #N/A.
Value report(Call& call, bool logarithmic)
{
    const Data d = dataFrom(call, logarithmic);
    if (d.failure) return *d.failure;
    const bool withIntercept = flag(call, 2, true), statistics = flag(call, 3, false);
    const Fit fit = fitted(d, withIntercept);

    const auto k = static_cast<std::int32_t>(d.x.cols());
    const std::int32_t width = k + 1, height = statistics ? 5 : 1;
    std::vector<Value> items(static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
                             Value(Failure::NA));
    const auto put = [&](std::int32_t row, std::int32_t col, const Value& v) {
        items[static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
              static_cast<std::size_t>(col)] = v;
    };
    const auto shown = [&](double c) { return finite(logarithmic ? std::exp(c) : c); };
    for (std::int32_t j = 0; j < k; ++j) put(0, j, shown(fit.slopes(k - 1 - j)));
    put(0, k, shown(fit.intercept));
    if (statistics) {
        for (std::int32_t j = 0; j < k; ++j) put(1, j, fit.slopeErrors(k - 1 - j));
        if (withIntercept) put(1, k, fit.interceptError);
        const double total = fit.regressionSquares + fit.residualSquares;
        put(2, 0, finite(fit.regressionSquares / total));
        put(2, 1, fit.freedom > 0.0 ? std::sqrt(fit.residualSquares / fit.freedom) : 0.0);
        const double f =
            fit.regressionSquares / static_cast<double>(fit.rank) / (fit.residualSquares / fit.freedom);
        put(3, 0, fit.freedom > 0.0 ? finite(f) : Value(Failure::Num));
        put(3, 1, fit.freedom);
        put(4, 0, fit.regressionSquares);
        put(4, 1, fit.residualSquares);
    }
    return Value::array(height, width, std::move(items));
}

/// The result of TREND and GROWTH: the fitted y at the new xs; one per observation, in the shape of the
/// new xs for a single variable, else as a column or row.
Value predictions(Call& call, bool logarithmic)
{
    const Data d = dataFrom(call, logarithmic);
    if (d.failure) return *d.failure;
    const Table at = call.given(2) ? tableOf(call, 2) : xTable(call, tableOf(call, 0));
    if (at.failure) return *at.failure;
    const std::int32_t variables = static_cast<std::int32_t>(d.x.cols());
    if (d.layout == Layout::Columns && at.cols != variables) return Failure::Ref;
    if (d.layout == Layout::Rows && at.rows != variables) return Failure::Ref;

    const Fit fit = fitted(d, flag(call, 3, true));
    const Eigen::VectorXd y = ((observations(at, d.layout) * fit.slopes).array() + fit.intercept).matrix();
    std::vector<Value> items;
    for (double v : y) items.push_back(finite(logarithmic ? std::exp(v) : v));
    const auto n = static_cast<std::int32_t>(items.size());
    switch (d.layout) {
    case Layout::Columns: return Value::array(n, 1, std::move(items));
    case Layout::Rows: return Value::array(1, n, std::move(items));
    default: return Value::array(at.rows, at.cols, std::move(items));
    }
}

} // namespace

Value linest(Call& call) { return report(call, false); }
Value logest(Call& call) { return report(call, true); }
Value trend(Call& call) { return predictions(call, false); }
Value growth(Call& call) { return predictions(call, true); }

} // namespace varnex3::sheet
