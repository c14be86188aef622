// sheet/files/Open.cpp - tells the kinds of files apart.
#include "sheet/files/Open.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

#include "sheet/csv/Reader.h"
#include "sheet/ods/Reader.h"
#include "sheet/xlsx/Package.h"

namespace varnex3::sheet {
namespace {

constexpr std::size_t kHeadBytes = 4096;

/// By their first bytes archives, old binary workbooks, markup and the like are no separated values whatever
/// they are called.
bool mayBeText(std::string_view head)
{
    if (head.starts_with("PK\x03\x04") || head.starts_with("PK\x05\x06") || head.starts_with("%PDF"))
        return false;
    return !head.starts_with("\xD0\xCF\x11\xE0");
}

/// The whole file, at most `most` bytes and one more.
std::string contentOf(const std::string& path, std::size_t most)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file) throw FileError(path + ": the file cannot be read");
    std::string bytes;
    char piece[64 * 1024];
    std::size_t got = 0;
    while (bytes.size() <= most && (got = std::fread(piece, 1, sizeof piece, file.get())) > 0)
        bytes.append(piece, got);
    if (std::ferror(file.get()) != 0) throw FileError(path + ": the file cannot be read");
    return bytes;
}

/// The text of a flat document; nothing for other files.
std::optional<std::string> flatDocument(const std::string& path, std::size_t most)
{
    std::error_code code;
    if (!std::filesystem::is_regular_file(path, code)) return std::nullopt;
    if (!ods::isFlatDocument(contentOf(path, kHeadBytes))) return std::nullopt;
    return contentOf(path, most);
}

FileKind readArchive(xlsx::Package& package, BookBuilder& builder)
{
    if (!ods::isOpenDocument(package)) {
        readWorkbook(package, builder);
        return FileKind::Workbook;
    }
    ods::readSpreadsheet(package, builder);
    return FileKind::OpenDocument;
}

} // namespace

FileKind openFile(const std::string& path, BookBuilder& builder, const ReadLimits& limits)
{
    std::error_code code;
    if (csv::isSeparatedValues(path) && std::filesystem::is_regular_file(path, code)) {
        const std::string bytes = contentOf(path, limits.fileBytes);
        if (mayBeText(bytes)) {
            csv::readSeparatedValues(bytes, path, builder, limits);
            return FileKind::SeparatedValues;
        }
    }
    if (const auto flat = flatDocument(path, limits.fileBytes)) {
        ods::readFlatSpreadsheet(*flat, path, builder, limits);
        return FileKind::OpenDocument;
    }
    xlsx::Package package(path, limits);
    return readArchive(package, builder);
}

FileKind openFile(std::span<const std::byte> bytes, const std::string& name, BookBuilder& builder,
                  const ReadLimits& limits)
{
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (csv::isSeparatedValues(name) && mayBeText(text)) {
        csv::readSeparatedValues(text, name, builder, limits);
        return FileKind::SeparatedValues;
    }
    if (ods::isFlatDocument(text)) {
        ods::readFlatSpreadsheet(text, name, builder, limits);
        return FileKind::OpenDocument;
    }
    xlsx::Package package(bytes, name, limits);
    return readArchive(package, builder);
}

} // namespace varnex3::sheet
