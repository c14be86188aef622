// ui/Debug.h - the debug trace that `Options.dbg` selects: message boxes with one OK button, no title.
//
// Both cost a comparison when nothing is traced; they stand in procedures that run per candidate.
#pragma once

#include <string>
#include <string_view>

namespace varnex3 {

/// On entry to a traced procedure: its own name, when dbg is not empty.
void traceEntry(const std::string& dbg, const char* procedure);

/// A detail message, only when dbg names this procedure.
void traceDetail(const std::string& dbg, const char* procedure, std::string_view text);

} // namespace varnex3
