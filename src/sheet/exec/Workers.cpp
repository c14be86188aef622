// sheet/exec/Workers.cpp - waking threads and waiting for them.
#include "sheet/exec/Workers.h"

#include <system_error>

namespace varnex3::sheet {

Workers::Workers(unsigned count)
{
    try {
        for (unsigned number = 1; number < count; ++number)
            threads_.emplace_back([this, number] { serve(number); });
    } catch (const std::system_error&) {
        return; // fewer threads do the same work
    }
}

Workers::~Workers()
{
    {
        const std::lock_guard lock(mutex_);
        ends_ = true;
    }
    wake_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

void Workers::run(FunctionRef<void(unsigned)> task)
{
    {
        const std::lock_guard lock(mutex_);
        task_ = &task;
        busy_ = static_cast<unsigned>(threads_.size());
        ++round_;
    }
    wake_.notify_all();
    task(0);
    std::unique_lock lock(mutex_);
    done_.wait(lock, [this] { return busy_ == 0; });
    task_ = nullptr;
}

void Workers::serve(unsigned number)
{
    std::uint64_t seen = 0;
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [&] { return ends_ || round_ != seen; });
        if (ends_) return;
        seen = round_;
        const FunctionRef<void(unsigned)> task = *task_;
        lock.unlock();
        task(number);
        lock.lock();
        if (--busy_ == 0) done_.notify_one();
    }
}

} // namespace varnex3::sheet
