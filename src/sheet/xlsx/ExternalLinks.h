// sheet/xlsx/ExternalLinks.h - other books that a workbook refers to, and what it keeps of their cells.
#pragma once

#include <string>
#include <vector>

#include "sheet/model/Book.h"
#include "sheet/value/Environment.h"
#include "sheet/xlsx/Parts.h"

namespace varnex3::sheet::xlsx {

/// Tells what each link leads to, in the order in which formulas number them, with the values that the file
/// keeps of it. Links to other programs are listed, too; formulas that use them keep their stored values.
void tellExternalLinks(Package& package, const std::vector<std::string>& parts, BookBuilder& builder,
                       Notices& notices, DateSystem dates);

/// The part that holds what is kept of another book, and the one that tells its path.
std::string externalLinkPart(const OtherBook& book);
std::string externalLinkRelationships(const OtherBook& book);

} // namespace varnex3::sheet::xlsx
