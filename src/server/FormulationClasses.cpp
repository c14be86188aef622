// server/FormulationClasses.cpp - the rows of a formulation and its items.
#include "server/Classes.h"
#include "server/Thunks.h"

namespace varnex3::server {
namespace {

constexpr MemberRow kFormulation[] = {
    field<&c_Formulation::Xs>("Xs", "The parameters, keyed by their id, in the order added."),
    field<&c_Formulation::Ys>("Ys", "The responses, keyed by their id."),
    field<&c_Formulation::Cs>("Cs", "The constraints, keyed by their id."),
    field<&c_Formulation::Gs>("Gs", "The goals, keyed by their id."),
    field<&c_Formulation::Options>("Options", "The settings of a run."),
    getter<&c_Formulation::CountX>("CountX", {}, "Number of parameters."),
    getter<&c_Formulation::CountY>("CountY", {}, "Number of responses."),
    getter<&c_Formulation::CountC>("CountC", {}, "Number of constraints."),
    getter<&c_Formulation::CountG>("CountG", {}, "Number of goals."),
    property<pick<Long(Long) const>(&c_Formulation::CalcSequence),
             pick<void(Long, Long)>(&c_Formulation::CalcSequence)>(
        "CalcSequence", {val("i")}, "Number of the parameter that is written in place i."),
    property<pick<bool(Long) const>(&c_Formulation::RecalcFlags),
             pick<void(Long, bool)>(&c_Formulation::RecalcFlags)>(
        "RecalcFlags", {val("i")}, "Whether the workbook is recalculated before parameter i is written."),
    constant<&c_Formulation::SOURCEX>("SOURCEX", "\"Parameter\", as formulationOK names its source."),
    constant<&c_Formulation::SOURCEY>("SOURCEY", "\"Response\"."),
    constant<&c_Formulation::SOURCEC>("SOURCEC", "\"Constraint\"."),
    constant<&c_Formulation::SOURCEG>("SOURCEG", "\"Goal\"."),
    constant<&c_Formulation::SOURCEO>("SOURCEO", "\"Options\"."),
    method<&c_Formulation::AddX>("AddX", {ref("id")},
                                 "Adds a parameter under that key; an empty id adds none."),
    method<&c_Formulation::AddY>("AddY", {ref("id")}, "Adds a response under that key."),
    method<&c_Formulation::AddC>("AddC", {ref("id")}, "Adds a constraint under that key."),
    method<&c_Formulation::AddG>("AddG", {ref("id")}, "Adds a goal under that key."),
    method<&c_Formulation::ItemX>(
        "ItemX", {ref("index")}, "The parameter at a position or under a key; no object when there is none."),
    method<&c_Formulation::ItemY>("ItemY", {ref("index")}, "The response at a position or under a key."),
    method<&c_Formulation::ItemC>("ItemC", {ref("index")}, "The constraint at a position or under a key."),
    method<&c_Formulation::ItemG>("ItemG", {ref("index")}, "The goal at a position or under a key."),
    method<&c_Formulation::RemoveX>("RemoveX", {ref("id")}, "Removes the parameter with that key."),
    method<&c_Formulation::RemoveY>("RemoveY", {ref("id")}, "Removes the response with that key."),
    method<&c_Formulation::RemoveC>("RemoveC", {ref("id")}, "Removes the constraint with that key."),
    method<&c_Formulation::RemoveG>("RemoveG", {ref("id")}, "Removes the goal with that key."),
    method<&c_Formulation::Clear>("Clear", {},
                                  "Releases items and options; the formulation is not used afterwards."),
    method<&c_Formulation::formulationOK>(
        "formulationOK", {ref("source"), ref("itemNum"), ref("cause"), opt("showMessages")},
        "Validates everything; the first problem goes to source, itemNum and cause."),
};

constexpr MemberRow kParameter[] = {
    field<&c_Parameter::id>("id", "Key in the formulation's Xs."),
    field<&c_Parameter::DefName>("DefName", "Default (defined) name."),
    field<&c_Parameter::Name>("Name", "Display name."),
    field<&c_Parameter::xType>("xType",
                               "\"Continuous\", \"Integer\", \"Discrete\", \"Noise\" or \"Constant\"."),
    field<&c_Parameter::mean>("mean", "The cell that holds the parameter's value."),
    field<&c_Parameter::stdev>("stdev", "Standard deviation around that value: a number or a cell."),
    field<&c_Parameter::SearchMin>("SearchMin", "Lower end of the search range."),
    field<&c_Parameter::SearchMax>("SearchMax", "Upper end of the search range."),
    field<&c_Parameter::DistType>("DistType",
                                  "Family of the distribution, such as \"Normal\" or \"Uniform\"."),
    field<&c_Parameter::DistParam1>("DistParam1", "First parameter of the distribution: a number or a cell."),
    field<&c_Parameter::DistParam2>("DistParam2", "Second parameter of the distribution."),
    field<&c_Parameter::DistParam3>("DistParam3", "Third parameter of the distribution."),
    field<&c_Parameter::LTL>("LTL", "Lower truncation limit: a number, empty or a cell."),
    field<&c_Parameter::UTL>("UTL", "Upper truncation limit: a number, empty or a cell."),
    field<&c_Parameter::dist>("dist", "The components of a \"Noise\" parameter's distribution."),
    field<&c_Parameter::needsRecalc>("needsRecalc", "The moments must be computed again before use."),
    method<&c_Parameter::GetMean>("GetMean", {},
                                  "The computed mean of a \"Noise\" parameter, else the cell's value."),
    method<&c_Parameter::GetStDev>("GetStDev", {}, "The standard deviation; 0 for a \"Constant\" parameter."),
    method<&c_Parameter::SetMean>("SetMean", {ref("d")},
                                  "Writes d into the mean cell, unless the parameter is \"Constant\"."),
    method<&c_Parameter::FeasVals>("FeasVals", {ref("i")}, "The i-th feasible value."),
    method<&c_Parameter::FeasValIndex>("FeasValIndex", {ref("d")},
                                       "Position of the feasible value equal to d, or 0."),
    method<&c_Parameter::numFVs>("numFVs", {}, "Number of feasible values."),
    method<pick<void(double, Long&)>(&c_Parameter::AddFV)>(
        "AddFV", {ref("fv"), opt("index")},
        "Inserts a feasible value at a position, or appends it; index receives the position."),
    method<&c_Parameter::RemoveFV>("RemoveFV", {ref("index")},
                                   "Removes the feasible value at that position."),
    method<&c_Parameter::SortFV>("SortFV", {}, "Sorts the feasible values and removes duplicates."),
    method<&c_Parameter::MakeFeasible>("MakeFeasible", {ref("d")}, "The admissible value nearest to d."),
    method<&c_Parameter::XisOK>("XisOK", {ref("problemCause")},
                                "Validates the parameter; the first problem goes to problemCause."),
    method<&c_Parameter::Clear>("Clear", {}, "Releases the cell and the distribution."),
    method<&c_Parameter::InitDist>("InitDist", {}, "Builds the distribution of mean and standard deviation."),
    method<&c_Parameter::RandVal>("RandVal", {val("rndP"), ref("errorString")},
                                  "The value at probability rndP; a reason for none goes to errorString."),
    method<pick<void(Long&)>(&c_Parameter::CalcMoments)>(
        "CalcMoments", {opt("numPoints")}, "Computes mean and standard deviation of a \"Noise\" parameter."),
};

constexpr MemberRow kResponse[] = {
    field<&c_Response::id>("id", "Key in the formulation's Ys."),
    field<&c_Response::DefName>("DefName", "Default (defined) name."),
    field<&c_Response::Name>("Name", "Display name."),
    field<&c_Response::Formula>("Formula", "The formula cell whose value is the response."),
    field<&c_Response::lsl>("lsl", "Lower specification limit: a number, empty for none, or a cell."),
    field<&c_Response::usl>("usl", "Upper specification limit: a number, empty for none, or a cell."),
    method<&c_Response::YisOK>("YisOK", {ref("problemCause")},
                               "Validates the response; the first problem goes to problemCause."),
    method<&c_Response::Clear>("Clear", {}, "Releases the cell."),
};

constexpr MemberRow kConstraint[] = {
    field<&c_Constraint::id>("id", "Key in the formulation's Cs."),
    field<&c_Constraint::DefName>("DefName", "Default (defined) name."),
    field<&c_Constraint::Name>("Name", "Display name."),
    field<&c_Constraint::y>("y", "The Formula cell of the response that is constrained."),
    field<&c_Constraint::Aspect>("Aspect",
                                 "\"Mean\", \"StDev\" or \"pnc\" (probability of non-conformance)."),
    field<&c_Constraint::Oper>("Oper", "\"<=\", \">=\" or \"=\"."),
    field<&c_Constraint::Reqt>("Reqt", "The required value: a number or a cell."),
    method<&c_Constraint::ConstraintOK>("ConstraintOK", {ref("problemCause")},
                                        "Validates the constraint; the first problem goes to problemCause."),
    method<&c_Constraint::Clear>("Clear", {}, "Releases the cell."),
};

constexpr MemberRow kGoal[] = {
    field<&c_Goal::id>("id", "Key in the formulation's Gs."),
    field<&c_Goal::DefName>("DefName", "Default (defined) name."),
    field<&c_Goal::Name>("Name", "Display name."),
    field<&c_Goal::y>("y", "The Formula cell of the response that the goal is on."),
    field<&c_Goal::Aspect>("Aspect", "\"Mean\", \"StDev\" or \"pnc\" (probability of non-conformance)."),
    field<&c_Goal::Oper>("Oper", "\"<=\", \">=\" or \"=\"."),
    field<&c_Goal::Target>("Target", "Target value: a number or a cell."),
    field<&c_Goal::Priority>("Priority", "Priority level, 1 (highest) to 3."),
    field<&c_Goal::Weight>("Weight", "Weight within the priority level, not negative: a number or a cell."),
    method<&c_Goal::goalOK>("goalOK", {ref("problemCause")},
                            "Validates the goal; the first problem goes to problemCause."),
    method<&c_Goal::Clear>("Clear", {}, "Releases the cell."),
};

constexpr MemberRow kOptions[] = {
    field<&c_Options::StopRule>("StopRule", "\"Stop after fixed #\" or \"Stop after no change\"."),
    field<&c_Options::MaxGens>("MaxGens", "Generations, or generations without improvement."),
    field<&c_Options::GenSize>("GenSize", "Members per generation, 20 or more."),
    field<&c_Options::Precision>("Precision",
                                 "Resolution of continuous parameters, 1E-06 to 0.1 of the search range."),
    field<&c_Options::Derivs>("Derivs", "\"Quick\" or \"Accurate\"."),
    field<&c_Options::Stats>("Stats",
                             "\"No Statistics\", \"1st Order Sensitivity Analysis\", \"2nd Order Sensitivity "
                             "Analysis\" or \"Monte Carlo Analysis\"."),
    field<&c_Options::StoreYs>("StoreYs",
                               "\"Yes\" keeps the response statistics of every member, \"No\" one row."),
    field<&c_Options::OptTrials>("OptTrials",
                                 "Monte Carlo trials per candidate, a whole number as text, 50 or more."),
    field<&c_Options::beforeMacro>("beforeMacro", "Macro run before every recalculation; empty for none."),
    field<&c_Options::afterMacro>("afterMacro", "Macro run after every recalculation; empty for none."),
    field<&c_Options::dbg>("dbg", "Name of a procedure to trace in message boxes; empty for none."),
    method<&c_Options::OptionsOK>("OptionsOK", {ref("problemCause")},
                                  "Validates the options; the first problem goes to problemCause."),
};

constexpr ClassRow kRows[] = {
    publicClass<c_Formulation>(kFormulation,
                               "The whole problem: parameters, responses, constraints, goals, options.",
                               R"(Dim f As Object
Set f = CreateObject("varnex3.c_Formulation")
f.AddX "width"
With f.ItemX("width")
    .DefName = "width": .Name = "Width": .xType = "Continuous"
    Set .mean = Range("B2")
    .stdev = 0.1: .AddFV 5: .AddFV 20
    .SearchMin = 5: .SearchMax = 20
End With
Dim source As String, itemNum As Long, cause As String
If Not f.formulationOK(source, itemNum, cause) Then MsgBox cause)"),
    publicClass<c_Parameter>(
        kParameter, "One input variable: a cell with its kind, range, feasible values and variation.",
        R"(With f.ItemX("width")
    .xType = "Discrete"
    .AddFV 10: .AddFV 5: .AddFV 20
    .SortFV
    MsgBox .numFVs & " values, the nearest to 12 is " & .MakeFeasible(12)
End With)"),
    publicClass<c_Response>(kResponse, "One output: a formula cell with optional specification limits.",
                            R"(f.AddY "stress"
With f.ItemY("stress")
    .DefName = "stress": .Name = "Stress"
    Set .Formula = Range("B8")
    .usl = 250
End With)"),
    publicClass<c_Constraint>(kConstraint, "A requirement on one statistic of one response.",
                              R"(f.AddC "limit"
With f.ItemC("limit")
    .DefName = "limit": .Name = "Stress limit"
    Set .y = Range("B8")
    .Aspect = "Mean": .Oper = "<=": .Reqt = 200
End With)"),
    publicClass<c_Goal>(kGoal, "An objective on one statistic of one response, with priority and weight.",
                        R"(f.AddG "light"
With f.ItemG("light")
    .DefName = "light": .Name = "Light"
    Set .y = Range("B9")
    .Aspect = "Mean": .Oper = "<=": .Target = 0
    .Priority = 1: .Weight = 1
End With)"),
    publicClass<c_Options>(kOptions,
                           "The settings of an optimization run; a new object is empty and fails its check.",
                           R"(With f.Options
    .StopRule = "Stop after no change": .MaxGens = 10
    .GenSize = 40: .Precision = 0.001
    .Derivs = "Quick": .Stats = "No Statistics"
    .StoreYs = "Yes": .OptTrials = "1000"
End With)"),
};

} // namespace

std::span<const ClassRow> formulationClasses() { return kRows; }

} // namespace varnex3::server
