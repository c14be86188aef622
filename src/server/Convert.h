// server/Convert.h - values from outside as the types of the members, and back.
//
// Conversions are the macro runtime's: texts that read as numbers are numbers, an object stands for its
// default member where a value is wanted, 13 for what does not fit, 6 for what is too large.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "host/interface/Host.h"
#include "runtime/Array.h"
#include "runtime/LateBound.h"
#include "runtime/Variant.h"
#include "server/ClassTable.h"

namespace varnex3::server {

/// Name of a class in the table; specialised beside the rows.
template <class T>
inline constexpr const char* kClassName = nullptr;
template <>
inline constexpr const char* kClassName<host::Application> = "Application";
template <>
inline constexpr const char* kClassName<host::Workbooks> = "Workbooks";
template <>
inline constexpr const char* kClassName<host::Workbook> = "Workbook";
template <>
inline constexpr const char* kClassName<host::Worksheet> = "Worksheet";
template <>
inline constexpr const char* kClassName<host::Range> = "Range";

/// The value of an object's default member; other values as they are.
Variant plainValue(const Variant& v);

bool toBoolean(const Variant& v);
std::int16_t toInteger(const Variant& v);
Array1<double> toDoubles(const Variant& v); // an empty value is an empty array
Array1<Ref<host::Range>> toRanges(const Variant& v);
Array2<std::string> toTexts(const Variant& v);

/// The object in v as the library knows it, null for no object.
/// @raises  13 when v holds something else
ObjectRef toObject(const Variant& v);

/// A value for a member that takes anything: objects from outside become ranges.
Variant inward(const Variant& v);
/// What leaves: objects that came from outside leave as they came.
Variant outward(Variant v);

/// The outside object as a host object of that kind; null when it is not late-bound.
template <class T>
Ref<T> asHost(const ObjectRef& object);
template <>
Ref<host::Application> asHost<host::Application>(const ObjectRef& object);
template <>
Ref<host::Range> asHost<host::Range>(const ObjectRef& object);

template <class T>
struct Convert;

template <>
struct Convert<double> {
    static constexpr ValueType type{Type::Double};
    static double from(const Variant& v)
    {
        const double* number = v.asNumber();
        return number ? *number : toDouble(plainValue(v));
    }
    static Variant to(double x) { return x; }
};

template <>
struct Convert<Long> {
    static constexpr ValueType type{Type::Long};
    static Long from(const Variant& v) { return toLong(plainValue(v)); }
    static Variant to(Long n) { return static_cast<double>(n); }
};

template <>
struct Convert<std::int16_t> {
    static constexpr ValueType type{Type::Integer};
    static std::int16_t from(const Variant& v) { return toInteger(v); }
    static Variant to(std::int16_t n) { return static_cast<double>(n); }
};

template <>
struct Convert<bool> {
    static constexpr ValueType type{Type::Boolean};
    static bool from(const Variant& v) { return toBoolean(v); }
    static Variant to(bool b) { return b; }
};

template <>
struct Convert<std::string> {
    static constexpr ValueType type{Type::Text};
    static std::string from(const Variant& v) { return toText(plainValue(v)); }
    static Variant to(std::string text) { return text; }
};
template <>
struct Convert<const char*> {
    static constexpr ValueType type{Type::Text};
    static Variant to(const char* text) { return text; }
};

template <>
struct Convert<Variant> {
    static constexpr ValueType type{Type::Variant};
    static Variant from(const Variant& v) { return inward(v); }
    static Variant to(Variant v) { return outward(std::move(v)); }
};

/// A number, or none where the text "none" or nothing stands.
template <>
struct Convert<std::optional<double>> {
    static constexpr ValueType type{Type::Variant};
    static std::optional<double> from(const Variant& v)
    {
        const std::string* text = v.asText();
        if (v.isEmpty() || isMissing(v) || (text && *text == "none")) return std::nullopt;
        return Convert<double>::from(v);
    }
};

template <>
struct Convert<Array1<double>> {
    static constexpr ValueType type{Type::Doubles};
    static Array1<double> from(const Variant& v) { return toDoubles(v); }
    static Variant to(Array1<double> values)
    {
        return DoubleArray1(std::make_shared<Array1<double>>(std::move(values)));
    }
};
template <>
struct Convert<Array1<Ref<host::Range>>> {
    static constexpr ValueType type{Type::Ranges};
    static Array1<Ref<host::Range>> from(const Variant& v) { return toRanges(v); }
};
template <>
struct Convert<Array2<std::string>> {
    static constexpr ValueType type{Type::Texts};
    static Array2<std::string> from(const Variant& v) { return toTexts(v); }
};

template <class T>
struct Convert<Ref<T>> {
    static constexpr ValueType type{Type::Object, kClassName<T>};
    static Ref<T> from(const Variant& v)
    {
        const ObjectRef object = toObject(v);
        if (!object) return nullptr;
        Ref<T> typed = std::dynamic_pointer_cast<T>(object);
        if constexpr (std::is_same_v<T, host::Application> || std::is_same_v<T, host::Range>)
            if (!typed) typed = asHost<T>(object);
        if (!typed) raise(errors::TypeMismatch);
        return typed;
    }
    static Variant to(Ref<T> object) { return outward(Variant(std::move(object))); }
};

} // namespace varnex3::server
