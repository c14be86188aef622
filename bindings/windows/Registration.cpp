// bindings/windows/Registration.cpp - identifier, class, file and type library of every class that can be
// created.
//
// Under the current user. Systems that look up classes for the whole machine alone (wine 8) are told there.
#include "bindings/windows/Registration.h"

#include <string>

#include "server/ClassTable.h"
#include "server/TypeLibrary.h"

namespace varnex3::windows {
namespace {

const std::wstring kClasses = L"Software\\Classes\\";

std::wstring braced(const std::string& guid) { return L"{" + wide(guid) + L"}"; }
std::wstring identifier(const server::ClassRow& row)
{
    return wide(server::kLibrary) + L"." + wide(row.name);
}
std::wstring libraryKey() { return L"TypeLib\\" + braced(server::libraryGuid()); }

/// The classes of one user or of the machine; writes values until one fails.
class Registry {
public:
    explicit Registry(HKEY root) : root_(root) {}

    void set(const std::wstring& key, const std::wstring& value, const wchar_t* name = nullptr)
    {
        if (state_ != ERROR_SUCCESS) return;
        const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        state_ = RegSetKeyValueW(root_, (kClasses + key).c_str(), name, REG_SZ, value.c_str(), bytes);
    }
    void remove(const std::wstring& key)
    {
        const LSTATUS state = RegDeleteTreeW(root_, (kClasses + key).c_str());
        if (state != ERROR_FILE_NOT_FOUND && state_ == ERROR_SUCCESS) state_ = state;
    }
    HRESULT result() const { return HRESULT_FROM_WIN32(static_cast<DWORD>(state_)); }

private:
    HKEY root_;
    LSTATUS state_ = ERROR_SUCCESS;
};

template <class F>
void forEachCreatable(F&& action)
{
    for (const server::ClassRow* row : server::classTable())
        if (row->creatable) action(*row, L"CLSID\\" + braced(server::classGuid(*row)));
}

HRESULT registerUnder(HKEY root)
{
    Registry registry(root);
    const std::wstring file = libraryFile();
    forEachCreatable([&](const server::ClassRow& row, const std::wstring& key) {
        registry.set(identifier(row) + L"\\CLSID", braced(server::classGuid(row)));
        registry.set(identifier(row), wide(row.summary));
        registry.set(key, wide(row.summary));
        registry.set(key + L"\\ProgID", identifier(row));
        registry.set(key + L"\\TypeLib", braced(server::libraryGuid()));
        registry.set(key + L"\\InprocServer32", file);
        registry.set(key + L"\\InprocServer32", L"Apartment", L"ThreadingModel");
    });
    registry.set(libraryKey() + L"\\1.0", L"Corvane: design analysis on spreadsheets");
    registry.set(libraryKey() + L"\\1.0\\0\\win64", file);
    registry.set(libraryKey() + L"\\1.0\\FLAGS", L"0");
    return registry.result();
}

HRESULT unregisterUnder(HKEY root)
{
    Registry registry(root);
    forEachCreatable([&](const server::ClassRow& row, const std::wstring& key) {
        registry.remove(identifier(row));
        registry.remove(key);
    });
    registry.remove(libraryKey());
    return registry.result();
}

bool isFound()
{
    CLSID id{};
    return SUCCEEDED(CLSIDFromProgID(identifier(*server::classTable().front()).c_str(), &id));
}

} // namespace

HRESULT registerClasses()
{
    const HRESULT code = registerUnder(HKEY_CURRENT_USER);
    return FAILED(code) || isFound() ? code : registerUnder(HKEY_LOCAL_MACHINE);
}

HRESULT unregisterClasses()
{
    const HRESULT code = unregisterUnder(HKEY_CURRENT_USER);
    return FAILED(code) || !isFound() ? code : unregisterUnder(HKEY_LOCAL_MACHINE);
}

} // namespace varnex3::windows
