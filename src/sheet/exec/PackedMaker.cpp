// sheet/exec/PackedMaker.cpp - from typed code to packed code.
#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <unordered_map>

#include "sheet/exec/PackedOps.h"

namespace varnex3::sheet {
namespace {

constexpr std::size_t kFewestAlike = 4, kMostAlike = 256;
constexpr std::size_t kTemporaryRoom = 2048; // numbers, so that those of a row stay in the nearest cache

} // namespace

/// Goes through the formulas in order. Formulas that may become a row wait until the next one differs.
class PackedMaker {
public:
    explicit PackedMaker(const PackedSource& source) : source_(source) {}

    PackedProgram make()
    {
        const auto places = static_cast<std::uint32_t>(source_.results.size());
        typedAt_.assign(places, false);
        for (const PackedSource::Formula& f : source_.formulas) typedAt_[f.position] = true;
        take(places, false);
        for (std::uint32_t p = 0; p < places; ++p) registerOf_.emplace(source_.results[p], p);
        firstInput_ = places;
        for (const Slot slot : source_.written) registerOf_.emplace(slot, take(1, false));
        none_ = take(1, false);
        inputRead_.assign(source_.written.size(), false);
        program_.starts_.resize(source_.formulas.size());
        for (const PackedSource::Step& step : source_.steps) makeStep(step);
        finish();
        return std::move(program_);
    }

private:
    using Code = std::vector<PackedInstruction>;

    std::uint32_t take(std::size_t count, bool constant)
    {
        const std::size_t first = constant_.size();
        constant_.resize(first + count, constant);
        return static_cast<std::uint32_t>(first);
    }
    bool isConstant(std::uint32_t operand) const { return (operand & kTemporary) == 0 && constant_[operand]; }

    void makeStep(const PackedSource::Step& step);

    // One formula
    Code translate(std::uint32_t formula);
    std::uint32_t read(Slot slot);
    std::uint32_t outside(Slot slot);
    void bind(Slot slot, std::uint32_t operand);
    std::uint32_t temporaryFor(Slot slot, bool joins);
    void emit(PackedInstruction in, Slot result);
    void run(std::size_t& i, std::size_t end);
    void lookUp(const TypedInstruction& in);
    std::uint32_t fold(const PackedInstruction& in);
    void placeResult(std::uint32_t position, std::uint32_t value);

    // Several
    std::uint32_t sideBySide(const std::vector<std::uint32_t>& operands, Code& where);
    bool continues(const Code& code, std::uint32_t formula) const;
    void flush();
    bool row();
    void append(const Code& code, std::uint32_t formula);
    void finish();

    const PackedSource& source_;
    PackedProgram program_;
    std::vector<bool> constant_, typedAt_; // by register; by position
    std::unordered_map<Slot, std::uint32_t> registerOf_;
    std::uint32_t firstInput_ = 0, none_ = 0;
    std::map<std::array<std::uint32_t, 6>, std::uint32_t> folded_;
    std::map<std::vector<std::uint32_t>, std::uint32_t> blocks_; // operands -> where they lie side by side
    std::vector<bool> loaded_;                                   // by position: an operand of this step
    std::vector<bool> inputRead_;

    // Of the formula being translated
    std::uint32_t formula_ = 0;
    Code code_, gathers_;
    std::vector<std::pair<Slot, std::uint32_t>> inside_; // slots written so far, and what they hold
    std::uint32_t temporaries_ = 0;
    bool jumps_ = false; // so far

    // Formulas that wait
    std::vector<Code> alike_;
    std::uint32_t firstAlike_ = 0;
    std::size_t temporaryRoom_ = 0;
};

std::uint32_t PackedMaker::outside(Slot slot)
{
    const auto [at, isNew] = registerOf_.try_emplace(slot, 0);
    if (isNew) {
        at->second = take(1, true);
        program_.constants_.push_back({slot, at->second});
    }
    const std::uint32_t r = at->second;
    if (r < firstInput_ && !typedAt_[r] && !loaded_[r]) {
        loaded_[r] = true;
        program_.steps_.back().operands.push_back({slot, r});
    } else if (r >= firstInput_ && r - firstInput_ < inputRead_.size() && !inputRead_[r - firstInput_]) {
        inputRead_[r - firstInput_] = true;
        program_.inputs_.push_back({slot, r});
    }
    return r;
}

std::uint32_t PackedMaker::read(Slot slot)
{
    for (const auto& [written, operand] : inside_)
        if (written == slot) return operand;
    return outside(slot);
}

void PackedMaker::bind(Slot slot, std::uint32_t operand)
{
    for (auto& [written, known] : inside_)
        if (written == slot) {
            known = operand;
            return;
        }
    inside_.emplace_back(slot, operand);
}

/// Where a slot's number goes: a new temporary each time, except that both values of an IF go to one.
std::uint32_t PackedMaker::temporaryFor(Slot slot, bool joins)
{
    for (const auto& [written, known] : inside_)
        if (joins && written == slot && (known & kTemporary) != 0) return known;
    const std::uint32_t fresh = kTemporary | temporaries_++;
    bind(slot, fresh);
    return fresh;
}

/// An operation whose operands no written cell changes: the register of its result, worked out at loading.
std::uint32_t PackedMaker::fold(const PackedInstruction& in)
{
    const std::array<std::uint32_t, 6> key{
        static_cast<std::uint32_t>(in.op), in.count, in.a, in.b, in.c, in.e};
    const auto [at, isNew] = folded_.try_emplace(key, 0);
    if (isNew) {
        at->second = take(1, true);
        program_.once_.instructions.push_back(in);
        program_.once_.instructions.back().d = at->second;
        program_.onceFor_.push_back(formula_);
    }
    return at->second;
}

void PackedMaker::emit(PackedInstruction in, Slot result)
{
    const auto fields = operandFields(in);
    bool constant = in.op != PackedOp::FindAmong && in.op != PackedOp::PickAmong;
    if (isRun(in.op)) {
        const bool usesE = in.op == PackedOp::DeviationsRun || in.op == PackedOp::ProductsRun;
        constant = isConstant(in.a) && isConstant(in.b) && (!usesE || isConstant(in.e));
    } else {
        for (std::size_t k = 0; k < operandsOf(in.op); ++k) constant = constant && isConstant(*fields[k]);
    }
    const bool copies = in.op == PackedOp::Copy;
    if (!jumps_ && (constant || copies)) return bind(result, copies ? in.a : fold(in));
    in.d = temporaryFor(result, jumps_ && copies);
    code_.push_back(in);
}

/// A run over cells; of one number it is a plain operation. Pieces that follow one another become one.
void PackedMaker::run(std::size_t& i, std::size_t end)
{
    const std::vector<TypedInstruction>& typed = source_.typed.instructions;
    const TypedInstruction& first = typed[i];
    const bool pairs = first.op == TypedOp::ProductsRun;
    PackedInstruction in;
    if (first.op == TypedOp::PresentRun) { // every cell has a number, else the plan has stopped before
        in.a = read(first.b);
        return emit(in, first.d);
    }
    in.op = static_cast<PackedOp>(first.op);
    in.b = read(first.b);
    if (first.op == TypedOp::DeviationsRun) in.e = read(first.e);
    std::vector<std::uint32_t> x, y;
    const auto members = [&](const TypedInstruction& piece) {
        for (std::uint32_t k = 0; k < piece.c; ++k) {
            x.push_back(read(piece.a + k));
            if (pairs) y.push_back(read(piece.e + k));
        }
    };
    members(first);
    const auto isInside = [&] { return (x.back() & kTemporary) != 0; };
    while (i + 1 < end && !isInside()) {
        const TypedInstruction& next = typed[i + 1];
        const bool goesOn = next.op == first.op && next.b == first.d && next.d == first.d &&
                            (pairs || next.e == first.e) && (read(next.a) & kTemporary) == 0;
        if (!goesOn) break;
        members(next);
        ++i;
    }
    in.count = static_cast<std::uint32_t>(x.size());
    if (in.count == 1) {
        in.a = x[0];
        if (in.op == PackedOp::SumRun) in = {PackedOp::Add, false, 1, 0, in.b, x[0], 0, 0};
        if (in.op == PackedOp::ProductRun) in = {PackedOp::Multiply, false, 1, 0, in.b, x[0], 0, 0};
        if (in.op == PackedOp::SumSquaresRun) in = {PackedOp::AddProduct, false, 1, 0, in.b, x[0], x[0], 0};
        if (in.op == PackedOp::ProductsRun) in = {PackedOp::AddProduct, false, 1, 0, in.b, x[0], y[0], 0};
    } else {
        in.a = sideBySide(x, gathers_);
        if (pairs) in.e = sideBySide(y, gathers_);
    }
    emit(in, first.d);
}

/// Find or Pick among cells that change. What is no number there is none.
void PackedMaker::lookUp(const TypedInstruction& in)
{
    const std::uint32_t number = *in.table();
    const TypedTable& table = source_.typed.tables[number];
    std::vector<std::uint32_t> cells;
    for (const auto* part : {&table.keyCells, &table.cells})
        for (const auto& [slot, kind] : *part) cells.push_back(kind == Kind::Number ? read(slot) : none_);
    const bool finds = in.op == TypedOp::Find;
    emit({finds ? PackedOp::FindAmong : PackedOp::PickAmong, false, 1, 0, read(in.a), finds ? 0 : read(in.b),
          sideBySide(cells, gathers_), number},
         in.d);
}

PackedMaker::Code PackedMaker::translate(std::uint32_t formula)
{
    const std::vector<TypedInstruction>& typed = source_.typed.instructions;
    const PackedSource::Formula& place = source_.formulas[formula];
    const std::size_t begin = place.begin;
    const std::size_t end =
        formula + 1 < source_.formulas.size() ? source_.formulas[formula + 1].begin : typed.size();
    const Slot result = source_.results[place.position];
    formula_ = formula;
    code_.clear();
    gathers_.clear();
    inside_.clear();
    temporaries_ = 0;
    jumps_ = false;
    std::vector<std::uint32_t> at(end - begin + 1, 0); // by typed instruction
    for (std::size_t i = begin; i < end; ++i) {
        at[i - begin] = static_cast<std::uint32_t>(code_.size());
        const TypedInstruction& in = typed[i];
        const auto op = static_cast<PackedOp>(in.op);
        if (isRun(op)) {
            run(i, end);
            continue;
        }
        if (const auto table = in.table(); table && source_.typed.tables[*table].live) {
            lookUp(in);
            continue;
        }
        PackedInstruction out{op, false, 1, in.d, in.a, in.b, in.c, in.e};
        const auto fields = operandFields(out);
        for (std::size_t k = 0; k < operandsOf(op); ++k) *fields[k] = read(*fields[k]);
        // Behind the operands stands the number of a function or table; the rest means nothing.
        for (std::size_t k = operandsOf(op) + (hasNumber(op) ? 1 : 0); k < 4; ++k) *fields[k] = 0;
        if (op == PackedOp::Holds) out.c = in.c == kNoHolds ? 0 : in.c;
        if (op == PackedOp::JumpIfZero || op == PackedOp::Jump || op == PackedOp::Try) {
            jumps_ = true;
            code_.push_back(out);
        } else {
            emit(out, in.d);
        }
    }
    at[end - begin] = static_cast<std::uint32_t>(code_.size());
    for (PackedInstruction& in : code_)
        if (std::uint32_t* aim = aimOf(in); aim != nullptr && *aim != 0) *aim = at[*aim - begin];
    placeResult(place.position, read(result));

    const auto shift = static_cast<std::uint32_t>(gathers_.size());
    for (PackedInstruction& in : code_)
        if (std::uint32_t* aim = aimOf(in); aim != nullptr && *aim != 0) *aim += shift;
    code_.insert(code_.begin(), gathers_.begin(), gathers_.end());
    if (jumps_) {
        auto straight = withoutJumps(code_, none_);
        if (straight && straight->chooses) code_ = std::move(straight->code);
    }
    temporaryRoom_ = std::max<std::size_t>(temporaryRoom_, temporaries_);
    return code_;
}

/// The result goes where it belongs: from the instruction that makes it, or by a copy.
void PackedMaker::placeResult(std::uint32_t position, std::uint32_t value)
{
    const auto size = static_cast<std::uint32_t>(code_.size());
    const bool last = !code_.empty() && (value & kTemporary) != 0 && code_.back().d == value;
    const bool passed = std::any_of(code_.begin(), code_.end(), [&](PackedInstruction in) {
        const std::uint32_t* aim = aimOf(in);
        return aim != nullptr && *aim == size;
    });
    if (last && !passed) {
        code_.back().d = position;
    } else {
        code_.push_back({PackedOp::Copy, false, 1, position, value, 0, 0, 0});
    }
}

/// Registers one after the other that hold some operands: they themselves, copies made at loading, or copies
/// that the program makes.
std::uint32_t PackedMaker::sideBySide(const std::vector<std::uint32_t>& operands, Code& where)
{
    bool follow = true, constant = true;
    for (std::size_t k = 0; k < operands.size(); ++k) {
        follow = follow && operands[k] == operands[0] + k;
        constant = constant && isConstant(operands[k]);
    }
    if (follow) return operands[0];
    const auto [at, isNew] = blocks_.try_emplace(operands, 0);
    if (isNew) {
        at->second = take(operands.size(), constant);
        std::vector<std::uint32_t>& lists = (constant ? program_.once_ : program_.each_).lists;
        (constant ? program_.once_.instructions : where)
            .push_back({PackedOp::GatherRow, false, static_cast<std::uint32_t>(operands.size()), at->second,
                        static_cast<std::uint32_t>(lists.size()), 0, 0, 0});
        lists.insert(lists.end(), operands.begin(), operands.end());
        if (constant) program_.onceFor_.push_back(formula_);
    }
    return at->second;
}

/// Whether a formula has the operations of those that wait, on operands of its own.
bool PackedMaker::continues(const Code& code, std::uint32_t formula) const
{
    if (alike_.empty()) return true;
    const Code& first = alike_.front();
    const std::size_t most =
        std::clamp<std::size_t>(kTemporaryRoom / (first.size() + 1), kFewestAlike, kMostAlike);
    const bool sameGroup = source_.formulas[formula].group == source_.formulas[firstAlike_].group;
    if (!sameGroup || alike_.size() == most || code.size() != first.size()) return false;
    return std::equal(code.begin(), code.end(), first.begin(), [](PackedInstruction x, PackedInstruction y) {
        const std::size_t behind = operandsOf(x.op);
        return x.op == y.op && x.count == y.count && (aimOf(x) == nullptr || *aimOf(x) == *aimOf(y)) &&
               (!hasNumber(x.op) || *operandFields(x)[behind] == *operandFields(y)[behind]);
    });
}

void PackedMaker::makeStep(const PackedSource::Step& step)
{
    loaded_.assign(firstInput_, false);
    auto& made = program_.steps_.emplace_back();
    made.begin = static_cast<std::uint32_t>(program_.each_.instructions.size());
    made.firstFormula = step.first;
    made.lastFormula = step.last;
    for (std::uint32_t f = step.first; f < step.last; ++f) {
        Code code = translate(f);
        if (!continues(code, f)) flush();
        if (alike_.empty()) firstAlike_ = f;
        alike_.push_back(std::move(code));
    }
    flush();
    program_.steps_.back().end = static_cast<std::uint32_t>(program_.each_.instructions.size());
    program_.each_.instructions.push_back({PackedOp::End});
}

void PackedMaker::flush()
{
    if (alike_.size() < kFewestAlike || !row())
        for (std::uint32_t k = 0; k < alike_.size(); ++k) append(alike_[k], firstAlike_ + k);
    alike_.clear();
}

void PackedMaker::append(const Code& code, std::uint32_t formula)
{
    Code& all = program_.each_.instructions;
    const auto start = static_cast<std::uint32_t>(all.size());
    program_.starts_[formula] = start;
    all.insert(all.end(), code.begin(), code.end());
    for (std::size_t i = start; i < all.size(); ++i)
        if (std::uint32_t* aim = aimOf(all[i]); aim != nullptr && *aim != 0) *aim += start;
}

/// The formulas that wait as rows; false where they cannot be.
bool PackedMaker::row()
{
    std::vector<Code> codes;
    for (const Code& code : alike_) {
        auto straight = withoutJumps(code, none_);
        if (!straight) return false;
        codes.push_back(std::move(straight->code));
    }
    const auto count = static_cast<std::uint32_t>(codes.size());
    Code rows;
    Code& all = program_.each_.instructions;
    const std::size_t start = all.size();
    std::vector<std::uint32_t> operands(count);
    for (std::size_t i = 0; i < codes.front().size(); ++i) {
        PackedInstruction in = codes.front()[i];
        const auto op = rowOf(in);
        if (!op) return false;
        const auto fields = operandFields(in);
        for (std::size_t k = 0; k < operandsOf(in.op); ++k) {
            for (std::uint32_t f = 0; f < count; ++f) operands[f] = *operandFields(codes[f][i])[k];
            const bool inside = (operands[0] & kTemporary) != 0;
            const bool mixed = std::any_of(operands.begin(), operands.end(), [&](std::uint32_t o) {
                return inside ? o != operands[0] : (o & kTemporary) != 0;
            });
            if (mixed) return false;
            *fields[k] =
                inside ? kTemporary | ((operands[0] & ~kTemporary) * count) : sideBySide(operands, all);
        }
        in.op = *op;
        in.count = count;
        in.isResult = (in.d & kTemporary) == 0;
        if (!in.isResult) in.d = kTemporary | ((in.d & ~kTemporary) * count);
        rows.push_back(in);
    }
    all.insert(all.end(), rows.begin(), rows.end());
    std::fill_n(program_.starts_.begin() + firstAlike_, count, static_cast<std::uint32_t>(start));
    temporaryRoom_ = std::max(temporaryRoom_, temporariesOf(alike_.front()) * count);
    return true;
}

void PackedMaker::finish()
{
    program_.once_.instructions.push_back({PackedOp::End});
    const auto room = take(temporaryRoom_, false);
    for (PackedInstruction& in : program_.each_.instructions) {
        for (std::uint32_t* field : {&in.d, &in.a, &in.b, &in.c, &in.e})
            if ((*field & kTemporary) != 0) *field = room + (*field & ~kTemporary);
    }
    program_.registers_.assign(constant_.size(), 0.0);
    program_.registers_[none_] = std::numeric_limits<double>::quiet_NaN();
    for (PackedCode* code : {&program_.once_, &program_.each_}) {
        code->ones = source_.typed.ones;
        code->twos = source_.typed.twos;
        code->tables = source_.typed.tables;
        code->bodies = source_.typed.bodies;
    }
    for (const PackedSource::Formula& f : source_.formulas) {
        program_.positions_.push_back(f.position);
        program_.late_.cells.push_back({source_.results[f.position], f.position});
    }
    program_.late_.bySlot = program_.late_.cells;
    std::sort(program_.late_.bySlot.begin(), program_.late_.bySlot.end());
}

PackedProgram PackedProgram::make(const PackedSource& source) { return PackedMaker(source).make(); }

} // namespace varnex3::sheet
