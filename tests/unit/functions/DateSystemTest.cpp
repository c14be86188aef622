// tests/unit/functions/DateSystemTest.cpp - date functions in books that count days from 1904.
//
// Calls bodies directly; the 1900 system is tested in tests/sheet/dates.sheet.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

/// A book without cells that counts from 1904.
class EmptyBook final : public Environment {
public:
    Value cell(const CellAddress&) override { return {}; }
    void visit(const Area&,
               FunctionRef<bool(std::int32_t, std::int32_t, const Value*, std::int32_t)>) override
    {}
    Area used(SheetIndex) override { return {}; }
    DateSystem dateSystem() const override { return DateSystem::From1904; }
    double now() override { return 0.0; }
    double random() override { return 0.0; }
    Value referenceFromText(std::string_view, bool, const CellAddress&) override { return Failure::Ref; }
    std::string sheetName(SheetIndex) const override { return "Sheet1"; }
    std::optional<SheetIndex> findSheet(std::string_view) const override { return std::nullopt; }
    SheetIndex sheetCount() const override { return 1; }
    bool hasFormula(const CellAddress&) const override { return false; }
    std::string formulaText(const CellAddress&) const override { return {}; }
    std::string bookPath() const override { return {}; }
};

Value evaluate(std::string_view function, const std::vector<double>& arguments)
{
    EmptyBook book;
    const FunctionRow& row = *findFunction(function);
    const std::vector<Value> values(arguments.begin(), arguments.end());
    Call call(book, CellAddress{}, row, values);
    return row.body.call(call);
}

// Serial numbers are those of the 1900 system less 1462. 1 January 1904 was a Friday, in week 53 of 1903.
TEST(DateSystem1904, CountsFromTheFirstOfJanuary1904)
{
    struct Case {
        std::string_view function;
        std::vector<double> arguments;
        Value want;
    };
    const Case cases[] = {
        {"DATE", {1904, 1, 1}, 0},
        {"DATE", {1903, 12, 31}, Failure::Num},
        {"DATE", {2024, 2, 29}, 43889},
        {"DATE", {9999, 12, 31}, 2957003},
        {"DATE", {9999, 12, 32}, Failure::Num},
        {"YEAR", {0}, 1904},
        {"DAY", {43889}, 29},
        {"YEAR", {2957004}, Failure::Num},
        {"WEEKDAY", {0}, 6},
        {"WEEKDAY", {43889}, 5},
        {"WEEKNUM", {2}, 2},
        {"ISOWEEKNUM", {0}, 53},
        {"ISOWEEKNUM", {3}, 1},
        {"EOMONTH", {43889, -1}, 43860},
        {"NETWORKDAYS", {0, 6}, 5},
        {"WORKDAY", {0, 1}, 3},
        {"YEARFRAC", {0, 366, 1}, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.function);
        EXPECT_EQ(evaluate(c.function, c.arguments), c.want) << c.arguments[0];
    }
}

} // namespace
} // namespace varnex3::sheet
