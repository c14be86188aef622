// sheet/exec/Workers.h - threads that wait for work.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "sheet/value/Environment.h"

namespace varnex3::sheet {

/// A fixed number of threads, the caller's own among them. Between two tasks that follow one another closely
/// they stay awake.
class Workers {
public:
    /// @param count  at least 1; threads that the system refuses are done without
    explicit Workers(unsigned count);
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    unsigned count() const { return static_cast<unsigned>(threads_.size()) + 1; }
    /// Calls task(0) here and task(1), task(2), ... on those other threads that are awake before it ends;
    /// returns when all have ended. So task(0) must do all that nobody else does. A task throws nothing.
    void run(FunctionRef<void(unsigned)> task);

private:
    void serve(unsigned number);

    const FunctionRef<void(unsigned)>* task_ = nullptr;
    std::atomic<std::uint64_t> gate_ = 0;
    std::atomic<unsigned> joined_ = 0;
    std::atomic<bool> ends_ = false;
    std::vector<std::thread> threads_;
};

} // namespace varnex3::sheet
