// bindings/windows/Com.h - counted interface pointers, texts, and the count that keeps the library loaded.
#pragma once

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <string>
#include <string_view>
#include <utility>

#include "bindings/windows/Wide.h"

namespace varnex3::windows {

/// US English, in which every call is made.
inline constexpr LCID kLocale = 1033;

/// An interface pointer that counts.
template <class T>
class ComPtr {
public:
    ComPtr() = default;
    explicit ComPtr(T* counted) : held_(counted) {} // takes over a count
    ComPtr(const ComPtr& other) : held_(other.held_)
    {
        if (held_) held_->AddRef();
    }
    ComPtr(ComPtr&& other) noexcept : held_(std::exchange(other.held_, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept
    {
        std::swap(held_, other.held_);
        return *this;
    }
    ~ComPtr()
    {
        if (held_) held_->Release();
    }

    T* get() const { return held_; }
    T* operator->() const { return held_; }
    explicit operator bool() const { return held_ != nullptr; }
    T* release() { return std::exchange(held_, nullptr); }

private:
    T* held_ = nullptr;
};

/// Another interface of the same object; empty when it has none.
template <class T>
ComPtr<T> query(IUnknown* object, const IID& iid)
{
    void* found = nullptr;
    if (!object || FAILED(object->QueryInterface(iid, &found))) return {};
    return ComPtr<T>(static_cast<T*>(found));
}

BSTR newText(std::string_view text);
std::string textOf(BSTR text);

/// An identifier of server/TypeLibrary.h.
GUID guidOf(const std::string& text);

/// Counts what was handed out. The first opens the user interface; with the last the library lets go of
/// that and of the host's objects.
class InUse {
public:
    InUse();
    ~InUse();
    InUse(const InUse&) = delete;
    InUse& operator=(const InUse&) = delete;
    static long count();
};

/// The file that this library was loaded from.
std::wstring libraryFile();

} // namespace varnex3::windows
