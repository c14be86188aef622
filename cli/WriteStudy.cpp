// cli/WriteStudy.cpp - replacing lines of a study, so that its comments and order survive.
#include "WriteStudy.h"

#include <cstdio>
#include <filesystem>
#include <memory>

#include <fmt/format.h>

#include "Output.h"

namespace varnex3::cli {
namespace {

std::string contentOf(const std::string& path)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file) throw Refused(fmt::format("{}: the study cannot be read again", path));
    std::string content;
    char part[4096];
    while (const std::size_t n = std::fread(part, 1, sizeof part, file.get())) content.append(part, n);
    return content;
}

std::vector<std::string> linesOf(const std::string& content)
{
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < content.size();) {
        const std::size_t end = std::min(content.find('\n', at), content.size());
        lines.push_back(content.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

std::string trimmed(const std::string& line)
{
    const std::size_t from = line.find_first_not_of(" \t");
    if (from == std::string::npos) return {};
    return line.substr(from, line.find_last_not_of(" \t\r") - from + 1);
}

bool isKey(const std::string& line, const std::string& key)
{
    const std::string text = trimmed(line);
    if (text.compare(0, key.size(), key) != 0) return false;
    const std::size_t next = text.find_first_not_of(" \t", key.size());
    return next != std::string::npos && text[next] == '=';
}

/// Index of the line, or past the end of the parameter's entry.
struct Found {
    std::size_t line;
    bool there;
};

Found findEntry(const std::vector<std::string>& lines, std::size_t header)
{
    std::size_t last = header;
    for (std::size_t n = header + 1; n < lines.size(); ++n) {
        const std::string text = trimmed(lines[n]);
        if (!text.empty() && text.front() == '[') break;
        if (isKey(lines[n], "stdev") || isKey(lines[n], "tolerance")) return {n, true};
        if (!text.empty() && text.front() != '#') last = n;
    }
    return {last + 1, false};
}

void replaceSpread(std::vector<std::string>& lines, const StudyParameter& p, const std::string& entry)
{
    const auto header = static_cast<std::size_t>(p.place.line - 1);
    if (header >= lines.size() || trimmed(lines[header]).compare(0, 13, "[[parameter]]") != 0)
        throw Refused(p.place, "to write the study, each parameter must be a [[parameter]] entry of its own");
    const Found found = findEntry(lines, header);
    if (found.there)
        lines[found.line] = entry + "  # before: " + trimmed(lines[found.line]);
    else if (p.stdev.given() || p.tolerance.given())
        throw Refused(p.place, "to write the study, its spread must be a line \"stdev = ...\" or "
                               "\"tolerance = { ... }\"");
    else
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(found.line), entry);
}

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') result += '\\';
        result += c;
    }
    return result + "\"";
}

void adaptWorkbook(std::vector<std::string>& lines, const Study& study, const std::string& path)
{
    namespace fs = std::filesystem;
    const auto folderOf = [](const std::string& file) { return fs::absolute(file).parent_path(); };
    const fs::path from = folderOf(study.path), to = folderOf(path);
    if (from.lexically_normal() == to.lexically_normal()) return;
    const fs::path workbook = fs::absolute(study.workbookPath).lexically_normal();
    const auto line = static_cast<std::size_t>(study.workbookPlace.line - 1);
    if (line >= lines.size() || !isKey(lines[line], "workbook"))
        throw Refused(study.workbookPlace, "to write the study, \"workbook\" must be a line of its own");
    lines[line] = "workbook = " + quoted(workbook.lexically_relative(to.lexically_normal()).generic_string());
}

} // namespace

void writeStudy(const Study& study, const std::vector<NewSpread>& spreads, const std::string& path)
{
    std::vector<std::string> lines = linesOf(contentOf(study.path));
    adaptWorkbook(lines, study, path);
    // From the end, so that an inserted line moves no entry that is still to come.
    for (auto it = spreads.rbegin(); it != spreads.rend(); ++it)
        replaceSpread(lines, study.parameters[it->parameter], it->entry);
    std::string content;
    for (const std::string& line : lines) content += line + "\n";
    writeFile(path, content);
}

} // namespace varnex3::cli
