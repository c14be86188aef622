// cli/StudyTolerance.cpp - reading tolerances, keep flags and drivers.
#include "StudyTolerance.h"

#include "StudySection.h"

namespace varnex3::cli {
namespace {

constexpr double kUsualSigma = 3.0;

void refuseNegative(const NumberOrCell& entry, bool zeroToo)
{
    const double* x = std::get_if<double>(&entry.value);
    if (x && (*x < 0.0 || (zeroToo && *x == 0.0)))
        throw Refused(entry.place, zeroToo ? "a number above 0 is needed" : "it cannot be negative");
}

StudyTolerance readEntry(Section section)
{
    StudyTolerance t;
    t.place = section.place();
    section.require("half_width");
    t.halfWidth = section.numberOrCell("half_width");
    refuseNegative(t.halfWidth, false);

    const std::string unit = section.text("unit", "absolute");
    requireOneOf(section, "unit", unit, {"absolute", "percent"});
    t.percent = unit == "percent";

    const std::string distribution = section.text("distribution", "normal");
    requireOneOf(section, "distribution", distribution, {"normal", "uniform"});
    t.uniform = distribution == "uniform";

    t.sigma = section.numberOrCell("sigma");
    if (t.uniform && t.sigma.given())
        throw Refused(t.sigma.place, "the standard deviation of a uniform tolerance is half_width / sqrt(3); "
                                     "remove \"sigma\"");
    if (!t.sigma.given()) t.sigma.value = kUsualSigma;
    refuseNegative(t.sigma, true);
    section.finish();
    return t;
}

bool truth(Section& section, const std::string& key)
{
    const toml::node* node = section.find(key);
    if (!node) return false;
    const auto flag = node->value_exact<bool>();
    if (!flag)
        throw Refused(section.placeOf(key), fmt::format("true or false is needed, not {}", typeName(*node)));
    return *flag;
}

} // namespace

void readTolerance(Section& parameter, StudyParameter& p)
{
    p.keep = truth(parameter, "keep");
    p.driver = parameter.number("driver", p.driver);
    if (p.driver < 0.0) throw Refused(parameter.placeOf("driver"), "a driver cannot be negative");

    const toml::node* node = parameter.find("tolerance");
    if (!node) return;
    const Place place = parameter.placeOf("tolerance");
    const toml::table* table = node->as_table();
    if (!table) throw Refused(place, "write it as \"tolerance = { half_width = 0.1, sigma = 3 }\"");
    if (p.stdev.given()) throw Refused(place, "give either \"stdev\" or \"tolerance\", not both");
    if (p.type == "Noise" || p.type == "Constant")
        throw Refused(place, fmt::format("a \"{}\" parameter takes no tolerance", p.type));
    p.tolerance = readEntry(Section(*table, place.file, place.key));
    p.tolerance.place = place;
}

bool isOnlyAnalysed(const StudyParameter& p)
{
    return p.type == "Continuous" && (p.stdev.given() || p.tolerance.given());
}

} // namespace varnex3::cli
