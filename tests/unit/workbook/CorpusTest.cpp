// tests/unit/workbook/CorpusTest.cpp - every workbook at hand gives the results that the saving program
// stored.
//
// What rightly differs stands in tests/workbooks/known_differences.txt with its reason; docs/differences.md
// explains the reasons.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "sheet/formula/Parser.h"
#include "sheet/model/Book.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::workbook {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> workbooks()
{
    std::vector<fs::path> found;
    for (const char* folder : {CORVANE_TEST_DATA "/workbooks", CORVANE_EXAMPLES})
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (entry.path().extension() == ".xlsx" || entry.path().extension() == ".ods")
                found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

/// The listed differences, "file formula", each with its reason; lines are "reason<tab>file<tab>formula".
std::map<std::string, std::string> knownDifferences()
{
    std::map<std::string, std::string> known;
    std::ifstream file(CORVANE_TEST_DATA "/workbooks/known_differences.txt");
    for (std::string line; std::getline(file, line);) {
        const auto first = line.find('\t'), second = line.find('\t', first + 1);
        if (line.empty() || line.front() == '#' || second == std::string::npos) continue;
        known[line.substr(first + 1, second - first - 1) + " " + line.substr(second + 1)] =
            line.substr(0, first);
    }
    return known;
}

/// The program that made the corpus has errors of its own ("Err:502") that files cannot hold; it writes
/// #VALUE! for them, whatever kind of error other programs show.
bool savedAsAnyError(const sheet::Book& book, const sheet::CellAddress& cell)
{
    const sheet::Value& then = book.storedValue(cell);
    return book.value(cell).isFailure() && then.isFailure() && then.failure() == sheet::Failure::Value;
}

TEST(Corpus, GivesTheStoredResults)
{
    std::map<std::string, std::string> known = knownDifferences();
    std::int64_t compared = 0;
    std::set<std::string> met;
    for (const fs::path& path : workbooks()) {
        const auto application = std::make_shared<EmbeddedApplication>();
        const Ref<host::Workbook> workbook = application->open(path.string());
        sheet::Book& book = application->book(*workbook);
        const sheet::Inspection found = book.inspect();
        EXPECT_GT(found.compared, 0) << path;
        compared += found.compared;
        for (const sheet::CellRemark& difference : found.different) {
            if (savedAsAnyError(book, difference.cell)) continue;
            const std::string key = path.stem().string() + " " + difference.text;
            if (known.count(key) == 0)
                ADD_FAILURE() << key << " in " << book.sheetName(difference.cell.sheet) << "!"
                              << sheet::a1Text(difference.cell) << " differs from the stored result";
            met.insert(key);
        }
        for (const auto& list : {found.unknownFunctions, found.unparsable, found.circular})
            for (const sheet::CellRemark& remark : list) ADD_FAILURE() << path << ": " << remark.text;
    }
    EXPECT_GT(compared, 4000);
    for (const auto& [key, reason] : known)
        EXPECT_EQ(met.count(key), 1u) << "no longer differs, strike it off the list: " << key;
}

} // namespace
} // namespace varnex3::workbook
