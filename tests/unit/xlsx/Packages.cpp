// tests/unit/xlsx/Packages.cpp - packages for the reader's tests.
#include "unit/xlsx/Packages.h"

#include <algorithm>
#include <charconv>
#include <span>
#include <stdexcept>

#include <zip.h>

#include "sheet/files/Open.h"
#include "sheet/formula/Parser.h"

namespace varnex3::sheet::test {

namespace {

const char* const kRelationshipsOpen =
    R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)";
const char* const kTypes = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";

std::string shown(const Value& v)
{
    switch (v.kind()) {
    case Kind::Empty: return "nothing";
    case Kind::Number: {
        char text[32];
        const auto end = std::to_chars(text, text + sizeof text, v.number()).ptr;
        return std::string(text, end);
    }
    case Kind::Boolean: return v.boolean() ? "TRUE" : "FALSE";
    case Kind::Failure: return std::string(failureText(v.failure()));
    case Kind::Text: return "'" + v.text() + "'";
    default: return "?";
    }
}

} // namespace

std::string zipped(const Parts& parts)
{
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* target = zip_source_buffer_create(nullptr, 0, 0, &error);
    zip_t* zip = target ? zip_open_from_source(target, ZIP_TRUNCATE, &error) : nullptr;
    if (!zip) throw std::logic_error("no archive");
    zip_source_keep(target);
    for (const auto& [name, content] : parts)
        zip_file_add(zip, name.c_str(), zip_source_buffer(zip, content.data(), content.size(), 0), 0);
    if (zip_close(zip) != 0) throw std::logic_error(zip_strerror(zip));
    zip_stat_t about;
    zip_stat_init(&about);
    zip_source_stat(target, &about);
    std::string bytes(about.size, '\0');
    zip_source_open(target);
    zip_source_read(target, bytes.data(), bytes.size());
    zip_source_close(target);
    zip_source_free(target);
    return bytes;
}

Parts workbookParts(const std::string& rows, const Parts& more)
{
    Parts parts = {
        {"_rels/.rels", std::string(kRelationshipsOpen) + R"(<Relationship Id="rId1" Type=")" + kTypes +
                            R"(officeDocument" Target="xl/workbook.xml"/></Relationships>)"},
        {"xl/workbook.xml",
         R"(<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" )"
         R"(xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships">)"
         R"(<sheets><sheet name="Data" sheetId="1" r:id="rId1"/></sheets></workbook>)"},
        {"xl/_rels/workbook.xml.rels",
         std::string(kRelationshipsOpen) + R"(<Relationship Id="rId1" Type=")" + kTypes +
             R"(worksheet" Target="worksheets/sheet1.xml"/><Relationship Id="rId2" Type=")" + kTypes +
             R"(sharedStrings" Target="sharedStrings.xml"/><Relationship Id="rId3" Type=")" + kTypes +
             R"(styles" Target="styles.xml"/></Relationships>)"},
        {"xl/worksheets/sheet1.xml",
         R"(<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData>)" +
             rows + "</sheetData></worksheet>"},
    };
    for (const auto& [name, content] : more) {
        const std::string& wanted = name;
        std::erase_if(parts, [&](const auto& part) { return part.first == wanted; });
        if (!content.empty()) parts.emplace_back(name, content);
    }
    return parts;
}

SheetIndex Recorder::addSheet(std::string name)
{
    sheets.push_back(std::move(name));
    return static_cast<SheetIndex>(sheets.size()) - 1;
}
void Recorder::settings(const CalculationSettings& settings) { told = settings; }
void Recorder::defineName(std::string name, std::optional<SheetIndex> scope, std::string formula)
{
    names.push_back((scope ? std::to_string(*scope) + "!" : std::string()) + name + " = " + formula);
}

namespace {
std::string at(const CellAddress& cell)
{
    return (cell.sheet == 0 ? std::string() : std::to_string(cell.sheet) + "!") + a1Text(cell);
}
} // namespace

void Recorder::constant(const CellAddress& cell, Value value)
{
    cells.push_back(at(cell) + " = " + shown(value));
}
void Recorder::formula(const CellAddress& cell, std::string_view text, Value stored)
{
    cells.push_back(at(cell) + " : " + std::string(text) + " -> " + shown(stored));
}
void Recorder::sharedMaster(const CellAddress& cell, std::uint32_t group, std::string_view text, Value stored)
{
    cells.push_back(at(cell) + " master " + std::to_string(group) + " : " + std::string(text) + " -> " +
                    shown(stored));
}
void Recorder::sharedFollower(const CellAddress& cell, std::uint32_t group, Value stored)
{
    cells.push_back(at(cell) + " follows " + std::to_string(group) + " -> " + shown(stored));
}
void Recorder::arrayFormula(const Area& area, std::string_view text, Value stored, bool spills)
{
    cells.push_back(at({area.sheet, area.row0, area.col0}) + ":" +
                    a1Text(CellAddress{0, area.row1, area.col1}) + (spills ? " spills" : " array") + " : " +
                    std::string(text) + " -> " + shown(stored));
}
void Recorder::arrayResult(const CellAddress& cell, Value stored)
{
    cells.push_back(at(cell) + " result " + shown(stored));
}
void Recorder::dateCell(const CellAddress& cell) { cells.push_back(at(cell) + " is a date"); }
void Recorder::externalLink(std::string target) { notices.push_back("link to " + target); }
void Recorder::externalSheet(std::size_t link, std::string name)
{
    notices.push_back("kept " + std::to_string(link) + " " + name);
}
void Recorder::externalCell(std::int32_t row, std::int32_t col, Value value)
{
    notices.back() += " " + a1Text(CellAddress{0, row, col}) + " = " + shown(value);
}
void Recorder::externalName(std::size_t link, std::string name, std::string formula)
{
    notices.push_back("kept " + std::to_string(link) + " " + name + formula);
}
void Recorder::notice(std::string where, std::string what) { notices.push_back(where + ": " + what); }

Recorder recordedAs(const std::string& name, const std::string& bytes, const ReadLimits& limits)
{
    Recorder recorder;
    openFile(std::as_bytes(std::span(bytes)), name, recorder, limits);
    return recorder;
}

std::string refusalAs(const std::string& name, const std::string& bytes, const ReadLimits& limits)
{
    try {
        recordedAs(name, bytes, limits);
    } catch (const FileError& error) {
        return error.what();
    }
    return {};
}

Recorder recorded(const std::string& bytes, const ReadLimits& limits)
{
    return recordedAs("book.xlsx", bytes, limits);
}

std::string refusal(const std::string& bytes, const ReadLimits& limits)
{
    return refusalAs("book.xlsx", bytes, limits);
}

namespace {
std::string documentMarkup(const std::string& root, const std::string& spreadsheet)
{
    const std::string names = "urn:oasis:names:tc:opendocument:xmlns:";
    return "<o:" + root + " xmlns:o=\"" + names + "office:1.0\" xmlns:t=\"" + names +
           "table:1.0\" xmlns:x=\"" + names +
           "text:1.0\" xmlns:c=\"urn:org:documentfoundation:names:experimental:calc:xmlns:calcext:1.0\">"
           "<o:body><o:spreadsheet>" +
           spreadsheet + "</o:spreadsheet></o:body></o:" + root + ">";
}
} // namespace

std::string openDocument(const std::string& spreadsheet)
{
    return zipped({{"mimetype", "application/vnd.oasis.opendocument.spreadsheet"},
                   {"content.xml", documentMarkup("document-content", spreadsheet)}});
}

std::string flatDocument(const std::string& spreadsheet)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + documentMarkup("document", spreadsheet);
}

} // namespace varnex3::sheet::test
