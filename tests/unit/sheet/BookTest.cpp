// tests/unit/sheet/BookTest.cpp - edits, sheets, names, inspection of a book.
#include <gtest/gtest.h>

#include "Support.h"

namespace varnex3::sheet {
namespace {

TEST(Book, EditsReachTheirReaders)
{
    Book book;
    book.addSheet("Sheet1");
    book.setContent(at("A1"), "2");
    book.setContent(at("B1"), "=A1*10");
    book.setContent(at("C1"), "=B1+A1");
    book.calculate();
    EXPECT_EQ(shown(book.value(at("C1"))), "22");
    book.setValue(at("B1"), 5.0); // over a formula
    book.calculate();
    EXPECT_FALSE(book.hasFormula(at("B1")));
    EXPECT_EQ(shown(book.value(at("C1"))), "7");
    book.setContent(at("B1"), "=A1*A1");
    book.setValue(at("A1"), "text");
    book.calculate();
    EXPECT_EQ(shown(book.value(at("C1"))), "#VALUE!");
    book.setValue(at("A1"), Value());
    book.calculate();
    EXPECT_EQ(shown(book.value(at("C1"))), "0");
    EXPECT_EQ(book.content(at("C1")), "=B1+A1");
    book.setContent(at("A1"), "'=x");
    EXPECT_EQ(book.content(at("A1")), "=x");
    EXPECT_THROW(book.setContent(at("D1"), "=1+"), BookError);
    EXPECT_THROW(book.setValue({7, 0, 0}, 1.0), BookError);
    EXPECT_EQ(book.used(0), (Area{0, 0, 0, 0, 2}));
}

TEST(Book, SheetsAreRenamedAddedAndRemoved)
{
    Book book;
    book.addSheet("One");
    book.addSheet("Two");
    book.addSheet("Three");
    book.setValue(at("A1", 1), 3.0);
    book.setValue(at("A1", 2), 4.0);
    book.setContent(at("A1"), "=Two!A1+Three!A1+Late!A1");
    book.setContent(at("B1"), "=SUM(Two:Three!A1)");
    book.calculate();
    EXPECT_EQ(shown(book.value(at("A1"))), "#REF!");
    EXPECT_EQ(shown(book.value(at("B1"))), "7");
    book.setValue(at("A1", book.addSheet("Late")), 1.0);
    book.calculate();
    EXPECT_EQ(shown(book.value(at("A1"))), "8");
    book.renameSheet(1, "My 2");
    EXPECT_EQ(book.content(at("A1")), "='My 2'!A1+Three!A1+Late!A1");
    EXPECT_THROW(book.addSheet("my 2"), BookError);
    const auto generation = book.generation();
    book.removeSheet(1);
    EXPECT_NE(book.generation(), generation);
    book.calculate();
    EXPECT_EQ(book.content(at("A1")), "=#REF!+Three!A1+Late!A1");
    EXPECT_EQ(shown(book.value(at("A1"))), "#REF!");
    book.setContent(at("A1"), "=Three!A1*Late!A1"); // now the second and third sheet
    book.calculate();
    EXPECT_EQ(shown(book.value(at("A1"))), "4");
}

TEST(Book, NamesStandForCells)
{
    Book book;
    book.addSheet("S");
    book.addSheet("T");
    book.defineName("Rate", std::nullopt, "S!$B$3");
    book.defineName("Rate", 1, "T!$C$4");
    book.defineName("alias", std::nullopt, "Rate");
    book.defineName("value", std::nullopt, "1+1");
    EXPECT_EQ(book.namedArea("RATE"), (Area{0, 2, 1, 2, 1}));
    EXPECT_EQ(book.namedArea("rate", 1), (Area{1, 3, 2, 3, 2}));
    EXPECT_EQ(book.namedArea("alias"), (Area{0, 2, 1, 2, 1}));
    EXPECT_FALSE(book.namedArea("value"));
    EXPECT_FALSE(book.namedArea("other"));
    book.setValue(at("B3", 0), 1.0);
    book.setValue(at("C4", 1), 2.0);
    book.setContent(at("A1", 0), "=Rate");
    book.setContent(at("A1", 1), "=Rate");
    book.calculate();
    EXPECT_EQ(shown(book.value(at("A1", 0))), "1");
    EXPECT_EQ(shown(book.value(at("A1", 1))), "2");
}

TEST(Book, InspectionComparesAndLists)
{
    Book book;
    BookBuilder& builder = book.builder();
    builder.addSheet("S");
    builder.constant(at("A1"), 2.0);
    builder.sharedMaster(at("B1"), 0, "A1*3", 6.0);
    builder.constant(at("A2"), 5.0);
    builder.sharedFollower(at("B2"), 0, 16.0); // saved with another result
    builder.formula(at("C1"), "FROBNICATE(A1)", 1.0);
    builder.formula(at("C2"), "1+", 1.0);
    builder.formula(at("C3"), "[1]Other!A1+1", 42.0);
    builder.formula(at("C4"), "C5", 0.0);
    builder.formula(at("C5"), "C4", 0.0);
    builder.formula(at("C6"), "RAND()", 0.5);
    builder.arrayFormula(parseA1("D1:D2").value(), "A1:A2*2", 4.0, false);
    builder.arrayResult(at("D2"), 10.0);
    builder.notice("S!X1", "a picture");
    book.finishLoading();
    EXPECT_EQ(shown(book.value(at("B1"))), "6");
    const Inspection found = book.inspect();
    EXPECT_EQ(found.cells, 12);
    EXPECT_EQ(found.formulas, 10);
    EXPECT_EQ(found.compared, 6);
    ASSERT_EQ(found.different.size(), 3u); // B2, and the two that are #NAME? now
    EXPECT_EQ(found.different[0].cell, at("B2"));
    EXPECT_EQ(found.different[0].text, "=A2*3");
    ASSERT_EQ(found.unknownFunctions.size(), 1u);
    EXPECT_EQ(found.unknownFunctions[0].text, "FROBNICATE");
    ASSERT_EQ(found.unparsable.size(), 1u);
    EXPECT_EQ(found.unparsable[0].cell, at("C2"));
    ASSERT_EQ(found.externals.size(), 1u);
    EXPECT_EQ(shown(book.value(at("C3"))), "42"); // keeps what was stored
    ASSERT_EQ(found.circular.size(), 2u);
    EXPECT_EQ(found.circular[0].text, "C4 -> C5 -> C4");
    EXPECT_EQ(found.volatiles.size(), 1u);
    EXPECT_EQ(found.notices.size(), 1u);
    EXPECT_EQ(book.content(at("C2")), "=1+");
    EXPECT_THROW(book.setValue(at("D2"), 1.0), BookError); // inside an array formula
}

} // namespace
} // namespace varnex3::sheet
