// workbook/Batch.h - trials of the embedded host that leave no trace in its cells.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "host/interface/Host.h"
#include "sheet/model/Trials.h"
#include "workbook/Workbook.h"

namespace varnex3::workbook {

class EmbeddedBatch final : public host::Batch {
public:
    struct Cells {
        std::vector<sheet::Slot> inputs, outputs;
        friend bool operator==(const Cells&, const Cells&) = default;
    };
    /// The cells in the engine's store; nothing unless all are single cells of that workbook.
    static std::optional<Cells> cellsOf(const EmbeddedWorkbook& workbook,
                                        std::span<const Ref<host::Range>> inputs,
                                        std::span<const Ref<host::Range>> outputs);
    /// No object when the engine does not offer trials for these cells.
    static Ref<EmbeddedBatch> make(std::weak_ptr<EmbeddedApplication> application,
                                   Ref<EmbeddedWorkbook> workbook, const Cells& cells, unsigned threads);

    EmbeddedBatch(std::weak_ptr<EmbeddedApplication> application, Ref<EmbeddedWorkbook> workbook, Cells cells,
                  unsigned threads, std::unique_ptr<sheet::Trials> trials)
        : application_(std::move(application)), workbook_(std::move(workbook)), cells_(std::move(cells)),
          threads_(threads), trials_(std::move(trials))
    {}

    /// Whether it still works out trials with these cells.
    bool isFor(const EmbeddedWorkbook& workbook, const Cells& cells, unsigned threads) const;

    // host::Batch
    Long Run(std::span<const double> inputs, std::span<double> outputs) override;
    bool IsFixed(host::Range& cell) override;

private:
    std::weak_ptr<EmbeddedApplication> application_;
    Ref<EmbeddedWorkbook> workbook_;
    Cells cells_;
    unsigned threads_;
    std::unique_ptr<sheet::Trials> trials_;
};

} // namespace varnex3::workbook
