// bench/Models.h - models of the benchmarks: as workbook formulas and as plain C++ functions.
//
// The C++ side lies in a file of its own that is compiled with the highest optimization; answers are compared
// before anything is timed.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "sheet/model/Book.h"

namespace varnex3::bench {

/// A cantilever beam with end load: 4 inputs (width, height, length, force), 12 formulas, 3 responses.
struct SmallModel {
    static constexpr std::array<double, 4> kStart{0.05, 0.12, 2.0, 3500.0};
    SmallModel();
    std::array<double, 3> run(const std::array<double, 4>& x);

    sheet::Book book;
    std::array<sheet::Slot, 4> inputs{};
    std::array<sheet::Slot, 3> responses{};
};

/// The same in C++.
std::array<double, 3> smallPlain(const std::array<double, 4>& x);

struct CellFormula {
    int row, col;     // from 0
    std::string text; // without "="
};

/// The formulas of LargeModel: the recurrence row by row, then the summary cells in column V.
std::vector<CellFormula> largeFormulas();

/// A recurrence: 20 inputs in the first row, 1,000 rows of 20 cells that each weigh three neighbours above,
/// and 8 summary cells, of which 5 are responses.
struct LargeModel {
    static constexpr int kWidth = 20, kRows = 1000;
    LargeModel();
    std::array<double, 5> run(const std::array<double, kWidth>& x);

    sheet::Book book;
    std::array<sheet::Slot, kWidth> inputs{};
    std::array<sheet::Slot, 5> responses{};
};

std::array<double, 5> largePlain(const std::array<double, LargeModel::kWidth>& x);

} // namespace varnex3::bench
