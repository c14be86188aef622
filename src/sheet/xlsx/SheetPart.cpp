// sheet/xlsx/SheetPart.cpp - rows, cells, values and formulas of a worksheet.
#include "sheet/xlsx/SheetPart.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "sheet/formula/Parser.h"
#include "sheet/xlsx/Text.h"

namespace varnex3::sheet::xlsx {

namespace {

// How a cell says what its value text is.
enum class CellType { Number, Shared, Text, Inline, Boolean, Failure, Date, Unknown };

CellType cellType(const char* attribute)
{
    if (!attribute) return CellType::Number;
    const std::string_view type(attribute);
    if (type == "n") return CellType::Number;
    if (type == "s") return CellType::Shared;
    if (type == "str") return CellType::Text;
    if (type == "inlineStr") return CellType::Inline;
    if (type == "b") return CellType::Boolean;
    if (type == "e") return CellType::Failure;
    if (type == "d") return CellType::Date;
    return CellType::Unknown;
}

enum class FormulaType { None, Plain, Shared, Array, DataTable };

// For each column the rows that a multi-cell array formula met so far covers. Cells come row by row,
// so the latest array of a column is the only one that still matters.
class ArrayCover {
public:
    bool covers(const Position& at) const
    {
        if (until_.empty()) return false;
        const auto col = static_cast<std::size_t>(at.col);
        return at.row >= from_[col] && at.row <= until_[col];
    }
    void add(const Area& area)
    {
        if (until_.empty()) {
            from_.assign(kMaxColumns, 0);
            until_.assign(kMaxColumns, -1);
        }
        const auto fill = [&](std::vector<std::int32_t>& rows, std::int32_t row) {
            std::fill(rows.begin() + area.col0, rows.begin() + area.col1 + 1, row);
        };
        fill(from_, area.row0);
        fill(until_, area.row1);
    }

private:
    std::vector<std::int32_t> from_, until_;
};

class SheetHandler final : public XmlHandler {
public:
    SheetHandler(SheetContext& context, SheetIndex index, const std::string& name)
        : context_(context), index_(index), name_("sheet \"" + name + "\"")
    {}

    bool open(const Tag& tag) override
    {
        switch (tag.depth) {
        case 1:
            if (!tag.isMain("worksheet")) throw XmlProblem{"it is no worksheet part"};
            return true;
        case 2: return openSection(tag);
        case 3:
            if (inFilter_) return openFilter(tag);
            if (inMerges_) return tellMerged(tag);
            return tag.isMain("row") && openRow(tag);
        case 4: return tag.isMain("c") && openCell(tag);
        case 5: return tag.isMain() && openField(tag);
        default: return field_ == Field::Inline && inline_.open(tag, tag.depth - 5);
        }
    }

    void close(int depth) override
    {
        if (depth > 5) inline_.close(depth - 5);
        if (depth == 5) field_ = Field::None;
        if (depth == 4) tellCell();
        if (depth == 3) inCell_ = false;
        if (depth == 2) inFilter_ = inMerges_ = false;
    }

    void text(std::string_view piece) override
    {
        switch (field_) {
        case Field::None: return;
        case Field::Value: value_.append(piece); break;
        case Field::Formula: formula_.append(piece); break;
        case Field::Inline: inline_.text(piece); break;
        }
        if (value_.size() + formula_.size() + inline_.size() > context_.package.limits().textBytes)
            throw XmlProblem{"the cell's text is too long"};
    }

    std::string where() const override
    {
        if (inCell_) return cellName();
        return row_ < 0 ? name_ : name_ + ", row " + std::to_string(row_ + 1);
    }

private:
    enum class Field { None, Value, Formula, Inline };

    CellAddress address() const { return {index_, at_.row, at_.col}; }
    std::string cellName() const { return name_ + ", cell " + a1Text(address()); }
    [[noreturn]] void fail(const std::string& problem) const { context_.package.fail(where(), problem); }

    bool openSection(const Tag& tag)
    {
        if (tag.isMain("sheetPr") && parseFlag(tag.attribute("transitionEvaluation"), false))
            context_.notices.tell("evaluation", name_,
                                  "the sheet wants texts counted as 0 and the like, as an older program did; "
                                  "its formulas are calculated as those of any other sheet");
        inMerges_ = tag.isMain("mergeCells");
        if (inMerges_) return true;
        if (!tag.isMain("autoFilter")) return tag.isMain("sheetData");
        const char* area = tag.attribute("ref");
        filter_ = area ? parseArea(area) : std::nullopt;
        inFilter_ = filter_.has_value();
        return inFilter_;
    }

    // Only a filter that chooses something hides rows.
    bool openFilter(const Tag& tag)
    {
        if (tag.isMain("filterColumn") && filter_) {
            filter_->sheet = index_;
            context_.builder.filtered(*filter_);
            filter_.reset();
        }
        return false;
    }

    bool tellMerged(const Tag& tag)
    {
        const char* text = tag.attribute("ref");
        auto area = text && tag.isMain("mergeCell") ? parseArea(text) : std::nullopt;
        if (!area || area->isCell()) return false;
        area->sheet = index_;
        context_.package.chargeText(sizeof *area);
        context_.builder.merged(*area);
        return false;
    }

    bool openRow(const Tag& tag)
    {
        inCell_ = false;
        ++row_;
        if (const char* r = tag.attribute("r")) {
            const auto number = parseIndex(r);
            if (!number || *number < 1 || *number > static_cast<std::uint32_t>(kMaxRows))
                fail("a row numbered \"" + std::string(r).substr(0, 40) + "\", outside 1 to 1048576");
            row_ = static_cast<std::int32_t>(*number) - 1;
        }
        if (row_ >= kMaxRows) fail("more rows than the 1048576 that a sheet has");
        nextColumn_ = 0;
        if (parseFlag(tag.attribute("hidden"), false)) context_.builder.hiddenRow(index_, row_);
        return true;
    }

    bool openCell(const Tag& tag)
    {
        at_ = {row_, nextColumn_};
        inCell_ = false;
        type_ = CellType::Number;
        style_ = 0;
        dynamic_ = rich_ = false;
        const char* reference = nullptr;
        const char* type = nullptr;
        for (const char* const* a = tag.attributes; *a; a += 2) {
            const std::string_view name(*a);
            if (name == "r") reference = a[1];
            if (name == "t") type = a[1];
            if (name == "s") style_ = parseIndex(a[1]).value_or(0);
            if (name == "vm") rich_ = parseIndex(a[1]).value_or(0) != 0;
            if (name == "cm") dynamic_ = context_.metadata.isSpilling(parseIndex(a[1]).value_or(0));
        }
        if (reference) {
            const auto place = parseCell(reference);
            if (!place)
                fail("a cell at \"" + std::string(reference).substr(0, 40) +
                     "\", which is no place in A1:XFD1048576");
            at_ = *place;
        } else if (nextColumn_ >= kMaxColumns) {
            fail("more cells than the 16384 that a row has");
        }
        nextColumn_ = at_.col + 1;
        inCell_ = true;
        type_ = cellType(type);
        typeText_ = type_ == CellType::Unknown ? type : "";
        hasValue_ = hasInline_ = false;
        formulaType_ = FormulaType::None;
        value_.clear();
        formula_.clear();
        inline_.begin();
        return true;
    }

    bool openField(const Tag& tag)
    {
        if (tag.name == "v") {
            field_ = Field::Value;
            hasValue_ = true;
            value_.clear();
        } else if (tag.name == "f") {
            field_ = Field::Formula;
            openFormula(tag);
        } else if (tag.name == "is") {
            field_ = Field::Inline;
            hasInline_ = true;
            inline_.begin();
        } else {
            return false;
        }
        return true;
    }

    void openFormula(const Tag& tag)
    {
        formula_.clear();
        const char* type = tag.attribute("t");
        const char* area = tag.attribute("ref");
        const char* group = tag.attribute("si");
        const std::string_view kind = type ? type : "normal";
        formulaType_ = kind == "shared"      ? FormulaType::Shared
                       : kind == "array"     ? FormulaType::Array
                       : kind == "dataTable" ? FormulaType::DataTable
                                             : FormulaType::Plain;
        if (formulaType_ == FormulaType::Plain && kind != "normal")
            notice("formula type", "the formula is of an unknown type \"" + std::string(kind.substr(0, 40)) +
                                       "\": it is read as one of this cell alone");
        areaText_ = area ? area : "";
        if (formulaType_ == FormulaType::DataTable) table_ = tableOf(tag);
        group_ = group ? parseIndex(group) : std::nullopt;
    }

    void tellCell()
    {
        if (hasInline_ || hasValue_ || formulaType_ != FormulaType::None) {
            countCells(1);
            if (formulaType_ == FormulaType::None) {
                if (rich_ && type_ == CellType::Failure)
                    notice("rich value", "the cell holds a picture or a record of a data type: it is read as "
                                         "the error value that the file has in its place");
                tellConstant(value());
            } else {
                tellFormula();
            }
        }
        inCell_ = false;
    }

    void countCells(std::size_t cells)
    {
        const std::size_t most = context_.package.limits().cells;
        if (cells > most || context_.cells > most - cells)
            fail("the file has more cells than the limit of " + std::to_string(most));
        context_.cells += cells;
    }

    void tellConstant(Value value)
    {
        const bool date = value.isNumber() && showsDate();
        if (cover_.covers(at_))
            context_.builder.arrayResult(address(), std::move(value));
        else if (!value.isEmpty())
            context_.builder.constant(address(), std::move(value));
        if (date) context_.builder.dateCell(address());
    }

    bool showsDate() const { return type_ == CellType::Date || context_.styles.showsDate(style_); }

    void tellFormula()
    {
        if (formulaType_ == FormulaType::DataTable) { return tellDataTable(); }
        std::string_view text = trimmed(formula_);
        std::string resolved;
        if (text.find("_x") != std::string_view::npos) {
            resolved = unescaped(text);
            text = resolved;
        }
        context_.package.chargeText(text.size());
        if (formulaType_ == FormulaType::Shared && group_ && (text.empty() || groups_.count(*group_) == 0)) {
            if (!tellShared(text)) return;
        } else if (text.empty()) {
            tellConstant(value());
            return;
        } else if (formulaType_ == FormulaType::Array) {
            tellArray(text);
        } else {
            context_.builder.formula(address(), text, value());
        }
        if (showsDate()) context_.builder.dateCell(address());
    }

    // False for a follower without its master, which was told as a constant.
    bool tellShared(std::string_view text)
    {
        if (!text.empty()) {
            groups_.insert(*group_);
            context_.builder.sharedMaster(address(), *group_, text, value());
            return true;
        }
        if (groups_.count(*group_) != 0) {
            context_.builder.sharedFollower(address(), *group_, value());
            return true;
        }
        notice("shared formula", "the shared formula " + std::to_string(*group_) +
                                     " has no text before this cell: its stored value is kept");
        tellConstant(value());
        return false;
    }

    void tellArray(std::string_view text)
    {
        const Area own{index_, at_.row, at_.col, at_.row, at_.col};
        Area area = own;
        if (const auto listed = parseArea(areaText_)) {
            area = *listed;
            area.sheet = index_;
        }
        if (area.row0 != at_.row || area.col0 != at_.col || (!area.isCell() && cover_.covers(at_))) {
            notice("array formula",
                   "the area \"" + areaText_.substr(0, 40) +
                       "\" of an array formula does not begin at its cell: one cell is taken");
            area = own;
        }
        if (!area.isCell()) {
            countCells(static_cast<std::size_t>(area.rows()) * static_cast<std::size_t>(area.cols()) - 1);
            cover_.add(area);
        }
        context_.builder.arrayFormula(area, text, value(), dynamic_);
    }

    void tellDataTable()
    {
        const auto area = parseArea(areaText_);
        const bool placed = area && area->row0 == at_.row && area->col0 == at_.col && at_.row > 0 &&
                            at_.col > 0 && !cover_.covers(at_);
        if (!placed || !table_) {
            notice("data table", table_ ? "the area of a data table does not fit: its stored values are kept"
                                        : "a data table without its input cells is not recalculated: its "
                                          "stored values are kept");
            return tellConstant(value());
        }
        countCells(static_cast<std::size_t>(area->rows()) * static_cast<std::size_t>(area->cols()) - 1);
        if (!area->isCell()) cover_.add(*area);
        Area own = *area;
        own.sheet = index_;
        context_.builder.dataTable(own, *table_, value());
        if (showsDate()) context_.builder.dateCell(address());
    }

    // The input cells of a data table; nothing when one was deleted or is none.
    std::optional<DataTable> tableOf(const Tag& tag) const
    {
        DataTable table;
        table.two = parseFlag(tag.attribute("dt2D"), false);
        table.row = parseFlag(tag.attribute("dtr"), false);
        const auto input = [&](const char* name, const char* deleted, CellAddress& cell) {
            const char* text = tag.attribute(name);
            const auto at =
                text && !parseFlag(tag.attribute(deleted), false) ? parseCell(text) : std::nullopt;
            if (at) cell = {index_, at->row, at->col};
            return at.has_value();
        };
        if (!input("r1", "del1", table.first)) return std::nullopt;
        if (table.two && !input("r2", "del2", table.second)) return std::nullopt;
        return table;
    }

    void notice(const std::string& kind, std::string what)
    {
        context_.notices.tell(kind, cellName(), std::move(what));
    }

    // The cell's value as its type says; Empty when it has none.
    Value value()
    {
        if (hasInline_) {
            context_.package.chargeText(inline_.size());
            return Value(inline_.result());
        }
        if (type_ == CellType::Text) {
            context_.package.chargeText(value_.size());
            return Value(unescaped(value_));
        }
        const std::string_view text = trimmed(value_);
        if (text.empty()) return {};
        switch (type_) {
        case CellType::Shared: return sharedText(text);
        case CellType::Boolean:
            if (text == "1" || text == "true" || text == "TRUE") return true;
            if (text == "0" || text == "false" || text == "FALSE") return false;
            break;
        case CellType::Failure: return failure(text);
        case CellType::Date:
            if (const auto serial = serialFromIso(text, context_.dates)) return *serial;
            break;
        case CellType::Number:
            if (const auto number = parseDouble(text)) return *number;
            break;
        case CellType::Unknown:
            notice("cell type", "the cell is of an unknown type \"" + typeText_.substr(0, 40) +
                                    "\": its value is read as text");
            context_.package.chargeText(text.size());
            return Value(unescaped(text));
        case CellType::Text:
        case CellType::Inline: return Value(unescaped(value_));
        }
        return unreadable(text);
    }

    Value sharedText(std::string_view text) const
    {
        const auto number = parseIndex(text);
        if (!number || *number >= context_.sharedStrings.size())
            fail("the cell refers to shared text \"" + std::string(text.substr(0, 40)) +
                 "\", but the file has " + std::to_string(context_.sharedStrings.size()) +
                 "; the file is damaged: open it in a spreadsheet program and save it anew as .xlsx");
        return context_.sharedStrings[*number];
    }

    Value failure(std::string_view text)
    {
        if (const auto known = parseFailure(text)) return *known;
        if (text == "#GETTING_DATA" || text == "#BUSY!") return Failure::NA;
        notice("error value",
               "the error value \"" + std::string(text.substr(0, 40)) + "\" is read as #VALUE!");
        return Failure::Value;
    }

    Value unreadable(std::string_view text)
    {
        notice("unreadable value", "the value \"" + std::string(text.substr(0, 40)) +
                                       "\" does not fit the cell's type: it is read as text");
        context_.package.chargeText(text.size());
        return Value(unescaped(text));
    }

    SheetContext& context_;
    SheetIndex index_;
    std::string name_;

    // Where reading stands.
    std::int32_t row_ = -1;
    std::int32_t nextColumn_ = 0;
    Position at_;
    std::optional<Area> filter_;
    bool inFilter_ = false, inMerges_ = false;
    bool inCell_ = false;
    Field field_ = Field::None;

    // The current cell.
    CellType type_ = CellType::Number;
    std::string typeText_;
    std::uint32_t style_ = 0;
    bool dynamic_ = false;
    bool rich_ = false; // refers to a value that the cell's own text does not tell
    bool hasValue_ = false, hasInline_ = false;
    FormulaType formulaType_ = FormulaType::None;
    std::string value_, formula_, areaText_;
    RichText inline_;
    std::optional<std::uint32_t> group_;
    std::optional<DataTable> table_;

    std::unordered_set<std::uint32_t> groups_; // shared formulas whose text came
    ArrayCover cover_;
};

} // namespace

void readSheetPart(SheetContext& context, SheetIndex index, const std::string& name, const std::string& part)
{
    SheetHandler handler(context, index, name);
    context.package.read(part, handler);
}

} // namespace varnex3::sheet::xlsx
