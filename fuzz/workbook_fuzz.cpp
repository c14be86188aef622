// fuzz/workbook_fuzz.cpp - the file readers against any bytes: they read them or raise FileError, in
// bounded time and memory.
//
// Input that begins like an archive is a whole file. A first byte 1 means separated values, a first byte 2
// the content part of an open document spreadsheet, a 3 one in one piece. Any other input holds the texts of
// the parts of a workbook in the order of kPartNames, a zero byte between them. Parts are packed first: check
// sums would keep changes of one part from ever reaching the next.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include <zip.h>

#include "sheet/files/Open.h"

namespace {

using namespace varnex3::sheet;

// Counts, and checks what every builder may rely on.
class CountingBuilder final : public BookBuilder {
public:
    SheetIndex addSheet(std::string) override { return sheets_++; }
    void settings(const CalculationSettings& settings) override { require(settings.maxIterations >= 1); }
    void defineName(std::string name, std::optional<SheetIndex> scope, std::string) override
    {
        require(!name.empty() && (!scope || (*scope >= 0 && *scope < sheets_)));
    }
    void constant(const CellAddress& cell, Value value) override
    {
        require(inGrid(cell) && !value.isEmpty());
    }
    void formula(const CellAddress& cell, std::string_view text, Value stored) override
    {
        require(inGrid(cell) && !text.empty() && stored.isScalar());
    }
    void sharedMaster(const CellAddress& cell, std::uint32_t, std::string_view text, Value stored) override
    {
        formula(cell, text, std::move(stored));
    }
    void sharedFollower(const CellAddress& cell, std::uint32_t, Value stored) override
    {
        require(inGrid(cell) && stored.isScalar());
    }
    void arrayFormula(const Area& area, std::string_view text, Value stored, bool) override
    {
        formula({area.sheet, area.row0, area.col0}, text, std::move(stored));
        require(inGrid({area.sheet, area.row1, area.col1}) && area.rows() >= 1 && area.cols() >= 1);
    }
    void arrayResult(const CellAddress& cell, Value stored) override
    {
        require(inGrid(cell) && stored.isScalar());
    }
    void dateCell(const CellAddress& cell) override { require(inGrid(cell)); }
    void merged(const Area& area) override
    {
        require(inGrid({area.sheet, area.row0, area.col0}) && inGrid({area.sheet, area.row1, area.col1}));
    }
    void externalSheet(std::size_t, std::string) override { external_ = true; }
    void externalCell(std::int32_t row, std::int32_t col, Value value) override
    {
        require(external_ && row >= 0 && row < kMaxRows && col >= 0 && col < kMaxColumns && value.isScalar());
    }
    void notice(std::string, std::string what) override { require(!what.empty()); }

private:
    static void require(bool kept)
    {
        if (!kept) std::abort();
    }
    bool inGrid(const CellAddress& cell) const
    {
        return cell.sheet >= 0 && cell.sheet < sheets_ && cell.row >= 0 && cell.row < kMaxRows &&
               cell.col >= 0 && cell.col < kMaxColumns;
    }

    SheetIndex sheets_ = 0;
    bool external_ = false; // a sheet of another book was told
};

constexpr const char* kDocumentNames[] = {"content.xml", "mimetype"};
constexpr const char* kPartNames[] = {
    "xl/workbook.xml", "xl/_rels/workbook.xml.rels", "xl/s.xml",  "xl/t.xml",
    "xl/y.xml",        "xl/_rels/s.xml.rels",        "xl/tb.xml", "xl/m.xml",
    "xl/x.xml"};

std::string packed(std::string_view texts, std::span<const char* const> names)
{
    zip_source_t* target = zip_source_buffer_create(nullptr, 0, 0, nullptr);
    zip_source_keep(target);
    zip_t* zip = zip_open_from_source(target, ZIP_TRUNCATE, nullptr);
    for (const char* name : names) {
        const std::size_t end = texts.find('\0');
        const std::string_view text = texts.substr(0, end);
        const zip_int64_t index =
            zip_file_add(zip, name, zip_source_buffer(zip, text.data(), text.size(), 0), ZIP_FL_OVERWRITE);
        zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
        if (end == std::string_view::npos) break;
        texts.remove_prefix(end + 1);
    }
    if (zip_close(zip) != 0) std::abort();
    zip_stat_t about;
    zip_stat_init(&about);
    zip_source_stat(target, &about);
    std::string bytes(about.size, '\0');
    zip_source_open(target);
    zip_source_read(target, bytes.data(), bytes.size());
    zip_source_close(target);
    zip_source_free(target);
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ReadLimits limits;
    limits.expandedBytes = std::size_t{8} << 20;
    limits.textBytes = std::size_t{4} << 20;
    limits.cells = 100'000;
    CountingBuilder builder;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const char first = input.empty() ? '\0' : input[0];
    const std::string file =
        input.substr(0, 2) == "PK"       ? std::string(input)
        : first == '\1' || first == '\3' ? std::string(input.substr(1))
        : first == '\2' ? packed(std::string(input.substr(1)) + std::string("\0x", 2), kDocumentNames)
                        : packed(input, kPartNames);
    try {
        openFile(std::as_bytes(std::span(file)), first == '\1' ? "input.csv" : "input.xlsx", builder, limits);
    } catch (const FileError&) {
        return 0;
    }
    return 0;
}
