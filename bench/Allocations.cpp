// bench/Allocations.cpp - counting replacements of the global allocation functions.
#include "Allocations.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include <malloc.h>

namespace {
std::size_t count = 0, live = 0, peak = 0;

void release(void* p)
{
    live -= malloc_usable_size(p);
    std::free(p);
}
} // namespace

void* operator new(std::size_t size)
{
    ++count;
    void* p = std::malloc(size);
    if (!p) throw std::bad_alloc();
    live += malloc_usable_size(p);
    peak = std::max(peak, live);
    return p;
}
void operator delete(void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }

std::size_t varnex3::bench::allocations() { return count; }
std::size_t varnex3::bench::liveBytes() { return live; }
std::size_t varnex3::bench::peakBytes() { return peak; }
void varnex3::bench::resetPeak() { peak = live; }
