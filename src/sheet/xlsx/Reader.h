// sheet/xlsx/Reader.h - opens .xlsx and .xlsm files.
#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>

#include "sheet/model/BookBuilder.h"

namespace varnex3::sheet {

namespace xlsx {
class Package;
}

/// A file that cannot be read: the message names the file, the part or sheet and cell, and what to do.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Files are untrusted: what a file may ask of memory and time. A file over a limit is refused.
struct ReadLimits {
    std::size_t fileBytes = std::size_t{1} << 30;     // of the file itself
    std::size_t expandedBytes = std::size_t{4} << 30; // of all parts read, unpacked
    std::size_t partRatio = 1000; // unpacked to packed size of one part (zip bombs), above 1 MiB
    std::size_t cells = 20'000'000;
    std::size_t textBytes = std::size_t{1} << 30; // of shared strings
    int depth = 64;                               // of nested elements
};

/// Reads a workbook file into `builder`. Raises FileError; the builder's book is then to be thrown away.
void readWorkbook(const std::string& path, BookBuilder& builder, const ReadLimits& limits = {});

/// The same from memory; `name` stands for the path in messages.
void readWorkbook(std::span<const std::byte> bytes, const std::string& name, BookBuilder& builder,
                  const ReadLimits& limits = {});

/// The same from an archive that is open already.
void readWorkbook(xlsx::Package& package, BookBuilder& builder);

} // namespace varnex3::sheet
