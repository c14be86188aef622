// workbook/Reference.h - references as people write them: "Sheet1!B3", "'My Sheet'!$A$1:$B$2", names.
#pragma once

#include <string>
#include <string_view>

#include "runtime/Object.h"
#include "workbook/Range.h"

namespace varnex3::workbook {

/// A reference taken apart; what is not written is empty.
struct WrittenReference {
    std::string workbook; // "[Book1.xlsx]" without brackets, or the file name before "!" of a name
    std::string sheet;    // without quotes
    std::string rest;     // cells or a defined name
};

/// Raises 1004 when quotes or brackets do not match.
WrittenReference takeApart(std::string_view text);

/// See EmbeddedApplication::range.
Ref<EmbeddedRange> resolveReference(EmbeddedApplication& application, const std::string& text);

} // namespace varnex3::workbook
