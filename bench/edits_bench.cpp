// bench/edits_bench.cpp - single edits of a large book: their cost must not grow with the book.
//
// A book of 1,000,000 cells, half of them formulas that all read one cell. Formulas are put in one by one
// in place of others; twice as many must take about twice as long. Prints seconds, and checks one value.
#include <chrono>
#include <cstdio>
#include <string>

#include "sheet/model/Book.h"

namespace {

using namespace varnex3::sheet;

constexpr int kRows = 500000;

void fill(Book& book)
{
    BookBuilder& builder = book.builder();
    builder.addSheet("S");
    for (int r = 0; r < kRows; ++r) builder.constant({0, r, 0}, 1.0 + r);
    builder.sharedMaster({0, 0, 1}, 0, "A1*2+$D$1", {});
    for (int r = 1; r < kRows; ++r) builder.sharedFollower({0, r, 1}, 0, {});
    book.finishLoading();
    book.setValue({0, 0, 3}, 0.5);
    book.calculate();
}

double seconds(Book& book, int edits, const std::string& end)
{
    const auto start = std::chrono::steady_clock::now();
    for (int r = 0; r < edits; ++r)
        book.setContent({0, r, 1}, "=A" + std::to_string(r + 1) + "*3+$D$1" + end);
    book.calculate();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

int main()
{
    struct Case {
        const char* what;
        const char* end;
    };
    const Case cases[] = {{"one cell read by all", ""},
                          {"an area read by all", "+SUM($E$1:$E$9)"},
                          {"volatile", "+0*RAND()"},
                          {"plain again", "-0"}};
    std::printf("edits            ");
    for (const Case& c : cases) std::printf("%24s", c.what);
    for (const int edits : {12500, 25000, 50000, 100000}) {
        Book book;
        fill(book);
        std::printf("\n%-17d", edits);
        for (const Case& c : cases) {
            std::printf("%22.3f s", seconds(book, edits, c.end));
            std::fflush(stdout);
            if (book.value({0, edits - 1, 1}).number() != 3.0 * edits + 0.5) return 1;
        }
    }
    std::printf("\n");
    return 0;
}
