// sheet/xlsx/SheetWriter.h - worksheet parts: new ones, and copies of existing ones with changed cells.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "sheet/formula/Tree.h"
#include "sheet/model/Book.h"
#include "sheet/xlsx/XmlCopy.h"

namespace varnex3::sheet::xlsx {

/// A part that is made piece by piece, so that none of its size need be held in memory.
class PartText {
public:
    virtual ~PartText() = default;
    /// Appends the next piece; false when there is none left.
    virtual bool more(std::string& out) = 0;
};

/// A whole worksheet part with the content of a sheet. `spillEntry` is what marks spilling formulas: their
/// entry of the metadata part; `strict` asks for the vocabulary of the standard's strict form.
std::unique_ptr<PartText> newSheetPart(const Book& book, SheetIndex sheet, std::uint32_t spillEntry,
                                       bool strict);

/// Whether a sheet has a formula that is to be marked as spilling, among those that differ from the file or
/// among all.
bool writesSpills(const Book& book, SheetIndex sheet, bool changedOnly);

/// Cells of a sheet in file order that differ from the file.
class ChangedCells {
public:
    ChangedCells(const Book& book, SheetIndex sheet)
        : book_(book), sheet_(sheet), lastRow_(book.used(sheet).row1)
    {}
    /// Null at the end.
    const BandCell* peek();
    void pop() { ++at_; }

private:
    const Book& book_;
    SheetIndex sheet_;
    std::int32_t lastRow_, nextRow_ = 0;
    std::vector<BandCell> cells_;
    std::size_t at_ = 0;
};

/// The smallest area around the changed cells that hold something; nothing when no cell differs.
struct ChangedArea {
    bool any = false;
    std::optional<Area> held;
};
ChangedArea changedArea(const Book& book, SheetIndex sheet);

/// Copies a worksheet part with the changed cells in place. A changed cell keeps its attributes and what
/// else it holds; its formula stays as written when it means the same as before. Throws XmlProblem when
/// rows or cells are not in order.
class SheetEdit final : public XmlEdit {
public:
    SheetEdit(const Book& book, SheetIndex sheet, const std::optional<Area>& changed,
              std::uint32_t spillEntry);

    void open(const Tag& tag, std::string_view raw) override;
    void close(int depth, std::string_view raw) override;
    void text(std::string_view raw, std::string_view value) override;
    void other(std::string_view raw) override;

    /// Whether a formula came, went or changed, so that a stored order of calculation is void.
    bool formulasChanged() const { return formulasChanged_; }

private:
    enum class Field { None, Formula, Value, Inline, Other };

    /// The cell that is being read.
    struct Cell {
        std::string open, inner, close; // as written
        std::string formula, rest;      // of `inner`: the formula element; what is neither it nor the value
        std::string formulaText, valueText;
        std::string formulaType, formulaArea, type;
        std::optional<std::uint32_t> group;
        bool hasFormula = false, hasMetadata = false;
    };
    struct Master { // of shared formulas
        std::string text;
        CellAddress at;
    };
    struct ColumnStyle {
        std::int32_t first, last;
        std::string style;
    };

    void openDimension(std::string_view raw);
    void openColumn(const Tag& tag);
    void openData(std::string_view raw);
    void openRow(const Tag& tag, std::string_view raw);
    void openCell(const Tag& tag, std::string_view raw);
    void openField(const Tag& tag);
    void closeCell();
    void closeRow(std::string_view raw);

    void insertRowsBefore(std::int32_t row);
    void insertCellsBefore(std::int32_t col);
    bool pendingInRow();
    void appendNewCell(const BandCell& cell);
    void appendChangedCell(const BandCell& cell);
    void appendContent(const BandCell& cell, const std::string& formulaElement);
    std::string oldFormula() const;
    bool keepsFormula(const BandCell& cell) const;
    bool sameValue(const Value& value) const;
    std::string styleFor(std::int32_t col) const;

    const Book& book_;
    SheetIndex sheet_;
    std::optional<Area> changed_;
    std::uint32_t spillEntry_;
    ChangedCells pending_;
    std::string prefix_; // of element names
    std::vector<ColumnStyle> columns_;
    std::unordered_map<std::uint32_t, Master> masters_;
    std::unordered_set<std::uint32_t> dissolved_; // shared formulas whose first cell has lost its text
    bool inColumns_ = false, inData_ = false, inRow_ = false, inCell_ = false;
    bool rowMade_ = false, dataMade_ = false; // an empty element that was opened for what is inserted
    std::string rowEnd_, dataEnd_;
    std::int32_t row_ = -1, col_ = -1;
    std::string rowStyle_;
    Cell cell_;
    Field field_ = Field::None;
    bool formulasChanged_ = false;
};

} // namespace varnex3::sheet::xlsx
