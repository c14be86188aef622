// sheet/exec/TypedTable.h - cells in which typed code looks something up.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "sheet/exec/Operators.h"
#include "sheet/value/Slot.h"
#include "sheet/value/Value.h"

namespace varnex3::sheet {

struct TypedTable {
    enum class How : std::uint8_t {
        Exact,      // the first key that is the number sought
        Ascending,  // the last one not greater, in keys that ascend
        Descending, // the last one before the first that is less, or an equal one before that
        Below,      // in keys in any order: the one sought, else the greatest below it
        Above,      // the one sought, else the least above it
        Pick,       // by row and column
    };
    How how = How::Exact;
    bool fromEnd = false;               // Exact, Below, Above: of keys alike the last one
    bool live = false;                  // its cells may change while the code runs: it has no copies of them
    std::vector<std::int32_t> identity; // areas and what is taken from them
    std::vector<std::pair<Slot, Kind>> keyCells; // all numbers
    std::vector<std::pair<Slot, Kind>> cells;    // row by row; none: the position itself is the result
    std::size_t rows = 0, cols = 0;
    std::vector<double> keys, values; // as they are now; NaN for what is no number
    bool isClear =
        false; // the keys ascend, all of them clearly apart, and the last one not greater is sought
    // Of a clear table, by the number of keys that are not above: the next key, and the result.
    std::vector<double> above, results;

    void read(const Value* store);
    double find(double sought) const; // NaN when there is none
    /// The same in a live table, whose keys and then values stand at `numbers`.
    double find(double sought, const double* numbers) const
    {
        const std::size_t found = position(sought, [numbers](std::size_t k) { return numbers[k]; });
        if (found == keyCells.size()) return std::nan("");
        return cells.empty() ? static_cast<double>(found + 1) : numbers[keyCells.size() + found];
    }
    double pick(double row, double col) const
    {
        const std::size_t k = element(row, col);
        return k < values.size() ? values[k] : std::nan("");
    }
    double pick(double row, double col, const double* numbers) const
    {
        const std::size_t k = element(row, col);
        return k < cells.size() ? numbers[k] : std::nan("");
    }
    /// The position in `cells` of what INDEX picks; their number when that is outside.
    std::size_t element(double row, double col) const
    {
        row = std::trunc(row);
        col = std::trunc(col);
        const bool inside =
            row >= 1.0 && col >= 1.0 && row <= static_cast<double>(rows) && col <= static_cast<double>(cols);
        if (!inside) return cells.size();
        return (static_cast<std::size_t>(row) - 1) * cols + static_cast<std::size_t>(col) - 1;
    }
    /// The position of a number among keys as MATCH and its like search (functions/Lookup.cpp); their number
    /// when it is not there.
    template <class Key>
    std::size_t position(double sought, Key key) const
    {
        const std::size_t count = keyCells.size();
        std::size_t found = count;
        if (how == How::Exact) {
            for (std::size_t k = 0; k < count; ++k) {
                if (key(k) != sought) continue;
                found = k;
                if (!fromEnd) break;
            }
        } else if (how == How::Below || how == How::Above) {
            const int towards = how == How::Below ? 1 : -1;
            for (std::size_t k = 0; k < count; ++k) {
                if (compareNumbers(key(k), sought) * towards > 0) continue;
                const int gain = found == count ? 1 : compareNumbers(key(k), key(found)) * towards;
                if (gain > 0 || (gain == 0 && fromEnd)) found = k;
            }
        } else if (how == How::Ascending) {
            std::size_t low = 0, high = count; // one behind the last; of two middles the left one
            while (low < high) {
                const std::size_t middle = low + (high - 1 - low) / 2;
                if (compareNumbers(key(middle), sought) <= 0) {
                    found = middle;
                    low = middle + 1;
                } else {
                    high = middle;
                }
            }
        } else {
            for (std::size_t k = 0; k < count; ++k) {
                const int order = compareNumbers(key(k), sought);
                if (order >= 0) found = k;
                if (order <= 0) break;
            }
        }
        return found;
    }
};

} // namespace varnex3::sheet
