// sheet/format/Calendar.cpp - serial day numbers and calendar dates.
//
// Serial 1 is 1 January 1900; the 1900 system counts a 29 February 1900 (serial 60) that never was. The 1904
// system starts with serial 0 on 1 January 1904.
#include <cmath>

#include "sheet/format/NumberFormat.h"

namespace varnex3::sheet {
namespace {

constexpr std::int64_t kLastSerial = 2958465; // 9999-12-31 in the 1900 system
constexpr std::int64_t kShift1904 = 1462;     // serial of 1904-01-01 in the 1900 system
constexpr std::int64_t kFalseLeapDay = 60;    // 1900-02-29

/// Days from 0000-03-01 to a date of the Gregorian calendar. Years start in March, so that the leap day
/// is the last of them: 153 days in every five months from March on.
std::int64_t dayCount(std::int64_t year, std::int64_t month, std::int64_t day)
{
    const std::int64_t y = month <= 2 ? year - 1 : year;
    const std::int64_t monthsFromMarch = month <= 2 ? month + 9 : month - 3;
    return 365 * y + y / 4 - y / 100 + y / 400 + (153 * monthsFromMarch + 2) / 5 + day - 1;
}

CalendarDate dateOfDayCount(std::int64_t days)
{
    const std::int64_t era = days / 146097; // days in 400 years
    const std::int64_t ofEra = days % 146097;
    const std::int64_t yearOfEra = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / 146096) / 365;
    const std::int64_t ofYear = ofEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthsFromMarch = (5 * ofYear + 2) / 153;
    CalendarDate d;
    d.day = static_cast<int>(ofYear - (153 * monthsFromMarch + 2) / 5 + 1);
    d.month = static_cast<int>(monthsFromMarch < 10 ? monthsFromMarch + 3 : monthsFromMarch - 9);
    d.year = static_cast<int>(era * 400 + yearOfEra + (d.month <= 2 ? 1 : 0));
    return d;
}

/// Day count of the day before serial 1, for serials before and behind the false leap day.
const std::int64_t kEpochBefore = dayCount(1899, 12, 31);
const std::int64_t kEpochBehind = dayCount(1899, 12, 30);

} // namespace

std::optional<double> serialFromDate(int year, int month, int day, DateSystem dates)
{
    const std::int64_t months = static_cast<std::int64_t>(year) * 12 + month - 1;
    if (months < 1899 * 12 || months >= 10001 * 12) return std::nullopt; // far enough for any useful day
    const std::int64_t first = dayCount(months / 12, months % 12 + 1, 1);
    std::int64_t serial = first - kEpochBefore; // of the first day of the month
    if (serial >= kFalseLeapDay) ++serial;      // March 1900 and later
    serial += day - 1;
    if (dates == DateSystem::From1904) {
        if (first - kEpochBefore < kFalseLeapDay) return std::nullopt;
        serial -= kShift1904;
        if (serial > kLastSerial - kShift1904) return std::nullopt;
    }
    if (serial < 0 || serial > kLastSerial) return std::nullopt;
    return static_cast<double>(serial);
}

std::optional<CalendarDate> dateFromSerial(double serial, DateSystem dates)
{
    if (!(serial >= 0.0) || serial >= 3.0e6) return std::nullopt;
    auto n = static_cast<std::int64_t>(std::floor(serial));
    if (dates == DateSystem::From1904) n += kShift1904;
    if (n > kLastSerial) return std::nullopt;
    if (n == 0) return CalendarDate{1900, 1, 0}; // the spreadsheet's "0 January 1900"
    if (n == kFalseLeapDay) return CalendarDate{1900, 2, 29};
    return dateOfDayCount(n + (n < kFalseLeapDay ? kEpochBefore : kEpochBehind));
}

} // namespace varnex3::sheet
