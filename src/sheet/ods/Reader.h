// sheet/ods/Reader.h - opens open document spreadsheets (.ods).
//
// Values, formulas, array formulas, names, the date system and iteration are read. What else such a file may
// hold (styles, charts, macros, filters) is left out, with a notice where results could depend on it.
#pragma once

#include "sheet/model/BookBuilder.h"
#include "sheet/xlsx/Package.h"

namespace varnex3::sheet::ods {

/// Whether an archive is an open document of any kind.
bool isOpenDocument(const xlsx::Package& package);

/// Reads the spreadsheet into `builder`. Raises FileError; the builder's book is then to be thrown away.
void readSpreadsheet(xlsx::Package& package, BookBuilder& builder);

} // namespace varnex3::sheet::ods
