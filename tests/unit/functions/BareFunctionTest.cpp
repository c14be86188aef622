// Compiled code calls the bare function of a row and turns to the body when the result is not finite: both
// must tell the same.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

/// A book that holds nothing.
class EmptyBook : public Environment {
public:
    Value cell(const CellAddress&) override { return {}; }
    void visit(const Area&,
               FunctionRef<bool(std::int32_t, std::int32_t, const Value*, std::int32_t)>) override
    {}
    Area used(SheetIndex) override { return {}; }
    DateSystem dateSystem() const override { return DateSystem::From1900; }
    double now() override { return 0.0; }
    double random() override { return 0.5; }
    Value referenceFromText(std::string_view, bool, const CellAddress&) override { return Failure::Ref; }
    std::string sheetName(SheetIndex) const override { return "Sheet1"; }
    std::optional<SheetIndex> findSheet(std::string_view) const override { return {}; }
    SheetIndex sheetCount() const override { return 1; }
    bool hasFormula(const CellAddress&) const override { return false; }
    std::string formulaText(const CellAddress&) const override { return {}; }
    std::string bookPath() const override { return {}; }
};

const double kNumbers[] = {0.0,  -0.0,  1.0, -1.0,  0.5,   -2.5,   2.0,   3.0,
                           10.0, 170.5, 1e9, -1e15, 1e308, -1e308, 1e-300};

void compare(const FunctionRow& row, double bare, const std::vector<Value>& arguments)
{
    EmptyBook book;
    Call call(book, {}, row, arguments);
    const Value told = row.body.call(call);
    if (std::isfinite(bare)) {
        ASSERT_TRUE(told.isNumber());
        EXPECT_EQ(told.number(), bare);
    } else {
        EXPECT_TRUE(told.isFailure());
    }
}

TEST(BareFunction, TellsTheSameAsTheBody)
{
    int compared = 0;
    for (const FunctionRow* row : allFunctions()) {
        if (row->body.one == nullptr && row->body.two == nullptr) continue;
        ++compared;
        for (const double x : kNumbers) {
            SCOPED_TRACE(testing::Message() << row->name << " of " << x);
            if (row->body.one != nullptr) {
                compare(*row, row->body.one(x), {Value(x)});
                continue;
            }
            for (const double y : kNumbers) {
                SCOPED_TRACE(testing::Message() << "and " << y);
                compare(*row, row->body.two(x, y), {Value(x), Value(y)});
            }
        }
    }
    EXPECT_GT(compared, 60);
}

} // namespace
} // namespace varnex3::sheet
