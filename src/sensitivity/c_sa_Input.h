// sensitivity/c_sa_Input.h - what a sensitivity analysis works on: a response, its limits, its inputs.
#pragma once

#include <string>
#include <utility>

#include "host/interface/Host.h"
#include "sensitivity/IndexedRows.h"

namespace varnex3 {

struct AnalysedInput {
    Ref<host::Range> mean; // its cell
    std::string name;
    double stdev = 0.0;       // workbook units
    double derivative1 = 0.0; // dy/dx
    double derivative2 = 0.0; // d2y/dx2
};

class c_sa_Input : public IndexedRows<AnalysedInput> {
public:
    Ref<host::Range> y; // the response cell
    std::string yName;
    Variant lsl, usl; // specification limits: number, empty (none), or one-cell range
    std::string dbg;  // a procedure name, or empty

    Ref<host::Range> xMeans(Long i) const { return get(i, &AnalysedInput::mean); }
    void xMeans(Long i, Ref<host::Range> cell) { put(i, &AnalysedInput::mean, std::move(cell)); }
    std::string xNames(Long i) const { return get(i, &AnalysedInput::name); }
    void xNames(Long i, const std::string& name) { put(i, &AnalysedInput::name, name); }
    double xStDevs(Long i) const { return get(i, &AnalysedInput::stdev); }
    void xStDevs(Long i, double stdev) { put(i, &AnalysedInput::stdev, stdev); }
    double Derivs1(Long i) const { return get(i, &AnalysedInput::derivative1); }
    void Derivs1(Long i, double value) { put(i, &AnalysedInput::derivative1, value); }
    double derivs2(Long i) const { return get(i, &AnalysedInput::derivative2); }
    void derivs2(Long i, double value) { put(i, &AnalysedInput::derivative2, value); }

    /// Releases the cells and forgets the inputs; names, limits and dbg stay.
    void Clear()
    {
        y.reset();
        clear();
    }
};

} // namespace varnex3
