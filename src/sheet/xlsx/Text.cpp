// sheet/xlsx/Text.cpp - texts of the file as values.
#include "sheet/xlsx/Text.h"

#include <charconv>
#include <cmath>

#include "sheet/format/NumberFormat.h"

namespace varnex3::sheet::xlsx {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

int hexValue(char c)
{
    if (isDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The UTF-16 unit of an escape "_xHHHH_" at the start of `text`, or -1.
int escapedUnit(std::string_view text)
{
    if (text.size() < 7 || text[0] != '_' || (text[1] != 'x' && text[1] != 'X') || text[6] != '_') return -1;
    int unit = 0;
    for (std::size_t i = 2; i < 6; ++i) {
        const int digit = hexValue(text[i]);
        if (digit < 0) return -1;
        unit = unit * 16 + digit;
    }
    return unit;
}

void appendUtf8(std::string& text, std::uint32_t code)
{
    const auto put = [&](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0 | code >> 6);
        put(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        put(0xE0 | code >> 12);
        put(0x80 | (code >> 6 & 0x3F));
        put(0x80 | (code & 0x3F));
    } else {
        put(0xF0 | code >> 18);
        put(0x80 | (code >> 12 & 0x3F));
        put(0x80 | (code >> 6 & 0x3F));
        put(0x80 | (code & 0x3F));
    }
}

// Takes digits from the front: exactly `count` of them, or nothing.
std::optional<int> takeDigits(std::string_view& text, std::size_t count)
{
    if (text.size() < count) return {};
    int value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (!isDigit(text[i])) return {};
        value = value * 10 + (text[i] - '0');
    }
    text.remove_prefix(count);
    return value;
}

bool takeChar(std::string_view& text, char c)
{
    if (text.empty() || text[0] != c) return false;
    text.remove_prefix(1);
    return true;
}

// Whether the rest of a time is a zone: "Z", "+01:00", "-0530", or nothing.
bool isZone(std::string_view text)
{
    if (text.empty() || text == "Z") return true;
    if (text[0] != '+' && text[0] != '-') return false;
    text.remove_prefix(1);
    const auto hours = takeDigits(text, 2);
    if (!hours || *hours > 14) return false;
    takeChar(text, ':');
    const auto minutes = takeDigits(text, 2);
    return minutes && *minutes < 60 && text.empty();
}

// Fraction of a day of "12:30", "12:30:05" or "12:30:05.25" with an optional zone.
std::optional<double> dayFraction(std::string_view text)
{
    const auto hours = takeDigits(text, 2);
    if (!hours || *hours > 24 || !takeChar(text, ':')) return {};
    const auto minutes = takeDigits(text, 2);
    if (!minutes || *minutes > 59) return {};
    double seconds = 0.0;
    if (takeChar(text, ':')) {
        const auto whole = takeDigits(text, 2);
        if (!whole || *whole > 59) return {};
        seconds = *whole;
        if (takeChar(text, '.')) {
            double unit = 0.1;
            if (text.empty() || !isDigit(text[0])) return {};
            for (; !text.empty() && isDigit(text[0]); text.remove_prefix(1), unit /= 10.0)
                seconds += unit * (text[0] - '0');
        }
    }
    if (!isZone(text)) return {};
    return (*hours * 3600.0 + *minutes * 60.0 + seconds) / 86400.0;
}

int daysOfMonth(int year, int month)
{
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return days[month - 1] + (month == 2 && leap ? 1 : 0);
}

} // namespace

std::optional<Position> parseCell(std::string_view text)
{
    std::size_t i = 0;
    std::int32_t col = 0;
    for (; i < text.size() && !isDigit(text[i]); ++i) {
        const char c = text[i];
        const bool small = c >= 'a' && c <= 'z';
        if (i == 3 || (!small && (c < 'A' || c > 'Z'))) return {};
        col = col * 26 + (c - (small ? 'a' : 'A')) + 1;
    }
    if (i == 0 || i == text.size() || text.size() - i > 7 || text[i] == '0') return {};
    std::int32_t row = 0;
    for (; i < text.size(); ++i) {
        if (!isDigit(text[i])) return {};
        row = row * 10 + (text[i] - '0');
    }
    if (row > kMaxRows || col > kMaxColumns) return {};
    return Position{row - 1, col - 1};
}

std::optional<Area> parseArea(std::string_view text)
{
    const std::size_t colon = text.find(':');
    const auto first = parseCell(text.substr(0, colon));
    const auto last = colon == std::string_view::npos ? first : parseCell(text.substr(colon + 1));
    if (!first || !last) return {};
    return Area{0, std::min(first->row, last->row), std::min(first->col, last->col),
                std::max(first->row, last->row), std::max(first->col, last->col)};
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

std::string unescaped(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const int unit = text[i] == '_' ? escapedUnit(text.substr(i)) : -1;
        if (unit < 0) {
            result.push_back(text[i++]);
            continue;
        }
        i += 7;
        auto code = static_cast<std::uint32_t>(unit);
        if (code >= 0xD800 && code < 0xDC00) {
            const int low = escapedUnit(text.substr(i));
            if (low >= 0xDC00 && low < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<std::uint32_t>(low) - 0xDC00);
                i += 7;
            }
        }
        appendUtf8(result, code >= 0xD800 && code < 0xE000 ? 0xFFFD : code);
    }
    return result;
}

std::optional<std::uint32_t> parseIndex(std::string_view text)
{
    text = trimmed(text);
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return value;
}

std::optional<double> parseDouble(std::string_view text)
{
    text = trimmed(text);
    if (!text.empty() && text[0] == '+') text.remove_prefix(1);
    const std::string_view digits = text.substr(!text.empty() && text[0] == '-' ? 1 : 0);
    if (digits.empty() || (!isDigit(digits[0]) && digits[0] != '.')) return {}; // "inf", "nan", "--1"
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end != text.data() + text.size()) return {};
    if (error == std::errc::result_out_of_range) {
        // Too large, or too small to tell from 0: only the exponent's sign says which.
        const std::size_t e = text.find_first_of("eE");
        const bool tiny = e != std::string_view::npos ? text.substr(e + 1).substr(0, 1) == "-"
                                                      : digits[0] == '.' || digits[0] == '0';
        if (!tiny) return {};
        return 0.0;
    }
    if (error != std::errc() || !std::isfinite(value)) return {};
    return value;
}

bool parseFlag(const char* attribute, bool otherwise)
{
    if (!attribute) return otherwise;
    const std::string_view text = trimmed(attribute);
    if (text == "1" || text == "true" || text == "on") return true;
    if (text == "0" || text == "false" || text == "off") return false;
    return otherwise;
}

std::optional<double> serialFromIso(std::string_view text, DateSystem dates)
{
    text = trimmed(text);
    if (text.size() >= 3 && (text[0] == 'T' || text[2] == ':'))
        return dayFraction(text[0] == 'T' ? text.substr(1) : text);
    const auto year = takeDigits(text, 4);
    if (!year || !takeChar(text, '-')) return {};
    const auto month = takeDigits(text, 2);
    if (!month || *month < 1 || *month > 12 || !takeChar(text, '-')) return {};
    const auto day = takeDigits(text, 2);
    if (!day || *day < 1 || *day > daysOfMonth(*year, *month)) return {};
    const auto serial = serialFromDate(*year, *month, *day, dates);
    if (!serial || text.empty()) return serial;
    if (text[0] != 'T' && text[0] != ' ') return {};
    const auto fraction = dayFraction(text.substr(1));
    if (!fraction) return {};
    return *serial + *fraction;
}

bool RichText::open(const Tag& tag, int level)
{
    if (!tag.isMain()) return false;
    if (tag.name == "r" && level == 1) return true;
    if (tag.name != "t" || level > 2) return false;
    const char* space = tag.qualified("space");
    keepSpace_ = space && std::string_view(space) == "preserve";
    start_ = text_.size();
    level_ = level;
    collecting_ = true;
    return true;
}

void RichText::close(int level)
{
    if (!collecting_ || level != level_) return;
    collecting_ = false;
    if (keepSpace_) return;
    const std::string kept(trimmed(std::string_view(text_).substr(start_)));
    text_.replace(start_, std::string::npos, kept);
}

} // namespace varnex3::sheet::xlsx
