// sheet/exec/TypedProgram.cpp - the tables of typed code.
#include "sheet/exec/TypedProgram.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "sheet/exec/Operators.h"

namespace varnex3::sheet {
void TypedTable::read(const Value* store)
{
    keys.clear();
    values.clear();
    for (const auto& [slot, kind] : keyCells) keys.push_back(store[slot].number());
    for (const auto& [slot, kind] : cells)
        values.push_back(kind == Kind::Number ? store[slot].number()
                                              : std::numeric_limits<double>::quiet_NaN());
    const auto close = [](double a, double b) { return compareNumbers(a, b) >= 0; };
    above.assign(keys.begin(), keys.end());
    above.push_back(HUGE_VAL);
    results.assign(1, std::numeric_limits<double>::quiet_NaN());
    for (std::size_t k = 0; k < keys.size(); ++k)
        results.push_back(values.empty() ? static_cast<double>(k + 1) : values[k]);
    isClear = how == How::Ascending && !keys.empty() &&
              std::adjacent_find(keys.begin(), keys.end(), close) == keys.end();
}

/// As MATCH and its like search; see functions/Lookup.cpp.
double TypedTable::find(double sought) const
{
    const std::size_t count = keys.size();
    if (isClear) { // by halving without branches: which way it goes cannot be foreseen
        const double* first = keys.data();
        std::size_t rest = count;
        while (rest > 1) {
            const std::size_t half = rest / 2;
            first = first[half - 1] <= sought ? first + half : first;
            rest -= half;
        }
        const std::size_t notAbove =
            static_cast<std::size_t>(first - keys.data()) + (*first <= sought ? 1 : 0);
        // A key just above the number may count as equal to it.
        const bool counts = notAbove < count && compareNumbers(keys[notAbove], sought) <= 0;
        return results[counts ? notAbove + 1 : notAbove];
    }
    std::size_t found = count;
    if (how == How::Exact) {
        found = static_cast<std::size_t>(std::find(keys.begin(), keys.end(), sought) - keys.begin());
    } else if (how == How::Ascending) {
        std::size_t low = 0, high = count; // one behind the last; of two middles the left one
        while (low < high) {
            const std::size_t middle = low + (high - 1 - low) / 2;
            if (compareNumbers(keys[middle], sought) <= 0) {
                found = middle;
                low = middle + 1;
            } else {
                high = middle;
            }
        }
    } else {
        for (std::size_t k = 0; k < count; ++k) {
            const int order = compareNumbers(keys[k], sought);
            if (order >= 0) found = k;
            if (order <= 0) break;
        }
    }
    if (found == count) return std::numeric_limits<double>::quiet_NaN();
    return values.empty() ? static_cast<double>(found + 1) : values[found];
}

double TypedTable::pick(double row, double col) const
{
    row = std::trunc(row);
    col = std::trunc(col);
    const bool inside =
        row >= 1.0 && col >= 1.0 && row <= static_cast<double>(rows) && col <= static_cast<double>(cols);
    if (!inside) return std::numeric_limits<double>::quiet_NaN();
    return values[(static_cast<std::size_t>(row) - 1) * cols + static_cast<std::size_t>(col) - 1];
}

} // namespace varnex3::sheet
