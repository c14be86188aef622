// cli/StudySection.h - reading one table of the study file: keys by kind, places, unknown keys.
//
// Brings toml++ along: for the .cpp files that read the study only.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <toml++/toml.h>

#include "Study.h"
#include "Suggest.h"

namespace varnex3::cli {

inline int lineOf(const toml::node& node) { return static_cast<int>(node.source().begin.line); }

inline std::string typeName(const toml::node& node)
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

    /// The table under a key; nothing when the key is absent.
    std::optional<Section> section(const std::string& key)
    {
        const toml::node* node = find(key);
        if (!node) return std::nullopt;
        if (!node->is_table()) throw Refused(placeOf(key), fmt::format("write it as a table, [{}]", key));
        return Section(*node->as_table(), file_, prefix_.empty() ? key : prefix_ + "." + key);
    }

    const toml::table& table() const { return table_; }
    const std::string& file() const { return file_; }

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

private:
    const toml::table& table_;
    std::string file_;
    std::string prefix_;
    std::set<std::string> asked_;
};

inline void requireOneOf(Section& section, const std::string& key, const std::string& value,
                         std::initializer_list<const char*> allowed)
{
    if (std::find(allowed.begin(), allowed.end(), value) != allowed.end()) return;
    std::string list;
    for (const char* text : allowed) list += fmt::format("{}\"{}\"", list.empty() ? "" : ", ", text);
    throw Refused(section.placeOf(key), fmt::format("\"{}\" is none of {}", value, list));
}

inline void readNames(Section& section, std::string& id, std::string& name)
{
    id = section.text("id");
    if (id.empty()) throw Refused(section.placeOf("id"), "an id cannot be empty");
    name = section.text("name", id);
}

} // namespace varnex3::cli
