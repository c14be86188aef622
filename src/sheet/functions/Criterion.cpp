// sheet/functions/Criterion.cpp - reads criteria and applies them.
#include "sheet/functions/Criterion.h"

#include "sheet/format/Convert.h"

namespace varnex3::sheet {

Criterion::Criterion(const Value& scalar, DateSystem dates) : dates_(dates)
{
    if (scalar.isEmpty()) {
        operand_ = Value(0.0);
    } else if (scalar.isText()) {
        readText(scalar.text());
    } else {
        operand_ = scalar;
    }
    fitsEmpty_ = fits(Value());
}

void Criterion::readText(std::string_view text)
{
    struct Operator {
        std::string_view sign;
        Relation relation;
    };
    static constexpr Operator kOperators[] = {
        {"<>", Relation::Different}, {"<=", Relation::LessEqual}, {">=", Relation::GreaterEqual},
        {"=", Relation::Equal},      {"<", Relation::Less},       {">", Relation::Greater},
    };
    for (const Operator& candidate : kOperators) {
        if (!text.starts_with(candidate.sign)) continue;
        relation_ = candidate.relation;
        written_ = true;
        text.remove_prefix(candidate.sign.size());
        break;
    }
    if (text.empty()) return;
    if (const auto x = numberFromText(text, dates_)) {
        operand_ = Value(*x);
    } else if (equalTexts(text, "TRUE") || equalTexts(text, "FALSE")) {
        operand_ = Value(text.size() == 4);
    } else if (const auto failure = parseFailure(text)) {
        operand_ = Value(*failure);
    } else {
        operand_ = Value(text);
        pattern_ = text.find_first_of("*?~") != std::string_view::npos;
    }
}

bool Criterion::fits(const Value& v) const
{
    switch (relation_) {
    case Relation::Equal: return equals(v);
    case Relation::Different: return !equals(v);
    default: return ordered(v);
    }
}

bool Criterion::equals(const Value& v) const
{
    switch (operand_.kind()) {
    case Kind::Empty: return v.isEmpty() || (!written_ && v.isText() && v.text().empty());
    case Kind::Number: {
        if (v.isNumber()) return compareValues(v, operand_) == 0;
        if (!v.isText() || v.text().empty()) return false;
        const auto x = numberFromText(v.text(), dates_);
        return x && *x == operand_.number();
    }
    case Kind::Boolean: return v.isBoolean() && v.boolean() == operand_.boolean();
    case Kind::Failure: return v.isFailure() && v.failure() == operand_.failure();
    case Kind::Text:
        if (!v.isText()) return false;
        return pattern_ ? matchesWildcard(v.text(), operand_.text()) : equalTexts(v.text(), operand_.text());
    default: return false;
    }
}

/// Orders hold among values of one kind only.
bool Criterion::ordered(const Value& v) const
{
    if (v.kind() != operand_.kind() || v.isEmpty() || v.isFailure()) return false;
    return holds(compareValues(v, operand_));
}

bool Criterion::holds(int order) const
{
    switch (relation_) {
    case Relation::Less: return order < 0;
    case Relation::LessEqual: return order <= 0;
    case Relation::Greater: return order > 0;
    default: return order >= 0;
    }
}

} // namespace varnex3::sheet
