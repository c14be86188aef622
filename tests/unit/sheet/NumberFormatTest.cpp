// Number formats and calendar dates. Expected texts: the spreadsheet's rules for its format codes, worked by
// hand; day numbers by counting from 1900-01-01 = 1.
#include <gtest/gtest.h>

#include "sheet/format/NumberFormat.h"

namespace varnex3::sheet {
namespace {

constexpr DateSystem k1900 = DateSystem::From1900, k1904 = DateSystem::From1904;

struct Case {
    Value value;
    const char* format;
    const char* want; // nullptr: cannot be written
};

template <std::size_t n>
void expectTexts(const Case (&cases)[n], DateSystem dates = k1900)
{
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.format << " for " << (c.want != nullptr ? c.want : "nothing"));
        const auto text = formatValue(c.value, c.format, dates);
        EXPECT_EQ(text.has_value(), c.want != nullptr);
        if (text && c.want != nullptr) { EXPECT_EQ(*text, c.want); }
    }
}

TEST(NumberFormat, WritesDigits)
{
    const Case cases[] = {
        {1234.5, "0", "1235"},
        {-2.5, "0", "-3"},       // halves away from zero
        {2.675, "0.00", "2.68"}, // as the decimal digits look; the double lies below
        {1.005, "0.00", "1.01"},
        {999.995, "0.00", "1000.00"},
        {0.4, "0", "0"},
        {0.6, "#", "1"},
        {0.4, "#", ""},
        {0.25, ".00", ".25"},
        {12.25, ".0", "12.3"},
        {5, "000.0#", "005.0"},
        {5, "#.##", "5."},
        {5.5, "??0.0??", "  5.5  "},
        {1234567.891, "#,##0.00", "1,234,567.89"},
        {12, "#,##0", "12"},
        {12, "0,000", "0,012"},
        {1234567, "0,", "1235"}, // trailing commas divide by 1000
        {1234567, "0.0,,\"M\"", "1.2M"},
        {1234567, "#,##0,", "1,235"},
        {0.1256, "0.0%", "12.6%"},
        {-0.5, "0%", "-50%"},
        {123456789, "000-00-0000", "123-45-6789"},
        {5551234567.0, "(000) 000-0000", "(555) 123-4567"},
        {12345.678, "0.00E+00", "1.23E+04"},
        {0.00012, "0.0E-0", "1.2E-4"},
        {99999, "0.0E+0", "1.0E+5"},
        {12345, "0.0e-00", "1.2e04"},
        {12345, "##0.0E+0", "12.3E+3"}, // exponents in threes
        {0.05, "##0.0E+0", "50.0E-3"},
        {0, "0.00E+00", "0.00E+00"},
        {1e20, "0", "100000000000000000000"},
        {7, "$0.00_)", "$7.00 "},
        {7, "0 \"units\" \\x", "7 units x"},
        {7, "[$€-407] 0", "€ 7"},
        {7, "*-0", "7"},
        {-7, "\"minus\"", "-minus"},
        {7, "", ""},
        {7, "0\"open", nullptr},
        {7, "0[Nonsense]", nullptr},
        {7, "0;0;0;@;0", nullptr},
    };
    expectTexts(cases);
}

TEST(NumberFormat, ChoosesSections)
{
    const Case cases[] = {
        {5, "0;(0)", "5"},
        {-5, "0;(0)", "(5)"},
        {-5, "0;-0;\"zero\"", "-5"},
        {0, "0;-0;\"zero\"", "zero"},
        {-5, "0;;", ""},
        {"abc", "0;-0;0;\"<\"@\">\"", "<abc>"},
        {"abc", "0.00", "abc"},
        {"abc", "0;@@", "abcabc"},
        {-5, "0;@", "-5"},
        {5, "@", "5"},
        {0.1, "@\"!\"", "0.1!"},
        {true, "0.00", "TRUE"},
        {Value(), "0.0", "0.0"},
        {150, "[>100]\"big\";[<0]\"neg\";0.0", "big"},
        {-1, "[>100]\"big\";[<0]\"neg\";0.0", "neg"},
        {50, "[>100]\"big\";[<0]\"neg\";0.0", "50.0"},
        {-50, "[>100]\"big\";0", "-50"},
        {50, "[>100]0", nullptr}, // no section for it
        {-3, "[Red]0;[Blue][<=-2]0.0", "3.0"},
        {1.5, "General", "1.5"},
        {-1.5, "General\" m\"", "-1.5 m"},
        {1.0 / 3, "General", "0.333333333"}, // eleven characters
        {123456789012.0, "General", "1.23457E+11"},
        {12345678901.5, "General", "12345678902"},
        {0.0000123456, "General", "1.23456E-05"},
        {0.00001, "General", "0.00001"},
    };
    expectTexts(cases);
}

TEST(NumberFormat, WritesFractions)
{
    const Case cases[] = {
        {1.5, "# ?/?", "1 1/2"},
        {0.5, "# ?/?", " 1/2"},
        {2, "# ?/?", "2    "},
        {0, "# ?/?", "0    "},
        {1.5, "?/?", "3/2"},
        {3.14159265,
         "# ?"
         "?/??",
         "3 14/99"},
        {3.14159265, "?/???", "355/113"},
        {0.3, "# ?/8", " 2/8"},
        {2.97,
         "# ?"
         "?/16",
         "3      "},
        {-1.25, "# ?/?", "-1 1/4"},
        {0.34, "0 0/100", "0 34/100"},
    };
    expectTexts(cases);
}

TEST(NumberFormat, WritesDatesAndTimes)
{
    const double day = 43861; // Friday, 31 January 2020
    const Case cases[] = {
        {day, "yyyy-mm-dd", "2020-01-31"},
        {day, "d/m/yy", "31/1/20"},
        {day, "dddd, mmmm d, yyyy", "Friday, January 31, 2020"},
        {day, "ddd mmm mmmmm", "Fri Jan J"},
        {day + 0.999999, "yyyy-mm-dd", "2020-01-31"},
        {day + 0.999999, "yyyy-mm-dd hh:mm", "2020-02-01 00:00"}, // rounds to the second
        {0.5 + 5.0 / 1440 + 7.4 / 86400, "h:mm:ss", "12:05:07"},
        {0.5 + 5.0 / 1440 + 7.4 / 86400, "mm:ss.00", "05:07.40"},
        {0.5 + 5.0 / 1440, "h m", "12 5"}, // minutes behind hours, months else
        {0.5, "h AM/PM", "12 PM"},
        {0.0, "hh:mm am/pm", "12:00 AM"},
        {0.75, "h:mm A/P", "6:00 P"},
        {1.5, "[h]:mm", "36:00"},
        {1.5, "[mm]", "2160"},
        {0.001, "[ss].000", "86.400"},
        {1.25, "[h]\"h\" m\"m\"", "30h 0m"},
        {60, "d mmm yyyy", "29 Feb 1900"},
        {1, "dddd", "Sunday"},
        {0, "yyyy-mm-dd", "1900-01-00"},
        {-1, "yyyy", nullptr},
        {2958466, "yyyy", nullptr},
        {day, "[$-409]d-mmm;@", "31-Jan"},
        {day, "yyyy 0", nullptr},
    };
    expectTexts(cases);
    const Case later[] = {{0, "ddd yyyy-mm-dd", "Fri 1904-01-01"},
                          {42399, "dddd yyyy-mm-dd", "Friday 2020-01-31"}};
    expectTexts(later, k1904);
}

TEST(NumberFormat, TellsDateFormats)
{
    for (const char* format : {"yyyy-mm-dd", "m/d/yy h:mm", "[h]:mm:ss", "mmm", "[$-F400]h:mm:ss AM/PM"})
        EXPECT_TRUE(isDateFormat(format)) << format;
    for (const char* format :
         {"General", "0.00", "[Red]0", "\"days\" 0", "0\\d", "@", "", "#,##0_);[Red](#,##0)", "0.0E+0"})
        EXPECT_FALSE(isDateFormat(format)) << format;
}

TEST(Calendar, CountsDays)
{
    struct Row {
        int year, month, day;
        double serial;
    };
    const Row rows[] = {
        {1900, 1, 1, 1},      {1900, 2, 28, 59},       {1900, 2, 29, 60}, // the leap day that never was
        {1900, 3, 1, 61},     {1904, 1, 1, 1462},      {2000, 2, 29, 36585},
        {2020, 1, 31, 43861}, {9999, 12, 31, 2958465},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(serialFromDate(r.year, r.month, r.day, k1900), r.serial) << r.serial;
        const auto date = dateFromSerial(r.serial + 0.75, k1900);
        ASSERT_TRUE(date) << r.serial;
        EXPECT_EQ(std::tie(date->year, date->month, date->day), std::tie(r.year, r.month, r.day)) << r.serial;
    }
    EXPECT_EQ(serialFromDate(2019, 13, 31, k1900), 43861.0); // months and days run over
    EXPECT_EQ(serialFromDate(2020, 3, -29, k1900), 43861.0);
    EXPECT_EQ(serialFromDate(2020, -11, 0, k1900), 43465.0); // 2018-12-31
    EXPECT_EQ(serialFromDate(1900, 2, 30, k1900), 61.0);
    EXPECT_EQ(serialFromDate(2020, 1, 31, k1904), 42399.0);
    EXPECT_FALSE(serialFromDate(1899, 1, 1, k1900));
    EXPECT_FALSE(serialFromDate(9999, 12, 32, k1900));
    EXPECT_FALSE(serialFromDate(1903, 12, 31, k1904));
    EXPECT_FALSE(serialFromDate(1000000000, 1, 1, k1900));
    EXPECT_FALSE(dateFromSerial(-0.5, k1900));
    EXPECT_FALSE(dateFromSerial(2958466, k1900));
    EXPECT_FALSE(dateFromSerial(2958465 - 1461, k1904));
    // Every day in turn: the next day is a day later in the same month or the first of the next one.
    CalendarDate last = *dateFromSerial(1, k1900);
    for (int serial = 2; serial <= 2958465; ++serial) {
        const CalendarDate d = *dateFromSerial(serial, k1900);
        const bool next = d.day == last.day + 1 && d.month == last.month && d.year == last.year;
        const bool first = d.day == 1 && last.day >= 28 && d.month == last.month % 12 + 1;
        ASSERT_TRUE(next || first) << serial;
        last = d;
    }
}

} // namespace
} // namespace varnex3::sheet
