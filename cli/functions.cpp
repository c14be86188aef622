// cli/functions.cpp - `corvane functions`: the worksheet functions of the engine.
#include <algorithm>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Output.h"
#include "sheet/functions/Function.h"

namespace varnex3::cli {
namespace {

std::string upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

bool wanted(const sheet::FunctionRow& row, const std::string& pattern)
{
    return upper(std::string(row.name)).find(pattern) != std::string::npos ||
           upper(std::string(row.summary)).find(pattern) != std::string::npos;
}

} // namespace

int runFunctions(const FunctionsArguments& arguments)
{
    const std::string pattern = upper(arguments.pattern);
    nlohmann::json list = nlohmann::json::array();
    Table table({Table::Align::Left, Table::Align::Left, Table::Align::Left});
    table.row({"Function", "What it gives", "Example"});
    for (const sheet::FunctionRow* row : sheet::allFunctions()) {
        if (!wanted(*row, pattern)) continue;
        table.row({std::string(row->name), std::string(row->summary),
                   fmt::format("{} is {}", row->example, row->shows)});
        list.push_back({{"name", row->name},
                        {"summary", row->summary},
                        {"example", row->example},
                        {"shows", row->shows}});
    }
    if (arguments.json != "-") { fmt::print("{}\n{} functions\n", table.text(""), list.size()); }
    if (!arguments.json.empty()) writeJson(arguments.json, list);
    return exitCode::Done;
}

} // namespace varnex3::cli
