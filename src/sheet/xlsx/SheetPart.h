// sheet/xlsx/SheetPart.h - the cells of one worksheet part, told to a builder as they stream by.
#pragma once

#include <string>
#include <vector>

#include "sheet/xlsx/Metadata.h"
#include "sheet/xlsx/Parts.h"

namespace varnex3::sheet::xlsx {

/// What all sheets of a file share while they are read.
struct SheetContext {
    Package& package;
    BookBuilder& builder;
    Notices& notices;
    const Styles& styles;
    const std::vector<Value>& sharedStrings;
    const CellMetadata& metadata;
    DateSystem dates = DateSystem::From1900;
    std::size_t cells = 0; // told so far, of all sheets
};

/// Reads the worksheet part `part` as sheet `index`, called `name`. Raises FileError.
void readSheetPart(SheetContext& context, SheetIndex index, const std::string& name, const std::string& part);

} // namespace varnex3::sheet::xlsx
