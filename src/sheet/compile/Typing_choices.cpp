// sheet/compile/Typing_choices.cpp - the typed code of sums and counts under criteria.
//
// Only criteria about numbers: a number, or a text such as ">=2.5".
#include <charconv>
#include <string_view>

#include "sheet/compile/TypingImpl.h"

namespace varnex3::sheet {
namespace {

struct Written {
    TypedOp relation = TypedOp::Equal;
    double number = 0.0;
};

/// What a text asks for, where that is a comparison with a plain number.
std::optional<Written> readCriterion(std::string_view text)
{
    struct Operator {
        std::string_view sign;
        TypedOp relation;
    };
    static constexpr Operator kOperators[] = {
        {"<>", TypedOp::NotEqual}, {"<=", TypedOp::LessEqual}, {">=", TypedOp::GreaterEqual},
        {"=", TypedOp::Equal},     {"<", TypedOp::Less},       {">", TypedOp::Greater},
    };
    Written read;
    for (const Operator& candidate : kOperators) {
        if (!text.starts_with(candidate.sign)) continue;
        read.relation = candidate.relation;
        text.remove_prefix(candidate.sign.size());
        break;
    }
    constexpr std::size_t kMostDigits = 15; // all of them count
    const bool isPlain = !text.empty() && text.size() <= kMostDigits &&
                         text.find_first_not_of("0123456789.-") == std::string_view::npos;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read.number);
    if (!isPlain || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return read;
}

} // namespace

/// Takes a range of the stack and the criterion after it.
bool Typist::criterion(std::size_t range, TypedTemplate::Choice& choice)
{
    const Entry &tested = stack_[range], &asked = stack_[range + 1];
    if (!tested.isArea || asked.isArea) return false;
    TypedTemplate::Choice::Criterion made{0, TypedOp::Equal, asked.operand};
    if (asked.stops) {
        if (asked.kind != Kind::Text) return false;
        const auto read = readCriterion(code_.constants[asked.value].text());
        if (!read) return false;
        made.relation = read->relation;
        made.operand = constant(read->number);
    } else if (asked.kind != Kind::Number) {
        return false;
    }
    made.reading = read(tested.operand.index, true).index;
    typed_.readings.back().isGrid = true;
    choice.criteria.push_back(made);
    return true;
}

TypedOperand Typist::addChosen(TypedTemplate::Choice choice, bool counts)
{
    choice.counts = counts;
    typed_.choices.push_back(std::move(choice));
    const Operand first = temporary(), second = temporary();
    Step& step = emit(TypedOp::AddChosen, constant(0.0), {}, first, second);
    step.table = static_cast<std::uint32_t>(typed_.choices.size() - 1);
    return step.d;
}

/// COUNTIF, SUMIF, AVERAGEIF and the forms with several criteria.
bool Typist::chosen(const CallSite& site)
{
    const std::string_view name = site.row->name;
    const bool counts = name.starts_with("COUNTIF"), means = name.starts_with("AVERAGEIF");
    if ((!counts && !means && !name.starts_with("SUMIF")) || site.missing != 0) return false;
    const std::size_t first = stack_.size() - site.count;
    TypedTemplate::Choice choice;
    std::size_t values = first;
    if (name.back() == 'S') {
        for (std::size_t k = first + (counts ? 0 : 1); k < stack_.size(); k += 2)
            if (k + 1 == stack_.size() || !criterion(k, choice)) return false;
    } else {
        if (!criterion(first, choice)) return false;
        if (site.count > 2) values = first + 2;
    }
    if (!counts) {
        if (!stack_[values].isArea) return false;
        choice.values = read(stack_[values].operand.index, true).index;
        typed_.readings.back().isGrid = true;
    }
    Operand result = addChosen(choice, counts);
    if (means) result = emit(TypedOp::Divide, result, addChosen(choice, true)).d;
    drop(site.count, result);
    return true;
}

} // namespace varnex3::sheet
