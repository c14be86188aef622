// runtime/Seeds.h - where a run gets a seed that nobody gave.
//
// The default invents one from the system clock. A program that wants a repeatable run installs a
// source that returns a given seed.
#pragma once

#include <functional>

#include "runtime/Error.h"

namespace varnex3 {

/// (2^31 - 1) * r + 1 rounded to the nearest whole number, halves to even; lies in 1..2147483647.
/// @param r  a single-precision uniform value in [0, 1)
Long seedFromUniform(float r);

/// A fresh seed in 1..2147483647: from the installed source, or from the clock.
Long freshSeed();

/// Replaces the clock; an empty function puts the clock back. The source returns seeds in 1..2147483647.
void setSeedSource(std::function<Long()> source);

} // namespace varnex3
