// ui/Debug.cpp - the boxes of the debug trace.
#include "ui/Debug.h"

#include "ui/interface/UserInterface.h"

namespace varnex3 {

void traceEntry(const std::string& dbg, const char* procedure)
{
    if (!dbg.empty()) ui::showMessage(procedure);
}

void traceDetail(const std::string& dbg, const char* procedure, std::string_view text)
{
    if (dbg == procedure) ui::showMessage(std::string(text));
}

} // namespace varnex3
