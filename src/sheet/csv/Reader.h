// sheet/csv/Reader.h - opens files of separated values (.csv, .tsv).
//
// One sheet, named after the file. A field that reads as a number, a percentage, an ISO date or TRUE or FALSE
// becomes one, "=..." a formula, everything else text. docs/files.md tells the rules.
#pragma once

#include <string>
#include <string_view>

#include "sheet/model/BookBuilder.h"
#include "sheet/xlsx/Reader.h"

namespace varnex3::sheet::csv {

/// Whether a file of that name holds separated values: its ending says so.
bool isSeparatedValues(std::string_view path);

/// Reads the bytes of a file into `builder`; `path` gives the sheet's name and stands in messages. Raises
/// FileError; the builder's book is then to be thrown away.
void readSeparatedValues(std::string_view bytes, const std::string& path, BookBuilder& builder,
                         const ReadLimits& limits = {});

} // namespace varnex3::sheet::csv
