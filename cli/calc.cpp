// cli/calc.cpp - `corvane calc`: set cells, recalculate, show cells.
#include <memory>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Output.h"
#include "Problem.h"
#include "runtime/Number.h"

namespace varnex3::cli {
namespace {

/// "2.5" is a number, "TRUE" a Boolean, "=A1*2" a formula, anything else a text.
void setCell(host::Range& cell, const std::string& text)
{
    if (const auto x = parseNumber(text))
        cell.Value(*x);
    else
        cell.Formula(text);
}

/// Where the = after the cell stands. A quoted sheet name may hold one too ('a=b'!A1=5), and so may the
/// value.
std::size_t signAfterCell(const std::string& assignment)
{
    std::size_t start = 0;
    if (!assignment.empty() && assignment.front() == '\'') start = assignment.find("'!", 1);
    return start == std::string::npos ? start : assignment.find('=', start);
}

void setCells(workbook::EmbeddedApplication& application, const std::vector<std::string>& assignments)
{
    for (const std::string& assignment : assignments) {
        const auto equals = signAfterCell(assignment);
        const Place place{"--set " + assignment, 0, ""};
        if (equals == std::string::npos || equals == 0)
            throw Refused(place, "write CELL=VALUE, for instance Sheet1!B3=2.5");
        const auto cell = findRange(application, assignment.substr(0, equals), place);
        if (cell->Count() != 1) throw Refused(place, "one cell is needed, not an area");
        try {
            setCell(*cell, assignment.substr(equals + 1));
        } catch (const Raised&) {
            const std::string reason = err().description;
            caught();
            throw Refused(place, reason);
        }
    }
}

std::string shownArea(const VariantArray2& cells)
{
    Table table(std::vector<Table::Align>(static_cast<std::size_t>(cells->cols()), Table::Align::Right));
    for (Long r : oneTo(cells->rows())) {
        std::vector<std::string> row;
        for (Long c : oneTo(cells->cols())) row.push_back(shown((*cells)(r, c)));
        table.row(std::move(row));
    }
    return table.text();
}

} // namespace

int runCalc(const CalcArguments& arguments)
{
    if (arguments.get.empty())
        throw Refused("--get CELL is needed: nothing else is shown, and no file is changed");
    requireWritable(arguments.json);
    const auto application = std::make_shared<workbook::EmbeddedApplication>();
    openWorkbook(*application, arguments.workbook);
    setCells(*application, arguments.set);
    application->Calculate();

    nlohmann::json document = {{"workbook", arguments.workbook}, {"cells", nlohmann::json::object()}};
    std::string text;
    bool failed = false;
    for (const std::string& reference : arguments.get) {
        const Variant value = findRange(*application, reference, Place{"--get " + reference, 0, ""})->Value();
        document["cells"][reference] = toJson(value);
        failed = failed || value.asError() != nullptr;
        const auto* area = std::get_if<VariantArray2>(&value.held());
        text += area ? fmt::format("{} =\n{}", reference, shownArea(*area))
                     : fmt::format("{} = {}\n", reference,
                                   value.asNumber() ? toText(*value.asNumber()) : shown(value));
    }
    if (arguments.json != "-") fmt::print("{}", text);
    if (!arguments.json.empty()) writeJson(arguments.json, document);
    return failed ? exitCode::RunFailed : exitCode::Done;
}

} // namespace varnex3::cli
