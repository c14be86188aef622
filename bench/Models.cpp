// bench/Models.cpp - the benchmark models as workbooks.
#include "Models.h"

#include <string>

#include "sheet/formula/Parser.h"

namespace varnex3::bench {

using sheet::CellAddress;

namespace {
std::string name(int row, int col) { return sheet::a1Text(CellAddress{0, row, col}); }
} // namespace

SmallModel::SmallModel()
{
    book.addSheet("Beam");
    for (int i = 0; i < 4; ++i) {
        book.setValue({0, i, 0}, kStart[static_cast<std::size_t>(i)]);
        inputs[static_cast<std::size_t>(i)] = book.slot({0, i, 0});
    }
    const char* const formulas[] = {
        "=A1*(A2*A2*A2)/12",                        // B1 second moment of area
        "=A1*A2",                                   // B2 area
        "=A4*A3",                                   // B3 moment
        "=B3*(A2/2)/B1",                            // B4 bending stress
        "=1.5*A4/B2",                               // B5 shear stress
        "=A4*(A3*A3*A3)/(3*2.1E11*B1)",             // B6 deflection
        "=B2*A3*7850",                              // B7 mass
        "=A4/B6",                                   // B8 stiffness
        "=SQRT(B8/(0.23*B7))/(2*3.14159265358979)", // B9 frequency
        "=SQRT(B4*B4+3*(B5*B5))",                   // B10 equivalent stress
        "=2.35E8/B10",                              // B11 safety
        "=B7*2.5+IF(B11<1.5,100,0)",                // B12 cost
    };
    int row = 0;
    for (const char* formula : formulas) book.setContent({0, row++, 1}, formula);
    responses = {book.slot({0, 10, 1}), book.slot({0, 11, 1}), book.slot({0, 8, 1})};
    book.calculate();
}

std::array<double, 3> SmallModel::run(const std::array<double, 4>& x)
{
    for (std::size_t i = 0; i < 4; ++i) book.write(inputs[i], x[i]);
    book.calculate();
    return {book.read(responses[0]).number(), book.read(responses[1]).number(),
            book.read(responses[2]).number()};
}

std::vector<CellFormula> largeFormulas()
{
    constexpr int kWidth = LargeModel::kWidth, kRows = LargeModel::kRows;
    std::vector<CellFormula> formulas;
    for (int r = 1; r <= kRows; ++r)
        for (int c = 0; c < kWidth; ++c)
            formulas.push_back({r, c,
                                "0.5*" + name(r - 1, c) + "+0.3*" + name(r - 1, (c + 1) % kWidth) + "+0.2*" +
                                    name(r - 1, (c + kWidth - 1) % kWidth)});
    const std::string last = name(kRows, 0) + ":" + name(kRows, kWidth - 1);
    const std::string n = std::to_string(kWidth);
    const std::string summary[] = {"SUM(" + last + ")", "MIN(" + last + ")",
                                   "MAX(" + last + ")", "SUMSQ(" + last + ")",
                                   "V4/" + n,           "V1/" + n,
                                   "V5-V6*V6",          name(kRows, 0) + "-" + name(kRows, kWidth - 1)};
    int row = 0;
    for (const std::string& text : summary) formulas.push_back({row++, 21, text});
    return formulas;
}

LargeModel::LargeModel()
{
    book.addSheet("Rows");
    for (int c = 0; c < kWidth; ++c) {
        book.setValue({0, 0, c}, 1.0);
        inputs[static_cast<std::size_t>(c)] = book.slot({0, 0, c});
    }
    auto& builder = book.builder();
    for (const CellFormula& f : largeFormulas()) builder.formula({0, f.row, f.col}, f.text, {});
    book.finishLoading();
    responses = {book.slot({0, 0, 21}), book.slot({0, 1, 21}), book.slot({0, 2, 21}), book.slot({0, 6, 21}),
                 book.slot({0, 7, 21})};
    book.calculate();
}

std::array<double, 5> LargeModel::run(const std::array<double, kWidth>& x)
{
    for (std::size_t i = 0; i < x.size(); ++i) book.write(inputs[i], x[i]);
    book.calculate();
    std::array<double, 5> y{};
    for (std::size_t i = 0; i < y.size(); ++i) y[i] = book.read(responses[i]).number();
    return y;
}

} // namespace varnex3::bench
