// sheet/csv/Decode.cpp - UTF-8, UTF-16 and Windows Latin.
#include "sheet/csv/Decode.h"

#include <array>
#include <cstdint>

namespace varnex3::sheet::csv {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

void append(std::string& to, char32_t point)
{
    const auto byte = [&](char32_t value) { to += static_cast<char>(static_cast<unsigned char>(value)); };
    const auto rest = [&](int shift) { byte(0x80U | ((point >> shift) & 0x3FU)); };
    if (point < 0x80) return byte(point);
    if (point < 0x800) {
        byte(0xC0U | (point >> 6));
        return rest(0);
    }
    if (point < 0x10000) {
        byte(0xE0U | (point >> 12));
    } else {
        byte(0xF0U | (point >> 18));
        rest(12);
    }
    rest(6);
    rest(0);
}

/// Bytes of the character that starts at `at`, by the rules of UTF-8; 0 when they break them.
std::size_t characterLength(std::string_view text, std::size_t at)
{
    const auto first = static_cast<unsigned char>(text[at]);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || at + length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((static_cast<unsigned char>(text[at + i]) & 0xC0U) != 0x80U) return 0;
    const auto second = static_cast<unsigned char>(text[at + 1]);
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool outside = (first == 0xED && second > 0x9F) || (first == 0xF4 && second > 0x8F);
    return overlong || outside ? 0 : length;
}

bool isUtf8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

std::string fromUtf16(std::string_view bytes, bool bigEndian)
{
    const auto unit = [&](std::size_t at) {
        const auto a = static_cast<unsigned char>(bytes[at]), b = static_cast<unsigned char>(bytes[at + 1]);
        return static_cast<char32_t>(bigEndian ? a << 8U | b : b << 8U | a);
    };
    std::string text;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        const char32_t high = unit(at);
        if (high < 0xD800 || high > 0xDFFF) {
            append(text, high);
            continue;
        }
        const char32_t low = at + 3 < bytes.size() ? unit(at + 2) : 0;
        const bool pair = high <= 0xDBFF && low >= 0xDC00 && low <= 0xDFFF;
        append(text, pair ? 0x10000 + ((high - 0xD800) << 10U) + (low - 0xDC00) : kReplacement);
        if (pair) at += 2;
    }
    if (bytes.size() % 2 != 0) append(text, kReplacement);
    return text;
}

std::string fromWindowsLatin(std::string_view bytes)
{
    // 0x80 to 0x9F; the rest are the characters of their number. Five bytes stand for nothing.
    constexpr std::array<char32_t, 32> kUpper = {
        0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
        0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
        0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178};
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 8);
    for (char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        append(text, byte >= 0x80 && byte < 0xA0 ? kUpper[byte - 0x80U] : static_cast<char32_t>(byte));
    }
    return text;
}

} // namespace

std::optional<std::string> decoded(std::string_view bytes)
{
    if (bytes.starts_with("\xFF\xFE")) return fromUtf16(bytes.substr(2), false);
    if (bytes.starts_with("\xFE\xFF")) return fromUtf16(bytes.substr(2), true);
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    if (bytes.find('\0') != std::string_view::npos) return std::nullopt;
    return isUtf8(bytes) ? std::string(bytes) : fromWindowsLatin(bytes);
}

} // namespace varnex3::sheet::csv
