// tests/unit/sheet/ScriptTest.cpp - runs the text scripts of tests/sheet/.
//
//   sheet Name           makes the sheet when there is none; later lines mean its cells
//   name rate =Sheet1!A1 defines a name; "name Sheet1!rate" one of that sheet
//   cell A1  2.5         content as a user types it
//   array A1:B2 =...     an array formula over a block
//   table T A1:C5 1      a table with one row of totals; its header row has the names of the columns
//   hide 3               hides a row
//   filter A1:C5         its hidden rows are filtered out
//   recalc               recalculates (expect does so as well)
//   expect A2  3         the value of a cell: number, text, TRUE, #DIV/0!, empty
//   expect =A1+1  4      the value of a formula that stands in no cell of the script
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "Support.h"

namespace varnex3::sheet {
namespace {

class Script {
public:
    explicit Script(const std::string& path) : path_(path) { book_.addSheet("Sheet1"); }

    void run()
    {
        std::ifstream file(path_);
        ASSERT_TRUE(file) << path_;
        for (std::string line; std::getline(file, line);) {
            ++number_;
            if (line.empty() || line.front() == '#') continue;
            SCOPED_TRACE(path_ + ":" + std::to_string(number_) + ": " + line);
            step(line);
        }
    }

private:
    static std::string word(std::string_view& rest)
    {
        const std::size_t start = std::min(rest.find_first_not_of(' '), rest.size());
        rest.remove_prefix(start);
        const std::size_t end = std::min(rest.find(' '), rest.size());
        const std::string first(rest.substr(0, end));
        rest.remove_prefix(end);
        rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
        return first;
    }

    void step(std::string_view rest)
    {
        const std::string verb = word(rest);
        if (verb == "sheet") {
            const auto known = book_.findSheet(rest);
            sheet_ = known ? *known : book_.addSheet(std::string(rest));
        } else if (verb == "name") {
            const std::string name = word(rest);
            const std::size_t mark = name.find('!');
            if (mark == std::string::npos) {
                book_.defineName(name, std::nullopt, std::string(rest.substr(1)));
            } else {
                book_.defineName(name.substr(mark + 1), book_.findSheet(name.substr(0, mark)),
                                 std::string(rest.substr(1)));
            }
        } else if (verb == "cell") {
            const std::string cell = word(rest);
            book_.setContent(at(cell, sheet_), rest);
        } else if (verb == "array") {
            Area area = parseA1(word(rest)).value();
            area.sheet = sheet_;
            book_.setArrayFormula(area, rest);
        } else if (verb == "table") {
            const std::string name = word(rest), area = word(rest);
            load([&](BookBuilder& builder) { builder.table(tableOf(name, area, rest == "1" ? 1 : 0)); });
        } else if (verb == "hide") {
            const std::int32_t row = at("A" + std::string(rest)).row;
            load([&](BookBuilder& builder) { builder.hiddenRow(sheet_, row); });
        } else if (verb == "filter") {
            Area area = parseA1(rest).value();
            area.sheet = sheet_;
            load([&](BookBuilder& builder) { builder.filtered(area); });
        } else if (verb == "recalc") {
            book_.calculate();
        } else if (verb == "expect") {
            expect(rest);
        } else {
            ADD_FAILURE() << "no such line: " << verb;
        }
    }

    template <class Tell>
    void load(Tell tell)
    {
        tell(book_.builder());
        book_.finishLoading();
    }

    Table tableOf(const std::string& name, const std::string& area, std::int32_t totals) const
    {
        Table table{name, parseA1(area).value(), 1, totals, {}};
        table.area.sheet = sheet_;
        for (std::int32_t c = table.area.col0; c <= table.area.col1; ++c)
            table.columns.push_back(shown(book_.value({sheet_, table.area.row0, c})));
        return table;
    }

    void expect(std::string_view rest)
    {
        std::string what;
        if (rest.starts_with('=')) { // the wanted value follows the last run of two blanks
            const std::size_t gap = rest.rfind("  ");
            what = rest.substr(0, gap);
            rest.remove_prefix(gap);
            rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
            const CellAddress scratch{sheet_, 900, 60};
            book_.setContent(scratch, what.substr(0, what.find_last_not_of(' ') + 1));
            book_.calculate();
            return compare(book_.value(scratch), rest);
        }
        what = word(rest);
        book_.calculate();
        compare(book_.value(at(what, sheet_)), rest);
    }

    static void compare(const Value& v, std::string_view wanted)
    {
        double x = 0.0;
        const auto [end, error] = std::from_chars(wanted.data(), wanted.data() + wanted.size(), x);
        if (v.isNumber() && error == std::errc() && end == wanted.data() + wanted.size()) {
            EXPECT_LE(std::fabs(v.number() - x), 1e-12 * std::max(1e-3, std::fabs(x))) << v.number();
        } else {
            EXPECT_EQ(shown(v), wanted);
        }
    }

    std::string path_;
    Book book_;
    SheetIndex sheet_ = 0;
    int number_ = 0;
};

class SheetScript : public testing::TestWithParam<std::string> {};

TEST_P(SheetScript, GivesTheExpectedValues) { Script(GetParam()).run(); }

std::vector<std::string> scripts()
{
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(CORVANE_TEST_DATA "/sheet"))
        if (entry.path().extension() == ".sheet") all.push_back(entry.path().string());
    std::sort(all.begin(), all.end());
    return all;
}

INSTANTIATE_TEST_SUITE_P(All, SheetScript, testing::ValuesIn(scripts()),
                         [](const auto& test) { return std::filesystem::path(test.param).stem().string(); });

} // namespace
} // namespace varnex3::sheet
