// sheet/model/BookBuilder.h - what a file reader tells the model, cell by cell, in file order.
//
// The model implements it; readers know nothing else of the model.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "sheet/value/Environment.h"
#include "sheet/value/Table.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

/// How a file wants its formulas calculated.
struct CalculationSettings {
    bool manual = false;
    bool iterate = false;
    int maxIterations = 100;
    double maxChange = 0.001;
    DateSystem dates = DateSystem::From1900;
};

/// A what-if table: its cells are the results of formulas with other values in one or two input cells.
struct DataTable {
    bool two =
        false; // `first` takes the values in the row above the table, `second` those in the column beside
    bool row = false; // of one input: its values are in the row above, the formulas in the column beside
    CellAddress first, second; // on the sheet of the table
};

class BookBuilder {
public:
    virtual ~BookBuilder() = default;

    virtual SheetIndex addSheet(std::string name) = 0; // in tab order
    virtual void settings(const CalculationSettings& settings) = 0;
    /// A defined name with its formula text (no "="); visible in one sheet only when `scope` is given.
    virtual void defineName(std::string name, std::optional<SheetIndex> scope, std::string formula) = 0;

    /// A table, told before the cells whose formulas name it.
    virtual void table(Table /*table*/) {}
    /// Cells that are shown as one.
    virtual void merged(const Area& /*area*/) {}
    /// A row that is not shown, and an area whose hidden rows are hidden by a filter.
    virtual void hiddenRow(SheetIndex /*sheet*/, std::int32_t /*row*/) {}
    virtual void filtered(const Area& /*area*/) {}

    virtual void constant(const CellAddress& cell, Value value) = 0;
    /// A formula with the result that the saving program stored (Empty when none is stored).
    virtual void formula(const CellAddress& cell, std::string_view text, Value stored) = 0;
    /// The first cell of a group of shared formulas; `group` is the file's number within the sheet.
    virtual void sharedMaster(const CellAddress& cell, std::uint32_t group, std::string_view text,
                              Value stored) = 0;
    /// A further cell of a group whose master came before.
    virtual void sharedFollower(const CellAddress& cell, std::uint32_t group, Value stored) = 0;
    /// An array formula over `area` (what it filled when saved for a spilling one, `spills`); stored results
    /// of the other cells of the area follow as `arrayResult`.
    virtual void arrayFormula(const Area& area, std::string_view text, Value stored, bool spills) = 0;
    virtual void arrayResult(const CellAddress& cell, Value stored) = 0;
    /// A data table over `area`, which has a row above and a column beside it; stored results of its other
    /// cells follow as `arrayResult`.
    virtual void dataTable(const Area& area, const DataTable& /*table*/, Value stored)
    {
        constant({area.sheet, area.row0, area.col0}, std::move(stored));
    }

    /// The number format of a cell, as its code text; told only for formats that show dates.
    virtual void dateCell(const CellAddress& cell) = 0;
    /// Another book that formulas refer to: a path or address. Told in the order in which they number them.
    virtual void externalLink(std::string /*target*/) {}
    /// What the file keeps of another book, the `link`-th from 0, told before or after the link itself: a
    /// sheet, then its cells; and names with what they refer to.
    virtual void externalSheet(std::size_t /*link*/, std::string /*name*/) {}
    virtual void externalCell(std::int32_t /*row*/, std::int32_t /*col*/, Value /*value*/) {}
    virtual void externalName(std::size_t /*link*/, std::string /*name*/, std::string /*formula*/) {}
    /// Something that the file holds and the engine does not evaluate, for the list that the user sees.
    virtual void notice(std::string where, std::string what) = 0;
};

} // namespace varnex3::sheet
