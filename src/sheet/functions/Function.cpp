// sheet/functions/Function.cpp - what bodies ask of a call, and the table that the families make up.
#include "sheet/functions/Function.h"

#include <algorithm>
#include <vector>

#include "sheet/format/Convert.h"

namespace varnex3::sheet {
namespace {

std::vector<const FunctionRow*> collectRows()
{
    std::vector<const FunctionRow*> all;
    for (const auto family :
         {mathematicsFunctions(), logicFunctions(), informationFunctions(), lookupFunctions(),
          lambdaFunctions(), matrixFunctions(), arrayFunctions(), aggregateFunctions(), statisticsFunctions(),
          distributionFunctions(), textFunctions(), dateFunctions(), financialFunctions(),
          securityFunctions(), databaseFunctions(), textFormFunctions(), engineeringFunctions()})
        for (const FunctionRow& row : family) all.push_back(&row);
    std::sort(all.begin(), all.end(), [](const auto* a, const auto* b) { return a->name < b->name; });
    return all;
}

/// Whole columns and rows, and other areas of more than 2^24 cells, hold little: only what is in use counts,
/// but never less than one cell.
Area clipped(Environment& environment, Area area)
{
    const bool large = static_cast<double>(area.rows()) * area.cols() > 16777216.0;
    if (!large && area.row1 < kMaxRows - 1 && area.col1 < kMaxColumns - 1) return area;
    const Area used = environment.used(area.sheet);
    area.row1 = std::max(area.row0, std::min(area.row1, used.row1));
    area.col1 = std::max(area.col0, std::min(area.col1, used.col1));
    return area;
}

} // namespace

std::int32_t Call::rows(int i) const
{
    const Value& v = value(i);
    if (v.isArray()) return v.rows();
    return v.isReference() ? v.areas().front().rows() : 1;
}

std::int32_t Call::cols(int i) const
{
    const Value& v = value(i);
    if (v.isArray()) return v.cols();
    return v.isReference() ? v.areas().front().cols() : 1;
}

Value Call::at(int i, std::int32_t r, std::int32_t c) const
{
    const Value& v = value(i);
    if (v.isArray()) return v.at(r, c);
    if (!v.isReference()) return v;
    const Area& area = v.areas().front();
    return environment_.cell({area.sheet, area.row0 + r, area.col0 + c});
}

std::vector<Value> Call::elements(int i) const
{
    const Value& v = value(i);
    if (v.isArray()) return v.items();
    if (!v.isReference()) return {v};
    std::vector<Value> all;
    for (const Area& whole : v.areas()) {
        const Area area = clipped(environment_, whole);
        const std::size_t start = all.size();
        const auto width = static_cast<std::size_t>(area.cols());
        all.resize(start + static_cast<std::size_t>(area.rows()) * width);
        environment_.visit(area, [&](std::int32_t row, std::int32_t col, const Value* first, std::int32_t n) {
            for (std::int32_t k = 0; k < n; ++k)
                all[start + static_cast<std::size_t>(row + k - area.row0) * width +
                    static_cast<std::size_t>(col - area.col0)] = first[k];
            return true;
        });
    }
    return all;
}

void Call::visit(int i, FunctionRef<bool(const Value& v, bool fromCell)> visitor) const
{
    const Value& v = value(i);
    if (v.isArray()) {
        for (const Value& item : v.items())
            if (!visitor(item, true)) return;
    } else if (v.isReference()) {
        bool going = true;
        for (const Area& area : v.areas()) {
            environment_.visit(area, [&](std::int32_t, std::int32_t, const Value* first, std::int32_t n) {
                for (std::int32_t k = 0; k < n && going; ++k) going = visitor(first[k], true);
                return going;
            });
            if (!going) return;
        }
    } else {
        visitor(v, false);
    }
}

std::optional<Failure> Call::numbersOf(int i, FunctionRef<void(double)> visitor) const
{
    std::optional<Failure> failure;
    visit(i, [&](const Value& v, bool fromCell) {
        if (v.isNumber()) {
            visitor(v.number());
        } else if (v.isFailure()) {
            failure = v.failure();
        } else if (!fromCell) {
            const Value converted = toNumber(v, dates());
            if (converted.isFailure()) {
                failure = converted.failure();
            } else {
                visitor(converted.number());
            }
        }
        return !failure;
    });
    return failure;
}

std::optional<Failure> Call::numbers(int first, FunctionRef<void(double)> visitor) const
{
    for (int i = first; i < count(); ++i)
        if (const auto failure = numbersOf(i, visitor)) return failure;
    return std::nullopt;
}

Value callOne(Call& call) { return finite(call.row().body.one(call.number(0))); }
Value callTwo(Call& call) { return finite(call.row().body.two(call.number(0), call.number(1))); }

bool takesCount(const FunctionRow& row, int count)
{
    const ParameterList& p = row.parameters;
    if (count < p.required() || count > p.most()) return false;
    const int group = p.repeating();
    if (group <= 1 || count <= p.count) return true;
    const bool mayStopInside = std::any_of(p.items.begin() + (p.count - group), p.items.begin() + p.count,
                                           [](const Parameter& q) { return q.optional; });
    // The value that SWITCH gives when nothing fits stands alone at the end.
    return mayStopInside || (count - p.count) % group == 0 || row.name == "SWITCH";
}

std::span<const FunctionRow* const> allFunctions()
{
    static const std::vector<const FunctionRow*> all = collectRows();
    return all;
}

const FunctionRow* findFunction(std::string_view name)
{
    const auto all = allFunctions();
    const auto at =
        std::lower_bound(all.begin(), all.end(), name,
                         [](const FunctionRow* row, std::string_view key) { return row->name < key; });
    return at != all.end() && (*at)->name == name ? *at : nullptr;
}

} // namespace varnex3::sheet
