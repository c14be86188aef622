// bindings/windows/Server.cpp - the entry points of the library: class factory, registration, unload query.
#include <memory>
#include <new>

#include "bindings/windows/Com.h"
#include "bindings/windows/NativeUserInterface.h"
#include "bindings/windows/OurObject.h"
#include "bindings/windows/Registration.h"
#include "bindings/windows/Values.h"
#include "host/alg_m_XLinterface.h"
#include "server/Invoke.h"
#include "server/TypeLibrary.h"
#include "ui/interface/UserInterface.h"

namespace varnex3::windows {
namespace {

HINSTANCE libraryInstance = nullptr;
long inUse = 0;
std::unique_ptr<NativeUserInterface> user;

void count(long change)
{
    const long before = inUse;
    inUse += change;
    if (before == 0) {
        user = std::make_unique<NativeUserInterface>();
        ui::setUserInterface(user.get());
    } else if (inUse == 0) {
        ui::setUserInterface(nullptr);
        user.reset();
        alg_m_XLinterface::hostState() = {};
    }
}

/// Makes objects of one class.
class Factory final : public IClassFactory {
public:
    explicit Factory(const server::ClassRow& type) : type_(type) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** found) override
    {
        const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
        *found = known ? static_cast<IClassFactory*>(this) : nullptr;
        if (!known) return E_NOINTERFACE;
        ++count_;
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++count_; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --count_;
        if (left == 0) delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** made) override
    {
        *made = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        try {
            const ComPtr<IDispatch> object(OurObject::over(type_.create()));
            return object->QueryInterface(iid, made);
        } catch (...) {
            return report(nullptr);
        }
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override
    {
        windows::count(lock ? 1 : -1);
        return S_OK;
    }

private:
    virtual ~Factory() = default;

    InUse inUse_;
    const server::ClassRow& type_;
    ULONG count_ = 1;
};

const server::ClassRow* classOf(const CLSID& id)
{
    for (const server::ClassRow* row : server::classTable())
        if (row->creatable && guidOf(server::classGuid(*row)) == id) return row;
    return nullptr;
}

} // namespace

InUse::InUse() { windows::count(1); }
InUse::~InUse() { windows::count(-1); }

long InUse::count() { return inUse; }

std::wstring libraryFile()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            GetModuleFileNameW(libraryInstance, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

BSTR newText(std::string_view text)
{
    const std::wstring letters = wide(text);
    return SysAllocStringLen(letters.data(), static_cast<UINT>(letters.size()));
}

std::string textOf(BSTR text) { return text ? narrow({text, SysStringLen(text)}) : std::string(); }

GUID guidOf(const std::string& text)
{
    GUID guid{};
    CLSIDFromString((L"{" + wide(text) + L"}").c_str(), &guid);
    return guid;
}

} // namespace varnex3::windows

using namespace varnex3;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH) windows::libraryInstance = instance;
    return TRUE;
}

extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID id, REFIID iid, LPVOID* found)
{
    *found = nullptr;
    const server::ClassRow* type = windows::classOf(id);
    if (!type) return CLASS_E_CLASSNOTAVAILABLE;
    const windows::ComPtr<IClassFactory> factory(new (std::nothrow) windows::Factory(*type));
    return factory ? factory->QueryInterface(iid, found) : E_OUTOFMEMORY;
}

extern "C" HRESULT WINAPI DllCanUnloadNow() { return windows::InUse::count() == 0 ? S_OK : S_FALSE; }
extern "C" HRESULT WINAPI DllRegisterServer() { return windows::registerClasses(); }
extern "C" HRESULT WINAPI DllUnregisterServer() { return windows::unregisterClasses(); }
