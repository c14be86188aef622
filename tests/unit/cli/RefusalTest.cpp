// tests/unit/cli/RefusalTest.cpp - a study with one thing wrong is refused in one line that names the place.
#include <gmock/gmock.h>

#include <algorithm>

#include "Program.h"

namespace varnex3::cli {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// Line numbers matter to the tests below.
const std::string kStudy = R"(workbook = "design.xlsx"

[[parameter]]
id = "x"
cell = "Design!B1"
range = [0, 3]

[[response]]
id = "y"
cell = "Design!B8"

[[constraint]]
id = "c"
response = "y"
oper = "<="
reqt = 100

[[goal]]
id = "g"
response = "y"
oper = "<="
target = 0

[options]
StopRule = "Stop after fixed #"
MaxGens = 3
GenSize = 20
)";

const std::string kCells = CORVANE_TEST_DATA "/workbooks/study_cells.xlsx";

std::string changed(const std::string& from, const std::string& to)
{
    std::string text = kStudy;
    const auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

void expectRefused(const Outcome& outcome, const std::string& start, const std::string& words)
{
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, StartsWith("corvane: " + start));
    EXPECT_THAT(outcome.err, HasSubstr(words));
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
}

struct Wrong {
    const char* from;
    const char* to;
    const char* place; // line: key
    const char* words;
};

const Wrong kWrong[] = {
    {"range", "rnge", "6: parameter[1].rnge", "unknown key; did you mean \"range\"?"},
    {"workbook", "wrkbook", "1: wrkbook", "did you mean \"workbook\"?"},
    {"MaxGens", "MaxGen", "26: options.MaxGen", "did you mean \"MaxGens\"?"},
    {"workbook = \"design.xlsx\"", "", "", "\"workbook\" is missing"},
    {"id = \"x\"\n", "", "3: parameter[1]", "\"id\" is missing"},
    {"cell = \"Design!B1\"\n", "", "3: parameter[1]", "\"cell\" is missing"},
    {"reqt = 100\n", "", "12: constraint[1]", "\"reqt\" is missing"},
    {"target = 0\n", "", "18: goal[1]", "\"target\" is missing"},
    {"oper = \"<=\"\nreqt", "reqt", "12: constraint[1]", "\"oper\" is missing"},
    {"\"x\"", "7", "4: parameter[1].id", "a text is needed, not a number"},
    {"\"x\"", "\"\"", "4: parameter[1].id", "empty"},
    {"\"Design!B1\"", "true", "5: parameter[1].cell", "a text is needed"},
    {"[0, 3]", "\"0..3\"", "6: parameter[1].range", "list of numbers"},
    {"[0, 3]", "[0, \"3\"]", "6: parameter[1].range", "a number is needed, not a text"},
    {"[0, 3]", "[0, inf]", "6: parameter[1].range", "finite"},
    {"[0, 3]", "[3, 0]", "6: parameter[1].range", "the least below the greatest"},
    {"[0, 3]", "[0, 1, 3]", "6: parameter[1].range", "the least below the greatest"},
    {"range = [0, 3]", "range = [0, 3]\nvalues = [1]", "3: parameter[1]", "not both"},
    {"range = [0, 3]", "type = \"Integer\"\nrange = [0.5, 3]", "7: parameter[1].range", "whole number"},
    {"range = [0, 3]", "type = \"Discrete\"\nrange = [0, 3]", "7: parameter[1].range", "values"},
    {"range = [0, 3]", "type = \"Fuzzy\"\nrange = [0, 3]", "6: parameter[1].type", "none of"},
    {"range = [0, 3]", "type = \"Constant\"\nrange = [0, 3]", "7: parameter[1].range", "not searched"},
    {"range = [0, 3]", "type = \"Constant\"", "3: parameter[1]", "no parameter is searched"},
    {"[0, 3]", "[0, 3]\nstdev = -1", "7: parameter[1].stdev", "Negative standard deviation"},
    {"[0, 3]", "[0, 3]\nname = \"\"", "7: parameter[1].name", "missing"},
    {"Design!B1", "Design!B3", "5: parameter[1].cell", "holds \"steel\", not a number"},
    {"Design!B1", "Design!B5", "5: parameter[1].cell", "#DIV/0!"},
    {"Design!B1", "Design!B4", "5: parameter[1].cell", "holds a formula"},
    {"Design!B1", "Design!B1:B2", "5: parameter[1].cell", "2 cells"},
    {"Design!B1", "Desing!B1", "5: parameter[1].cell", "there is no sheet \"Desing\""},
    {"Design!B1", "width", "5: parameter[1].cell", "\"width\""},
    {"Design!B8", "Design!B5", "10: response[1].cell", "#DIV/0!"},
    {"Design!B8", "Design!B3", "10: response[1].cell", "not a number"},
    {"\"Design!B8\"", "\"Design!B8\"\nlsl = 5\nusl = 1", "11: response[1].lsl", "LSL greater than USL"},
    {"\"Design!B8\"", "\"Design!B8\"\nusl = true", "11: response[1].usl", "number or a cell"},
    {"response = \"y\"", "response = \"z\"", "14: constraint[1].response", "there is no response \"z\""},
    {"\"<=\"", "\"<\"", "15: constraint[1].oper", "\"<\" is none of"},
    {"reqt = 100", "reqt = \"Design!B3\"", "16: constraint[1].reqt", "Non-numeric"},
    {"target = 0", "target = 0\naspect = \"Median\"", "23: goal[1].aspect", "none of"},
    {"target = 0", "target = 0\npriority = 4", "23: goal[1].priority", "exceeds maximum allowed of 3"},
    {"target = 0", "target = 0\npriority = 1.5", "23: goal[1].priority", "whole number"},
    {"target = 0", "target = 0\nweight = -1", "23: goal[1].weight", "Negative weight"},
    {"[[goal]]", "[[parameter]]\nid = \"x\"\ncell = \"Design!B6\"\nrange = [0, 1]\n[[goal]]",
     "18: parameter[2]", "\"x\" is used twice"},
    {"[[goal]]", "[[parameter]]\nid = \"z\"\ncell = \"Design!$B$1\"\nrange = [0, 1]\n[[goal]]",
     "20: parameter[2].cell", "that of the parameter \"x\""},
    {"Stop after fixed #", "Stop now", "25: options.StopRule", "is none of"},
    {"MaxGens = 3", "MaxGens = 0", "26: options.MaxGens", "below the minimum"},
    {"MaxGens = 3", "MaxGens = \"3\"", "26: options.MaxGens", "whole number"},
    {"GenSize = 20", "GenSize = 19", "27: options.GenSize", "below the minimum of 20"},
    {"GenSize = 20", "Precision = 0.5", "27: options.Precision", "1E-06 to 0.1"},
    {"GenSize = 20", "Derivs = \"Slow\"", "27: options.Derivs", "is none of"},
    {"GenSize = 20", "Stats = \"All\"", "27: options.Stats", "is none of"},
    {"GenSize = 20", "StoreYs = \"Maybe\"", "27: options.StoreYs", "is none of"},
    {"GenSize = 20", "OptTrials = 10", "27: options.OptTrials", "below the minimum of 50"},
    {"GenSize = 20", "afterMacro = \"m\"", "27: options.afterMacro", "not run"},
    {"design.xlsx", "nowhere.xlsx", "1: workbook", "nowhere.xlsx: there is no such file"},
    {"design.xlsx\"", "design.xlsx\"\ncalculation_order = [\"q\"]", "2: calculation_order", "\"q\""},
    {"design.xlsx\"", "design.xlsx\"\nrecalculate_before = \"x\"", "2: recalculate_before", "list of ids"},
    {"target = 0", "target = ", "22", "not TOML"},
};

TEST(Refusal, NamesFileLineAndKeyOfTheOneThingWrong)
{
    for (const Wrong& wrong : kWrong) {
        SCOPED_TRACE(std::string(wrong.from) + " -> " + wrong.to);
        Folder folder;
        folder.copy(kCells, "design.xlsx");
        folder.write("s.toml", changed(wrong.from, wrong.to));
        const std::string start = *wrong.place ? std::string("s.toml:") + wrong.place : "s.toml";
        expectRefused(folder.run({"optimize", "s.toml", "--json", "out.json", "--csv", "out.csv"}), start,
                      wrong.words);
        EXPECT_THAT(folder.files(), testing::ElementsAre("design.xlsx", "s.toml"));
        const bool searchOnly = std::string(wrong.words) == "no parameter is searched";
        EXPECT_EQ(folder.run({"check", "s.toml"}).code, searchOnly ? 0 : 2);
    }
}

TEST(Refusal, NamesTheWorkbookThatIsNone)
{
    Folder folder;
    folder.copy(kCells, "whole.xlsx");
    const std::string bytes = folder.read("whole.xlsx");
    folder.write("cut.xlsx", bytes.substr(0, bytes.size() / 2));
    std::string broken = bytes;
    std::fill(broken.begin() + 40, broken.begin() + static_cast<std::ptrdiff_t>(broken.size() / 2), 'x');
    folder.write("broken.xlsx", broken);
    folder.write("text.xlsx", "a,b,c\n1,2,3\n");
    folder.write("empty.xlsx", "");
    folder.write("old.xlsx", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + std::string(2000, '\0'));
    for (const std::string name :
         {"cut.xlsx", "broken.xlsx", "text.xlsx", "empty.xlsx", "old.xlsx", "none.xlsx"}) {
        SCOPED_TRACE(name);
        expectRefused(folder.run({"check", name}), name + ": ", "");
        expectRefused(folder.run({"calc", name, "--get", "A1"}), name + ": ", "");
        std::string study = changed("design.xlsx", name);
        folder.write("s.toml", study);
        expectRefused(folder.run({"optimize", "s.toml"}), "s.toml:1: workbook: ", name);
    }
}

TEST(Refusal, OfTheCommandLineLeavesNoFile)
{
    Folder folder;
    folder.copy(kCells, "design.xlsx");
    folder.write("s.toml", kStudy);
    const std::vector<std::vector<std::string>> lines = {
        {},
        {"optimise", "s.toml"},
        {"optimize"},
        {"optimize", "s.toml", "--seed", "0"},
        {"optimize", "s.toml", "--on-cancel", "maybe"},
        {"optimize", "s.toml", "--json", "nowhere/out.json"},
        {"optimize", "s.toml", "--json", "."},
        {"optimize", "s.toml", "--csv", "-", "--json", "-"},
        {"optimize", "nowhere.toml"},
        {"calc", "design.xlsx"},
        {"calc", "design.xlsx", "--get", "Nowhere!A1"},
        {"calc", "design.xlsx", "--set", "Design!B1", "--get", "Design!B1"},
        {"calc", "design.xlsx", "--set", "Design!B1==1+", "--get", "Design!B1"},
        {"calc", "design.xlsx", "--set", "Design!B1:B2=1", "--get", "Design!B1"},
    };
    for (const auto& line : lines) {
        SCOPED_TRACE(testing::PrintToString(line));
        const Outcome outcome = folder.run(line);
        EXPECT_EQ(outcome.code, 2) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err, "");
        EXPECT_THAT(folder.files(), testing::ElementsAre("design.xlsx", "s.toml"));
    }
}

} // namespace
} // namespace varnex3::cli
