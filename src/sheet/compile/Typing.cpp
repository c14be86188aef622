// sheet/compile/Typing.cpp - from stack code to three-address instructions over numbers.
//
// Operators are here, branches in Typing_branches.cpp, functions in Typing_calls.cpp, the instructions for a
// cell in Typing_cells.cpp.
#include "sheet/compile/Typing.h"

#include <algorithm>
#include <cmath>

#include "sheet/compile/TypingImpl.h"

namespace varnex3::sheet {

TypedTemplate Typist::run()
{
    if (code_.keepsStored || code_.isVolatile || code_.isDynamic) return {};
    for (std::size_t at = 0; code_.instructions[at].op != Op::End; ++at) {
        const std::size_t before = typed_.steps.size();
        if (!instruction(at)) return {};
        starts_.resize(stack_.size(), before);
        if (typed_.steps.size() > 2000) return {};
    }
    if (stack_.size() != 1 || stack_.back().isArea || stack_.back().stops) return {};
    typed_.value = stack_.back().operand;
    typed_.result = stack_.back().kind;
    typed_.possible = true;
    return std::move(typed_);
}

bool Typist::instruction(std::size_t at)
{
    const Instruction& in = code_.instructions[at];
    switch (in.op) {
    case Op::Constant: {
        const Value& v = code_.constants[in.operand];
        if (v.isNumber() || v.isBoolean()) {
            push(constant(v.number()), v.kind());
            return true;
        }
        if (!v.isText() && !v.isFailure()) return false;
        stack_.push_back({constant(std::nan("")), v.kind(), false, true, in.operand});
        return true;
    }
    case Op::Cell:
    case Op::Intersected:
        if (code_.places[in.operand].lastSheet >= 0) return false;
        push(read(in.operand, false));
        return true;
    case Op::Area:
        if (code_.places[in.operand].lastSheet >= 0) return false;
        stack_.push_back({{From::Nothing, in.operand}, Kind::Number, true});
        return true;
    case Op::Intersect:
    case Op::Dereference: return !stack_.back().isArea; // a number already
    case Op::Unary: return !anyStops(1) && unary(static_cast<Operator>(in.detail));
    case Op::Binary:
    case Op::FinalBinary: return compareText(in) || (!anyStops(2) && operation(in));
    case Op::Call: {
        const CallSite& site = code_.calls[in.operand];
        return chosen(site) || (anyStops(site.count) ? body(site) : call(site));
    }
    case Op::SetLocal:
        if (anyStops(1)) return false;
        locals_.resize(std::max(locals_.size(), std::size_t{in.operand} + 1));
        locals_[in.operand] = pop();
        label(); // no later step may take in the one whose result has a name
        return true;
    case Op::Local: {
        Entry e = locals_[in.operand];
        // Each use says by itself what kinds it takes.
        if (e.operand.from == From::Place) e.operand = read(typed_.readings[e.operand.index].place, false);
        stack_.push_back(e);
        return true;
    }
    default: return branching(at);
    }
}

bool Typist::unary(Operator op)
{
    const Entry a = pop();
    switch (op) {
    case Operator::Plus: stack_.push_back(a); return true;
    case Operator::Negate: push(emit(TypedOp::Negate, arithmetic(a)).d); return true;
    default: push(emit(TypedOp::Percent, arithmetic(a)).d); return true;
    }
}

bool Typist::operation(const Instruction& in)
{
    const bool final = in.op == Op::FinalBinary;
    switch (static_cast<Operator>(in.detail)) {
    case Operator::Add: sum(false, final); return true;
    case Operator::Subtract: sum(true, final); return true;
    case Operator::Multiply: binary(TypedOp::Multiply, Kind::Number); return true;
    case Operator::Divide: binary(TypedOp::Divide, Kind::Number); return true;
    case Operator::Power: binary(TypedOp::Power, Kind::Number); return true;
    case Operator::Concat: return false;
    default: {
        if (stack_.back().kind != Kind::Number || stack_[stack_.size() - 2].kind != Kind::Number)
            return false;
        const int offset = in.detail - static_cast<int>(Operator::Equal);
        const Entry b = pop(), a = pop();
        push(emit(static_cast<TypedOp>(static_cast<int>(TypedOp::Equal) + offset), a.operand, b.operand).d,
             Kind::Boolean);
        return true;
    }
    }
}

void Typist::binary(TypedOp op, Kind kind)
{
    const Operand b = arithmetic(pop());
    const Operand a = arithmetic(pop());
    const Step* first = op == TypedOp::Multiply || op == TypedOp::Divide ? product(a, 1) : nullptr;
    if (first == nullptr) return push(emit(op, a, b).d, kind);
    const TypedOp joined = op == TypedOp::Multiply ? TypedOp::ProductOfThree : TypedOp::ProductQuotient;
    const Operand x = first->a, y = first->b;
    typed_.steps.pop_back();
    push(emit(joined, x, y, b).d, kind);
}

const TypedTemplate::Step* Typist::product(Operand o, std::size_t back) const
{
    if (typed_.steps.size() < barrier_ + back) return nullptr;
    const Step& step = typed_.steps[typed_.steps.size() - back];
    return step.op == TypedOp::Multiply && step.d == o ? &step : nullptr;
}

/// A sum or difference, taking in the products just made: every temporary has one reader.
void Typist::sum(bool minus, bool final)
{
    const Operand b = arithmetic(pop());
    const Operand a = arithmetic(pop());
    const auto variant = [&](TypedOp plain, TypedOp atEnd) { return final ? atEnd : plain; };
    Step joined;
    std::size_t taken = 0;
    if (const Step* second = product(b, 1)) {
        const Step* first = product(a, 2);
        if (first != nullptr) {
            joined = {minus ? variant(TypedOp::ProductDifference, TypedOp::FinalProductDifference)
                            : variant(TypedOp::ProductSum, TypedOp::FinalProductSum),
                      {},
                      first->a,
                      first->b,
                      second->a,
                      second->b};
            taken = 2;
        } else {
            joined = {minus ? variant(TypedOp::SubtractProduct, TypedOp::FinalSubtractProduct)
                            : variant(TypedOp::AddProduct, TypedOp::FinalAddProduct),
                      {},
                      a,
                      second->a,
                      second->b,
                      {}};
            taken = 1;
        }
    } else if (const Step* first = product(a, 1)) {
        joined = {minus ? variant(TypedOp::ProductSubtract, TypedOp::FinalProductSubtract)
                        : variant(TypedOp::ProductAdd, TypedOp::FinalProductAdd),
                  {},
                  first->a,
                  first->b,
                  b,
                  {}};
        taken = 1;
    } else {
        joined = {minus ? variant(TypedOp::Subtract, TypedOp::FinalSubtract)
                        : variant(TypedOp::Add, TypedOp::FinalAdd),
                  {},
                  a,
                  b,
                  {},
                  {}};
    }
    typed_.steps.resize(typed_.steps.size() - taken);
    joined.d = temporary();
    typed_.steps.push_back(joined);
    push(joined.d);
}

TypedTemplate makeTypedTemplate(const Code& code) { return Typist(code).run(); }

} // namespace varnex3::sheet
