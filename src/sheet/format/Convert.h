// sheet/format/Convert.h - conversions and comparisons between kinds of value, as the spreadsheet does them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sheet/value/Environment.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// The number that a text stands for in arithmetic and VALUE: plain, percent, with thousands
/// separators or a currency sign, fractions, dates and times. Nothing for any other text.
std::optional<double> numberFromText(std::string_view text, DateSystem dates);

/// A number as concatenation and LEN see it: 15 significant digits, general format.
std::string generalText(double x);

/// Scalar conversions: the converted Value of the wanted kind, or a Failure. Empty is 0, "" or FALSE.
Value toNumber(const Value& scalar, DateSystem dates); // text that reads as a number counts; else #VALUE!
Value toBoolean(const Value& scalar);                  // numbers by != 0; "TRUE"/"FALSE"; else #VALUE!
Value toText(const Value& scalar);                     // numbers by generalText; TRUE and FALSE

/// Order of two scalars that are no failures: numbers < texts < Booleans; texts without regard to
/// case; numbers alike to 15 significant digits are equal; Empty takes the other's kind.
/// Negative, 0 or positive.
int compareValues(const Value& a, const Value& b);

/// Whether two texts are the same but for the case of their letters (Unicode simple case folding).
bool equalTexts(std::string_view a, std::string_view b);
int compareTexts(std::string_view a, std::string_view b);

/// Whether `text` fits a pattern with * ? and ~ as the escape, without regard to case.
bool matchesWildcard(std::string_view text, std::string_view pattern);

} // namespace varnex3::sheet
