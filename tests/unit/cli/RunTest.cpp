// tests/unit/cli/RunTest.cpp - whole runs: results, files, exit codes, and what goes to which stream.
#include <gmock/gmock.h>

#include <cmath>
#include <csignal>

#include <chrono>
#include <thread>

#include <nlohmann/json.hpp>

#include "Program.h"

namespace varnex3::cli {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

const std::string kBeam = CORVANE_EXAMPLES "/welded_beam/";

// x is Design!B1; B2 is SQRT(3 - x); B8 is x^2 + 7.5.
std::string study(const std::string& response, double greatest, double required,
                  const std::string& generations)
{
    return "workbook = \"design.xlsx\"\n[[parameter]]\nid = \"x\"\ncell = \"Design!B1\"\nrange = [0, " +
           std::to_string(greatest) + "]\n[[response]]\nid = \"y\"\ncell = \"" + response +
           "\"\n[[constraint]]\nid = \"c\"\nresponse = \"y\"\noper = \">=\"\nreqt = " +
           std::to_string(required) +
           "\n[[goal]]\nid = \"g\"\nresponse = \"y\"\noper = \"<=\"\ntarget = 0\n" +
           "[options]\nStopRule = \"Stop after fixed #\"\nMaxGens = " + generations + "\nGenSize = 20\n";
}

class Run : public testing::Test {
protected:
    Run()
    {
        folder.copy(CORVANE_TEST_DATA "/workbooks/study_cells.xlsx", "design.xlsx");
        folder.copy(kBeam + "welded_beam.xlsx", "welded_beam.xlsx");
        folder.copy(kBeam + "welded_beam.toml", "beam.toml");
    }

    json document(const std::string& name) { return json::parse(folder.read(name)); }

    Folder folder;
};

TEST_F(Run, FindsTheBestDesignAndTellsItTheSameWayEverywhere)
{
    folder.write("s.toml", study("Design!B8", 3, 9, "60"));
    const Outcome outcome =
        folder.run({"optimize", "s.toml", "--seed", "7", "--json", "out.json", "--csv", "out.csv"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Done. The best design found:"));
    EXPECT_THAT(outcome.out, HasSubstr("Seed 7, "));
    EXPECT_THAT(outcome.out, Not(HasSubstr("generation 1:")));
    EXPECT_THAT(outcome.err, Not(HasSubstr("best design")));

    const json result = document("out.json");
    const double x = result["parameters"][0]["best"], y = result["responses"][0]["Mean"];
    EXPECT_NEAR(x, std::sqrt(1.5), 0.01); // the least x^2 + 7.5 that reaches 9
    EXPECT_EQ(y, x * x + 7.5);
    EXPECT_EQ(result["constraintsMet"], true);
    EXPECT_EQ(result["seed"], 7);
    EXPECT_EQ(result["genX"].size(), 20u);
    EXPECT_EQ(result["genX"][0][0], x);
    EXPECT_EQ(result["genY"][0][0], y);
    EXPECT_EQ(result["generations"].back()["bestX"][0], x);
    EXPECT_THAT(folder.read("out.csv"), testing::StartsWith("member,x,y,y StDev,y pnc,constraint violation"));
    EXPECT_THAT(folder.files(), testing::ElementsAre("beam.toml", "design.xlsx", "out.csv", "out.json",
                                                     "s.toml", "welded_beam.xlsx"));
}

TEST_F(Run, RepeatsToTheLastBitWithASeed)
{
    json results[3];
    const char* seeds[] = {"5", "5", "6"};
    for (int i = 0; i < 3; ++i) {
        const Outcome outcome = folder.run(
            {"optimize", "beam.toml", "--seed", seeds[i], "--max-gens", "40", "--json", "-", "--quiet"});
        EXPECT_EQ(outcome.err, "");
        results[i] = json::parse(outcome.out); // nothing but the JSON
        results[i].erase("seconds");
    }
    EXPECT_EQ(results[0].dump(), results[1].dump());
    EXPECT_NE(results[0]["genX"], results[2]["genX"]);
}

TEST_F(Run, WithoutASeedTellsTheOneThatRepeatsIt)
{
    ASSERT_EQ(folder.run({"optimize", "beam.toml", "--max-gens", "5", "--json", "a.json"}).code, 0);
    json a = document("a.json");
    const std::string seed = std::to_string(a["seed"].get<long>());
    folder.run({"optimize", "beam.toml", "--max-gens", "5", "--seed", seed, "--json", "b.json"});
    json b = document("b.json");
    EXPECT_EQ(a["genX"].dump(), b["genX"].dump());
    EXPECT_EQ(a["genCount"], b["genCount"]);
}

TEST_F(Run, EndsWith3WhenConstraintsCannotBeMet)
{
    folder.write("s.toml", study("Design!B8", 3, 1000, "5"));
    const Outcome outcome = folder.run({"optimize", "s.toml", "--seed", "1", "--json", "out.json"});
    EXPECT_EQ(outcome.code, 3) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("constraints are not met"));
    EXPECT_THAT(outcome.out, HasSubstr("NOT MET"));
    EXPECT_EQ(document("out.json")["constraintsMet"], false);
    EXPECT_EQ(document("out.json")["constraints"][0]["met"], false);
}

TEST_F(Run, EndsWith1AndTheReportWhenAResponseTurnsIntoAnError)
{
    folder.write("s.toml", study("Design!B2", 30, 0, "20")); // the root of a negative number above 3
    const Outcome outcome = folder.run({"optimize", "s.toml", "--seed", "1", "--json", "out.json"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("the run failed"));
    EXPECT_THAT(outcome.err, HasSubstr("in varnex3."));
    EXPECT_THAT(folder.files(),
                testing::ElementsAre("beam.toml", "design.xlsx", "s.toml", "welded_beam.xlsx"));
}

TEST_F(Run, KeepsOrRestoresAtTheInterruptKey)
{
    folder.write("s.toml", study("Design!B8", 3, 9, "100000000"));
    for (const std::string answer : {"keep", "restore"}) {
        SCOPED_TRACE(answer);
        const pid_t child =
            folder.start({"optimize", "s.toml", "--seed", "3", "--on-cancel", answer, "--json", "out.json"});
        std::this_thread::sleep_for(std::chrono::seconds(1));
        kill(child, SIGINT);
        const Outcome outcome = folder.finish(child);
        EXPECT_EQ(outcome.code, 130) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr("Cancelled"));
        const json result = document("out.json");
        EXPECT_EQ(result["status"], "cancelled");
        EXPECT_EQ(result["keptBest"], answer == "keep");
    }
}

TEST_F(Run, CalculatesWithCellsSet)
{
    const Outcome outcome =
        folder.run({"calc", "design.xlsx", "--set", "Design!B1=3", "--set", "Design!B6==2^2", "--get",
                    "Design!B8", "--get", "Design!B1:B2", "--json", "out.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "Design!B8 = 13\nDesign!B1:B2 =\n  3\n  0\n");
    EXPECT_EQ(document("out.json")["cells"]["Design!B8"], 13.0);
    const Outcome quoted = folder.run({"calc", "design.xlsx", "--set", "'Design'!B1=='Design'!B6", "--set",
                                       "Design!B3=it's = here", "--get", "Design!B1", "--get", "Design!B3"});
    EXPECT_EQ(quoted.out, "Design!B1 = 7.5\nDesign!B3 = \"it's = here\"\n") << quoted.err;
    const Outcome failed = folder.run({"calc", "design.xlsx", "--get", "Design!B5"});
    EXPECT_EQ(failed.code, 1);
    EXPECT_EQ(failed.out, "Design!B5 = #DIV/0!\n");
}

TEST_F(Run, ChecksTheExamples)
{
    for (const std::string name : {"welded_beam", "pressure_vessel", "speed_reducer"}) {
        const std::string base = std::string(CORVANE_EXAMPLES "/") + name + "/" + name;
        for (const char* extension : {".toml", ".xlsx"}) {
            const Outcome outcome = folder.run({"check", base + extension});
            EXPECT_EQ(outcome.code, 0) << name << outcome.out << outcome.err;
            EXPECT_EQ(outcome.err, "");
        }
    }
}

TEST_F(Run, ListsLinksAndWhatKeepsItsStoredResult)
{
    folder.copy(CORVANE_TEST_DATA "/workbooks/links.xlsx", "links.xlsx");
    const Outcome outcome = folder.run({"check", "links.xlsx", "--json", "links.json"});
    EXPECT_EQ(outcome.code, 1); // links are no ground to stand on
    EXPECT_THAT(outcome.out, HasSubstr("8 of 8 stored results agree"));
    EXPECT_THAT(outcome.out, HasSubstr("  prices.xlsx\n    Main!B1\n"));
    EXPECT_THAT(outcome.out, HasSubstr("    Main!C3  keeps its stored result\n"));
    const json links = document("links.json")["externalLinks"];
    ASSERT_EQ(links.size(), 2U);
    EXPECT_EQ(links[0]["target"], "prices.xlsx");
    EXPECT_EQ(links[0]["cells"].size(), 10U);
    EXPECT_EQ(links[0]["keepStoredResults"], json({"Main!C3", "Main!D2"}));
    EXPECT_EQ(links[1]["target"], "bank|rates");
    EXPECT_EQ(links[1]["cells"], json({"Main!D3"}));
    EXPECT_EQ(folder.run({"calc", "links.xlsx", "--set", "A1=6", "--get", "C1", "--get", "D3"}).out,
              "C1 = 24\nD3 = 33\n");
}

TEST_F(Run, ListsFunctionsAsTheDocumentationDoes)
{
    EXPECT_THAT(folder.run({"functions", "vlookup"}).out, HasSubstr("VLOOKUP"));
    folder.copy(CORVANE_DOCS "/functions.md", "functions.md");
    EXPECT_EQ(folder.run({"functions", "--markdown"}).out, folder.read("functions.md"))
        << "write it anew: corvane functions --markdown > docs/functions.md";
}

} // namespace
} // namespace varnex3::cli
