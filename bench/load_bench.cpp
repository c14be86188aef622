// bench/load_bench.cpp - loading and first full recalculation of a workbook file of 1,000,000 cells, half of
// them formulas, and a model of ten formulas in it beside the same model alone.
//
//   load_bench [ROWS [FILE]]      100000 rows of ten cells; FILE is kept, else a temporary one is removed
//
// The file is written by another process, so that the peak of memory is that of loading and recalculating.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zip.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "sheet/files/Open.h"
#include "sheet/model/Book.h"

namespace {

using namespace varnex3::sheet;

// --- The file ---------------------------------------------------------------------------------------------

std::string numberText(double x)
{
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), x).ptr};
}

double inputAt(int row, int col) { return 0.25 + (row * 7 + col * 131) % 1000 / 64.0; }

/// One row as spreadsheet programs write it: five numbers, a shared formula, three plain ones and a running
/// sum.
class Rows {
public:
    void append(std::string& to, int row)
    {
        const std::string r = std::to_string(row);
        std::array<double, 5> x{};
        to += "<row r=\"" + r + "\">";
        for (int col = 0; col < 5; ++col) {
            x[static_cast<std::size_t>(col)] = inputAt(row, col);
            cell(to, "ABCDE"[col], r, "", x[static_cast<std::size_t>(col)]);
        }
        const double f = x[0] * x[1] + x[2], g = std::sqrt(std::fabs(f)) + x[3];
        sum_ += f;
        cell(to, 'F', r,
             row == 1 ? R"(<f t="shared" ref="F1:F1048576" si="0">A1*B1+C1</f>)"
                      : R"(<f t="shared" si="0"/>)",
             f);
        cell(to, 'G', r, "<f>SQRT(ABS(F" + r + "))+D" + r + "</f>", g);
        cell(to, 'H', r, "<f>IF(G" + r + "&gt;5,G" + r + "-E" + r + ",E" + r + "/2)</f>",
             g > 5.0 ? g - x[4] : x[4] / 2.0);
        cell(to, 'I', r, "<f>SUM(A" + r + ":E" + r + ")</f>", x[0] + x[1] + x[2] + x[3] + x[4]);
        cell(to, 'J', r,
             row == 1 ? std::string("<f>F1</f>") : "<f>J" + std::to_string(row - 1) + "+F" + r + "</f>",
             sum_);
        to += "</row>";
    }

private:
    static void cell(std::string& to, char column, const std::string& row, const std::string& formula,
                     double value)
    {
        to += "<c r=\"";
        to += column;
        to += row + "\">" + formula + "<v>" + numberText(value) + "</v></c>";
    }

    double sum_ = 0.0;
};

// The model in the large workbook: inputs A1:A3, ten formulas, the last is the response.
constexpr std::array<const char*, 10> kModel = {"A1*A2",         "A3+B1",      "SQRT(B1)",    "B2*B3",
                                                "B4-A1",         "MAX(B4,B5)", "B6/(1+A2^2)", "SUM(B1:B7)",
                                                "IF(B8>9,B8,9)", "B9*0.5"};

std::string modelRows()
{
    std::string rows;
    for (std::size_t i = 0; i < kModel.size(); ++i) {
        const std::string r = std::to_string(i + 1);
        rows += "<row r=\"" + r + "\">";
        if (i < 3) rows += "<c r=\"A" + r + "\"><v>" + numberText(2.0 + static_cast<double>(i)) + "</v></c>";
        std::string text = kModel[i];
        if (const std::size_t at = text.find('>'); at != std::string::npos) text.replace(at, 1, "&gt;");
        rows += "<c r=\"B" + r + "\"><f>" + text + "</f></c></row>";
    }
    return rows;
}

void require(bool done, const char* what)
{
    if (done) return;
    std::fprintf(stderr, "load_bench: %s\n", what);
    std::exit(1);
}

void writeFile(const std::string& path, int rowCount)
{
    const std::string main = " xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"";
    const std::string types = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
    const std::string relations =
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    std::string large = "<worksheet" + main + "><sheetData>";
    Rows rows;
    for (int row = 1; row <= rowCount; ++row) rows.append(large, row);
    large += "</sheetData></worksheet>";
    const std::vector<std::pair<std::string, std::string>> parts = {
        {"_rels/.rels", relations + "<Relationship Id=\"a\" Type=\"" + types +
                            "/officeDocument\" Target=\"xl/workbook.xml\"/></Relationships>"},
        {"xl/workbook.xml", "<workbook" + main + " xmlns:r=\"" + types +
                                "\"><sheets><sheet name=\"Large\" sheetId=\"1\" r:id=\"a\"/><sheet "
                                "name=\"Model\" sheetId=\"2\" r:id=\"b\"/></sheets></workbook>"},
        {"xl/_rels/workbook.xml.rels", relations + "<Relationship Id=\"a\" Type=\"" + types +
                                           "/worksheet\" Target=\"a.xml\"/><Relationship Id=\"b\" Type=\"" +
                                           types + "/worksheet\" Target=\"b.xml\"/></Relationships>"},
        {"xl/a.xml", large},
        {"xl/b.xml", "<worksheet" + main + "><sheetData>" + modelRows() + "</sheetData></worksheet>"}};
    zip_t* zip = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    require(zip != nullptr, "the file cannot be written");
    for (const auto& [name, text] : parts)
        require(zip_file_add(zip, name.c_str(), zip_source_buffer(zip, text.data(), text.size(), 0), 0) >= 0,
                "a part cannot be written");
    require(zip_close(zip) == 0, "the file cannot be written");
}

void writeInAnotherProcess(const std::string& path, int rowCount)
{
    const pid_t child = fork();
    require(child >= 0, "no process for writing");
    if (child == 0) {
        writeFile(path, rowCount);
        _exit(0);
    }
    int status = 0;
    require(waitpid(child, &status, 0) == child && status == 0, "writing failed");
}

// --- Measurements -----------------------------------------------------------------------------------------

double seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

double peakMegabytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

struct Timing {
    double start = seconds(), processorStart = processorSeconds();
    void print(const char* what) const
    {
        std::printf("%-46s %8.3f s (processor %.3f s), peak %.0f MB\n", what, seconds() - start,
                    processorSeconds() - processorStart, peakMegabytes());
    }
};

/// Seconds of processor time for one trial of the model on that sheet: write three cells, recalculate, read
/// one.
double secondsPerTrial(Book& book, SheetIndex sheet)
{
    const std::array<Slot, 3> inputs = {book.slot({sheet, 0, 0}), book.slot({sheet, 1, 0}),
                                        book.slot({sheet, 2, 0})};
    const Slot response = book.slot({sheet, 9, 1});
    double best = 1e9, checksum = 0.0;
    for (int repeat = 0; repeat < 5; ++repeat) {
        constexpr int kTrials = 100000;
        const double start = processorSeconds();
        for (int trial = 0; trial < kTrials; ++trial) {
            for (std::size_t i = 0; i < inputs.size(); ++i)
                book.write(inputs[i],
                           1.0 + static_cast<double>((static_cast<std::size_t>(trial) + i * 13) % 97));
            book.calculate();
            checksum += book.read(response).number();
        }
        best = std::min(best, (processorSeconds() - start) / kTrials);
    }
    require(std::isfinite(checksum), "the model gives no number");
    return best;
}

} // namespace

int main(int argc, char** argv)
{
    const int rows = argc > 1 ? std::atoi(argv[1]) : 100000;
    require(rows >= 1 && rows <= 1048576, "the number of rows must be 1 to 1048576");
    const std::string path = argc > 2 ? argv[2]
                                      : (std::filesystem::temp_directory_path() /
                                         ("corvane_load_" + std::to_string(getpid()) + ".xlsx"))
                                            .string();
    writeInAnotherProcess(path, rows);
    std::printf("%d cells, %d formulas, %.1f MB\n", rows * 10, rows * 5,
                static_cast<double>(std::filesystem::file_size(path)) / 1e6);

    Book book;
    const Timing loading;
    openFile(path, book.builder());
    loading.print("read the file");
    const Timing linking;
    book.finishLoading();
    linking.print("compile and link the formulas");
    loading.print("load, both together");
    const Timing first;
    book.calculateAll();
    first.print("first full recalculation");
    const Timing second;
    book.calculateAll();
    second.print("second full recalculation");
    const Inspection found = book.inspect();
    require(found.compared == rows * 5 && found.different.empty(), "the results are not those of the file");

    Book small;
    const SheetIndex sheet = small.addSheet("Model");
    for (std::size_t i = 0; i < kModel.size(); ++i) {
        if (i < 3)
            small.setValue({sheet, static_cast<std::int32_t>(i), 0}, Value(2.0 + static_cast<double>(i)));
        small.setContent({sheet, static_cast<std::int32_t>(i), 1}, std::string("=") + kModel[i]);
    }
    const double alone = secondsPerTrial(small, sheet), within = secondsPerTrial(book, 1);
    std::printf("ten formulas: alone %.3f us, in this workbook %.3f us, ratio %.2f\n", alone * 1e6,
                within * 1e6, within / alone);
    if (argc <= 2) std::filesystem::remove(path);
    return 0;
}
