// cli/Output.h - tables for people, files for programs.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "runtime/Variant.h"

namespace varnex3::cli {

/// A table of texts with aligned columns; the first row is the heading.
class Table {
public:
    enum class Align { Left, Right };

    explicit Table(std::vector<Align> columns) : columns_(std::move(columns)) {}
    void row(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    bool empty() const { return rows_.size() < 2; }
    std::string text(const std::string& indent = "  ") const;

private:
    std::vector<Align> columns_;
    std::vector<std::vector<std::string>> rows_;
};

/// A number for people: seven significant digits. Programs read the JSON.
std::string shown(double x);

/// A value of any kind for people; error values by their name.
std::string shown(const Variant& v);

/// A value of any kind for programs: numbers at full precision, error values as {"error": "#DIV/0!"}.
nlohmann::json toJson(const Variant& v);

/// A number for programs; not finite ones, which JSON lacks, become null.
nlohmann::json toJson(double x);

/// Raises Refused unless a file could be made at `path`: asked before long work, not after it.
void requireWritable(const std::string& path);

/// Writes a whole file or nothing: into a temporary file beside it, then renamed. "-" is standard output.
/// Raises Refused when it cannot.
void writeFile(const std::string& path, const std::string& content);
void writeJson(const std::string& path, const nlohmann::json& document);

/// Text as one field of a CSV line, quoted where it must be.
std::string csvField(const std::string& text);
/// A number as a CSV field: the shortest text that reads back as the same double.
std::string csvField(double x);

} // namespace varnex3::cli
