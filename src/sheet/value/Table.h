// sheet/value/Table.h - a table of a sheet, as structured references see it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sheet/value/Value.h"

namespace varnex3::sheet {

struct Table {
    std::string name;
    Area area; // with its header and totals rows
    std::int32_t headerRows = 1, totalsRows = 0;
    std::vector<std::string> columns; // one for each column of the area

    /// The rows between header and totals; row0 > row1 when there are none.
    Area data() const
    {
        return {area.sheet, area.row0 + headerRows, area.col0, area.row1 - totalsRows, area.col1};
    }
};

} // namespace varnex3::sheet
