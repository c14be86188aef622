// tests/unit/sheet/RecalculationTest.cpp - incremental, typed and full recalculation give the same bits.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "Support.h"

namespace varnex3::sheet {
namespace {

TEST(Recalculation, LongChainsNeedNoStack)
{
    constexpr int kLength = 1000000;
    Book book;
    BookBuilder& builder = book.builder();
    builder.addSheet("S");
    builder.constant({0, 0, 0}, 1.0);
    builder.sharedMaster({0, 1, 0}, 0, "A1+1", {});
    for (int r = 2; r < kLength; ++r) builder.sharedFollower({0, r, 0}, 0, {});
    book.finishLoading();
    book.calculate();
    EXPECT_EQ(book.value({0, kLength - 1, 0}).number(), kLength);
    for (int run = 1; run <= 3; ++run) { // in order, then through typed code
        book.setValue({0, 0, 0}, 1.0 + run);
        book.calculate();
        EXPECT_EQ(book.value({0, kLength - 1, 0}).number(), kLength + run);
    }
    // A dynamic reference to the far end pulls the whole chain before it.
    book.setContent({0, 0, 1}, "=OFFSET(A1,999999,0)");
    book.setValue({0, 0, 0}, 9.0);
    book.calculate();
    EXPECT_EQ(book.value({0, 0, 1}).number(), kLength + 8);
}

TEST(Recalculation, KindsMayChangeUnderTypedCode)
{
    Book book;
    book.addSheet("S");
    book.setContent(at("A1"), "4");
    book.setContent(at("A2"), "=SQRT(A1)");
    book.setContent(at("A3"), "=10/A2");
    book.setContent(at("A4"), "=IF(A3>3,A3*2,A3+A1)");
    book.setContent(at("A5"), "=A4>5");
    book.setContent(at("A6"), "=IF(A5,\"many\",1)");
    book.setContent(at("A7"), "=SUM(A1:A6,B1)");
    const Slot input = book.slot(at("A1"));
    struct Case {
        double x;
        const char* wanted;
    };
    const Case cases[] = {{4, "22"},      {1, "many"},    {4, "22"},     {0, "#DIV/0!"},
                          {-1, "#NUM!"},  {0, "#DIV/0!"}, {4, "22"},     {100, "many"},
                          {-1, "#NUM!"},  {-4, "#NUM!"},  {-9, "#NUM!"}, {-16, "#NUM!"},
                          {-25, "#NUM!"}, {-36, "#NUM!"}, {4, "22"},     {16, "many"}};
    Book plain; // the same without typed code
    plain.addSheet("S");
    plain.useTypedCode(false);
    for (int r = 0; r < 7; ++r) plain.setContent({0, r, 0}, book.content({0, r, 0}));
    for (int round = 0; round < 3; ++round) {
        for (const Case& c : cases) {
            book.write(input, c.x);
            book.calculate();
            plain.setValue(at("A1"), c.x);
            plain.calculate();
            for (int r = 0; r < 7; ++r) {
                SCOPED_TRACE(testing::Message() << "A1 = " << c.x << ", row " << r + 1);
                EXPECT_TRUE(identical(book.value({0, r, 0}), plain.value({0, r, 0})))
                    << shown(book.value({0, r, 0})) << " and " << shown(plain.value({0, r, 0}));
            }
        }
        book.setContent(at("B1"), round == 0 ? "text" : "TRUE"); // no number: SUM leaves it out
        plain.setContent(at("B1"), round == 0 ? "text" : "TRUE");
    }
}

// Neighbours with one formula are worked out together; one of them failing, or being of another kind, must
// not show in the others, nor what an IF does not take. Results wait until they are looked at, one or all.
TEST(Recalculation, NeighboursWorkedOutTogetherStaySeparate)
{
    constexpr int kWidth = 90, kRows = 12;
    Book typed, general;
    general.useTypedCode(false);
    const auto at2 = [](int r, int c) { return a1Text(CellAddress{0, r, c % kWidth}); };
    for (Book* book : {&typed, &general}) {
        book->addSheet("S");
        book->setContent({0, 20, 0}, "2");
        for (int k = 0; k < 8; ++k) book->setValue({0, 21, k}, 7.0 * k);
        for (int c = 0; c < kWidth; ++c) {
            const std::string x = at2(0, c);
            book->setValue({0, 0, c}, 1.0 + c);
            book->setContent({0, 1, c}, "=2*" + x + "-" + at2(0, c + 1) + "*3+1");
            book->setContent({0, 2, c}, "=EXP(-" + at2(1, c) + "/100)*SQRT(" + x + ")");
            book->setContent({0, 3, c}, "=1/(" + x + "-5)+" + at2(2, c + 7));
            book->setContent({0, 4, c}, "=" + at2(3, c) + ">" + at2(2, c));
            book->setContent({0, 5, c}, "=IF(" + at2(4, c) + "," + at2(3, c) + ",0)");
            book->setContent({0, 6, c}, "=SUM(" + at2(0, c) + ":" + at2(5, c) + ")");
            book->setContent({0, 7, c}, "=IF(" + x + ">50,LN(" + x + "-50),IF(" + x + ">20,1/(20-" + x +
                                            "),MAX(" + x + ",LN($A$21))))");
            book->setContent({0, 8, c}, "=LEN(\"n\"&ROUND(" + at2(7, c) + ",1))"); // no typed code
            book->setContent({0, 9, c}, "=" + at2(8, c) + "*" + at2(7, 3 * c) + "+LN($A$21)");
            book->setContent({0, 10, c}, "=HLOOKUP(ABS(" + at2(9, c) + "),$A$22:$H$22,1)");
            book->setContent({0, 11, c}, "=SUMPRODUCT($A9:$J9,$A10:$J10)-MIN(" + x + "," + at2(10, c) + ")");
        }
    }
    const auto same = [&](int r, int c) {
        const CellAddress cell{0, r, c};
        return identical(typed.value(cell), general.value(cell))
                   ? testing::AssertionSuccess()
                   : testing::AssertionFailure() << at2(r, c) << " " << shown(typed.value(cell)) << " and "
                                                 << shown(general.value(cell));
    };
    for (int run = 0; run < 60; ++run) {
        for (int c = 0; c < (run % 9 == 8 ? 3 : kWidth); ++c) {
            const double x = run % 5 == 3 && c == 40 ? 5.0 : run % 7 == 5 && c == 60 ? -2.0 : run + 0.37 * c;
            for (Book* book : {&typed, &general}) book->write(book->slot({0, 0, c}), x);
        }
        for (Book* book : {&typed, &general}) {
            if (run == 20) book->setValue({0, 0, 3}, "text");
            if (run == 30) book->setValue({0, 20, 0}, 0.0); // LN fails for all of them
            if (run == 40) book->setValue({0, 20, 0}, 3.0);
            book->calculate();
        }
        ASSERT_TRUE(same(11, run % kWidth)) << "run " << run;
        if (run % 4 == 1) continue;
        if (run == 50)
            for (Book* book : {&typed, &general}) book->setContent({0, 2, 5}, "=A1"); // while results wait
        for (int r = 0; r < kRows; ++r)
            for (int c = 0; c < kWidth; ++c) ASSERT_TRUE(same(r, c)) << "run " << run;
    }
}

// Values worked out by hand, round by round: cells row by row, each with what stands above it already.
TEST(Recalculation, IteratesCirclesAsTheFileAsks)
{
    const auto book = [](bool iterate, int rounds, double change) {
        auto made = std::make_unique<Book>();
        made->builder().settings({false, iterate, rounds, change, DateSystem::From1900});
        made->builder().addSheet("S");
        made->finishLoading();
        return made;
    };
    const auto counter = book(true, 7, 0.001);
    counter->setContent(at("A1"), "=A1+1");
    counter->setContent(at("B1"), "=A1*10");
    counter->calculate();
    EXPECT_EQ(shown(counter->value(at("B1"))), "70"); // never settles: seven rounds
    counter->calculate();
    EXPECT_EQ(shown(counter->value(at("A1"))), "7"); // nothing changed: values stay
    counter->calculateAll();
    EXPECT_EQ(shown(counter->value(at("A1"))), "14");

    // x = 6 - x/2 from 0: A1 = 0 6 3 4.5 3.75 4.125; B1 follows in the same round. |change| < 1 after
    // round 5.
    const auto damped = book(true, 100, 1.0);
    damped->setContent(at("A1"), "=C1-B1/2");
    damped->setContent(at("B1"), "=A1");
    damped->setContent(at("C1"), "6");
    damped->calculate();
    EXPECT_EQ(shown(damped->value(at("A1"))), "3.75");
    const Slot input = damped->slot(at("C1"));
    for (const double x : {6.0, 3.0, 9.0}) {
        damped->write(input, x);
        damped->calculate();
    }
    EXPECT_NEAR(damped->value(at("A1")).number(), 6.0, 1.0);
    EXPECT_EQ(damped->inspect().circular.size(), 0u);

    // A circle on paper only is no loop: one pass gives the value, whatever the order of the cells.
    const auto paper = book(true, 1, 0.001);
    paper->setContent(at("A1"), "=IF(C1,A2,1)");
    paper->setContent(at("A2"), "=IF(C1,A3,A1)");
    paper->setContent(at("A3"), "=IF(C1,5,A2)");
    paper->setContent(at("C1"), "TRUE");
    paper->calculate();
    EXPECT_EQ(shown(paper->value(at("A1"))), "5");

    const auto refused = book(false, 7, 0.001);
    refused->setContent(at("A1"), "=A1+1");
    refused->calculate();
    EXPECT_EQ(shown(refused->value(at("A1"))), "#CIRCULAR!");
}

// One and two inputs, through formulas in between; the model itself keeps its values.
TEST(Recalculation, DataTablesPutInOtherValues)
{
    Book book;
    BookBuilder& builder = book.builder();
    builder.addSheet("S");
    const auto area = [](const char* text) { return parseA1(text).value(); };
    builder.dataTable(area("E2:F4"), {false, false, at("B1"), {}}, {});
    builder.dataTable(area("N2:O2"), {false, true, at("B2"), {}}, {});
    builder.dataTable(area("I2:J3"), {true, true, at("B1"), at("B2")}, {});
    book.finishLoading();
    const std::pair<const char*, const char*> cells[] = {
        {"B1", "0.5"}, {"B2", "10"}, {"B3", "=B1*B2"},      {"B4", "=B3+C1"}, {"D2", "1"},
        {"D3", "2"},   {"D4", "3"},  {"E1", "=B4"},         {"F1", "=B1"},    {"H1", "=B3"},
        {"I1", "2"},   {"J1", "3"},  {"H2", "10"},          {"H3", "20"},     {"M2", "=B3"},
        {"N1", "5"},   {"O1", "6"},  {"Q1", "=SUM(E2:E4)"}, {"C1", "1"}};
    for (const auto& [cell, content] : cells) book.setContent(at(cell), content);
    const auto expect = [&](const std::vector<std::pair<const char*, const char*>>& wanted) {
        for (const auto& [cell, value] : wanted) EXPECT_EQ(shown(book.value(at(cell))), value) << cell;
    };
    book.calculate();
    expect({{"E2", "11"},
            {"E3", "21"},
            {"E4", "31"},
            {"F2", "1"},
            {"F4", "3"},
            {"Q1", "63"},
            {"N2", "2.5"},
            {"O2", "3"},
            {"I2", "20"},
            {"J2", "30"},
            {"I3", "40"},
            {"J3", "60"},
            {"B1", "0.5"},
            {"B3", "5"},
            {"B4", "6"}});
    const Slot input = book.slot(at("C1"));
    for (const double x : {2.0, 3.0, 4.0}) { // the third time through a plan
        book.write(input, x);
        book.calculate();
    }
    expect({{"E2", "14"}, {"E4", "34"}, {"Q1", "72"}, {"B4", "9"}});
    book.setContent(at("D3"), "=B2"); // a value that is worked out
    book.setContent(at("B2"), "20");
    book.calculate();
    expect({{"E2", "24"}, {"E3", "404"}, {"N2", "2.5"}, {"J3", "60"}, {"B3", "10"}});
    book.calculateAll();
    expect({{"E2", "24"}, {"E3", "404"}, {"Q1", "492"}});
    EXPECT_EQ(book.content(at("J3")), "=TABLE(B1,B2)");
    EXPECT_THROW(book.setValue(at("E3"), 1.0), BookError);
    book.setContent(at("B3"), "=B1*B2+E2"); // needs what it makes
    book.calculate();
    expect({{"E2", "#CIRCULAR!"}, {"B3", "#CIRCULAR!"}});
}

/// A random formula of the cell in row r: mostly numbers, sometimes texts, errors, ranges, branches.
std::string randomFormula(std::mt19937& draw, int r, int c, bool circles)
{
    const auto pick = [&](int n) { return static_cast<int>(draw() % static_cast<unsigned>(n)); };
    const auto cell = [&] { return a1Text(CellAddress{0, pick(std::max(1, r)), pick(6)}); };
    const auto own = a1Text(CellAddress{0, r, c}), rows = std::to_string(std::max(1, r));
    switch (pick(55)) {
    case 28:
        return "=IFERROR(" + cell() + "/" + cell() + "-IFERROR(SQRT(" + cell() + "),9),LN(" + cell() + "))";
    case 29: return "=IFERROR(VLOOKUP(" + cell() + ",H1:I6,2,FALSE),IFERROR(1/" + cell() + ",\"none\"))";
    case 30:
        return "=IFNA(MATCH(" + cell() + "*2,H1:H6,0),-1)+IFERROR(INDEX(I1:I6,MATCH(" + cell() +
               ",H1:H6)),0)";
    case 31: return "=IFS(" + cell() + ">3," + cell() + "," + cell() + "<1,2,TRUE," + cell() + "*2)";
    case 32: return "=IFS(" + cell() + ">3," + cell() + "," + cell() + "<1,\"low\")";
    case 33:
        return "=CHOOSE(" + cell() + "," + cell() + "*2,SUM(" + cell() + ",IF(" + cell() + ">1," + cell() +
               ",3)),\"three\",NA())";
    case 34:
        return "=SWITCH(INT(" + cell() + "),1," + cell() + ",2," + cell() + "+1," + cell() + ",IF(" + cell() +
               ">0,1,2),-1)";
    case 35: return "=SWITCH(" + cell() + ",0.5,7," + cell() + ",8)+XOR(" + cell() + ">1," + cell() + ")";
    case 36:
        return "=IF(ISNUMBER(" + cell() + "),1,2)+ISBLANK(" + cell() + ")+10*ISERROR(" + cell() +
               ")+100*ISTEXT(" + cell() + ")";
    case 37:
        return "=ISERROR(" + cell() + "/" + cell() + ")+ISNA(MATCH(" + cell() + ",H1:H6,0))+10*ISNUMBER(" +
               cell() + "+" + cell() + ")+ISNONTEXT(" + cell() + ")";
    case 38: return "=LOG(ABS(" + cell() + ")+1)+TRUNC(" + cell() + ")+ROUNDUP(" + cell() + ",1)";
    case 39: return "=PRODUCT(A1:B3," + cell() + ")-DEVSQ(A1:A3," + cell() + ")";
    case 40: return "=COUNTA(A1:C" + std::to_string(std::max(1, r)) + "," + cell() + ")*2";
    case 41: return "=IF(" + cell() + ">2,\"high\"," + cell() + "*3)";
    case 42: return "=IF(" + cell() + ">2,NA(),IF(" + cell() + "<1,\"low\"," + cell() + "))";
    case 44:
        return "=CEILING(" + cell() + ",0.25)+FLOOR(" + cell() + "," + cell() + ")+MROUND(" + cell() +
               ",0.5)+CEILING.MATH(" + cell() + ",2," + cell() + ")";
    case 45:
        return "=CONVERT(" + cell() + ",\"kg\",\"lbm\")+NORM.DIST(" + cell() + "," + cell() + ",2," + cell() +
               ">1)+IFERROR(DATE(2020," + cell() + ",3),PMT(" + cell() + ",9,8))";
    case 46:
        return "=XLOOKUP(" + cell() + ",H1:H6,I1:I6," + (pick(2) != 0 ? cell() : "\"none\"") + "," +
               std::to_string(pick(3) - 1) + (pick(2) != 0 ? ",-1)" : ")");
    case 47: return "=LOOKUP(" + cell() + ",H1:I6)-XMATCH(" + cell() + ",I1:I6,1)+LOOKUP(2,H1:H6,I1:I6)";
    // Among cells that change all the time.
    case 48:
        return "=INDEX(A1:C" + rows + "," + cell() + ",1+ABS(" + cell() + "))+INDEX(A1:A3,2)+MAX(INDEX(A1:C" +
               rows + ",1,3),1)";
    case 49: return "=MATCH(" + cell() + ",A1:A" + rows + "," + std::to_string(pick(3) - 1) + ")";
    case 50:
        return "=IFERROR(XLOOKUP(" + cell() + ",A1:A" + rows + ",B1:B" + rows + ",0,-1),VLOOKUP(" + cell() +
               ",A1:C" + rows + ",2,FALSE))";
    case 51: return "=IF(" + cell() + "=\"text\"," + cell() + ",IF(\"\"<=" + cell() + ",2," + cell() + "))";
    case 52: return "=IF(OR(H1=\"text\",H2<>\"12\",I1=\"\")," + cell() + "*2,I2)";
    case 53:
        return "=SUMIF(A1:A" + rows + ",\">=" + std::to_string(pick(5)) + ".5\"," +
               (pick(2) != 0 ? "B1:B" : "A1:A") + rows + ")+COUNTIF(A1:C3," + cell() +
               ")*IFERROR(AVERAGEIF(A1:B" + rows + ",\"<2\"),7)";
    case 54:
        return "=SUMIFS(H1:H6,I1:I6,\">1\",H1:H6,\"<>3\")-COUNTIFS(A1:A" + rows + ",\"<=2\",C1:C" + rows +
               ",\"=1\")+" + cell();
    case 43: return "=LET(q," + cell() + "/" + cell() + ",IFERROR(q,IFERROR(q+1," + cell() + "))+ISERROR(q))";
    // H1:I6 are numbers most of the time, and change seldom.
    case 22: return "=AVERAGE(A1:C" + std::to_string(std::max(1, r)) + ")-COUNT(A1:A3," + cell() + ")";
    case 23: return "=STDEV(A1:C3)+VAR.P(" + cell() + ",A1:A3,2)-STDEVP(A1:B2)";
    case 24: return "=SUMPRODUCT(A1:A3,C1:C3)-SUMPRODUCT(A1:C1,A2:C2)";
    case 25: return "=VLOOKUP(" + cell() + ",H1:I6," + (pick(2) != 0 ? "2" : "2,FALSE") + ")";
    case 26: return "=INDEX(I1:I6,MATCH(" + cell() + ",H1:H6" + (pick(2) != 0 ? "" : ",-1") + "))+1";
    case 27:
        return "=HLOOKUP(" + cell() + ",H1:I6,3)+INDEX(H1:I6," + cell() + ",2)+INDEX(H1:H6," + cell() + ")";
    case 0: return "=" + cell() + "+" + cell() + "*" + cell();
    case 1: return "=0.5*" + cell() + "-0.25*" + cell();
    case 2: return "=" + cell() + "/" + cell();
    case 3: return "=IF(" + cell() + ">" + cell() + "," + cell() + "," + cell() + "-1)";
    case 4: return "=SUM(A1:" + a1Text(CellAddress{0, std::max(0, r - 1), 5}) + ")/100";
    case 5: return "=MIN(" + cell() + "," + cell() + ",3)";
    case 6: return "=MAX(" + cell() + ":" + cell() + ")";
    case 7: return "=SQRT(ABS(" + cell() + "))";
    case 8: return "=IFERROR(" + cell() + "/" + cell() + ",7)";
    case 9: return "=" + cell() + ">=" + cell();
    case 10: return "=AND(" + cell() + ">0," + cell() + "<5)";
    case 11: return "=" + cell() + "&\"x\"";
    case 12:
        return "=INDEX(A1:F" + std::to_string(circles ? 20 : r) + ",1+MOD(" + std::to_string(pick(99)) + "," +
               std::to_string(circles ? 20 : r) + "),2)*2";
    case 13:
        return circles || r < 9 ? "=N(" + cell() + ")*3" : "=OFFSET(A1,MOD(INT(ABS(N(" + cell() + "))),8),1)";
    case 14: return "=IF(" + cell() + "," + (circles ? own : cell()) + "+0," + cell() + ")";
    case 15: return "=(" + cell() + "-" + cell() + ")^2*-1";
    case 16: return "=-" + cell() + "%+SUMSQ(" + cell() + "," + cell() + ")";
    case 17:
        return "=LET(x," + cell() + "*" + cell() + ",y,x-" + cell() + ",IF(x>" + cell() + ",y+x*x,x*y-x))";
    case 18: return "=LAMBDA(a,b,a*b-a)(" + cell() + "+1,LET(t," + cell() + ",t+t))";
    case 19: return "=REDUCE(" + cell() + ",A1:B3,LAMBDA(a,x,a+x))";
    case 20: return "=SUMIF(A1:A3,\">0\"," + cell() + ":B2)";
    default:
        return (circles ? "=COUNT(B:B)+AVERAGE(A1:A3," : "=COUNT(B1:B3)+AVERAGE(A1:A3,") + cell() + ")-" +
               cell();
    }
}

/// A formula whose result has a changing size, or that reads a block wherever it ends.
std::string randomSpill(std::mt19937& draw, int r)
{
    const auto pick = [&](int n) { return static_cast<int>(draw() % static_cast<unsigned>(n)); };
    const auto cell = [&] { return a1Text(CellAddress{0, pick(std::max(1, r)), pick(6)}); };
    const std::string size = "1+MOD(INT(ABS(N(" + cell() + "))),4)";
    switch (pick(6)) {
    case 0: return "=SEQUENCE(" + size + ")";
    case 1: return "=SEQUENCE(1," + size + ")";
    case 2: return "=SEQUENCE(" + size + ",2)*N(" + cell() + ")";
    case 3: return "=SUM(" + cell() + "#)";
    case 4: return "=IF(N(" + cell() + ")>1,SEQUENCE(2,3),0.5)";
    default: return "=TAKE(A1:F" + std::to_string(r) + "," + size + ",1)";
    }
}

Value randomValue(std::mt19937& draw)
{
    switch (draw() % 12) {
    case 0: return Value("text");
    case 1: return Value();
    case 2: return true;
    case 3: return 0.0;
    case 4: return Value("12");
    default: return static_cast<double>(static_cast<int>(draw() % 2000) - 500) / 64.0;
    }
}

// Which cells of interlocking circles are circular depends on where one enters them, and a reference made
// while running enters anywhere: a book has circles or such references, not both. Random books and random
// edits: what an incremental recalculation leaves, typed or not, is what a full one of the same contents
// gives.
TEST(Recalculation, IncrementalTypedAndFullAgree)
{
    constexpr int kRows = 20, kCols = 6;
    for (unsigned seed = 1; seed <= 120; ++seed) {
        std::mt19937 draw(seed);
        const bool circles = seed % 3 == 0, spills = seed % 3 == 1;
        const auto formula = [&](int r, int c) -> std::string {
            if (spills && draw() % 5 > 1) return {}; // room to spill into
            return spills && draw() % 2 == 0 ? randomSpill(draw, r) : randomFormula(draw, r, c, circles);
        };
        Book typed, general;
        for (Book* book : {&typed, &general}) book->addSheet("S");
        general.useTypedCode(false);
        const auto put = [&](int r, int c, const Value& v, const std::string& text) {
            for (Book* book : {&typed, &general}) {
                if (text.empty()) {
                    book->setValue({0, r, c}, v);
                } else {
                    book->setContent({0, r, c}, text);
                }
            }
        };
        for (int r = 0; r < kRows; ++r)
            for (int c = 0; c < kCols; ++c)
                put(r, c, r < 3 ? randomValue(draw) : Value(), r < 3 ? "" : formula(r, c));
        for (int r = 0; r < 6; ++r)
            for (int c = 7; c < 9; ++c) put(r, c, Value(c == 7 ? 2.0 * r : 9.5 - r), "");
        for (int edit = 0; edit < 60; ++edit) {
            if (draw() % 9 == 0)
                put(static_cast<int>(draw() % 6), 7 + static_cast<int>(draw() % 2),
                    draw() % 4 == 0 ? randomValue(draw) : Value(0.5 * edit), "");
            const bool structural = draw() % 12 == 0;
            const int several = 1 + static_cast<int>(draw() % 3);
            // The same few inputs again and again, so that plans come to use.
            for (int k = 0; k < several; ++k) {
                const int r = static_cast<int>(draw() % 3), c = k;
                put(r * (edit % 2), c, draw() % 6 == 0 ? randomValue(draw) : Value(0.125 * edit + k), "");
            }
            if (structural) {
                const int r = 3 + static_cast<int>(draw() % (kRows - 3)),
                          c = static_cast<int>(draw() % kCols);
                put(r, c, {}, formula(r, c));
            }
            typed.calculate();
            general.calculate();
            Book full;
            full.addSheet("S");
            for (int r = 0; r < kRows; ++r) {
                for (int c = 0; c < 9; ++c) {
                    const auto block = general.arrayArea({0, r, c});
                    if (block && (block->row0 != r || block->col0 != c)) continue; // further cells of a spill
                    if (general.hasFormula({0, r, c})) {
                        full.setContent({0, r, c}, general.content({0, r, c}));
                    } else {
                        full.setValue({0, r, c}, general.value({0, r, c}));
                    }
                }
            }
            full.calculateAll();
            for (int r = 0; r < kRows + 4; ++r) { // with what spills beyond
                for (int c = 0; c < kCols + 4; ++c) {
                    const CellAddress cell{0, r, c};
                    ASSERT_TRUE(identical(general.value(cell), full.value(cell)))
                        << "seed " << seed << " edit " << edit << " " << a1Text(cell) << " "
                        << full.content(cell) << ": incremental " << shown(general.value(cell)) << ", full "
                        << shown(full.value(cell));
                    ASSERT_TRUE(identical(typed.value(cell), full.value(cell)))
                        << "seed " << seed << " edit " << edit << " " << a1Text(cell) << " "
                        << full.content(cell) << ": typed " << shown(typed.value(cell)) << ", full "
                        << shown(full.value(cell));
                }
            }
        }
    }
}

} // namespace
} // namespace varnex3::sheet
