// A native program that uses the classes with typed arguments by reference, compares the type library with
// the table, and sees the library unloaded. Prints "ok" or "FAILED" lines, then that it came to its end.
#include <windows.h>

#include <oleauto.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>

#include "server/ClassTable.h"
#include "server/TypeLibrary.h"

namespace varnex3 {
namespace {

void check(const std::string& what, bool passed)
{
    std::printf("%s %s\n", passed ? "ok" : "FAILED", what.c_str());
}

std::wstring wide(const std::string& text) { return {text.begin(), text.end()}; } // ASCII

IDispatch* create(const char* name)
{
    CLSID id{};
    void* made = nullptr;
    const bool known = SUCCEEDED(CLSIDFromProgID((L"varnex3." + wide(name)).c_str(), &id));
    if (!known || FAILED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &made))) {
        check(std::string("creating ") + name, false);
        std::exit(1);
    }
    return static_cast<IDispatch*>(made);
}

VARIANT by(VARTYPE type, void* place)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = static_cast<VARTYPE>(VT_BYREF | type);
    V_BYREF(&v) = place;
    return v;
}
VARIANT number(double x)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_R8;
    V_R8(&v) = x;
    return v;
}

HRESULT call(IDispatch* object, const char* member, std::initializer_list<VARIANT> arguments, VARIANT* result)
{
    std::wstring name = wide(member);
    LPOLESTR names[] = {name.data()};
    DISPID id = DISPID_UNKNOWN;
    const HRESULT known = object->GetIDsOfNames(IID_NULL, names, 1, 1033, &id);
    if (FAILED(known)) return known;
    VARIANT backwards[8];
    UINT count = 0;
    for (auto v = arguments.end(); v != arguments.begin();) backwards[count++] = *--v;
    DISPPARAMS given{backwards, nullptr, count, 0};
    return object->Invoke(id, IID_NULL, 1033, DISPATCH_METHOD | DISPATCH_PROPERTYGET, &given, result, nullptr,
                          nullptr);
}

void typedArguments()
{
    VARIANT result;
    VariantInit(&result);

    IDispatch* statistics = create("c_Statistics");
    SHORT digits = 0;
    call(statistics, "findZ", {number(0.3), by(VT_I2, &digits)}, &result);
    check("a 16-bit argument receives its result",
          digits == 1 && V_VT(&result) == VT_R8 && V_R8(&result) == 0.5);
    statistics->Release();

    IDispatch* parameter = create("c_Parameter");
    LONG index = 7;
    double value = 2.5;
    call(parameter, "AddFV", {by(VT_R8, &value), by(VT_I4, &index)}, nullptr);
    call(parameter, "numFVs", {}, &result);
    check("a 32-bit argument receives its result", index == 1);
    check("a whole number is one", V_VT(&result) == VT_I4 && V_I4(&result) == 1);
    call(parameter, "needsRecalc", {}, &result);
    check("a Boolean is one", V_VT(&result) == VT_BOOL && V_BOOL(&result) == VARIANT_FALSE);
    parameter->Release();

    IDispatch* formulation = create("c_Formulation");
    BSTR source = SysAllocString(L"before"), cause = nullptr;
    VARIANT_BOOL show = VARIANT_FALSE;
    call(formulation, "formulationOK",
         {by(VT_BSTR, &source), by(VT_I4, &index), by(VT_BSTR, &cause), by(VT_BOOL, &show)}, &result);
    check("texts receive their results", std::wstring(source) == L"before" &&
                                             std::wstring(cause) == L"Please define at least one parameter.");
    SysFreeString(source);
    SysFreeString(cause);

    const HRESULT overflow = call(formulation, "CalcSequence", {number(3e9)}, &result);
    check("an error without a record is its code", overflow == static_cast<HRESULT>(0x800A0006));
    formulation->Release();

    IDispatch* analysis = create("c_sa_Analysis");
    SAFEARRAY* cells = SafeArrayCreateVector(VT_VARIANT, 0, 0);
    SAFEARRAY* first = SafeArrayCreateVector(VT_R8, 1, 3);
    SAFEARRAY* second = nullptr;
    VARIANT none;
    VariantInit(&none);
    V_VT(&none) = VT_DISPATCH;
    V_DISPATCH(&none) = nullptr;
    call(analysis, "CalcDerivatives",
         {by(VT_ARRAY | VT_VARIANT, &cells), none, by(VT_ARRAY | VT_R8, &first),
          by(VT_ARRAY | VT_R8, &second), by(VT_BSTR, &(source = nullptr)), by(VT_BSTR, &(cause = nullptr))},
         nullptr);
    LONG upper = -1;
    SafeArrayGetUBound(first, 1, &upper);
    check("arrays of numbers are sized anew", upper == 0 && second != nullptr);
    for (SAFEARRAY* array : {cells, first, second})
        if (array) SafeArrayDestroy(array);
    analysis->Release();
}

/// The names and kinds that a type library has for a class, as many as the table.
bool sameMembers(ITypeInfo* info, const server::ClassRow& row)
{
    TYPEATTR* attributes = nullptr;
    if (FAILED(info->GetTypeAttr(&attributes))) return false;
    const UINT count = attributes->cFuncs;
    info->ReleaseTypeAttr(attributes);
    UINT at = 0;
    const auto next = [&](INVOKEKIND kind, const char* name, std::size_t arguments) {
        FUNCDESC* function = nullptr;
        if (at >= count || FAILED(info->GetFuncDesc(at++, &function))) return false;
        BSTR held = nullptr;
        info->GetDocumentation(function->memid, &held, nullptr, nullptr, nullptr);
        const bool same = function->invkind == kind && function->cParams == static_cast<SHORT>(arguments) &&
                          held && _wcsicmp(held, wide(name).c_str()) == 0;
        SysFreeString(held);
        info->ReleaseFuncDesc(function);
        return same;
    };
    for (const server::MemberRow& member : row.members) {
        const std::size_t n = member.list.count;
        if (member.read && !next(member.method ? INVOKE_FUNC : INVOKE_PROPERTYGET, member.name, n))
            return false;
        if (member.write && member.byValue && !next(INVOKE_PROPERTYPUT, member.name, n + 1)) return false;
        if (member.write && member.byReference && !next(INVOKE_PROPERTYPUTREF, member.name, n + 1))
            return false;
    }
    return at == count;
}

void typeLibrary()
{
    GUID id{};
    CLSIDFromString((L"{" + wide(server::libraryGuid()) + L"}").c_str(), &id);
    ITypeLib* library = nullptr;
    check("the type library is registered", SUCCEEDED(LoadRegTypeLib(id, 1, 0, 1033, &library)) && library);
    if (!library) return;
    UINT published = 0;
    std::string last;
    for (const server::ClassRow* row : server::classTable()) {
        if (!server::isPublished(*row) || row->name == last) continue;
        last = row->name;
        published += row->creatable ? 2 : 1; // the class and its interface
        CLSIDFromString((L"{" + wide(server::interfaceGuid(*row)) + L"}").c_str(), &id);
        ITypeInfo* info = nullptr;
        library->GetTypeInfoOfGuid(id, &info);
        check(std::string("the type library lists the members of ") + row->name,
              info && sameMembers(info, *row));
        if (info) info->Release();
    }
    check("and no other classes", library->GetTypeInfoCount() == published);
    library->Release();
}

void unloading()
{
    IDispatch* formulation = create("c_Formulation");
    CoFreeUnusedLibrariesEx(0, 0);
    check("the library stays while an object lives", GetModuleHandleW(L"varnex3.dll") != nullptr);
    VARIANT items;
    VariantInit(&items);
    call(formulation, "Xs", {}, &items);
    formulation->Release();
    CoFreeUnusedLibrariesEx(0, 0);
    check("and while a part of one lives", GetModuleHandleW(L"varnex3.dll") != nullptr);
    VariantClear(&items);
    CoFreeUnusedLibrariesEx(0, 0);
    CoFreeUnusedLibrariesEx(0, 0);
    check("and goes with the last", GetModuleHandleW(L"varnex3.dll") == nullptr);
}

} // namespace
} // namespace varnex3

int main()
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    varnex3::typedArguments();
    varnex3::typeLibrary();
    varnex3::unloading();
    CoUninitialize();
    std::printf("end of client\n");
}
