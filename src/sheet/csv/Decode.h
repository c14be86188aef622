// sheet/csv/Decode.h - the text of a file whose encoding nobody states.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace varnex3::sheet::csv {

/// The bytes as UTF-8 without byte order mark: UTF-16 when a mark says so, UTF-8 when they are, else Windows
/// Latin (1252). Nothing for bytes that are no text.
std::optional<std::string> decoded(std::string_view bytes);

} // namespace varnex3::sheet::csv
