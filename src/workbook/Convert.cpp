// workbook/Convert.cpp - values across the boundary of the engine.
#include "workbook/Convert.h"

#include <cmath>

namespace varnex3::workbook {

namespace {

using sheet::Failure;

struct Code {
    Failure failure;
    Long number;
};

constexpr Code kCodes[] = {
    {Failure::Null, 2000}, {Failure::Div0, 2007},     {Failure::Value, 2015}, {Failure::Ref, 2023},
    {Failure::Name, 2029}, {Failure::Num, 2036},      {Failure::NA, 2042},    {Failure::Spill, 2045},
    {Failure::Calc, 2050}, {Failure::Circular, 2046},
};

Variant arrayVariant(const sheet::Value& value)
{
    auto array = std::make_shared<Array2<Variant>>(value.rows(), value.cols());
    for (Long r : oneTo(value.rows()))
        for (Long c : oneTo(value.cols())) (*array)(r, c) = toVariant(value.at(r - 1, c - 1));
    return VariantArray2(std::move(array));
}

} // namespace

ErrorValue errorValue(Failure failure)
{
    for (const Code& code : kCodes)
        if (code.failure == failure) return {code.number};
    return {2015};
}

Failure failureOf(ErrorValue error)
{
    for (const Code& code : kCodes)
        if (code.number == error.code) return code.failure;
    return Failure::Value;
}

Variant toVariant(const sheet::Value& value)
{
    switch (value.kind()) {
    case sheet::Kind::Empty: return {};
    case sheet::Kind::Number: return value.number();
    case sheet::Kind::Boolean: return value.boolean();
    case sheet::Kind::Failure: return errorValue(value.failure());
    case sheet::Kind::Text: return value.text();
    case sheet::Kind::Array: return arrayVariant(value);
    case sheet::Kind::Reference:
    case sheet::Kind::Function: return errorValue(Failure::Value); // cells never hold one
    }
    return {};
}

sheet::Value toValue(const Variant& v)
{
    return std::visit(
        overloaded{
            [](Empty) { return sheet::Value(); },
            [](double x) { return std::isfinite(x) ? sheet::Value(x) : sheet::Value(Failure::Num); },
            [](bool b) { return sheet::Value(b); },
            [](const std::string& text) { return sheet::Value(text); },
            [](ErrorValue error) { return sheet::Value(failureOf(error)); },
            [](const auto&) -> sheet::Value { raise(errors::TypeMismatch); },
        },
        v.held());
}

} // namespace varnex3::workbook
