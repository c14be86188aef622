// Criteria against cells of every kind.
#include "sheet/functions/Criterion.h"

#include <gtest/gtest.h>

namespace varnex3::sheet {
namespace {

// One column per cell; "1" where the criterion fits. Origin: documented behaviour of COUNTIF.
const Value kCells[] = {Value(),      Value(""),     Value(0.0),         Value(2.5),
                        Value("2.5"), Value("pear"), Value("PEAR tree"), Value("*"),
                        Value(true),  Value(false),  Value(Failure::NA)};

std::string fitting(const Value& criterion)
{
    const Criterion c(criterion, DateSystem::From1900);
    std::string pattern;
    for (const Value& cell : kCells) pattern += c.fits(cell) ? '1' : '0';
    EXPECT_EQ(c.fitsEmpty(), pattern.front() == '1');
    return pattern;
}

TEST(Criterion, FitsCellsOfItsKind)
{
    struct Case {
        Value criterion;
        const char* want;
    };
    const Case cases[] = {
        // empty | "" | 0 | 2.5 | "2.5" | pear | PEAR tree | * | TRUE | FALSE | #N/A
        {Value(2.5), "00011000000"},
        {Value("2.5"), "00011000000"},
        {Value("=2.5"), "00011000000"},
        {Value("<>2.5"), "11100111111"},
        {Value("250%"), "00011000000"},
        {Value(">=2.5"), "00010000000"}, // orders: numbers only
        {Value("<2.5"), "00100000000"},
        {Value(), "00100000000"}, // an empty cell counts as 0
        {Value(""), "11000000000"},
        {Value("="), "10000000000"},
        {Value("<>"), "01111111111"},
        {Value(">"), "00000000000"},
        {Value("pear"), "00000100000"},
        {Value("pear*"), "00000110000"},
        {Value("<>pear*"), "11111001111"},
        {Value("=????"), "00000100000"},
        {Value("*"), "01001111000"},
        {Value("~*"), "00000001000"},
        {Value(">pear"), "00000010000"},
        {Value("<=pear"), "01001101000"}, // texts only, in the order of letters
        {Value(true), "00000000100"},
        {Value("true"), "00000000100"},
        {Value("<>TRUE"), "11111111011"},
        {Value("#n/a"), "00000000001"},
        {Value(Failure::NA), "00000000001"},
        {Value("#DIV/0!"), "00000000000"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.criterion.isText() ? c.criterion.text() : "value");
        EXPECT_EQ(fitting(c.criterion), c.want);
    }
}

} // namespace
} // namespace varnex3::sheet
