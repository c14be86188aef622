// cli/Command.h - the commands of the program, one per file, and their exit codes.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace varnex3::cli {

namespace exitCode {
inline constexpr int Done = 0;
inline constexpr int RunFailed = 1;         // the error report is on standard error
inline constexpr int Refused = 2;           // usage, study or workbook
inline constexpr int ConstraintsNotMet = 3; // done, but the best design violates a constraint
inline constexpr int Cancelled = 130;
} // namespace exitCode

struct CheckArguments {
    std::string file; // a study, or a workbook
    std::string json; // where to write; "-" for standard output; empty for no JSON
};

struct OptimizeArguments {
    std::string study;
    int seed = 0; // 0: from the clock
    int runs = 1; // from the same start, with seeds one after the other; the best one counts
    bool quiet = false;
    std::string onCancel = "ask";
    std::string json, csv;
    int maxGens = 0; // 0: as the study says
    int threads = 0; // 0: one for each processor
};

struct SimulateArguments {
    std::string study;
    int trials = 0; // 0: as the study says
    int seed = 0;
    std::string sampling; // empty: as the study says
    std::string json, csv;
    std::string save; // a workbook to write, with all trials
    int threads = 0;  // 0: one for each processor
    bool quiet = false;
};

struct SensitivityArguments {
    std::string study;
    int order = 0;      // 0: as the study says
    std::string derivs; // "quick", "accurate"; empty: as the study says
    std::string json;
};

struct AllocateArguments {
    std::string study;
    std::string response;             // id
    std::optional<double> pnc, stdev; // one of them: what the response is to have
    double disparity = 0.5;           // 0 to 1
    bool cost = false;                // the drivers are costs
    bool verify = false;              // by a simulation
    int trials = 100000;              // of the simulation
    int seed = 0;                     // 0: from the clock
    std::string writeStudy, json;
};

struct CalcArguments {
    std::string workbook;
    std::vector<std::string> set; // CELL=VALUE
    std::vector<std::string> get; // CELL or AREA
    std::string json;
};

struct FunctionsArguments {
    std::string pattern; // part of a name or summary; empty for all
    bool markdown = false;
    std::string json;
};

int runCheck(const CheckArguments& arguments);
int runOptimize(const OptimizeArguments& arguments);
int runSimulate(const SimulateArguments& arguments);
int runSensitivity(const SensitivityArguments& arguments);
int runAllocate(const AllocateArguments& arguments);
int runCalc(const CalcArguments& arguments);
int runFunctions(const FunctionsArguments& arguments);

} // namespace varnex3::cli
