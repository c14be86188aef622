// cli/StudyDistributions.cpp - reading distributions, correlations and Monte Carlo settings.
#include "StudyDistributions.h"

#include <cctype>
#include <set>
#include <utility>

#include "StudySection.h"
#include "stats/distributions/Family.h"

namespace varnex3::cli {
namespace {

/// The family of that name; case does not count, a name that is none is refused with the nearest one.
const Family& familyNamed(const std::string& name, const Place& place)
{
    if (const Family* family = findFamily(name)) return *family;
    std::set<std::string> known;
    for (const Family* family : families()) known.insert(std::string(family->name));
    const std::string near = nearest(name, known);
    std::string list;
    for (const Family* family : families()) list += (list.empty() ? "" : ", ") + std::string(family->name);
    throw Refused(place, fmt::format("there is no distribution \"{}\"; {}", name,
                                     near.empty() ? "the distributions are " + list
                                                  : fmt::format("did you mean \"{}\"?", near)));
}

/// A family parameter that takes many numbers: a list, or an area of cells.
void readData(Section& section, const std::string& key, bool needed, NumberOrCell& cells,
              std::vector<double>& numbers)
{
    cells.place = section.placeOf(key);
    const toml::node* node = needed ? &section.require(key) : section.find(key);
    if (!node) return;
    if (const auto area = node->value_exact<std::string>())
        cells.value = *area;
    else
        numbers = section.numbers(key);
}

StudyComponent readComponent(Section section)
{
    StudyComponent c;
    c.place = section.place();
    c.family = section.text("type");
    const Family& family = familyNamed(c.family, section.placeOf("type"));
    for (std::size_t i = 0; i < family.parameters.size(); ++i) {
        const FamilyParameter& parameter = family.parameters[i];
        if (parameter.text.empty()) break;
        const std::string key = parameterKey(parameter.text);
        const bool needed = std::isnan(parameter.standard);
        if (parameter.data) {
            readData(section, key, needed, c.params[i], c.data.at(i));
            continue;
        }
        if (needed) section.require(key);
        c.params[i] = section.numberOrCell(key);
    }
    c.ltl = section.numberOrCell("ltl");
    c.utl = section.numberOrCell("utl");
    c.weight = section.number("weight", 1.0);
    if (!(c.weight > 0.0)) throw Refused(section.placeOf("weight"), "a weight must be greater than 0");
    section.finish();
    return c;
}

bool isSearched(const std::string& type) { return type != "Noise" && type != "Constant"; }

/// A searched parameter varies around the value under study with its `stdev`: only the shape can be chosen.
StudyComponent readShape(Section& parameter)
{
    StudyComponent c;
    c.place = parameter.placeOf("distribution");
    c.family = parameter.text("distribution");
    requireOneOf(parameter, "distribution", c.family, {"Normal", "Uniform"});
    return c;
}

} // namespace

std::string parameterKey(std::string_view text)
{
    std::string key;
    for (char c : text)
        key += c == ' ' ? '_' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const std::string spelledOut = "standard_deviation";
    if (const auto at = key.find(spelledOut); at != std::string::npos)
        key.replace(at, spelledOut.size(), "stdev");
    return key;
}

std::vector<StudyComponent> readDistribution(Section& parameter, const std::string& type)
{
    const toml::node* node = parameter.find("distribution");
    if (!node) return {};
    const Place place = parameter.placeOf("distribution");
    if (type == "Constant") throw Refused(place, "a \"Constant\" parameter does not vary");
    if (isSearched(type)) {
        if (!node->is_string())
            throw Refused(place, "a searched parameter varies around its value: write \"Normal\" or "
                                 "\"Uniform\" and give its stdev");
        return {readShape(parameter)};
    }
    std::vector<StudyComponent> components;
    if (const toml::table* one = node->as_table()) {
        components.push_back(readComponent(Section(*one, place.file, place.key)));
    } else if (node->is_array()) {
        for (const toml::node& item : *node->as_array()) {
            const std::string key = fmt::format("{}[{}]", place.key, components.size() + 1);
            if (!item.is_table())
                throw Refused(Place{place.file, lineOf(item), key},
                              "each component of a mixture is a table, not " + typeName(item));
            components.push_back(readComponent(Section(*item.as_table(), place.file, key)));
        }
    }
    if (components.empty())
        throw Refused(place, "write { type = \"Normal\", mean = 10, stdev = 0.1 }, or a list of such tables");
    return components;
}

StudyMonteCarlo readMonteCarlo(Section& top)
{
    StudyMonteCarlo m;
    std::optional<Section> found = top.section("monte_carlo");
    if (!found) return m;
    Section& section = *found;
    m.trials = section.wholeNumber("trials", m.trials);
    m.sampleSize = section.wholeNumber("sample_size", m.sampleSize);
    m.sampleSizePlace = section.placeOf("sample_size");
    m.seed = section.wholeNumber("seed", m.seed);
    const std::string sampling = section.text("sampling", "lhs");
    requireOneOf(section, "sampling", sampling, {"lhs", "random"});
    m.latinHypercube = sampling == "lhs";
    m.alpha = section.number("alpha", m.alpha);
    for (const char* key : {"trials", "sample_size"})
        if (section.find(key) && section.wholeNumber(key, 0) < 50)
            throw Refused(section.placeOf(key), "50 or more are needed");
    if (section.find("seed") && m.seed < 1) throw Refused(section.placeOf("seed"), "a seed is 1 or more");
    if (!(m.alpha > 0.0 && m.alpha < 1.0))
        throw Refused(section.placeOf("alpha"), "a significance level lies between 0 and 1, such as 0.05");
    section.finish();
    return m;
}

namespace {

void requireNoise(const std::string& id, const Place& place, const std::vector<StudyParameter>& parameters)
{
    std::set<std::string> ids;
    for (const StudyParameter& p : parameters) {
        if (p.id == id && p.type == "Noise") return;
        if (p.id == id)
            throw Refused(place,
                          fmt::format("\"{}\" is a \"{}\" parameter; only \"Noise\" ones can be correlated",
                                      id, p.type));
        ids.insert(p.id);
    }
    const std::string near = nearest(id, ids);
    throw Refused(place, fmt::format("there is no parameter \"{}\"{}", id,
                                     near.empty() ? "" : fmt::format("; did you mean \"{}\"?", near)));
}

} // namespace

std::vector<StudyCorrelation> readCorrelations(Section& top, const std::vector<StudyParameter>& parameters)
{
    std::vector<StudyCorrelation> list;
    const std::optional<Section> found = top.section("correlations");
    if (!found) return list;
    std::set<std::pair<std::string, std::string>> seen;
    for (const auto& [key, node] : found->table()) {
        const std::string first(key.str());
        const Place rowPlace = found->placeOf(first);
        requireNoise(first, rowPlace, parameters);
        if (!node.is_table())
            throw Refused(rowPlace, fmt::format("write {} = {{ other = 0.8 }}, one number for each parameter "
                                                "that it is correlated with",
                                                first));
        const Section row(*node.as_table(), rowPlace.file, rowPlace.key);
        for (const auto& [otherKey, number] : row.table()) {
            const std::string second(otherKey.str());
            const Place place = row.placeOf(second);
            requireNoise(second, place, parameters);
            if (second == first)
                throw Refused(place, "a parameter is not correlated with itself; remove the entry");
            if (!seen.insert(std::minmax(first, second)).second)
                throw Refused(place, fmt::format("the pair \"{}\", \"{}\" stands twice", first, second));
            const double r = Section::asNumber(number, place);
            if (!(r >= -1.0 && r <= 1.0)) throw Refused(place, "a correlation lies between -1 and 1");
            list.push_back({place, first, second, r});
        }
    }
    return list;
}

} // namespace varnex3::cli
