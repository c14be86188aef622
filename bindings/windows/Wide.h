// bindings/windows/Wide.h - the library's UTF-8 texts as Windows takes them, and back.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace varnex3::windows {

/// Bytes that are not UTF-8 become replacement characters.
inline std::wstring wide(std::string_view text)
{
    const int bytes = static_cast<int>(text.size());
    std::wstring result(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, result.data(), static_cast<int>(result.size()));
    return result;
}

inline std::string narrow(std::wstring_view text)
{
    const int units = static_cast<int>(text.size());
    std::string result(static_cast<std::size_t>(
                           WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr)),
                       '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(), static_cast<int>(result.size()),
                        nullptr, nullptr);
    return result;
}

inline std::wstring textOf(HWND control)
{
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
    text.resize(
        static_cast<std::size_t>(GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
    return text;
}

} // namespace varnex3::windows
