// sheet/exec/Workers.h - threads that wait for work.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "sheet/value/Environment.h"

namespace varnex3::sheet {

/// A fixed number of threads, the caller's own among them.
class Workers {
public:
    /// @param count  at least 1; threads that the system refuses are done without
    explicit Workers(unsigned count);
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    unsigned count() const { return static_cast<unsigned>(threads_.size()) + 1; }
    /// Calls task(0) here and task(1), task(2), ... on the other threads; returns when all have ended. A task
    /// throws nothing.
    void run(FunctionRef<void(unsigned)> task);

private:
    void serve(unsigned number);

    std::mutex mutex_;
    std::condition_variable wake_, done_;
    const FunctionRef<void(unsigned)>* task_ = nullptr;
    std::uint64_t round_ = 0;
    unsigned busy_ = 0;
    bool ends_ = false;
    std::vector<std::thread> threads_;
};

} // namespace varnex3::sheet
