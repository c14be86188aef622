// cli/WriteStudy.h - a copy of a study file with other spreads.
#pragma once

#include <string>
#include <vector>

#include "Study.h"

namespace varnex3::cli {

/// The spread that a parameter gets in the copy.
struct NewSpread {
    std::size_t parameter = 0; // position in study.parameters
    std::string entry;         // the whole line: "stdev = 0.1"
};

/// Writes `study` to `path` with the lines `stdev = ...` or `tolerance = ...` of these parameters replaced,
/// what they held behind them as a comment; everything else stays as it is, comments too. The workbook's path
/// is adapted to the folder.
/// Raises Refused when the study's own text does not allow it, or the file cannot be written.
void writeStudy(const Study& study, const std::vector<NewSpread>& spreads, const std::string& path);

} // namespace varnex3::cli
