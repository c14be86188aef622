// fuzz/workbook_fuzz.cpp - the file reader against any bytes: it reads them or raises FileError, in
// bounded time and memory.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "sheet/xlsx/Reader.h"

namespace
{

using namespace varnex3::sheet;

// Counts, and checks what every builder may rely on.
class CountingBuilder final : public BookBuilder
{
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
    void arrayFormula(const Area& area, std::string_view text, Value stored, bool spills) override
    {
        formula({area.sheet, area.row0, area.col0}, text, std::move(stored));
        require(inGrid({area.sheet, area.row1, area.col1}) && area.rows() >= 1 && area.cols() >= 1);
        require(!spills || area.isCell());
    }
    void arrayResult(const CellAddress& cell, Value stored) override
    {
        require(inGrid(cell) && stored.isScalar());
    }
    void dateCell(const CellAddress& cell) override { require(inGrid(cell)); }
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
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ReadLimits limits;
    limits.expandedBytes = std::size_t{8} << 20;
    limits.textBytes = std::size_t{4} << 20;
    limits.cells = 100'000;
    CountingBuilder builder;
    try {
        readWorkbook(std::as_bytes(std::span(data, size)), "input", builder, limits);
    } catch (const FileError&) {
        return 0;
    }
    return 0;
}
