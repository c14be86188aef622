// cli/functions.cpp - `corvane functions`: the worksheet functions of the engine.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

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

/// Text inside a cell of a Markdown table.
std::string escaped(std::string_view text)
{
    std::string result;
    for (char c : text) {
        if (c == '|') result += '\\';
        result += c;
    }
    return result;
}

/// docs/functions.md.
std::string markdown(const std::vector<const sheet::FunctionRow*>& rows)
{
    std::string text = fmt::format(
        "# Worksheet functions\n\n"
        "The {} functions that formulas may use; `corvane functions` lists them too. This page is made by\n"
        "`corvane functions --markdown`. A function that is not here gives #NAME?, and `corvane check` lists "
        "its\n"
        "cells. What differs from common spreadsheet programs: [differences.md](differences.md).\n\n"
        "| function | what it gives | example | shows |\n|---|---|---|---|\n",
        rows.size());
    for (const sheet::FunctionRow* row : rows)
        text += fmt::format("| {} | {} | `{}` | {} |\n", row->name, escaped(row->summary),
                            escaped(row->example), escaped(row->shows));
    return text;
}

} // namespace

int runFunctions(const FunctionsArguments& arguments)
{
    const std::string pattern = upper(arguments.pattern);
    requireWritable(arguments.json);
    std::vector<const sheet::FunctionRow*> rows;
    nlohmann::json list = nlohmann::json::array();
    Table table({Table::Align::Left, Table::Align::Left, Table::Align::Left});
    table.row({"Function", "What it gives", "Example"});
    for (const sheet::FunctionRow* row : sheet::allFunctions()) {
        if (!wanted(*row, pattern)) continue;
        rows.push_back(row);
        table.row({std::string(row->name), std::string(row->summary),
                   fmt::format("{} is {}", row->example, row->shows)});
        list.push_back({{"name", row->name},
                        {"summary", row->summary},
                        {"example", row->example},
                        {"shows", row->shows}});
    }
    if (arguments.markdown)
        fmt::print("{}", markdown(rows));
    else if (arguments.json != "-") {
        fmt::print("{}\n{} functions\n", table.text(""), list.size());
    }
    if (!arguments.json.empty()) writeJson(arguments.json, list);
    return exitCode::Done;
}

} // namespace varnex3::cli
