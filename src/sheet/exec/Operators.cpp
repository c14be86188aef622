// sheet/exec/Operators.cpp - coercion, failures and arrays around the plain arithmetic.
#include "sheet/exec/Operators.h"

#include <algorithm>

namespace varnex3::sheet {
namespace {

Value scalarBinary(Operator op, const Value& a, const Value& b, DateSystem dates, bool final)
{
    if (a.isFailure()) return a;
    if (b.isFailure()) return b;
    if (a.isFunction() || b.isFunction()) return Failure::Value;
    if (isComparison(op)) return holds(op, compareValues(a, b));
    if (op == Operator::Concat) {
        const Value left = toText(a), right = toText(b);
        if (left.isFailure()) return left;
        if (right.isFailure()) return right;
        constexpr std::size_t kLongestText = 32767;
        if (left.text().size() + right.text().size() > 4 * kLongestText) return Failure::Value;
        return Value(left.text() + right.text());
    }
    const Value x = toNumber(a, dates);
    if (x.isFailure()) return x;
    const Value y = toNumber(b, dates);
    if (y.isFailure()) return y;
    Value result = arithmetic(op, x.number(), y.number());
    if (final && result.isNumber() && (op == Operator::Add || op == Operator::Subtract))
        result.setNumber(cancelled(result.number(), x.number()));
    return result;
}

template <class F>
Value elementwise(const Value& a, const Value& b, F&& f)
{
    const std::int32_t rows = std::max(rowsOf(a), rowsOf(b)), cols = std::max(colsOf(a), colsOf(b));
    std::vector<Value> items;
    items.reserve(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < cols; ++c)
            items.push_back(f(spreadElement(a, r, c), spreadElement(b, r, c)));
    return Value::array(rows, cols, std::move(items));
}

} // namespace

int compareCloseNumbers(double a, double b) { return compareValues(Value(a), Value(b)); }

Value arithmetic(Operator op, double x, double y)
{
    double r = 0.0;
    switch (op) {
    case Operator::Add: r = x + y; break;
    case Operator::Subtract: r = x - y; break;
    case Operator::Multiply: r = x * y; break;
    case Operator::Divide:
        if (y == 0.0) return Failure::Div0;
        r = x / y;
        break;
    default:
        if (x == 0.0 && y < 0.0) return Failure::Div0;
        r = power(x, y);
        break;
    }
    return std::isfinite(r) ? Value(r) : Value(Failure::Num);
}

Value applyBinary(Operator op, const Value& a, const Value& b, DateSystem dates)
{
    if (a.isArray() || b.isArray())
        return elementwise(
            a, b, [&](const Value& x, const Value& y) { return scalarBinary(op, x, y, dates, false); });
    return scalarBinary(op, a, b, dates, false);
}

Value applyFinalBinary(Operator op, const Value& a, const Value& b, DateSystem dates)
{
    if (a.isArray() || b.isArray())
        return elementwise(
            a, b, [&](const Value& x, const Value& y) { return scalarBinary(op, x, y, dates, true); });
    return scalarBinary(op, a, b, dates, true);
}

Value applyUnary(Operator op, const Value& a, DateSystem dates)
{
    if (a.isArray()) {
        std::vector<Value> items;
        items.reserve(a.items().size());
        for (const Value& item : a.items()) items.push_back(applyUnary(op, item, dates));
        return Value::array(a.rows(), a.cols(), std::move(items));
    }
    if (a.isFailure() || op == Operator::Plus) return a;
    const Value x = toNumber(a, dates);
    if (x.isFailure()) return x;
    return op == Operator::Negate ? Value(-x.number()) : Value(x.number() / 100.0);
}

Value spreadElement(const Value& v, std::int32_t r, std::int32_t c)
{
    if (!v.isArray()) return v.isFunction() ? Value(Failure::Calc) : v;
    if (v.rows() == 1) r = 0;
    if (v.cols() == 1) c = 0;
    if (r >= v.rows() || c >= v.cols()) return Failure::NA;
    return v.at(r, c);
}

} // namespace varnex3::sheet
