// server/AutomationDocs.h - the table as the reference that users read (docs/automation.md).
#pragma once

#include <string>

namespace varnex3::server {

/// The list of classes with their members, arguments and examples, in Markdown.
std::string automationReference();

} // namespace varnex3::server
