// ui/Debug.h - the debug trace that `Options.dbg` selects: message boxes with one OK button, no title.
#pragma once

#include <string>

namespace varnex3 {

/// On entry to a traced procedure: its own name, when dbg is not empty.
void traceEntry(const std::string& dbg, const char* procedure);

/// A detail message, only when dbg names this procedure.
void traceDetail(const std::string& dbg, const char* procedure, const std::string& text);

} // namespace varnex3
