// tests/unit/functions/FunctionExamplesTest.cpp - the example of every worksheet function shows what its row
// says.
#include <gtest/gtest.h>

#include <string>

#include "sheet/format/Convert.h"
#include "sheet/functions/Function.h"
#include "sheet/model/Book.h"

namespace varnex3::sheet {
namespace {

TEST(Functions, ExamplesShowWhatTheirRowsSay)
{
    for (const FunctionRow* row : allFunctions()) {
        Book book;
        book.addSheet("Sheet1");
        const CellAddress cell{0, 29, 9}; // off the cells that examples refer to
        book.setContent(cell, row->example);
        book.calculate();
        const Value& v = book.value(cell);
        const Value text = toText(v);
        EXPECT_EQ(v.isFailure() ? std::string(failureText(v.failure())) : text.text(), row->shows)
            << row->name << ": " << row->example;
    }
}

} // namespace
} // namespace varnex3::sheet
