// sheet/model/Book.h - a workbook in memory: sheets, cells, names, and their recalculation.
//
// Knows nothing of files (xlsx/ fills it through a BookBuilder) nor of the host interface (workbook/).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sheet/model/BookBuilder.h"
#include "sheet/value/Slot.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

class Trials;

/// A request that the model refuses (a formula that cannot be parsed, a sheet name taken, a cell
/// outside the grid). The message says where and what; the book is as it was before.
class BookError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A cell whose value cannot be trusted, or that deserves a word, and why.
struct CellRemark {
    CellAddress cell;
    std::string text;
};

/// What `corvane check` wants to know about a book.
struct Inspection {
    std::int64_t cells = 0;                   // cells with content
    std::int64_t formulas = 0;                // among them
    std::int64_t compared = 0;                // formula cells with a stored result
    std::vector<CellRemark> different;        // recalculated value differs from the stored one
    std::vector<CellRemark> unknownFunctions; // names a function that the engine does not have
    std::vector<CellRemark> unparsable;       // a formula that is none
    std::vector<CellRemark> unsupported;      // a feature that is not evaluated
    std::vector<CellRemark> circular;         // cells of circular references, with the path
    std::vector<CellRemark> volatiles;        // change at every recalculation
    std::vector<std::string> links;    // other books that the file refers to, as it numbers them from 1
    std::vector<CellRemark> externals; // cells that use them: the reference
    std::vector<CellRemark> keeping;   // those of them whose stored results are kept as a whole
    std::vector<std::pair<std::string, std::string>> notices; // from the reader: where, what
};

/// How a cell differs from the file that the book was loaded from.
enum class Change : std::uint8_t {
    None,
    Result,  // its formula gives another result than the file stores
    Content, // another constant or formula was put there, perhaps an equal one
};

struct BandCell {
    CellAddress at;
    const Value* value;
    Change change;
    bool formula; // has one, or belongs to an array formula
};

/// A defined name whose meaning is not that of the file.
struct NameState {
    std::string name;
    std::optional<SheetIndex> scope;
    std::string formula; // without "="
};

/// Another book that formulas refer to, with the cells that the file keeps of it, row by row.
struct OtherBook {
    struct Sheet {
        std::string name;
        std::vector<std::pair<CellAddress, Value>> cells; // of sheet 0
    };
    std::string target;
    std::vector<Sheet> sheets;
};

class Book {
public:
    Book();
    ~Book();
    Book(const Book&) = delete;
    Book& operator=(const Book&) = delete;

    /// The builder that a reader fills an empty book through. `finishLoading` resolves names and links
    /// formulas; values are the stored ones until the first calculation.
    BookBuilder& builder();
    void finishLoading();

    // Sheets. Names are unique without regard to case.
    SheetIndex addSheet(const std::string& name); // after the last one
    void renameSheet(SheetIndex sheet, const std::string& name);
    void removeSheet(SheetIndex sheet); // references to it become #REF!; positions after it move down
    SheetIndex sheetCount() const;
    const std::string& sheetName(SheetIndex sheet) const;
    std::optional<SheetIndex> findSheet(std::string_view name) const;

    /// The cells that a defined name stands for, seen from `scope` first; nothing when it names no cells.
    std::optional<Area> namedArea(std::string_view name, std::optional<SheetIndex> scope = {}) const;
    std::vector<std::string> names() const;
    /// Defines a name, or changes what it means, for one sheet or for all.
    void defineName(const std::string& name, std::optional<SheetIndex> scope, const std::string& formula);

    // Cells.
    const Value& value(const CellAddress& cell) const;       // Empty where nothing is
    const Value& storedValue(const CellAddress& cell) const; // as loaded; Empty for none
    /// Replaces a formula too. In a heading of a table the value becomes a text that no other column has, and
    /// the column takes it for its name; formulas that use the old name follow.
    void setValue(const CellAddress& cell, Value value);
    /// Content as a user types it: "=..." is a formula, else text that reads as number or Boolean, else text.
    void setContent(const CellAddress& cell, std::string_view content);
    std::string content(const CellAddress& cell) const; // formula with "=", or the constant as text
    /// One formula over a block of cells, evaluated element by element.
    void setArrayFormula(const Area& block, std::string_view content);
    bool hasFormula(const CellAddress& cell) const;
    bool isDate(const CellAddress& cell) const; // its number format shows a date or time
    Area used(SheetIndex sheet) const;

    // The fast path of repeated runs: a slot once, then plain reads and writes.
    Slot slot(const CellAddress& cell); // makes the cell when there is none
    const Value& read(Slot slot) const;
    void write(Slot slot, double x);
    /// Changes whenever slots may have become invalid (a sheet removed).
    std::uint32_t generation() const { return *generation_; }

    /// For many trials at once: cells that they write and cells that they read. Null when that cannot be had:
    /// unless every formula between them works on numbers, a written cell is a plain number, and everything
    /// is recalculated.
    std::unique_ptr<Trials> trials(std::span<const Slot> inputs, std::span<const Slot> outputs,
                                   unsigned threads);

    // What differs from the file that the book was loaded from.
    static constexpr std::int32_t kBandRows = 64;
    /// Appends the cells of rows [row, row + kBandRows) that hold something or were changed, row by row;
    /// `row` is a multiple of kBandRows.
    void band(SheetIndex sheet, std::int32_t row, std::vector<BandCell>& cells) const;
    /// The name that the sheet has in the file; null for a sheet added since.
    const std::string* loadedName(SheetIndex sheet) const;
    /// How many sheets the file had.
    SheetIndex loadedSheets() const;
    /// The area of the array formula that a cell belongs to; nothing for other cells.
    std::optional<Area> arrayArea(const CellAddress& cell) const;
    /// Whether the cell's formula fills as many cells as its result has elements, and has had or may have
    /// several.
    bool spills(const CellAddress& cell) const;
    /// Whether the cell's formula takes the cell of its own row or column where one value is wanted; else it
    /// is evaluated element by element.
    bool takesSingles(const CellAddress& cell) const;
    /// The defined names that were added or given another meaning, also because a sheet was renamed or
    /// removed.
    std::vector<NameState> changedNames() const;
    /// The tables with columns that have been given other names than they have in the file.
    std::vector<Table> renamedTables() const;
    /// The other books in the order in which files number them from 1, and the number of one by its path; 0
    /// for none of that path.
    std::vector<OtherBook> otherBooks() const;
    std::size_t linkTo(std::string_view path) const;
    /// The book has been saved over its file: nothing differs from it any more.
    void markSaved();
    /// The book counts as made here: it came from a kind of file that is not written back.
    void forgetFile();

    // Recalculation.
    void calculate();    // what depends on cells changed since the last time, and volatile cells
    void calculateAll(); // every formula
    /// False leaves all formulas to the general evaluator; results are the same. For tests and measurements.
    void useTypedCode(bool use);
    const CalculationSettings& settings() const;
    /// Uniform values for RAND; replaceable so that a run repeats. Null: from the clock.
    void setRandomSource(std::function<double()> uniform);
    void setPath(std::string path); // for CELL("filename")

    /// Compares with stored results and lists what cannot be trusted. Recalculates everything.
    Inspection inspect();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
    const std::uint32_t* generation_; // in impl_
};

} // namespace varnex3::sheet
