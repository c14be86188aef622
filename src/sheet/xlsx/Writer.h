// sheet/xlsx/Writer.h - saves a book as .xlsx or .xlsm.
//
// A book that came from a file is saved as a copy of that file in which only the changed cells, the added
// sheets and what lists them are written; every other part stays byte for byte as it is. Formulas and
// defined names follow a sheet that was renamed or removed, and columns of tables that were given other
// headings; charts, pivot tables and links do not.
#pragma once

#include <string>

#include "sheet/model/Book.h"
#include "sheet/xlsx/Reader.h"

namespace varnex3::sheet {

/// Saves `book`, which was loaded from `sourcePath`, as `targetPath`; both may be the same file.
/// `sourcePath` is empty for a book that came from no file: a minimal workbook is then written. Written
/// beside the target and then renamed, so the target is either complete or as it was before.
/// Raises FileError: the target cannot be written, its ending does not fit (.xlsm for a workbook with
/// macros, else .xlsx), the source is not the file that was loaded, or has a part in a form that cannot
/// be changed safely (other encodings than UTF-8, cells out of order).
void saveWorkbook(const Book& book, const std::string& sourcePath, const std::string& targetPath);

} // namespace varnex3::sheet
