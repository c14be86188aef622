// sensitivity/c_al_Input.h - what a tolerance allocation works on: the goal, and the inputs that share it.
#pragma once

#include <string>

#include "sensitivity/IndexedRows.h"

namespace varnex3 {

struct SharingInput {
    double stdev = 0.0;       // today's, workbook units
    std::string keep;         // KEEP_YES or KEEP_NO
    double derivative1 = 0.0; // dy/dx
    double driver = 0.0;      // or cost
};

class c_al_Input : public IndexedRows<SharingInput> {
public:
    static constexpr const char* KEEP_YES = "Keep";
    static constexpr const char* KEEP_NO = "Dont Keep";
    static constexpr double DISPARITY_MAX = 1.0;
    static constexpr double DISPARITY_MIN = 0.0; // a disparity of 0 is used as 0.000001

    std::string dbg;               // a procedure name, or empty
    double DesiredRespStDev = 0.0; // response units
    double Disparity = 0.0;        // how unevenly the drivers are honoured: 0 hardly, 1 most
    bool useCostDrivers = false;   // Drivers are costs: a dear input gets more, not less

    double xStDevs(Long i) const { return get(i, &SharingInput::stdev); }
    void xStDevs(Long i, double stdev) { put(i, &SharingInput::stdev, stdev); }
    std::string xKeeps(Long i) const { return get(i, &SharingInput::keep); }
    void xKeeps(Long i, const std::string& keep) { put(i, &SharingInput::keep, keep); }
    double Derivs1(Long i) const { return get(i, &SharingInput::derivative1); }
    void Derivs1(Long i, double value) { put(i, &SharingInput::derivative1, value); }
    double Drivers(Long i) const { return get(i, &SharingInput::driver); }
    void Drivers(Long i, double value) { put(i, &SharingInput::driver, value); }
};

} // namespace varnex3
