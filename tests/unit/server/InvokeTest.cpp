// Members used by name, as a macro uses them: conversions, defaults, results by reference, outside hosts.
#include <limits>
#include <memory>

#include "server/Classes.h"
#include "server/Invoke.h"
#include "server/ScriptedHost.h"
#include "support/Expect.h"

namespace varnex3::server {
namespace {

using test::expectRaises;

/// A late-bound object as a macro writes it.
class Late {
public:
    explicit Late(const ObjectRef& object) : bound_(lateBound(object)) {}
    explicit Late(const Variant& v) : Late(v.object()) {}
    static Late create(const char* name) { return Late(createObject(std::string("varnex3.") + name)); }

    template <class... A>
    Variant get(std::string_view name, A&&... arguments) const
    {
        Variant list[sizeof...(A) + 1] = {Variant(std::forward<A>(arguments))...};
        return bound_->invoke(name, InvokeKind::Read, std::span<Variant>(list, sizeof...(A)));
    }
    Variant call(std::string_view name, std::vector<Variant>& arguments) const
    {
        return bound_->invoke(name, InvokeKind::Read, arguments);
    }
    template <class... A>
    void put(std::string_view name, A&&... arguments) const
    {
        Variant list[] = {Variant(std::forward<A>(arguments))...};
        bound_->invoke(name, InvokeKind::Put, list);
    }
    template <class... A>
    void set(std::string_view name, A&&... arguments) const
    {
        Variant list[] = {Variant(std::forward<A>(arguments))...};
        bound_->invoke(name, InvokeKind::PutRef, list);
    }
    const Ref<LateBound>& bound() const { return bound_; }

private:
    Ref<LateBound> bound_;
};

/// An object of another program: shows the fake host only through late-bound calls.
class Foreign final : public LateBound {
public:
    explicit Foreign(const ObjectRef& inside) : inside_(lateBound(inside)) {}

    std::optional<Long> memberId(std::string_view name) override { return inside_->memberId(name); }
    using LateBound::invoke;
    Variant invoke(Long member, InvokeKind kind, std::span<Variant> arguments) override
    {
        const Variant result = inside_->invoke(member, kind, arguments);
        return result.object() ? Variant(Ref<LateBound>(std::make_shared<Foreign>(result.object()))) : result;
    }

private:
    Ref<LateBound> inside_;
};

/// A script's application: Run has two parameters, and nothing else is asked of it.
class ListRunner final : public LateBound {
public:
    std::vector<Variant> last;
    int calls = 0;

    std::optional<Long> memberId(std::string_view) override { return 1; }
    using LateBound::invoke;
    Variant invoke(Long, InvokeKind, std::span<Variant> arguments) override
    {
        ++calls;
        if (arguments.size() != 2) raise(errors::ArgumentCount);
        last.assign(arguments.begin(), arguments.end());
        return 4;
    }
};

class Invoke : public test::LibraryTest {
protected:
    Invoke()
    {
        sheet.set("A1", 2.0);
        sheet.set("A2", 3.0);
        sheet.formula("B1", "=A1*A1*A2",
                      [](test::FakeSheet& s) { return s.number("A1") * s.number("A1") * s.number("A2"); });
        host->macros["before"] = [this](std::span<const Variant>) {
            ++macroRuns;
            return Variant();
        };
    }

    /// Two noise inputs and a response, on cells reached by `cell(row, column)`.
    template <class Cell>
    Late formulation(Cell&& cell)
    {
        const Late f = Late::create("c_Formulation");
        for (int i : {1, 2}) {
            const std::string id = "x" + std::to_string(i);
            f.get("AddX", id);
            f.put("CalcSequence", i, i);
            const Late x(f.get("Xs", id)); // the collection's default member
            x.put("xType", "Noise");
            x.set("mean", cell(i, 1));
            const Late d = Late::create("c_Distribution");
            d.put("DistType", "Normal");
            d.put("param1", 10.0 * i);
            d.put("param2", 0.5);
            d.put("ScaleFactor", 1);
            Late(x.get("dist")).get("Add", d.bound());
        }
        f.get("AddY", "y");
        const Late y(f.get("ItemY", 1));
        y.set("Formula", cell(1, 2));
        y.put("usl", "2200");
        Late(f.get("Options")).put("beforeMacro", "before");
        return f;
    }
    /// The statistics of a simulation of it.
    std::vector<double> simulated(const Late& f, const Variant& application)
    {
        const Late mc = Late::create("c_MonteCarlo");
        mc.set("XLApplication", application);
        mc.get("LoadFormulation", f.bound());
        mc.put("numTrials", 200);
        mc.put("sampleSize", "100");
        mc.put("randSeed", 7);
        mc.put("useLHS", -1);
        EXPECT_EQ(mc.get("RunMC"), Variant(true));
        std::vector<double> stats;
        for (int k = 1; k <= 7; ++k) stats.push_back(*mc.get("yStats", 1, k).asNumber());
        mc.get("ExtractData", "Book1.xlsx");
        return stats;
    }
    int macroRuns = 0;
};

TEST_F(Invoke, ConvertsArgumentsAsTheMacroRuntimeDoes)
{
    const Late options = Late::create("c_Options"), x = Late::create("c_Parameter");
    struct Case {
        const char* member;
        Variant given, held;
    };
    const Case cases[] = {
        {"MaxGens", "12", 12},          {"MaxGens", 2.5, 2},     {"MaxGens", true, -1},
        {"Precision", " 1e-3 ", 0.001}, {"OptTrials", 50, "50"}, {"StoreYs", true, "True"},
        {"Precision", Variant(), 0.0},
    };
    for (const Case& c : cases) {
        options.put(c.member, c.given);
        EXPECT_EQ(options.get(c.member), c.held) << c.member;
    }
    for (const auto& [given, held] : {std::pair<Variant, bool>{"true", true}, {0.0, false}, {"-1", true}}) {
        x.put("needsRecalc", given);
        EXPECT_EQ(x.get("needsRecalc"), Variant(held));
    }
    expectRaises(errors::TypeMismatch, [&] { options.put("MaxGens", "many"); });
    expectRaises(errors::Overflow, [&] { options.put("MaxGens", 3e9); });
    expectRaises(errors::TypeMismatch, [&] { x.set("mean", options.bound()); });
    expectRaises(errors::NoSuchMember, [&] { x.get("median"); });
    expectRaises(errors::NoSuchMember, [&] { x.put("GetMean", 1); });
    expectRaises(errors::NoSuchMember, [&] { x.put("SearchMin", x.bound()); }); // it has no default member

    x.put("SearchMin", Variant(sheet.range("A1"))); // a cell assigned by value is its value
    x.put("stdev", Variant(sheet.range("A2")));
    EXPECT_EQ(x.get("SearchMin"), Variant(2.0));
    EXPECT_EQ(x.get("stdev"), Variant(3.0));
}

TEST_F(Invoke, FillsInDefaultsAndWritesResultsBack)
{
    const Late s = Late::create("c_Statistics"), x = Late::create("c_Parameter"),
               f = Late::create("c_Formulation");
    EXPECT_EQ(s.get("NormPDF", 0.0), s.get("NormPDF", 0.0, missingArgument(), 1.0));
    EXPECT_EQ(s.get("normCDF", 0.5, true), s.get("normCDF", -0.5));

    std::vector<Variant> arguments{0.3, "0"};
    EXPECT_EQ(s.call("findZ", arguments), Variant(0.5));
    EXPECT_EQ(arguments[1], Variant(1)); // digits was raised
    arguments = {0.3, 40000};
    expectRaises(errors::Overflow, [&] { s.call("findZ", arguments); }); // digits is a 16-bit number

    arguments = {5.0, 7};
    x.call("AddFV", arguments);
    EXPECT_EQ(arguments[1], Variant(1));
    x.get("AddFV", 2.0);
    EXPECT_EQ(x.get("FeasVals", 2), Variant(2.0));
    expectRaises(errors::Subscript, [&] { x.get("FeasVals", 3); });

    arguments = {"kept", 9, "", false};
    EXPECT_EQ(f.call("formulationOK", arguments), Variant(false));
    EXPECT_EQ(arguments, (std::vector<Variant>{"kept", 9, "Please define at least one parameter.", false}));

    std::vector<Variant> cells{Variant(sheet.range("A1")), Variant(sheet.range("A2"))};
    arguments = {VariantArray1(std::make_shared<Array1<Variant>>(Array1<Variant>{cells[0], cells[1]})),
                 Variant(sheet.range("B1")),
                 Variant(),
                 Variant(),
                 "",
                 ""};
    Late::create("c_sa_Analysis").call("CalcDerivatives", arguments);
    const auto derivatives = std::get<DoubleArray1>(arguments[2].held());
    EXPECT_NEAR((*derivatives)(1), 12.0, 1e-9);
    EXPECT_NEAR((*derivatives)(2), 4.0, 1e-9);

    arguments = {1, cells[0], Variant(sheet.range("B1")), "", "", missingArgument(), 1.0};
    EXPECT_NEAR(*Late::create("c_Derivatives").call("Deriv", arguments).asNumber(), 12.0, 1e-9);
    EXPECT_TRUE(isMissing(arguments[5]));
    arguments[5] = 0;
    Late::create("c_Derivatives").call("Deriv", arguments);
    EXPECT_EQ(arguments[5], Variant(0.4)); // a fifth of the cell's value
}

TEST_F(Invoke, CollectionsAddFindAndRemove)
{
    const Late f = Late::create("c_Formulation"), x = Late::create("c_Parameter");
    f.get("AddX", "a");
    const Late items(f.get("Xs"));
    items.get("Add", x.bound(), "b");
    EXPECT_EQ(items.get("Count"), Variant(2));
    EXPECT_EQ(behindFace(x.bound()), items.get("Item", "b").object());
    EXPECT_EQ(f.get("Xs", 2), items.get("Item", "b"));
    expectRaises(errors::DuplicateKey, [&] { items.get("Add", x.bound(), "a"); });
    expectRaises(errors::TypeMismatch, [&] { items.get("Add", f.bound()); });
    items.get("Remove", "a");
    EXPECT_EQ(items.get("Count"), Variant(1));
    EXPECT_EQ(f.get("ItemX", "a"), Variant(ObjectRef()));
    const Late other = Late::create("c_Formulation");
    other.set("Xs", items.bound());
    EXPECT_EQ(other.get("ItemX", 1), items.get("Item", 1));
}

TEST_F(Invoke, CorrelationListsAreArraysOfTexts)
{
    const Late f = formulation([&](int row, int column) { return Variant(sheet.Cells(row, column)); });
    const Late mc = Late::create("c_MonteCarlo");
    mc.get("LoadFormulation", f.bound());
    mc.get("ClearCorrelations");
    Array2<Variant> list(3, 1);
    list(1, 1) = "x1";
    list(2, 1) = "x2";
    list(3, 1) = 0.5; // a number reads as its text
    mc.get("AddCorrelations", VariantArray2(std::make_shared<Array2<Variant>>(list)));
    EXPECT_EQ(mc.get("CorrelationList", 1, 3), Variant("0.5"));
    expectRaises(errors::TypeMismatch, [&] { mc.get("AddCorrelations", "x1"); });
}

TEST_F(Invoke, AScriptWithoutVariableArgumentListsGetsAnArray)
{
    const auto script = std::make_shared<ListRunner>();
    ScriptedApplication application{Ref<LateBound>(script)};
    const Variant arguments[] = {1, "two"};
    EXPECT_EQ(application.Run("Report", arguments), Variant(4));
    EXPECT_EQ(script->last[0], Variant("Report"));
    EXPECT_EQ(*std::get<VariantArray1>(script->last[1].held()), (Array1<Variant>{1, "two"}));
    EXPECT_EQ(script->calls, 2); // refused once
    application.Run("Before");
    EXPECT_TRUE(std::get<VariantArray1>(script->last[1].held())->empty());
    EXPECT_EQ(script->calls, 3);
}

// The same study on the host itself and on its shadow made of late-bound objects.
TEST_F(Invoke, AnOutsideHostGivesTheSameNumbersToTheLastBit)
{
    const auto inside =
        simulated(formulation([&](int row, int column) { return Variant(sheet.Cells(row, column)); }), host);
    const int insideRuns = std::exchange(macroRuns, 0);

    const ObjectRef application = std::make_shared<Foreign>(host);
    const Late book(Late(application).get("ActiveWorkbook")),
        first(Late(book.get("Worksheets")).get("Item", 1));
    const auto outside = simulated(
        formulation([&](int row, int column) { return first.get("Cells", row, column); }), application);
    EXPECT_EQ(outside, inside);
    EXPECT_EQ(macroRuns, insideRuns);
    EXPECT_GE(macroRuns, 200);
    EXPECT_EQ(user.boxes, test::Lines{});

    const Late y = Late::create("c_Response");
    const Variant cell = first.get("Cells", 1, 2);
    y.set("Formula", cell);
    y.set("usl", cell);
    EXPECT_EQ(y.get("Formula"), cell); // comes back as the object that was handed in
    EXPECT_EQ(y.get("usl"), cell);
    EXPECT_EQ(test::raisedBy([&] { Late(application).get("Run", "nothing"); }).number, errors::HostFailure);
}

} // namespace
} // namespace varnex3::server
