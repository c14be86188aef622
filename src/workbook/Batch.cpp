// workbook/Batch.cpp - trials of the embedded host that leave no trace in its cells.
#include "workbook/Batch.h"

#include "workbook/EmbeddedApplication.h"
#include "workbook/Range.h"

namespace varnex3::workbook {
namespace {

std::optional<sheet::Slot> slotOf(const EmbeddedWorkbook& workbook, host::Range* range)
{
    auto* cell = dynamic_cast<EmbeddedRange*>(range);
    if (!cell || !cell->isCell() || &cell->workbook() != &workbook) return std::nullopt;
    return cell->slot();
}

} // namespace

std::optional<EmbeddedBatch::Cells> EmbeddedBatch::cellsOf(const EmbeddedWorkbook& workbook,
                                                           std::span<const Ref<host::Range>> inputs,
                                                           std::span<const Ref<host::Range>> outputs)
{
    Cells cells;
    const auto find = [&](std::span<const Ref<host::Range>> ranges, std::vector<sheet::Slot>& slots) {
        for (const Ref<host::Range>& range : ranges) {
            const auto slot = slotOf(workbook, range.get());
            if (!slot) return false;
            slots.push_back(*slot);
        }
        return true;
    };
    if (!workbook.isCurrent() || !find(inputs, cells.inputs) || !find(outputs, cells.outputs))
        return std::nullopt;
    return cells;
}

Ref<EmbeddedBatch> EmbeddedBatch::make(std::weak_ptr<EmbeddedApplication> application,
                                       Ref<EmbeddedWorkbook> workbook, const Cells& cells, unsigned threads)
{
    auto trials = workbook->book().trials(cells.inputs, cells.outputs, threads);
    if (!trials) return nullptr;
    return std::make_shared<EmbeddedBatch>(std::move(application), std::move(workbook), cells, threads,
                                           std::move(trials));
}

bool EmbeddedBatch::isFor(const EmbeddedWorkbook& workbook, const Cells& cells, unsigned threads) const
{
    return workbook_.get() == &workbook && cells_ == cells && threads_ == threads && trials_->fits();
}

Long EmbeddedBatch::Run(std::span<const double> inputs, std::span<double> outputs)
{
    if (!workbook_->isCurrent()) return 0;
    const auto done = static_cast<Long>(trials_->run(inputs, outputs));
    if (const auto application = application_.lock()) application->countTrials(done);
    return done;
}

bool EmbeddedBatch::IsFixed(host::Range& cell)
{
    const auto slot = slotOf(*workbook_, &cell);
    return slot && trials_->isFixed(*slot);
}

} // namespace varnex3::workbook
