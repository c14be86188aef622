// sheet/value/Value.cpp - counted payloads and the names of failures.
#include "sheet/value/Value.h"

#include <algorithm>
#include <cassert>

namespace varnex3::sheet {
namespace {

struct FailureName {
    Failure failure;
    std::string_view text;
};
constexpr FailureName kFailureNames[] = {
    {Failure::Null, "#NULL!"},   {Failure::Div0, "#DIV/0!"},
    {Failure::Value, "#VALUE!"}, {Failure::Ref, "#REF!"},
    {Failure::Name, "#NAME?"},   {Failure::Num, "#NUM!"},
    {Failure::NA, "#N/A"},       {Failure::Spill, "#SPILL!"},
    {Failure::Calc, "#CALC!"},   {Failure::Circular, "#CIRCULAR!"},
};

bool sameLetters(std::string_view a, std::string_view b)
{
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return upper(x) == upper(y); });
}

thread_local bool spareGone = false; // the thread ends, and its spare payloads are deleted

/// References come and go with every evaluation of an area; a few of their payloads wait here for the next.
class SparePayloads {
public:
    ~SparePayloads()
    {
        for (detail::ReferenceData* data : spare_) delete data;
        spareGone = true;
    }
    detail::ReferenceData* take()
    {
        if (spare_.empty()) return new detail::ReferenceData;
        detail::ReferenceData* data = spare_.back();
        spare_.pop_back();
        data->references.store(1, std::memory_order_relaxed);
        return data;
    }
    void give(detail::ReferenceData* data)
    {
        constexpr std::size_t kMost = 64, kFewAreas = 16;
        if (spare_.size() >= kMost || data->areas.capacity() > kFewAreas) {
            delete data;
            return;
        }
        data->areas.clear();
        spare_.push_back(data);
    }

private:
    std::vector<detail::ReferenceData*> spare_;
};
thread_local SparePayloads sparePayloads;

} // namespace

std::string_view failureText(Failure f) { return kFailureNames[static_cast<std::size_t>(f)].text; }

std::optional<Failure> parseFailure(std::string_view text)
{
    for (const FailureName& row : kFailureNames)
        if (sameLetters(row.text, text)) return row.failure;
    return std::nullopt;
}

Value::Value(std::string text) : number_(0.0), kind_(Kind::Text)
{
    auto* data = new detail::TextData;
    data->text = std::move(text);
    payload_ = data;
}

Value::Value(const Area& area) : number_(0.0), kind_(Kind::Reference)
{
    auto* data = spareGone ? new detail::ReferenceData : sparePayloads.take();
    data->areas.push_back(area);
    payload_ = data;
}

Value Value::reference(std::vector<Area> areas)
{
    Value v;
    auto* data = new detail::ReferenceData;
    data->areas = std::move(areas);
    v.payload_ = data;
    v.kind_ = Kind::Reference;
    return v;
}

Value Value::array(std::int32_t rows, std::int32_t cols, std::vector<Value> items)
{
    assert(rows >= 1 && cols >= 1);
    assert(items.size() == static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
    Value v;
    auto* data = new detail::ArrayData;
    data->rows = rows;
    data->cols = cols;
    data->items = std::move(items);
    v.payload_ = data;
    v.kind_ = Kind::Array;
    return v;
}

Value Value::function(detail::FunctionData function)
{
    Value v;
    v.payload_ = new detail::FunctionData(std::move(function));
    v.kind_ = Kind::Function;
    return v;
}

void Value::release() noexcept
{
    if (payload_->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    switch (kind_) {
    case Kind::Text: delete static_cast<detail::TextData*>(payload_); break;
    case Kind::Array: delete static_cast<detail::ArrayData*>(payload_); break;
    case Kind::Function: delete static_cast<detail::FunctionData*>(payload_); break;
    default:
        if (spareGone) {
            delete static_cast<detail::ReferenceData*>(payload_);
        } else {
            sparePayloads.give(static_cast<detail::ReferenceData*>(payload_));
        }
        break;
    }
}

std::int32_t Value::rows() const { return static_cast<const detail::ArrayData*>(payload_)->rows; }
std::int32_t Value::cols() const { return static_cast<const detail::ArrayData*>(payload_)->cols; }

const Value& Value::at(std::int32_t row, std::int32_t col) const
{
    const auto* data = static_cast<const detail::ArrayData*>(payload_);
    assert(row >= 0 && row < data->rows && col >= 0 && col < data->cols);
    return data->items[static_cast<std::size_t>(row) * static_cast<std::size_t>(data->cols) +
                       static_cast<std::size_t>(col)];
}

const std::vector<Value>& Value::items() const
{
    return static_cast<const detail::ArrayData*>(payload_)->items;
}

const detail::FunctionData& Value::function() const
{
    return *static_cast<const detail::FunctionData*>(payload_);
}

bool operator==(const Value& a, const Value& b)
{
    if (a.kind_ != b.kind_) return false;
    switch (a.kind_) {
    case Kind::Empty: return true;
    case Kind::Number:
    case Kind::Boolean: return a.number_ == b.number_;
    case Kind::Failure: return a.failure_ == b.failure_;
    case Kind::Text: return a.text() == b.text();
    case Kind::Array: return a.rows() == b.rows() && a.cols() == b.cols() && a.items() == b.items();
    case Kind::Reference: return a.areas() == b.areas();
    case Kind::Function: return a.payload_ == b.payload_;
    }
    return false;
}

} // namespace varnex3::sheet
