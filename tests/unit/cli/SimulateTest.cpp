// tests/unit/cli/SimulateTest.cpp - simulations: figures against closed forms and the trials themselves, one
// seed and the same bits, correlations, a trial that fails, Ctrl-C, refusals.
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "Program.h"
#include "runtime/Number.h"

namespace varnex3::cli {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class Simulate : public testing::Test {
protected:
    Simulate()
    {
        folder.copy(CORVANE_EXAMPLES "/stackup/stackup.xlsx", "stackup.xlsx");
        folder.copy(CORVANE_EXAMPLES "/stackup/stackup.toml", "stackup.toml");
        folder.copy(CORVANE_TEST_DATA "/workbooks/study_cells.xlsx", "design.xlsx");
    }

    json document(const std::string& name) { return json::parse(folder.read(name)); }

    /// x in Design!B1 with a distribution, the response in another cell.
    std::string study(const std::string& distribution, const std::string& response,
                      const std::string& more = "")
    {
        return "workbook = \"design.xlsx\"\n[[parameter]]\nid = \"x\"\ncell = \"Design!B1\"\ntype = "
               "\"Noise\"\ndistribution = " +
               distribution + "\n[[response]]\nid = \"y\"\ncell = \"" + response + "\"\n" + more;
    }

    /// The example's study with one text replaced.
    std::string changed(const std::string& from, const std::string& to)
    {
        std::string text = folder.read("stackup.toml");
        const auto at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        return text.replace(at, from.size(), to);
    }

    Folder folder;
};

TEST_F(Simulate, FiguresAgreeWithTheTrialsAndWithTheClosedForm)
{
    const Outcome outcome = folder.run(
        {"simulate", "stackup.toml", "--trials", "5000", "--json", "out.json", "--csv", "out.csv"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Done: 5000 trials."));
    EXPECT_THAT(outcome.out, HasSubstr(" LSL\n"));

    std::istringstream lines(folder.read("out.csv"));
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "trial,Housing,Left bearing,Right bearing,Left spacer,Right spacer,Gear hub,Gap");
    std::vector<double> gaps;
    double below = 0;
    while (std::getline(lines, line)) {
        std::vector<double> fields;
        std::istringstream row(line);
        for (std::string field; std::getline(row, field, ',');) fields.push_back(*parseNumber(field));
        ASSERT_EQ(fields.size(), 8U);
        EXPECT_EQ(fields[0], static_cast<double>(gaps.size() + 1));
        EXPECT_NEAR(fields[7], fields[1] - fields[2] - fields[3] - fields[4] - fields[5] - fields[6], 1e-12);
        gaps.push_back(fields[7]);
        below += fields[7] < 0.15;
    }
    ASSERT_EQ(gaps.size(), 5000U);
    std::sort(gaps.begin(), gaps.end());

    const json y = document("out.json")["responses"][0];
    EXPECT_EQ(y["percentiles"]["50"], 0.5 * (gaps[2499] + gaps[2500]));
    EXPECT_EQ(y["minimum"], gaps.front());
    EXPECT_EQ(y["maximum"], gaps.back());
    EXPECT_EQ(y["pnc"]["below"], below / 5000);
    // 0.04^2 + 2 s^2 (1 + 0.5) + 2 0.02^2 (1 + 0.8) + hub, s of the truncated bearings 0.0197295
    EXPECT_NEAR(y["yStats"][0], 0.32, 0.0005);
    EXPECT_NEAR(y["yStats"][1], 0.07314, 0.015 * 0.07314);
}

TEST_F(Simulate, OneSeedGivesTheSameBitsAnotherDoesNot)
{
    const auto trials = [&](const char* seed, const char* sampling) {
        EXPECT_EQ(folder
                      .run({"simulate", "stackup.toml", "--trials", "200", "--seed", seed, "--sampling",
                            sampling, "--quiet", "--csv", "t.csv"})
                      .code,
                  0);
        return folder.read("t.csv");
    };
    const std::string first = trials("5", "lhs");
    EXPECT_EQ(trials("5", "lhs"), first);
    EXPECT_NE(trials("6", "lhs"), first);
    EXPECT_NE(trials("5", "random"), first);
}

TEST_F(Simulate, SavesACopyWithResultsAndTrials)
{
    const std::string before = folder.read("stackup.xlsx");
    ASSERT_EQ(folder
                  .run({"simulate", "stackup.toml", "--trials", "300", "-q", "--csv", "t.csv", "--json",
                        "out.json", "--save", "out.xlsx"})
                  .code,
              0);
    EXPECT_EQ(folder.read("stackup.xlsx"), before);
    ASSERT_EQ(folder
                  .run({"calc", "out.xlsx", "--get", "'MC Data1'!A1:H301", "--get", "'MC Results'!C2",
                        "--get", "housing", "--json", "cells.json"})
                  .code,
              0);
    const json cells = document("cells.json"), y = document("out.json")["responses"][0];
    const std::string text = cells.dump();
    EXPECT_THAT(text, HasSubstr("\"Gear hub\",\"Gap\""));
    EXPECT_THAT(text, HasSubstr("[300.0,"));
    EXPECT_THAT(text, HasSubstr(y["yStats"][0].dump()));
    EXPECT_THAT(text, HasSubstr("80.0")); // the housing as it was
    EXPECT_EQ(folder.run({"check", "out.xlsx"}).code, 0);
}

TEST_F(Simulate, CheckTellsOfAComponentTooNarrowForTheMoments)
{
    const Outcome sound = folder.run({"check", "stackup.toml", "--json", "-"});
    EXPECT_EQ(sound.code, 0) << sound.err;
    EXPECT_TRUE(json::parse(sound.out)["warnings"].empty());
    folder.write("s.toml", changed("mean = 20.98, stdev = 0.02", "mean = 25, stdev = 0.0001"));
    EXPECT_THAT(folder.run({"check", "s.toml"}).out, HasSubstr("Warning: parameter \"hub\": the moments"));
}

TEST_F(Simulate, ContradictingCorrelationsShowGivenAndApplied)
{
    folder.write("s.toml", changed("bearing_left = { bearing_right = 0.5 }",
                                   "bearing_left = { bearing_right = 0.9, housing = 0.9 }\n"
                                   "bearing_right = { housing = -0.9 }"));
    const Outcome outcome = folder.run({"simulate", "s.toml", "--trials", "500", "--json", "out.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("the nearest consistent ones were applied"));
    const json list = document("out.json")["correlations"];
    const double applied[] = {0.5, 0.5, -0.5, 0.8};
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(list[i]["applied"], applied[i], 1e-6) << i;
    EXPECT_EQ(list[2]["given"], -0.9);
}

TEST_F(Simulate, NoFailureStillHasAnUpperBound)
{
    folder.write("s.toml", study("{ type = \"Uniform\", lower_end = 0, upper_end = 1 }", "Design!B8",
                                 "usl = 1000\n[monte_carlo]\nalpha = 0.1\n"));
    ASSERT_EQ(folder.run({"simulate", "s.toml", "--trials", "1000", "-q", "--json", "out.json"}).code, 0);
    const json pnc = document("out.json")["responses"][0]["pnc"];
    EXPECT_EQ(pnc["observed"], 0.0);
    EXPECT_NEAR(pnc["maxPNC"], 1 - std::pow(0.1, 1.0 / 1000), 1e-14);
    EXPECT_NEAR(pnc["exactUpper"], 1 - std::pow(0.05, 1.0 / 1000), 1e-12);
    EXPECT_EQ(pnc["exactLower"], 0.0);
}

TEST_F(Simulate, AFailingTrialIsNamedWithWhatRepeatsIt)
{
    folder.write("s.toml", study("{ type = \"Uniform\", lower_end = 2, upper_end = 3.1 }", "Design!B2"));
    const Outcome outcome = folder.run({"simulate", "s.toml", "--trials", "500", "--seed", "3", "-q"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("the response \"y\" in Design!B2 holds #NUM!"));
    const std::string before = "--set 'Design!B1=";
    const auto at = outcome.err.find(before);
    ASSERT_NE(at, std::string::npos) << outcome.err;
    const auto from = at + before.size();
    const std::string value = outcome.err.substr(from, outcome.err.find('\'', from) - from);
    EXPECT_GT(*parseNumber(value), 3.0);
    EXPECT_EQ(folder.run({"calc", "design.xlsx", "--set", "Design!B1=" + value, "--get", "Design!B2"}).code,
              1);
}

TEST_F(Simulate, ADrawThatIsRefusedInATrialIsNamed)
{
    std::string two = study("{ type = \"Uniform\", lower_end = 0, upper_end = 1 }", "Design!B2");
    two.replace(two.find("[[response]]"), 0,
                "[[parameter]]\nid = \"z\"\ncell = \"Design!Z1\"\ntype = \"Noise\"\nname = \"Second\"\n"
                "distribution = { type = \"Normal\", mean = 0, stdev = \"Design!B1\" }\n");
    // the spread of the second is the first, which falls below 0
    two.replace(two.find("lower_end = 0"), 13, "lower_end = -1");
    folder.write("s.toml", two);
    const Outcome outcome = folder.run({"simulate", "s.toml", "--trials", "50", "--seed", "3", "-q"});
    EXPECT_EQ(outcome.code, 1) << outcome.out;
    EXPECT_THAT(outcome.err, HasSubstr("the distribution of \"Second\": Standard deviation of the Normal "
                                       "distribution is negative"));
    EXPECT_THAT(outcome.err, HasSubstr("Design!B1=-0."));
}

// Every quarter of the trials is one value; a value on a limit passes and stands on the inner side of its
// line.
TEST_F(Simulate, TheHistogramSeparatesAtTheLimits)
{
    folder.write("s.toml",
                 study("{ type = \"Discrete\", values = [1, 2, 3, 4] }", "Design!B1", "lsl = 2\nusl = 3\n"));
    const Outcome outcome = folder.run({"simulate", "s.toml", "--trials", "400", "-q"});
    std::istringstream lines(outcome.out);
    long long counted = 0;
    std::vector<long long> parts;
    for (std::string line; std::getline(lines, line);) {
        if (line.find(" +--") != std::string::npos) parts.push_back(std::exchange(counted, 0));
        if (line.find(" |") == std::string::npos) continue;
        counted += static_cast<long long>(*parseNumber(line.substr(line.find_last_of(" #") + 1)));
    }
    parts.push_back(counted);
    EXPECT_EQ(parts, (std::vector<long long>{100, 200, 100})) << outcome.out;
}

TEST_F(Simulate, CtrlCReportsCompletedTrialsAndWholeBatchesOfCorrelatedOnes)
{
    struct Case {
        std::string text;
        int batch;
    };
    const std::string settings = "[monte_carlo]\nsample_size = 1000\n";
    const Case cases[] = {
        {study("{ type = \"Normal\", mean = 1, stdev = 0.1 }", "Design!B8", settings), 1},
        {changed("trials = 20000", "sample_size = 1000"), 1000},
    };
    for (const Case& c : cases) {
        folder.write("s.toml", c.text);
        const pid_t child =
            folder.start({"simulate", "s.toml", "--trials", "20000000", "--json", "out.json"});
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        kill(child, SIGINT);
        const Outcome outcome = folder.finish(child);
        EXPECT_EQ(outcome.code, 130) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr("INCOMPLETE: cancelled, "));
        const json result = document("out.json");
        EXPECT_EQ(result["status"], "incomplete");
        const int trials = result["LastTrial"];
        EXPECT_GT(trials, 1);
        EXPECT_LT(trials, 20000000);
        EXPECT_EQ(trials % c.batch, 0);
        EXPECT_NE(result["responses"][0]["yStats"][1], 0.0);
    }
}

TEST_F(Simulate, RefusesWrongEntriesWithLineAndKey)
{
    const struct {
        const char *from, *to, *message;
    } cases[] = {
        {"mean = 80.0, stdev = 0.04", "mean = 80.0, stdev = -1",
         ":9: parameter[1].distribution: Standard deviation"},
        {"mean = 80.0, ", "", "the key \"mean\" is missing"},
        {"\"Normal\", mean = 80.0", "\"Normel\", mean = 80.0", "did you mean \"Normal\"?"},
        {"weight = 2", "weight = 0", "distribution[1].weight: a weight must be greater than 0"},
        {"spacer_right = 0.8", "spacer_rigt = 0.8", "did you mean \"spacer_right\"?"},
        {"spacer_right = 0.8", "spacer_right = 1.8",
         "correlations.spacer_left.spacer_right: a correlation lies"},
        {"bearing_left = { bearing_right", "spacer_right = { spacer_left", "stands twice"},
        {"trials = 20000", "trials = 49", "monte_carlo.trials: 50 or more are needed"},
        {"seed = 1", "sampling = \"latin\"", "monte_carlo.sampling"},
        {"type = \"Noise\"", "type = \"Constant\"", "does not vary"},
    };
    for (const auto& c : cases) {
        folder.write("s.toml", changed(c.from, c.to));
        const Outcome outcome = folder.run({"simulate", "s.toml"});
        EXPECT_EQ(outcome.code, 2) << c.to;
        EXPECT_THAT(outcome.err, HasSubstr("s.toml:"));
        EXPECT_THAT(outcome.err, HasSubstr(c.message)) << c.to;
    }
    folder.write("s.toml", study("{ type = \"Normal\", mean = 1, stdev = 0.1 }", "Design!Z99"));
    EXPECT_THAT(folder.run({"simulate", "s.toml"}).err, HasSubstr("the cell Design!Z99 is empty"));
    for (const char* copy : {"stackup.xlsx", "out.ods"}) {
        const std::string before = folder.read("stackup.xlsx");
        const Outcome outcome = folder.run({"simulate", "stackup.toml", "-q", "--save", copy});
        EXPECT_EQ(outcome.code, 2) << copy;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(folder.read("stackup.xlsx"), before);
    }
}

} // namespace
} // namespace varnex3::cli
