// cli/check.cpp - `corvane check`: can the engine be trusted with this workbook?
#include <algorithm>
#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Distributions.h"
#include "Moments.h"
#include "Output.h"
#include "Problem.h"
#include "sheet/formula/Parser.h"
#include "sheet/model/Book.h"
#include "workbook/Convert.h"

namespace varnex3::cli {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// The remarks with the recalculated and the stored value of each cell.
std::vector<sheet::CellRemark> withValues(const sheet::Book& book, std::vector<sheet::CellRemark> remarks)
{
    for (sheet::CellRemark& remark : remarks)
        remark.text += fmt::format("  is {}, stored {}", shown(workbook::toVariant(book.value(remark.cell))),
                                   shown(workbook::toVariant(book.storedValue(remark.cell))));
    return remarks;
}

class Report {
public:
    explicit Report(const sheet::Book& book) : book_(book) {}

    /// A list of cells under a heading; nothing when there are none.
    void list(const std::string& key, const std::string& heading,
              const std::vector<sheet::CellRemark>& remarks)
    {
        nlohmann::json cells = nlohmann::json::array();
        for (const sheet::CellRemark& remark : remarks)
            cells.push_back({{"cell", name(remark.cell)}, {"remark", remark.text}});
        json[key] = cells;
        if (remarks.empty()) return;
        text += fmt::format("\n{} ({}):\n", heading, remarks.size());
        constexpr std::size_t kMost = 20;
        for (std::size_t i = 0; i < std::min(remarks.size(), kMost); ++i)
            text += fmt::format("  {}  {}\n", name(remarks[i].cell), remarks[i].text);
        if (remarks.size() > kMost)
            text += fmt::format("  and {} more; --json lists all\n", remarks.size() - kMost);
    }

    /// Other books and the cells that use them. Files number them, or name them in the formulas.
    void links(const std::vector<std::string>& targets, const std::vector<sheet::CellRemark>& users,
               const std::vector<sheet::CellRemark>& keeping)
    {
        json["externalLinks"] = nlohmann::json::array();
        if (targets.empty() && users.empty()) return;
        text +=
            fmt::format("\nExternal links ({}); cells that use them are calculated with the values that the "
                        "file keeps of them:\n",
                        targets.size());
        std::set<std::pair<std::string, std::string>> kept;
        for (const sheet::CellRemark& remark : keeping) kept.emplace(name(remark.cell), remark.text);
        const auto add = [&](std::vector<LinkUser>& list, const sheet::CellRemark& user, std::string shown) {
            if (list.empty() || list.back().shown != shown)
                list.push_back({std::move(shown), kept.count({name(user.cell), user.text}) != 0});
        };
        std::vector<bool> told(users.size());
        for (std::size_t i = 0; i < targets.size(); ++i) {
            const std::string number = "[" + std::to_string(i + 1) + "]";
            const std::string file = "[" + targets[i].substr(targets[i].find_last_of("/\\") + 1) + "]";
            std::vector<LinkUser> cells;
            for (std::size_t k = 0; k < users.size(); ++k) {
                if (users[k].text.find(number) == std::string::npos &&
                    users[k].text.find(file) == std::string::npos)
                    continue;
                told[k] = true;
                add(cells, users[k], name(users[k].cell));
            }
            addLink(targets[i], cells);
        }
        std::vector<LinkUser> others;
        for (std::size_t k = 0; k < users.size(); ++k)
            if (!told[k]) add(others, users[k], name(users[k].cell) + " " + users[k].text);
        if (!others.empty()) addLink("not listed in the file", others);
    }

    std::string text;
    nlohmann::json json;

private:
    struct LinkUser {
        std::string shown;
        bool keeps; // its stored result as a whole
    };

    void addLink(const std::string& target, const std::vector<LinkUser>& users)
    {
        constexpr std::size_t kMost = 10;
        nlohmann::json& link = json["externalLinks"].emplace_back();
        link = {{"target", target},
                {"cells", nlohmann::json::array()},
                {"keepStoredResults", nlohmann::json::array()}};
        text += fmt::format("  {}\n", target);
        if (users.empty()) text += "    used by no formula\n";
        for (std::size_t i = 0; i < users.size(); ++i) {
            link["cells"].push_back(users[i].shown);
            if (users[i].keeps) link["keepStoredResults"].push_back(users[i].shown);
            if (i < kMost)
                text += fmt::format("    {}{}\n", users[i].shown,
                                    users[i].keeps ? "  keeps its stored result" : "");
        }
        if (users.size() > kMost)
            text += fmt::format("    and {} more; --json lists all\n", users.size() - kMost);
    }

    std::string name(const sheet::CellAddress& cell) const
    {
        return sheet::quotedSheetName(book_.sheetName(cell.sheet)) + "!" + sheet::a1Text(cell);
    }

    const sheet::Book& book_;
};

} // namespace

int runCheck(const CheckArguments& arguments)
{
    requireWritable(arguments.json);
    const auto start = Clock::now();
    std::unique_ptr<Problem> problem;
    auto application = std::make_shared<workbook::EmbeddedApplication>();
    Ref<host::Workbook> workbook;
    if (endsWith(arguments.file, ".toml")) {
        problem = std::make_unique<Problem>(loadProblem(arguments.file));
        const bool searched = !problem->study.constraints.empty() || !problem->study.goals.empty();
        if (searched) // otherwise a study of spreads, without anything to search for
            validate(*problem);
        else
            requireAnalysable(*problem);
        application = problem->application;
        workbook = problem->workbook;
    } else {
        workbook = openWorkbook(*application, arguments.file);
    }
    const double loadSeconds = secondsSince(start);

    sheet::Book& book = application->book(*workbook);
    const auto calculation = Clock::now();
    const sheet::Inspection found = book.inspect();
    const double calculateSeconds = secondsSince(calculation);
    const auto agree = found.compared - static_cast<std::int64_t>(found.different.size());

    Report report(book);
    report.text = fmt::format("{}: {} cells, {} formulas\n", workbook->Name(), found.cells, found.formulas);
    if (problem)
        report.text +=
            fmt::format("{}: {} parameters, {} responses, {} constraints, {} goals; the study is sound\n",
                        arguments.file, problem->formulation->CountX(), problem->formulation->CountY(),
                        problem->formulation->CountC(), problem->formulation->CountG());
    report.text +=
        found.compared > 0
            ? fmt::format("{} of {} stored results agree with the recalculated ones\n", agree, found.compared)
            : std::string("No results are stored in the file to compare with\n");
    report.json = {{"file", arguments.file},
                   {"cells", found.cells},
                   {"formulas", found.formulas},
                   {"compared", found.compared},
                   {"agree", agree},
                   {"loadSeconds", loadSeconds},
                   {"calculateSeconds", calculateSeconds}};
    report.list("different", "Cells whose recalculated value differs from the stored one",
                withValues(book, found.different));
    for (std::size_t i = 0; i < found.different.size(); ++i) {
        nlohmann::json& cell = report.json["different"][i];
        cell["formula"] = found.different[i].text;
        cell["value"] = shown(workbook::toVariant(book.value(found.different[i].cell)));
        cell["stored"] = shown(workbook::toVariant(book.storedValue(found.different[i].cell)));
    }
    report.list("unknownFunctions", "Functions that the engine does not know; the cells read #NAME?",
                found.unknownFunctions);
    report.list("unparsable", "Formulas that cannot be read; the cells read #NAME?", found.unparsable);
    report.list("unsupported", "Features that are not evaluated", found.unsupported);
    report.links(found.links, found.externals, found.keeping);
    report.list("circular", "Circular references", found.circular);
    report.list("volatile", "Volatile cells, which change at every recalculation", found.volatiles);
    report.json["notices"] = nlohmann::json::array();
    if (!found.notices.empty())
        report.text += fmt::format("\nNotices about the file ({}):\n", found.notices.size());
    for (const auto& [where, what] : found.notices) {
        report.text += fmt::format("  {}  {}\n", where, what);
        report.json["notices"].push_back({{"where", where}, {"what", what}});
    }
    if (problem) {
        report.json["warnings"] = momentWarnings(*problem);
        for (const std::string& warning : momentWarnings(*problem))
            report.text += fmt::format("\nWarning: {}\n", warning);
    }
    report.text +=
        fmt::format("\nLoaded in {:.3f} s, recalculated in {:.3f} s\n", loadSeconds, calculateSeconds);

    if (arguments.json != "-") fmt::print("{}", report.text);
    if (!arguments.json.empty()) writeJson(arguments.json, report.json);
    const bool sound = found.different.empty() && found.unknownFunctions.empty() &&
                       found.unparsable.empty() && found.unsupported.empty() && found.externals.empty() &&
                       found.circular.empty();
    return sound ? exitCode::Done : exitCode::RunFailed;
}

} // namespace varnex3::cli
