// cli/Study.h - the study file: a TOML text beside the workbook that states the design problem.
//
// This is the text as read and checked for form, every entry with the line it stands on. Resolving cells
// against the workbook and filling a formulation is Problem.h's.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace varnex3::cli {

/// Where in the study file something stands.
struct Place {
    std::string file;
    int line = 0;    // from 1; 0 when it stands nowhere (a default)
    std::string key; // "parameter[2].cell"

    std::string text() const; // "beam.toml:12: parameter[2].cell"
};

/// A study or workbook that the program refuses: the message says where and what to do. Exit code 2.
class Refused : public std::runtime_error {
public:
    explicit Refused(const std::string& message) : std::runtime_error(message) {}
    Refused(const Place& place, const std::string& message)
        : std::runtime_error(place.text().empty() ? message : place.text() + ": " + message)
    {}
};

/// A number, a cell (its reference as text), or nothing.
struct NumberOrCell {
    std::variant<std::monostate, double, std::string> value;
    Place place;

    bool given() const { return !std::holds_alternative<std::monostate>(value); }
};

struct TextEntry {
    std::string value;
    Place place;
};

/// One component of a parameter's distribution.
struct StudyComponent {
    Place place;
    std::string family;
    std::array<NumberOrCell, 4> params;      // those of the family, in its order; data as an area of cells
    std::array<std::vector<double>, 2> data; // data families: values and weights given as lists
    NumberOrCell ltl, utl;                   // truncation
    double weight = 1.0;                     // within a mixture
};

struct StudyCorrelation {
    Place place;
    std::string first, second; // ids of parameters
    double coefficient = 0.0;
};

/// The settings of Monte Carlo runs.
struct StudyMonteCarlo {
    int trials = 10000;
    int sampleSize = 0; // 0: as many as trials
    int seed = 0;       // 0: from the clock
    bool latinHypercube = true;
    double alpha = 0.05;
    Place sampleSizePlace;
};

/// A tolerance, from which the standard deviation follows.
struct StudyTolerance {
    Place place;
    NumberOrCell halfWidth; // not given: the parameter has no tolerance
    NumberOrCell sigma;     // half width / standard deviation of a normal one
    bool percent = false;   // the half width is in percent of the value, otherwise in workbook units
    bool uniform = false;

    bool given() const { return halfWidth.given(); }
};

struct StudyParameter {
    Place place; // of the whole entry
    std::string id, name, type;
    TextEntry cell;
    std::vector<double> values; // the two ends of `range`, or the list of `values`
    Place valuesPlace;
    NumberOrCell stdev;
    std::vector<StudyComponent> distribution; // of a "Noise" parameter; of a searched one its family only
    StudyTolerance tolerance;
    bool keep = false;   // an allocation leaves its spread alone
    double driver = 1.0; // of an allocation: 0 or more
};

struct StudyResponse {
    Place place;
    std::string id, name;
    TextEntry cell;
    NumberOrCell lsl, usl;
};

struct StudyConstraint {
    Place place;
    std::string id, name, aspect, oper;
    TextEntry response; // id of a response
    NumberOrCell reqt;
};

struct StudyGoal {
    Place place;
    std::string id, name, aspect, oper;
    TextEntry response;
    NumberOrCell target, weight;
    int priority = 1;
};

/// The settings of a run under the library's own property names, with this program's defaults.
struct StudyOptions {
    Place place;
    std::string StopRule = "Stop after no change";
    int MaxGens = 50;
    int GenSize = 60;
    double Precision = 0.0001;
    std::string Derivs = "Quick";
    std::string Stats = "No Statistics";
    std::string StoreYs = "Yes";
    std::string OptTrials = "1000";
    std::string dbg;
};

struct Study {
    std::string path;         // of the study file
    std::string workbookPath; // resolved against the study's folder
    Place workbookPlace;
    std::vector<StudyParameter> parameters;
    std::vector<StudyResponse> responses;
    std::vector<StudyConstraint> constraints;
    std::vector<StudyGoal> goals;
    StudyOptions options;
    StudyMonteCarlo monteCarlo;
    std::vector<StudyCorrelation> correlations;
    std::vector<TextEntry> calculationOrder;  // parameter ids; empty: as listed
    std::vector<TextEntry> recalculateBefore; // parameter ids before which the workbook is recalculated
    std::map<std::string, int> lines;         // where each key stands, by its full name: "parameter[2].stdev"
};

/// Reads a study file. Raises Refused, naming file, line and key, for a file that cannot be read, TOML
/// that is none, unknown or missing keys, wrong types and references to ids that do not exist.
Study readStudy(const std::string& path);

} // namespace varnex3::cli
