// sheet/format/Widths.cpp - the half and full widths of East Asian letters, and amounts in Thai words.
#include "sheet/format/Widths.h"

#include <array>
#include <cmath>
#include <cstddef>

#include "sheet/format/Letters.h"

namespace varnex3::sheet {
using namespace std::string_view_literals;

namespace {

// The half-width forms U+FF61 to U+FF9F in the order of their full-width forms.
constexpr std::u32string_view kFullKana = U"。「」、・ヲァィゥェォャュョッーアイウエオカキクケコサシスセソタ"
                                          U"チツテトナニヌネノハヒフヘホマミムメモヤユヨラリルレロ"
                                          U"ワン゛゜";
constexpr char32_t kFirstHalfKana = 0xFF61, kVoiced = 0xFF9E, kHalfVoiced = 0xFF9F;
constexpr char32_t kWideSpace = 0x3000, kFirstWide = 0xFF01, kLastWide = 0xFF5E, kToWide = 0xFEE0;

bool takesVoiced(char32_t kana)
{
    return U"カキクケコサシスセソタチツテトハヒフヘホ"sv.find(kana) != std::u32string_view::npos;
}
bool takesHalfVoiced(char32_t kana) { return U"ハヒフヘホ"sv.find(kana) != std::u32string_view::npos; }

void appendHalfKana(std::string& out, char32_t c)
{
    const auto half = [&](char32_t kana) {
        const std::size_t at = kFullKana.find(kana);
        if (at == std::u32string_view::npos) return false;
        appendCharacter(out, kFirstHalfKana + static_cast<char32_t>(at));
        return true;
    };
    if (half(c)) return;
    const bool vu = c == U'ヴ';
    if (vu || takesVoiced(c - 1)) {
        half(vu ? U'ウ' : c - 1);
        appendCharacter(out, kVoiced);
    } else if (takesHalfVoiced(c - 2)) {
        half(c - 2);
        appendCharacter(out, kHalfVoiced);
    } else {
        appendCharacter(out, c);
    }
}

/// A number from 0 to 999,999 in words. One has a word of its own behind tens.
void appendThai(std::string& out, int n)
{
    static constexpr std::array<std::string_view, 10> kDigits = {"",   "หนึ่ง", "สอง", "สาม", "สี่",
                                                                 "ห้า", "หก",  "เจ็ด", "แปด", "เก้า"};
    static constexpr std::array<std::string_view, 6> kPlaces = {"", "สิบ", "ร้อย", "พัน", "หมื่น", "แสน"};
    int power = 100000;
    for (std::size_t place = 5; place < 6; --place, power /= 10) {
        const int digit = n / power % 10;
        if (digit == 0) continue;
        const bool unit = place == 0, ten = place == 1;
        if (unit && digit == 1 && n / 10 % 10 != 0)
            out += "เอ็ด";
        else if (ten && digit == 2)
            out += "ยี่";
        else if (!(ten && digit == 1))
            out += kDigits[static_cast<std::size_t>(digit)];
        out += kPlaces[place];
    }
}

/// A whole number above 0: millions of millions, each followed by its word.
void appendThai(std::string& out, double whole)
{
    const double millions = std::floor(whole / 1e6);
    if (millions > 0.0) {
        appendThai(out, millions);
        out += "ล้าน";
    }
    appendThai(out, static_cast<int>(whole - millions * 1e6));
}

} // namespace

std::string halfWidth(std::string_view text)
{
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = nextCharacter(text, at);
        if (c == kWideSpace)
            out += ' ';
        else if (c >= kFirstWide && c <= kLastWide)
            appendCharacter(out, c - kToWide);
        else
            appendHalfKana(out, c);
    }
    return out;
}

std::string fullWidth(std::string_view text)
{
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = nextCharacter(text, at);
        if (c == U' ') {
            appendCharacter(out, kWideSpace);
        } else if (c > U' ' && c <= U'~') {
            appendCharacter(out, c + kToWide);
        } else if (c >= kFirstHalfKana && c <= kHalfVoiced) {
            char32_t kana = kFullKana[c - kFirstHalfKana];
            std::size_t behind = at;
            const char32_t mark = at < text.size() ? nextCharacter(text, behind) : U'\0';
            const bool voiced = mark == kVoiced && (takesVoiced(kana) || kana == U'ウ');
            const bool halfVoiced = mark == kHalfVoiced && takesHalfVoiced(kana);
            if (voiced) kana = kana == U'ウ' ? U'ヴ' : kana + 1;
            if (halfVoiced) kana += 2;
            if (voiced || halfVoiced) at = behind;
            appendCharacter(out, kana);
        } else {
            appendCharacter(out, c);
        }
    }
    return out;
}

std::string bahtText(double amount)
{
    const double satangs = std::round(std::fabs(amount) * 100.0);
    const double baht = std::floor(satangs / 100.0);
    const int satang = static_cast<int>(satangs - baht * 100.0);
    if (satangs == 0.0) return "ศูนย์บาทถ้วน";
    std::string out = amount < 0.0 ? "ลบ" : "";
    if (baht > 0.0) {
        appendThai(out, baht);
        out += "บาท";
    }
    if (satang == 0) return out + "ถ้วน";
    appendThai(out, satang);
    return out + "สตางค์";
}

} // namespace varnex3::sheet
