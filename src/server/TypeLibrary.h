// server/TypeLibrary.h - the table as interface definition text, from which the type library of the Windows
// build is compiled.
#pragma once

#include <string>

#include "server/ClassTable.h"

namespace varnex3::server {

/// Identifiers as text without braces. They never change.
std::string libraryGuid();
std::string classGuid(const ClassRow& row);
std::string interfaceGuid(const ClassRow& row);

/// Whether the type library publishes the class: those that can be created, and the collection.
bool isPublished(const ClassRow& row);

/// The whole text. Host objects are plain IDispatch there: they come from outside.
std::string interfaceDefinition();

} // namespace varnex3::server
