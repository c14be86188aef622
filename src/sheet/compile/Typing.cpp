// sheet/compile/Typing.cpp - from stack code to three-address instructions over numbers.
#include "sheet/compile/Typing.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

namespace varnex3::sheet {
namespace {

using Operand = TypedOperand;
using From = TypedOperand::From;
using Step = TypedTemplate::Step;

/// Runs the stack code with operands in place of values; gives up at the first thing that is not a matter of
/// numbers.
class Typist {
public:
    explicit Typist(const Code& code) : code_(code) {}
    TypedTemplate run();

private:
    struct Entry {
        Operand operand;
        Kind kind = Kind::Number;
        bool isArea = false; // operand is a place whose cells are meant
    };
    struct Branch {
        std::size_t otherwise = 0, end = 0; // jumps to be aimed
        Operand result;
        Kind kind = Kind::Number;
    };

    bool instruction(const Instruction& in);
    bool call(const CallSite& site);
    bool fold(const CallSite& site, TypedOp run, double start, TypedOp joining);
    bool average(const CallSite& site);
    bool extreme(const CallSite& site, TypedOp run);
    Operand sumOf(const CallSite& site, TypedOp run, double start, TypedOp joining, Operand from = {});
    bool statistic(const CallSite& site, double less, bool root);
    bool products(const CallSite& site);
    bool lookUp(const CallSite& site, bool rowwise);
    bool match(const CallSite& site);
    bool index(const CallSite& site);
    Operand count(const CallSite& site, double less, double fewest);
    std::optional<double> constantAt(std::size_t position) const;
    void drop(std::size_t arguments, Operand result)
    {
        stack_.resize(stack_.size() - arguments);
        push(result);
    }
    bool connective(const CallSite& site, TypedOp op);
    void binary(TypedOp op, Kind kind);
    void sum(bool minus, bool final);
    bool ifThen();
    bool ifEnd();

    Operand temporary() { return {From::Temporary, typed_.temporaries++}; }
    Operand constant(double x)
    {
        typed_.constants.push_back(x);
        return {From::Constant, static_cast<std::uint32_t>(typed_.constants.size() - 1)};
    }
    Operand read(std::uint32_t place, bool isRun)
    {
        typed_.readings.push_back({place, false, true, isRun});
        return {From::Place, static_cast<std::uint32_t>(typed_.readings.size() - 1)};
    }
    Step& emit(TypedOp op, Operand a, Operand b = {}, Operand c = {}, Operand e = {})
    {
        typed_.steps.push_back({op, temporary(), a, b, c, e});
        return typed_.steps.back();
    }
    std::uint32_t label()
    {
        barrier_ = typed_.steps.size();
        return static_cast<std::uint32_t>(barrier_);
    }
    Entry pop()
    {
        const Entry e = stack_.back();
        stack_.pop_back();
        return e;
    }
    /// The operand as arithmetic takes it.
    Operand arithmetic(const Entry& e)
    {
        if (e.operand.from == From::Place) typed_.readings[e.operand.index].allowsBoolean = true;
        return e.operand;
    }
    void push(Operand o, Kind kind = Kind::Number) { stack_.push_back({o, kind, false}); }
    /// The step that is `back` steps from the end, when it is a product that only `o` takes.
    const Step* product(Operand o, std::size_t back) const;

    const Code& code_;
    TypedTemplate typed_;
    std::vector<Entry> stack_;
    std::vector<Entry> locals_; // what the names of LET stand for
    std::vector<Branch> branches_;
    std::size_t barrier_ = 0;
};

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

const Step* Typist::product(Operand o, std::size_t back) const
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

bool Typist::call(const CallSite& site)
{
    const FunctionRow& row = *site.row;
    const std::string_view name = row.name;
    if (name == "INDEX") return index(site);
    if (row.traits != Trait::Pure || site.count == 0) return false;
    if (name == "AVERAGE") return average(site);
    if (name == "COUNT") {
        // The sum shows when one of the cells is no number after all.
        const Operand total = sumOf(site, TypedOp::SumRun, 0.0, TypedOp::Add);
        drop(site.count, emit(TypedOp::AddProduct, count(site, 0.0, 0.0), total, constant(0.0)).d);
        return true;
    }
    if (name == "VAR" || name == "VAR.S") return statistic(site, 1.0, false);
    if (name == "VARP" || name == "VAR.P") return statistic(site, 0.0, false);
    if (name == "STDEV" || name == "STDEV.S") return statistic(site, 1.0, true);
    if (name == "STDEVP" || name == "STDEV.P") return statistic(site, 0.0, true);
    if (name == "SUMPRODUCT") return products(site);
    if (name == "VLOOKUP") return lookUp(site, false);
    if (name == "HLOOKUP") return lookUp(site, true);
    if (name == "MATCH") return match(site);
    if (name == "SUM") return fold(site, TypedOp::SumRun, 0.0, TypedOp::Add);
    if (name == "SUMSQ") return fold(site, TypedOp::SumSquaresRun, 0.0, TypedOp::AddProduct);
    if (name == "MIN") return extreme(site, TypedOp::LeastRun);
    if (name == "MAX") return extreme(site, TypedOp::GreatestRun);
    if (name == "AND") return connective(site, TypedOp::Both);
    if (name == "OR") return connective(site, TypedOp::Either);
    const auto takesNumber = [&](int i) { return row.parameters.of(i).take == Take::Number; };
    if (name == "NOT" && site.count == 1) {
        push(emit(TypedOp::Not, arithmetic(pop())).d, Kind::Boolean);
        return true;
    }
    if (site.count == 1 && (name == "SQRT" || name == "ABS")) {
        push(emit(name == "ABS" ? TypedOp::Absolute : TypedOp::SquareRoot, arithmetic(pop())).d);
        return true;
    }
    if (row.body.one != nullptr && row.parameters.count == 1 && site.count == 1 && takesNumber(0)) {
        Step& step = emit(TypedOp::One, arithmetic(pop()));
        step.one = row.body.one;
        push(step.d);
        return true;
    }
    if (row.body.two != nullptr && row.parameters.count == 2 && site.count == 2 && takesNumber(0) &&
        takesNumber(1)) {
        const Operand b = arithmetic(pop());
        Step& step = emit(TypedOp::Two, arithmetic(pop()), b);
        step.two = row.body.two;
        push(step.d);
        return true;
    }
    return false;
}

/// The arguments in order, each joined to what came before.
Operand Typist::sumOf(const CallSite& site, TypedOp run, double start, TypedOp joining, Operand from)
{
    Operand total = constant(start);
    for (std::size_t i = stack_.size() - site.count; i < stack_.size(); ++i) {
        const Entry& e = stack_[i];
        if (e.isArea) {
            total = emit(run, read(e.operand.index, true), total, {}, from).d;
        } else if (joining == TypedOp::AddProduct) {
            total = emit(joining, total, arithmetic(e), arithmetic(e)).d;
        } else if (joining == run) {
            total = emit(run, arithmetic(e), total, {}, from).d; // a run of one
        } else {
            total = emit(joining, total, arithmetic(e)).d;
        }
    }
    return total;
}

/// SUM and its like.
bool Typist::fold(const CallSite& site, TypedOp run, double start, TypedOp joining)
{
    drop(site.count, sumOf(site, run, start, joining));
    return true;
}

/// How many numbers the arguments hold, less something.
Operand Typist::count(const CallSite& site, double less, double fewest)
{
    TypedTemplate::Count counted;
    counted.more = -less;
    counted.fewest = fewest;
    for (std::size_t i = stack_.size() - site.count; i < stack_.size(); ++i) {
        if (stack_[i].isArea) {
            counted.readings.push_back(read(stack_[i].operand.index, true).index);
        } else {
            counted.more += 1.0;
        }
    }
    typed_.counts.push_back(std::move(counted));
    return {From::Count, static_cast<std::uint32_t>(typed_.counts.size() - 1)};
}

bool Typist::average(const CallSite& site)
{
    const Operand total = sumOf(site, TypedOp::SumRun, 0.0, TypedOp::Add);
    drop(site.count, emit(TypedOp::Divide, total, count(site, 0.0, 1.0)).d);
    return true;
}

/// The mean squared distance from the mean, or its root.
bool Typist::statistic(const CallSite& site, double less, bool root)
{
    const Operand total = sumOf(site, TypedOp::SumRun, 0.0, TypedOp::Add);
    const Operand mean = emit(TypedOp::Divide, total, count(site, 0.0, 1.0)).d;
    const Operand squares = sumOf(site, TypedOp::DeviationsRun, 0.0, TypedOp::DeviationsRun, mean);
    Operand result = emit(TypedOp::Divide, squares, count(site, less, 1.0)).d;
    if (root) result = emit(TypedOp::SquareRoot, result).d;
    drop(site.count, result);
    return true;
}

bool Typist::products(const CallSite& site)
{
    const Entry second = stack_.back(), first = stack_[stack_.size() - site.count];
    if (site.count != 2 || !first.isArea || !second.isArea) return false;
    const Operand x = read(first.operand.index, true), y = read(second.operand.index, true);
    typed_.readings[x.index].isPlain = typed_.readings[y.index].isPlain = true;
    drop(2, emit(TypedOp::ProductsRun, x, constant(0.0), {}, y).d);
    return true;
}

std::optional<double> Typist::constantAt(std::size_t position) const
{
    const Entry& e = stack_[position];
    if (e.isArea || e.operand.from != From::Constant) return std::nullopt;
    return typed_.constants[e.operand.index];
}

/// VLOOKUP and HLOOKUP of a number in a table of constant numbers.
bool Typist::lookUp(const CallSite& site, bool rowwise)
{
    const std::size_t first = stack_.size() - site.count;
    if (site.missing != 0 || stack_[first].isArea || stack_[first].kind != Kind::Number ||
        !stack_[first + 1].isArea)
        return false;
    const auto line = constantAt(first + 2);
    const auto sorted = site.count > 3 ? constantAt(first + 3) : std::optional(1.0);
    if (!line || !sorted || !(*line >= 1.0 && *line <= kMaxColumns)) return false;
    TypedTemplate::Table table;
    table.how = *sorted != 0.0 ? TypedTable::How::Ascending : TypedTable::How::Exact;
    table.keys = stack_[first + 1].operand.index;
    table.line = static_cast<std::int32_t>(*line);
    table.rowwise = rowwise;
    typed_.tables.push_back(table);
    Step& step = emit(TypedOp::Find, stack_[first].operand);
    step.table = static_cast<std::uint32_t>(typed_.tables.size() - 1);
    drop(site.count, step.d);
    return true;
}

bool Typist::match(const CallSite& site)
{
    const std::size_t first = stack_.size() - site.count;
    if (site.missing != 0 || stack_[first].isArea || stack_[first].kind != Kind::Number ||
        !stack_[first + 1].isArea)
        return false;
    const auto type = site.count > 2 ? constantAt(first + 2) : std::optional(1.0);
    if (!type) return false;
    TypedTemplate::Table table;
    table.how = *type == 0.0  ? TypedTable::How::Exact
                : *type > 0.0 ? TypedTable::How::Ascending
                              : TypedTable::How::Descending;
    table.keys = stack_[first + 1].operand.index;
    typed_.tables.push_back(table);
    Step& step = emit(TypedOp::Find, stack_[first].operand);
    step.table = static_cast<std::uint32_t>(typed_.tables.size() - 1);
    drop(site.count, step.d);
    return true;
}

/// INDEX of one cell among constant ones.
bool Typist::index(const CallSite& site)
{
    const std::size_t first = stack_.size() - site.count;
    if (site.missing != 0 || site.count < 2 || site.count > 3 || !stack_[first].isArea) return false;
    for (std::size_t i = first + 1; i < stack_.size(); ++i)
        if (stack_[i].isArea) return false;
    TypedTemplate::Table table;
    table.how = TypedTable::How::Pick;
    table.values = stack_[first].operand.index;
    table.line = static_cast<std::int32_t>(site.count) - 1; // numbers given
    typed_.tables.push_back(table);
    const Operand row = arithmetic(stack_[first + 1]);
    const Operand col = site.count > 2 ? arithmetic(stack_[first + 2]) : constant(1.0);
    Step& step = emit(TypedOp::Pick, row, col);
    step.table = static_cast<std::uint32_t>(typed_.tables.size() - 1);
    drop(site.count, step.d);
    return true;
}

/// MIN and MAX: the value of the first number, then the others against it.
bool Typist::extreme(const CallSite& site, TypedOp run)
{
    const std::size_t first = stack_.size() - site.count;
    // Nothing but the first argument may start, or 0 and -0 could come out differently.
    Operand best = constant(run == TypedOp::LeastRun ? HUGE_VAL : -HUGE_VAL);
    for (std::size_t i = first; i < stack_.size(); ++i) {
        const Entry& e = stack_[i];
        if (e.isArea) {
            const Operand area = read(e.operand.index, true);
            // One empty area gives 0; among several arguments the first must hold a number.
            typed_.readings[area.index].needsNumber = i == first && site.count > 1;
            best = emit(run, area, best).d;
        } else {
            best = emit(run, arithmetic(e), best).d; // a run of one
        }
    }
    stack_.resize(first);
    push(best);
    return true;
}

bool Typist::connective(const CallSite& site, TypedOp op)
{
    const std::size_t first = stack_.size() - site.count;
    Operand all;
    for (std::size_t i = first; i < stack_.size(); ++i) {
        const Entry& e = stack_[i];
        Operand one = e.operand;
        if (e.isArea) {
            if (code_.places[e.operand.index].extent != Extent::Cell) return false;
            one = read(e.operand.index, false);
            typed_.readings.back().allowsEmpty = false; // an empty cell does not count at all
            typed_.readings.back().allowsBoolean = true;
        } else {
            one = arithmetic(e);
        }
        all = emit(op, one, all.from == From::Nothing ? one : all).d;
    }
    stack_.resize(first);
    push(all, Kind::Boolean);
    return true;
}

constexpr std::int64_t kLargestRun = 20000;

bool isRun(TypedOp op) { return op >= TypedOp::SumRun && op <= TypedOp::ProductsRun; }
bool isJump(TypedOp op) { return op == TypedOp::JumpIfZero || op == TypedOp::Jump; }

/// A stretch of neighbouring numbers in the store.
struct Run {
    Slot first;
    std::uint32_t count;
};

/// Turns one template into instructions for one cell.
class Placer {
public:
    Placer(const TypedTemplate& typed, const Code& code, const CellAddress& here, Store& store,
           TypedPool& pool, TypedProgram& program, std::vector<std::pair<Slot, Kind>>& operands)
        : typed_(typed), code_(code), here_(here), store_(store), pool_(pool), program_(program),
          operands_(operands)
    {}
    bool place(Slot result);

private:
    bool settle(const TypedTemplate::Reading& reading);
    bool settleRun(const Area& area, const TypedTemplate::Reading& reading);
    bool settleCount(const TypedTemplate::Count& count);
    bool settleTable(const TypedTemplate::Table& table);
    bool readLine(const Area& area, bool numbersOnly, std::vector<std::pair<Slot, Kind>>& cells);
    void products(const Step& step, Slot d);
    void instruction(const Step& step, Slot result, bool isLast);
    void runs(const Step& step, Slot d);
    Slot slot(const Operand& o);

    const TypedTemplate& typed_;
    const Code& code_;
    const CellAddress& here_;
    Store& store_;
    TypedPool& pool_;
    TypedProgram& program_;
    std::vector<std::pair<Slot, Kind>>& operands_;
    std::vector<Slot> slots_;                              // reading -> slot
    std::vector<Run> runs_;                                // of all readings
    std::vector<std::pair<std::size_t, std::size_t>> own_; // reading -> its runs
    std::vector<double> counts_;
    std::vector<std::uint32_t> tables_; // of the template -> of the program
};

bool Placer::settle(const TypedTemplate::Reading& reading)
{
    const Place& p = code_.places[reading.place];
    const auto area = resolve(p, here_);
    if (!area) return false;
    if (reading.isRun) return settleRun(*area, reading);
    const auto cell = implicitCell(*area, here_);
    if (!cell) return false;
    const Slot slot = store_.make(*cell);
    const Kind kind = store_.value(slot).kind();
    const bool fits = kind == Kind::Number || (kind == Kind::Empty && reading.allowsEmpty) ||
                      (kind == Kind::Boolean && reading.allowsBoolean);
    if (!fits) return false;
    operands_.emplace_back(slot, kind);
    slots_.push_back(slot);
    own_.emplace_back(0, 0);
    return true;
}

bool Placer::settleRun(const Area& area, const TypedTemplate::Reading& reading)
{
    if (static_cast<std::int64_t>(area.rows()) * area.cols() > kLargestRun) return false;
    const std::size_t begin = runs_.size();
    bool fits = true;
    // Cells that are not there yet could come to life unnoticed: their slots are made now.
    for (std::int32_t c = area.col0; c <= area.col1; ++c)
        for (std::int32_t r = area.row0; r <= area.row1; r += Store::kTileRows - r % Store::kTileRows)
            store_.make({area.sheet, r, c});
    store_.visitSlots(area, [&](std::int32_t, std::int32_t, Slot first, std::int32_t n) {
        for (Slot s = first; s < first + static_cast<Slot>(n) && fits; ++s) {
            const Kind kind = store_.value(s).kind();
            operands_.emplace_back(s, kind);
            if (kind == Kind::Failure || (reading.isPlain && kind != Kind::Number)) fits = false;
            if (kind != Kind::Number) continue;
            if (runs_.size() > begin && runs_.back().first + runs_.back().count == s) {
                ++runs_.back().count;
            } else {
                runs_.push_back({s, 1});
            }
        }
        return fits;
    });
    slots_.push_back(kNoSlot);
    own_.emplace_back(begin, runs_.size());
    if (reading.isPlain && area.rows() > 1 && area.cols() > 1) return false; // a column or a row
    return fits && (!reading.needsNumber || runs_.size() > begin);
}

Slot Placer::slot(const Operand& o)
{
    switch (o.from) {
    case From::Constant: return pool_.constant(typed_.constants[o.index]);
    case From::Place: return slots_[o.index];
    case From::Temporary: return pool_.temporary(o.index);
    case From::Count: return pool_.constant(counts_[o.index]);
    default: return 0;
    }
}

bool Placer::settleCount(const TypedTemplate::Count& count)
{
    double n = count.more;
    for (const std::uint32_t reading : count.readings)
        for (std::size_t k = own_[reading].first; k < own_[reading].second; ++k) n += runs_[k].count;
    counts_.push_back(n);
    return n >= count.fewest;
}

/// The cells of an area, row by row.
bool Placer::readLine(const Area& area, bool numbersOnly, std::vector<std::pair<Slot, Kind>>& cells)
{
    if (static_cast<std::int64_t>(area.rows()) * area.cols() > kLargestRun) return false;
    for (std::int32_t r = area.row0; r <= area.row1; ++r) {
        for (std::int32_t c = area.col0; c <= area.col1; ++c) {
            const Slot slot = store_.make({area.sheet, r, c});
            const Kind kind = store_.value(slot).kind();
            if (numbersOnly && kind != Kind::Number) return false;
            cells.emplace_back(slot, kind);
        }
    }
    return true;
}

bool Placer::settleTable(const TypedTemplate::Table& table)
{
    const bool picks = table.how == TypedTable::How::Pick;
    const Place& place = code_.places[picks ? table.values : table.keys];
    const auto whole = resolve(place, here_);
    if (!whole || place.lastSheet >= 0) return false;
    TypedTable made;
    made.how = table.how;
    made.identity = {static_cast<std::int32_t>(table.how),
                     whole->sheet,
                     whole->row0,
                     whole->col0,
                     whole->row1,
                     whole->col1,
                     table.line,
                     table.rowwise ? 1 : 0};
    for (std::uint32_t t = 0; t < program_.tables.size(); ++t) {
        if (program_.tables[t].identity != made.identity) continue;
        tables_.push_back(t);
        return true;
    }
    Area keys = *whole, values = *whole;
    if (picks) {
        made.rows = static_cast<std::size_t>(whole->rows());
        made.cols = static_cast<std::size_t>(whole->cols());
        if (table.line == 1 && made.rows > 1 && made.cols > 1) return false;    // a whole row
        if (table.line == 1 && made.rows == 1) std::swap(made.rows, made.cols); // along the row
        if (!readLine(values, false, made.cells)) return false;
    } else if (table.line == 0) {
        if (keys.rows() > 1 && keys.cols() > 1) return false;
        if (!readLine(keys, true, made.keyCells)) return false;
    } else {
        if (table.line > (table.rowwise ? whole->rows() : whole->cols())) return false;
        if (table.rowwise) {
            keys.row1 = keys.row0;
            values.row0 = values.row1 = whole->row0 + table.line - 1;
        } else {
            keys.col1 = keys.col0;
            values.col0 = values.col1 = whole->col0 + table.line - 1;
        }
        if (!readLine(keys, true, made.keyCells) || !readLine(values, false, made.cells)) return false;
    }
    made.read(store_.values());
    tables_.push_back(static_cast<std::uint32_t>(program_.tables.size()));
    program_.tables.push_back(std::move(made));
    return true;
}

/// Pairs of neighbours in both areas.
void Placer::products(const Step& step, Slot d)
{
    Slot start = slot(step.b);
    std::vector<Slot> x, y;
    const auto list = [&](const Operand& o, std::vector<Slot>& slots) {
        for (std::size_t k = own_[o.index].first; k < own_[o.index].second; ++k)
            for (std::uint32_t i = 0; i < runs_[k].count; ++i) slots.push_back(runs_[k].first + i);
    };
    list(step.a, x);
    list(step.e, y);
    for (std::size_t i = 0; i < x.size();) {
        std::size_t n = 1;
        while (i + n < x.size() && x[i + n] == x[i] + n && y[i + n] == y[i] + n) ++n;
        program_.instructions.push_back({step.op, d, x[i], start, static_cast<std::uint32_t>(n), y[i]});
        start = d;
        i += n;
    }
}

void Placer::runs(const Step& step, Slot d)
{
    if (step.op == TypedOp::ProductsRun) return products(step, d);
    const Slot from = step.op == TypedOp::DeviationsRun ? slot(step.e) : 0;
    Slot start = slot(step.b);
    const auto append = [&](Slot first, std::uint32_t count) {
        program_.instructions.push_back({step.op, d, first, start, count, from});
        start = d;
    };
    if (step.a.from != From::Place || !typed_.readings[step.a.index].isRun) return append(slot(step.a), 1);
    const auto [begin, end] = own_[step.a.index];
    for (std::size_t k = begin; k < end; ++k) append(runs_[k].first, runs_[k].count);
    if (begin < end) return;
    const bool nothing = step.b.from == From::Constant && std::isinf(typed_.constants[step.b.index]);
    program_.instructions.push_back({TypedOp::Copy, d, nothing ? pool_.constant(0.0) : start, 0, 0, 0});
}

void Placer::instruction(const Step& step, Slot result, bool isLast)
{
    const Slot d = isLast ? result : slot(step.d);
    if (isRun(step.op)) return runs(step, d);
    TypedInstruction in{step.op, d, slot(step.a), slot(step.b), slot(step.c), slot(step.e)};
    if (step.op == TypedOp::One) {
        in.b = static_cast<std::uint32_t>(program_.ones.size());
        if (program_.ones.empty() || program_.ones.back() != step.one) {
            program_.ones.push_back(step.one);
        } else {
            --in.b;
        }
    } else if (step.op == TypedOp::Two) {
        in.c = static_cast<std::uint32_t>(program_.twos.size());
        if (program_.twos.empty() || program_.twos.back() != step.two) {
            program_.twos.push_back(step.two);
        } else {
            --in.c;
        }
    } else if (step.op == TypedOp::Find) {
        in.b = tables_[step.table];
    } else if (step.op == TypedOp::Pick) {
        in.c = tables_[step.table];
    }
    program_.instructions.push_back(in);
}

bool Placer::place(Slot result)
{
    const std::size_t known = operands_.size();
    for (const TypedTemplate::Reading& reading : typed_.readings) {
        if (settle(reading)) continue;
        operands_.resize(known);
        return false;
    }
    bool fits = true;
    for (const TypedTemplate::Count& count : typed_.counts) fits = fits && settleCount(count);
    for (const TypedTemplate::Step& step : typed_.steps) {
        if (step.op != TypedOp::ProductsRun) continue;
        const auto length = [&](const Operand& o) {
            std::size_t n = 0;
            for (std::size_t k = own_[o.index].first; k < own_[o.index].second; ++k) n += runs_[k].count;
            return n;
        };
        const auto x = resolve(code_.places[typed_.readings[step.a.index].place], here_);
        const auto y = resolve(code_.places[typed_.readings[step.e.index].place], here_);
        fits = fits && length(step.a) == length(step.e) && x->rows() == y->rows();
    }
    const std::size_t tables = program_.tables.size();
    for (const TypedTemplate::Table& table : typed_.tables) fits = fits && settleTable(table);
    if (!fits) {
        operands_.resize(known);
        program_.tables.resize(tables);
        return false;
    }
    // The last instruction writes the result itself where nothing jumps past it.
    const bool jumps = !typed_.steps.empty() && [&] {
        for (const Step& step : typed_.steps)
            if (isJump(step.op)) return true;
        return false;
    }();
    const bool direct = !jumps && !typed_.steps.empty() && typed_.steps.back().d == typed_.value;
    std::vector<std::uint32_t> starts;
    std::vector<std::pair<std::size_t, std::uint32_t>> aims; // instruction, step it jumps to
    for (std::size_t i = 0; i < typed_.steps.size(); ++i) {
        const Step& step = typed_.steps[i];
        starts.push_back(static_cast<std::uint32_t>(program_.instructions.size()));
        if (isJump(step.op)) aims.emplace_back(program_.instructions.size(), step.target);
        instruction(step, result, direct && i + 1 == typed_.steps.size());
    }
    starts.push_back(static_cast<std::uint32_t>(program_.instructions.size()));
    if (!direct) program_.instructions.push_back({TypedOp::Copy, result, slot(typed_.value), 0, 0, 0});
    for (const auto& [jump, step] : aims) program_.instructions[jump].d = starts[step];
    return true;
}

/// Joins neighbouring formulas of a program.
class Joiner {
public:
    Joiner(const TypedProgram& program, const std::vector<std::uint32_t>& oldStarts,
           const std::vector<std::uint64_t>& groups, const TypedPool& pool)
        : old_(program.instructions), starts_(oldStarts), groups_(groups), pool_(pool)
    {}

    void run()
    {
        for (std::size_t i = 0; i < starts_.size();) {
            const std::size_t count = alike(i);
            if (count >= kFewest) {
                repeat(i, count);
            } else {
                for (std::size_t k = i; k < i + count; ++k) copy(k);
            }
            i += count;
        }
    }
    std::vector<TypedInstruction> instructions;
    std::vector<std::uint32_t> starts;

private:
    static constexpr std::size_t kFewest = 4;

    std::uint32_t end(std::size_t i) const
    {
        return i + 1 < starts_.size() ? starts_[i + 1] : static_cast<std::uint32_t>(old_.size());
    }
    static TypedInstruction difference(const TypedInstruction& x, const TypedInstruction& y)
    {
        return {x.op, y.d - x.d, y.a - x.a, y.b - x.b, y.c - x.c, y.e - x.e};
    }
    static bool same(const TypedInstruction& x, const TypedInstruction& y)
    {
        return x.d == y.d && x.a == y.a && x.b == y.b && x.c == y.c && x.e == y.e;
    }
    /// Whether formulas i and i + 1 differ in their operands alone, by the same strides as i0 and i0 + 1.
    bool continues(std::size_t i0, std::size_t i) const
    {
        const std::uint32_t length = end(i) - starts_[i];
        if (groups_[i + 1] != groups_[i] || end(i + 1) - starts_[i + 1] != length) return false;
        for (std::uint32_t k = 0; k < length; ++k) {
            const TypedInstruction& x = old_[starts_[i] + k];
            const TypedInstruction& y = old_[starts_[i + 1] + k];
            if (x.op != y.op || x.op > TypedOp::Pick) return false;
            const bool byB = x.op == TypedOp::One || x.op == TypedOp::Find;
            const bool byC = x.op == TypedOp::Two || x.op == TypedOp::Pick;
            if ((byB && x.b != y.b) || (byC && x.c != y.c)) return false; // another function or table
            if (i == i0) continue;
            const TypedInstruction first = difference(old_[starts_[i0] + k], old_[starts_[i0 + 1] + k]);
            if (!same(difference(x, y), first)) return false;
        }
        return true;
    }
    std::size_t alike(std::size_t i0) const
    {
        std::size_t i = i0;
        while (i + 1 < starts_.size() && i - i0 + 1 < TypedPool::kMostRepeats && continues(i0, i)) ++i;
        return i - i0 + 1;
    }
    void copy(std::size_t i)
    {
        const auto at = static_cast<std::uint32_t>(instructions.size());
        starts.push_back(at);
        for (std::uint32_t k = starts_[i]; k < end(i); ++k) {
            instructions.push_back(old_[k]);
            if (isJump(old_[k].op)) instructions.back().d += at - starts_[i];
        }
    }
    void repeat(std::size_t i, std::size_t count)
    {
        starts.insert(starts.end(), count, static_cast<std::uint32_t>(instructions.size()));
        const std::uint32_t length = end(i) - starts_[i];
        instructions.push_back({TypedOp::Repeat, 0, static_cast<std::uint32_t>(count), length, 0, 0});
        for (std::uint32_t k = 0; k < length; ++k) {
            const TypedInstruction& x = old_[starts_[i] + k];
            TypedInstruction stride = difference(x, old_[starts_[i + 1] + k]);
            const std::pair<Slot, std::uint32_t*> operands[] = {
                {x.d, &stride.d}, {x.a, &stride.a}, {x.b, &stride.b}, {x.c, &stride.c}, {x.e, &stride.e}};
            for (const auto& [slot, step] : operands)
                if (pool_.isTemporary(slot)) *step = 1; // each formula has its own
            instructions.push_back(x);
            instructions.push_back(stride);
        }
    }

    const std::vector<TypedInstruction>& old_;
    const std::vector<std::uint32_t>& starts_;
    const std::vector<std::uint64_t>& groups_;
    const TypedPool& pool_;
};

} // namespace

TypedTemplate makeTypedTemplate(const Code& code) { return Typist(code).run(); }

Slot TypedPool::take()
{
    if (next_ == end_) {
        next_ = store_.makeScratch(Store::kTileRows);
        end_ = next_ + Store::kTileRows;
    }
    store_.value(next_) = Value(0.0);
    return next_++;
}

Slot TypedPool::constant(double x)
{
    const auto [at, isNew] = constants_.try_emplace(std::bit_cast<std::uint64_t>(x), kNoSlot);
    if (isNew) {
        at->second = take();
        store_.value(at->second) = Value(x);
    }
    return at->second;
}

Slot TypedPool::temporary(std::uint32_t i)
{
    while (temporaries_.size() <= i) {
        const Slot first = store_.makeScratch(kMostRepeats);
        for (Slot s = first; s < first + kMostRepeats; ++s) store_.value(s) = Value(0.0);
        temporaries_.push_back(first);
        temporarySlots_.insert(first);
    }
    return temporaries_[i];
}

bool appendTyped(const TypedTemplate& typed, const Code& code, const CellAddress& here, Slot result,
                 Store& store, TypedPool& pool, TypedProgram& program,
                 std::vector<std::pair<Slot, Kind>>& operands)
{
    if (!typed.possible) return false;
    return Placer(typed, code, here, store, pool, program, operands).place(result);
}

void joinRepeats(TypedProgram& program, std::vector<std::uint32_t>& starts,
                 const std::vector<std::uint64_t>& groups, const TypedPool& pool)
{
    Joiner joiner(program, starts, groups, pool);
    joiner.run();
    program.instructions = std::move(joiner.instructions);
    starts = std::move(joiner.starts);
}

} // namespace varnex3::sheet
