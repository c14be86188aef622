// server/SensitivityClasses.cpp - the rows of derivatives, sensitivity analysis and tolerance allocation.
#include "server/Classes.h"
#include "server/Thunks.h"

namespace varnex3::server {
namespace {

constexpr MemberRow kDerivatives[] = {
    method<&c_Derivatives::Deriv>(
        "Deriv",
        {ref("order"), ref("x"), ref("y"), ref("beforeMacro"), ref("afterMacro"), opt("h0"), opt("maxErr")},
        "The derivative of order 1 or 2 of y with respect to x; h0 receives the first step used."),
    method<&c_Derivatives::FiniteDiff>(
        "FiniteDiff", {ref("order"), ref("x"), ref("y"), ref("step"), ref("beforeMacro"), ref("afterMacro")},
        "One difference quotient of that order."),
    method<&c_Derivatives::MixedDeriv>("MixedDeriv",
                                       {ref("x1"), ref("x2"), ref("y"), val("beforeMacro"), val("afterMacro"),
                                        opt("h01"), opt("h02"), opt("maxErr")},
                                       "The mixed second derivative of y with respect to x1 and x2."),
    method<&c_Derivatives::max>("max", {ref("num1"), ref("num2")},
                                "num2 when it is greater than num1, otherwise num1."),
};

constexpr MemberRow kAnalysis[] = {
    method<&c_sa_Analysis::EstimateStDev>("EstimateStDev",
                                          {val("TolHalfWidth"), val("TolSigma"), ref("asPercentOfMean"),
                                           ref("uniformDist"), opt("mean"), opt("dbg")},
                                          "The standard deviation behind a tolerance."),
    method<&c_sa_Analysis::CalcDerivatives>("CalcDerivatives",
                                            {ref("xMeans"), ref("y"), ref("Derivs1"), ref("derivs2"),
                                             val("beforeMacro"), val("afterMacro"), opt("dbg")},
                                            "First and second derivatives of y with respect to every input."),
    method<&c_sa_Analysis::SensitivityAnalysis>(
        "SensitivityAnalysis", {ref("ins"), ref("outs")},
        "Predicts mean, standard deviation and non-conformance of the response."),
};

constexpr MemberRow kInput[] = {
    field<&c_sa_Input::y>("y", "The response cell."),
    field<&c_sa_Input::yName>("yName", "Name of the response."),
    field<&c_sa_Input::lsl>("lsl", "Lower specification limit: a number, empty for none, or a cell."),
    field<&c_sa_Input::usl>("usl", "Upper specification limit: a number, empty for none, or a cell."),
    field<&c_sa_Input::dbg>("dbg", "Name of a procedure to trace in message boxes; empty for none."),
    property<pick<Ref<host::Range>(Long) const>(&c_sa_Input::xMeans),
             pick<void(Long, Ref<host::Range>)>(&c_sa_Input::xMeans)>("xMeans", {val("i")},
                                                                      "The cell of input i."),
    property<pick<std::string(Long) const>(&c_sa_Input::xNames),
             pick<void(Long, const std::string&)>(&c_sa_Input::xNames)>("xNames", {val("i")},
                                                                        "Name of input i."),
    property<pick<double(Long) const>(&c_sa_Input::xStDevs), pick<void(Long, double)>(&c_sa_Input::xStDevs)>(
        "xStDevs", {val("i")}, "Standard deviation of input i."),
    property<pick<double(Long) const>(&c_sa_Input::Derivs1), pick<void(Long, double)>(&c_sa_Input::Derivs1)>(
        "Derivs1", {val("i")}, "First derivative with respect to input i."),
    property<pick<double(Long) const>(&c_sa_Input::derivs2), pick<void(Long, double)>(&c_sa_Input::derivs2)>(
        "derivs2", {val("i")}, "Second derivative with respect to input i."),
    method<&c_sa_Input::resizeArrays>("resizeArrays", {ref("size")},
                                      "Sizes the arrays to 1..size and keeps what fits."),
    getter<&c_sa_Input::CountX>("CountX", {}, "Number of inputs."),
    method<&c_sa_Input::Clear>("Clear", {}, "Releases the cells and forgets the inputs."),
};

constexpr MemberRow kOutput[] = {
    field<&c_sa_Output::responseMean>("responseMean", "Predicted mean."),
    field<&c_sa_Output::responseStDev>("responseStDev", "Predicted standard deviation."),
    field<&c_sa_Output::eqnVal>("eqnVal", "The response at the input means."),
    field<&c_sa_Output::meanShift>("meanShift", "responseMean - eqnVal."),
    field<&c_sa_Output::PNC_lsl>("PNC_lsl", "Probability below the lower limit."),
    field<&c_sa_Output::PNC_usl>("PNC_usl", "Probability above the upper limit."),
    field<&c_sa_Output::PNC_total>("PNC_total", "Probability outside the limits."),
    field<&c_sa_Output::NonlinearResponse>("NonlinearResponse", "The mean shift is judged large."),
    field<&c_sa_Output::NonlinearTrigger>("NonlinearTrigger", "The sentence that says why."),
    property<pick<double(Long) const>(&c_sa_Output::VarianceContribs),
             pick<void(Long, double)>(&c_sa_Output::VarianceContribs)>("VarianceContribs", {val("i")},
                                                                       "Share of input i in the variance."),
    property<pick<double(Long) const>(&c_sa_Output::MeanShiftContribs),
             pick<void(Long, double)>(&c_sa_Output::MeanShiftContribs)>(
        "MeanShiftContribs", {val("i")}, "Part of the mean shift that is due to input i."),
    method<&c_sa_Output::resizeArrays>("resizeArrays", {ref("size")},
                                       "Sizes the arrays to 1..size and keeps what fits."),
    getter<&c_sa_Output::CountX>("CountX", {}, "Number of inputs."),
};

constexpr MemberRow kAllocation[] = {
    method<&c_al_Allocation::Allocate>("Allocate", {ref("ins"), ref("outs")},
                                       "Shares the desired variance of the response among the inputs."),
    method<&c_al_Allocation::EstimRespStDev>(
        "EstimRespStDev", {val("respMean"), val("desiredPNC"), val("lsl"), val("usl"), opt("dbg")},
        "The standard deviation that gives a response the desired probability of non-conformance."),
};

constexpr MemberRow kAllocationInput[] = {
    field<&c_al_Input::dbg>("dbg", "Name of a procedure to trace in message boxes; empty for none."),
    field<&c_al_Input::DesiredRespStDev>("DesiredRespStDev",
                                         "Standard deviation that the response is to have."),
    field<&c_al_Input::Disparity>("Disparity", "How unevenly the drivers are honoured, 0 to 1."),
    field<&c_al_Input::useCostDrivers>("useCostDrivers", "Drivers are costs."),
    constant<&c_al_Input::KEEP_YES>("KEEP_YES", "\"Keep\"."),
    constant<&c_al_Input::KEEP_NO>("KEEP_NO", "\"Dont Keep\"."),
    constant<&c_al_Input::DISPARITY_MAX>("DISPARITY_MAX", "1."),
    constant<&c_al_Input::DISPARITY_MIN>("DISPARITY_MIN", "0."),
    property<pick<double(Long) const>(&c_al_Input::xStDevs), pick<void(Long, double)>(&c_al_Input::xStDevs)>(
        "xStDevs", {val("i")}, "Standard deviation of input i today."),
    property<pick<std::string(Long) const>(&c_al_Input::xKeeps),
             pick<void(Long, const std::string&)>(&c_al_Input::xKeeps)>("xKeeps", {val("i")},
                                                                        "KEEP_YES or KEEP_NO for input i."),
    property<pick<double(Long) const>(&c_al_Input::Derivs1), pick<void(Long, double)>(&c_al_Input::Derivs1)>(
        "Derivs1", {val("i")}, "First derivative with respect to input i."),
    property<pick<double(Long) const>(&c_al_Input::Drivers), pick<void(Long, double)>(&c_al_Input::Drivers)>(
        "Drivers", {val("i")}, "Driver or cost of input i."),
    method<&c_al_Input::resizeArrays>("resizeArrays", {ref("size")},
                                      "Sizes the arrays to 1..size and keeps what fits."),
    getter<&c_al_Input::CountX>("CountX", {}, "Number of inputs."),
};

constexpr MemberRow kAllocationOutput[] = {
    property<pick<double(Long) const>(&c_al_Output::xStDevs),
             pick<void(Long, double)>(&c_al_Output::xStDevs)>("xStDevs", {val("i")},
                                                              "Standard deviation allocated to input i."),
    method<&c_al_Output::resizeArrays>("resizeArrays", {ref("size")},
                                       "Sizes the array to 1..size and keeps what fits."),
    getter<&c_al_Output::CountX>("CountX", {}, "Number of inputs."),
};

constexpr ClassRow kRows[] = {
    publicClass<c_Derivatives>(
        kDerivatives, "Derivatives of a worksheet model: a formula cell with respect to number cells.",
        R"(Dim d As Object
Set d = CreateObject("varnex3.c_Derivatives")
MsgBox "Slope " & d.Deriv(1, Range("B2"), Range("B8"), "", ""))"),
    publicClass<c_sa_Analysis>(kAnalysis, "Tolerances through a worksheet model by the method of moments.",
                               R"(Dim sa As Object, ins As Object, outs As Object
Set sa = CreateObject("varnex3.c_sa_Analysis")
Set ins = CreateObject("varnex3.c_sa_Input")
Set outs = CreateObject("varnex3.c_sa_Output")
Set ins.y = Range("B8")
Set ins.xMeans(1) = Range("B2")
ins.xStDevs(1) = sa.EstimateStDev(0.3, 3, False, False)
ins.Derivs1(1) = 2.5
sa.SensitivityAnalysis ins, outs
MsgBox "Standard deviation " & outs.responseStDev)"),
    publicClass<c_sa_Input>(kInput,
                            "What a sensitivity analysis works on: a response, its limits, its inputs.",
                            R"(ins.lsl = 90: ins.usl = 110
ins.xNames(1) = "Width"
ins.xStDevs(1) = 0.1)"),
    publicClass<c_sa_Output>(kOutput, "What a sensitivity analysis predicts of a response.",
                             R"(MsgBox "Outside the limits: " & outs.PNC_total
If outs.NonlinearResponse Then MsgBox outs.NonlinearTrigger)"),
    publicClass<c_al_Allocation>(
        kAllocation, "The sensitivity analysis backwards: from a wish for the response to its inputs.",
        R"(Dim al As Object, goal As Object, shares As Object
Set al = CreateObject("varnex3.c_al_Allocation")
Set goal = CreateObject("varnex3.c_al_Input")
Set shares = CreateObject("varnex3.c_al_Output")
goal.DesiredRespStDev = al.EstimRespStDev(10, 0.0027, "7", "13")
goal.xKeeps(1) = goal.KEEP_NO
goal.Derivs1(1) = 2.5: goal.Drivers(1) = 1
al.Allocate goal, shares
MsgBox "Input 1 may vary by " & shares.xStDevs(1))"),
    publicClass<c_al_Input>(kAllocationInput,
                            "What a tolerance allocation works on: the goal, and the inputs that share it.",
                            R"(goal.useCostDrivers = True
goal.Disparity = 0.5
goal.xKeeps(2) = goal.KEEP_YES
goal.xStDevs(2) = 0.05)"),
    publicClass<c_al_Output>(kAllocationOutput,
                             "The standard deviations that an allocation gives to the inputs.",
                             R"(For i = 1 To shares.CountX
    Cells(i + 1, 5).Value = shares.xStDevs(i)
Next)"),
};

} // namespace

std::span<const ClassRow> sensitivityClasses() { return kRows; }

} // namespace varnex3::server
