// sheet/functions/Matrix.cpp - products, inverses and determinants of matrices.
//
// The only file of the engine that uses a linear-algebra library. TRANSPOSE is with the lookup functions.
#include <cmath>
#include <variant>

#include <Eigen/LU>

#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

using Matrix = Eigen::MatrixXd;

/// The argument as a matrix: numbers only, empty cells and texts are #VALUE!.
std::variant<Matrix, Failure> matrixOf(const Call& call, int i)
{
    const std::int32_t cols = call.cols(i);
    const std::vector<Value> elements = call.elements(i);
    if (elements.size() != static_cast<std::size_t>(call.rows(i)) * static_cast<std::size_t>(cols))
        return Failure::Value; // whole columns: what is not in use holds no numbers
    Matrix m(call.rows(i), cols);
    for (std::size_t k = 0; k < elements.size(); ++k) {
        if (elements[k].isFailure()) return elements[k].failure();
        if (!elements[k].isNumber()) return Failure::Value;
        const auto n = static_cast<Eigen::Index>(k);
        m(n / cols, n % cols) = elements[k].number();
    }
    return m;
}

Value arrayOf(const Matrix& m)
{
    std::vector<Value> items;
    items.reserve(static_cast<std::size_t>(m.size()));
    for (Eigen::Index r = 0; r < m.rows(); ++r)
        for (Eigen::Index c = 0; c < m.cols(); ++c) items.push_back(finite(m(r, c)));
    return Value::array(static_cast<std::int32_t>(m.rows()), static_cast<std::int32_t>(m.cols()),
                        std::move(items));
}

Value product(Call& call)
{
    const auto a = matrixOf(call, 0), b = matrixOf(call, 1);
    if (const auto* failure = std::get_if<Failure>(&a)) return *failure;
    if (const auto* failure = std::get_if<Failure>(&b)) return *failure;
    const Matrix &left = std::get<Matrix>(a), &right = std::get<Matrix>(b);
    if (left.cols() != right.rows()) return Failure::Value;
    // Row by column, left to right: the same bits with every build.
    Matrix result(left.rows(), right.cols());
    for (Eigen::Index r = 0; r < left.rows(); ++r)
        for (Eigen::Index c = 0; c < right.cols(); ++c) {
            double sum = 0.0;
            for (Eigen::Index k = 0; k < left.cols(); ++k) sum += left(r, k) * right(k, c);
            result(r, c) = sum;
        }
    return arrayOf(result);
}

Value inverse(Call& call)
{
    const auto given = matrixOf(call, 0);
    if (const auto* failure = std::get_if<Failure>(&given)) return *failure;
    const Matrix& m = std::get<Matrix>(given);
    if (m.rows() != m.cols()) return Failure::Value;
    const Eigen::PartialPivLU<Matrix> decomposition(m);
    if ((decomposition.matrixLU().diagonal().array() == 0.0).any()) return Failure::Num; // singular
    return arrayOf(decomposition.inverse());
}

Value determinant(Call& call)
{
    const auto given = matrixOf(call, 0);
    if (const auto* failure = std::get_if<Failure>(&given)) return *failure;
    const Matrix& m = std::get<Matrix>(given);
    if (m.rows() != m.cols()) return Failure::Value;
    return finite(Eigen::PartialPivLU<Matrix>(m).determinant());
}

Value unit(Call& call)
{
    const double size = std::trunc(call.number(0));
    if (!(size >= 1.0)) return Failure::Value;
    if (size > 4096.0) return Failure::Num; // 4096 x 4096 values already fill 256 MB
    const auto n = static_cast<Eigen::Index>(size);
    return arrayOf(Matrix::Identity(n, n));
}

constexpr FunctionRow rows[] = {
    {"MDETERM", {array()}, Trait::Pure, determinant, "determinant of a matrix", "=MDETERM({3,8;4,6})", "-14"},
    {"MINVERSE", {array()}, Trait::Pure, inverse, "inverse of a matrix", "=SUM(MINVERSE({2,0;0,4}))", "0.75"},
    {"MMULT",
     {array(), array()},
     Trait::Pure,
     product,
     "product of two matrices",
     "=SUM(MMULT({1,2}, {3;4}))",
     "11"},
    {"MUNIT", {number()}, Trait::Pure, unit, "unit matrix of that size", "=SUM(MUNIT(3))", "3"},
};
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> matrixFunctions() { return rows; }

} // namespace varnex3::sheet
