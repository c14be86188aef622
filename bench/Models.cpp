// bench/Models.cpp - the benchmark models as workbooks.
#include "Models.h"

#include <string>

#include "runtime/Number.h"
#include "sheet/formula/Parser.h"

namespace varnex3::bench {

using sheet::CellAddress;

namespace {
std::string name(int row, int col) { return sheet::a1Text(CellAddress{0, row, col}); }
} // namespace

Workbench::Workbench()
    : application(std::make_shared<workbook::EmbeddedApplication>()),
      book(application->book(*application->Workbooks()->Add()))
{
    application->Calculation(host::kCalculationManual);
}

void Workbench::addInput(const CellAddress& cell, double start)
{
    book.setValue(cell, start);
    inputs.push_back(application->range(sheet::a1Text(cell)));
}

void Workbench::addResponse(const CellAddress& cell)
{
    responses.push_back(application->range(sheet::a1Text(cell)));
}

void Workbench::run(const double* x, double* y)
{
    for (const Ref<host::Range>& input : inputs) input->Value(*x++);
    application->Calculate();
    for (const Ref<host::Range>& response : responses) *y++ = toDouble(response->Value());
}

SmallModel::SmallModel()
{
    for (int i = 0; i < 4; ++i) addInput({0, i, 0}, kStart[static_cast<std::size_t>(i)]);
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
    for (const int r : {10, 11, 8}) addResponse({0, r, 1});
    application->Calculate();
}

MediumModel::MediumModel()
{
    for (int i = 0; i < static_cast<int>(kInputs); ++i)
        addInput({0, i, 0}, kStart[static_cast<std::size_t>(i)]);
    for (int k = 0; k < kTable; ++k) {
        book.setValue({0, k, 4}, tableKey(k));
        book.setValue({0, k, 5}, tableValue(k));
    }
    for (int k = 0; k < kWeights; ++k) book.setValue({0, k, 7}, weight(k));
    for (int r = 0; r < kStations; ++r) {
        const std::string row = std::to_string(r + 1);
        book.setValue({0, r, 8}, place(r));
        book.setContent({0, r, 1}, "=$A$1*I" + row + "+$A$2");
        book.setContent({0, r, 2}, "=VLOOKUP(B" + row + ",$E$1:$F$40,2)*$A$3");
        book.setContent({0, r, 3},
                        "=IF(C" + row + ">$A$4,$A$4+(C" + row + "-$A$4)*$A$5,C" + row + ")-$A$6*B" + row);
    }
    const char* const summary[] = {
        "=AVERAGE(D1:D90)",                            // G1
        "=STDEV(D1:D90)",                              // G2
        "=MAX(D1:D90)",                                // G3
        "=MIN(D1:D90)",                                // G4
        "=SUMPRODUCT(B1:B90,D1:D90)",                  // G5
        "=SUM(C1:C30)",                                // G6
        "=SUM(C31:C60)",                               // G7
        "=SUM(C61:C90)",                               // G8
        "=AVERAGE(B1:B90)",                            // G9
        "=VAR(C1:C90)",                                // G10
        "=SUMSQ(D1:D45)",                              // G11
        "=SUMSQ(D46:D90)",                             // G12
        "=INDEX($F$1:$F$40,MATCH($A$7,$E$1:$E$40,1))", // G13
        "=COUNT(D1:D90)",                              // G14
        "=SQRT(G11/G14)",                              // G15
        "=G5/G9",                                      // G16
        "=ROUND(G1,4)",                                // G17
        "=MAX(G6,G7,G8)",                              // G18
        "=MIN(G6:G8)",                                 // G19
        "=G18-G19",                                    // G20
        "=G2/SQRT(G14)",                               // G21
        "=IF(AND(G20>$A$8,G3>0),G20*$A$9,$A$8)",       // G22
        "=G13*$A$10",                                  // G23
        "=EXP(-G23/100)",                              // G24
        "=SUM(H1:H12)*G24",                            // G25
        "=LN(1+G12)",                                  // G26
        "=ABS(G4)",                                    // G27
        "=G25+G26*G27",                                // G28
        "=G10^0.5",                                    // G29
        "=G22+G16*G21",                                // G30
    };
    int row = 0;
    for (const char* formula : summary) book.setContent({0, row++, 6}, formula);
    for (const int r : {27, 29, 16, 28, 14}) addResponse({0, r, 6});
    application->Calculate();
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
    for (int c = 0; c < kWidth; ++c) addInput({0, 0, c}, 1.0);
    auto& builder = book.builder();
    for (const CellFormula& f : largeFormulas()) builder.formula({0, f.row, f.col}, f.text, {});
    book.finishLoading();
    for (const int r : {0, 1, 2, 6, 7}) addResponse({0, r, 21});
    application->Calculate();
}

} // namespace varnex3::bench
