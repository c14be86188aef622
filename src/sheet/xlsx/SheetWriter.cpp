// sheet/xlsx/SheetWriter.cpp - rows and cells as a worksheet part writes them.
#include "sheet/xlsx/SheetWriter.h"

#include <algorithm>

#include "sheet/formula/Parser.h"
#include "sheet/xlsx/Markup.h"
#include "sheet/xlsx/Text.h"

namespace varnex3::sheet::xlsx {

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr std::string_view kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr std::string_view kStrictMain = "http://purl.oclc.org/ooxml/spreadsheetml/main";
constexpr std::string_view kSheetEnd = "</sheetData></worksheet>";

bool holdsSomething(const BandCell& cell) { return cell.formula || !cell.value->isEmpty(); }

std::string textOf(const char* attribute) { return attribute ? std::string(attribute) : std::string(); }

/// The area that a cell's formula is written with; nothing for a plain formula.
std::optional<Area> writtenArea(const Book& book, const CellAddress& at)
{
    auto area = book.arrayArea(at);
    if (!area && book.spills(at)) area = Area{at.sheet, at.row, at.col, at.row, at.col};
    return area;
}

bool isFirst(const Area& area, const CellAddress& at) { return area.row0 == at.row && area.col0 == at.col; }

/// Whether a cell's formula is marked as spilling; its further cells are not.
bool isSpillCorner(const Book& book, const BandCell& cell)
{
    if (!cell.formula || !book.spills(cell.at)) return false;
    const auto area = book.arrayArea(cell.at);
    return !area || isFirst(*area, cell.at);
}

/// The formula element of a cell; empty for the further cells of an array formula.
std::string newFormulaElement(const Book& book, const BandCell& cell, const std::string& prefix)
{
    if (!cell.formula) return {};
    std::string element = "<" + prefix + "f";
    FormulaPlace place;
    place.linkTo = [&](std::string_view path) { return book.linkTo(path); };
    if (const auto area = writtenArea(book, cell.at)) {
        if (!isFirst(*area, cell.at)) return {};
        place.spills = book.takesSingles(cell.at);
        place.namesCells = [&](std::string_view name) {
            const auto named = book.namedArea(name, cell.at.sheet);
            return named && !named->isCell();
        };
        element += " t=\"array\" ref=\"";
        appendCellName(element, area->row0, area->col0);
        if (!area->isCell()) {
            element += ':';
            appendCellName(element, area->row1, area->col1);
        }
        element += '"';
    }
    element += '>';
    appendEscaped(element, fileFormula(book.content(cell.at), place));
    return element + "</" + prefix + "f>";
}

/// A cell that the file does not have yet; `style` may be empty.
void appendCell(std::string& out, const Book& book, const BandCell& cell, const std::string& prefix,
                std::string_view style, std::uint32_t spillEntry)
{
    out.append("<").append(prefix).append("c r=\"");
    appendCellName(out, cell.at.row, cell.at.col);
    out += '"';
    if (!style.empty()) out.append(" s=\"").append(style).append("\"");
    if (const std::string_view type = cellType(*cell.value, cell.formula); !type.empty())
        out.append(" t=\"").append(type).append("\"");
    if (isSpillCorner(book, cell)) out.append(" cm=\"").append(std::to_string(spillEntry)).append("\"");
    out += '>';
    if (cell.formula) out += newFormulaElement(book, cell, prefix);
    appendValue(out, *cell.value, cell.formula, prefix);
    out.append("</").append(prefix).append("c>");
}

class NewSheet final : public PartText {
public:
    NewSheet(const Book& book, SheetIndex sheet, std::uint32_t spillEntry, bool strict)
        : book_(book), sheet_(sheet), spillEntry_(spillEntry), strict_(strict),
          lastRow_(book.used(sheet).row1)
    {}

    bool more(std::string& out) override
    {
        if (nextRow_ == 0)
            out.append(kDeclaration)
                .append("<worksheet xmlns=\"")
                .append(strict_ ? kStrictMain : kMain)
                .append("\"><sheetData>");
        if (nextRow_ > lastRow_) return false;
        cells_.clear();
        book_.band(sheet_, nextRow_, cells_);
        nextRow_ += Book::kBandRows;
        std::int32_t row = -1;
        for (const BandCell& cell : cells_) {
            if (!holdsSomething(cell)) continue;
            if (cell.at.row != row) {
                if (row >= 0) out += "</row>";
                row = cell.at.row;
                out.append("<row r=\"").append(std::to_string(row + 1)).append("\">");
            }
            appendCell(out, book_, cell, "", "", spillEntry_);
        }
        if (row >= 0) out += "</row>";
        if (nextRow_ > lastRow_) out += kSheetEnd;
        return true;
    }

private:
    const Book& book_;
    SheetIndex sheet_;
    std::uint32_t spillEntry_;
    bool strict_;
    std::int32_t lastRow_, nextRow_ = 0;
    std::vector<BandCell> cells_;
};

} // namespace

std::unique_ptr<PartText> newSheetPart(const Book& book, SheetIndex sheet, std::uint32_t spillEntry,
                                       bool strict)
{
    return std::make_unique<NewSheet>(book, sheet, spillEntry, strict);
}

bool writesSpills(const Book& book, SheetIndex sheet, bool changedOnly)
{
    std::vector<BandCell> cells;
    const std::int32_t lastRow = book.used(sheet).row1;
    for (std::int32_t row = 0; row <= lastRow; row += Book::kBandRows) {
        cells.clear();
        book.band(sheet, row, cells);
        for (const BandCell& cell : cells)
            if ((!changedOnly || cell.change == Change::Content) && isSpillCorner(book, cell)) return true;
    }
    return false;
}

const BandCell* ChangedCells::peek()
{
    for (;;) {
        for (; at_ < cells_.size(); ++at_)
            if (cells_[at_].change != Change::None) return &cells_[at_];
        if (nextRow_ > lastRow_) return nullptr;
        cells_.clear();
        at_ = 0;
        book_.band(sheet_, nextRow_, cells_);
        nextRow_ += Book::kBandRows;
    }
}

ChangedArea changedArea(const Book& book, SheetIndex sheet)
{
    ChangedArea found;
    ChangedCells cells(book, sheet);
    for (; const BandCell* cell = cells.peek(); cells.pop()) {
        found.any = true;
        if (!holdsSomething(*cell)) continue;
        const auto [row, col] = std::pair(cell->at.row, cell->at.col);
        if (!found.held) found.held = Area{sheet, row, col, row, col};
        found.held->row1 = row;
        found.held->col0 = std::min(found.held->col0, col);
        found.held->col1 = std::max(found.held->col1, col);
    }
    return found;
}

SheetEdit::SheetEdit(const Book& book, SheetIndex sheet, const std::optional<Area>& changed,
                     std::uint32_t spillEntry)
    : book_(book), sheet_(sheet), changed_(changed), spillEntry_(spillEntry), pending_(book, sheet)
{}

void SheetEdit::open(const Tag& tag, std::string_view raw)
{
    if (inCell_) {
        if (tag.depth == 5) openField(tag);
        other(raw);
        return;
    }
    if (tag.depth == 2 && tag.isMain("dimension")) return openDimension(raw);
    if (tag.depth == 2 && tag.isMain("sheetData")) return openData(raw);
    if (tag.depth == 2) inColumns_ = tag.isMain("cols");
    if (tag.depth == 3 && inColumns_ && tag.isMain("col")) openColumn(tag);
    if (tag.depth == 3 && inData_ && tag.isMain("row")) return openRow(tag, raw);
    if (tag.depth == 4 && inRow_ && tag.isMain("c")) return openCell(tag, raw);
    out.append(raw);
}

void SheetEdit::close(int depth, std::string_view raw)
{
    if (inCell_) {
        if (depth == 4) {
            cell_.close = raw;
            closeCell();
            return;
        }
        other(raw);
        if (depth == 5) field_ = Field::None;
        return;
    }
    if (depth == 3 && inRow_) return closeRow(raw);
    if (depth == 2 && inData_) {
        insertRowsBefore(kMaxRows);
        out.append(dataMade_ ? std::string_view(dataEnd_) : raw);
        inData_ = false;
        return;
    }
    out.append(raw);
}

void SheetEdit::text(std::string_view raw, std::string_view value)
{
    if (inCell_ && field_ == Field::Formula) cell_.formulaText.append(value);
    if (inCell_ && field_ == Field::Value) cell_.valueText.append(value);
    other(raw);
}

void SheetEdit::other(std::string_view raw)
{
    if (!inCell_) {
        out.append(raw);
        return;
    }
    cell_.inner.append(raw);
    if (field_ == Field::Formula) cell_.formula.append(raw);
    if (field_ == Field::Other) cell_.rest.append(raw);
}

void SheetEdit::openDimension(std::string_view raw)
{
    RawTag tag(raw);
    const std::size_t quote = raw.find("ref=");
    const char mark = quote == std::string_view::npos ? '\0' : raw[quote + 4];
    const std::string_view rest = quote == std::string_view::npos ? "" : raw.substr(quote + 5);
    auto area = parseArea(rest.substr(0, rest.find(mark)));
    if (!area || !changed_) {
        out.append(raw);
        return;
    }
    area->row0 = std::min(area->row0, changed_->row0);
    area->col0 = std::min(area->col0, changed_->col0);
    area->row1 = std::max(area->row1, changed_->row1);
    area->col1 = std::max(area->col1, changed_->col1);
    tag.set("ref", a1Text(*area));
    out.append(tag.isEmpty() ? tag.alone() : tag.opening());
}

void SheetEdit::openColumn(const Tag& tag)
{
    const char* style = tag.attribute("style");
    const auto first = parseIndex(textOf(tag.attribute("min")));
    const auto last = parseIndex(textOf(tag.attribute("max")));
    if (!style || !first || !last || *first < 1) return;
    columns_.push_back({static_cast<std::int32_t>(*first) - 1,
                        static_cast<std::int32_t>(std::min<std::uint32_t>(*last, kMaxColumns)) - 1, style});
}

void SheetEdit::openData(std::string_view raw)
{
    const RawTag tag(raw);
    prefix_ = tag.prefix();
    inData_ = true;
    dataMade_ = tag.isEmpty() && pending_.peek();
    dataEnd_ = tag.closing();
    out.append(dataMade_ ? tag.opening() : std::string(raw));
}

void SheetEdit::openRow(const Tag& tag, std::string_view raw)
{
    const auto number = parseIndex(textOf(tag.attribute("r")));
    const std::int32_t row = number && *number <= static_cast<std::uint32_t>(kMaxRows)
                                 ? static_cast<std::int32_t>(*number) - 1
                                 : row_ + 1;
    if (row <= row_) throw XmlProblem{"row " + std::to_string(row + 1) + " is not in order"};
    insertRowsBefore(row);
    row_ = row;
    col_ = -1;
    inRow_ = true;
    rowStyle_ = parseFlag(tag.attribute("customFormat"), false) ? textOf(tag.attribute("s")) : "";
    rowMade_ = false;
    if (!pendingInRow()) {
        out.append(raw);
        return;
    }
    RawTag edited(raw);
    edited.remove("spans"); // says which columns may hold cells
    rowMade_ = edited.isEmpty();
    rowEnd_ = edited.closing();
    out.append(edited.opening());
}

void SheetEdit::closeRow(std::string_view raw)
{
    insertCellsBefore(kMaxColumns);
    out.append(rowMade_ ? std::string_view(rowEnd_) : raw);
    inRow_ = false;
}

void SheetEdit::openCell(const Tag& tag, std::string_view raw)
{
    std::int32_t col = col_ + 1;
    if (const char* reference = tag.attribute("r")) {
        const auto place = parseCell(reference);
        if (!place || place->row != row_ || place->col <= col_)
            throw XmlProblem{"cell " + std::string(reference).substr(0, 40) + " is not in order"};
        col = place->col;
    }
    insertCellsBefore(col);
    col_ = col;
    inCell_ = true;
    field_ = Field::None;
    cell_ = {};
    cell_.open = raw;
    cell_.type = textOf(tag.attribute("t"));
    cell_.hasMetadata = parseIndex(textOf(tag.attribute("cm"))).value_or(0) != 0;
}

void SheetEdit::openField(const Tag& tag)
{
    field_ = tag.isMain("f")    ? Field::Formula
             : tag.isMain("v")  ? Field::Value
             : tag.isMain("is") ? Field::Inline
                                : Field::Other;
    if (field_ != Field::Formula) return;
    cell_.hasFormula = true;
    cell_.formulaType = textOf(tag.attribute("t"));
    cell_.formulaArea = textOf(tag.attribute("ref"));
    cell_.group = parseIndex(textOf(tag.attribute("si")));
}

void SheetEdit::closeCell()
{
    inCell_ = false;
    const CellAddress at{sheet_, row_, col_};
    const bool shared = cell_.formulaType == "shared" && cell_.group;
    const bool master = shared && !trimmed(cell_.formulaText).empty() && masters_.count(*cell_.group) == 0;
    if (master) masters_.emplace(*cell_.group, Master{unescaped(trimmed(cell_.formulaText)), at});
    const BandCell* pending = pending_.peek();
    if (pending && pending->at == at) {
        const BandCell changed = *pending;
        pending_.pop();
        if (master && !keepsFormula(changed)) dissolved_.insert(*cell_.group);
        appendChangedCell(changed);
    } else if (shared && !master && dissolved_.count(*cell_.group) != 0 && book_.hasFormula(at)) {
        const Value& value = book_.value(at);
        const BandCell follower{at, &value, Change::Content, true};
        appendContent(follower, newFormulaElement(book_, follower, prefix_));
    } else {
        out.append(cell_.open).append(cell_.inner).append(cell_.close);
    }
}

void SheetEdit::appendChangedCell(const BandCell& cell)
{
    const bool kept = keepsFormula(cell);
    if ((kept || (!cell.formula && !cell_.hasFormula)) && sameValue(*cell.value)) { // put back as it was
        out.append(cell_.open).append(cell_.inner).append(cell_.close);
        return;
    }
    if (kept) return appendContent(cell, cell_.formula);
    const std::string element = newFormulaElement(book_, cell, prefix_);
    formulasChanged_ = formulasChanged_ || cell_.hasFormula || !element.empty();
    appendContent(cell, element);
}

void SheetEdit::appendContent(const BandCell& cell, const std::string& formula)
{
    RawTag tag(cell_.open);
    const std::string_view type = cellType(*cell.value, cell.formula);
    if (type.empty())
        tag.remove("t");
    else
        tag.set("t", type);
    tag.remove("vm"); // describes the old value
    if (formula.empty() || (formula != cell_.formula && !isSpillCorner(book_, cell)))
        tag.remove("cm");
    else if (formula != cell_.formula)
        tag.set("cm", std::to_string(spillEntry_));
    std::string inner = formula;
    appendValue(inner, *cell.value, cell.formula, prefix_);
    inner += cell_.rest;
    if (inner.empty())
        out.append(tag.alone());
    else
        out.append(tag.opening()).append(inner).append(tag.closing());
}

/// The formula that the file has here, as the book would write it; empty when it has none.
std::string SheetEdit::oldFormula() const
{
    CellAddress from{sheet_, row_, col_};
    const CellAddress here = from;
    std::string text = unescaped(trimmed(cell_.formulaText));
    if (text.empty() && cell_.group) {
        const auto master = masters_.find(*cell_.group);
        if (master == masters_.end()) return {};
        text = master->second.text;
        from = master->second.at;
    }
    if (text.empty()) return {};
    const ParseResult parsed = parseFormula(text, from);
    const Tree* tree = std::get_if<Tree>(&parsed);
    return tree ? formulaText(*tree, here) : std::string();
}

bool SheetEdit::keepsFormula(const BandCell& cell) const
{
    if (!cell.formula || !cell_.hasFormula) return false;
    if (cell.change == Change::Result) return true;
    if (cell_.group && dissolved_.count(*cell_.group) != 0) return false;
    const auto area = writtenArea(book_, cell.at);
    if (area.has_value() != (cell_.formulaType == "array")) return false;
    if (area && book_.spills(cell.at) != cell_.hasMetadata) return false;
    if (area) {
        const auto written = parseArea(cell_.formulaArea);
        if (!written || written->rows() != area->rows() || written->cols() != area->cols()) return false;
    }
    return oldFormula() == book_.content(cell.at);
}

/// Whether the file has this value here. Shared texts are not looked up: they count as different.
bool SheetEdit::sameValue(const Value& value) const
{
    const std::string_view old = trimmed(cell_.valueText);
    switch (value.kind()) {
    case Kind::Number: return (cell_.type.empty() || cell_.type == "n") && parseDouble(old) == value.number();
    case Kind::Boolean: return cell_.type == "b" && old == (value.boolean() ? "1" : "0");
    case Kind::Failure: return cell_.type == "e" && parseFailure(old) == value.failure();
    case Kind::Text: return cell_.type == "str" && unescaped(cell_.valueText) == value.text();
    default: return false;
    }
}

std::string SheetEdit::styleFor(std::int32_t col) const
{
    if (!rowStyle_.empty()) return rowStyle_;
    for (const ColumnStyle& column : columns_)
        if (col >= column.first && col <= column.last) return column.style;
    return {};
}

bool SheetEdit::pendingInRow()
{
    const BandCell* cell = pending_.peek();
    return cell && cell->at.row == row_;
}

void SheetEdit::appendNewCell(const BandCell& cell)
{
    if (!holdsSomething(cell)) return;
    formulasChanged_ = formulasChanged_ || cell.formula;
    appendCell(out, book_, cell, prefix_, styleFor(cell.at.col), spillEntry_);
}

void SheetEdit::insertCellsBefore(std::int32_t col)
{
    for (; pendingInRow() && pending_.peek()->at.col < col; pending_.pop()) appendNewCell(*pending_.peek());
}

void SheetEdit::insertRowsBefore(std::int32_t row)
{
    rowStyle_.clear();
    while (const BandCell* cell = pending_.peek()) {
        if (cell->at.row >= row) return;
        const std::int32_t made = cell->at.row;
        std::string before;
        before.swap(out);
        for (; pending_.peek() && pending_.peek()->at.row == made; pending_.pop())
            appendNewCell(*pending_.peek());
        before.swap(out);
        if (before.empty()) continue; // cells that were cleared and are not in the file
        out.append("<").append(prefix_).append("row r=\"").append(std::to_string(made + 1)).append("\">");
        out.append(before).append("</").append(prefix_).append("row>");
    }
}

} // namespace varnex3::sheet::xlsx
