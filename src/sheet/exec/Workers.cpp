// sheet/exec/Workers.cpp - waking threads and waiting for them.
#include "sheet/exec/Workers.h"

#include <system_error>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace varnex3::sheet {
namespace {

/// Looks at something again and again for about 20 microseconds, less than it takes to send a thread to sleep
/// and to wake it again. Whether it came true.
template <class F>
bool comesSoon(F isTrue)
{
    constexpr int kLooks = 1000;
    for (int look = 0; look < kLooks; ++look) {
        if (isTrue()) return true;
#if defined(__x86_64__)
        _mm_pause();
#endif
    }
    return false;
}

} // namespace

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
    ends_ = true;
    ++gate_;
    gate_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

// The gate is odd while a task may be joined. Whoever joins is counted first and looks at the gate again, so
// that either it finds the gate shut or the caller, who shuts it first and then counts, waits for it.

void Workers::run(FunctionRef<void(unsigned)> task)
{
    task_ = &task;
    ++gate_;
    gate_.notify_all();
    task(0);
    ++gate_;
    if (comesSoon([this] { return joined_ == 0; })) return;
    for (unsigned joined = joined_; joined != 0; joined = joined_) joined_.wait(joined);
}

void Workers::serve(unsigned number)
{
    std::uint64_t seen = 0;
    for (;;) {
        if (!comesSoon([&] { return gate_ != seen; })) gate_.wait(seen);
        if (ends_) return;
        seen = gate_;
        if (seen % 2 == 0) continue;
        ++joined_;
        if (gate_ == seen) (*task_)(number);
        if (--joined_ == 0) joined_.notify_one();
    }
}

} // namespace varnex3::sheet
