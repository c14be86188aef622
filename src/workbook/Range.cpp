// workbook/Range.cpp - cells of the embedded host.
//
// Runs read and write the same few cells millions of times: a single cell's number goes straight to its
// slot in the engine's store.
#include "workbook/Range.h"

#include <cmath>
#include <limits>

#include "sheet/formula/Parser.h"
#include "workbook/Convert.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::workbook {

namespace {

constexpr std::int64_t kMostCells = 20'000'000; // of an area whose values are asked for at once

std::int64_t cellCount(const sheet::Area& area)
{
    return static_cast<std::int64_t>(area.rows()) * static_cast<std::int64_t>(area.cols());
}

} // namespace

sheet::Slot EmbeddedRange::findSlot()
{
    slot_ = asked([&] { return workbook_->book().slot(address(area_.row0, area_.col0)); });
    generation_ = workbook_->book().generation();
    return slot_;
}

sheet::CellAddress EmbeddedRange::address(std::int32_t row, std::int32_t col) const
{
    return {indexOf(*place_), row, col};
}

Variant EmbeddedRange::Value()
{
    if (!isCell_) return areaValue();
    const sheet::Value& value = workbook_->currentBook().read(slot());
    if (value.isNumber()) return value.number();
    return toVariant(value);
}

Variant EmbeddedRange::areaValue()
{
    if (cellCount(area_) > kMostCells) raise(errors::OutOfMemory);
    const sheet::Book& book = workbook_->currentBook();
    auto values = std::make_shared<Array2<Variant>>(area_.rows(), area_.cols());
    for (Long r : oneTo(area_.rows()))
        for (Long c : oneTo(area_.cols()))
            (*values)(r, c) = toVariant(book.value(address(area_.row0 + r - 1, area_.col0 + c - 1)));
    return VariantArray2(std::move(values));
}

void EmbeddedRange::Value(const Variant& value)
{
    if (const double* x = value.asNumber(); x && isCell_ && std::isfinite(*x)) {
        workbook_->book().write(slot(), *x);
        workbook_->touched();
    } else {
        setValue(value);
    }
}

void EmbeddedRange::setValue(const Variant& value)
{
    if (EmbeddedRange* other = embeddedRange(value)) {
        Value(other->Value());
        return;
    }
    std::visit(
        overloaded{
            [&](const DoubleArray1& a) {
                putArray(1, a->size(), [&](Long, Long c) { return Variant((*a)(c)); });
            },
            [&](const VariantArray1& a) { putArray(1, a->size(), [&](Long, Long c) { return (*a)(c); }); },
            [&](const DoubleArray2& a) {
                putArray(a->rows(), a->cols(), [&](Long r, Long c) { return Variant((*a)(r, c)); });
            },
            [&](const VariantArray2& a) {
                putArray(a->rows(), a->cols(), [&](Long r, Long c) { return (*a)(r, c); });
            },
            [&](const auto&) { putArray(0, 0, [&](Long, Long) { return value; }); },
        },
        value.held());
}

// 0 rows and columns: the same item everywhere.
void EmbeddedRange::putArray(Long rows, Long cols, const std::function<Variant(Long, Long)>& item)
{
    if (cellCount(area_) > kMostCells) raise(errors::OutOfMemory);
    workbook_->touched();
    for (Long r : oneTo(area_.rows())) {
        const Long row = rows == 1 ? 1 : r;
        for (Long c : oneTo(area_.cols())) {
            const Long col = cols == 1 ? 1 : c;
            const bool reached = (rows == 0 && cols == 0) || (row <= rows && col <= cols);
            put(address(area_.row0 + r - 1, area_.col0 + c - 1),
                reached ? item(row, col) : Variant(errorValue(sheet::Failure::NA)));
        }
    }
}

void EmbeddedRange::put(const sheet::CellAddress& cell, const Variant& value)
{
    sheet::Book& book = workbook_->book();
    const std::string* text = value.asText();
    asked([&] {
        if (!text)
            book.setValue(cell, toValue(value));
        else if (!text->empty() && text->front() == '\'')
            book.setValue(cell, sheet::Value(text->substr(1)));
        else if (text->empty())
            book.setValue(cell, {});
        else
            book.setContent(cell, *text);
    });
}

std::string EmbeddedRange::Formula() { return workbook_->book().content(address(area_.row0, area_.col0)); }

void EmbeddedRange::Formula(const std::string& content)
{
    const sheet::CellAddress first = address(area_.row0, area_.col0);
    if (isCell_ || content.empty() || content.front() != '=') {
        Value(Variant(content));
        return;
    }
    const auto parsed = sheet::parseFormula(content, first);
    const auto* tree = std::get_if<sheet::Tree>(&parsed);
    if (!tree) refuse(content + " is no formula: " + std::get<sheet::ParseError>(parsed).message);
    if (cellCount(area_) > kMostCells) raise(errors::OutOfMemory);
    workbook_->touched();
    for (std::int32_t row = area_.row0; row <= area_.row1; ++row)
        for (std::int32_t col = area_.col0; col <= area_.col1; ++col) {
            const sheet::CellAddress cell = address(row, col);
            asked([&] { workbook_->book().setContent(cell, sheet::formulaText(*tree, cell)); });
        }
}

std::string EmbeddedRange::Address()
{
    return isCell_ ? sheet::a1Text(address(area_.row0, area_.col0), true) : sheet::a1Text(area_, true);
}

Long EmbeddedRange::Count()
{
    const std::int64_t count = cellCount(area_);
    if (count > std::numeric_limits<Long>::max()) raise(errors::Overflow);
    return static_cast<Long>(count);
}

Ref<host::Worksheet> EmbeddedRange::Worksheet()
{
    return std::make_shared<EmbeddedWorksheet>(workbook_, place_);
}

bool EmbeddedRange::HasFormula()
{
    for (std::int32_t row = area_.row0; row <= area_.row1; ++row)
        for (std::int32_t col = area_.col0; col <= area_.col1; ++col)
            if (!workbook_->book().hasFormula(address(row, col))) return false;
    return true;
}

void EmbeddedRange::Select()
{
    indexOf(*place_);
    workbook_->application()->select(shared_from_this());
}

Ref<host::Application> EmbeddedRange::Application() { return workbook_->application(); }

EmbeddedRange* embeddedRange(const Variant& v)
{
    const ObjectRef* object = std::get_if<ObjectRef>(&v.held());
    return object ? dynamic_cast<EmbeddedRange*>(object->get()) : nullptr;
}

} // namespace varnex3::workbook
