// cli/Study.cpp - reading the study file with toml++.
#include "Study.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <set>
#include <utility>

#include <fmt/format.h>
#include <toml++/toml.h>

#include "Suggest.h"

namespace varnex3::cli {
namespace {

int lineOf(const toml::node& node) { return static_cast<int>(node.source().begin.line); }

std::string typeName(const toml::node& node)
{
    switch (node.type()) {
    case toml::node_type::table: return "a table";
    case toml::node_type::array: return "a list";
    case toml::node_type::string: return "a text";
    case toml::node_type::integer:
    case toml::node_type::floating_point: return "a number";
    case toml::node_type::boolean: return "true or false";
    default: return "a date or time";
    }
}

/// One table of the file. Every key asked for is noted; `finish` refuses those that nobody asked for.
class Section {
public:
    Section(const toml::table& table, std::string file, std::string prefix)
        : table_(table), file_(std::move(file)), prefix_(std::move(prefix))
    {}

    Place place() const { return {file_, lineOf(table_), prefix_}; }
    Place placeOf(const std::string& key) const
    {
        const toml::node* node = table_.get(key);
        return {file_, node ? lineOf(*node) : lineOf(table_), prefix_.empty() ? key : prefix_ + "." + key};
    }

    const toml::node* find(const std::string& key)
    {
        asked_.insert(key);
        return table_.get(key);
    }

    const toml::node& require(const std::string& key)
    {
        const toml::node* node = find(key);
        if (!node) {
            refuseMisspelt(key);
            throw Refused(place(), fmt::format("the key \"{}\" is missing", key));
        }
        return *node;
    }

    /// A missing key is more likely one with a slip of the finger: refuses that.
    void refuseMisspelt(const std::string& key) const
    {
        for (const auto& [written, node] : table_)
            if (const std::string name(written.str());
                asked_.count(name) == 0 && !nearest(name, {key}).empty())
                throw Refused(Place{file_, lineOf(node), prefix_.empty() ? name : prefix_ + "." + name},
                              fmt::format("unknown key; did you mean \"{}\"?", key));
    }

    std::string text(const std::string& key) { return asText(require(key), placeOf(key)); }
    std::string text(const std::string& key, std::string fallback)
    {
        const toml::node* node = find(key);
        return node ? asText(*node, placeOf(key)) : std::move(fallback);
    }
    TextEntry textEntry(const std::string& key) { return {text(key), placeOf(key)}; }

    double number(const std::string& key, double fallback)
    {
        const toml::node* node = find(key);
        return node ? asNumber(*node, placeOf(key)) : fallback;
    }
    int wholeNumber(const std::string& key, int fallback)
    {
        const toml::node* node = find(key);
        if (!node) return fallback;
        const auto whole = node->value_exact<std::int64_t>();
        if (!whole || *whole < -2147483647 || *whole > 2147483647)
            throw Refused(placeOf(key), "a whole number is needed");
        return static_cast<int>(*whole);
    }

    NumberOrCell numberOrCell(const std::string& key)
    {
        const toml::node* node = find(key);
        NumberOrCell entry{{}, placeOf(key)};
        if (!node) return entry;
        if (const auto cell = node->value_exact<std::string>()) {
            entry.value = *cell;
        } else if (node->is_number()) {
            entry.value = asNumber(*node, entry.place);
        } else {
            throw Refused(entry.place,
                          "a number or a cell such as \"Sheet1!B3\" is needed, not " + typeName(*node));
        }
        return entry;
    }

    std::vector<double> numbers(const std::string& key)
    {
        const toml::node& node = require(key);
        const toml::array* list = node.as_array();
        if (!list || list->empty())
            throw Refused(placeOf(key), "a list of numbers is needed, not " + typeName(node));
        std::vector<double> values;
        for (const toml::node& item : *list) values.push_back(asNumber(item, placeOf(key)));
        return values;
    }

    std::vector<TextEntry> texts(const std::string& key)
    {
        const toml::node* node = find(key);
        std::vector<TextEntry> values;
        if (!node) return values;
        const toml::array* list = node->as_array();
        if (!list) throw Refused(placeOf(key), "a list of ids is needed, not " + typeName(*node));
        for (const toml::node& item : *list) {
            Place at = placeOf(key);
            at.line = lineOf(item);
            values.push_back({asText(item, at), at});
        }
        return values;
    }

    /// The tables of an array of tables ([[parameter]]); none when the key is absent.
    std::vector<Section> sections(const std::string& key)
    {
        std::vector<Section> found;
        const toml::node* node = find(key);
        if (!node) return found;
        const toml::array* list = node->as_array();
        if (!list) throw Refused(placeOf(key), fmt::format("write each one as its own [[{}]] entry", key));
        for (const toml::node& item : *list) {
            const toml::table* table = item.as_table();
            if (!table)
                throw Refused(placeOf(key), fmt::format("write each one as its own [[{}]] entry", key));
            found.emplace_back(*table, file_, fmt::format("{}[{}]", key, found.size() + 1));
        }
        return found;
    }

    void finish() const
    {
        for (const auto& [key, node] : table_) {
            const std::string name(key.str());
            if (asked_.count(name) != 0) continue;
            const std::string near = nearest(name, asked_);
            throw Refused(Place{file_, lineOf(node), prefix_.empty() ? name : prefix_ + "." + name},
                          near.empty() ? "unknown key"
                                       : fmt::format("unknown key; did you mean \"{}\"?", near));
        }
    }

private:
    static std::string asText(const toml::node& node, const Place& at)
    {
        const auto text = node.value_exact<std::string>();
        if (!text) throw Refused(at, "a text is needed, not " + typeName(node));
        return *text;
    }
    static double asNumber(const toml::node& node, const Place& at)
    {
        const auto x = node.value<double>();
        if (!node.is_number() || !x) throw Refused(at, "a number is needed, not " + typeName(node));
        if (!std::isfinite(*x)) throw Refused(at, "a finite number is needed");
        return *x;
    }

    const toml::table& table_;
    std::string file_;
    std::string prefix_;
    std::set<std::string> asked_;
};

void requireOneOf(Section& section, const std::string& key, const std::string& value,
                  std::initializer_list<const char*> allowed)
{
    if (std::find(allowed.begin(), allowed.end(), value) != allowed.end()) return;
    std::string list;
    for (const char* text : allowed) list += fmt::format("{}\"{}\"", list.empty() ? "" : ", ", text);
    throw Refused(section.placeOf(key), fmt::format("\"{}\" is none of {}", value, list));
}

void readNames(Section& section, std::string& id, std::string& name)
{
    id = section.text("id");
    if (id.empty()) throw Refused(section.placeOf("id"), "an id cannot be empty");
    name = section.text("name", id);
}

StudyParameter readParameter(Section section)
{
    StudyParameter p;
    p.place = section.place();
    readNames(section, p.id, p.name);
    p.cell = section.textEntry("cell");
    p.type = section.text("type", "Continuous");
    requireOneOf(section, "type", p.type, {"Continuous", "Integer", "Discrete", "Noise", "Constant"});
    p.stdev = section.numberOrCell("stdev");

    const bool hasRange = section.find("range") != nullptr;
    const bool hasValues = section.find("values") != nullptr;
    if (p.type == "Noise" || p.type == "Constant") {
        if (hasRange || hasValues)
            throw Refused(
                section.placeOf(hasRange ? "range" : "values"),
                fmt::format("a \"{}\" parameter is not searched and takes no range or values", p.type));
    } else if (hasRange == hasValues) {
        if (!hasRange) section.refuseMisspelt("range");
        if (!hasRange) section.refuseMisspelt("values");
        throw Refused(p.place, hasRange ? "give either \"range\" or \"values\", not both"
                                        : "give \"range = [least, greatest]\" or \"values = [...]\"");
    } else if (hasRange) {
        if (p.type == "Discrete")
            throw Refused(section.placeOf("range"), "a \"Discrete\" parameter needs \"values = [...]\"");
        p.values = section.numbers("range");
        p.valuesPlace = section.placeOf("range");
        if (p.values.size() != 2 || !(p.values[0] < p.values[1]))
            throw Refused(p.valuesPlace, "a range is [least, greatest], the least below the greatest");
    } else {
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
    if (!entry.given()) throw Refused(section.place(), fmt::format("the key \"{}\" is missing", key));
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
    top.finish();
    checkReferences(study);
    noteLines(table, "", study.lines);
    return study;
}

} // namespace varnex3::cli
