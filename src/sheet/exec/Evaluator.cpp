// sheet/exec/Evaluator.cpp - the stack machine.
#include "sheet/exec/Evaluator.h"

#include <algorithm>
#include <cmath>

#include "sheet/exec/Invoke.h"
#include "sheet/exec/Operators.h"
#include "sheet/format/Convert.h"

namespace varnex3::sheet {

/// One run. `top` points past the topmost value; values above it are leftovers that the next push replaces.
struct Evaluator::Machine {
    Evaluator& owner;
    const Code& code;
    const CellAddress& here;
    Value* locals;
    Value* top;
    std::uint32_t next = 0; // instruction

    Store& store() { return owner.store_; }
    Environment& environment() { return owner.environment_; }
    bool blocked() const { return !owner.blocked_.empty(); }

    void push(Value v) { *top++ = std::move(v); }
    void pushCell(const CellAddress& cell);
    void pushArea(const Place& place);
    void pushIntersected(const Place& place);
    void intersect();
    void spilled();
    void binary(Operator op, bool final);
    void ifTest(std::uint32_t otherwise);
    void ifEnd();
    void errorTest(bool onlyNA, std::uint32_t end);
    void errorEnd(bool onlyNA);
    void choose(const Instruction& in);
    void chooseArray(std::size_t count);
    void switchTest(std::uint32_t otherwise);
    void makeReference(Op op);
    void dereferenceTop()
    {
        if (top[-1].isReference()) top[-1] = dereference(top[-1], environment());
    }
    void closure(const Lambda& lambda, std::uint32_t index);
    void replaceArguments(std::size_t count, Value result);
    bool step(const Instruction& in);
    /// Runs to the end; false when blocked.
    bool run()
    {
        while (step(code.instructions[next++]))
            if (blocked()) return false;
        return !blocked();
    }
};

void Evaluator::Machine::pushCell(const CellAddress& cell)
{
    const Slot slot = store().find(cell);
    if (slot == kNoSlot) {
        push(Value());
    } else if (store().isDirty(slot)) {
        owner.block(slot);
        owner.closeBlocked();
    } else {
        *top++ = store().value(slot);
    }
}

void Evaluator::Machine::pushArea(const Place& place)
{
    const auto area = resolve(place, here);
    if (!area) return push(Failure::Ref);
    if (place.lastSheet < 0) return push(Value(*area));
    std::vector<Area> areas;
    for (SheetIndex s = place.sheet; s <= place.lastSheet; ++s) {
        areas.push_back(*area);
        areas.back().sheet = s;
    }
    push(Value::reference(std::move(areas)));
}

void Evaluator::Machine::pushIntersected(const Place& place)
{
    const auto area = resolve(place, here);
    if (!area) return push(Failure::Ref);
    const auto cell = place.lastSheet < 0 ? implicitCell(*area, here) : std::nullopt;
    if (!cell) return push(Failure::Value);
    pushCell(*cell);
}

void Evaluator::Machine::intersect()
{
    if (!top[-1].isReference()) return;
    const std::vector<Area>& areas = top[-1].areas();
    const auto cell = areas.size() == 1 ? implicitCell(areas.front(), here) : std::nullopt;
    --top;
    if (cell) {
        pushCell(*cell);
    } else {
        push(Failure::Value);
    }
}

void Evaluator::Machine::spilled()
{
    Value& v = top[-1];
    if (v.isFailure()) return;
    if (!v.isReference() || v.areas().size() != 1 || !v.areas().front().isCell()) {
        v = Failure::Ref;
        return;
    }
    const Area& area = v.areas().front();
    const CellAddress cell{area.sheet, area.row0, area.col0};
    const Slot slot = store().find(cell);
    if (slot != kNoSlot && store().isDirty(slot)) {
        owner.block(slot);
        owner.closeBlocked();
        return;
    }
    const auto block = environment().spilledFrom(cell);
    v = block ? Value(*block) : Value(Failure::Ref);
}

void Evaluator::Machine::binary(Operator op, bool final)
{
    Value& a = top[-2];
    const Value& b = top[-1];
    if (a.isNumber() && b.isNumber() && op != Operator::Concat) {
        const double x = a.number(), y = b.number();
        if (isComparison(op)) {
            a = holds(op, compareNumbers(x, y));
        } else {
            a = arithmetic(op, x, y);
            if (final && a.isNumber()) a.setNumber(cancelled(a.number(), x));
        }
        --top;
        return;
    }
    const DateSystem dates = environment().dateSystem();
    a = final ? applyFinalBinary(op, a, b, dates) : applyBinary(op, a, b, dates);
    --top;
}

void Evaluator::Machine::ifTest(std::uint32_t otherwise)
{
    Value& condition = top[-1];
    if (condition.isArray()) return;
    if (!condition.isBoolean()) condition = toBoolean(condition);
    if (condition.isFailure()) {
        push(Value());
        push(Value());
        next = code.instructions[otherwise - 1].operand;
    } else if (!condition.boolean()) {
        push(Value());
        next = otherwise;
    }
}

void Evaluator::Machine::ifEnd()
{
    Value& condition = top[-3];
    Value& first = top[-2];
    Value& second = top[-1];
    if (condition.isArray()) {
        for (Value* v : {&first, &second})
            if (v->isReference()) *v = dereference(*v, environment());
        const std::int32_t rows = std::max({rowsOf(condition), rowsOf(first), rowsOf(second)});
        const std::int32_t cols = std::max({colsOf(condition), colsOf(first), colsOf(second)});
        std::vector<Value> items;
        for (std::int32_t r = 0; r < rows; ++r) {
            for (std::int32_t c = 0; c < cols; ++c) {
                const Value chosen = toBoolean(spreadElement(condition, r, c));
                items.push_back(chosen.isFailure() ? chosen
                                : chosen.boolean() ? spreadElement(first, r, c)
                                                   : spreadElement(second, r, c));
            }
        }
        condition = Value::array(rows, cols, std::move(items));
    } else if (!condition.isFailure()) {
        condition = std::move(condition.boolean() ? first : second);
    }
    top -= 2;
}

namespace {
bool catches(const Value& v, bool onlyNA) { return v.isFailure() && (!onlyNA || v.failure() == Failure::NA); }
} // namespace

void Evaluator::Machine::errorTest(bool onlyNA, std::uint32_t end)
{
    const Value& v = top[-1];
    const bool caught = v.isArray() ? std::any_of(v.items().begin(), v.items().end(),
                                                  [&](const Value& item) { return catches(item, onlyNA); })
                                    : catches(v, onlyNA);
    if (!caught) next = end;
}

void Evaluator::Machine::errorEnd(bool onlyNA)
{
    Value& v = top[-2];
    Value& instead = top[-1];
    if (v.isArray()) {
        if (instead.isReference()) instead = dereference(instead, environment());
        const std::int32_t rows = std::max(rowsOf(v), rowsOf(instead));
        const std::int32_t cols = std::max(colsOf(v), colsOf(instead));
        std::vector<Value> items;
        for (std::int32_t r = 0; r < rows; ++r) {
            for (std::int32_t c = 0; c < cols; ++c) {
                Value item = spreadElement(v, r, c);
                items.push_back(catches(item, onlyNA) ? spreadElement(instead, r, c) : std::move(item));
            }
        }
        v = Value::array(rows, cols, std::move(items));
    } else {
        v = std::move(instead);
    }
    --top;
}

void Evaluator::Machine::choose(const Instruction& in)
{
    const std::uint32_t* labels = code.labels.data() + in.operand;
    if (top[-1].isArray()) top[-1] = Value(top[-1].at(0, 0));
    const Value index = toNumber(top[-1], environment().dateSystem());
    if (index.isFailure()) {
        top[-1] = index;
        next = labels[in.count];
        return;
    }
    const double k = std::trunc(index.number());
    if (!(k >= 1.0 && k <= in.count)) {
        top[-1] = Failure::Value;
        next = labels[in.count];
        return;
    }
    --top;
    next = labels[static_cast<std::size_t>(k) - 1];
}

void Evaluator::Machine::chooseArray(std::size_t count)
{
    Value* values = top - count;
    Value& index = values[-1];
    std::int32_t rows = rowsOf(index), cols = colsOf(index);
    for (std::size_t k = 0; k < count; ++k) {
        rows = std::max(rows, rowsOf(values[k]));
        cols = std::max(cols, colsOf(values[k]));
    }
    std::vector<Value> items;
    for (std::int32_t r = 0; r < rows; ++r) {
        for (std::int32_t c = 0; c < cols; ++c) {
            const Value at = toNumber(spreadElement(index, r, c), environment().dateSystem());
            const double k = at.isFailure() ? 0.0 : std::trunc(at.number());
            items.push_back(at.isFailure() ? at
                            : k >= 1.0 && k <= static_cast<double>(count)
                                ? spreadElement(values[static_cast<std::size_t>(k) - 1], r, c)
                                : Value(Failure::Value));
        }
    }
    index = Value::array(rows, cols, std::move(items));
    top -= count;
}

void Evaluator::Machine::switchTest(std::uint32_t otherwise)
{
    const bool alike = top[-1].isScalar() && top[-2].isScalar() && !top[-1].isFailure() &&
                       !top[-2].isFailure() && compareValues(top[-2], top[-1]) == 0;
    --top;
    if (alike) {
        --top;
    } else {
        next = otherwise;
    }
}

void Evaluator::Machine::makeReference(Op op)
{
    Value& a = top[-2];
    const Value& b = top[-1];
    --top;
    if (a.isFailure()) return;
    if (b.isFailure() || !a.isReference() || !b.isReference()) {
        a = b.isFailure() ? b : Value(Failure::Value);
        return;
    }
    if (op == Op::MakeUnion) {
        std::vector<Area> all = a.areas();
        all.insert(all.end(), b.areas().begin(), b.areas().end());
        a = Value::reference(std::move(all));
        return;
    }
    if (op == Op::MakeRange) {
        Area box = a.areas().front();
        for (const Value* v : {static_cast<const Value*>(&a), &b}) {
            for (const Area& area : v->areas()) {
                if (area.sheet != box.sheet) {
                    a = Failure::Ref;
                    return;
                }
                box.row0 = std::min(box.row0, area.row0);
                box.col0 = std::min(box.col0, area.col0);
                box.row1 = std::max(box.row1, area.row1);
                box.col1 = std::max(box.col1, area.col1);
            }
        }
        a = Value(box);
        return;
    }
    std::vector<Area> common;
    for (const Area& x : a.areas()) {
        for (const Area& y : b.areas()) {
            const Area both{x.sheet, std::max(x.row0, y.row0), std::max(x.col0, y.col0),
                            std::min(x.row1, y.row1), std::min(x.col1, y.col1)};
            if (x.sheet == y.sheet && both.row0 <= both.row1 && both.col0 <= both.col1)
                common.push_back(both);
        }
    }
    a = common.empty() ? Value(Failure::Null) : Value::reference(std::move(common));
}

void Evaluator::Machine::closure(const Lambda& lambda, std::uint32_t index)
{
    detail::FunctionData function;
    function.code = &code;
    function.lambda = index;
    function.required = static_cast<int>(lambda.required);
    function.most = static_cast<int>(lambda.most);
    for (const Lambda::Capture& capture : lambda.captures) function.captured.push_back(locals[capture.from]);
    push(Value::function(std::move(function)));
}

void Evaluator::Machine::replaceArguments(std::size_t count, Value result)
{
    top -= count;
    push(std::move(result));
}

bool Evaluator::Machine::step(const Instruction& in)
{
    switch (in.op) {
    case Op::Constant: *top++ = code.constants[in.operand]; break;
    case Op::Cell:
        if (const auto area = resolve(code.places[in.operand], here)) {
            pushCell({area->sheet, area->row0, area->col0});
        } else {
            push(Failure::Ref);
        }
        break;
    case Op::Area: pushArea(code.places[in.operand]); break;
    case Op::Intersected: pushIntersected(code.places[in.operand]); break;
    case Op::Intersect: intersect(); break;
    case Op::Spilled: spilled(); break;
    case Op::Dereference: dereferenceTop(); break;
    case Op::Binary:
    case Op::FinalBinary: binary(static_cast<Operator>(in.detail), in.op == Op::FinalBinary); break;
    case Op::Unary:
        top[-1] = applyUnary(static_cast<Operator>(in.detail), top[-1], environment().dateSystem());
        break;
    case Op::Call: {
        const CallSite& site = code.calls[in.operand];
        Value* first = top - site.count;
        Value result = invoke(site, {first, site.count}, environment(), here);
        top = first;
        push(std::move(result));
        break;
    }
    case Op::IfTest: ifTest(in.operand); break;
    case Op::IfThen:
        if (!top[-2].isArray()) {
            push(Value());
            next = in.operand;
        }
        break;
    case Op::IfEnd: ifEnd(); break;
    case Op::ErrorTest: errorTest(in.detail != 0, in.operand); break;
    case Op::ErrorEnd: errorEnd(in.detail != 0); break;
    case Op::Choose: choose(in); break;
    case Op::ChooseArray: chooseArray(in.count); break;
    case Op::SwitchTest: switchTest(in.operand); break;
    case Op::Jump: next = in.operand; break;
    case Op::Exchange:
        top[-2] = std::move(top[-1]);
        --top;
        break;
    case Op::MakeRange:
    case Op::MakeUnion:
    case Op::MakeIntersection: makeReference(in.op); break;
    case Op::Local: *top++ = locals[in.operand]; break;
    case Op::SetLocal: locals[in.operand] = std::move(*--top); break;
    case Op::Closure: closure(code.lambdas[in.operand], in.operand); break;
    case Op::Apply: {
        const Value function = top[-1 - in.count];
        Value result = owner.apply(function, {top - in.count, in.count});
        replaceArguments(in.count + std::size_t{1}, std::move(result));
        break;
    }
    case Op::ApplyLambda: {
        Value result = owner.call(code, code.lambdas[in.operand], {top - in.count, in.count}, {});
        replaceArguments(in.count, std::move(result));
        break;
    }
    case Op::End: return false;
    }
    return true;
}

std::optional<Value> Evaluator::evaluate(const Code& code, const CellAddress& here)
{
    blocked_.clear();
    closed_ = false;
    here_ = here;
    calls_ = depth_ = 0;
    exhausted_ = false;
    if (stack_.size() < code.depth + code.locals + 4) stack_.resize(code.depth + code.locals + 64);
    Machine machine{*this, code, here_, stack_.data(), stack_.data() + code.locals};
    if (!machine.run()) return std::nullopt;
    Value& result = machine.top[-1];
    if (result.isFunction()) return Value(Failure::Calc);
    return std::move(result);
}

Value Evaluator::call(const Code& code, const Lambda& lambda, std::span<Value> arguments,
                      std::span<const Value> captured)
{
    constexpr std::size_t kDeepest = 1024, kMostCalls = std::size_t{1} << 26;
    if (!blocked_.empty()) return {};
    if (arguments.size() < lambda.required || arguments.size() > lambda.most) return Failure::Value;
    if (depth_ >= kDeepest || ++calls_ > kMostCalls) exhausted_ = true;
    if (exhausted_) return Failure::Num;
    if (frames_.size() <= depth_) frames_.resize(depth_ + 16);
    std::vector<Value>& frame = frames_[depth_];
    if (frame.size() < lambda.locals + lambda.depth) frame.resize(lambda.locals + lambda.depth);
    for (std::size_t i = 0; i < lambda.most; ++i)
        frame[i] = i < arguments.size() ? std::move(arguments[i]) : Value::omitted();
    for (std::size_t i = 0; i < captured.size(); ++i) frame[lambda.captures[i].to] = captured[i];
    Machine machine{*this, code, here_, frame.data(), frame.data() + lambda.locals, lambda.start};
    ++depth_;
    const bool complete = machine.run();
    --depth_;
    Value result = complete ? std::move(machine.top[-1]) : Value();
    // Large arrays are not kept by a frame that waits for its next call.
    for (std::size_t i = 0; i < lambda.locals; ++i) *(machine.locals + i) = Value();
    return result;
}

Value Evaluator::apply(const Value& function, std::span<Value> arguments)
{
    if (function.isFailure()) return function;
    if (!function.isFunction()) return Failure::Value;
    const detail::FunctionData& f = function.function();
    const int count = static_cast<int>(arguments.size());
    if (count < f.required || count > f.most) return Failure::Value;
    if (f.row != nullptr && !takesCount(*f.row, count)) return Failure::Value;
    if (f.code != nullptr) {
        // Functions of the table may stand between one call and the next, and take more of the machine's
        // stack.
        constexpr std::size_t kWeight = 3;
        depth_ += kWeight - 1;
        Value result = call(*f.code, f.code->lambdas[f.lambda], arguments, f.captured);
        depth_ -= kWeight - 1;
        return result;
    }
    CallSite site{f.row, static_cast<std::uint32_t>(count), 0};
    for (int i = 0; i < count; ++i) {
        Value& argument = arguments[static_cast<std::size_t>(i)];
        if (argument.isOmitted() && i < 64) site.missing |= std::uint64_t{1} << i;
        if (argument.isReference() && f.row->parameters.of(i).take <= Take::Any)
            argument = dereference(argument, environment_);
    }
    if (!blocked_.empty()) return {};
    return invoke(site, arguments, environment_, here_);
}

} // namespace varnex3::sheet
