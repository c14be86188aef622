// host/TrialsAhead.h - trials that the host works out before their turn.
//
// A loop over trials (write the inputs, recalculate, read the outputs) stays as it is, in its order and with
// all that it does around each trial; where the host offers it, the numbers of the next trials are there
// already when it comes to them. The loop then leaves the cells alone, and writes a trial for real wherever
// somebody may look at the workbook afterwards.
#pragma once

#include <cmath>
#include <span>
#include <vector>

#include "host/interface/Host.h"

namespace varnex3 {

class TrialsAhead {
public:
    using Cells = std::vector<Ref<host::Range>>;

    /// Asks the host. Refused by a host that does not offer it, and where recalculation runs macros.
    /// @param fixed  cells that the loop reads beside the outputs; refused when one depends on the inputs
    bool open(host::Application& application, const Cells& inputs, const Cells& outputs, const Cells& fixed);
    bool isOpen() const { return batch_ != nullptr; }

    /// Works out the trials from `first` on, at most to `last`; none when the first one must be done cell by
    /// cell.
    /// @param draw  draw(trial, row) fills the inputs of a trial; false when it and those after it must wait
    template <class Draw>
    void advance(Long first, Long last, Draw draw)
    {
        begin(first, last);
        for (Long t = first; t < first + wanted_; ++t)
            if (!draw(t, row(t)) || !allFinite(row(t))) wanted_ = t - first;
        run();
    }

    bool holds(Long trial) const { return trial >= first_ && trial < first_ + held_; }
    // Of a trial that is held, in the order of the cells.
    std::span<const double> inputs(Long trial) const { return at(inputs_, trial, wide_); }
    std::span<const double> outputs(Long trial) const { return at(outputs_, trial, narrow_); }

private:
    void begin(Long first, Long last);
    void run();
    std::span<double> row(Long trial)
    {
        return std::span(inputs_).subspan(static_cast<std::size_t>(trial - first_) * wide_, wide_);
    }
    static bool allFinite(std::span<const double> numbers)
    {
        for (const double x : numbers)
            if (!std::isfinite(x)) return false;
        return true;
    }
    std::span<const double> at(const std::vector<double>& rows, Long trial, std::size_t width) const
    {
        return std::span(rows).subspan(static_cast<std::size_t>(trial - first_) * width, width);
    }

    Ref<host::Batch> batch_;
    std::size_t wide_ = 0, narrow_ = 0;    // cells
    std::vector<double> inputs_, outputs_; // trial x cell
    Long first_ = 0, wanted_ = 0, held_ = 0;
    Long ahead_ = 0;   // trials to work out at once
    Long refused_ = 0; // times in a row that none was done
};

} // namespace varnex3
