// sheet/functions/Units.cpp - the table of units.
//
// Factors follow from the definitions: international foot and pound, thermochemical and international table
// calorie, imperial and United States measures; electronvolt and atomic mass unit as of CODATA 2018.
#include "sheet/functions/Units.h"

#include <cmath>

namespace varnex3::sheet {
namespace {

enum class Quantity {
    Mass,
    Length,
    Time,
    Pressure,
    Force,
    Energy,
    Power,
    Field,
    Heat,
    Volume,
    Area,
    Data,
    Speed
};

struct Unit {
    std::string_view name;
    Quantity quantity;
    double factor;      // in g, m, s, Pa, N, J, W, T, K, m^3, m^2, bit, m/s
    int prefixes = 0;   // 0: takes none; else the power to which a prefix is raised
    double origin = 0.; // its zero, in K; temperatures only
};

constexpr double kInch = 0.0254, kFoot = 0.3048, kYard = 0.9144, kMile = 1609.344, kNauticalMile = 1852.0;
constexpr double kLightYear = 9460730472580800.0, kPoint = kInch / 72.0, kAngstrom = 1e-10;
constexpr double kSurveyFoot = 1200.0 / 3937.0;
constexpr double kCubicInch = kInch * kInch * kInch;
constexpr double kGallon = 231.0 * kCubicInch;
constexpr double kImperialGallon = 0.00454609;
constexpr double kPound = 453.59237; // g
constexpr double kPoundForce = 4.4482216152605;
constexpr double kHorsepower = 550.0 * kPoundForce * kFoot;

constexpr double square(double x) { return x * x; }
constexpr double cube(double x) { return x * x * x; }

constexpr Unit kUnits[] = {
    {"g", Quantity::Mass, 1.0, 1},
    {"sg", Quantity::Mass, kPoundForce / kFoot * 1000.0},
    {"lbm", Quantity::Mass, kPound},
    {"u", Quantity::Mass, 1.66053906660e-24, 1},
    {"ozm", Quantity::Mass, kPound / 16.0},
    {"grain", Quantity::Mass, kPound / 7000.0},
    {"cwt", Quantity::Mass, kPound * 100.0},
    {"shweight", Quantity::Mass, kPound * 100.0},
    {"uk_cwt", Quantity::Mass, kPound * 112.0},
    {"lcwt", Quantity::Mass, kPound * 112.0},
    {"hweight", Quantity::Mass, kPound * 112.0},
    {"stone", Quantity::Mass, kPound * 14.0},
    {"ton", Quantity::Mass, kPound * 2000.0},
    {"uk_ton", Quantity::Mass, kPound * 2240.0},
    {"LTON", Quantity::Mass, kPound * 2240.0},
    {"brton", Quantity::Mass, kPound * 2240.0},

    {"m", Quantity::Length, 1.0, 1},
    {"mi", Quantity::Length, kMile},
    {"Nmi", Quantity::Length, kNauticalMile},
    {"in", Quantity::Length, kInch},
    {"ft", Quantity::Length, kFoot},
    {"yd", Quantity::Length, kYard},
    {"ang", Quantity::Length, kAngstrom, 1},
    {"ell", Quantity::Length, 45.0 * kInch},
    {"ly", Quantity::Length, kLightYear, 1},
    {"parsec", Quantity::Length, 3.0856775814913673e16, 1},
    {"pc", Quantity::Length, 3.0856775814913673e16, 1},
    {"Picapt", Quantity::Length, kPoint},
    {"Pica", Quantity::Length, kPoint},
    {"pica", Quantity::Length, kInch / 6.0},
    {"survey_mi", Quantity::Length, 5280.0 * kSurveyFoot},

    {"yr", Quantity::Time, 31557600.0},
    {"day", Quantity::Time, 86400.0},
    {"d", Quantity::Time, 86400.0},
    {"hr", Quantity::Time, 3600.0},
    {"mn", Quantity::Time, 60.0},
    {"min", Quantity::Time, 60.0},
    {"sec", Quantity::Time, 1.0, 1},
    {"s", Quantity::Time, 1.0, 1},

    {"Pa", Quantity::Pressure, 1.0, 1},
    {"p", Quantity::Pressure, 1.0, 1},
    {"atm", Quantity::Pressure, 101325.0, 1},
    {"at", Quantity::Pressure, 101325.0, 1},
    {"mmHg", Quantity::Pressure, 133.322387415, 1},
    {"psi", Quantity::Pressure, kPoundForce / (kInch * kInch)},
    {"Torr", Quantity::Pressure, 101325.0 / 760.0},

    {"N", Quantity::Force, 1.0, 1},
    {"dyn", Quantity::Force, 1e-5, 1},
    {"dy", Quantity::Force, 1e-5, 1},
    {"lbf", Quantity::Force, kPoundForce},
    {"pond", Quantity::Force, 0.00980665, 1},

    {"J", Quantity::Energy, 1.0, 1},
    {"e", Quantity::Energy, 1e-7, 1},
    {"c", Quantity::Energy, 4.184, 1},
    {"cal", Quantity::Energy, 4.1868, 1},
    {"eV", Quantity::Energy, 1.602176634e-19, 1},
    {"ev", Quantity::Energy, 1.602176634e-19, 1},
    {"HPh", Quantity::Energy, kHorsepower * 3600.0},
    {"hh", Quantity::Energy, kHorsepower * 3600.0},
    {"Wh", Quantity::Energy, 3600.0, 1},
    {"wh", Quantity::Energy, 3600.0, 1},
    {"flb", Quantity::Energy, kPoundForce* kFoot},
    {"BTU", Quantity::Energy, 1055.05585262},
    {"btu", Quantity::Energy, 1055.05585262},

    {"W", Quantity::Power, 1.0, 1},
    {"w", Quantity::Power, 1.0, 1},
    {"HP", Quantity::Power, kHorsepower},
    {"h", Quantity::Power, kHorsepower},
    {"PS", Quantity::Power, 735.49875},

    {"T", Quantity::Field, 1.0, 1},
    {"ga", Quantity::Field, 1e-4, 1},

    {"C", Quantity::Heat, 1.0, 0, 273.15},
    {"cel", Quantity::Heat, 1.0, 0, 273.15},
    {"F", Quantity::Heat, 5.0 / 9.0, 0, 459.67 * 5.0 / 9.0},
    {"fah", Quantity::Heat, 5.0 / 9.0, 0, 459.67 * 5.0 / 9.0},
    {"K", Quantity::Heat, 1.0, 1},
    {"kel", Quantity::Heat, 1.0, 1},
    {"Rank", Quantity::Heat, 5.0 / 9.0},
    {"Reau", Quantity::Heat, 1.25, 0, 273.15},

    {"tsp", Quantity::Volume, kGallon / 768.0},
    {"tspm", Quantity::Volume, 5e-6},
    {"tbs", Quantity::Volume, kGallon / 256.0},
    {"oz", Quantity::Volume, kGallon / 128.0},
    {"cup", Quantity::Volume, kGallon / 16.0},
    {"pt", Quantity::Volume, kGallon / 8.0},
    {"us_pt", Quantity::Volume, kGallon / 8.0},
    {"uk_pt", Quantity::Volume, kImperialGallon / 8.0},
    {"qt", Quantity::Volume, kGallon / 4.0},
    {"uk_qt", Quantity::Volume, kImperialGallon / 4.0},
    {"gal", Quantity::Volume, kGallon},
    {"uk_gal", Quantity::Volume, kImperialGallon},
    {"l", Quantity::Volume, 1e-3, 1},
    {"L", Quantity::Volume, 1e-3, 1},
    {"lt", Quantity::Volume, 1e-3, 1},
    {"ang3", Quantity::Volume, cube(kAngstrom), 3},
    {"ang^3", Quantity::Volume, cube(kAngstrom), 3},
    {"barrel", Quantity::Volume, 42.0 * kGallon},
    {"bushel", Quantity::Volume, 2150.42 * kCubicInch},
    {"ft3", Quantity::Volume, cube(kFoot)},
    {"ft^3", Quantity::Volume, cube(kFoot)},
    {"in3", Quantity::Volume, kCubicInch},
    {"in^3", Quantity::Volume, kCubicInch},
    {"ly3", Quantity::Volume, cube(kLightYear)},
    {"ly^3", Quantity::Volume, cube(kLightYear)},
    {"m3", Quantity::Volume, 1.0, 3},
    {"m^3", Quantity::Volume, 1.0, 3},
    {"mi3", Quantity::Volume, cube(kMile)},
    {"mi^3", Quantity::Volume, cube(kMile)},
    {"yd3", Quantity::Volume, cube(kYard)},
    {"yd^3", Quantity::Volume, cube(kYard)},
    {"Nmi3", Quantity::Volume, cube(kNauticalMile)},
    {"Nmi^3", Quantity::Volume, cube(kNauticalMile)},
    {"Picapt3", Quantity::Volume, cube(kPoint)},
    {"Picapt^3", Quantity::Volume, cube(kPoint)},
    {"Pica3", Quantity::Volume, cube(kPoint)},
    {"Pica^3", Quantity::Volume, cube(kPoint)},
    {"GRT", Quantity::Volume, 100.0 * cube(kFoot)},
    {"regton", Quantity::Volume, 100.0 * cube(kFoot)},
    {"MTON", Quantity::Volume, 40.0 * cube(kFoot)},

    {"uk_acre", Quantity::Area, 4840.0 * square(kYard)},
    {"us_acre", Quantity::Area, 43560.0 * square(kSurveyFoot)},
    {"ang2", Quantity::Area, square(kAngstrom), 2},
    {"ang^2", Quantity::Area, square(kAngstrom), 2},
    {"ar", Quantity::Area, 100.0, 1},
    {"ft2", Quantity::Area, square(kFoot)},
    {"ft^2", Quantity::Area, square(kFoot)},
    {"ha", Quantity::Area, 10000.0},
    {"in2", Quantity::Area, square(kInch)},
    {"in^2", Quantity::Area, square(kInch)},
    {"ly2", Quantity::Area, square(kLightYear)},
    {"ly^2", Quantity::Area, square(kLightYear)},
    {"m2", Quantity::Area, 1.0, 2},
    {"m^2", Quantity::Area, 1.0, 2},
    {"Morgen", Quantity::Area, 2500.0},
    {"mi2", Quantity::Area, square(kMile)},
    {"mi^2", Quantity::Area, square(kMile)},
    {"Nmi2", Quantity::Area, square(kNauticalMile)},
    {"Nmi^2", Quantity::Area, square(kNauticalMile)},
    {"Picapt2", Quantity::Area, square(kPoint)},
    {"Picapt^2", Quantity::Area, square(kPoint)},
    {"Pica2", Quantity::Area, square(kPoint)},
    {"Pica^2", Quantity::Area, square(kPoint)},
    {"yd2", Quantity::Area, square(kYard)},
    {"yd^2", Quantity::Area, square(kYard)},

    {"bit", Quantity::Data, 1.0, 1},
    {"byte", Quantity::Data, 8.0, 1},

    {"admkn", Quantity::Speed, 6080.0 * kFoot / 3600.0},
    {"kn", Quantity::Speed, kNauticalMile / 3600.0},
    {"m/h", Quantity::Speed, 1.0 / 3600.0, 1},
    {"m/hr", Quantity::Speed, 1.0 / 3600.0, 1},
    {"m/s", Quantity::Speed, 1.0, 1},
    {"m/sec", Quantity::Speed, 1.0, 1},
    {"mph", Quantity::Speed, kMile / 3600.0},
};

struct Prefix {
    std::string_view name;
    double factor;
    bool binary = false;
};

constexpr Prefix kPrefixes[] = {
    {"Y", 1e24},          {"Z", 1e21},          {"E", 1e18},          {"P", 1e15},
    {"T", 1e12},          {"G", 1e9},           {"M", 1e6},           {"k", 1e3},
    {"h", 1e2},           {"da", 1e1},          {"e", 1e1},           {"d", 1e-1},
    {"c", 1e-2},          {"m", 1e-3},          {"u", 1e-6},          {"n", 1e-9},
    {"p", 1e-12},         {"f", 1e-15},         {"a", 1e-18},         {"z", 1e-21},
    {"y", 1e-24},         {"ki", 0x1p10, true}, {"Mi", 0x1p20, true}, {"Gi", 0x1p30, true},
    {"Ti", 0x1p40, true}, {"Pi", 0x1p50, true}, {"Ei", 0x1p60, true}, {"Zi", 0x1p70, true},
    {"Yi", 0x1p80, true},
};

struct Scale {
    Quantity quantity;
    double factor;
    double origin;
};

const Unit* findUnit(std::string_view name)
{
    for (const Unit& unit : kUnits)
        if (unit.name == name) return &unit;
    return nullptr;
}

double raised(double x, int exponent)
{
    double result = x;
    for (int i = 1; i < exponent; ++i) result *= x;
    return result;
}

/// A unit by its plain name, else by a prefix and the name of a unit that takes it.
std::optional<Scale> readUnit(std::string_view name)
{
    if (const Unit* unit = findUnit(name)) return Scale{unit->quantity, unit->factor, unit->origin};
    for (const Prefix& prefix : kPrefixes) {
        if (!name.starts_with(prefix.name)) continue;
        const Unit* unit = findUnit(name.substr(prefix.name.size()));
        if (unit == nullptr || unit->prefixes == 0) continue;
        if (prefix.binary && unit->quantity != Quantity::Data) continue;
        return Scale{unit->quantity, unit->factor * raised(prefix.factor, unit->prefixes), unit->origin};
    }
    return std::nullopt;
}

} // namespace

std::optional<double> convertUnits(double x, std::string_view from, std::string_view to)
{
    const auto source = readUnit(from), target = readUnit(to);
    if (!source || !target || source->quantity != target->quantity) return std::nullopt;
    if (from == to) return x;
    if (source->quantity == Quantity::Heat)
        return (x * source->factor + source->origin - target->origin) / target->factor;
    return x * source->factor / target->factor;
}

} // namespace varnex3::sheet
