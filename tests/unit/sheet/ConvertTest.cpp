// Conversions and comparisons. Expected values: the spreadsheet's rules for its cells, worked by hand; serial
// numbers of dates from the day counts 1900-01-01 = 1 and 1904-01-01 = 0.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "sheet/format/Convert.h"
#include "sheet/format/Letters.h"

namespace varnex3::sheet {
namespace {

constexpr DateSystem k1900 = DateSystem::From1900, k1904 = DateSystem::From1904;
constexpr std::optional<double> kNone;

TEST(Convert, ReadsNumbersFromText)
{
    const std::pair<const char*, std::optional<double>> cases[] = {
        {"12", 12.0},
        {" -1.5\t", -1.5},
        {"+.5", 0.5},
        {"1.", 1.0},
        {"1e3", 1000.0},
        {"1.5E-2", 0.015},
        {"1E+400", kNone},
        {"12%", 0.12},
        {"-12.5 %", -0.125},
        {"1,234,567.25", 1234567.25},
        {"1,23", kNone}, // three digits behind every comma
        {"1,2345", kNone},
        {",123", kNone},
        {"$5", 5.0},
        {"-$1,000", -1000.0},
        {"$-5", -5.0},
        {"€ 2.5", 2.5},
        {"3 £", kNone},
        {"(5)", -5.0},
        {"($1,000.50)", -1000.5},
        {"(-5)", kNone},
        {"(5", kNone},
        {"--5", kNone},
        {"$5%", kNone},
        {"1 1/2", 1.5},
        {"-2 3/4", -2.75},
        {"0 1/0", kNone},
        {"1/2", kNone}, // a date without a year
        {"", kNone},
        {" ", kNone},
        {"abc", kNone},
        {"inf", kNone},
        {"nan", kNone},
        {"0x10", kNone},
        {"1 2", kNone},
        {"1e", kNone},
        {"TRUE", kNone},
        {".", kNone},
        {"5-", kNone},
    };
    for (const auto& [text, want] : cases) EXPECT_EQ(numberFromText(text, k1900), want) << '"' << text << '"';
}

TEST(Convert, ReadsDatesAndTimesFromText)
{
    const std::pair<const char*, std::optional<double>> cases[] = {
        {"2020-01-31", 43861.0},
        {"2020/1/31", 43861.0},
        {"1/31/2020", 43861.0},
        {"1-31-20", 43861.0},
        {"31-Jan-2020", 43861.0},
        {"31 january 2020", 43861.0},
        {"Jan 31, 2020", 43861.0},
        {"Jan-2020", 43831.0},
        {"12/31/29", 47483.0}, // 29 is 2029, 30 is 1930
        {"1/1/30", 10959.0},
        {"1900-02-29", 60.0}, // the day that the 1900 system invents
        {"1900-03-01", 61.0},
        {"31/1/2020", kNone}, // there is no month 31
        {"2021-02-29", kNone},
        {"2020-1/31", kNone},
        {"1-2-345", kNone},
        {"Foo 31, 2020", kNone},
        {"1899-12-31", kNone},
        {"12:30", 0.5 + 0.5 / 24},
        {"12:30:15.5 PM", (12 * 3600 + 30 * 60 + 15.5) / 86400},
        {"12:00 am", 0.0},
        {"7 PM", 19.0 / 24},
        {"36:00", 1.5},
        {"1:30.5", 90.5 / 86400}, // minutes and seconds
        {"13:00 PM", kNone},
        {"1:60", 1.0 / 12}, // one part may be beyond its limit
        {"36:60", kNone},
        {"12:", 0.5},
        {"12::", kNone},
        {"2020-01-31 6:00", 43861.25},
        {"1/31/2020 6:00 PM", 43861.75},
        {"2020-01-31 6", kNone},
    };
    for (const auto& [text, want] : cases) EXPECT_EQ(numberFromText(text, k1900), want) << '"' << text << '"';
    EXPECT_EQ(numberFromText("2020-01-31", k1904), 42399.0);
    EXPECT_EQ(numberFromText("1904-01-01", k1904), 0.0);
    EXPECT_EQ(numberFromText("1903-12-31", k1904), std::nullopt);
}

TEST(Convert, WritesNumbersInGeneral)
{
    const std::pair<double, const char*> cases[] = {
        {0.0, "0"},
        {-0.0, "0"},
        {0.1 + 0.2, "0.3"}, // 15 digits
        {-1.5, "-1.5"},
        {1.0 / 3, "0.333333333333333"},
        {100.0, "100"},
        {123456789012345678.0, "123456789012346000"},
        {1e19, "10000000000000000000"},
        {1e20, "1E+20"}, // wider than 20 characters
        {1.5e-7, "0.00000015"},
        {1e-18, "0.000000000000000001"},
        {1e-19, "1E-19"},
        {-1.23456789012345e-10, "-1.23456789012345E-10"},
        {1.7976931348623157e308, "1.79769313486232E+308"},
    };
    for (const auto& [x, want] : cases) EXPECT_EQ(generalText(x), want);
}

TEST(Convert, ConvertsScalars)
{
    const Value value(Failure::Value), div0(Failure::Div0);
    struct Case {
        Value in, number, boolean, text;
    };
    const Case cases[] = {
        {Value(), Value(0.0), Value(false), Value("")},
        {Value(2.5), Value(2.5), Value(true), Value("2.5")},
        {Value(true), Value(1.0), Value(true), Value("TRUE")},
        {Value("12%"), Value(0.12), value, Value("12%")},
        {Value("true"), value, Value(true), Value("true")},
        {Value(""), value, value, Value("")},
        {div0, div0, div0, div0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(toNumber(c.in, k1900), c.number);
        EXPECT_EQ(toBoolean(c.in), c.boolean);
        EXPECT_EQ(toText(c.in), c.text);
    }
}

TEST(Convert, OrdersValues)
{
    // Each is smaller than the next.
    const Value ascending[] = {
        Value(-1e300), Value(-1.0), Value(0.0),      Value(1.0),   Value(1.00000000000001),
        Value(""),     Value("_"),  Value("10"),     Value("9"),   Value("A"),
        Value("aa"),   Value("B"),  Value("\u00C9"), Value(false), Value(true)};
    const int n = static_cast<int>(std::size(ascending));
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const int order = compareValues(ascending[i], ascending[j]);
            EXPECT_EQ((order > 0) - (order < 0), (i > j) - (i < j)) << i << " and " << j;
        }
    const std::pair<Value, Value> equal[] = {
        {Value(0.1 + 0.2), Value(0.3)}, // alike to 15 digits
        {Value(1e15 + 0.25), Value(1e15)},
        {Value(), Value(0.0)},
        {Value(), Value("")},
        {Value(), Value(false)},
        {Value(), Value()},
        {Value("stra\u00DFE"), Value("STRA\u00DFe")},
    };
    for (const auto& [a, b] : equal) {
        EXPECT_EQ(compareValues(a, b), 0);
        EXPECT_EQ(compareValues(b, a), 0);
    }
    EXPECT_LT(compareValues(Value(), Value(1.0)), 0);
    EXPECT_GT(compareValues(Value(1e-320), Value(-1e-320)), 0);
    EXPECT_LT(compareValues(Value(0.0), Value(5e-324)), 0);
}

TEST(Convert, FoldsLettersOfSeveralScripts)
{
    const std::pair<const char*, const char*> equal[] = {
        {"Hello", "hELLO"}, {"ÄÖÜ", "äöü"}, {"ΑΣ", "ας"}, {"Москва", "МОСКВА"}, {"ŁŻÿ", "łżŸ"}, {"ЂҐ", "ђґ"},
    };
    for (const auto& [a, b] : equal) EXPECT_TRUE(equalTexts(a, b)) << a;
    EXPECT_FALSE(equalTexts("×", "÷")); // 32 apart between the letters, yet no letters
    EXPECT_FALSE(equalTexts("ab", "abc"));
    EXPECT_FALSE(equalTexts("\xC3", "\xC3\xA4")); // a cut-off character
    for (char32_t c = 0x41; c < 0x600; ++c) {     // no capital is lost on the way down and up again
        const char32_t lower = lowerLetter(c);
        if (lower != c) { EXPECT_EQ(upperLetter(lower), c) << static_cast<unsigned>(c); }
    }
    std::string text;
    const std::string all = "a\u00E4\u20AC\U0001F600\xFF";
    for (std::size_t at = 0; at < all.size();) appendCharacter(text, nextCharacter(all, at));
    EXPECT_EQ(text, all);
}

TEST(Convert, MatchesWildcards)
{
    struct Case {
        const char *text, *pattern;
        bool want;
    };
    const Case cases[] = {
        {"Abc", "aBC", true},
        {"abc", "a?c", true},
        {"ac", "a?c", false},
        {"\u00E4b", "?b", true},
        {"abcbc", "a*bc", true},
        {"abcb", "a*bc", false},
        {"", "*", true},
        {"", "", true},
        {"a", "", false},
        {"", "?", false},
        {"a*c", "a~*c", true},
        {"abc", "a~*c", false},
        {"a?", "a~?", true},
        {"a~", "a~~", true},
        {"ab", "a~b", true}, // a tilde is never looked for unless doubled
        {"a~b", "a~b", false},
        {"a", "a~", true},
        {"xaay", "*a?y", true},
        {"abab", "*ab", true},
        {"mississippi", "m*iss*pi", true},
    };
    for (const Case& c : cases)
        EXPECT_EQ(matchesWildcard(c.text, c.pattern), c.want) << c.text << ' ' << c.pattern;
    std::string pattern; // would take ages with a try for every star
    for (int i = 0; i < 200; ++i) pattern += "*a";
    EXPECT_FALSE(matchesWildcard(std::string(5000, 'a') + "b", pattern + "*c"));
}

} // namespace
} // namespace varnex3::sheet
