// ui/EntryPoint.cpp - the one report of an error that reached a public entry point.
#include "ui/EntryPoint.h"

#include <string>

#include "ui/Windows.h"

namespace varnex3 {

void reportError(const Procedure& here)
{
    adoptForeignException();
    err().source += "\r\n" + here.trail();
    errorWindow().Initialize(reportText(err()));
}

std::string reportText(const ErrorRecord& record)
{
    return "Error " + std::to_string(record.number) + ":  " + record.description + "\r\n" + record.source;
}

} // namespace varnex3
