// server/Thunks.h - the functions of the rows, made from member pointers.
//
// Types and by-reference results follow from the C++ signatures; names, defaults and what is passed by
// value stand in the row.
#pragma once

#include <cstddef>
#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "server/Convert.h"

namespace varnex3::server {

/// Picks an overload by its signature: pick<void(double)>(&T::member), pick<double() const>(&T::member).
template <class Signature, class C>
constexpr auto pick(Signature C::*member)
{
    return member;
}

template <class M>
struct Signature;
template <class R, class C, class... P>
struct Signature<R (C::*)(P...)> {
    using Self = C;
    using Result = R;
    using Parameters = std::tuple<P...>;
};
template <class R, class C, class... P>
struct Signature<R (C::*)(P...) const> : Signature<R (C::*)(P...)> {};
template <class R, class C, class... P>
struct Signature<R (*)(C&, P...)> : Signature<R (C::*)(P...)> {}; // a free function stands in for a member

/// One parameter of a C++ member during a call.
template <class P, class T = std::remove_cvref_t<P>>
class Slot {
public:
    Slot(const Variant& v, const ArgumentRow& row)
        : value_(isMissing(v) && !std::is_same_v<T, std::optional<double>> ? standard(row)
                                                                           : Convert<T>::from(v))
    {}
    P pass() { return static_cast<P>(value_); }
    void writeBack(Variant& v)
    {
        if constexpr (kChanges) v = Convert<T>::to(std::move(value_));
    }

    static constexpr ValueType kType = Convert<T>::type;
    static constexpr bool kChanges =
        std::is_lvalue_reference_v<P> && !std::is_const_v<std::remove_reference_t<P>>;

private:
    static T standard(const ArgumentRow& row)
    {
        if constexpr (std::is_same_v<T, std::string>)
            return {};
        else if constexpr (std::is_same_v<T, Variant>)
            return row.standard == 0.0 ? Variant() : Variant(row.standard);
        else
            return Convert<T>::from(row.standard);
    }
    T value_;
};

/// An object passed as a C++ reference; raises 91 for no object.
template <class P, class T>
requires std::is_base_of_v<Object, T>
class Slot<P, T> {
public:
    Slot(const Variant& v, const ArgumentRow&) : object_(Convert<Ref<T>>::from(v)) {}
    P pass() { return required(object_); }
    void writeBack(Variant&) {}

    static constexpr ValueType kType = Convert<Ref<T>>::type;
    static constexpr bool kChanges = false;

private:
    Ref<T> object_;
};

/// An optional number that the member assigns to: a null pointer when it is left out.
template <>
class Slot<double*, double*> {
public:
    Slot(const Variant& v, const ArgumentRow&)
        : given_(!isMissing(v)), value_(given_ ? Convert<double>::from(v) : 0.0)
    {}
    double* pass() { return given_ ? &value_ : nullptr; }
    void writeBack(Variant& v)
    {
        if (given_) v = value_;
    }

    static constexpr ValueType kType{Type::Double};
    static constexpr bool kChanges = true;

private:
    bool given_;
    double value_;
};

template <auto Member, std::size_t... I>
void call(Object& self, const MemberRow& row, Variant* arguments, Variant& result, std::index_sequence<I...>)
{
    using S = Signature<decltype(Member)>;
    using R = typename S::Result;
    auto& object = static_cast<typename S::Self&>(self);
    std::tuple<Slot<std::tuple_element_t<I, typename S::Parameters>>...> slots{
        Slot<std::tuple_element_t<I, typename S::Parameters>>(arguments[I], row.list.rows[I])...};
    if constexpr (std::is_void_v<R>)
        std::invoke(Member, object, std::get<I>(slots).pass()...);
    else
        result =
            Convert<std::remove_cvref_t<R>>::to(std::invoke(Member, object, std::get<I>(slots).pass()...));
    (std::get<I>(slots).writeBack(arguments[I]), ...);
}

template <auto Member>
void callMember(Object& self, const MemberRow& row, Variant* arguments, Variant& result)
{
    using Parameters = typename Signature<decltype(Member)>::Parameters;
    call<Member>(self, row, arguments, result, std::make_index_sequence<std::tuple_size_v<Parameters>>());
}

template <class M>
struct Field;
template <class T, class C>
struct Field<T C::*> {
    using Self = C;
    using Value = T;
};

template <auto Member>
void readField(Object& self, const MemberRow&, Variant*, Variant& result)
{
    using F = Field<decltype(Member)>;
    result = Convert<typename F::Value>::to(static_cast<typename F::Self&>(self).*Member);
}
template <auto Member>
void writeField(Object& self, const MemberRow&, Variant* arguments, Variant&)
{
    using F = Field<decltype(Member)>;
    static_cast<typename F::Self&>(self).*Member = Convert<typename F::Value>::from(arguments[0]);
}
template <const auto* Constant>
void readConstant(Object&, const MemberRow&, Variant*, Variant& result)
{
    result = Convert<std::remove_cvref_t<decltype(*Constant)>>::to(*Constant);
}

/// Sets the types of a row's arguments from the parameters of a C++ member.
template <class Parameters, std::size_t... I>
constexpr void typeArguments(Arguments& list, std::index_sequence<I...>)
{
    ((list.rows[I].type = Slot<std::tuple_element_t<I, Parameters>>::kType,
      list.rows[I].changed = Slot<std::tuple_element_t<I, Parameters>>::kChanges && !list.rows[I].byValue),
     ...);
}

/// How a property of that type can be assigned: objects by reference, anything else by value, and a
/// Variant either way.
constexpr void allowWrites(MemberRow& row, ValueType type)
{
    row.byReference = type.type == Type::Object || type.type == Type::Variant;
    row.byValue = type.type != Type::Object;
}

template <class R>
constexpr ValueType resultType()
{
    if constexpr (std::is_void_v<R>)
        return {};
    else
        return Convert<std::remove_cvref_t<R>>::type;
}

// Arguments of rows.
constexpr ArgumentRow ref(const char* name) { return {name, {}, false, false, false, 0.0}; }
constexpr ArgumentRow val(const char* name) { return {name, {}, true, false, false, 0.0}; }
constexpr ArgumentRow opt(const char* name, double standard = 0.0)
{
    return {name, {}, false, false, true, standard};
}

/// A method; the row names every parameter.
template <auto Member>
constexpr MemberRow method(const char* name, Arguments list, const char* summary)
{
    using S = Signature<decltype(Member)>;
    constexpr std::size_t count = std::tuple_size_v<typename S::Parameters>;
    if (list.count != count) throw "the row does not name every parameter";
    MemberRow row;
    row.name = name;
    row.method = true;
    row.read = callMember<Member>;
    row.type = resultType<typename S::Result>();
    row.list = list;
    typeArguments<typename S::Parameters>(row.list, std::make_index_sequence<count>());
    row.summary = summary;
    return row;
}

/// A property that is a field.
template <auto Member>
constexpr MemberRow field(const char* name, const char* summary)
{
    MemberRow row;
    row.name = name;
    row.read = readField<Member>;
    row.write = writeField<Member>;
    row.type = Convert<typename Field<decltype(Member)>::Value>::type;
    allowWrites(row, row.type);
    row.summary = summary;
    return row;
}

/// A read-only property.
template <auto Get>
constexpr MemberRow getter(const char* name, Arguments indexes, const char* summary)
{
    MemberRow row = method<Get>(name, indexes, summary);
    row.method = false;
    return row;
}
template <const auto* Constant>
constexpr MemberRow constant(const char* name, const char* summary)
{
    MemberRow row;
    row.name = name;
    row.read = readConstant<Constant>;
    row.type = Convert<std::remove_cvref_t<decltype(*Constant)>>::type;
    row.summary = summary;
    return row;
}

/// A write-only property: the last parameter of Put is its value.
template <auto Put>
constexpr MemberRow setter(const char* name, Arguments indexes, const char* summary)
{
    using Parameters = typename Signature<decltype(Put)>::Parameters;
    constexpr std::size_t count = std::tuple_size_v<Parameters>;
    if (indexes.count + 1 != count) throw "the row does not name every index";
    MemberRow row;
    row.name = name;
    row.write = callMember<Put>;
    row.type = Slot<std::tuple_element_t<count - 1, Parameters>>::kType;
    row.list = indexes;
    typeArguments<Parameters>(row.list, std::make_index_sequence<count - 1>());
    allowWrites(row, row.type);
    row.summary = summary;
    return row;
}

/// A property with a get and a put function, which take its indexes.
template <auto Get, auto Put>
constexpr MemberRow property(const char* name, Arguments indexes, const char* summary)
{
    MemberRow row = setter<Put>(name, indexes, summary);
    row.read = callMember<Get>;
    row.type = resultType<typename Signature<decltype(Get)>::Result>();
    return row;
}

template <class T>
ObjectRef makeObject()
{
    return std::make_shared<T>();
}
template <class T>
bool isObject(const Object& object)
{
    return dynamic_cast<const T*>(&object) != nullptr;
}

/// A class that can be created by its identifier.
template <class T>
constexpr ClassRow publicClass(std::span<const MemberRow> members, const char* summary, const char* example)
{
    return {kClassName<T>, true, makeObject<T>, isObject<T>, &typeid(T), members, 0, summary, example};
}

} // namespace varnex3::server
