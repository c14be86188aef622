// sheet/exec/TypedTable.cpp - searching the keys.
#include "sheet/exec/TypedTable.h"

#include <algorithm>
#include <cmath>
#include <limits>

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
    // Among keys that ascend and are clearly apart, the greatest one below is the last one not greater.
    isClear = (how == How::Ascending || how == How::Below) && !keys.empty() &&
              std::adjacent_find(keys.begin(), keys.end(), close) == keys.end();
}

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
    const std::size_t found = position(sought, [this](std::size_t k) { return keys[k]; });
    if (found == count) return std::numeric_limits<double>::quiet_NaN();
    return values.empty() ? static_cast<double>(found + 1) : values[found];
}

} // namespace varnex3::sheet
