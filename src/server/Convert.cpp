// server/Convert.cpp - the conversions that are not a line, and where outside objects become hosts.
#include "server/Convert.h"

#include <limits>
#include <string_view>

#include "runtime/LateBound.h"
#include "runtime/Number.h"
#include "server/Invoke.h"
#include "server/ScriptedHost.h"

namespace varnex3::server {
namespace {

bool truth(const std::string& text)
{
    if (sameName(text, "True")) return true;
    if (sameName(text, "False")) return false;
    return toDouble(text) != 0.0;
}

/// Elements of a one-dimensional array, made by `element`.
template <class T, class F>
Array1<T> listOf(const Variant& v, F&& element)
{
    Array1<T> list;
    std::visit(overloaded{
                   [](Empty) {},
                   [&](const DoubleArray1& given) {
                       for (double x : *given) list.append(element(Variant(x)));
                   },
                   [&](const VariantArray1& given) {
                       for (const Variant& x : *given) list.append(element(x));
                   },
                   [](const auto&) { raise(errors::TypeMismatch); },
               },
               v.held());
    return list;
}

} // namespace

Variant plainValue(const Variant& v)
{
    if (!std::holds_alternative<ObjectRef>(v.held())) return v;
    const ObjectRef object = v.object();
    if (!object) raise(errors::ObjectNotSet);
    if (auto* range = dynamic_cast<host::Range*>(object.get())) return range->Value();
    return lateBound(object)->invoke(kDefaultMember, InvokeKind::Read, {});
}

bool toBoolean(const Variant& v)
{
    if (const bool* flag = v.asBoolean()) return *flag;
    const Variant plain = plainValue(v);
    if (const std::string* text = plain.asText()) return truth(*text);
    return toDouble(plain) != 0.0;
}

std::int16_t toInteger(const Variant& v)
{
    const Long n = toLong(plainValue(v));
    using Limits = std::numeric_limits<std::int16_t>;
    if (n < Limits::min() || n > Limits::max()) raise(errors::Overflow);
    return static_cast<std::int16_t>(n);
}

Array1<double> toDoubles(const Variant& v)
{
    if (const auto* given = std::get_if<DoubleArray1>(&v.held())) return **given;
    return listOf<double>(v, [](const Variant& x) { return Convert<double>::from(x); });
}

Array1<Ref<host::Range>> toRanges(const Variant& v)
{
    return listOf<Ref<host::Range>>(v, [](const Variant& x) { return Convert<Ref<host::Range>>::from(x); });
}

Array2<std::string> toTexts(const Variant& v)
{
    const auto copy = [](const auto& given) {
        Array2<std::string> texts(given.rows(), given.cols());
        for (Long r : oneTo(given.rows()))
            for (Long c : oneTo(given.cols())) texts(r, c) = toText(plainValue(Variant(given(r, c))));
        return texts;
    };
    if (const auto* numbers = std::get_if<DoubleArray2>(&v.held())) return copy(**numbers);
    if (const auto* values = std::get_if<VariantArray2>(&v.held())) return copy(**values);
    raise(errors::TypeMismatch);
}

ObjectRef toObject(const Variant& v)
{
    const ObjectRef* held = std::get_if<ObjectRef>(&v.held());
    if (!held) raise(errors::TypeMismatch);
    return behindFace(*held);
}

Variant inward(const Variant& v)
{
    if (!std::holds_alternative<ObjectRef>(v.held())) return v;
    const ObjectRef object = behindFace(v.object());
    if (const Ref<host::Range> range = asHost<host::Range>(object)) return range;
    return Variant(object);
}

Variant outward(Variant v)
{
    const ObjectRef object = v.object();
    const auto* scripted = object ? dynamic_cast<const Scripted*>(object.get()) : nullptr;
    return scripted ? Variant(scripted->behind()) : v;
}

template <>
Ref<host::Application> asHost<host::Application>(const ObjectRef& object)
{
    auto outside = std::dynamic_pointer_cast<LateBound>(object);
    return outside ? std::make_shared<ScriptedApplication>(std::move(outside)) : nullptr;
}

template <>
Ref<host::Range> asHost<host::Range>(const ObjectRef& object)
{
    auto outside = std::dynamic_pointer_cast<LateBound>(object);
    return outside ? std::make_shared<ScriptedRange>(std::move(outside)) : nullptr;
}

} // namespace varnex3::server
