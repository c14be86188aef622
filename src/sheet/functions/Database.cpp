// sheet/functions/Database.cpp - summaries of the records of a list that meet a table of criteria.
//
// A list is a block whose first row names its fields. Criteria are a block of the same kind: a record has
// to meet every condition of a row, and one row is enough. How a single condition is read is with Criterion.
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sheet/format/Convert.h"
#include "sheet/functions/Block.h"
#include "sheet/functions/Criterion.h"
#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

struct Condition {
    std::int32_t field = 0; // column of the list
    Criterion criterion;
};
using Conditions = std::vector<Condition>; // all of them have to hold

/// The field of that name in any case, or nothing.
std::optional<std::int32_t> fieldNamed(const Block& list, const Value& name)
{
    const Value wanted = toText(name);
    if (!wanted.isText() || wanted.text().empty()) return std::nullopt;
    for (std::int32_t c = 0; c < list.cols(); ++c) {
        const Value heading = toText(list.at(0, c));
        if (heading.isText() && equalTexts(heading.text(), wanted.text())) return c;
    }
    return std::nullopt;
}

/// A text without an operator asks for texts that begin with it; COUNTIF and its kin take the whole text.
Value asListCriterion(const Value& v, DateSystem dates)
{
    if (!v.isText() || v.text().empty()) return v;
    const std::string& text = v.text();
    const bool plain = text.find_first_of("=<>") != 0 && !numberFromText(text, dates) &&
                       !equalTexts(text, "TRUE") && !equalTexts(text, "FALSE") && !parseFailure(text);
    return plain ? Value(text + "*") : v;
}

bool isBlank(const Value& v) { return v.isEmpty() || (v.isText() && v.text().empty()); }

/// The records of a call's list that meet its criteria.
class Records {
public:
    explicit Records(Call& call) : list_(Block(call, 0).manageable())
    {
        findField(call);
        if (!failure_) readCriteria(call);
    }

    std::optional<Failure> failure() const { return failure_; }
    bool hasField() const { return field_ >= 0; }

    /// Visits the field of every record that meets the criteria until the visitor answers false.
    template <class Visitor>
    void visit(Visitor visitor) const
    {
        for (std::int32_t r = 1; r < list_.rows(); ++r)
            if (fits(r) && !visitor(field_ >= 0 ? list_.at(r, field_) : Value())) return;
    }

private:
    void findField(Call& call)
    {
        const Value& field = call.value(1);
        if (!call.given(1) || field.isEmpty()) return;
        if (field.isText()) {
            field_ = fieldNamed(list_, field).value_or(-1);
        } else {
            const double n = std::trunc(field.number());
            if (n >= 1.0 && n <= list_.cols()) field_ = static_cast<std::int32_t>(n) - 1;
        }
        if (field_ < 0) failure_ = Failure::Value;
    }

    void readCriteria(Call& call)
    {
        const Block table = Block(call, 2).manageable();
        if (table.rows() < 2) failure_ = Failure::Value;
        for (std::int32_t r = 1; r < table.rows(); ++r) {
            Conditions row;
            for (std::int32_t c = 0; c < table.cols(); ++c) {
                const Value condition = table.at(r, c);
                if (isBlank(condition)) continue;
                const auto field = fieldNamed(list_, table.at(0, c));
                if (!field) { // a formula to be worked out record by record, or a misspelt field
                    failure_ = Failure::Value;
                    return;
                }
                row.push_back({*field, Criterion(asListCriterion(condition, call.dates()), call.dates())});
            }
            rows_.push_back(std::move(row));
        }
    }

    bool fits(std::int32_t record) const
    {
        for (const Conditions& row : rows_) {
            bool all = true;
            for (const Condition& c : row) all = all && c.criterion.fits(list_.at(record, c.field));
            if (all) return true;
        }
        return false;
    }

    Block list_;
    std::int32_t field_ = -1; // column of the list; -1: none was asked for
    std::vector<Conditions> rows_;
    std::optional<Failure> failure_;
};

/// The numbers of the field in the records that fit, or the first failure among them.
struct Numbers {
    std::vector<double> x;
    std::optional<Failure> failure;

    double sum() const
    {
        double total = 0.0;
        for (double v : x) total += v;
        return total;
    }
    double squaredDeviations() const
    {
        const double mean = sum() / static_cast<double>(x.size());
        double total = 0.0;
        for (double v : x) total += (v - mean) * (v - mean);
        return total;
    }
};

Numbers numbersOf(Call& call)
{
    Numbers found;
    const Records records(call);
    found.failure = records.failure();
    if (!found.failure && !records.hasField()) found.failure = Failure::Value;
    if (found.failure) return found;
    records.visit([&](const Value& v) {
        if (v.isNumber()) found.x.push_back(v.number());
        if (v.isFailure()) found.failure = v.failure();
        return !found.failure;
    });
    return found;
}

Value dsum(Call& call)
{
    const Numbers found = numbersOf(call);
    return found.failure ? Value(*found.failure) : finite(found.sum());
}

Value daverage(Call& call)
{
    const Numbers found = numbersOf(call);
    if (found.failure) return *found.failure;
    return found.x.empty() ? Value(Failure::Div0) : finite(found.sum() / static_cast<double>(found.x.size()));
}

Value dproduct(Call& call)
{
    const Numbers found = numbersOf(call);
    if (found.failure) return *found.failure;
    double product = found.x.empty() ? 0.0 : 1.0;
    for (double v : found.x) product *= v;
    return finite(product);
}

template <bool largest>
Value dextreme(Call& call)
{
    const Numbers found = numbersOf(call);
    if (found.failure) return *found.failure;
    double best = found.x.empty() ? 0.0 : found.x.front();
    for (double v : found.x)
        if (largest ? v > best : v < best) best = v;
    return best;
}

/// Variance or its root, of a sample (divided by n - 1) or of a population (divided by n).
template <bool sample, bool root>
Value dspread(Call& call)
{
    const Numbers found = numbersOf(call);
    if (found.failure) return *found.failure;
    const double divisor = static_cast<double>(found.x.size()) - (sample ? 1.0 : 0.0);
    if (divisor <= 0.0) return Failure::Div0;
    const double variance = found.squaredDeviations() / divisor;
    return finite(root ? std::sqrt(variance) : variance);
}

/// Counts numbers, or whatever is not empty; without a field, the records.
template <bool numbersOnly>
Value dcount(Call& call)
{
    const Records records(call);
    if (records.failure()) return *records.failure();
    double count = 0.0;
    records.visit([&](const Value& v) {
        if (!records.hasField() || (numbersOnly ? v.isNumber() : !v.isEmpty())) count += 1.0;
        return true;
    });
    return count;
}

Value dget(Call& call)
{
    const Records records(call);
    if (records.failure() || !records.hasField()) return records.failure().value_or(Failure::Value);
    std::vector<Value> found;
    records.visit([&](const Value& v) {
        found.push_back(v);
        return found.size() < 2;
    });
    if (found.size() > 1) return Failure::Num;
    return found.empty() ? Value(Failure::Value) : found.front();
}

constexpr ParameterList kList = {range(), scalar(), range()};

// clang-format off
constexpr FunctionRow rows[] = {
//   name         arguments  trait        body                    summary                                                    example                                                                        shows
    {"DAVERAGE",  kList,     Trait::Pure, daverage,               "mean of a field over the records that meet criteria",     "=DAVERAGE({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",8}, \"Yield\", {\"Tree\";\"Apple\"})",      "11"},
    {"DCOUNT",    kList,     Trait::Pure, dcount<true>,           "how many records that meet criteria hold a number",       "=DCOUNT({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",\"?\"}, \"Yield\", {\"Tree\";\"Apple\"})",     "1"},
    {"DCOUNTA",   kList,     Trait::Pure, dcount<false>,          "how many records that meet criteria are not empty",       "=DCOUNTA({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",\"?\"}, \"Yield\", {\"Tree\";\"Apple\"})",    "2"},
    {"DGET",      kList,     Trait::Pure, dget,                   "the field of the only record that meets criteria",        "=DGET({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",8}, \"Yield\", {\"Tree\";\"Pear\"})",           "10"},
    {"DMAX",      kList,     Trait::Pure, dextreme<true>,         "largest number of a field in records that meet criteria", "=DMAX({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",8}, \"Yield\", {\"Tree\";\"Apple\"})",          "14"},
    {"DMIN",      kList,     Trait::Pure, dextreme<false>,        "least number of a field in records that meet criteria",   "=DMIN({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",8}, \"Yield\", {\"Tree\";\"Apple\"})",          "8"},
    {"DPRODUCT",  kList,     Trait::Pure, dproduct,               "product of a field over the records that meet criteria",  "=DPRODUCT({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",8}, 2, {\"Tree\";\"Apple\"})",              "112"},
    {"DSTDEV",    kList,     Trait::Pure, (dspread<true, true>),  "standard deviation of a field, as of a sample",           "=DSTDEV({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",8;\"Apple\",11}, \"Yield\", {\"Tree\";\"Apple\"})",  "3"},
    {"DSTDEVP",   kList,     Trait::Pure, (dspread<false, true>), "standard deviation of a field, as of a population",       "=DSTDEVP({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",8}, \"Yield\", {\"Tree\";\"Apple\"})",       "3"},
    {"DSUM",      kList,     Trait::Pure, dsum,                   "sum of a field over the records that meet criteria",      "=DSUM({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",8}, \"Yield\", {\"Tree\",\"Yield\";\"Apple\",\">8\";\"Pear\",\"\"})", "24"},
    {"DVAR",      kList,     Trait::Pure, (dspread<true, false>), "variance of a field, as of a sample",                     "=DVAR({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",8}, \"Yield\", {\"Tree\";\"Apple\"})",          "18"},
    {"DVARP",     kList,     Trait::Pure, (dspread<false, false>),"variance of a field, as of a population",                 "=DVARP({\"Tree\",\"Yield\";\"Apple\",14;\"Pear\",10;\"Apple\",8}, \"Yield\", {\"Tree\";\"Apple\"})",         "9"},
};
// clang-format on
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> databaseFunctions() { return rows; }

} // namespace varnex3::sheet
