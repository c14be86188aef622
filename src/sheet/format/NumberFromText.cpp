// sheet/format/NumberFromText.cpp - the number that a text stands for.
//
// Notation of the United States: a point for decimals, commas for thousands, month before day. A date
// without a year depends on today and is left a text.
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

#include "sheet/format/Convert.h"
#include "sheet/format/Letters.h"
#include "sheet/format/NumberFormat.h"

namespace varnex3::sheet {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

/// The double of digits, point and exponent, with the sign already taken off. No infinity, no NaN.
std::optional<double> plainNumber(std::string_view text)
{
    if (text.empty() || !(isDigit(text.front()) || text.front() == '.')) return std::nullopt;
    double x = 0.0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), x);
    if (end != text.data() + text.size()) return std::nullopt;
    if (code == std::errc{}) return x;
    const bool tiny = text.find('-') != std::string_view::npos; // the sign of the exponent
    return tiny ? std::optional(0.0) : std::nullopt;
}

/// Reads pieces of a text from left to right; every reader leaves the place alone when it finds nothing.
class Scanner {
public:
    explicit Scanner(std::string_view text) : text_(text) {}

    bool atEnd() const { return at_ == text_.size(); }
    std::size_t place() const { return at_; }
    void goTo(std::size_t place) { at_ = place; }
    char peek() const { return atEnd() ? '\0' : text_[at_]; }

    bool take(char c)
    {
        if (peek() != c || atEnd()) return false;
        ++at_;
        return true;
    }
    bool take(std::string_view piece)
    {
        if (text_.substr(at_, piece.size()) != piece) return false;
        at_ += piece.size();
        return true;
    }
    bool blanks()
    {
        const std::size_t start = at_;
        while (!atEnd() && isBlank(text_[at_])) ++at_;
        return at_ > start;
    }
    std::string_view digits()
    {
        const std::size_t start = at_;
        while (!atEnd() && isDigit(text_[at_])) ++at_;
        return text_.substr(start, at_ - start);
    }
    std::string_view letters()
    {
        const std::size_t start = at_;
        while (!atEnd() && isLetter(text_[at_])) ++at_;
        return text_.substr(start, at_ - start);
    }

private:
    std::string_view text_;
    std::size_t at_ = 0;
};

/// A whole number of at most `most` digits.
std::optional<int> smallInteger(std::string_view digits, std::size_t most)
{
    if (digits.empty() || digits.size() > most) return std::nullopt;
    int n = 0;
    for (char c : digits) n = n * 10 + (c - '0');
    return n;
}

// ---- numbers ----

/// Digits with commas before every third of them, point, exponent; then perhaps a fraction: "1 1/2".
std::optional<double> unsignedNumber(Scanner& s)
{
    std::string plain(s.digits());
    const bool whole = !plain.empty();
    while (whole && s.peek() == ',') {
        const std::size_t before = s.place();
        s.take(',');
        const std::string_view group = s.digits();
        if (group.size() != 3) {
            s.goTo(before);
            return std::nullopt;
        }
        plain += group;
    }
    const std::size_t behindWhole = s.place();
    if (whole && s.take(' ')) {
        constexpr int kMost = 32767;
        const auto over = smallInteger(s.digits(), 5);
        const bool slash = s.take('/');
        const auto under = smallInteger(s.digits(), 5);
        const auto x = plainNumber(plain);
        if (over && slash && under && *under != 0 && *over <= kMost && *under <= kMost && x)
            return *x + static_cast<double>(*over) / *under;
        s.goTo(behindWhole);
    }
    if (s.take('.')) {
        plain += '.';
        plain += s.digits();
    }
    const std::size_t mantissa = s.place();
    if (s.take('e') || s.take('E')) {
        std::string exponent = "e";
        if (s.take('-'))
            exponent += '-';
        else
            s.take('+');
        const std::string_view digits = s.digits();
        if (digits.empty())
            s.goTo(mantissa);
        else
            plain.append(exponent).append(digits);
    }
    return plainNumber(plain);
}

bool takeCurrency(Scanner& s)
{
    for (const std::string_view sign : {"$", "\u20AC", "\u00A3", "\u00A5"})
        if (s.take(sign)) return true;
    return false;
}

/// A number with sign, currency, percent and accountant's parentheses.
std::optional<double> decoratedNumber(std::string_view text)
{
    Scanner s(text);
    bool negative = s.take('(');
    const bool parentheses = negative;
    bool sign = false, currency = false, percent = false;
    for (bool more = true; more;) { // "-$5", "$-5", "$ 5", "% 5"
        s.blanks();
        if (!sign && !parentheses && (s.peek() == '-' || s.peek() == '+')) {
            sign = true;
            negative = s.take('-');
            if (!negative) s.take('+');
        } else if (!percent && !currency && s.take('%')) {
            percent = true;
        } else if (currency || !takeCurrency(s)) {
            more = false;
        } else {
            currency = true;
        }
    }
    auto x = unsignedNumber(s);
    if (!x) return std::nullopt;
    s.blanks();
    if (percent || (!currency && s.take('%'))) *x /= 100.0;
    s.blanks();
    if (parentheses && !s.take(')')) return std::nullopt;
    if (!s.atEnd()) return std::nullopt;
    return negative ? -*x : *x;
}

// ---- dates and times ----

/// 1..12 for a month's English name or its first three letters; 0 for any other word.
int monthNumber(std::string_view word)
{
    constexpr std::array<std::string_view, 12> kMonths = {"January",   "February", "March",    "April",
                                                          "May",       "June",     "July",     "August",
                                                          "September", "October",  "November", "December"};
    for (std::size_t m = 0; m < kMonths.size(); ++m)
        if (equalTexts(word, kMonths[m]) || equalTexts(word, kMonths[m].substr(0, 3)))
            return static_cast<int>(m) + 1;
    return 0;
}

/// Two digits mean 1930 to 2029.
std::optional<int> yearNumber(std::string_view digits)
{
    const auto year = smallInteger(digits, 4);
    if (!year || digits.size() == 3) return std::nullopt;
    if (digits.size() == 4) return year;
    return *year < 30 ? *year + 2000 : *year + 1900;
}

/// What stands between the parts of a date, kept the same throughout: '-' or '/', perhaps between blanks, or
/// ' ' (a comma may precede it).
char takeSeparator(Scanner& s)
{
    const bool comma = s.take(','), blank = s.blanks();
    for (const char c : {'-', '/'})
        if (!comma && s.take(c)) {
            s.blanks();
            return c;
        }
    return blank || comma ? ' ' : '\0';
}

struct DateParts {
    std::optional<int> year, month, day;
};

/// The most days that a month may have.
int mostDays(int month)
{
    constexpr std::array<int, 12> kDays = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return kDays[static_cast<std::size_t>(month) - 1];
}

/// "2020-01-31" "1/31/2020" "31-Jan-2020" "Jan 31, 2020" "Jan-2020" "Jan-65"
std::optional<DateParts> datePartsAt(Scanner& s)
{
    DateParts d;
    if (isLetter(s.peek())) {
        d.month = monthNumber(s.letters());
        if (*d.month == 0) return std::nullopt;
        const char separator = takeSeparator(s);
        const std::string_view second = s.digits();
        if (separator == '\0' || second.empty()) return std::nullopt;
        if (second.size() == 4) {
            d.year = yearNumber(second);
            d.day = 1;
            return d;
        }
        d.day = smallInteger(second, 2);
        if (d.day && *d.day > mostDays(*d.month)) { // no day, so a year
            d.year = yearNumber(second);
            d.day = 1;
            return d;
        }
        if (takeSeparator(s) == '\0') return std::nullopt;
        d.year = yearNumber(s.digits());
        return d;
    }
    const std::string_view first = s.digits();
    const char separator = takeSeparator(s);
    if (first.empty() || separator == '\0') return std::nullopt;
    if (isLetter(s.peek())) {
        d.day = smallInteger(first, 2);
        d.month = monthNumber(s.letters());
        if (*d.month == 0 || takeSeparator(s) != separator) return std::nullopt;
        d.year = yearNumber(s.digits());
        return d;
    }
    const std::string_view second = s.digits();
    if (separator == ' ' || takeSeparator(s) != separator) return std::nullopt;
    const std::string_view third = s.digits();
    const bool yearFirst = first.size() == 4;
    d.year = yearNumber(yearFirst ? first : third);
    d.month = smallInteger(yearFirst ? second : first, 2);
    d.day = smallInteger(yearFirst ? third : second, 2);
    return d;
}

int daysInMonth(int year, int month)
{
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0 || year == 1900;
    return month == 2 && leap ? 29 : kDays[month - 1];
}

std::optional<double> dateAt(Scanner& s, DateSystem dates)
{
    const auto d = datePartsAt(s);
    if (!d || !d->year || !d->month || !d->day || *d->year < 1900) return std::nullopt;
    if (*d->month < 1 || *d->month > 12 || *d->day < 1 || *d->day > daysInMonth(*d->year, *d->month))
        return std::nullopt;
    if (*d->year == 1900 && *d->month == 2 && *d->day == 29 && dates == DateSystem::From1904)
        return std::nullopt;
    return serialFromDate(*d->year, *d->month, *d->day, dates);
}

/// One part of a time: up to four digits, only two when it starts with 0.
std::optional<double> timePart(Scanner& s)
{
    const std::string_view digits = s.digits();
    if (digits.empty() || digits.size() > 4 || (digits.size() > 2 && digits.front() == '0'))
        return std::nullopt;
    return *smallInteger(digits, 4);
}

/// AM and PM, or their first letters: 'A', 'P' or '\0'.
char takeHalfOfDay(Scanner& s)
{
    const std::size_t before = s.place();
    s.blanks();
    const std::string_view word = s.letters();
    if (equalTexts(word, "AM") || equalTexts(word, "A")) return 'A';
    if (equalTexts(word, "PM") || equalTexts(word, "P")) return 'P';
    s.goTo(before);
    return '\0';
}

/// "12:30" "12:30:15.5" "30:15.5" "12:" "1:05 PM" "7 am", as a part of a day. Without AM or PM one part may
/// be beyond its limit ("36:00", "0:90").
std::optional<double> timeAt(Scanner& s)
{
    std::array<double, 3> part{}; // hours, minutes, seconds
    std::size_t count = 0;
    bool colon = false, open = true;
    while (open && count < part.size()) {
        const auto x = timePart(s);
        if (!x && count == 0) return std::nullopt;
        if (!x) break; // "12:"
        part[count++] = *x;
        const std::size_t behind = s.place();
        s.blanks();
        open = count < part.size() && s.take(':');
        colon = colon || open;
        if (open)
            s.blanks();
        else
            s.goTo(behind);
    }
    double fraction = 0.0;
    if (count >= 2 && !open && s.take('.')) {
        const std::string digits = "0." + std::string(s.digits());
        fraction = plainNumber(digits).value_or(0.0);
        if (count == 2) part = {0.0, part[0], part[1]}; // minutes and seconds
    }
    const char half = takeHalfOfDay(s);
    if (half == '\0' && !colon) return std::nullopt;
    const int beyond = (part[0] >= 24.0 ? 1 : 0) + (part[1] >= 60.0 ? 1 : 0) + (part[2] >= 60.0 ? 1 : 0);
    if (half != '\0') {
        if (beyond > 0 || part[0] > 12.0 || (open && colon)) return std::nullopt;
        if (part[0] == 12.0) part[0] = 0.0;
        if (half == 'P') part[0] += 12.0;
    } else if (beyond > 1) {
        return std::nullopt;
    }
    return (part[0] * 3600.0 + part[1] * 60.0 + part[2] + fraction) / 86400.0;
}

std::optional<double> dateOrTime(std::string_view text, DateSystem dates)
{
    Scanner s(text);
    if (const auto day = dateAt(s, dates)) {
        if (s.atEnd()) return day;
        if (!s.blanks()) return std::nullopt;
        const auto time = timeAt(s);
        return time && s.atEnd() ? std::optional(*day + *time) : std::nullopt;
    }
    s.goTo(0);
    const auto time = timeAt(s);
    return time && s.atEnd() ? time : std::nullopt;
}

} // namespace

std::optional<double> numberFromText(std::string_view text, DateSystem dates)
{
    text = trimmed(text);
    if (text.empty() || text.size() > 255) return std::nullopt;
    if (const auto x = plainNumber(text)) return x;
    if (const auto x = decoratedNumber(text)) return x;
    return dateOrTime(text, dates);
}

} // namespace varnex3::sheet
