// sheet/format/FormatSection.h - a number format taken apart, shared by the files that write with it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sheet/value/Environment.h"

namespace varnex3::sheet {

enum class Piece : std::uint8_t {
    Literal, // text as it stands
    Digit,   // text is "0", "#" or "?"
    Point,
    Comma,
    Percent,
    Exponent, // text is "E+", "E-", "e+" or "e-"
    Slash,
    At,
    General,
    Year, // from here on `count` letters
    Month,
    Day,
    Hour,
    Minute,
    Second,
    ElapsedHours,
    ElapsedMinutes,
    ElapsedSeconds,
    SecondFraction, // `count` digits
    HalfDay,        // text is "AM/PM" or "A/P" as written
};

struct FormatToken {
    Piece piece = Piece::Literal;
    std::string text;
    int count = 1;
};

struct FormatCondition {
    enum class Test : std::uint8_t { Less, LessEqual, Equal, NotEqual, GreaterEqual, Greater };
    Test test = Test::Less;
    double limit = 0.0;

    bool holds(double x) const;
    bool negativeOnly() const; // holds for no number from 0 up
};

struct FormatSection {
    std::vector<FormatToken> tokens;
    std::optional<FormatCondition> condition;
    bool isDate = false;
    bool isText = false; // has "@"

    bool has(Piece piece) const;
};

/// One to four sections; nothing when the format cannot be read.
std::optional<std::vector<FormatSection>> readFormat(std::string_view format);

/// |x| with a numeric section, without sign.
std::string writeNumber(double x, const FormatSection& section);

/// A date or time; nothing for serials that are no date.
std::optional<std::string> writeDate(double serial, const FormatSection& section, DateSystem dates);

} // namespace varnex3::sheet
