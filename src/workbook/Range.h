// workbook/Range.h - a cell or an area of cells of the embedded host.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "workbook/Workbook.h"

namespace varnex3::workbook {

class EmbeddedRange final : public host::Range, public std::enable_shared_from_this<EmbeddedRange> {
public:
    /// `area` as it stands now; its sheet is `place`.
    EmbeddedRange(Ref<EmbeddedWorkbook> workbook, std::shared_ptr<SheetPlace> place, const sheet::Area& area)
        : workbook_(std::move(workbook)), place_(std::move(place)), area_(area), isCell_(area.isCell())
    {}

    /// A cell's value, or those of an area as an array of rows and columns. Raises 7 for an area of
    /// more than 20 million cells.
    Variant Value() override;
    /// Puts a value into every cell. Texts are read as if typed: "=A1" is a formula, "12" a number,
    /// "'12" a text. An array puts its elements where they belong: a single row goes to all rows, what
    /// an array does not reach becomes #N/A. A range stands for its values.
    void Value(const Variant& value) override;
    /// Of an area, the content of its first cell.
    std::string Formula() override;
    /// A formula put to an area is that of its first cell; relative references move along.
    void Formula(const std::string& content) override;
    std::string Address() override;
    Long Count() override; // raises 6 when there are too many to count
    Ref<host::Worksheet> Worksheet() override;
    bool HasFormula() override; // all cells of an area
    void Select() override;
    Ref<host::Application> Application() override;

    const EmbeddedWorkbook& workbook() const { return *workbook_; }
    bool isCell() const { return isCell_; }
    /// The cell in the engine's store; of a single cell.
    sheet::Slot slot()
    {
        const bool known = slot_ != sheet::kNoSlot && generation_ == workbook_->book().generation();
        return known ? slot_ : findSlot();
    }

private:
    sheet::Slot findSlot();
    void setValue(const Variant& value);
    sheet::CellAddress address(std::int32_t row, std::int32_t col) const;
    Variant areaValue();
    void putArray(Long rows, Long cols, const std::function<Variant(Long, Long)>& item);
    void put(const sheet::CellAddress& cell, const Variant& value);

    Ref<EmbeddedWorkbook> workbook_;
    std::shared_ptr<SheetPlace> place_;
    sheet::Area area_;
    bool isCell_;
    // The cell in the engine's store, as long as the generation is the engine's.
    sheet::Slot slot_ = sheet::kNoSlot;
    std::uint32_t generation_ = 0;
};

/// A range of this host behind an object; null for anything else.
EmbeddedRange* embeddedRange(const Variant& v);

} // namespace varnex3::workbook
