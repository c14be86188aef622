// tests/unit/cli/ToleranceTest.cpp - tolerances in a study: read, propagated, allocated, written back.
#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

#include <nlohmann/json.hpp>

#include "Program.h"

namespace varnex3::cli {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class Tolerance : public testing::Test {
protected:
    Tolerance()
    {
        folder.copy(CORVANE_TEST_DATA "/workbooks/study_cells.xlsx", "design.xlsx");
        for (const std::string name : {"bearing_clearance", "one_way_clutch", "piston_clearance"})
            for (const std::string ending : {".xlsx", ".toml"})
                folder.copy(CORVANE_EXAMPLES "/" + name + "/" + name + ending, name + ending);
    }
    /// Runs with --json and gives the document.
    json run(std::vector<std::string> arguments, int code = 0)
    {
        arguments.insert(arguments.end(), {"--json", "out.json"});
        const Outcome outcome = folder.run(arguments);
        EXPECT_EQ(outcome.code, code) << outcome.err;
        return json::parse(folder.read("out.json"));
    }
    Folder folder;
};

/// A study on y = x^2 + 7.5 with these lines in its parameter.
std::string study(const std::string& lines, const std::string& input = "Design!B1",
                  const std::string& response = "cell = \"Design!B8\"")
{
    return "workbook = \"design.xlsx\"\n\n[[parameter]]\nid = \"x\"\ncell = \"" + input + "\"\n" + lines +
           "\n[[response]]\nid = \"y\"\n" + response + "\n";
}

TEST_F(Tolerance, BecomesAStandardDeviation)
{
    folder.write("s.toml", study("stdev = 0.1\n"));
    const double x = run({"sensitivity", "s.toml"})["responses"][0]["inputs"][0]["mean"];
    const std::pair<const char*, double> cases[] = {
        {"half_width = 0.3", 0.1},
        {"half_width = 0.3, sigma = 4", 0.075},
        {"half_width = 0.3, distribution = \"uniform\"", 0.3 / std::numbers::sqrt3},
        {"half_width = 5, unit = \"percent\"", std::fabs(x) * 0.05 / 3},
    };
    for (const auto& [entry, stdev] : cases) {
        SCOPED_TRACE(entry);
        folder.write("s.toml", study("tolerance = { " + std::string(entry) + " }\n"));
        const json y = run({"sensitivity", "s.toml"})["responses"][0];
        EXPECT_NEAR(y["inputs"][0]["xStDev"], stdev, 1e-12);
        EXPECT_NEAR(y["responseStDev"], std::fabs(2 * x) * stdev, 1e-6);
        EXPECT_NEAR(y["meanShift"], stdev * stdev, 1e-6);
    }
}

TEST_F(Tolerance, IsRefusedWithItsPlace)
{
    const std::pair<const char*, const char*> cases[] = {
        {"tolerance = { half_width = -1 }", "parameter[1].tolerance.half_width: it cannot be negative"},
        {"tolerance = { half_width = 1, sigma = 0 }", "parameter[1].tolerance.sigma: a number above 0"},
        {"tolerance = { half_width = 1, sigma = 3, distribution = \"uniform\" }", "remove \"sigma\""},
        {"tolerance = { half_width = 1, unit = \"inch\" }", "parameter[1].tolerance.unit"},
        {"tolerance = { sigma = 3 }", "\"half_width\" is missing"},
        {"tolerance = 0.1", "tolerance = { half_width = 0.1, sigma = 3 }"},
        {"stdev = 1\ntolerance = { half_width = 1 }", "s.toml:7: parameter[1].tolerance: give either"},
        {"type = \"Noise\"\ntolerance = { half_width = 1 }", "takes no tolerance"},
        {"stdev = 1\nkeep = \"yes\"", "parameter[1].keep: true or false is needed"},
        {"stdev = 1\ndriver = -1", "parameter[1].driver"},
        {"stdev = -1", "s.toml:6: parameter[1].stdev: Negative standard deviation"},
        {"stdev = \"Design!B3\"", "parameter[1].stdev: the cell Design!B3 holds \"steel\""},
        {"", "\"stdev\" or \"tolerance\""},
    };
    for (const auto& [lines, words] : cases) {
        folder.write("s.toml", study(std::string(lines) + "\n"));
        const Outcome outcome = folder.run({"sensitivity", "s.toml"});
        EXPECT_EQ(outcome.code, 2) << lines;
        EXPECT_THAT(outcome.err, HasSubstr(words));
    }
}

TEST_F(Tolerance, CellsAndLimitsThatCannotBeAnalysedAreRefusedWithTheirPlace)
{
    const char* const kSpread = "stdev = 0.1\n";
    const std::pair<std::string, const char*> cases[] = {
        {study(kSpread, "Design!C9"), "s.toml:5: parameter[1].cell: the cell Design!C9 is empty"},
        {study(kSpread, "Design!B4"), "parameter[1].cell: the cell Design!B4 holds a formula; name the cell"},
        {study(kSpread, "Design!B1", "cell = \"Design!C9\""), "s.toml:10: response[1].cell: the cell"},
        {study(kSpread, "Design!B1", "cell = \"Design!B8\"\nusl = \"Design!B3\""),
         "s.toml:11: response[1].usl"},
        {study(kSpread, "Design!B1", "cell = \"Design!B8\"\nlsl = 2\nusl = 1"), "response[1].lsl"},
    };
    for (const auto& [text, words] : cases) {
        folder.write("s.toml", text);
        const Outcome outcome = folder.run({"sensitivity", "s.toml"});
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.err, HasSubstr(words));
    }
    folder.write("s.toml", study("stdev = 0\n"));
    EXPECT_EQ(run({"sensitivity", "s.toml"})["responses"][0]["responseStDev"], 0.0);
    folder.write("s.toml", study("stdev = 1e200\n"));
    EXPECT_THAT(folder.run({"sensitivity", "s.toml"}).err, HasSubstr("Overflow"));
}

TEST_F(Tolerance, WishesThatAreNoneAreRefusedBeforeAnyWork)
{
    const std::vector<const char*> wishes[] = {{"--stdev", "nan"},
                                               {"--stdev", "0"},
                                               {"--pnc", "1"},
                                               {"--stdev", "1", "--disparity", "nan"},
                                               {"--stdev", "1", "--pnc", "0.1"},
                                               {"--stdev", "1", "--write-study", "no/folder.toml"}};
    for (const auto& wish : wishes) {
        std::vector<std::string> arguments = {"allocate", "bearing_clearance.toml", "--response",
                                              "clearance"};
        arguments.insert(arguments.end(), wish.begin(), wish.end());
        const Outcome outcome = folder.run(arguments);
        EXPECT_EQ(outcome.code, 2) << wish[1];
        EXPECT_EQ(outcome.out, "");
        EXPECT_LT(outcome.err.size(), 150U) << outcome.err;
    }
}

TEST_F(Tolerance, StepsThatAreTooSmallAreWarnedOfByEveryCommand)
{
    const char* const kWarning = "step of the quick derivatives for x (0.0002) is below a ten-thousandth";
    folder.write("s.toml",
                 study("range = [1.9, 2]\nstdev = 3\n", "Design!B1", "cell = \"Design!B8\"\nusl = 7") +
                     "\n[[goal]]\nid = \"g\"\nresponse = \"y\"\noper = \">=\"\ntarget = 99\n\n[options]\n"
                     "Stats = \"2nd Order Sensitivity Analysis\"\nStopRule = \"Stop after fixed #\"\n"
                     "MaxGens = 20\nGenSize = 20\n");
    EXPECT_THAT(folder.run({"sensitivity", "s.toml"}).out, HasSubstr(kWarning));
    EXPECT_THAT(folder.run({"allocate", "s.toml", "--response", "y", "--stdev", "1"}).out,
                HasSubstr(kWarning));
    const Outcome none = folder.run({"allocate", "s.toml", "--response", "y", "--pnc", "0.1"});
    EXPECT_EQ(none.code, 1);
    EXPECT_THAT(none.err, HasSubstr(kWarning)) << "a failure may be due to it";
    EXPECT_THAT(folder.run({"optimize", "s.toml", "--quiet", "--seed", "1"}).out,
                HasSubstr("step of the quick derivatives for x ("));
}

TEST_F(Tolerance, AnInputThatDoesNotMoveTheResponseIsLeftAlone)
{
    folder.write("s.toml",
                 study("stdev = 0.1\n\n[[parameter]]\nid = \"idle\"\ncell = \"Design!B6\"\nstdev = 0.2\n",
                       "Design!B1", "cell = \"Design!B4\"")); // y = 2 x
    const json a =
        run({"allocate", "s.toml", "--response", "y", "--stdev", "1", "--write-study", "new.toml"});
    EXPECT_NEAR(a["inputs"][0]["allocated"], 0.5, 1e-9);
    EXPECT_EQ(a["inputs"][1]["allocated"], 0.2);
    EXPECT_THAT(folder.read("new.toml"), HasSubstr("stdev = 0.2\n"));
}

TEST_F(Tolerance, AllocationClosesAndCanBeWrittenBack)
{
    const json a = run({"allocate", "bearing_clearance.toml", "--response", "clearance", "--stdev", "0.005",
                        "--cost", "--verify", "--seed", "1", "--write-study", "new.toml"});
    EXPECT_NEAR(a["predicted"]["responseStDev"], 0.005, 1e-12 * 0.005 + 1e-17);
    const double published[] = {0.0015, 0.01116, 0.0025, 0.00279, 0.00837, 0.00279, 0.0025};
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_NEAR(a["inputs"][i]["allocatedHalfWidth"], published[i], 5e-6) << i;
    const json& seen = a["observed"];
    EXPECT_LT(seen["stdevBounds"][0], 0.005);
    EXPECT_GT(seen["stdevBounds"][1], 0.005);

    const json again = run({"sensitivity", "new.toml"})["responses"][0];
    EXPECT_NEAR(again["responseStDev"], 0.005, 1e-15);
    EXPECT_THAT(folder.read("new.toml"),
                HasSubstr("# before: tolerance = { half_width = 0.008, sigma = 3 }"));
}

// Published with two or four digits, probabilities from a table entered with two decimals: the bounds below.
TEST_F(Tolerance, TheTextbookFitIsAsPublished)
{
    const json y = run({"sensitivity", "piston_clearance.toml"})["responses"][0];
    EXPECT_NEAR(y["responseMean"], 0.06, 1e-15);
    EXPECT_NEAR(y["responseStDev"], 0.01458, 5e-6);
    EXPECT_NEAR(y["PNC_lsl"], 0.2451, 0.002);
    EXPECT_NEAR(1.0 - y["PNC_total"].get<double>(), 0.7352, 0.002);
    const json best = run({"optimize", "piston_clearance.toml", "--seed", "1", "--quiet"});
    EXPECT_NEAR(best["responses"][0]["Mean"], 0.07, 1e-4);
}

TEST_F(Tolerance, AllocationMeetsAProbabilityAlthoughTheMeanShifts)
{
    const json a = run({"allocate", "one_way_clutch.toml", "--response", "angle", "--pnc", "0.01"});
    EXPECT_NEAR(a["predicted"]["PNC_total"], 0.01, 1e-9);
    EXPECT_NE(a["predicted"]["responseMean"], a["before"]["responseMean"]);
}

TEST_F(Tolerance, SaysWhatCannotBeAllocated)
{
    // The bought parts alone spread by 0.00128.
    const json a =
        run({"allocate", "bearing_clearance.toml", "--response", "clearance", "--stdev", "0.001"}, 3);
    EXPECT_FALSE(a["reached"]);
    EXPECT_EQ(a["inputs"][1]["allocated"], 0.0);
    const Outcome tiny =
        folder.run({"allocate", "bearing_clearance.toml", "--response", "clearance", "--pnc", "1e-12"});
    EXPECT_EQ(tiny.code, 1);
    EXPECT_THAT(tiny.err, HasSubstr("No standard deviation gives End clearance"));
}

TEST_F(Tolerance, AccurateDerivativesAcrossACliffAreWarnedOf)
{
    EXPECT_EQ(run({"sensitivity", "one_way_clutch.toml"})["warnings"].size(), 0U);
    EXPECT_GE(run({"sensitivity", "one_way_clutch.toml", "--derivs", "accurate"})["warnings"].size(), 1U);
}

} // namespace
} // namespace varnex3::cli
