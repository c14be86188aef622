// runtime/Variant.h - the value that crosses the public boundary and the host interface.
//
// Empty, number, text, Boolean, host error value, array or object. Ask with the functions below; they
// hold the runtime's rules (an empty value counts as numeric 0, text may read as a number).
#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "runtime/Array.h"
#include "runtime/Error.h"
#include "runtime/Object.h"

namespace varnex3 {

class Variant;

struct Empty {
    friend bool operator==(Empty, Empty) { return true; }
};

/// A host error value such as #DIV/0!, told by the host's own number for it.
struct ErrorValue {
    Long code = 0; // 2000 #NULL!, 2007 #DIV/0!, 2015 #VALUE!, 2023 #REF!, 2029 #NAME?, 2036 #NUM!, 2042 #N/A
    friend bool operator==(ErrorValue, ErrorValue) = default;
};

using DoubleArray1 = std::shared_ptr<const Array1<double>>;
using DoubleArray2 = std::shared_ptr<const Array2<double>>;
using VariantArray1 = std::shared_ptr<const Array1<Variant>>;
using VariantArray2 = std::shared_ptr<const Array2<Variant>>;

template <class... F>
struct overloaded : F... {
    using F::operator()...;
};
template <class... F>
overloaded(F...) -> overloaded<F...>;

class Variant {
public:
    using Held = std::variant<Empty, double, bool, std::string, ErrorValue, ObjectRef, DoubleArray1,
                              DoubleArray2, VariantArray1, VariantArray2>;

    Variant() = default;
    Variant(double number) : held_(number) {}
    Variant(int number) : held_(static_cast<double>(number)) {}
    Variant(bool flag) : held_(flag) {}
    Variant(std::string text) : held_(std::move(text)) {}
    Variant(const char* text) : held_(std::string(text)) {}
    Variant(ErrorValue error) : held_(error) {}
    Variant(DoubleArray1 array) : held_(std::move(array)) {}
    Variant(DoubleArray2 array) : held_(std::move(array)) {}
    Variant(VariantArray1 array) : held_(std::move(array)) {}
    Variant(VariantArray2 array) : held_(std::move(array)) {}
    template <class T>
    requires std::is_base_of_v<Object, T> Variant(Ref<T> object) : held_(ObjectRef(std::move(object))) {}

    const Held& held() const { return held_; }

    bool isEmpty() const { return std::holds_alternative<Empty>(held_); } // never assigned, or an empty cell
    const double* asNumber() const { return std::get_if<double>(&held_); }
    const bool* asBoolean() const { return std::get_if<bool>(&held_); }
    const std::string* asText() const { return std::get_if<std::string>(&held_); }
    const ErrorValue* asError() const { return std::get_if<ErrorValue>(&held_); }
    ObjectRef object() const
    {
        const ObjectRef* held = std::get_if<ObjectRef>(&held_);
        return held ? *held : nullptr;
    }

    friend bool operator==(const Variant&, const Variant&) = default;

private:
    Held held_;
};

/// The runtime's numeric test: numbers, Booleans, empty values, and text that parses as a number.
bool isNumeric(const Variant& v);

/// Equal to the zero-length text: an empty value or an empty text.
bool isEmptyText(const Variant& v);

/// The value as a double: Booleans are -1 and 0, an empty value 0, text is parsed.
/// Raises 13 for anything that is not numeric.
double toDouble(const Variant& v);

/// `toDouble`, then to a 32-bit whole number, halves to even; raises 13 or 6.
Long toLong(const Variant& v);

/// The value as text; raises 13 for error values, arrays and objects.
std::string toText(const Variant& v);

} // namespace varnex3
