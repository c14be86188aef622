// cli/Study.cpp - reading the study file with toml++.
#include "Study.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "StudyDistributions.h"
#include "StudySection.h"
#include "StudyTolerance.h"

namespace varnex3::cli {
namespace {

StudyParameter readParameter(Section section)
{
    StudyParameter p;
    p.place = section.place();
    readNames(section, p.id, p.name);
    p.cell = section.textEntry("cell");
    p.type = section.text("type", "Continuous");
    requireOneOf(section, "type", p.type, {"Continuous", "Integer", "Discrete", "Noise", "Constant"});
    p.stdev = section.numberOrCell("stdev");
    p.distribution = readDistribution(section, p.type);
    readTolerance(section, p);

    const bool hasRange = section.find("range") != nullptr;
    const bool hasValues = section.find("values") != nullptr;
    if (p.type == "Noise" || p.type == "Constant") {
        if (hasRange || hasValues)
            throw Refused(
                section.placeOf(hasRange ? "range" : "values"),
                fmt::format("a \"{}\" parameter is not searched and takes no range or values", p.type));
    } else if (hasRange == hasValues && (hasRange || !isOnlyAnalysed(p))) {
        if (!hasRange) section.refuseMisspelt("range");
        if (!hasRange) section.refuseMisspelt("values");
        throw Refused(p.place, hasRange ? "give either \"range\" or \"values\", not both"
                                        : "give \"range = [least, greatest]\" or \"values = [...]\", or "
                                          "\"stdev\" or \"tolerance\" when it is analysed, not searched");
    } else if (hasRange) {
        if (p.type == "Discrete")
            throw Refused(section.placeOf("range"), "a \"Discrete\" parameter needs \"values = [...]\"");
        p.values = section.numbers("range");
        p.valuesPlace = section.placeOf("range");
        if (p.values.size() != 2 || !(p.values[0] < p.values[1]))
            throw Refused(p.valuesPlace, "a range is [least, greatest], the least below the greatest");
    } else if (hasValues) {
        p.values = section.numbers("values");
        p.valuesPlace = section.placeOf("values");
    }
    if (p.type == "Integer")
        for (double v : p.values)
            if (v != std::floor(v)) throw Refused(p.valuesPlace, fmt::format("{} is not a whole number", v));
    section.finish();
    return p;
}

StudyResponse readResponse(Section section)
{
    StudyResponse r;
    r.place = section.place();
    readNames(section, r.id, r.name);
    r.cell = section.textEntry("cell");
    r.lsl = section.numberOrCell("lsl");
    r.usl = section.numberOrCell("usl");
    section.finish();
    return r;
}

/// What constraints and goals share.
template <class Item>
void readRequirement(Section& section, Item& item)
{
    item.place = section.place();
    readNames(section, item.id, item.name);
    item.response = section.textEntry("response");
    item.aspect = section.text("aspect", "Mean");
    requireOneOf(section, "aspect", item.aspect, {"Mean", "StDev", "pnc"});
    item.oper = section.text("oper");
    requireOneOf(section, "oper", item.oper, {"<=", ">=", "="});
}

void requireGiven(const NumberOrCell& entry, Section& section, const char* key)
{
    if (entry.given()) return;
    section.refuseMisspelt(key);
    throw Refused(section.place(), fmt::format("the key \"{}\" is missing", key));
}

StudyConstraint readConstraint(Section section)
{
    StudyConstraint c;
    readRequirement(section, c);
    c.reqt = section.numberOrCell("reqt");
    requireGiven(c.reqt, section, "reqt");
    section.finish();
    return c;
}

StudyGoal readGoal(Section section)
{
    StudyGoal g;
    readRequirement(section, g);
    g.target = section.numberOrCell("target");
    requireGiven(g.target, section, "target");
    g.priority = section.wholeNumber("priority", 1);
    g.weight = section.numberOrCell("weight");
    if (!g.weight.given()) g.weight.value = 1.0;
    section.finish();
    return g;
}

StudyOptions readOptions(Section section)
{
    StudyOptions o;
    o.place = section.place();
    o.StopRule = section.text("StopRule", o.StopRule);
    o.MaxGens = section.wholeNumber("MaxGens", o.MaxGens);
    o.GenSize = section.wholeNumber("GenSize", o.GenSize);
    o.Precision = section.number("Precision", o.Precision);
    o.Derivs = section.text("Derivs", o.Derivs);
    o.Stats = section.text("Stats", o.Stats);
    o.StoreYs = section.text("StoreYs", o.StoreYs);
    if (const toml::node* trials = section.find("OptTrials")) {
        const auto asText = trials->value_exact<std::string>();
        o.OptTrials = asText ? *asText : std::to_string(section.wholeNumber("OptTrials", 0));
    }
    o.dbg = section.text("dbg", "");
    requireOneOf(section, "StopRule", o.StopRule, {"Stop after no change", "Stop after fixed #"});
    requireOneOf(section, "Derivs", o.Derivs, {"Quick", "Accurate"});
    requireOneOf(section, "Stats", o.Stats,
                 {"No Statistics", "1st Order Sensitivity Analysis", "2nd Order Sensitivity Analysis",
                  "Monte Carlo Analysis"});
    requireOneOf(section, "StoreYs", o.StoreYs, {"Yes", "No"});
    for (const char* key : {"beforeMacro", "afterMacro"})
        if (section.find(key))
            throw Refused(section.placeOf(key),
                          "workbook macros are not run by this program; remove the key");
    section.finish();
    return o;
}

template <class Items>
void requireUniqueIds(const Items& items)
{
    std::set<std::string> seen;
    for (const auto& item : items)
        if (!seen.insert(item.id).second)
            throw Refused(item.place, fmt::format("the id \"{}\" is used twice", item.id));
}

template <class Items>
void requireKnown(const TextEntry& entry, const Items& items, const char* kind)
{
    std::set<std::string> ids;
    for (const auto& item : items) ids.insert(item.id);
    if (ids.count(entry.value) != 0) return;
    const std::string near = nearest(entry.value, ids);
    throw Refused(entry.place, fmt::format("there is no {} \"{}\"{}", kind, entry.value,
                                           near.empty() ? "" : fmt::format("; did you mean \"{}\"?", near)));
}

void checkReferences(const Study& study)
{
    requireUniqueIds(study.parameters);
    requireUniqueIds(study.responses);
    requireUniqueIds(study.constraints);
    requireUniqueIds(study.goals);
    for (const auto& c : study.constraints) requireKnown(c.response, study.responses, "response");
    for (const auto& g : study.goals) requireKnown(g.response, study.responses, "response");
    for (const auto& id : study.recalculateBefore) requireKnown(id, study.parameters, "parameter");
    std::set<std::string> ordered;
    for (const auto& id : study.calculationOrder) {
        requireKnown(id, study.parameters, "parameter");
        if (!ordered.insert(id.value).second)
            throw Refused(id.place, fmt::format("\"{}\" stands twice in the order", id.value));
    }
    if (ordered.empty()) return;
    for (const auto& p : study.parameters)
        if (ordered.count(p.id) == 0)
            throw Refused(study.calculationOrder.front().place,
                          fmt::format("the order must name every parameter; \"{}\" is missing", p.id));
}

void noteLines(const toml::table& table, const std::string& prefix, std::map<std::string, int>& lines)
{
    for (const auto& [key, node] : table) {
        const std::string name = prefix + std::string(key.str());
        lines[name] = lineOf(node);
        if (const toml::table* inner = node.as_table()) noteLines(*inner, name + ".", lines);
        const toml::array* list = node.as_array();
        for (std::size_t i = 0; list && i < list->size(); ++i)
            if (const toml::table* item = (*list)[i].as_table())
                noteLines(*item, fmt::format("{}[{}].", name, i + 1), lines);
    }
}

} // namespace

std::string Place::text() const
{
    std::string where = file;
    if (line > 0) where += fmt::format(":{}", line);
    return key.empty() ? where : where + ": " + key;
}

Study readStudy(const std::string& path)
{
    std::error_code failure;
    if (!std::filesystem::is_regular_file(path, failure))
        throw Refused(fmt::format("{}: there is no such study file", path));
    toml::table table;
    try {
        table = toml::parse_file(path);
    } catch (const toml::parse_error& e) {
        throw Refused(Place{path, static_cast<int>(e.source().begin.line), ""},
                      fmt::format("this is not TOML: {}", e.description()));
    }

    Study study;
    study.path = path;
    Section top(table, path, "");
    const std::string workbook = top.text("workbook");
    study.workbookPlace = top.placeOf("workbook");
    study.workbookPath = (std::filesystem::path(path).parent_path() / workbook).string();
    for (Section& s : top.sections("parameter")) study.parameters.push_back(readParameter(std::move(s)));
    for (Section& s : top.sections("response")) study.responses.push_back(readResponse(std::move(s)));
    for (Section& s : top.sections("constraint")) study.constraints.push_back(readConstraint(std::move(s)));
    for (Section& s : top.sections("goal")) study.goals.push_back(readGoal(std::move(s)));
    study.calculationOrder = top.texts("calculation_order");
    study.recalculateBefore = top.texts("recalculate_before");
    if (const toml::node* options = top.find("options")) {
        if (!options->is_table()) throw Refused(top.placeOf("options"), "write it as a table, [options]");
        study.options = readOptions(Section(*options->as_table(), path, "options"));
    }
    study.monteCarlo = readMonteCarlo(top);
    study.correlations = readCorrelations(top, study.parameters);
    top.finish();
    checkReferences(study);
    noteLines(table, "", study.lines);
    return study;
}

} // namespace varnex3::cli
