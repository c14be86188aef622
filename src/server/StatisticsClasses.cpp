// server/StatisticsClasses.cpp - the rows of the normal-distribution functions and of a distribution's
// component.
#include "server/Classes.h"
#include "server/Thunks.h"

namespace varnex3::server {
namespace {

constexpr MemberRow kStatistics[] = {
    getter<&c_Statistics::FINDZ_MAX>("FINDZ_MAX", {}, "Upper end of the search of findZ, 37.5."),
    getter<&c_Statistics::FINDZ_MIN>("FINDZ_MIN", {}, "Lower end of the search of findZ, -8."),
    method<&c_Statistics::NormPDF>("NormPDF", {ref("x"), opt("mean"), opt("stdev", 1.0)},
                                   "The normal density at x."),
    method<&c_Statistics::normCDF>("normCDF", {ref("z"), opt("upperTail")},
                                   "The standard normal probability below z, or above it."),
    method<pick<double(const Variant&, std::int16_t&) const>(&c_Statistics::findZ)>(
        "findZ", {ref("tailTarget"), opt("digits")},
        "The z whose upper-tail probability is tailTarget, rounded to digits decimals."),
    method<&c_Statistics::PassBad>(
        "PassBad", {ref("mean"), ref("stdev"), ref("sl"), ref("testsd")},
        "Probability that an item beyond the upper limit sl passes a test with its own error."),
};

constexpr MemberRow kDistribution[] = {
    property<pick<const std::string&() const>(&c_Distribution::DistType),
             pick<void(const std::string&)>(&c_Distribution::DistType)>(
        "DistType", {}, "Family, such as \"Normal\", \"Uniform\" or \"Johnson\"."),
    property<pick<const Variant&() const>(&c_Distribution::param1),
             pick<void(const Variant&)>(&c_Distribution::param1)>(
        "param1", {}, "First parameter of the family: a number, a cell, or data."),
    property<pick<const Variant&() const>(&c_Distribution::param2),
             pick<void(const Variant&)>(&c_Distribution::param2)>("param2", {},
                                                                  "Second parameter of the family."),
    field<&c_Distribution::ScaleFactor>("ScaleFactor", "Weight of the component in a mixture."),
    field<&c_Distribution::Dynamic>("Dynamic",
                                    "Parameters come from cells: they are checked before every draw."),
    property<pick<Variant() const>(&c_Distribution::LTL), pick<void(const Variant&)>(&c_Distribution::LTL)>(
        "LTL", {}, "Lower truncation limit: a number, empty or a cell."),
    property<pick<Variant() const>(&c_Distribution::UTL), pick<void(const Variant&)>(&c_Distribution::UTL)>(
        "UTL", {}, "Upper truncation limit: a number, empty or a cell."),
    getter<&c_Distribution::NegInfinity>("NegInfinity", {}, "The value that stands for no lower limit."),
    getter<&c_Distribution::PosInfinity>("PosInfinity", {}, "The value that stands for no upper limit."),
    getter<&c_Distribution::mean>("mean", {}, "Mean of the family, without truncation."),
    getter<&c_Distribution::stdev>("stdev", {}, "Standard deviation of the family, without truncation."),
    method<&c_Distribution::ParamsOK>("ParamsOK", {ref("errorString")},
                                      "Checks the parameters; the first problem goes to errorString."),
    method<&c_Distribution::RandVal>("RandVal", {ref("p")}, "The value at probability p."),
    method<&c_Distribution::pdf>("pdf", {ref("x"), ref("flag"), ref("previousX")},
                                 "The density at x; previousX is the grid point before it, or \"none\"."),
    method<&c_Distribution::xMin>("xMin", {ref("k")},
                                  "Lower end of the range k standard deviations wide on either side."),
    method<&c_Distribution::xMax>("xMax", {ref("k")}, "Upper end of that range."),
    method<&c_Distribution::resizeArrays>("resizeArrays", {ref("n")}, "Sizes the graph to n points."),
    property<pick<double(Long) const>(&c_Distribution::GraphX),
             pick<void(Long, double)>(&c_Distribution::GraphX)>("GraphX", {val("j")},
                                                                "Grid point j of the graph."),
    property<pick<double(Long) const>(&c_Distribution::GraphOL),
             pick<void(Long, double)>(&c_Distribution::GraphOL)>("GraphOL", {val("j")},
                                                                 "Density at grid point j."),
    method<&c_Distribution::CalcMean>("CalcMean", {}, "Mean of the density in the graph."),
    method<&c_Distribution::CalcStdev>("CalcStdev", {ref("mean")},
                                       "Standard deviation of that density about mean."),
    property<pick<const Variant&() const>(&c_Distribution::param3),
             pick<void(const Variant&)>(&c_Distribution::param3)>("param3", {},
                                                                  "Third parameter of the family."),
    property<pick<const Variant&() const>(&c_Distribution::param4),
             pick<void(const Variant&)>(&c_Distribution::param4)>("param4", {},
                                                                  "Fourth parameter of the family."),
    method<&c_Distribution::cdf>("cdf", {ref("x")}, "The probability at or below x."),
};

constexpr ClassRow kRows[] = {
    publicClass<c_Statistics>(kStatistics,
                              "Normal-distribution arithmetic: density, tails, quantile, pass probability.",
                              R"(Dim s As Object
Set s = CreateObject("varnex3.c_Statistics")
MsgBox s.normCDF(1.96, True) & " lies above " & s.findZ(0.025, 2))"),
    publicClass<c_Distribution>(kDistribution, "One component of a parameter's distribution.",
                                R"(Dim d As Object
Set d = CreateObject("varnex3.c_Distribution")
d.DistType = "Normal": d.param1 = 10: d.param2 = 0.5
d.LTL = 9
f.ItemX("width").dist.Add d
MsgBox "Median " & d.RandVal(0.5))"),
};

} // namespace

std::span<const ClassRow> statisticsClasses() { return kRows; }

} // namespace varnex3::server
