// cli/main.cpp - the command line of the program `corvane`.
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Command.h"
#include "Study.h"
#include "runtime/Error.h"

namespace {

using namespace varnex3::cli;

constexpr const char* kFooter =
    "Exit codes: 0 done, 1 run failed, 2 usage, study or workbook refused, 3 done but\n"
    "constraints not met, 130 cancelled. Results go to standard output, progress to\n"
    "standard error.";

CLI::App* addCheck(CLI::App& app, CheckArguments& arguments)
{
    CLI::App* command = app.add_subcommand(
        "check",
        "Recalculate a workbook, compare with the results stored in it, and list what cannot be trusted");
    command->add_option("FILE", arguments.file, "a study (.toml) or a workbook (.xlsx)")->required();
    command->add_option("--json", arguments.json,
                        "write the report as JSON to this file, - for standard output");
    return command;
}

CLI::App* addOptimize(CLI::App& app, OptimizeArguments& arguments)
{
    CLI::App* command = app.add_subcommand("optimize", "Search the inputs of a study for the best design");
    command->add_option("STUDY", arguments.study, "the study file")->required();
    command->add_option("--seed", arguments.seed, "repeat a run: the seed of its random numbers")
        ->check(CLI::Range(1, 2147483647));
    command
        ->add_option("--runs", arguments.runs,
                     "search several times with one seed after the other, keep the best")
        ->check(CLI::Range(1, 10000))
        ->capture_default_str();
    command->add_option("--max-gens", arguments.maxGens, "instead of the study's MaxGens")
        ->check(CLI::Range(1, 2147483647));
    command->add_flag("--quiet,-q", arguments.quiet, "no progress");
    command
        ->add_option("--on-cancel", arguments.onCancel,
                     "after Ctrl-C: ask, keep the best solution, or restore")
        ->check(CLI::IsMember({"ask", "keep", "restore"}))
        ->capture_default_str();
    command->add_option("--json", arguments.json,
                        "write all results as JSON to this file, - for standard output");
    command->add_option("--csv", arguments.csv, "write the final generation as CSV to this file");
    return command;
}

CLI::App* addSimulate(CLI::App& app, SimulateArguments& arguments)
{
    CLI::App* command = app.add_subcommand(
        "simulate", "Vary the inputs of a study by chance and tell how its results spread");
    command->add_option("STUDY", arguments.study, "the study file")->required();
    command->add_option("--trials", arguments.trials, "instead of the study's number of trials")
        ->check(CLI::Range(50, 2147483647));
    command->add_option("--seed", arguments.seed, "repeat a run: the seed of its random numbers")
        ->check(CLI::Range(1, 2147483647));
    command->add_option("--sampling", arguments.sampling, "lhs (Latin hypercube) or random")
        ->check(CLI::IsMember({"lhs", "random"}));
    command->add_flag("--quiet,-q", arguments.quiet, "no progress");
    command->add_option("--json", arguments.json,
                        "write all results as JSON to this file, - for standard output");
    command->add_option("--csv", arguments.csv, "write every trial as CSV to this file");
    return command;
}

CLI::App* addCalc(CLI::App& app, CalcArguments& arguments)
{
    CLI::App* command = app.add_subcommand("calc", "Set cells of a workbook, recalculate, show cells");
    command->add_option("WORKBOOK", arguments.workbook, "the workbook file")->required();
    command->add_option("--set", arguments.set, "CELL=VALUE, for instance Sheet1!B3=2.5")
        ->allow_extra_args(false);
    command->add_option("--get", arguments.get, "a cell, an area or a defined name")->allow_extra_args(false);
    command->add_option("--json", arguments.json,
                        "write the cells as JSON to this file, - for standard output");
    return command;
}

CLI::App* addFunctions(CLI::App& app, FunctionsArguments& arguments)
{
    CLI::App* command = app.add_subcommand("functions", "List the worksheet functions that formulas may use");
    command->add_option("PATTERN", arguments.pattern, "only those whose name or summary holds this text");
    command->add_flag("--markdown", arguments.markdown, "as a page of documentation");
    command->add_option("--json", arguments.json,
                        "write the list as JSON to this file, - for standard output");
    return command;
}

int run(int argc, char** argv)
{
    CLI::App app{"Corvane: design analysis on spreadsheets", "corvane"};
    app.set_version_flag("--version", std::string("corvane ") + CORVANE_VERSION);
    app.require_subcommand(1);
    app.footer(kFooter);
    CheckArguments check;
    OptimizeArguments optimize;
    SimulateArguments simulate;
    CalcArguments calc;
    FunctionsArguments functions;
    const CLI::App* checkCommand = addCheck(app, check);
    const CLI::App* optimizeCommand = addOptimize(app, optimize);
    const CLI::App* simulateCommand = addSimulate(app, simulate);
    const CLI::App* calcCommand = addCalc(app, calc);
    addFunctions(app, functions);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? exitCode::Done : exitCode::Refused;
    }
    if (checkCommand->parsed()) return runCheck(check);
    if (optimizeCommand->parsed()) return runOptimize(optimize);
    if (simulateCommand->parsed()) return runSimulate(simulate);
    if (calcCommand->parsed()) return runCalc(calc);
    return runFunctions(functions);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const Refused& refusal) {
        fmt::print(stderr, "corvane: {}\n", refusal.what());
        return exitCode::Refused;
    } catch (const varnex3::Raised&) {
        fmt::print(stderr, "corvane: {}\n", varnex3::err().description);
        return exitCode::RunFailed;
    } catch (const std::exception& e) {
        fmt::print(stderr, "corvane: {}\n", e.what());
        return exitCode::RunFailed;
    }
}
