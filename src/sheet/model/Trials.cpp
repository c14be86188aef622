// sheet/model/Trials.cpp - blocks of trials, handed out to threads.
#include "sheet/model/Trials.h"

#include <algorithm>
#include <atomic>

#include "sheet/model/Recalculation.h"

namespace varnex3::sheet {
namespace {

/// Instructions over one block that a second thread is worth waking for.
constexpr std::size_t kWorthAThread = 1000;

} // namespace

/// Registers for what does not depend on the inputs, of the cells as they are now.
bool Trials::load()
{
    if (!fits()) return false;
    const std::uint64_t values = recalculation_.valuesFor(code_);
    if (!registers_.empty() && values == values_) return true;
    registers_.clear();
    code_.program.readTables(store_);
    registers_.push_back(code_.program.load(store_));
    values_ = values;
    return true;
}

std::size_t Trials::run(std::span<const double> inputs, std::span<double> outputs)
{
    const std::size_t trials = inputs_ > 0 ? inputs.size() / inputs_ : 0;
    if (trials == 0 || !load()) return 0;
    const std::size_t blocks = (trials + kLanes - 1) / kLanes;
    std::atomic<std::size_t> next = 0, done = trials;
    const auto work = [&](unsigned worker) {
        for (;;) {
            const std::size_t first = next.fetch_add(1) * kLanes;
            if (first >= done.load()) return;
            const std::size_t count = std::min(kLanes, trials - first);
            const std::size_t ok = code_.program.run(registers_[worker], &inputs[first * inputs_],
                                                     outputs.data() + first * outputs_, count);
            if (ok == count) continue;
            std::size_t known = done.load();
            while (first + ok < known && !done.compare_exchange_weak(known, first + ok)) {}
        }
    };
    if (threads_ < 2 || blocks < 2 || blocks * code_.program.length() < kWorthAThread) {
        work(0);
        return done;
    }
    if (!workers_) workers_ = std::make_unique<Workers>(threads_);
    while (registers_.size() < workers_->count()) registers_.push_back(code_.program.load(store_));
    workers_->run(work);
    return done;
}

bool Trials::fits() const { return recalculation_.fits(code_); }

bool Trials::isFixed(Slot cell) const
{
    return !std::binary_search(code_.changing.begin(), code_.changing.end(), cell);
}

} // namespace varnex3::sheet
