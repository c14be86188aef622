// cli/Output.cpp - tables, JSON and files that are written whole or not at all.
#include "Output.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include <unistd.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Study.h"

namespace varnex3::cli {
namespace {

/// Columns that a text takes on a terminal: bytes that start a UTF-8 character.
std::size_t width(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

const char* errorName(ErrorValue e)
{
    switch (e.code) {
    case 2000: return "#NULL!";
    case 2007: return "#DIV/0!";
    case 2015: return "#VALUE!";
    case 2023: return "#REF!";
    case 2029: return "#NAME?";
    case 2036: return "#NUM!";
    case 2042: return "#N/A";
    case 2045: return "#SPILL!";
    case 2046: return "#CIRCULAR!";
    case 2050: return "#CALC!";
    default: return "#ERROR!";
    }
}

class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& target) : path_(target + fmt::format(".{}.part", getpid())) {}
    ~TemporaryFile()
    {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove(path_, ignored);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& path() const { return path_; }
    void release() { path_.clear(); }

private:
    std::string path_;
};

} // namespace

std::string Table::text(const std::string& indent) const
{
    std::vector<std::size_t> widths(columns_.size());
    for (const auto& cells : rows_)
        for (std::size_t c = 0; c < cells.size(); ++c) widths[c] = std::max(widths[c], width(cells[c]));
    std::string result;
    for (const auto& cells : rows_) {
        std::string line = indent;
        for (std::size_t c = 0; c < cells.size(); ++c) {
            const std::string padding(widths[c] - width(cells[c]), ' ');
            if (c > 0) line += "  ";
            line += columns_[c] == Align::Left ? cells[c] + padding : padding + cells[c];
        }
        line.erase(line.find_last_not_of(' ') + 1);
        result += line + "\n";
    }
    return result;
}

std::string shown(double x) { return fmt::format("{:.7g}", x == 0.0 ? 0.0 : x); }

std::string shown(const Variant& v)
{
    if (const double* x = v.asNumber()) return shown(*x);
    if (const bool* b = v.asBoolean()) return *b ? "TRUE" : "FALSE";
    if (const std::string* text = v.asText()) return "\"" + *text + "\"";
    if (const ErrorValue* e = v.asError()) return errorName(*e);
    return v.isEmpty() ? "(empty)" : "(array)";
}

nlohmann::json toJson(double x) { return std::isfinite(x) ? nlohmann::json(x) : nlohmann::json(nullptr); }

nlohmann::json toJson(const Variant& v)
{
    if (const double* x = v.asNumber()) return toJson(*x);
    if (const bool* b = v.asBoolean()) return *b;
    if (const std::string* text = v.asText()) return *text;
    if (const ErrorValue* e = v.asError()) return {{"error", errorName(*e)}};
    if (const auto* cells = std::get_if<VariantArray2>(&v.held())) {
        nlohmann::json rows = nlohmann::json::array();
        for (Long r : oneTo((*cells)->rows())) {
            nlohmann::json row = nlohmann::json::array();
            for (Long c : oneTo((*cells)->cols())) row.push_back(toJson((**cells)(r, c)));
            rows.push_back(std::move(row));
        }
        return rows;
    }
    return nullptr;
}

void requireWritable(const std::string& path)
{
    if (path.empty() || path == "-") return;
    const std::filesystem::path target(path);
    std::error_code failure;
    if (std::filesystem::is_directory(target, failure))
        throw Refused(fmt::format("{}: this is a folder; name a file in it", path));
    const std::string folder = target.has_parent_path() ? target.parent_path().string() : ".";
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        throw Refused(fmt::format("{}: the file cannot be created; is the folder there and writable?", path));
}

void writeFile(const std::string& path, const std::string& content)
{
    if (path == "-") {
        if (std::fwrite(content.data(), 1, content.size(), stdout) != content.size() ||
            std::fflush(stdout) != 0)
            throw Refused("standard output: the results could not be written");
        return;
    }
    TemporaryFile temporary(path);
    std::FILE* file = std::fopen(temporary.path().c_str(), "wb");
    if (!file)
        throw Refused(fmt::format("{}: the file cannot be created; is the folder there and writable?", path));
    const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    const bool closed = std::fclose(file) == 0;
    std::error_code failure;
    if (written && closed) std::filesystem::rename(temporary.path(), path, failure);
    if (!written || !closed || failure)
        throw Refused(fmt::format("{}: the file could not be written; is the disk full?", path));
    temporary.release();
}

void writeJson(const std::string& path, const nlohmann::json& document)
{
    writeFile(path, document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
}

std::string csvField(const std::string& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

std::string csvField(double x)
{
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, x);
    return std::string(text, end.ptr);
}

} // namespace varnex3::cli
