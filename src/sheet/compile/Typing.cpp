// sheet/compile/Typing.cpp - from stack code to three-address instructions over numbers.
//
// Operators and branches are here, functions in Typing_calls.cpp, the instructions for a cell in
// Typing_cells.cpp.
#include "sheet/compile/Typing.h"

#include <algorithm>

#include "sheet/compile/TypingImpl.h"

namespace varnex3::sheet {

TypedTemplate Typist::run()
{
    if (code_.keepsStored || code_.isVolatile || code_.isDynamic) return {};
    for (const Instruction& in : code_.instructions) {
        if (in.op == Op::End) break;
        if (!instruction(in)) return {};
        if (typed_.steps.size() > 2000) return {};
    }
    if (stack_.size() != 1 || stack_.back().isArea) return {};
    typed_.value = stack_.back().operand;
    typed_.result = stack_.back().kind;
    typed_.possible = true;
    return std::move(typed_);
}

bool Typist::instruction(const Instruction& in)
{
    switch (in.op) {
    case Op::Constant: {
        const Value& v = code_.constants[in.operand];
        if (!v.isNumber() && !v.isBoolean()) return false;
        push(constant(v.number()), v.kind());
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
    case Op::Intersect: return !stack_.back().isArea; // a number already
    case Op::Unary: {
        const Entry a = pop();
        switch (static_cast<Operator>(in.detail)) {
        case Operator::Plus: stack_.push_back(a); return true;
        case Operator::Negate: push(emit(TypedOp::Negate, arithmetic(a)).d); return true;
        default: push(emit(TypedOp::Percent, arithmetic(a)).d); return true;
        }
    }
    case Op::Binary:
    case Op::FinalBinary: {
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
            push(
                emit(static_cast<TypedOp>(static_cast<int>(TypedOp::Equal) + offset), a.operand, b.operand).d,
                Kind::Boolean);
            return true;
        }
        }
    }
    case Op::Call: return call(code_.calls[in.operand]);
    case Op::IfTest: {
        const Operand condition = arithmetic(stack_.back());
        emit(TypedOp::JumpIfZero, condition);
        Branch branch;
        branch.otherwise = typed_.steps.size() - 1;
        branches_.push_back(branch);
        label();
        return true;
    }
    case Op::IfThen: return ifThen();
    case Op::IfEnd: return ifEnd();
    case Op::SetLocal:
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
    default: return false;
    }
}

bool Typist::ifThen()
{
    if (stack_.back().isArea) return false;
    Branch& branch = branches_.back();
    branch.kind = stack_.back().kind;
    branch.result = emit(TypedOp::Copy, stack_.back().operand).d;
    emit(TypedOp::Jump, {});
    branch.end = typed_.steps.size() - 1;
    typed_.steps[branch.otherwise].target = label();
    return true;
}

bool Typist::ifEnd()
{
    const Branch branch = branches_.back();
    branches_.pop_back();
    const Entry second = pop();
    if (second.isArea || second.kind != branch.kind) return false;
    emit(TypedOp::Copy, second.operand).d = branch.result;
    typed_.steps[branch.end].target = label();
    stack_.resize(stack_.size() - 2);
    push(branch.result, branch.kind);
    return true;
}

void Typist::binary(TypedOp op, Kind kind)
{
    const Operand b = arithmetic(pop());
    const Operand a = arithmetic(pop());
    push(emit(op, a, b).d, kind);
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
