// stats/distributions/PortableNumber.h - a double for Boost.Math that brings its own elementary functions.
//
// Boost.Math calls exp, log and the rest unqualified, so a type with functions of its own in its namespace
// gets those of runtime/Elementary.h, whatever the system's <cmath> does. Precision and methods are those
// that Boost.Math chooses for a double. Included by SpecialFunctions.cpp alone.
#pragma once

#include <cmath>
#include <limits>
#include <ostream>
#include <type_traits>

#include "runtime/Elementary.h"

namespace varnex3::special {

template <class T>
concept PlainNumber = std::is_arithmetic_v<T>;

class PortableNumber {
public:
    constexpr PortableNumber() = default;
    template <PlainNumber T>
    constexpr PortableNumber(T value) : value_(static_cast<double>(value))
    {}

    constexpr double value() const { return value_; }
    template <PlainNumber T>
    explicit constexpr operator T() const
    {
        return static_cast<T>(value_);
    }

    constexpr PortableNumber& operator+=(PortableNumber b) { return *this = *this + b; }
    constexpr PortableNumber& operator-=(PortableNumber b) { return *this = *this - b; }
    constexpr PortableNumber& operator*=(PortableNumber b) { return *this = *this * b; }
    constexpr PortableNumber& operator/=(PortableNumber b) { return *this = *this / b; }
    constexpr PortableNumber& operator++() { return *this += 1.0; }
    constexpr PortableNumber& operator--() { return *this -= 1.0; }

    friend constexpr PortableNumber operator+(PortableNumber a) { return a; }
    friend constexpr PortableNumber operator-(PortableNumber a) { return -a.value_; }
    friend constexpr PortableNumber operator+(PortableNumber a, PortableNumber b)
    {
        return a.value_ + b.value_;
    }
    friend constexpr PortableNumber operator-(PortableNumber a, PortableNumber b)
    {
        return a.value_ - b.value_;
    }
    friend constexpr PortableNumber operator*(PortableNumber a, PortableNumber b)
    {
        return a.value_ * b.value_;
    }
    friend constexpr PortableNumber operator/(PortableNumber a, PortableNumber b)
    {
        return a.value_ / b.value_;
    }
    friend constexpr bool operator==(PortableNumber a, PortableNumber b) { return a.value_ == b.value_; }
    friend constexpr auto operator<=>(PortableNumber a, PortableNumber b) { return a.value_ <=> b.value_; }

private:
    double value_ = 0.0;
};

inline PortableNumber exp(PortableNumber x) { return elementary::exp(x.value()); }
inline PortableNumber log(PortableNumber x) { return elementary::log(x.value()); }
inline PortableNumber pow(PortableNumber x, PortableNumber y)
{
    return elementary::pow(x.value(), y.value());
}
inline PortableNumber sin(PortableNumber x) { return elementary::sin(x.value()); }
inline PortableNumber cos(PortableNumber x) { return elementary::cos(x.value()); }
inline PortableNumber asin(PortableNumber x) { return elementary::asin(x.value()); }
inline PortableNumber acos(PortableNumber x) { return elementary::acos(x.value()); }
inline PortableNumber sqrt(PortableNumber x) { return std::sqrt(x.value()); }
inline PortableNumber fabs(PortableNumber x) { return std::fabs(x.value()); }
inline PortableNumber abs(PortableNumber x) { return std::fabs(x.value()); }
inline PortableNumber floor(PortableNumber x) { return std::floor(x.value()); }
inline PortableNumber ceil(PortableNumber x) { return std::ceil(x.value()); }
inline PortableNumber fmod(PortableNumber x, PortableNumber y) { return std::fmod(x.value(), y.value()); }
inline PortableNumber ldexp(PortableNumber x, int exponent) { return std::ldexp(x.value(), exponent); }
inline PortableNumber frexp(PortableNumber x, int* exponent) { return std::frexp(x.value(), exponent); }
template <class Char, class Traits>
std::basic_ostream<Char, Traits>& operator<<(std::basic_ostream<Char, Traits>& out, const PortableNumber& x)
{
    return out << x.value(); // into the texts of errors, which are ignored
}
inline PortableNumber modf(PortableNumber x, PortableNumber* whole)
{
    double part = 0.0;
    const double rest = std::modf(x.value(), &part);
    *whole = part;
    return rest;
}

} // namespace varnex3::special

template <>
class std::numeric_limits<varnex3::special::PortableNumber> : public std::numeric_limits<double> {
    using Number = varnex3::special::PortableNumber;
    using Base = std::numeric_limits<double>;

public:
    static constexpr Number min() noexcept { return Base::min(); }
    static constexpr Number max() noexcept { return Base::max(); }
    static constexpr Number lowest() noexcept { return Base::lowest(); }
    static constexpr Number epsilon() noexcept { return Base::epsilon(); }
    static constexpr Number round_error() noexcept { return Base::round_error(); }
    static constexpr Number infinity() noexcept { return Base::infinity(); }
    static constexpr Number quiet_NaN() noexcept { return Base::quiet_NaN(); }
    static constexpr Number signaling_NaN() noexcept { return Base::signaling_NaN(); }
    static constexpr Number denorm_min() noexcept { return Base::denorm_min(); }
};
