// sheet/model/DataTables.cpp - what-if tables: formulas evaluated anew for every value of one or two inputs.
//
// A data table is one formula over its block. Its precedents are the formulas beside the block and the
// values to be put in; what lies between the inputs and those formulas is evaluated with each value and has
// its own results back afterwards.
#include <algorithm>

#include "sheet/model/Recalculation.h"

namespace varnex3::sheet {
namespace {

CellAddress onSheet(CellAddress cell, SheetIndex sheet)
{
    cell.sheet = sheet;
    return cell;
}

} // namespace

/// The formulas from the inputs to the headers, in order, with the volatile ones that the headers need.
std::vector<FormulaId> Recalculation::formulasBetween(const std::vector<Slot>& inputs,
                                                      const std::vector<Slot>& headers)
{
    const Order order = orderOf(inputs, everyTime_);
    std::unordered_set<FormulaId> needed;
    for (const Slot header : headers)
        if (store_.formula(header) != kNoFormula) needed.insert(store_.formula(header));
    std::vector<GraphNode> readers;
    const auto isNeeded = [&](FormulaId f) {
        readers.clear();
        appendReaders(f, readers);
        for (std::size_t i = 0; i < readers.size(); ++i) {
            const GraphNode reader = readers[i];
            if ((reader & kAreaBit) != 0) {
                dependencies_.appendReaders(reader, readers);
            } else if (needed.count(reader) != 0) {
                return true;
            }
        }
        return false;
    };
    for (bool more = true; more;) { // once, but for circular references
        more = false;
        for (auto f = order.formulas.rbegin(); f != order.formulas.rend(); ++f)
            if (needed.count(*f) == 0 && isNeeded(*f))
                more = needed.insert(*f).second && !order.loops.empty();
    }
    std::vector<FormulaId> between;
    for (const FormulaId f : order.formulas) {
        const bool input =
            std::any_of(inputs.begin(), inputs.end(), [&](Slot slot) { return store_.formula(slot) == f; });
        if (needed.count(f) != 0 && !input && circular_.count(f) == 0) between.push_back(f);
    }
    return between;
}

/// False when cells that wait for their turn must come first, as `evaluate` does.
bool Recalculation::evaluateTable(FormulaId f)
{
    const Area block = formulas_.block(f);
    const DataTable& table = formulas_.dataTable(f);
    const CellAddress corner{block.sheet, block.row0, block.col0};
    if (!evaluator_.evaluate(formulas_.code(f), corner)) return false;

    const auto slotAt = [&](std::int32_t row, std::int32_t col) {
        return store_.make({block.sheet, row, col});
    };
    const std::int32_t above = block.row0 - 1, beside = block.col0 - 1;
    const auto header = [&](std::int32_t r, std::int32_t c) {
        if (table.two) return slotAt(above, beside);
        return table.row ? slotAt(r, beside) : slotAt(above, c);
    };
    std::vector<Slot> inputs{store_.make(onSheet(table.first, block.sheet))}, headers;
    if (table.two) inputs.push_back(store_.make(onSheet(table.second, block.sheet)));
    for (std::int32_t r = block.row0; r <= block.row1; ++r)
        for (std::int32_t c = block.col0; c <= block.col1; ++c)
            if (headers.empty() || headers.back() != header(r, c)) headers.push_back(header(r, c));

    const std::vector<FormulaId> between = formulasBetween(inputs, headers);
    std::vector<std::pair<Slot, Value>> before;
    for (const Slot slot : inputs) before.emplace_back(slot, store_.value(slot));
    for (const FormulaId g : between)
        outputs(g, [&](Slot slot) { before.emplace_back(slot, store_.value(slot)); });

    const auto evaluateWith = [&](std::int32_t r, std::int32_t c) {
        const Value fromRow = store_.value(slotAt(above, c)), fromColumn = store_.value(slotAt(r, beside));
        storeAt(inputs.front(), table.two || table.row ? fromRow : fromColumn);
        if (table.two) storeAt(inputs.back(), fromColumn);
        return std::all_of(between.begin(), between.end(), [&](FormulaId g) { return evaluate(g); });
    };
    std::vector<Value> items(static_cast<std::size_t>(block.rows()) * static_cast<std::size_t>(block.cols()));
    const auto item = [&](std::int32_t r, std::int32_t c) -> Value& {
        return items[static_cast<std::size_t>(r - block.row0) * static_cast<std::size_t>(block.cols()) +
                     static_cast<std::size_t>(c - block.col0)];
    };
    const bool frozen = std::exchange(frozen_, true); // blocks keep their sizes meanwhile
    bool good = true;
    if (table.two) {
        for (std::int32_t r = block.row0; r <= block.row1 && good; ++r)
            for (std::int32_t c = block.col0; c <= block.col1 && good; ++c)
                if ((good = evaluateWith(r, c))) item(r, c) = store_.value(header(r, c));
    } else {
        const std::int32_t count = table.row ? block.cols() : block.rows();
        for (std::int32_t k = 0; k < count && good; ++k) { // one input value serves a whole column or row
            const std::int32_t r0 = table.row ? block.row0 : block.row0 + k;
            const std::int32_t c0 = table.row ? block.col0 + k : block.col0;
            good = evaluateWith(r0, c0);
            for (std::int32_t r = r0; good && r <= (table.row ? block.row1 : r0); ++r)
                for (std::int32_t c = c0; c <= (table.row ? c0 : block.col1); ++c)
                    item(r, c) = store_.value(header(r, c));
        }
    }
    frozen_ = frozen;
    for (auto& [slot, value] : before) storeAt(slot, std::move(value));
    if (good) storeElements(f, Value::array(block.rows(), block.cols(), std::move(items)));
    return good;
}

} // namespace varnex3::sheet
