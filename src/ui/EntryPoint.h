// ui/EntryPoint.h - the handler of the public entry points: reports what reaches it once.
#pragma once

#include <utility>

#include "runtime/Error.h"

namespace varnex3 {

/// Completes the record with the entry point's trail line, shows the error window with the report text
/// and clears the record. Call inside a catch block.
void reportError(const Procedure& here);

/// "Error <number>:  <description>", a line break, the source with its trail lines.
std::string reportText(const ErrorRecord& record);

/// Runs a public entry point: `body(here)` returns its result; an error is reported once and
/// `failure` is returned instead.
template <class Result, class F>
Result entryPoint(const char* module, const char* name, Result failure, F&& body)
{
    Procedure here{module, name};
    try {
        return std::forward<F>(body)(here);
    } catch (...) {
        reportError(here);
        return failure;
    }
}

} // namespace varnex3
