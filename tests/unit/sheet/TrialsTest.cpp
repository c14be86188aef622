// tests/unit/sheet/TrialsTest.cpp - trials in blocks give the bits of trials one by one.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include "Support.h"
#include "sheet/model/Trials.h"

namespace varnex3::sheet {
namespace {

constexpr int kInputs = 4, kColumns = 4;

std::string randomNumberFormula(std::mt19937& draw, int row)
{
    const auto pick = [&](int n) { return static_cast<int>(draw() % static_cast<unsigned>(n)); };
    // Column A holds inputs, column F numbers that never change; formulas start in row 5.
    const auto cell = [&] {
        const int r = pick(row), c = pick(kColumns);
        return r < kInputs ? a1Text(CellAddress{0, r, c == 3 ? 5 : 0}) : a1Text(CellAddress{0, r, c});
    };
    const auto bound = std::to_string(pick(5));
    const auto test = [&] { return cell() + (pick(2) != 0 ? ">" : "<=") + bound; };
    const auto block = "A1:B" + std::to_string(std::max(5, row));
    switch (pick(44)) {
    case 0: return "=" + cell() + "+" + cell() + "*" + cell();
    case 1: return "=0.5*" + cell() + "-0.25*" + cell();
    case 2: return "=" + cell() + "/" + cell() + "+1";
    case 3: return "=IF(" + test() + "," + cell() + "/2,SQRT(ABS(" + cell() + "))-1)";
    case 4:
        return "=IF(" + test() + ",IF(" + test() + "," + cell() + ",LN(" + cell() + ")+1),SUM(F1:F4," +
               cell() + "))";
    case 5: return "=SUM(A1:A4,F1:F4," + cell() + ")/10";
    case 6: return "=MIN(" + cell() + ",F1:F4,A1:A4)";
    case 7: return "=MAX(A1:B" + std::to_string(std::max(5, row)) + ")*0.9";
    case 8: return "=EXP(-ABS(" + cell() + "))*" + cell();
    case 9: return "=(" + cell() + "-" + cell() + ")^2-" + cell() + "%";
    case 10: return "=IF(AND(" + test() + "," + test() + "),1,IF(NOT(" + test() + "),F2*2,F3^0.5))";
    case 11: return "=SUMSQ(" + cell() + ",F1:F3)-PRODUCT(F1:F2," + cell() + ")";
    case 12: return "=SQRT(" + cell() + ")";
    case 13: return "=ABS(" + cell() + ")^1.5";
    case 15: return "=AVERAGE(" + block + "," + cell() + ")";
    case 16: return "=STDEV(A1:A4,F1:F4)-VAR.P(F1:F4," + cell() + ")";
    case 17: return "=SUMPRODUCT(A1:A4,F1:F4)+SUMPRODUCT(A5:C5,B5:D5)";
    case 18:
        return "=VLOOKUP(" + cell() + ",F1:G4," + (pick(2) != 0 ? "2" : "1,TRUE") + ")*COUNT(A1:A4,F1:F4)";
    case 19: return "=MATCH(" + cell() + ",F1:F4)+INDEX(F1:G4,1+MOD(" + bound + ",4),2)";
    case 20: return "=INDEX(G1:G4,MATCH(" + cell() + ",F1:F4,1))";
    case 21: return "=HLOOKUP(" + cell() + ",F1:G4,3)-INDEX(F1:F4,1+" + bound + ")";
    case 22: return "=IF(" + test() + ",VLOOKUP(0.25,F1:G4,2,FALSE),STDEV.P(" + block + "))";
    case 14: return "=IF(" + cell() + "=" + cell() + ",3,ATAN2(" + cell() + ",2))";
    case 24: return "=SUMIF(A1:A4,\">\"&" + cell() + ",F1:F4)+COUNTIF(" + block + ",\">1\")";
    case 25: return "=IFERROR(" + cell() + "/" + cell() + "," + cell() + ")";
    case 26:
        return "=IFERROR(VLOOKUP(" + cell() + ",F1:G4,2,FALSE),-1)+IFNA(MATCH(" + cell() + ",F1:F4,0),9)";
    case 27: return "=XLOOKUP(" + cell() + ",F1:F4,G1:G4,0,-1)-LOOKUP(" + cell() + ",F1:G4)";
    case 28: return "=CHOOSE(1+MOD(INT(ABS(" + cell() + ")),3)," + cell() + ",F2,-" + cell() + ")";
    case 29: return "=IFS(" + test() + ",1," + test() + "," + cell() + ",TRUE,F1)";
    case 30: return "=SWITCH(INT(" + cell() + "),1,F1,2," + cell() + ",7)";
    case 31: return "=MEDIAN(" + block + ")+LARGE(A1:A4,2)-SMALL(" + block + ",2)+PERCENTILE(A1:A4,0.3)";
    case 32: return "=SUMPRODUCT((A1:A4>1)*F1:F4,G1:G4)+SUMPRODUCT(" + block + "^2)";
    case 33: return "=FORECAST(" + cell() + ",A1:A4,F1:F4)+INDEX(LINEST(A1:A4,F1:F4),1)";
    case 34: return "=CONVERT(" + cell() + ",H1,H2)+MROUND(" + cell() + ",0.5)";
    case 35: return "=IF(" + test() + ",\"thin\"," + cell() + ")";
    case 36: return "=IF(" + cell() + "=\"thin\",F1,IF(H3=\"steel\"," + cell() + ",0))";
    case 37: return "=LET(x," + cell() + "*2,x+CEILING(x,0.25))-NORM.DIST(" + cell() + ",1,2,TRUE)";
    case 38: return "=INDEX(" + block + ",1+MOD(INT(ABS(" + cell() + ")),4),1)+TRUNC(" + cell() + ")";
    case 40:
        return "=INDEX(" + block + ",1+MOD(INT(ABS(" + cell() + ")),5),1+(" + test() + "))+INDEX(A1:B4,2,1)";
    case 41: return "=IFERROR(MATCH(" + cell() + ",A1:A4,0),VLOOKUP(" + cell() + ",A1:B4,1))";
    case 42:
        return "=XLOOKUP(" + cell() + ",A1:A4,F1:F4," + cell() + "," + std::to_string(pick(3) - 1) +
               ")+XLOOKUP(" + cell() + ",F1:F4,A1:A4,1)";
    case 43:
        return "=SUMIF(A1:A4,\">" + bound +
               "\",F1:F4)+AVERAGEIFS(A1:A4,F1:F4,\">0.5\",A1:A4,\"<5\")-COUNTIF(" + block + "," + cell() +
               ")";
    case 39: return "=COUNTA(" + block + ")+IF(ISNUMBER(" + cell() + ")," + cell() + ",2)";
    default: return "=ROUND(" + cell() + ",2)-" + cell();
    }
}

struct RandomBook {
    Book book;
    std::vector<Slot> inputs, outputs;

    explicit RandomBook(unsigned seed)
    {
        std::mt19937 draw(seed);
        book.addSheet("S");
        for (int r = 0; r < kInputs; ++r) {
            book.setValue({0, r, 0}, 1.0 + r);
            book.setValue({0, r, 5}, 0.75 * r + 0.25);
            book.setValue({0, r, 6}, 9.0 - r);
            book.setValue({0, r, 7},
                          Value(std::array{"m", "ft", "steel", "7 kg"}[static_cast<std::size_t>(r)]));
            inputs.push_back(book.slot({0, r, 0}));
        }
        constexpr int kRows = 12;
        for (int r = kInputs; r < kRows; ++r)
            for (int c = 0; c < kColumns; ++c) book.setContent({0, r, c}, randomNumberFormula(draw, r));
        for (int c = 0; c < kColumns; ++c) outputs.push_back(book.slot({0, kRows - 1, c}));
        outputs.push_back(book.slot({0, 6, 1}));
        outputs.push_back(inputs[1]);
        outputs.push_back(book.slot({0, 0, 5}));
        book.calculate();
    }
    void write(const double* x)
    {
        for (std::size_t i = 0; i < inputs.size(); ++i) book.write(inputs[i], x[i]);
        book.calculate();
    }
    bool gaveNumbers() const
    {
        for (const Slot slot : outputs)
            if (!book.read(slot).isNumber()) return false;
        return true;
    }
};

TEST(Trials, BlocksGiveTheBitsOfSingleTrials)
{
    int offered = 0, stopped = 0, needless = 0;
    for (unsigned seed = 1; seed <= 250; ++seed) {
        RandomBook blocks(seed), single(seed);
        single.book.useTypedCode(seed % 2 == 0);
        auto trials = blocks.book.trials(blocks.inputs, blocks.outputs, 1 + seed % 3);
        if (!trials) continue;
        ++offered;
        std::mt19937 draw(seed);
        constexpr std::size_t kTrials = 300;
        std::vector<double> x(kTrials * kInputs), y(kTrials * blocks.outputs.size());
        const double few[] = {0.0, 1.0, 2.0, -1.0, 1.0 + 0x1p-50, 1.0 - 0x1p-50};
        for (double& v : x)
            v = draw() % 4 == 0 ? few[draw() % 6] : static_cast<double>(draw() % 5000) / 512.0 - 0.5;
        for (std::size_t first = 0; first < kTrials;) {
            const std::size_t done = trials->run(std::span(x).subspan(first * kInputs),
                                                 std::span(y).subspan(first * blocks.outputs.size()));
            for (std::size_t t = first; t < first + done; ++t) {
                single.write(&x[t * kInputs]);
                for (std::size_t o = 0; o < blocks.outputs.size(); ++o)
                    ASSERT_TRUE(identical(Value(y[t * blocks.outputs.size() + o]),
                                          single.book.read(blocks.outputs[o])))
                        << "seed " << seed << " trial " << t << " output " << o << ": "
                        << y[t * blocks.outputs.size() + o] << " and "
                        << shown(single.book.read(blocks.outputs[o]));
            }
            first += done;
            if (first == kTrials) break;
            ++stopped;
            single.write(&x[first * kInputs]);
            needless += single.gaveNumbers() ? 1 : 0;
            blocks.write(&x[first * kInputs]);
            ++first;
        }
    }
    EXPECT_GT(offered, 40);
    EXPECT_GT(stopped, 50);
    EXPECT_LT(needless, stopped * 3 / 4); // errors that COUNTIF and its like would have left out
}

TEST(Trials, AreOfferedOnlyWhereTheyMayStandForSingleTrials)
{
    struct Case {
        const char *input, *formula;
        bool offered;
    };
    const Case cases[] = {
        {"2", "=A1*B1", true},       {"2", "=A1&\"x\"", false},   {"2", "=A1+RAND()", false},
        {"text", "=LEN(A1)", false}, {"=1+1", "=A1*2", false},    {"2", "=OFFSET(A1,0,0)+1", false},
        {"2", "=A1+D1", false},      {"2", "=A1>1", false},       {"2", "=IF(A1>9,\"high\",1)", true},
        {"2", "=SUM(A1,F4)", true},  {"2", "=SUM(A1,G5)", false}, // where G4 may spill to
    };
    for (const Case& c : cases) {
        Book book;
        book.addSheet("S");
        book.setContent(at("A1"), c.input);
        book.setContent(at("B1"), "3");
        book.setContent(at("D1"), c.formula);
        book.setContent(at("G4"), "=SEQUENCE(A1-1)");
        book.calculate();
        const Slot inputs[] = {book.slot(at("A1"))}, outputs[] = {book.slot(at("D1"))};
        EXPECT_EQ(book.trials(inputs, outputs, 1) != nullptr, c.offered) << c.formula;
        book.write(inputs[0], 5.0);
        EXPECT_EQ(book.trials(inputs, outputs, 1), nullptr) << "not recalculated";
    }
}

TEST(Trials, LeaveACountOfFailingCellsToSingleTrials)
{
    Book book;
    book.addSheet("S");
    book.setContent(at("A1"), "2");
    book.setContent(at("B1"), "=1/A1");
    book.setContent(at("C1"), "=COUNT(A1:B1)");
    book.calculate();
    const Slot inputs[] = {book.slot(at("A1"))}, outputs[] = {book.slot(at("C1"))};
    const auto trials = book.trials(inputs, outputs, 1);
    ASSERT_TRUE(trials);
    const double x[] = {4.0, 0.0, 5.0}; // COUNT leaves the error of the second one out
    double y[] = {0.0, 0.0, 0.0};
    EXPECT_EQ(trials->run(x, y), 1U);
    EXPECT_EQ(y[0], 2.0);
}

// The kind of the cell stays the same when its text changes.
TEST(Trials, FollowATextThatIsComparedWith)
{
    Book book;
    book.addSheet("S");
    book.setContent(at("A1"), "2");
    book.setContent(at("B1"), "Steel");
    book.setContent(at("C1"), "=IF(B1=\"steel\",A1*2,IF(\"stone\">=B1,A1*3,A1))");
    book.calculate();
    const Slot inputs[] = {book.slot(at("A1"))}, outputs[] = {book.slot(at("C1"))};
    const auto trials = book.trials(inputs, outputs, 1);
    ASSERT_TRUE(trials);
    const std::pair<const char*, double> cases[] = {
        {"Steel", 20}, {"wood", 10}, {"brick", 30}, {"STEEL", 20}};
    for (const auto& [text, wanted] : cases) {
        book.setValue(at("B1"), Value(text));
        book.calculate();
        const double x = 10.0;
        double y = 0.0;
        EXPECT_EQ(trials->run({&x, 1}, {&y, 1}), 1U);
        EXPECT_EQ(y, wanted) << text;
        for (int run = 0; run < 2; ++run) { // the second time through typed code
            book.write(inputs[0], 10.0);
            book.calculate();
            EXPECT_EQ(book.value(at("C1")).number(), wanted) << text;
        }
    }
}

TEST(Trials, FollowWhatHappensToTheBook)
{
    Book book;
    book.addSheet("S");
    const std::pair<const char*, const char*> contents[] = {
        {"A1", "2"}, {"B1", "3"}, {"C1", "4"}, {"D1", "=A1*SUM(B1:B3)+E1"}, {"E1", "=C1*C1"}};
    for (const auto& [cell, content] : contents) book.setContent(at(cell), content);
    book.calculate();
    const Slot inputs[] = {book.slot(at("A1"))}, outputs[] = {book.slot(at("D1"))};
    const auto trials = book.trials(inputs, outputs, 2);
    ASSERT_TRUE(trials);
    const double x = 10.0;
    double y = 0.0;
    const auto run = [&] { return trials->run({&x, 1}, {&y, 1}); };
    EXPECT_EQ(run(), 1U);
    EXPECT_EQ(y, 46.0);
    book.write(book.slot(at("C1")), 5.0); // works its way through another plan
    EXPECT_EQ(run(), 0U) << "not recalculated yet";
    book.calculate();
    EXPECT_EQ(run(), 1U);
    EXPECT_EQ(y, 55.0);
    book.write(book.slot(at("C1")), 6.0); // the same plan again
    book.calculate();
    EXPECT_EQ(run(), 1U);
    EXPECT_EQ(y, 66.0);
    book.setValue(at("B2"), Value("text"));
    book.calculate();
    EXPECT_EQ(run(), 0U) << "a kind has changed";
    book.setValue(at("B2"), Value());
    book.calculate();
    EXPECT_EQ(run(), 1U);
    EXPECT_TRUE(trials->isFixed(book.slot(at("E1"))));
    EXPECT_FALSE(trials->isFixed(outputs[0]));
    book.setContent(at("D1"), "=A1");
    book.calculate();
    EXPECT_EQ(run(), 0U) << "a formula has changed";
}

} // namespace
} // namespace varnex3::sheet
