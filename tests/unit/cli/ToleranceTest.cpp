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
        for (const std::string name : {"bearing_clearance", "one_way_clutch"})
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
std::string study(const std::string& lines)
{
    return "workbook = \"design.xlsx\"\n\n[[parameter]]\nid = \"x\"\ncell = \"Design!B1\"\n" + lines +
           "\n[[response]]\nid = \"y\"\ncell = \"Design!B8\"\n";
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
    };
    for (const auto& [lines, words] : cases) {
        folder.write("s.toml", study(std::string(lines) + "\n"));
        const Outcome outcome = folder.run({"sensitivity", "s.toml"});
        EXPECT_EQ(outcome.code, 2) << lines;
        EXPECT_THAT(outcome.err, HasSubstr(words));
    }
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
