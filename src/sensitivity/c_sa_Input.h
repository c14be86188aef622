// sensitivity/c_sa_Input.h - what a sensitivity analysis works on: a response, its limits, its inputs.
#pragma once

#include <string>
#include <utility>

#include "host/interface/Host.h"
#include "sensitivity/IndexedRows.h"

namespace varnex3 {

class c_sa_Input : public Object {
public:
    Ref<host::Range> y; // the response cell
    std::string yName;
    Variant lsl, usl; // specification limits: number, empty (none), or one-cell range
    std::string dbg;  // a procedure name, or empty

    // Per input i = 1..CountX; how gets and puts beyond behave: IndexedRows.h.
    Ref<host::Range> xMeans(Long i) const { return inputs_.get(i, &Input::mean); } // the input's cell
    void xMeans(Long i, Ref<host::Range> cell) { inputs_.put(i, &Input::mean, std::move(cell)); }
    std::string xNames(Long i) const { return inputs_.get(i, &Input::name); }
    void xNames(Long i, const std::string& name) { inputs_.put(i, &Input::name, name); }
    double xStDevs(Long i) const { return inputs_.get(i, &Input::stdev); } // workbook units
    void xStDevs(Long i, double stdev) { inputs_.put(i, &Input::stdev, stdev); }
    double Derivs1(Long i) const { return inputs_.get(i, &Input::derivative1); } // dy/dx
    void Derivs1(Long i, double value) { inputs_.put(i, &Input::derivative1, value); }
    double derivs2(Long i) const { return inputs_.get(i, &Input::derivative2); } // d2y/dx2
    void derivs2(Long i, double value) { inputs_.put(i, &Input::derivative2, value); }

    Variant resizeArrays(Long size)
    {
        inputs_.resize(size);
        return {};
    }
    Long CountX() const { return inputs_.count(); }

    /// Releases the cells and forgets the inputs; names, limits and dbg stay.
    void Clear()
    {
        y.reset();
        inputs_.clear();
    }

private:
    struct Input {
        Ref<host::Range> mean;
        std::string name;
        double stdev = 0.0;
        double derivative1 = 0.0;
        double derivative2 = 0.0;
    };
    IndexedRows<Input> inputs_;
};

} // namespace varnex3
