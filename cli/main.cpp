// cli/main.cpp - the command line of the program `corvane`.
#include <cmath>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Command.h"
#include "Completion.h"
#include "Study.h"
#include "runtime/Error.h"
#include "runtime/Number.h"

namespace {

using namespace varnex3::cli;

constexpr const char* kFooter =
    "Exit codes: 0 done, 1 run failed, 2 usage, study or workbook refused, 3 done but\n"
    "constraints not met, 130 cancelled. Results go to standard output, progress to\n"
    "standard error.";

/// A finite number for which `fits` holds.
CLI::Validator number(const char* what, bool (*fits)(double))
{
    return CLI::Validator(
        [=](const std::string& text) {
            const std::optional<double> x = varnex3::parseNumber(text);
            if (x && std::isfinite(*x) && fits(*x)) return std::string();
            return fmt::format("{} is needed, not \"{}\"", what, text);
        },
        "NUMBER");
}

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
    command->add_option("--threads", arguments.threads, "processors to work on; all unless given")
        ->check(CLI::Range(1, 1024));
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
    command->add_option("--threads", arguments.threads, "processors to work on; all unless given")
        ->check(CLI::Range(1, 1024));
    command->add_flag("--quiet,-q", arguments.quiet, "no progress");
    command->add_option("--json", arguments.json,
                        "write all results as JSON to this file, - for standard output");
    command->add_option("--csv", arguments.csv,
                        "write every trial as CSV to this file, - for standard output");
    command->add_option("--save", arguments.save,
                        "write a copy of the workbook with the results and every trial to this file");
    return command;
}

CLI::App* addSensitivity(CLI::App& app, SensitivityArguments& arguments)
{
    CLI::App* command = app.add_subcommand(
        "sensitivity", "Predict from derivatives what the spreads of the inputs do to every response");
    command->add_option("STUDY", arguments.study, "the study file")->required();
    command->add_option("--order", arguments.order, "1 without, 2 with the shift of the means")
        ->check(CLI::IsMember({1, 2}));
    command->add_option("--derivs", arguments.derivs, "quick or accurate, instead of the study's Derivs")
        ->check(CLI::IsMember({"quick", "accurate"}));
    command->add_option("--json", arguments.json,
                        "write all results as JSON to this file, - for standard output");
    return command;
}

CLI::App* addAllocate(CLI::App& app, AllocateArguments& arguments)
{
    CLI::App* command =
        app.add_subcommand("allocate", "Divide the spread that a response may have among its inputs");
    command->add_option("STUDY", arguments.study, "the study file")->required();
    command->add_option("--response", arguments.response, "the id of the response")->required();
    CLI::Option_group* goal = command->add_option_group("Goal", "what the response is to have");
    goal->add_option("--pnc", arguments.pnc, "this probability of falling outside its limits")
        ->check(number("a probability above 0 and below 1", [](double p) { return p > 0.0 && p < 1.0; }));
    goal->add_option("--stdev", arguments.stdev, "this standard deviation")
        ->check(number("a number above 0", [](double s) { return s > 0.0; }));
    goal->require_option(1);
    command->add_option("--disparity", arguments.disparity, "how much the drivers count, 0 to 1")
        ->check(number("a number from 0 to 1", [](double d) { return d >= 0.0 && d <= 1.0; }))
        ->capture_default_str();
    command->add_flag("--cost", arguments.cost, "the drivers are costs: a dear input gets more, not less");
    command->add_flag("--verify", arguments.verify, "simulate the allocated design");
    command->add_option("--trials", arguments.trials, "trials of the simulation")
        ->check(CLI::Range(50, 100000000))
        ->capture_default_str();
    command->add_option("--seed", arguments.seed, "the seed of the simulation")
        ->check(CLI::Range(1, 2147483647));
    command->add_option("--write-study", arguments.writeStudy,
                        "write the study with the allocated spreads to this file");
    command->add_option("--json", arguments.json,
                        "write all results as JSON to this file, - for standard output");
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

void addCompletion(CLI::App& app, std::string& shell)
{
    CLI::App* command = app.add_subcommand("completion", "Print a script that completes command lines");
    command->add_option("SHELL", shell, "bash or zsh")->required()->check(CLI::IsMember({"bash", "zsh"}));
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
    SensitivityArguments sensitivity;
    AllocateArguments allocate;
    CalcArguments calc;
    FunctionsArguments functions;
    const CLI::App* checkCommand = addCheck(app, check);
    const CLI::App* optimizeCommand = addOptimize(app, optimize);
    const CLI::App* simulateCommand = addSimulate(app, simulate);
    const CLI::App* sensitivityCommand = addSensitivity(app, sensitivity);
    const CLI::App* allocateCommand = addAllocate(app, allocate);
    const CLI::App* calcCommand = addCalc(app, calc);
    const CLI::App* functionsCommand = addFunctions(app, functions);
    std::string shell;
    addCompletion(app, shell);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? exitCode::Done : exitCode::Refused;
    }
    if (checkCommand->parsed()) return runCheck(check);
    if (optimizeCommand->parsed()) return runOptimize(optimize);
    if (simulateCommand->parsed()) return runSimulate(simulate);
    if (sensitivityCommand->parsed()) return runSensitivity(sensitivity);
    if (allocateCommand->parsed()) return runAllocate(allocate);
    if (calcCommand->parsed()) return runCalc(calc);
    if (functionsCommand->parsed()) return runFunctions(functions);
    fmt::print("{}", shell == "zsh" ? zshCompletion(app) : bashCompletion(app));
    return exitCode::Done;
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
