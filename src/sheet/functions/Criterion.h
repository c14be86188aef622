// sheet/functions/Criterion.h - the test that COUNTIF, SUMIFS and their kin put cells to.
#pragma once

#include <string>
#include <string_view>

#include "sheet/value/Environment.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// A criterion such as 5, ">=2.5", "<>north*", "", "=" or TRUE.
///
/// A text may open with one of = <> < <= > >=. What follows is read as a number, Boolean or error value
/// where it can be; other texts are patterns with * ? ~ for = and <>, and plain texts for the orders.
/// Numbers equal texts that read as the same number. "=" fits empty cells only, "" also empty texts,
/// "<>" every cell that is not empty. An empty cell as the criterion counts as 0.
class Criterion {
public:
    Criterion(const Value& scalar, DateSystem dates);

    bool fits(const Value& v) const;
    bool fitsEmpty() const { return fitsEmpty_; } // so that empty stretches need no visit

private:
    enum class Relation : std::uint8_t { Equal, Different, Less, LessEqual, Greater, GreaterEqual };

    void readText(std::string_view text);
    bool equals(const Value& v) const;
    bool ordered(const Value& v) const;
    bool holds(int order) const;

    DateSystem dates_;
    Relation relation_ = Relation::Equal;
    bool written_ = false; // an operator stood before the operand
    bool pattern_ = false; // the operand is a text with wildcards
    bool fitsEmpty_ = false;
    Value operand_; // Empty: the criterion is about cells being empty
};

} // namespace varnex3::sheet
