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

// What a file keeps of another book stands in for it; what it does not keep leaves the stored result.
TEST(Book, CalculatesWithKeptValuesOfOtherBooks)
{
    struct Case {
        const char *cell, *formula;
        double stored;
        const char* want; // when A1 is 2 and the stored results were those for 1
    };
    const Case cases[] = {
        {"B1", "[1]Prices!B2*A1", 5, "10"},
        {"B2", "SUM('[1]Prices'!$B$1:B9)*A1", 12, "24"}, // texts of areas are no numbers
        {"B3", "VLOOKUP(\"nut\",[1]prices!A:B,2,FALSE)*A1", 7, "14"},
        {"B4", "'home/[p.xlsx]Prices'!B3*A1", 7, "14"}, // by its path
        {"B5", "SUM([1]!all)*A1", 12, "24"},
        {"B6", "[1]Prices!Z99+A1", 1, "2"},     // kept sheets have empty cells
        {"B7", "[1]Gone!A1*A1", 8, "8"},        // nothing is known of the sheet
        {"B8", "ROW([1]Prices!B2)*A1", 2, "2"}, // the address is wanted
        {"B9", "[1]Prices!B1:B9*A1", 3, "3"},   // which cell depends on the formula's own
        {"B10", "[3]Prices!B2*A1", 3, "3"},     // no such link
        {"B11", "fixed*A1", 7, "14"},           // through a name
        {"B12", "relative*A1", 9, "9"},         // seen from elsewhere it means another cell
        {"B13", "SUM([1]Prices!B2:[1]Prices!B3)*A1", 4, "4"},
    };
    Book book;
    BookBuilder& builder = book.builder();
    builder.addSheet("S");
    builder.externalLink("home/p.xlsx");
    builder.externalName(0, "ALL", "=Prices!$B$2:$B$3");
    builder.externalSheet(0, "Prices");
    for (const auto& [row, price] : {std::pair(1, 5.0), std::pair(2, 7.0)}) {
        builder.externalCell(row, 0, Value(row == 1 ? "bolt" : "nut"));
        builder.externalCell(row, 1, price);
    }
    builder.externalCell(4, 1, Value("8"));
    builder.defineName("fixed", std::nullopt, "[1]Prices!$B$3");
    builder.defineName("relative", std::nullopt, "[1]Prices!B3");
    builder.constant(at("A1"), 1.0);
    for (const Case& c : cases) builder.formula(at(c.cell), c.formula, c.stored);
    builder.sharedMaster(at("C2"), 0, "[1]Prices!B2*2+$A$1", 11.0);
    builder.sharedFollower(at("C3"), 0, 15.0);
    book.finishLoading();
    EXPECT_TRUE(book.inspect().different.empty());
    book.setValue(at("A1"), 2.0);
    book.calculate();
    for (const Case& c : cases) EXPECT_EQ(shown(book.value(at(c.cell))), c.want) << c.formula;
    EXPECT_EQ(shown(book.value(at("C3"))), "16");
    EXPECT_EQ(book.content(at("C3")), "=[1]Prices!B3*2+$A$1"); // moves with its cell
    book.setContent(at("A3"), "=[1]Gone!A1");                  // nothing is stored for it
    EXPECT_EQ(shown(book.value(at("A3"))), "#REF!");
    const Inspection found = book.inspect();
    EXPECT_EQ(found.externals.size(), 17U);
    EXPECT_EQ(found.keeping.size(), 8U);
}

} // namespace
} // namespace varnex3::sheet
