// sensitivity/c_al_Input.h - what a tolerance allocation works on: the goal, and the inputs that share it.
#pragma once

#include <string>

#include "runtime/Object.h"
#include "runtime/Variant.h"
#include "sensitivity/IndexedRows.h"

namespace varnex3 {

class c_al_Input : public Object {
public:
    static constexpr const char* KEEP_YES = "Keep";
    static constexpr const char* KEEP_NO = "Dont Keep";
    static constexpr double DISPARITY_MAX = 1.0;
    static constexpr double DISPARITY_MIN = 0.0; // a disparity of 0 is used as 0.000001

    std::string dbg;               // a procedure name, or empty
    double DesiredRespStDev = 0.0; // response units
    double Disparity = 0.0;        // how unevenly the drivers are honoured: 0 hardly, 1 most
    bool useCostDrivers = false;   // Drivers are costs: a dear input gets more, not less

    // Per input i = 1..CountX; how gets and puts beyond behave: IndexedRows.h.
    double xStDevs(Long i) const { return inputs_.get(i, &Input::stdev); } // today's, workbook units
    void xStDevs(Long i, double stdev) { inputs_.put(i, &Input::stdev, stdev); }
    std::string xKeeps(Long i) const { return inputs_.get(i, &Input::keep); } // KEEP_YES or KEEP_NO
    void xKeeps(Long i, const std::string& keep) { inputs_.put(i, &Input::keep, keep); }
    double Derivs1(Long i) const { return inputs_.get(i, &Input::derivative1); } // dy/dx
    void Derivs1(Long i, double value) { inputs_.put(i, &Input::derivative1, value); }
    double Drivers(Long i) const { return inputs_.get(i, &Input::driver); }
    void Drivers(Long i, double value) { inputs_.put(i, &Input::driver, value); }

    Variant resizeArrays(Long size)
    {
        inputs_.resize(size);
        return {};
    }
    Long CountX() const { return inputs_.count(); }

private:
    struct Input {
        double stdev = 0.0;
        std::string keep;
        double derivative1 = 0.0;
        double driver = 0.0;
    };
    IndexedRows<Input> inputs_;
};

} // namespace varnex3
