// sheet/format/WriteDate.cpp - serial numbers written as dates and times.
#include <algorithm>
#include <cmath>

#include "sheet/format/FormatSection.h"
#include "sheet/format/NumberFormat.h"

namespace varnex3::sheet {
namespace {

constexpr std::string_view kMonths[] = {"January",   "February", "March",    "April",
                                        "May",       "June",     "July",     "August",
                                        "September", "October",  "November", "December"};
constexpr std::string_view kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                          "Thursday", "Friday", "Saturday"};

std::string padded(std::int64_t n, int width)
{
    std::string text = std::to_string(n);
    if (static_cast<int>(text.size()) < width)
        text.insert(0, static_cast<std::size_t>(width) - text.size(), '0');
    return text;
}

/// The parts of a moment, rounded to what the format shows.
struct Moment {
    CalendarDate date;
    int weekday = 0;
    std::int64_t seconds = 0;     // since serial 0
    std::int64_t secondOfDay = 0; // 0..86399
    std::int64_t fraction = 0;    // in units of the last digit shown
    int fractionDigits = 0;
    bool halfDays = false;
};

std::optional<Moment> momentOf(double serial, const FormatSection& section, DateSystem dates)
{
    Moment m;
    bool time = false;
    for (const FormatToken& token : section.tokens) {
        if (token.piece == Piece::SecondFraction)
            m.fractionDigits = std::max(m.fractionDigits, std::min(token.count, 6));
        time = time || token.piece >= Piece::Hour;
        m.halfDays = m.halfDays || token.piece == Piece::HalfDay;
    }
    if (!(serial >= 0.0) || !dateFromSerial(serial, dates)) return std::nullopt;
    std::int64_t unit = 1; // per second
    for (int i = 0; i < m.fractionDigits; ++i) unit *= 10;
    // A bare date does not round up to the next day.
    const double days = time ? serial : std::floor(serial);
    const auto ticks = static_cast<std::int64_t>(std::round(days * 86400.0 * static_cast<double>(unit)));
    m.seconds = ticks / unit;
    m.fraction = ticks % unit;
    m.secondOfDay = m.seconds % 86400;
    const std::int64_t day = m.seconds / 86400;
    const auto date = dateFromSerial(static_cast<double>(day), dates);
    if (!date) return std::nullopt;
    m.date = *date;
    // Serial 1 of the 1900 system is a Sunday; the 1904 system starts on a Friday.
    m.weekday = static_cast<int>((day + (dates == DateSystem::From1900 ? 6 : 5)) % 7);
    return m;
}

std::string monthText(int month, int letters)
{
    const std::string_view name = kMonths[month - 1];
    if (letters <= 2) return padded(month, letters);
    if (letters == 3) return std::string(name.substr(0, 3));
    return std::string(letters == 5 ? name.substr(0, 1) : name);
}

std::string dayText(const Moment& m, int letters)
{
    if (letters <= 2) return padded(m.date.day, letters);
    const std::string_view name = kWeekdays[m.weekday];
    return std::string(letters == 3 ? name.substr(0, 3) : name);
}

/// "AM" or "PM"; "A" or "P" in the case of the format's letters.
std::string halfDayText(bool afternoon, const std::string& written)
{
    if (written.size() == 5) return afternoon ? "PM" : "AM";
    return std::string(1, afternoon ? written[2] : written[0]);
}

std::string textOf(const FormatToken& token, const Moment& m)
{
    const std::int64_t hour = m.secondOfDay / 3600;
    switch (token.piece) {
    case Piece::Year: return token.count <= 2 ? padded(m.date.year % 100, 2) : padded(m.date.year, 4);
    case Piece::Month: return monthText(m.date.month, token.count);
    case Piece::Day: return dayText(m, token.count);
    case Piece::Hour: return padded(m.halfDays ? (hour + 11) % 12 + 1 : hour, std::min(token.count, 2));
    case Piece::Minute: return padded(m.secondOfDay / 60 % 60, token.count);
    case Piece::Second: return padded(m.secondOfDay % 60, std::min(token.count, 2));
    case Piece::ElapsedHours: return padded(m.seconds / 3600, token.count);
    case Piece::ElapsedMinutes: return padded(m.seconds / 60, token.count);
    case Piece::ElapsedSeconds: return padded(m.seconds, token.count);
    case Piece::SecondFraction: {
        std::string digits = padded(m.fraction, m.fractionDigits);
        digits.resize(static_cast<std::size_t>(token.count), '0');
        return "." + digits;
    }
    case Piece::HalfDay: return halfDayText(hour >= 12, token.text);
    default: return token.text;
    }
}

} // namespace

std::optional<std::string> writeDate(double serial, const FormatSection& section, DateSystem dates)
{
    const auto moment = momentOf(serial, section, dates);
    if (!moment) return std::nullopt;
    std::string text;
    for (const FormatToken& token : section.tokens) text += textOf(token, *moment);
    return text;
}

} // namespace varnex3::sheet
