// tests/unit/xlsx/Packages.h - workbook files made in memory, and a builder that writes down what it is told.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "sheet/model/BookBuilder.h"
#include "sheet/xlsx/Reader.h"

namespace varnex3::sheet::test {

using Parts = std::vector<std::pair<std::string, std::string>>; // name, content

/// A zip archive of these parts in this order.
std::string zipped(const Parts& parts);

/// The parts of a workbook with one sheet "Data" holding `cells` (rows), styles and shared strings given.
/// Later parts of `more` replace those of the same name; an empty content removes one.
Parts workbookParts(const std::string& rows, const Parts& more = {});

/// One line per call, in order: "A1 = 2.5", "B1 : SUM(A1) -> 3" and so on.
class Recorder : public BookBuilder {
public:
    SheetIndex addSheet(std::string name) override;
    void settings(const CalculationSettings& settings) override;
    void defineName(std::string name, std::optional<SheetIndex> scope, std::string formula) override;
    void constant(const CellAddress& cell, Value value) override;
    void formula(const CellAddress& cell, std::string_view text, Value stored) override;
    void sharedMaster(const CellAddress& cell, std::uint32_t group, std::string_view text,
                      Value stored) override;
    void sharedFollower(const CellAddress& cell, std::uint32_t group, Value stored) override;
    void arrayFormula(const Area& area, std::string_view text, Value stored, bool spills) override;
    void arrayResult(const CellAddress& cell, Value stored) override;
    void dateCell(const CellAddress& cell) override;
    void externalLink(std::string target) override;
    void externalSheet(std::size_t link, std::string name) override;
    void externalCell(std::int32_t row, std::int32_t col, Value value) override;
    void externalName(std::size_t link, std::string name, std::string formula) override;
    void notice(std::string where, std::string what) override;

    std::vector<std::string> cells; // calls that concern cells
    std::vector<std::string> names;
    std::vector<std::string> sheets;
    std::vector<std::string> notices; // "where: what"
    CalculationSettings told;
};

/// What the reader tells of these bytes, as of a file called "book.xlsx"; raises FileError as it does.
Recorder recorded(const std::string& bytes, const ReadLimits& limits = {});

/// The message with which the reader refuses these bytes; empty when it takes them.
std::string refusal(const std::string& bytes, const ReadLimits& limits = {});

/// The same for a file of that name.
Recorder recordedAs(const std::string& name, const std::string& bytes, const ReadLimits& limits = {});
std::string refusalAs(const std::string& name, const std::string& bytes, const ReadLimits& limits = {});

/// An open document spreadsheet: what stands inside <office:spreadsheet>.
std::string openDocument(const std::string& spreadsheet);
/// The same as one piece of markup, without an archive.
std::string flatDocument(const std::string& spreadsheet);

} // namespace varnex3::sheet::test
