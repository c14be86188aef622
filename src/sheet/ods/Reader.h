// sheet/ods/Reader.h - opens open document spreadsheets (.ods, .fods).
//
// Values, formulas, array formulas, names, the date system and iteration are read. What else such a file may
// hold (styles, charts, macros, filters) is left out, with a notice where results could depend on it.
#pragma once

#include <string>
#include <string_view>

#include "sheet/model/BookBuilder.h"
#include "sheet/xlsx/Package.h"

namespace varnex3::sheet::ods {

/// Whether an archive is an open document of any kind.
bool isOpenDocument(const xlsx::Package& package);

/// Whether a file is an open document of any kind in one piece of markup (.fods).
bool isFlatDocument(std::string_view bytes);

/// The same as readSpreadsheet for such a file.
void readFlatSpreadsheet(std::string_view bytes, const std::string& name, BookBuilder& builder,
                         const ReadLimits& limits);

/// Reads the spreadsheet into `builder`. Raises FileError; the builder's book is then to be thrown away.
void readSpreadsheet(xlsx::Package& package, BookBuilder& builder);

} // namespace varnex3::sheet::ods
