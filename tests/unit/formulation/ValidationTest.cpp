// What the validations reject, in which order, with which words. A case starts from a sound item and
// spoils it; two faults at once show which check comes first.
#include <gmock/gmock.h>

#include <functional>
#include <memory>

#include "formulation/c_Formulation.h"
#include "support/Expect.h"

namespace varnex3 {
namespace {

using testing::ElementsAre;
using C = c_Constraint;
using G = c_Goal;
using O = c_Options;
using X = c_Parameter;
using Y = c_Response;

class Validation : public test::LibraryTest {
protected:
    Validation()
    {
        sheet.set("B1", 1.0);
        sheet.set("B2", "abc");
        sheet.set("B3", -1.0);
    }
    const Ref<host::Range> number = sheet.range("B1"), text = sheet.range("B2"), negative = sheet.range("B3"),
                           two = sheet.range("B1:B2"), blank = sheet.range("C1");

    template <class Item>
    void sound(Item& item)
    {
        item.id = item.DefName = item.Name = "n";
        if constexpr (std::is_same_v<Item, X>) {
            item.xType = xTypes::Continuous;
            item.mean = number;
            item.SearchMax = 1.0;
            item.AddFV(0.0);
            item.AddFV(1.0);
        } else if constexpr (std::is_same_v<Item, Y>) {
            item.Formula = number;
        } else {
            item.y = number;
            item.Aspect = "Mean";
            item.Oper = "<=";
        }
        if constexpr (std::is_same_v<Item, G>) item.Priority = 1;
    }
    void sound(O& o)
    {
        o.StopRule = stopRules::FixedNumber;
        o.MaxGens = 1;
        o.GenSize = 20;
        o.Precision = 0.1;
        o.Derivs = "Quick";
        o.Stats = statsMethods::None;
        o.StoreYs = "No";
        o.OptTrials = "50";
    }

    template <class Item>
    struct Case {
        std::function<void(Item&)> spoil;
        const char* want; // empty: passes
    };
    template <class Item>
    void check(bool (Item::*isOK)(std::string&), const std::vector<Case<Item>>& cases)
    {
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << "case " << &c - cases.data() << ": " << c.want);
            Item item;
            sound(item);
            c.spoil(item);
            std::string cause = "left from before";
            EXPECT_EQ((item.*isOK)(cause), *c.want == '\0');
            EXPECT_EQ(cause, c.want);
        }
    }
};

// clang-format off

TEST_F(Validation, Parameter)
{
    check<X>(&X::XisOK, {
        {[](X&) {}, ""},
        {[](X& x) { x.id = x.DefName = ""; }, "ID is missing"},
        {[](X& x) { x.DefName = x.Name = ""; }, "DefName is missing"},
        {[](X& x) { x.Name = x.xType = ""; }, "Name is missing"},
        {[](X& x) { x.xType = "continuous"; }, "Type is not recognized"},
        {[](X& x) { x.mean = nullptr; }, "Mean is not an Excel range"},
        {[this](X& x) { x.mean = two; }, "More than one cell selected for Mean"},
        {[this](X& x) { x.mean = text; x.SearchMin = 2.0; }, "Non-numeric value for Mean"},
        {[](X& x) { x.SearchMin = 2.0; x.RemoveFV(1); x.RemoveFV(1); }, "Minimum value is greater than maximum value"},
        {[](X& x) { x.SearchMin = 1.0; x.RemoveFV(1); x.RemoveFV(1); }, "No feasible values"},
        {[](X& x) { x.SearchMin = 1.0; x.stdev = -1.0; }, "Identical minimum value and maximum value"},
        {[](X& x) { x.SearchMin = 1.0; x.xType = xTypes::Discrete; }, ""},
        {[](X& x) { x.xType = xTypes::Constant; x.RemoveFV(1); x.RemoveFV(1); x.stdev = "abc"; }, ""},
        {[this](X& x) { x.stdev = blank; }, ""},
        {[this](X& x) { x.stdev = two; }, "More than one cell selected for standard deviation"},
        {[this](X& x) { x.stdev = text; }, "Non-numeric standard deviation cell value"},
        {[this](X& x) { x.stdev = negative; }, "Negative standard deviation cell value"},
        {[](X& x) { x.stdev = "abc"; }, "Non-numeric standard deviation"},
        {[](X& x) { x.stdev = -1.0; }, "Negative standard deviation value"},
    });
}

TEST_F(Validation, Response)
{
    check<Y>(&Y::YisOK, {
        {[](Y& y) { y.Formula = nullptr; }, "Formula is not an Excel range"},
        {[this](Y& y) { y.Formula = two; }, "More than one cell selected for Formula"},
        {[this](Y& y) { y.Formula = text; y.lsl = two; }, "Non-numeric value for Formula"},
        {[this](Y& y) { y.lsl = two; }, "More than one cell selected for LSL"},
        {[this](Y& y) { y.lsl = text; y.usl = text; }, "LSL cell value is neither a number nor empty"},
        {[](Y& y) { y.lsl = "abc"; }, "LSL value is neither a number nor empty"},
        {[this](Y& y) { y.usl = two; }, "More than one cell selected for USL"},
        {[this](Y& y) { y.usl = text; }, "USL cell value is neither a number nor empty"},
        {[](Y& y) { y.usl = "abc"; }, "USL value is neither a number nor empty"},
        {[](Y& y) { y.lsl = ""; y.usl = 5.0; }, ""},
        {[this](Y& y) { y.lsl = blank; y.usl = -5.0; }, ""}, // no lower limit, not a limit of 0
        {[](Y& y) { y.lsl = 5.0; y.usl = 5.0; }, ""},
        {[](Y& y) { y.lsl = "9"; y.usl = "10"; }, ""}, // as numbers, not as texts
        {[this](Y& y) { y.lsl = number; y.usl = negative; }, "LSL greater than USL"},
    });
}

TEST_F(Validation, ConstraintAndGoal)
{
    check<C>(&C::ConstraintOK, {
        {[](C& c) { c.y = nullptr; }, "Source is not an Excel range"},
        {[this](C& c) { c.y = two; }, "More than one cell selected for source"},
        {[this](C& c) { c.y = text; }, "Non-numeric value for formula"},
        {[](C& c) { c.Aspect = "mean"; c.Oper = "<"; }, "Aspect is not recognized"},
        {[this](C& c) { c.Oper = "<"; c.Reqt = two; }, "Operator is not recognized"},
        {[this](C& c) { c.Reqt = blank; }, ""},
        {[this](C& c) { c.Reqt = two; }, "More than one cell selected for requirement"},
        {[this](C& c) { c.Reqt = text; }, "Non-numeric requirement cell value"},
        {[](C& c) { c.Reqt = ""; }, "Non-numeric requirement value"},
    });
    check<G>(&G::goalOK, {
        {[](G& g) { g.Oper = "<"; g.Priority = 0; }, "Operator is not recognized"},
        {[](G& g) { g.Priority = 0; g.Target = "abc"; }, "Nonsensical priority level"},
        {[](G& g) { g.Priority = 4; }, "Priority level exceeds maximum allowed of 3"},
        {[this](G& g) { g.Target = two; g.Weight = -1.0; }, "More than one cell selected for target"},
        {[this](G& g) { g.Target = text; }, "Non-numeric target cell value"},
        {[](G& g) { g.Target = "abc"; }, "Non-numeric target value"},
        {[this](G& g) { g.Weight = two; }, "More than one cell selected for weight"},
        {[this](G& g) { g.Weight = text; }, "Non-numeric weight cell value"},
        {[this](G& g) { g.Weight = negative; }, ""}, // found when the goal is scored
        {[](G& g) { g.Weight = "abc"; }, "Non-numeric weight value"},
        {[](G& g) { g.Weight = -1.0; }, "Negative weight value"},
    });
}

TEST_F(Validation, Options)
{
    const char* precision = "Value for precision falls outside boundaries of 1E-06 to 0.1";
    check<O>(&O::OptionsOK, {
        {[](O&) {}, ""},
        {[](O& o) { o.StopRule = "stop after fixed #"; }, "Stopping rule is not recognized"},
        {[](O& o) { o.MaxGens = 0; o.GenSize = 0; }, "Value for maximum generations is below the minimum of 1"},
        {[](O& o) { o.GenSize = 19; }, "Value for generation size is below the minimum of 20"},
        {[](O& o) { o.Precision = 1e-6; }, ""},
        {[](O& o) { o.Precision = 0.99e-6; }, precision},
        {[](O& o) { o.Precision = 0.1000001; }, precision},
        {[](O& o) { o.OptTrials = ""; }, "Non-numeric value for number of Monte Carlo trials"},
        {[](O& o) { o.OptTrials = "100.5"; }, "Non-integer value for number of Monte Carlo trials"},
        {[](O& o) { o.OptTrials = "49"; }, "Value for number of Monte Carlo trials is below the minimum of 50"},
        {[](O& o) { o.OptTrials = "1e2"; }, ""},
        {[](O& o) { o.Derivs = "quick"; }, "Derivative calculation method is not recognized"},
        {[](O& o) { o.Stats = ""; }, "Statistical calculation method is not recognized"},
        {[](O& o) { o.StoreYs = "yes"; }, "Y storage option is not recognized"},
    });
}

// clang-format on

TEST_F(Validation, AFailureOutsideTheChecksIsNoWithoutACause)
{
    Y y;
    sound(y);
    host->fail("Sheet1!$B$1.Value?", 2); // answers as a range, then the workbook closes
    std::string cause;
    EXPECT_FALSE(y.YisOK(cause));
    EXPECT_EQ(cause, "");

    O options;
    sound(options);
    options.OptTrials = "1e12"; // overflows in the conversion
    EXPECT_FALSE(options.OptionsOK(cause));
    EXPECT_EQ(cause, "");
    EXPECT_EQ(err().number, 0);
}

TEST_F(Validation, FormulationStopsAtItsFirstProblem)
{
    c_Formulation f;
    std::string source = "s", cause;
    Long item = 7;
    const auto expectProblem = [&](const std::string& wantCause, const std::string& suffix,
                                   const std::string& wantSource, Long wantItem) {
        user.boxes.clear();
        EXPECT_FALSE(f.formulationOK(source, item, cause));
        EXPECT_TRUE(user.boxes.empty());
        EXPECT_FALSE(f.formulationOK(source, item, cause, true));
        EXPECT_EQ(cause, wantCause);
        EXPECT_THAT(user.boxes, ElementsAre("[Corvane] " + wantCause + suffix));
        EXPECT_EQ(source, wantSource);
        EXPECT_EQ(item, wantItem);
    };

    expectProblem("Please define at least one parameter.", "", "s", 7);
    for (const char* id : {"a", "b", "c"}) f.AddX(id);
    expectProblem("Please define at least one response.", "", "s", 7);
    f.AddY("y");
    expectProblem(
        "At least one constraint or goal must be defined and enabled for an optimization to be performed.",
        "", "s", 7);
    f.AddG("g");
    for (Long i : oneTo(3)) sound(*f.ItemX(i));
    f.ItemX(3)->Name = "";
    expectProblem("Name is missing", " for X 3", "Parameter", 3);
    f.ItemX(3)->Name = "n";
    expectProblem("DefName is missing", " for Y 1", "Response", 1);
    sound(*f.ItemY(1));
    f.AddC("c");
    expectProblem("DefName is missing", " for Constraint 1", "Constraint", 1);
    f.RemoveC("c");
    expectProblem("DefName is missing", " for Goal 1", "Goal", 1);
    sound(*f.ItemG(1));
    item = 7;
    expectProblem("Stopping rule is not recognized", "", "Options", 7);
    sound(*f.Options);
    EXPECT_TRUE(f.formulationOK(source, item, cause, true));
    EXPECT_EQ(cause, "");

    f.Xs = std::make_shared<KeyedCollection<X>>(); // the count stays
    expectProblem("Subscript out of range", " for X 1", "Parameter", 1);
}

TEST_F(Validation, FormulationKeepsCountsAndSequence)
{
    c_Formulation f;
    f.AddX("");
    EXPECT_EQ(f.CountX(), 0);
    f.AddX("a");
    f.CalcSequence(1, 11);
    f.AddX("b");
    f.CalcSequence(2, 22);
    f.RecalcFlags(2, true);
    f.CalcSequence(0, 5);
    f.CalcSequence(3, 5);
    EXPECT_EQ(f.CalcSequence(0), 0);
    EXPECT_EQ(f.CalcSequence(1), 11);
    EXPECT_FALSE(f.RecalcFlags(3));

    EXPECT_EQ(f.ItemX(2), f.ItemX("b"));
    EXPECT_EQ(f.ItemX(2)->id, "b");
    for (const Variant& missing : {Variant{3}, Variant{"c"}, Variant{0}, Variant{}, Variant{1e12}})
        EXPECT_EQ(f.ItemX(missing), nullptr);

    test::expectRaises(errors::DuplicateKey, [&] { f.AddX("a"); });
    test::expectRaises(errors::InvalidCall, [&] { f.RemoveX("c"); });
    EXPECT_EQ(f.CountX(), 2);
    f.RemoveX("a");
    EXPECT_EQ(f.CountX(), 1);
    EXPECT_EQ(f.CalcSequence(1), 11); // the entry of the removed parameter stays, the last one goes
    EXPECT_EQ(f.CalcSequence(2), 0);
    f.AddX("d");
    EXPECT_FALSE(f.RecalcFlags(2));

    f.Clear();
    EXPECT_EQ(f.ItemX(1), nullptr);
    EXPECT_EQ(f.CalcSequence(1), 0);
    test::expectRaises(errors::ObjectNotSet, [&] { f.AddX("e"); });
}

} // namespace
} // namespace varnex3
