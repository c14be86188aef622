// sheet/format/NumberFormat.h - number formats ("0.00%", "#,##0.0;[Red]-0", "yyyy-mm-dd hh:mm") and calendar
// dates.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sheet/value/Environment.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// A value written with a number format, as TEXT does; nothing when the format cannot be read.
std::optional<std::string> formatValue(const Value& scalar, std::string_view format, DateSystem dates);

/// Whether a number format shows dates or times.
bool isDateFormat(std::string_view format);

struct CalendarDate {
    int year = 1900, month = 1, day = 1;
};

/// Serial day number of a date; months and days may overflow (month 13 is next January).
/// Knows 29 February 1900, which the 1900 system has. Nothing outside 1900..9999.
std::optional<double> serialFromDate(int year, int month, int day, DateSystem dates);

/// The date of a serial day number; nothing for negative ones and ones past 9999-12-31.
std::optional<CalendarDate> dateFromSerial(double serial, DateSystem dates);

} // namespace varnex3::sheet
