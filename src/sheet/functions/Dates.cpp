// sheet/functions/Dates.cpp - dates and times as serial numbers, working days and fractions of years.
//
// The calendar itself (serial number to date and back, in both date systems) and the reading of dates from
// texts are in format/.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sheet/format/Convert.h"
#include "sheet/format/NumberFormat.h"
#include "sheet/functions/DayCount.h"
#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

constexpr double kSecondsPerDay = 86400.0;

double lastSerial(DateSystem dates)
{
    return dates == DateSystem::From1900 ? 2958465.0 : 2957003.0;
} // end of 9999

bool isSerial(double x, DateSystem dates) { return x >= 0.0 && x < lastSerial(dates) + 1.0; }

/// A serial number as a result.
Value serialValue(double x, DateSystem dates) { return isSerial(x, dates) ? Value(x) : Value(Failure::Num); }

/// The date of number argument i.
std::optional<CalendarDate> dateOf(Call& call, int i)
{
    const double serial = std::floor(call.number(i));
    if (!isSerial(serial, call.dates())) return std::nullopt;
    return dateFromSerial(serial, call.dates());
}

bool isLeap(int year, DateSystem dates)
{
    if (year == 1900) return dates == DateSystem::From1900; // the 1900 system has 29 February 1900
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int daysInMonth(int year, int month, DateSystem dates)
{
    constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeap(year, dates) ? 29 : kDays[static_cast<std::size_t>(month) - 1];
}

/// Day of the week of a serial number, 0 = Sunday. The 1900 system takes 1 January 1900 for a Sunday, which
/// makes every date from 1 March 1900 right; 1 January 1904 was a Friday.
int weekdayOf(double serial, DateSystem dates)
{
    const double shift = dates == DateSystem::From1900 ? 6.0 : 5.0;
    return static_cast<int>(std::fmod(std::floor(serial) + shift, 7.0));
}

// --- Parts ----------------------------------------------------------------------------------------------

/// Arguments are rounded down. Years beyond 10000 count as 10000, days that do not fit 16 bits as 32767;
/// months that do not are refused.
Value date(Call& call)
{
    double year = std::clamp(std::floor(call.number(0)), -10000.0, 10000.0), day = std::floor(call.number(2));
    const double month = std::floor(call.number(1));
    if (month < -32767.0 || month >= 32767.0) return Failure::Num;
    if (day < -32768.0 || day > 32767.0) day = 32767.0;
    if (year < 1900.0) year += 1900.0;
    const auto first = serialFromDate(static_cast<int>(year), static_cast<int>(month), 1, call.dates());
    return first ? serialValue(*first + day - 1.0, call.dates()) : Value(Failure::Num);
}

Value year(Call& call)
{
    const auto d = dateOf(call, 0);
    return d ? Value(d->year) : Value(Failure::Num);
}

Value month(Call& call)
{
    const auto d = dateOf(call, 0);
    return d ? Value(d->month) : Value(Failure::Num);
}

Value day(Call& call)
{
    const auto d = dateOf(call, 0);
    return d ? Value(d->day) : Value(Failure::Num);
}

/// Seconds into the day, halves up; the last half second of a day belongs to the next.
std::optional<int> secondsOf(Call& call)
{
    const double x = call.number(0);
    if (!isSerial(x, call.dates())) return std::nullopt;
    const double seconds = std::floor((x - std::floor(x)) * kSecondsPerDay + 0.5);
    return static_cast<int>(std::fmod(seconds, kSecondsPerDay));
}

Value hour(Call& call)
{
    const auto s = secondsOf(call);
    return s ? Value(*s / 3600) : Value(Failure::Num);
}

Value minute(Call& call)
{
    const auto s = secondsOf(call);
    return s ? Value(*s / 60 % 60) : Value(Failure::Num);
}

Value second(Call& call)
{
    const auto s = secondsOf(call);
    return s ? Value(*s % 60) : Value(Failure::Num);
}

Value timeOfDay(Call& call)
{
    double total = 0.0;
    constexpr std::array<double, 3> kSeconds = {3600.0, 60.0, 1.0};
    for (int i = 0; i < 3; ++i) {
        const double part = std::floor(call.number(i));
        if (part > 32767.0) return Failure::Num;
        total += part * kSeconds[static_cast<std::size_t>(i)];
    }
    return total < 0.0 ? Value(Failure::Num) : Value(std::fmod(total, kSecondsPerDay) / kSecondsPerDay);
}

/// The serial number in a text that names a date or a time, and is no plain number or fraction.
std::optional<double> serialInText(Call& call)
{
    const std::string_view text = call.text(0);
    const auto x = numberFromText(text, call.dates());
    if (!x || text.find_first_of("$%()") != std::string_view::npos) return std::nullopt;
    const bool clock = text.find(':') != std::string_view::npos;
    const bool letters = std::any_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z' && c != 'e') || (c >= 'A' && c <= 'Z' && c != 'E');
    });
    if (clock || letters) return x;
    const std::size_t separator = text.find_first_of("/-", 1);
    if (separator == std::string_view::npos) return std::nullopt;
    const char before = text[separator - 1];
    if (before == 'e' || before == 'E') return std::nullopt; // an exponent
    const std::size_t space = text.find(' ', text.find_first_not_of(' '));
    return space < separator && text.find_first_of("/-", separator + 1) == std::string_view::npos
               ? std::nullopt // "1 1/2"
               : x;
}

Value dateValue(Call& call)
{
    const auto x = serialInText(call);
    return x ? Value(std::floor(*x)) : Value(Failure::Value);
}

Value timeValue(Call& call)
{
    const auto x = serialInText(call);
    return x ? Value(*x - std::floor(*x)) : Value(Failure::Value);
}

Value today(Call& call) { return std::floor(call.environment().now()); }
Value now(Call& call) { return call.environment().now(); }

// --- Months and days between ----------------------------------------------------------------------------

/// Serial of the first of the month that lies `months` after the month of `d`.
std::optional<double> monthsAfter(const CalendarDate& d, double months, DateSystem dates)
{
    if (std::fabs(months) > 120000.0) return std::nullopt;
    return serialFromDate(d.year, d.month + static_cast<int>(months), 1, dates);
}

/// Days of the month of a serial number. Moves by months know that 1900 was no leap year.
int daysInMonthOf(double serial, DateSystem dates)
{
    const auto d = dateFromSerial(serial, dates);
    if (!d) return 0;
    return d->year == 1900 && d->month == 2 ? 28 : daysInMonth(d->year, d->month, dates);
}

Value edate(Call& call)
{
    const auto d = dateOf(call, 0);
    if (!d) return Failure::Num;
    const auto first = monthsAfter(*d, std::trunc(call.number(1)), call.dates());
    if (!first) return Failure::Num;
    const int dayInMonth = std::min(d->day, daysInMonthOf(*first, call.dates()));
    return serialValue(*first + dayInMonth - 1.0, call.dates());
}

Value eomonth(Call& call)
{
    const auto d = dateOf(call, 0);
    if (!d) return Failure::Num;
    const auto first = monthsAfter(*d, std::trunc(call.number(1)), call.dates());
    if (!first) return Failure::Num;
    return serialValue(*first + daysInMonthOf(*first, call.dates()) - 1.0, call.dates());
}

Value days(Call& call)
{
    const double to = std::floor(call.number(0)), from = std::floor(call.number(1));
    if (!isSerial(to, call.dates()) || !isSerial(from, call.dates())) return Failure::Num;
    return to - from;
}

/// Whole months from one date to a later one.
int wholeMonths(const CalendarDate& a, const CalendarDate& b)
{
    return (b.year - a.year) * 12 + b.month - a.month - (b.day < a.day ? 1 : 0);
}

/// Days after the last whole month, or after the last whole year, from `a` to the date of `serial`.
Value daysAfterWhole(const CalendarDate& a, double serial, int months, DateSystem dates)
{
    const auto first = serialFromDate(a.year, a.month + months, 1, dates);
    return first ? Value(serial - (*first + a.day - 1.0)) : Value(Failure::Num);
}

/// Days from `a` to the next day with the month and day of `b`: the years that pass are left out, and that
/// of `a` says whether there is a 29 February on the way.
Value daysWithinYear(const CalendarDate& a, const CalendarDate& b, DateSystem dates)
{
    const bool nextYear = b.month < a.month || (b.month == a.month && b.day < a.day);
    const auto from = serialFromDate(a.year, a.month, a.day, dates);
    const auto to = serialFromDate(a.year + (nextYear ? 1 : 0), b.month, 1, dates);
    return from && to ? Value(*to + b.day - 1.0 - *from) : Value(Failure::Num);
}

Value datedif(Call& call)
{
    const auto a = dateOf(call, 0), b = dateOf(call, 1);
    const double from = std::floor(call.number(0)), to = std::floor(call.number(1));
    if (!a || !b || from > to) return Failure::Num;
    const int months = wholeMonths(*a, *b);
    const std::string_view unit = call.text(2);
    if (equalTexts(unit, "D")) return to - from;
    if (equalTexts(unit, "M")) return months;
    if (equalTexts(unit, "Y")) return months / 12;
    if (equalTexts(unit, "YM")) return months % 12;
    if (equalTexts(unit, "MD")) return daysAfterWhole(*a, to, months, call.dates());
    if (equalTexts(unit, "YD")) return daysWithinYear(*a, *b, call.dates());
    return Failure::Num;
}

double days360Between(const CalendarDate& a, const CalendarDate& b, int fromDay, int toDay)
{
    return (b.year - a.year) * 360.0 + (b.month - a.month) * 30.0 + (toDay - fromDay);
}

bool endsFebruary(const CalendarDate& d, DateSystem dates)
{
    return d.month == 2 && d.day == daysInMonth(d.year, 2, dates);
}

/// European: a 31st counts as a 30th. US: the last day of a month is its 30th at the start; a 31st at the end
/// stays one, that is the first of the next month, unless the start is a 30th.
Value days360(Call& call)
{
    const auto a = dateOf(call, 0), b = dateOf(call, 1);
    if (!a || !b) return Failure::Num;
    const bool european = call.boolean(2);
    int fromDay = std::min(a->day, 30), toDay = b->day;
    if (!european && endsFebruary(*a, call.dates())) fromDay = 30;
    if (toDay == 31 && (european || fromDay == 30)) toDay = 30;
    return days360Between(*a, *b, fromDay, toDay);
}

double usYear(const CalendarDate& a, const CalendarDate& b, DateSystem dates)
{
    int fromDay = a.day, toDay = b.day;
    if (endsFebruary(a, dates) && endsFebruary(b, dates)) toDay = 30;
    if (endsFebruary(a, dates)) fromDay = 30;
    if (toDay == 31 && fromDay >= 30) toDay = 30;
    if (fromDay == 31) fromDay = 30;
    return days360Between(a, b, fromDay, toDay) / 360.0;
}

/// The length of the year in actual/actual: of a period up to one year 366 days when a 29 February lies in it
/// or its only year is a leap year; else the mean over all its calendar years.
double yearLength(const CalendarDate& a, const CalendarDate& b, DateSystem dates)
{
    const bool upToOneYear =
        a.year == b.year ||
        (b.year == a.year + 1 && (a.month > b.month || (a.month == b.month && a.day >= b.day)));
    if (!upToOneYear) { // the mean year, in which 1900 is no leap year
        double total = 0.0;
        for (int y = a.year; y <= b.year; ++y) total += isLeap(y, DateSystem::From1904) ? 366.0 : 365.0;
        return total / (b.year - a.year + 1.0);
    }
    if (a.year == b.year) return isLeap(a.year, dates) ? 366.0 : 365.0;
    const bool leapDayAfterStart = isLeap(a.year, dates) && a.month <= 2;
    const bool leapDayBeforeEnd = isLeap(b.year, dates) && (b.month > 2 || (b.month == 2 && b.day == 29));
    return leapDayAfterStart || leapDayBeforeEnd ? 366.0 : 365.0;
}

Value yearfrac(Call& call)
{
    return yearFraction(call.number(0), call.number(1), call.number(2), call.dates());
}

// --- Weeks ----------------------------------------------------------------------------------------------

/// The first day of the week that a type stands for, 0 = Sunday; nothing for types unknown.
std::optional<int> weekStart(double type)
{
    if (type == 1.0 || type == 17.0) return 0;
    if (type == 2.0) return 1;
    if (type >= 11.0 && type <= 16.0) return static_cast<int>(type) - 10;
    return std::nullopt;
}

Value weekday(Call& call)
{
    const double serial = std::floor(call.number(0)), type = std::trunc(call.number(1));
    if (!isSerial(serial, call.dates())) return Failure::Num;
    const int dayOfWeek = weekdayOf(serial, call.dates());
    if (type == 3.0) return (dayOfWeek + 6) % 7;
    const auto start = weekStart(type);
    return start ? Value((dayOfWeek - *start + 7) % 7 + 1) : Value(Failure::Num);
}

/// Week of the year by ISO 8601: that of its Thursday.
Value isoWeek(double serial, DateSystem dates)
{
    const double thursday = serial - (weekdayOf(serial, dates) + 6) % 7 + 3.0;
    const auto d = dateFromSerial(std::max(thursday, 0.0), dates);
    if (!d) return Failure::Num;
    const auto newYear = serialFromDate(d->year, 1, 1, dates);
    if (!newYear) return Failure::Num;
    const double start = thursday < *newYear ? *newYear - 365.0 : *newYear; // the year before the first
    return std::floor((thursday - start) / 7.0) + 1.0;
}

Value isoWeekNumber(Call& call)
{
    const double serial = std::floor(call.number(0));
    return isSerial(serial, call.dates()) ? isoWeek(serial, call.dates()) : Value(Failure::Num);
}

Value weekNumber(Call& call)
{
    const double serial = std::floor(call.number(0)), type = std::trunc(call.number(1));
    const auto d = dateOf(call, 0);
    if (!d) return Failure::Num;
    if (type == 21.0) return isoWeek(serial, call.dates());
    const auto start = weekStart(type);
    const auto newYear = serialFromDate(d->year, 1, 1, call.dates());
    if (!start || !newYear) return Failure::Num;
    const int lead = (weekdayOf(*newYear, call.dates()) - *start + 7) % 7;
    return std::floor((serial - *newYear + lead) / 7.0) + 1.0;
}

// --- Working days ---------------------------------------------------------------------------------------

/// Which days of the week and which dates are free.
struct Calendar {
    std::array<bool, 7> free{};   // 0 = Sunday
    std::vector<double> holidays; // sorted, each once, none on a free day of the week
    DateSystem dates = DateSystem::From1900;
    std::optional<Failure> failure;

    int workingDaysPerWeek() const { return static_cast<int>(std::count(free.begin(), free.end(), false)); }
    bool isWorkingDay(double serial) const
    {
        return !free[static_cast<std::size_t>(weekdayOf(serial, dates))] &&
               !std::binary_search(holidays.begin(), holidays.end(), serial);
    }
};

/// Days off as seven digits from Monday on, 1 = free, or as a number: 1 Saturday and Sunday, 2 Sunday and
/// Monday ... 7 Friday and Saturday, 11 Sunday only ... 17 Saturday only.
std::optional<Failure> readWeekend(const Value& v, Calendar& calendar)
{
    if (v.isText()) {
        const std::string& week = v.text();
        if (week.size() != 7 || week.find_first_not_of("01") != std::string::npos) return Failure::Value;
        for (std::size_t i = 0; i < 7; ++i) calendar.free[(i + 1) % 7] = week[i] == '1';
        return std::nullopt;
    }
    if (!v.isNumber()) return Failure::Value;
    const int code = static_cast<int>(std::clamp(std::trunc(v.number()), -1.0, 100.0));
    if (code >= 1 && code <= 7) {
        calendar.free[static_cast<std::size_t>((code + 5) % 7)] = true;
        calendar.free[static_cast<std::size_t>((code + 6) % 7)] = true;
    } else if (code >= 11 && code <= 17) {
        calendar.free[static_cast<std::size_t>(code - 11)] = true;
    } else {
        return Failure::Num;
    }
    return std::nullopt;
}

/// The calendar of a call: weekend from argument `weekend` (0: none written), holidays from `holidays`.
Calendar calendarOf(Call& call, int weekend, int holidays)
{
    Calendar calendar;
    calendar.dates = call.dates();
    const bool given = weekend > 0 && call.given(weekend) && !call.value(weekend).isEmpty();
    calendar.failure = readWeekend(given ? call.value(weekend) : Value(1.0), calendar);
    if (calendar.failure || !call.given(holidays)) return calendar;
    for (const Value& v : call.elements(holidays)) {
        if (v.isEmpty()) continue;
        const Value x = toNumber(v, call.dates());
        if (x.isFailure() || v.isBoolean()) {
            calendar.failure = x.isFailure() ? x.failure() : Failure::Value;
            return calendar;
        }
        if (!isSerial(x.number(), call.dates())) {
            calendar.failure = Failure::Num;
            return calendar;
        }
        const double serial = std::floor(x.number());
        if (!calendar.free[static_cast<std::size_t>(weekdayOf(serial, call.dates()))])
            calendar.holidays.push_back(serial);
    }
    std::sort(calendar.holidays.begin(), calendar.holidays.end());
    calendar.holidays.erase(std::unique(calendar.holidays.begin(), calendar.holidays.end()),
                            calendar.holidays.end());
    return calendar;
}

/// Working days from one date to another, both included; negative when the second comes first.
Value netWorkdays(Call& call, int weekend, int holidays)
{
    double from = std::floor(call.number(0)), to = std::floor(call.number(1));
    if (!isSerial(from, call.dates()) || !isSerial(to, call.dates())) return Failure::Num;
    const Calendar calendar = calendarOf(call, weekend, holidays);
    if (calendar.failure) return *calendar.failure;
    const double sign = to < from ? -1.0 : 1.0;
    if (to < from) std::swap(from, to);
    const double weeks = std::floor((to - from + 1.0) / 7.0);
    double count = weeks * calendar.workingDaysPerWeek();
    for (double d = from + weeks * 7.0; d <= to; d += 1.0)
        count += calendar.free[static_cast<std::size_t>(weekdayOf(d, call.dates()))] ? 0.0 : 1.0;
    for (double holiday : calendar.holidays) count -= holiday >= from && holiday <= to ? 1.0 : 0.0;
    return sign * count;
}

/// The date so many working days after (before, when negative) a date.
Value workdayAfter(Call& call, int weekend, int holidays)
{
    double serial = std::floor(call.number(0)), left = std::trunc(call.number(1));
    if (!isSerial(serial, call.dates()) || std::fabs(left) > lastSerial(call.dates())) return Failure::Num;
    const Calendar calendar = calendarOf(call, weekend, holidays);
    if (calendar.failure) return *calendar.failure;
    if (calendar.workingDaysPerWeek() == 0) return Failure::Value;
    const double step = left < 0.0 ? -1.0 : 1.0;
    while (left != 0.0) {
        serial += step;
        if (!isSerial(serial, call.dates())) return Failure::Num;
        if (calendar.isWorkingDay(serial)) left -= step;
    }
    return serial;
}

Value networkdays(Call& call) { return netWorkdays(call, 0, 2); }
Value networkdaysIntl(Call& call) { return netWorkdays(call, 2, 3); }
Value workday(Call& call) { return workdayAfter(call, 0, 2); }
Value workdayIntl(Call& call) { return workdayAfter(call, 2, 3); }

// clang-format off
constexpr FunctionRow rows[] = {
//   name                arguments                                                          trait            body             summary                                           example                                              shows
    {"DATE",             {number(), number(), number()},                                    Trait::Pure,     date,            "serial number of a date",                        "=DATE(2008,7,8)",                                   "39637"},
    {"DATEDIF",          {number(), number(), text()},                                      Trait::Pure,     datedif,         "whole years, months or days between dates",      "=DATEDIF(DATE(2001,6,1),DATE(2002,8,15),\"YD\")",   "75"},
    {"DATEVALUE",        {text()},                                                          Trait::Pure,     dateValue,       "serial number of a date written as text",        "=DATEVALUE(\"2011-02-23\")",                        "40597"},
    {"DAY",              {number()},                                                        Trait::Pure,     day,             "day of the month",                               "=DAY(39637)",                                       "8"},
    {"DAYS",             {number(), number()},                                              Trait::Pure,     days,            "days from the second date to the first",         "=DAYS(DATE(2021,3,15),DATE(2021,2,1))",             "42"},
    {"DAYS360",          {number(), number(), boolean(false)},                              Trait::Pure,     days360,         "days between dates in a year of 360 days",       "=DAYS360(DATE(2011,1,30),DATE(2011,2,1))",          "1"},
    {"EDATE",            {number(), number()},                                              Trait::Pure,     edate,           "date some months later",                         "=EDATE(DATE(2011,1,31),1)",                         "40602"},
    {"EOMONTH",          {number(), number()},                                              Trait::Pure,     eomonth,         "last day of the month some months later",        "=EOMONTH(DATE(2011,1,1),1)",                        "40602"},
    {"HOUR",             {number()},                                                        Trait::Pure,     hour,            "hour of the day",                                "=HOUR(0.75)",                                       "18"},
    {"ISOWEEKNUM",       {number()},                                                        Trait::Pure,     isoWeekNumber,   "week of the year by ISO 8601",                   "=ISOWEEKNUM(DATE(2012,3,9))",                       "10"},
    {"MINUTE",           {number()},                                                        Trait::Pure,     minute,          "minute of the hour",                             "=MINUTE(0.53125)",                                  "45"},
    {"MONTH",            {number()},                                                        Trait::Pure,     month,           "month of the year",                              "=MONTH(39637)",                                     "7"},
    {"NETWORKDAYS",      {number(), number(), optional(range())},                           Trait::Pure,     networkdays,     "working days between dates",                     "=NETWORKDAYS(DATE(2012,10,1),DATE(2013,3,1))",      "110"},
    {"NETWORKDAYS.INTL", {number(), number(), optional(scalar()), optional(range())},       Trait::Pure,     networkdaysIntl, "working days between dates, weekend given",      "=NETWORKDAYS.INTL(DATE(2006,1,1),DATE(2006,1,31))", "22"},
    {"NOW",              {},                                                                Trait::Volatile, now,             "date and time of the calculation",               "=NOW()-TODAY()<1",                                  "TRUE"},
    {"SECOND",           {number()},                                                        Trait::Pure,     second,          "second of the minute",                           "=SECOND(TIME(16,48,18))",                           "18"},
    {"TIME",             {number(), number(), number()},                                    Trait::Pure,     timeOfDay,       "time as a fraction of a day",                    "=TIME(12,0,0)",                                     "0.5"},
    {"TIMEVALUE",        {text()},                                                          Trait::Pure,     timeValue,       "time written as text, as a fraction of a day",   "=TIMEVALUE(\"2:24 AM\")",                           "0.1"},
    {"TODAY",            {},                                                                Trait::Volatile, today,           "date of the calculation",                        "=TODAY()=INT(TODAY())",                             "TRUE"},
    {"WEEKDAY",          {number(), number(1)},                                             Trait::Pure,     weekday,         "day of the week",                                "=WEEKDAY(DATE(2008,2,14))",                         "5"},
    {"WEEKNUM",          {number(), number(1)},                                             Trait::Pure,     weekNumber,      "week of the year",                               "=WEEKNUM(DATE(2012,3,9),2)",                        "11"},
    {"WORKDAY",          {number(), number(), optional(range())},                           Trait::Pure,     workday,         "date some working days later",                   "=WORKDAY(DATE(2008,10,1),151)",                     "39933"},
    {"WORKDAY.INTL",     {number(), number(), optional(scalar()), optional(range())},       Trait::Pure,     workdayIntl,     "date some working days later, weekend given",    "=WORKDAY.INTL(DATE(2012,1,1),90,11)",               "41013"},
    {"YEAR",             {number()},                                                        Trait::Pure,     year,            "year",                                           "=YEAR(39637)",                                      "2008"},
    {"YEARFRAC",         {number(), number(), number(0)},                                   Trait::Pure,     yearfrac,        "fraction of a year between dates",               "=YEARFRAC(DATE(2012,1,1),DATE(2012,7,30),1)",       "0.576502732240437"},
};
// clang-format on
static_assert(wellFormed(rows));

} // namespace

Value yearFraction(double from, double to, double basis, DateSystem dates)
{
    from = std::floor(from);
    to = std::floor(to);
    if (!isSerial(from, dates) || !isSerial(to, dates)) return Failure::Num;
    if (from > to) std::swap(from, to);
    const auto a = dateFromSerial(from, dates), b = dateFromSerial(to, dates);
    if (!a || !b) return Failure::Num;
    basis = std::trunc(basis);
    if (basis == 0.0) return usYear(*a, *b, dates);
    if (basis == 1.0) return (to - from) / yearLength(*a, *b, dates);
    if (basis == 2.0) return (to - from) / 360.0;
    if (basis == 3.0) return (to - from) / 365.0;
    if (basis == 4.0) return days360Between(*a, *b, std::min(a->day, 30), std::min(b->day, 30)) / 360.0;
    return Failure::Num;
}

std::span<const FunctionRow> dateFunctions() { return rows; }

} // namespace varnex3::sheet
