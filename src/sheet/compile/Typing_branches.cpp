// sheet/compile/Typing_branches.cpp - IF and its like, and values in place of errors.
//
// Everything becomes IFs of two values. An error is where a result is no finite number: Try and Holds turn it
// into a condition. That is sound only where nothing but an error has no number, so whatever may be a text or
// the like is refused inside.
#include <algorithm>
#include <cmath>

#include "sheet/compile/TypingImpl.h"

namespace varnex3::sheet {

bool Typist::branching(std::size_t at)
{
    const Instruction& in = code_.instructions[at];
    switch (in.op) {
    case Op::IfTest: return !anyStops(1) && ifTest();
    case Op::IfThen: return ifThen();
    case Op::IfEnd: return ifEnd();
    case Op::ErrorTest: {
        const Instruction& next = code_.instructions[at + 1];
        if (next.op != Op::Jump) return !anyStops(1) && ifError(in.detail != 0);
        // SWITCH goes past its cases when what it compares is an error.
        const Entry& selector = stack_.back();
        if (anyStops(1) || selector.isArea || selector.kind != Kind::Number) return false;
        cases_.push_back({selector.operand});
        return true;
    }
    case Op::ErrorEnd: return ifEnd();
    case Op::Choose: return !anyStops(1) && choose(in.count);
    case Op::SwitchTest: return switchTest();
    case Op::Exchange: return switchEnd();
    case Op::Jump:
        if (code_.instructions[at - 1].op == Op::ErrorTest) return true;
        return cases_.back().values > 0 ? nextChoice() : ifThen();
    default: return false;
    }
}

/// Whether one of the topmost values is nothing to calculate with.
bool Typist::anyStops(std::size_t count) const
{
    return std::any_of(stack_.end() - static_cast<std::ptrdiff_t>(count), stack_.end(),
                       [](const Entry& e) { return e.stops; });
}

/// A reference to a cell that a branch gives becomes its number.
bool Typist::single(Entry& e)
{
    if (!e.isArea) return true;
    if (code_.places[e.operand.index].extent != Extent::Cell) return false;
    e = {read(e.operand.index, false)};
    typed_.readings.back().allowsEmpty = false; // the one who takes the reference may leave it out
    return true;
}

bool Typist::ifTest()
{
    if (!single(stack_.back())) return false;
    const Operand condition = arithmetic(stack_.back());
    emit(TypedOp::JumpIfZero, condition);
    Branch branch;
    branch.otherwise = typed_.steps.size() - 1;
    branches_.push_back(branch);
    label();
    return true;
}

bool Typist::ifThen()
{
    Entry& first = stack_.back();
    if (!single(first)) return false;
    if (first.stops && first.kind != Kind::Failure) first.operand = emit(TypedOp::Stop, first.operand).d;
    Branch& branch = branches_.back();
    branch.kind = first.kind;
    branch.stops = first.stops;
    branch.result = emit(TypedOp::Copy, first.operand).d;
    emit(TypedOp::Jump, {});
    branch.end = typed_.steps.size() - 1;
    typed_.steps[branch.otherwise].target = label();
    return true;
}

bool Typist::ifEnd()
{
    const Branch branch = branches_.back();
    branches_.pop_back();
    Entry second = pop();
    if (!single(second) || (branch.stops && second.stops)) return false;
    if (!branch.stops && !second.stops && second.kind != branch.kind) return false;
    if (second.stops && second.kind != Kind::Failure) second.operand = emit(TypedOp::Stop, second.operand).d;
    emit(TypedOp::Copy, second.operand).d = branch.result;
    typed_.steps[branch.end].target = label();
    stack_.resize(stack_.size() - 2);
    push(branch.result, branch.stops ? second.kind : branch.kind);
    return true;
}

/// CHOOSE(i, v1, v2, ...) is IF(i = 1, v1, IF(i = 2, v2, ... an error)), i cut to a whole number.
bool Typist::choose(std::size_t values)
{
    if (!single(stack_.back())) return false;
    Step& whole = emit(TypedOp::One, arithmetic(pop()));
    whole.one = [](double x) { return std::trunc(x); };
    cases_.push_back({whole.d, values, 0});
    push(emit(TypedOp::Equal, cases_.back().selector, constant(1.0)).d, Kind::Boolean);
    return ifTest();
}

bool Typist::nextChoice()
{
    if (!ifThen()) return false;
    Cases& cases = cases_.back();
    if (++cases.done < cases.values) {
        const Operand number = constant(static_cast<double>(cases.done + 1));
        push(emit(TypedOp::Equal, cases.selector, number).d, Kind::Boolean);
        return ifTest();
    }
    stack_.push_back({constant(std::nan("")), Kind::Failure, false, true});
    for (std::size_t k = 0; k < cases.values; ++k)
        if (!ifEnd()) return false;
    cases_.pop_back();
    return true;
}

bool Typist::switchTest()
{
    const Entry candidate = pop();
    if (candidate.isArea || candidate.stops || candidate.kind != Kind::Number) return false;
    ++cases_.back().done;
    push(emit(TypedOp::Equal, cases_.back().selector, candidate.operand).d, Kind::Boolean);
    return ifTest();
}

/// The value for all else is on top, below all tests what was compared.
bool Typist::switchEnd()
{
    for (std::size_t k = 0; k < cases_.back().done; ++k)
        if (!ifEnd()) return false;
    cases_.pop_back();
    const Entry result = pop();
    stack_.back() = result;
    return true;
}

/// Whether INDEX gives a number or an error: a row or column 0 would mean all of them.
bool Typist::maySucceed(const Step& pick) const
{
    const auto isPosition = [&](const Operand& o) {
        if (o.from == From::Constant) return typed_.constants[o.index] >= 1.0;
        return std::any_of(typed_.steps.begin(), typed_.steps.end(), [&](const Step& step) {
            return step.d == o && step.op == TypedOp::Find && !typed_.tables[step.table].hasValues &&
                   typed_.tables[step.table].line == 0;
        });
    };
    return isPosition(pick.a) && isPosition(pick.b);
}

/// Puts a Try before a step.
void Typist::insertTry(std::size_t at)
{
    for (Step& step : typed_.steps)
        if ((isJump(step.op) || (step.op == TypedOp::Holds && step.target != kNoHolds)) && step.target > at)
            ++step.target;
    for (std::size_t& start : starts_)
        if (start > at) ++start;
    Step opening;
    opening.op = TypedOp::Try;
    typed_.steps.insert(typed_.steps.begin() + static_cast<std::ptrdiff_t>(at), opening);
}

/// 1 where the value on top of the stack is a number, 0 where it is an error; nothing when that cannot be
/// told.
/// @param onlyNA  0 only where the error is #N/A: where a search that ends the value finds nothing
std::optional<TypedOperand> Typist::holds(const Entry& e, bool onlyNA)
{
    if (e.isArea) return std::nullopt;
    std::size_t start = starts_[static_cast<std::size_t>(&e - stack_.data())];
    Operand sure = constant(1.0); // a number, or the error is not the one meant
    if (onlyNA && start < typed_.steps.size()) {
        const Step& last = typed_.steps.back();
        if (last.op != TypedOp::Find || last.d != e.operand) return std::nullopt;
        start = typed_.steps.size() - 1;
        sure = last.a;
    } else if (onlyNA) {
        sure = e.operand;
    }
    for (std::size_t k = start; k < typed_.steps.size(); ++k) {
        const Step& step = typed_.steps[k];
        if (step.op == TypedOp::Stop || (step.op == TypedOp::Pick && !maySucceed(step))) return std::nullopt;
        if (step.op == TypedOp::Find || step.op == TypedOp::Pick)
            typed_.tables[step.table].numbersOnly = true;
    }
    const bool tries = start < typed_.steps.size();
    if (tries) insertTry(start);
    Step& step = emit(TypedOp::Holds, e.operand, sure);
    step.target = kNoHolds;
    const Operand flag = step.d;
    const auto here = static_cast<std::uint32_t>(typed_.steps.size() - 1);
    if (tries) {
        typed_.steps[start].target = here;
        for (std::size_t k = start + 1; k < here; ++k)
            if (typed_.steps[k].op == TypedOp::Holds && typed_.steps[k].target == kNoHolds)
                typed_.steps[k].target = here;
    }
    label();
    return flag;
}

/// IFERROR and IFNA: IF(it is a number, that number, the other value).
bool Typist::ifError(bool onlyNA)
{
    const auto flag = holds(stack_.back(), onlyNA);
    if (!flag) return false;
    const Entry value = pop();
    push(*flag, Kind::Boolean);
    if (!ifTest()) return false;
    stack_.push_back(value);
    return ifThen();
}

/// A comparison of a cell with a text; false when it is another operation.
bool Typist::compareText(const Instruction& in)
{
    const auto op = static_cast<Operator>(in.detail);
    if (op < Operator::Equal || op > Operator::GreaterEqual) return false;
    const Entry &b = stack_.back(), &a = stack_[stack_.size() - 2];
    const bool textFirst = a.stops;
    const Entry &text = textFirst ? a : b, &cell = textFirst ? b : a;
    if (!text.stops || text.kind != Kind::Text || cell.stops || cell.isArea ||
        cell.operand.from != From::Place)
        return false;
    const Operand place = cell.operand;
    typed_.readings[place.index].allowsAny = true;
    TypedComparison comparison{kNoSlot, code_.constants[text.value], op, textFirst, kNoSlot};
    typed_.questions.push_back({place.index, 0, std::move(comparison)});
    const Operand answer{From::Question, static_cast<std::uint32_t>(typed_.questions.size() - 1)};
    stack_.resize(stack_.size() - 2);
    push(emit(TypedOp::Given, answer, place).d, Kind::Boolean);
    return true;
}

/// ISNUMBER, ISERROR and their like of a cell or of a number that is worked out.
bool Typist::question(const CallSite& site)
{
    struct Row {
        std::string_view name;
        std::uint8_t kinds;       // of a cell, for which the answer is yes
        bool ofNumber, ofFailure; // the answers for what is worked out
    };
    const auto bit = [](Kind k) { return static_cast<std::uint8_t>(1U << static_cast<unsigned>(k)); };
    const auto except = [](std::uint8_t kinds) { return static_cast<std::uint8_t>(~kinds); };
    const Row rows[] = {
        {"ISNUMBER", bit(Kind::Number), true, false},
        {"ISBLANK", bit(Kind::Empty), false, false},
        {"ISTEXT", bit(Kind::Text), false, false},
        {"ISNONTEXT", except(bit(Kind::Text)), true, true},
        {"ISLOGICAL", bit(Kind::Boolean), false, false},
        {"ISERROR", bit(Kind::Failure), false, true},
        {"ISNA", 0, false, true},
    };
    const auto row = std::find_if(std::begin(rows), std::end(rows),
                                  [&](const Row& r) { return r.name == site.row->name; });
    const Entry e = stack_.back();
    if (row == std::end(rows) || e.isArea || e.kind != Kind::Number) return false;
    if (e.operand.from == From::Place) {
        if (row->kinds == 0) return false;
        TypedTemplate::Reading& reading = typed_.readings[e.operand.index];
        reading.allowsAny = true;
        typed_.questions.push_back({e.operand.index, row->kinds, std::nullopt});
        const Operand answer{From::Question, static_cast<std::uint32_t>(typed_.questions.size() - 1)};
        pop();
        if (row->ofNumber == row->ofFailure) {
            push(emit(TypedOp::Given, answer, e.operand).d, Kind::Boolean);
            return true;
        }
        // Where it is a number, trials in blocks may turn it into an error.
        Step& step = emit(TypedOp::Holds, e.operand, constant(1.0));
        step.target = kNoHolds;
        const Operand flag = step.d;
        push(row->ofNumber ? emit(TypedOp::Both, answer, flag).d
                           : emit(TypedOp::Either, answer, emit(TypedOp::Not, flag).d).d,
             Kind::Boolean);
        return true;
    }
    if (row->ofNumber == row->ofFailure) {
        pop();
        push(emit(TypedOp::Given, constant(row->ofNumber ? 1.0 : 0.0), e.operand).d, Kind::Boolean);
        return true;
    }
    const auto flag = holds(stack_.back(), row->name == "ISNA");
    if (!flag) return false;
    pop();
    push(row->ofNumber ? *flag : emit(TypedOp::Not, *flag).d, Kind::Boolean);
    return true;
}

} // namespace varnex3::sheet
