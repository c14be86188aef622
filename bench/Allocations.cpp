// bench/Allocations.cpp - counting replacements of the global allocation functions.
#include "Allocations.h"

#include <cstdlib>
#include <new>

namespace {
std::size_t count = 0;
} // namespace

void* operator new(std::size_t size)
{
    ++count;
    if (void* p = std::malloc(size)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

std::size_t varnex3::bench::allocations() { return count; }
