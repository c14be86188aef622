// bench/Models.h - models of the benchmarks: as workbook formulas and as plain C++ functions.
//
// The C++ side lies in a file of its own that is compiled with the highest optimization; answers are compared
// before anything is timed.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "sheet/model/Book.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::bench {

/// A workbook of the embedded host, with the cells that a trial writes and reads.
struct Workbench {
    Workbench();
    void addInput(const sheet::CellAddress& cell, double start);
    void addResponse(const sheet::CellAddress& cell);
    /// One trial through the host interface.
    void run(const double* x, double* y);

    Ref<workbook::EmbeddedApplication> application;
    sheet::Book& book;
    std::vector<Ref<host::Range>> inputs, responses;
};

/// A cantilever beam with end load: 4 inputs (width, height, length, force), 12 formulas, 3 responses.
struct SmallModel : Workbench {
    static constexpr std::size_t kInputs = 4, kResponses = 3;
    static constexpr int kFormulas = 12;
    static constexpr std::array<double, kInputs> kStart{0.05, 0.12, 2.0, 3500.0};
    SmallModel();
};

/// The same in C++.
std::array<double, SmallModel::kResponses> smallPlain(const std::array<double, SmallModel::kInputs>& x);

/// Ninety stations whose load comes from a table, their statistics, and what follows from those: 10 inputs,
/// 300 formulas, 5 responses.
struct MediumModel : Workbench {
    static constexpr std::size_t kInputs = 10, kResponses = 5;
    static constexpr int kFormulas = 300, kStations = 90, kTable = 40, kWeights = 12;
    static constexpr std::array<double, kInputs> kStart{10.0, 5.0,  1.5,  14.0, 0.4,
                                                        0.02, 31.0, 12.0, 0.7,  2.0};
    static double tableKey(int k) { return 2.5 * k; }
    static double tableValue(int k) { return 10.0 + 0.1 * k + 0.02 * ((k * 7) % 11); }
    static double place(int station) { return 8.0 * station / kStations; }
    static double weight(int k) { return 1.0 + 0.25 * k; }
    MediumModel();
};

std::array<double, MediumModel::kResponses> mediumPlain(const std::array<double, MediumModel::kInputs>& x);

struct CellFormula {
    int row, col;     // from 0
    std::string text; // without "="
};

/// The formulas of LargeModel: the recurrence row by row, then the summary cells in column V.
std::vector<CellFormula> largeFormulas();

/// A recurrence: 20 inputs in the first row, 1,000 rows of 20 cells that each weigh three neighbours above,
/// and 8 summary cells, of which 5 are responses.
struct LargeModel : Workbench {
    static constexpr int kWidth = 20, kRows = 1000, kFormulas = kWidth * kRows + 8;
    static constexpr std::size_t kInputs = kWidth, kResponses = 5;
    LargeModel();
};

std::array<double, LargeModel::kResponses> largePlain(const std::array<double, LargeModel::kWidth>& x);

} // namespace varnex3::bench
