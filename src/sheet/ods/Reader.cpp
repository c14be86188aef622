// sheet/ods/Reader.cpp - the content part of an open document spreadsheet.
//
// One pass: settings, then sheet by sheet its rows and names. A row is kept until it ends, because it may
// stand for many equal ones.
#include "sheet/ods/Reader.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "sheet/formula/Parser.h"
#include "sheet/ods/Formula.h"
#include "sheet/xlsx/Parts.h"
#include "sheet/xlsx/Text.h"

namespace varnex3::sheet::ods {
namespace {

using xlsx::Tag;
using xlsx::XmlProblem;

constexpr std::string_view kOffice = "urn:oasis:names:tc:opendocument:xmlns:office:1.0";
constexpr std::string_view kTable = "urn:oasis:names:tc:opendocument:xmlns:table:1.0";
constexpr std::string_view kText = "urn:oasis:names:tc:opendocument:xmlns:text:1.0";
constexpr std::string_view kExtended = "urn:org:documentfoundation:names:experimental:calc:xmlns:calcext:1.0";
constexpr std::string_view kManifest = "urn:oasis:names:tc:opendocument:xmlns:manifest:1.0";

constexpr const char* kContent = "content.xml";
constexpr std::size_t kMaxSheets = 65535;
constexpr int kMaxIterations = 32767;
constexpr std::size_t kMostRepeatedFormulas = 100'000; // few bytes could ask for any number of them
constexpr std::uint32_t kMostSpaces = 32767;           // that one element may stand for
constexpr std::size_t kMostSpacesInAll = 16 << 20;

std::string_view orEmpty(const char* attribute)
{
    return attribute ? std::string_view(attribute) : std::string_view();
}

std::uint32_t repetitions(const char* attribute)
{
    return attribute ? std::max<std::uint32_t>(xlsx::parseIndex(attribute).value_or(1), 1) : 1;
}

// --- Dates and times --------------------------------------------------------------------------------------

/// Days since 30 December 1899 in the calendar as it is, or nothing. Takes the date off `text`.
std::optional<double> takeDate(std::string_view& text)
{
    const auto digits = [&](std::size_t count) -> std::optional<int> {
        if (text.size() < count) return std::nullopt;
        const auto number = xlsx::parseIndex(text.substr(0, count));
        if (!number) return std::nullopt;
        text.remove_prefix(count);
        return static_cast<int>(*number);
    };
    const auto dash = [&] {
        const bool there = !text.empty() && text[0] == '-';
        if (there) text.remove_prefix(1);
        return there;
    };
    const auto year = digits(4);
    if (!year || !dash()) return std::nullopt;
    const auto month = digits(2);
    if (!month || !dash()) return std::nullopt;
    const auto day = digits(2);
    if (!day || *month < 1 || *month > 12 || *day < 1 || *day > 31) return std::nullopt;
    // Days of years that begin in March, so that the leap day comes last.
    const int y = *month > 2 ? *year : *year - 1, m = *month > 2 ? *month - 3 : *month + 9;
    const int days = 365 * y + y / 4 - y / 100 + y / 400 + (153 * m + 2) / 5 + *day - 1;
    return days - 693899.0;
}

/// "2024-02-29T12:30:00.5" as a serial number of that date system.
std::optional<double> dateSerial(std::string_view text, DateSystem dates)
{
    text = xlsx::trimmed(text);
    auto days = takeDate(text);
    if (!days) return std::nullopt;
    if (dates == DateSystem::From1904) *days -= 1462.0;
    if (text.empty()) return days;
    if (text[0] != 'T') return std::nullopt;
    const auto fraction = xlsx::serialFromIso(text, dates);
    return fraction ? std::optional(*days + *fraction) : std::nullopt;
}

/// A duration such as "PT12H30M00.5S" or "-P1DT6H" in days.
std::optional<double> durationDays(std::string_view text)
{
    text = xlsx::trimmed(text);
    const bool negative = !text.empty() && text[0] == '-';
    if (negative) text.remove_prefix(1);
    if (text.empty() || text[0] != 'P') return std::nullopt;
    text.remove_prefix(1);
    double days = 0.0;
    bool clock = false;
    while (!text.empty()) {
        if (text[0] == 'T') {
            clock = true;
            text.remove_prefix(1);
            continue;
        }
        const std::size_t end = text.find_first_not_of("0123456789.");
        const auto amount =
            end == std::string_view::npos ? std::nullopt : xlsx::parseDouble(text.substr(0, end));
        if (!amount) return std::nullopt;
        const char unit = text[end];
        if (unit == 'D' && !clock)
            days += *amount;
        else if (unit == 'H' && clock)
            days += *amount / 24.0;
        else if (unit == 'M' && clock)
            days += *amount / 1440.0;
        else if (unit == 'S' && clock)
            days += *amount / 86400.0;
        else
            return std::nullopt; // months and years have no length in days
        text.remove_prefix(end + 1);
    }
    return negative ? -days : days;
}

// --- Content ----------------------------------------------------------------------------------------------

struct Cell {
    std::int32_t col = 0, count = 1;
    std::string formula; // as written; empty for none
    Value value;
    bool date = false;
    std::int32_t matrixRows = 0, matrixCols = 0; // of an array formula; 0 for none
};

class ContentHandler final : public xlsx::XmlHandler {
public:
    ContentHandler(xlsx::Package& package, BookBuilder& builder)
        : package_(package), builder_(builder), notices_(builder)
    {}

    bool open(const Tag& tag) override
    {
        const Node node = enter(stack_.empty() ? Node::Document : stack_.back(), tag);
        if (node == Node::LeftOut) return false;
        stack_.push_back(node);
        return true;
    }

    void close(int) override
    {
        const Node node = stack_.back();
        stack_.pop_back();
        if (node == Node::Cell) closeCell();
        if (node == Node::Row) closeRow();
        if (node == Node::Table) closeTable();
    }

    void text(std::string_view piece) override
    {
        if (!stack_.empty() && (stack_.back() == Node::Paragraph || stack_.back() == Node::Inline))
            append(piece);
    }

    std::string where() const override
    {
        if (!inTable_) return {};
        std::string place = "sheet \"" + sheetName_ + "\"";
        if (inCell_) return place + ", cell " + a1Text(CellAddress{sheet_, row_, cell_.col});
        return row_ > 0 ? place + ", row " + std::to_string(row_ + 1) : place;
    }

    /// Called at the end of the document.
    void finish()
    {
        if (!foundSpreadsheet_) package_.fail("", "this is an open document, but no spreadsheet");
        if (sheetCount_ == 0) package_.fail("", "the spreadsheet has no sheet");
        for (std::string& book : books_) builder_.externalLink(std::move(book));
    }

private:
    enum class Node {
        Document,
        Root,
        Body,
        Spreadsheet,
        Settings,
        Table,
        Group, // of rows, for headings and outlines
        Row,
        Cell,
        Paragraph,
        Inline,
        Names,
        LeftOut
    };

    Node enter(Node parent, const Tag& tag)
    {
        switch (parent) {
        case Node::Document:
            if (tag.space != kOffice || (tag.name != "document-content" && tag.name != "document"))
                throw XmlProblem{"it is no document content"};
            return Node::Root;
        case Node::Root: return tag.space == kOffice && tag.name == "body" ? Node::Body : Node::LeftOut;
        case Node::Body:
            if (tag.space != kOffice || tag.name != "spreadsheet") return Node::LeftOut;
            foundSpreadsheet_ = true;
            return Node::Spreadsheet;
        case Node::Spreadsheet: return tag.space == kTable ? enterPart(tag) : Node::LeftOut;
        case Node::Settings: return readSetting(tag);
        case Node::Table:
        case Node::Group: return tag.space == kTable ? enterRows(tag) : Node::LeftOut;
        case Node::Row:
            if (tag.space != kTable || (tag.name != "table-cell" && tag.name != "covered-table-cell"))
                return Node::LeftOut;
            openCell(tag);
            return Node::Cell;
        case Node::Cell:
            if (tag.space == kTable && tag.name == "table")
                notices_.tell("inner table", where(), "a table within the cell is left out");
            if (tag.space != kText || tag.name != "p") return Node::LeftOut;
            if (paragraphs_++ > 0) append("\n");
            return Node::Paragraph;
        case Node::Paragraph:
        case Node::Inline: return enterInline(tag);
        case Node::Names: return readName(tag);
        case Node::LeftOut: break;
        }
        return Node::LeftOut;
    }

    Node enterPart(const Tag& tag)
    {
        if (tag.name == "calculation-settings") {
            readSearchSettings(tag);
            return Node::Settings;
        }
        if (tag.name == "table") return openTable(tag);
        if (tag.name == "named-expressions") return Node::Names;
        if (tag.name == "data-pilot-tables")
            notices_.tell("pivot", "workbook", "a pivot table is not refreshed: its stored values are kept");
        if (tag.name == "dde-links")
            notices_.tell("program link", "workbook",
                          "values from other programs are not fetched: formulas that use them are #NAME?");
        if (tag.name == "label-ranges")
            notices_.tell("labels", "workbook", "formulas that name cells by their headings are #NAME?");
        return Node::LeftOut;
    }

    // --- Settings

    void readSearchSettings(const Tag& tag)
    {
        const auto flag = [&](const char* name, bool otherwise) {
            return xlsx::parseFlag(tag.attribute(kTable, name), otherwise);
        };
        if (flag("precision-as-shown", false))
            notices_.tell("precision", "workbook",
                          "the file wants numbers rounded as shown; they are calculated in full precision");
        if (!flag("search-criteria-must-apply-to-whole-cell", true))
            notices_.tell("criteria", "workbook",
                          "the file lets criteria meet parts of texts; here they meet whole texts");
        if (!flag("use-wildcards", false) && flag("use-regular-expressions", true))
            notices_.tell("criteria", "workbook",
                          "the file wants regular expressions in criteria; here * ? ~ are patterns");
    }

    Node readSetting(const Tag& tag)
    {
        if (tag.space != kTable) return Node::LeftOut;
        if (tag.name == "null-date") {
            const std::string_view start = orEmpty(tag.attribute(kTable, "date-value"));
            if (start == "1904-01-01")
                settings_.dates = DateSystem::From1904;
            else if (!start.empty() && start != "1899-12-30")
                notices_.tell("null date", "workbook",
                              "dates count from " + std::string(start.substr(0, 40)) +
                                  " in the file; here from 30 December 1899");
        }
        if (tag.name == "iteration") {
            settings_.iterate = orEmpty(tag.attribute(kTable, "status")) == "enable";
            if (const auto steps = xlsx::parseIndex(orEmpty(tag.attribute(kTable, "steps"))))
                settings_.maxIterations =
                    static_cast<int>(std::clamp<std::uint32_t>(*steps, 1, kMaxIterations));
            if (const auto change = xlsx::parseDouble(orEmpty(tag.attribute(kTable, "maximum-difference"))))
                settings_.maxChange = std::max(*change, 0.0);
        }
        return Node::LeftOut;
    }

    void tellSettings()
    {
        if (toldSettings_) return;
        toldSettings_ = true;
        builder_.settings(settings_);
    }

    // --- Names

    Node readName(const Tag& tag)
    {
        if (tag.space != kTable) return Node::LeftOut;
        const bool range = tag.name == "named-range";
        if (!range && tag.name != "named-expression") return Node::LeftOut;
        const std::string name(orEmpty(tag.attribute(kTable, "name")));
        const Base base = baseOf(orEmpty(tag.attribute(kTable, "base-cell-address")));
        const std::string_view written =
            orEmpty(tag.attribute(kTable, range ? "cell-range-address" : "expression"));
        if (name.empty() || written.empty()) return Node::LeftOut;
        package_.chargeText(name.size() + written.size());
        tellSettings();
        const auto scope = inTable_ ? std::optional(sheet_) : std::nullopt;
        builder_.defineName(
            name, scope, range ? referenceText(written, books_, base) : formulaText(written, books_, base));
        return Node::LeftOut;
    }

    // --- Sheets and rows

    Node openTable(const Tag& tag)
    {
        const std::string name(orEmpty(tag.attribute(kTable, "name")));
        copied_ = false;
        if (const auto copy = copiedSheet(name)) return openCopy(*copy);
        if (name.empty()) throw XmlProblem{"a sheet has no name"};
        if (sheetCount_ == kMaxSheets) throw XmlProblem{"the spreadsheet has more than 65535 sheets"};
        tellSettings();
        sheet_ = builder_.addSheet(name);
        ++sheetCount_;
        sheetName_ = name;
        inTable_ = true;
        row_ = 0;
        covered_.clear();
        firstFiltered_ = kMaxRows;
        return Node::Table;
    }

    /// What the file keeps of another book.
    Node openCopy(const CopiedSheet& copy)
    {
        auto book = std::find(books_.begin(), books_.end(), copy.book);
        if (book == books_.end()) book = books_.insert(book, copy.book);
        builder_.externalSheet(static_cast<std::size_t>(book - books_.begin()), copy.sheet);
        copied_ = inTable_ = true;
        sheetName_ = copy.sheet;
        row_ = 0;
        covered_.clear();
        firstFiltered_ = kMaxRows;
        return Node::Table;
    }

    void closeTable()
    {
        if (firstFiltered_ < kMaxRows)
            builder_.filtered({sheet_, firstFiltered_, 0, lastFiltered_, kMaxColumns - 1});
        inTable_ = false;
    }

    Node enterRows(const Tag& tag)
    {
        if (tag.name == "table-row") {
            repeated_ = repetitions(tag.attribute(kTable, "number-rows-repeated"));
            visibility_ = orEmpty(tag.attribute(kTable, "visibility"));
            nextColumn_ = 0;
            return Node::Row;
        }
        if (tag.name == "named-expressions") return copied_ ? Node::LeftOut : Node::Names;
        const bool group =
            tag.name == "table-rows" || tag.name == "table-header-rows" || tag.name == "table-row-group";
        return group ? Node::Group : Node::LeftOut;
    }

    void closeRow()
    {
        std::size_t filled = 0; // before any is told: few bytes could ask for any number
        for (const Cell& cell : cells_) filled += static_cast<std::size_t>(cell.count);
        if (const std::size_t most = package_.limits().cells;
            filled * repeated_ > most - std::min(told_, most))
            package_.fail(where(), "the file has more cells than the limit of " + std::to_string(most));
        if (filled > 0 && repeated_ > static_cast<std::uint32_t>(kMaxRows - row_))
            throw XmlProblem{"more rows than the 1048576 that a sheet has"};
        for (std::uint32_t i = 0; i < repeated_ && !cells_.empty(); ++i) {
            for (const Cell& cell : cells_)
                for (std::int32_t k = 0; k < cell.count; ++k) tell(cell, cell.col + k);
            tellVisibility();
            ++row_;
        }
        if (cells_.empty())
            row_ =
                static_cast<std::int32_t>(std::min<std::int64_t>(std::int64_t{row_} + repeated_, kMaxRows));
        cells_.clear();
    }

    void tellVisibility()
    {
        if (copied_) return;
        if (visibility_ == "collapse" || visibility_ == "filter") builder_.hiddenRow(sheet_, row_);
        if (visibility_ != "filter") return;
        firstFiltered_ = std::min(firstFiltered_, row_);
        lastFiltered_ = row_;
    }

    // --- Cells

    void openCell(const Tag& tag)
    {
        inCell_ = true;
        cell_ = {};
        cell_.col = nextColumn_;
        const std::uint32_t count = repetitions(tag.attribute(kTable, "number-columns-repeated"));
        cell_.count = static_cast<std::int32_t>(std::min<std::uint32_t>(count, kMaxColumns));
        nextColumn_ = std::min(nextColumn_ + cell_.count, kMaxColumns);
        fits_ = count <= static_cast<std::uint32_t>(kMaxColumns - cell_.col);
        cell_.formula = orEmpty(tag.attribute(kTable, "formula"));
        const std::uint32_t rows = repetitions(tag.attribute(kTable, "number-matrix-rows-spanned"));
        const std::uint32_t cols = repetitions(tag.attribute(kTable, "number-matrix-columns-spanned"));
        if (tag.attribute(kTable, "number-matrix-rows-spanned")) {
            if (rows > static_cast<std::uint32_t>(kMaxRows - row_) ||
                cols > static_cast<std::uint32_t>(kMaxColumns - cell_.col))
                throw XmlProblem{"an array formula reaches beyond the sheet"};
            cell_.matrixRows = static_cast<std::int32_t>(rows);
            cell_.matrixCols = static_cast<std::int32_t>(cols);
        }
        type_ = orEmpty(tag.attribute(kOffice, "value-type"));
        failed_ = orEmpty(tag.attribute(kExtended, "value-type")) == "error";
        readValue(tag);
        paragraphs_ = 0;
        text_.clear();
    }

    void readValue(const Tag& tag)
    {
        given_ = {};
        if (type_ == "float" || type_ == "percentage" || type_ == "currency") {
            if (const auto x = xlsx::parseDouble(orEmpty(tag.attribute(kOffice, "value")))) given_ = *x;
        } else if (type_ == "boolean") {
            given_ = orEmpty(tag.attribute(kOffice, "boolean-value")) == "true";
        } else if (type_ == "date") {
            cell_.date = true;
            if (const auto x = dateSerial(orEmpty(tag.attribute(kOffice, "date-value")), settings_.dates))
                given_ = *x;
        } else if (type_ == "time") {
            cell_.date = true;
            if (const auto x = durationDays(orEmpty(tag.attribute(kOffice, "time-value")))) given_ = *x;
        } else if (const char* string = tag.attribute(kOffice, "string-value")) {
            given_ = Value(string);
        }
    }

    Node enterInline(const Tag& tag)
    {
        if (tag.space != kText) return Node::LeftOut;
        if (tag.name == "s") {
            const std::uint32_t count = std::min(repetitions(tag.attribute(kText, "c")), kMostSpaces);
            spaces_ += count;
            if (spaces_ > kMostSpacesInAll) throw XmlProblem{"more than 16 MiB of repeated spaces"};
            append(std::string(count, ' '));
        } else if (tag.name == "tab") {
            append("\t");
        } else if (tag.name == "line-break") {
            append("\n");
        } else {
            return tag.name == "ruby-text" || tag.name == "note" ? Node::LeftOut
                                                                 : Node::Inline; // fields, too
        }
        return Node::LeftOut;
    }

    void append(std::string_view piece)
    {
        text_ += piece;
        if (text_.size() > package_.limits().textBytes) throw XmlProblem{"the cell's text is too long"};
    }

    void closeCell()
    {
        cell_.value = resultOf();
        const bool filled = !cell_.formula.empty() || !cell_.value.isEmpty();
        if (filled && !fits_) throw XmlProblem{"more cells than the 16384 that a row has"};
        if (filled) {
            package_.chargeText(cell_.formula.size() +
                                (cell_.value.isText() ? cell_.value.text().size() : 0));
            cells_.push_back(std::move(cell_));
        }
        inCell_ = false;
    }

    /// The value that the attributes and the shown text make.
    Value resultOf()
    {
        const bool formula = !cell_.formula.empty();
        if (failed_ || (formula && type_ == "string" && parseFailure(text_))) {
            if (const auto failure = parseFailure(text_)) return *failure;
            if (text_ == "Err:503") return Failure::Num;
            return {}; // a code of another program, which no value of ours stands for
        }
        if (type_ == "string") return given_.isText() && !given_.text().empty() ? given_ : Value(text_);
        if (type_.empty()) return {};
        if (given_.isEmpty()) {
            notices_.tell("value", where(), "the cell has no value of its type: its text is read");
            return Value(text_);
        }
        // Truth values may be written as numbers that are shown as words.
        const bool truth = given_.isNumber() && (given_.number() == 0.0 || given_.number() == 1.0);
        if (truth && type_ == "float" && (text_ == "TRUE" || text_ == "FALSE")) return given_.number() != 0.0;
        return given_;
    }

    void countCells(std::size_t cells)
    {
        const std::size_t most = package_.limits().cells;
        if (cells > most || told_ > most - cells)
            package_.fail(where(), "the file has more cells than the limit of " + std::to_string(most));
        told_ += cells;
    }

    bool isCovered(std::int32_t col) const
    {
        return !covered_.empty() && covered_[static_cast<std::size_t>(col)] >= row_;
    }

    void tell(const Cell& cell, std::int32_t col)
    {
        countCells(1);
        if (copied_) {
            if (!cell.value.isEmpty()) builder_.externalCell(row_, col, cell.value);
            return;
        }
        const CellAddress at{sheet_, row_, col};
        if (cell.formula.empty()) {
            if (isCovered(col))
                builder_.arrayResult(at, cell.value);
            else
                builder_.constant(at, cell.value);
        } else {
            tellFormula(cell, at);
        }
        if (cell.date) builder_.dateCell(at);
    }

    void tellFormula(const Cell& cell, const CellAddress& at)
    {
        const bool repeated = repeated_ > 1 || cell.count > 1;
        if (repeated && ++repeatedFormulas_ > kMostRepeatedFormulas)
            package_.fail(where(), "the file repeats formulas more than 100000 times");
        const std::string text = formulaText(cell.formula, books_);
        if (text.empty()) return;
        if (cell.matrixRows == 0 || isCovered(at.col)) {
            builder_.formula(at, text, cell.value);
            return;
        }
        const Area area{sheet_, at.row, at.col, at.row + cell.matrixRows - 1, at.col + cell.matrixCols - 1};
        if (area.row1 >= kMaxRows || area.col1 >= kMaxColumns) // of a repeated cell
            throw XmlProblem{"an array formula reaches beyond the sheet"};
        countCells(static_cast<std::size_t>(area.rows()) * static_cast<std::size_t>(area.cols()) - 1);
        if (covered_.empty()) covered_.assign(kMaxColumns, -1);
        std::fill(covered_.begin() + area.col0, covered_.begin() + area.col1 + 1, area.row1);
        builder_.arrayFormula(area, text, cell.value, false);
    }

    xlsx::Package& package_;
    BookBuilder& builder_;
    xlsx::Notices notices_;
    CalculationSettings settings_;
    std::vector<Node> stack_;
    std::vector<std::string> books_; // other books that formulas refer to
    bool foundSpreadsheet_ = false, toldSettings_ = false;
    std::size_t sheetCount_ = 0;
    std::size_t told_ = 0; // cells so far
    std::size_t repeatedFormulas_ = 0;
    std::size_t spaces_ = 0; // that elements stood for

    // The current sheet and row.
    SheetIndex sheet_ = 0;
    std::string sheetName_;
    bool inTable_ = false;
    bool copied_ = false; // it is a sheet of another book
    std::int32_t row_ = 0;
    std::uint32_t repeated_ = 1;
    std::string visibility_;
    std::int32_t firstFiltered_ = kMaxRows, lastFiltered_ = 0; // rows that a filter hides
    std::int32_t nextColumn_ = 0;
    std::vector<Cell> cells_;           // of the row, those that hold something
    std::vector<std::int32_t> covered_; // by column: the last row that an array formula covers

    // The current cell.
    Cell cell_;
    bool inCell_ = false, fits_ = true, failed_ = false;
    std::string type_;
    Value given_; // by the attributes; Empty for none
    std::string text_;
    int paragraphs_ = 0;
};

class ManifestHandler final : public xlsx::XmlHandler {
public:
    bool open(const Tag& tag) override
    {
        if (tag.space == kManifest && tag.name == "encryption-data") encrypted = true;
        return true;
    }
    void close(int) override {}

    bool encrypted = false;
};

bool isEncrypted(xlsx::Package& package)
{
    constexpr const char* kPart = "META-INF/manifest.xml";
    if (!package.has(kPart)) return false;
    ManifestHandler manifest;
    try {
        package.read(kPart, manifest);
    } catch (const FileError&) { // old programs wrote manifests in other forms; the content speaks for itself
        return false;
    }
    return manifest.encrypted;
}

} // namespace

bool isOpenDocument(const xlsx::Package& package) { return package.has("mimetype") && package.has(kContent); }

bool isFlatDocument(std::string_view bytes)
{
    constexpr std::size_t kHead = 4096;
    std::string_view head = bytes.substr(0, kHead);
    if (head.starts_with("\xEF\xBB\xBF")) head.remove_prefix(3);
    const std::size_t first = head.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && head[first] == '<' &&
           head.find(kOffice) != std::string_view::npos;
}

void readFlatSpreadsheet(std::string_view bytes, const std::string& name, BookBuilder& builder,
                         const ReadLimits& limits)
{
    xlsx::Package package(name, kContent, bytes, limits);
    readSpreadsheet(package, builder);
}

void readSpreadsheet(xlsx::Package& package, BookBuilder& builder)
{
    if (isEncrypted(package))
        package.fail("",
                     "the spreadsheet is protected with a password; open it in a spreadsheet program, remove "
                     "the password and save it again");
    try {
        ContentHandler content(package, builder);
        package.read(kContent, content);
        content.finish();
        if (package.has("Basic/script-lc.xml") || package.has("Scripts/python/pythonpath"))
            builder.notice("workbook", "macros are not run");
    } catch (const FileError&) {
        throw;
    } catch (const std::runtime_error& error) {
        package.fail("", error.what());
    }
}

} // namespace varnex3::sheet::ods
