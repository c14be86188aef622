// sheet/files/Open.h - opens a workbook file of any kind that the engine reads.
//
// What a file holds decides, not its ending; only text files need one, to be taken for separated values.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "sheet/model/BookBuilder.h"
#include "sheet/xlsx/Reader.h"

namespace varnex3::sheet {

enum class FileKind {
    Workbook,        // .xlsx, .xlsm: can be saved back
    OpenDocument,    // .ods, .fods
    SeparatedValues, // .csv, .tsv
};

/// Reads the file into `builder` and tells its kind. Raises FileError; the builder's book is then to be
/// thrown away.
FileKind openFile(const std::string& path, BookBuilder& builder, const ReadLimits& limits = {});

/// The same from memory; `name` stands for the path.
FileKind openFile(std::span<const std::byte> bytes, const std::string& name, BookBuilder& builder,
                  const ReadLimits& limits = {});

} // namespace varnex3::sheet
