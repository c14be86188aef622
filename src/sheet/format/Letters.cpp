// sheet/format/Letters.cpp - UTF-8 and the case of letters, without locale.
#include "sheet/format/Letters.h"

#include <cstdint>

namespace varnex3::sheet {
namespace {

constexpr char32_t kBrokenByte = 0x110000; // just above Unicode's last

/// Capitals first..last in steps of `step`; the small letter lies `distance` above each.
/// Source: the Unicode character database, simple lower-case mappings.
struct CaseRow {
    char32_t first, last;
    std::uint32_t step;
    std::int32_t distance;
};
constexpr CaseRow kCaseRows[] = {
    {0x0041, 0x005A, 1, 32},   // A-Z
    {0x00C0, 0x00D6, 1, 32},   // Latin-1
    {0x00D8, 0x00DE, 1, 32},   //
    {0x0100, 0x012E, 2, 1},    // Latin Extended-A
    {0x0132, 0x0136, 2, 1},    //
    {0x0139, 0x0147, 2, 1},    //
    {0x014A, 0x0176, 2, 1},    //
    {0x0178, 0x0178, 1, -121}, // Y with diaeresis
    {0x0179, 0x017D, 2, 1},    //
    {0x0386, 0x0386, 1, 38},   // Greek
    {0x0388, 0x038A, 1, 37},   //
    {0x038C, 0x038C, 1, 64},   //
    {0x038E, 0x038F, 1, 63},   //
    {0x0391, 0x03A1, 1, 32},   //
    {0x03A3, 0x03AB, 1, 32},   //
    {0x0400, 0x040F, 1, 80},   // Cyrillic
    {0x0410, 0x042F, 1, 32},   //
    {0x0460, 0x0480, 2, 1},    //
    {0x048A, 0x04BE, 2, 1},    //
    {0x04C0, 0x04C0, 1, 15},   //
    {0x04C1, 0x04CD, 2, 1},    //
    {0x04D0, 0x052E, 2, 1},    //
    {0x0531, 0x0556, 1, 48},   // Armenian
    {0x1E00, 0x1E94, 2, 1},    // Latin Extended Additional
    {0x1EA0, 0x1EFE, 2, 1},    //
    {0xFF21, 0xFF3A, 1, 32},   // fullwidth
};

char32_t shifted(char32_t c, std::int32_t distance)
{
    return static_cast<char32_t>(static_cast<std::int32_t>(c) + distance);
}

} // namespace

char32_t nextCharacter(std::string_view text, std::size_t& at)
{
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t lead = byte(at);
    const std::size_t start = at++;
    if (lead < 0x80) return lead;
    const std::size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4 || text.size() - at < more) return kBrokenByte + lead;
    char32_t c = lead & (0x3Fu >> more);
    for (std::size_t i = 1; i <= more; ++i) {
        if ((byte(start + i) & 0xC0u) != 0x80u) return kBrokenByte + lead;
        c = c << 6 | (byte(start + i) & 0x3Fu);
    }
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (c < kSmallest[more] || c >= kBrokenByte || (c >= 0xD800 && c <= 0xDFFF)) return kBrokenByte + lead;
    at = start + 1 + more;
    return c;
}

void appendCharacter(std::string& text, char32_t c)
{
    const auto add = [&](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    const auto tail = [&](unsigned shift) { add(0x80u | ((c >> shift) & 0x3Fu)); };
    if (c >= kBrokenByte) {
        add(c - kBrokenByte); // the byte it was
    } else if (c < 0x80) {
        add(c);
    } else if (c < 0x800) {
        add(0xC0u | c >> 6);
        tail(0);
    } else if (c < 0x10000) {
        add(0xE0u | c >> 12);
        tail(6);
        tail(0);
    } else {
        add(0xF0u | c >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

char32_t lowerLetter(char32_t c)
{
    if (c < 0x80) return c >= 'A' && c <= 'Z' ? c + 32 : c;
    for (const CaseRow& row : kCaseRows)
        if (c >= row.first && c <= row.last && (c - row.first) % row.step == 0)
            return shifted(c, row.distance);
    return c;
}

char32_t upperLetter(char32_t c)
{
    if (c < 0x80) return c >= 'a' && c <= 'z' ? c - 32 : c;
    if (c == 0x00B5) return 0x039C; // micro sign
    if (c == 0x03C2) return 0x03A3; // final sigma
    for (const CaseRow& row : kCaseRows) {
        const char32_t capital = shifted(c, -row.distance);
        if (capital >= row.first && capital <= row.last && (capital - row.first) % row.step == 0)
            return capital;
    }
    return c;
}

char32_t foldedLetter(char32_t c)
{
    if (c == 0x00B5) return 0x03BC;
    if (c == 0x03C2) return 0x03C3;
    if (c == 0x1E9E) return 0x00DF; // capital sharp s
    return lowerLetter(c);
}

} // namespace varnex3::sheet
