// bindings/windows/Values.cpp - one conversion per type, in either direction.
#include "bindings/windows/Values.h"

#include <algorithm>
#include <memory>

#include "bindings/windows/OurObject.h"
#include "bindings/windows/OutsideObject.h"
#include "runtime/LateBound.h"

namespace varnex3::windows {
namespace {

constexpr DWORD kRuntimeErrors = 0x800A0000U; // facility of the macro runtime's error numbers
constexpr DWORD kFacility = 0xFFFF0000U;

/// A VARIANT that is cleared at the end.
struct Owned {
    VARIANT v;
    Owned() { VariantInit(&v); }
    explicit Owned(const VARIANT& given) : v(given) {}
    ~Owned() { VariantClear(&v); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
};

[[noreturn]] void raiseConversion(HRESULT code)
{
    raise(code == DISP_E_OVERFLOW ? errors::Overflow : errors::TypeMismatch);
}

double numberIn(VARIANT v) // a copy that shares what it points to: the system's functions ask for it
{
    Owned number;
    const HRESULT code = VariantChangeTypeEx(&number.v, &v, kLocale, 0, VT_R8);
    if (FAILED(code)) raiseConversion(code);
    return V_R8(&number.v);
}

Variant objectIn(IUnknown* object)
{
    if (!object) return Variant(ObjectRef());
    if (const ObjectRef ours = OurObject::behind(object)) return Variant(ours);
    return Variant(OutsideObject::over(object));
}

Variant errorIn(SCODE code)
{
    if (code == DISP_E_PARAMNOTFOUND) return missingArgument();
    return ErrorValue{arrived(code)};
}

/// The elements of a SAFEARRAY as they lie in memory, as variants.
class Elements {
public:
    explicit Elements(SAFEARRAY* array) : array_(array)
    {
        if (FAILED(SafeArrayGetVartype(array, &type_))) raise(errors::TypeMismatch);
        if (FAILED(SafeArrayLock(array))) raise(errors::TypeMismatch);
    }
    ~Elements() { SafeArrayUnlock(array_); }
    Elements(const Elements&) = delete;
    Elements& operator=(const Elements&) = delete;

    Long size(UINT dimension) const
    {
        LONG lower = 0, upper = -1;
        SafeArrayGetLBound(array_, dimension, &lower);
        SafeArrayGetUBound(array_, dimension, &upper);
        return upper - lower + 1;
    }
    Variant at(std::size_t i) const
    {
        auto* bytes = static_cast<BYTE*>(array_->pvData) + i * array_->cbElements;
        if (type_ == VT_VARIANT) return fromCom(*reinterpret_cast<const VARIANT*>(bytes));
        VARIANT element;
        VariantInit(&element);
        V_VT(&element) = static_cast<VARTYPE>(type_ | VT_BYREF);
        V_BYREF(&element) = bytes;
        return fromCom(element);
    }

private:
    SAFEARRAY* array_;
    VARTYPE type_ = VT_EMPTY;
};

/// Arrays of any lower bound count from 1 here. The first dimension lies closest in memory.
Variant arrayIn(SAFEARRAY* array)
{
    if (!array) return {}; // declared, never sized
    const Elements elements(array);
    const UINT dimensions = SafeArrayGetDim(array);
    if (dimensions == 1) {
        auto list = std::make_shared<Array1<Variant>>(elements.size(1));
        for (Long i : oneTo(list->size())) (*list)(i) = elements.at(static_cast<std::size_t>(i - 1));
        return VariantArray1(std::move(list));
    }
    if (dimensions != 2) raise(errors::TypeMismatch);
    const Long rows = elements.size(1), cols = elements.size(2);
    auto table = std::make_shared<Array2<Variant>>(rows, cols);
    for (Long c : oneTo(cols))
        for (Long r : oneTo(rows))
            (*table)(r, c) = elements.at(static_cast<std::size_t>((c - 1) * rows + r - 1));
    return VariantArray2(std::move(table));
}

VARIANT numberOut(double x, server::Type type)
{
    VARIANT v;
    VariantInit(&v);
    if (type == server::Type::Long) {
        V_VT(&v) = VT_I4;
        V_I4(&v) = static_cast<LONG>(x);
    } else if (type == server::Type::Integer) {
        V_VT(&v) = VT_I2;
        V_I2(&v) = static_cast<SHORT>(x);
    } else {
        V_VT(&v) = VT_R8;
        V_R8(&v) = x;
    }
    return v;
}

VARIANT objectOut(const ObjectRef& object)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_DISPATCH;
    V_DISPATCH(&v) = nullptr;
    if (const auto* outside = dynamic_cast<const OutsideObject*>(object.get()))
        V_DISPATCH(&v) = outside->counted();
    else if (object)
        V_DISPATCH(&v) = OurObject::over(object);
    return v;
}

/// An array whose element i, in the order of memory, is element(i); its dimensions count from 1.
template <class F>
VARIANT arrayOut(VARTYPE type, std::initializer_list<Long> sizes, F&& element)
{
    SAFEARRAYBOUND bounds[2];
    std::size_t count = 1;
    UINT dimensions = 0;
    for (Long size : sizes) {
        bounds[dimensions++] = {static_cast<ULONG>(size), 1};
        count *= static_cast<std::size_t>(size);
    }
    SAFEARRAY* array = SafeArrayCreate(type, dimensions, bounds);
    if (!array) raise(errors::OutOfMemory);
    for (std::size_t i = 0; i < count; ++i)
        element(i, static_cast<BYTE*>(array->pvData) + i * array->cbElements);
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = static_cast<VARTYPE>(VT_ARRAY | type);
    V_ARRAY(&v) = array;
    return v;
}

/// Scripts can only look into arrays of variants.
template <class T>
VARIANT listOut(const Array1<T>& list)
{
    return arrayOut(VT_VARIANT, {list.size()}, [&](std::size_t i, BYTE* at) {
        *reinterpret_cast<VARIANT*>(at) = toCom(Variant(list(static_cast<Long>(i) + 1)));
    });
}
template <class T>
VARIANT tableOut(const Array2<T>& table)
{
    return arrayOut(VT_VARIANT, {table.rows(), table.cols()}, [&](std::size_t i, BYTE* at) {
        const auto rows = static_cast<std::size_t>(table.rows());
        *reinterpret_cast<VARIANT*>(at) =
            toCom(Variant(table(static_cast<Long>(i % rows) + 1, static_cast<Long>(i / rows) + 1)));
    });
}

VARIANT doublesOut(const Variant& result)
{
    const auto* list = std::get_if<DoubleArray1>(&result.held());
    if (!list) raise(errors::TypeMismatch);
    return arrayOut(VT_R8, {(*list)->size()}, [&](std::size_t i, BYTE* at) {
        *reinterpret_cast<double*>(at) = (**list)(static_cast<Long>(i) + 1);
    });
}

} // namespace

Variant fromCom(const VARIANT& v)
{
    const VARTYPE type = V_VT(&v);
    if (type == (VT_BYREF | VT_VARIANT)) return fromCom(*V_VARIANTREF(&v));
    if (type & VT_ARRAY) return arrayIn(type & VT_BYREF ? *V_ARRAYREF(&v) : V_ARRAY(&v));
    if (type & VT_BYREF) {
        Owned plain;
        VARIANT reference = v;
        if (FAILED(VariantCopyInd(&plain.v, &reference))) raise(errors::TypeMismatch);
        return fromCom(plain.v);
    }
    switch (type) {
    case VT_EMPTY:
    case VT_NULL: return {};
    case VT_BOOL: return V_BOOL(&v) != VARIANT_FALSE;
    case VT_BSTR: return textOf(V_BSTR(&v));
    case VT_R8: return V_R8(&v);
    case VT_ERROR: return errorIn(V_ERROR(&v));
    case VT_DISPATCH: return objectIn(V_DISPATCH(&v));
    case VT_UNKNOWN: return objectIn(V_UNKNOWN(&v));
    default: return numberIn(v);
    }
}

VARIANT toCom(const Variant& value, server::Type type)
{
    VARIANT v;
    VariantInit(&v);
    return std::visit(overloaded{
                          [&](Empty) { return v; },
                          [&](double x) { return numberOut(x, type); },
                          [&](bool b) {
                              V_VT(&v) = VT_BOOL;
                              V_BOOL(&v) = b ? VARIANT_TRUE : VARIANT_FALSE;
                              return v;
                          },
                          [&](const std::string& text) {
                              V_VT(&v) = VT_BSTR;
                              V_BSTR(&v) = newText(text);
                              return v;
                          },
                          [&](ErrorValue error) {
                              V_VT(&v) = VT_ERROR;
                              V_ERROR(&v) = isMissing(error) ? DISP_E_PARAMNOTFOUND : travelling(error.code);
                              return v;
                          },
                          [](const ObjectRef& object) { return objectOut(object); },
                          [](const DoubleArray1& list) { return listOut(*list); },
                          [](const VariantArray1& list) { return listOut(*list); },
                          [](const DoubleArray2& table) { return tableOut(*table); },
                          [](const VariantArray2& table) { return tableOut(*table); },
                      },
                      value.held());
}

void writeBack(VARIANT& argument, const Variant& result)
{
    const VARTYPE type = V_VT(&argument);
    if (!(type & VT_BYREF)) return;
    if (type == (VT_BYREF | VT_VARIANT)) {
        VARIANT* target = V_VARIANTREF(&argument);
        if (V_VT(target) & VT_BYREF) return writeBack(*target, result);
        VARIANT fresh = V_VT(target) == (VT_ARRAY | VT_R8) ? doublesOut(result) : toCom(result);
        VariantClear(target);
        *target = fresh;
        return;
    }
    if (type & VT_ARRAY) {
        if (type != (VT_BYREF | VT_ARRAY | VT_R8)) raise(errors::TypeMismatch);
        VARIANT fresh = doublesOut(result);
        if (*V_ARRAYREF(&argument)) SafeArrayDestroy(*V_ARRAYREF(&argument));
        *V_ARRAYREF(&argument) = V_ARRAY(&fresh);
        return;
    }
    const auto plain = static_cast<VARTYPE>(type & ~VT_BYREF);
    Owned given(toCom(result)), changed;
    const HRESULT code = VariantChangeTypeEx(&changed.v, &given.v, kLocale, 0, plain);
    if (FAILED(code)) raiseConversion(code);
    switch (plain) {
    case VT_I2: *V_I2REF(&argument) = V_I2(&changed.v); break;
    case VT_I4: *V_I4REF(&argument) = V_I4(&changed.v); break;
    case VT_R4: *V_R4REF(&argument) = V_R4(&changed.v); break;
    case VT_R8: *V_R8REF(&argument) = V_R8(&changed.v); break;
    case VT_BOOL: *V_BOOLREF(&argument) = V_BOOL(&changed.v); break;
    case VT_BSTR:
        SysFreeString(*V_BSTRREF(&argument));
        *V_BSTRREF(&argument) = std::exchange(V_BSTR(&changed.v), nullptr);
        break;
    default: raise(errors::TypeMismatch);
    }
}

HRESULT travelling(Long number)
{
    const auto code = static_cast<DWORD>(number);
    return static_cast<HRESULT>((code & kFacility) == 0 ? kRuntimeErrors + code : code);
}

Long arrived(HRESULT code)
{
    const auto bits = static_cast<DWORD>(code);
    return static_cast<Long>((bits & kFacility) == kRuntimeErrors ? bits - kRuntimeErrors : bits);
}

HRESULT report(EXCEPINFO* info)
{
    adoptForeignException();
    const HRESULT code = travelling(err().number);
    if (info) {
        *info = {};
        info->scode = code;
        info->bstrSource = newText(err().source);
        info->bstrDescription = newText(err().description);
    }
    caught();
    return info ? DISP_E_EXCEPTION : code;
}

void raiseReported(HRESULT code, EXCEPINFO& info)
{
    if (code == DISP_E_EXCEPTION && info.pfnDeferredFillIn) info.pfnDeferredFillIn(&info);
    const std::string source = textOf(info.bstrSource), description = textOf(info.bstrDescription);
    for (BSTR text : {info.bstrSource, info.bstrDescription, info.bstrHelpFile}) SysFreeString(text);
    switch (code) {
    case DISP_E_MEMBERNOTFOUND:
    case DISP_E_UNKNOWNNAME: raise(errors::NoSuchMember);
    case DISP_E_BADPARAMCOUNT: raise(errors::ArgumentCount);
    case DISP_E_PARAMNOTOPTIONAL: raise(errors::ArgumentNotOptional);
    case DISP_E_TYPEMISMATCH: raise(errors::TypeMismatch);
    case DISP_E_OVERFLOW: raise(errors::Overflow);
    case E_OUTOFMEMORY: raise(errors::OutOfMemory);
    default: break;
    }
    const bool reported = code == DISP_E_EXCEPTION;
    const Long number = !reported ? arrived(code) : info.wCode != 0 ? info.wCode : arrived(info.scode);
    raise(number, source, description.empty() ? standardText(number) : description);
}

} // namespace varnex3::windows
