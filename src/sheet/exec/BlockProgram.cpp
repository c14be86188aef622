// sheet/exec/BlockProgram.cpp - from typed code to block code.
#include "sheet/exec/BlockProgram.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>

namespace varnex3::sheet {
namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

std::size_t operandsOf(BlockOp op)
{
    switch (op) {
#define VARNEX3_OPERANDS(name, operands, result)                                                             \
    case BlockOp::name: return operands;
        VARNEX3_TYPED_OPERATIONS(VARNEX3_OPERANDS)
#undef VARNEX3_OPERANDS
    case BlockOp::If:
    case BlockOp::Take:
    case BlockOp::Merge: return 1;
    case BlockOp::Holds:
    case BlockOp::FindList:
    case BlockOp::PickList: return 2;
    default: return 0;
    }
}

bool isList(BlockOp op) { return op >= BlockOp::SumList && op <= BlockOp::ProductsList; }
/// Whether it has no result.
bool isControl(BlockOp op) { return op == BlockOp::If || op == BlockOp::Else || op == BlockOp::End; }

} // namespace

/// Works with variables, each defined once (twice where an IF joins its values); they get registers last.
class BlockMaker {
public:
    BlockMaker(const TypedProgram& typed, BlockFormulas formulas, std::span<const Slot> inputs,
               std::span<const Slot> outputs)
        : typed_(typed), inputs_(inputs), outputs_(outputs)
    {
        program_.each_.sources.resize(formulas.all.size());
        program_.comparing_.comparisons = typed.comparisons;
        program_.formulas_ = std::make_shared<const BlockFormulas>(std::move(formulas));
    }

    std::optional<BlockProgram> make()
    {
        for (const Slot slot : inputs_) current_[slot] = variable(false);
        for (std::size_t i = 0; i < typed_.instructions.size(); ++i)
            if (!instruction(i)) return std::nullopt;
        for (const Slot slot : outputs_) outputVariables_.push_back(read(slot));
        dropUnneeded();
        assignRegisters();
        return std::move(program_);
    }

private:
    struct Branch {
        std::uint32_t otherwise = 0, end = 0; // positions in the typed code
        std::uint32_t result = kNone;         // variable of the first value, then of both
        std::uint32_t condition = kNone;
    };

    std::uint32_t variable(bool constant, bool fromCell = false)
    {
        constant_.push_back(constant);
        fromCell_.push_back(fromCell);
        unsure_.push_back(false);
        return static_cast<std::uint32_t>(constant_.size() - 1);
    }
    std::uint32_t read(Slot slot)
    {
        const auto [at, isNew] = current_.try_emplace(slot, kNone);
        if (isNew) {
            at->second = variable(true, true);
            constants_.emplace_back(slot, at->second);
        }
        return at->second;
    }
    bool instruction(std::size_t i);
    void operation(const TypedInstruction& in);
    void list(const TypedInstruction& in);
    bool varies(const TypedTable& table) const;
    void lookUp(const TypedInstruction& in);
    static std::size_t tableCells(const TypedTable& table)
    {
        return table.keyCells.size() + table.cells.size();
    }
    void formula(const TypedInstruction& in);
    void holds(const TypedInstruction& in);
    bool isUnsure(const BlockCode& code, const BlockInstruction& in) const;
    std::uint32_t emit(BlockInstruction in, bool constant);
    template <class F>
    void visitOperands(const BlockCode& code, const BlockInstruction& in, F f) const;
    void dropUnneeded();
    void assignRegisters();

    const TypedProgram& typed_;
    std::span<const Slot> inputs_, outputs_;
    BlockProgram program_;
    std::vector<bool> constant_;                            // by variable: the same in every trial
    std::vector<bool> unsure_;                              // by variable: may be none without an error
    std::vector<bool> fromCell_;                            // by variable: what a cell holds
    std::unordered_map<Slot, std::uint32_t> current_;       // slot -> the variable that it holds now
    std::vector<std::pair<Slot, std::uint32_t>> constants_; // slot -> variable
    std::vector<std::uint32_t> outputVariables_;
    std::vector<Branch> branches_;
    std::unordered_map<Slot, std::int32_t> given_; // slot -> the formula whose result it is
};

std::uint32_t BlockMaker::emit(BlockInstruction in, bool constant)
{
    in.d = variable(constant);
    BlockCode& code = constant ? program_.once_ : program_.each_;
    unsure_[in.d] = isUnsure(code, in);
    code.instructions.push_back(in);
    return in.d;
}

/// Whether a result may be no number although the formula gives something: a text, or a count of cells of
/// which one holds an error.
bool BlockMaker::isUnsure(const BlockCode& code, const BlockInstruction& in) const
{
    bool unsure = in.op == BlockOp::Given || in.op == BlockOp::AddChosen || in.op == BlockOp::PresentList ||
                  in.op == BlockOp::Formula;
    auto table = TypedInstruction{static_cast<TypedOp>(in.op), 0, 0, in.b, in.c, 0}.table();
    if (in.op > BlockOp::Find) table = std::nullopt;
    if (in.op == BlockOp::FindList || in.op == BlockOp::PickList) table = in.e;
    if (table)
        for (const auto& [slot, kind] : typed_.tables[*table].cells) unsure = unsure || kind != Kind::Number;
    // An error among the keys is passed over. The first variables are inputs, which have none.
    for (std::size_t k = 0; in.op == BlockOp::FindList && k < typed_.tables[in.e].keyCells.size(); ++k) {
        const std::uint32_t key = code.lists[in.c + k];
        unsure = unsure || (key >= inputs_.size() && !fromCell_[key]);
    }
    visitOperands(code, in, [&](std::uint32_t v) { unsure = unsure || unsure_[v]; });
    return unsure;
}

bool BlockMaker::instruction(std::size_t i)
{
    const TypedInstruction& in = typed_.instructions[i];
    while (!branches_.empty() && branches_.back().end == i && branches_.back().result != kNone) {
        program_.each_.instructions.push_back({BlockOp::End, 0, 0, 0, 0, 0});
        branches_.pop_back();
    }
    switch (in.op) {
    case TypedOp::Try: return true;
    case TypedOp::Holds: holds(in); return true;
    case TypedOp::Stop:
        current_[in.d] = emit({BlockOp::Copy, 0, read(in.a), 0, 0, 0}, true);
        unsure_[current_[in.d]] = true;
        return true;
    case TypedOp::Formula: formula(in); return true;
    case TypedOp::JumpIfZero:
        program_.each_.instructions.push_back({BlockOp::If, 0, read(in.a), 0, 0, 0});
        branches_.push_back({in.d, 0, kNone, read(in.a)});
        program_.each_.depth = std::max(program_.each_.depth, branches_.size());
        return branches_.size() < kDeepestIf;
    case TypedOp::Jump:
        // The first value has just been copied to where both go.
        branches_.back().end = in.d;
        branches_.back().result = current_.at(typed_.instructions[i - 1].d);
        program_.each_.instructions.push_back({BlockOp::Else, 0, 0, 0, 0, 0});
        return true;
    case TypedOp::SumRun:
    case TypedOp::SumSquaresRun:
    case TypedOp::ProductRun:
    case TypedOp::LeastRun:
    case TypedOp::GreatestRun:
    case TypedOp::PresentRun:
    case TypedOp::DeviationsRun:
    case TypedOp::ProductsRun: list(in); return true;
    case TypedOp::Copy: {
        const bool second =
            !branches_.empty() && branches_.back().result != kNone && branches_.back().end == i + 1;
        if (second) {
            const std::uint32_t result = branches_.back().result, a = read(in.a);
            program_.each_.instructions.push_back({BlockOp::Merge, result, a, 0, 0, 0});
            unsure_[result] = unsure_[result] || unsure_[a];
            return true;
        }
        const bool first =
            i + 1 < typed_.instructions.size() && typed_.instructions[i + 1].op == TypedOp::Jump;
        if (!first) {
            current_[in.d] = read(in.a);
            return true;
        }
        const std::uint32_t taken = emit({BlockOp::Take, 0, read(in.a), 0, 0, 0}, false);
        unsure_[taken] = unsure_[taken] || unsure_[branches_.back().condition];
        current_[in.d] = taken;
        return true;
    }
    case TypedOp::Find:
    case TypedOp::Pick:
        if (varies(typed_.tables[*in.table()])) {
            lookUp(in);
        } else {
            operation(in);
        }
        return true;
    default: operation(in); return true;
    }
}

void BlockMaker::operation(const TypedInstruction& in)
{
    BlockInstruction out{static_cast<BlockOp>(in.op), 0, in.a, in.b, in.c, in.e};
    bool constant = true;
    std::uint32_t* const operands[] = {&out.a, &out.b, &out.c, &out.e};
    for (std::size_t k = 0; k < operandsOf(out.op); ++k) {
        *operands[k] = read(*operands[k]);
        constant = constant && constant_[*operands[k]];
    }
    current_[in.d] = emit(out, constant);
}

bool BlockMaker::varies(const TypedTable& table) const
{
    const auto differs = [&](const std::pair<Slot, Kind>& cell) {
        const auto at = current_.find(cell.first);
        return at != current_.end() && !fromCell_[at->second];
    };
    return std::any_of(table.keyCells.begin(), table.keyCells.end(), differs) ||
           std::any_of(table.cells.begin(), table.cells.end(), differs);
}

/// Find and Pick among cells of which some differ from trial to trial.
void BlockMaker::lookUp(const TypedInstruction& in)
{
    const TypedTable& table = typed_.tables[*in.table()];
    const std::uint32_t a = read(in.a), b = in.op == TypedOp::Pick ? read(in.b) : a;
    const auto first = static_cast<std::uint32_t>(program_.each_.lists.size());
    for (const auto* cells : {&table.keyCells, &table.cells})
        for (const auto& [slot, kind] : *cells) // what is no number is never taken
            program_.each_.lists.push_back(kind == Kind::Number ? read(slot) : a);
    const BlockOp op = in.op == TypedOp::Find ? BlockOp::FindList : BlockOp::PickList;
    current_[in.d] = emit({op, 0, a, b, first, *in.table()}, false);
}

/// Whether a value is there. Where that may not be known, an error is none: such a trial stops.
void BlockMaker::holds(const TypedInstruction& in)
{
    const std::uint32_t a = read(in.a), b = unsure_[a] ? a : read(in.b);
    const BlockInstruction out{BlockOp::Holds, 0, a, b, 0, 0};
    current_[in.d] = emit(out, constant_[a] && constant_[b]);
}

/// A formula for the general evaluator. Cells that no trial changes are copied once (FormulaLanes).
void BlockMaker::formula(const TypedInstruction& in)
{
    std::vector<BlockSource>& sources = program_.each_.sources[in.a];
    for (const auto& [slot, kind] : program_.formulas_->all[in.a].cells) {
        const auto at = current_.find(slot);
        if (at == current_.end() || fromCell_[at->second]) continue;
        const auto given = given_.find(slot);
        sources.push_back({slot, at->second, kind, given == given_.end() ? -1 : given->second});
    }
    current_[in.d] = emit({BlockOp::Formula, 0, in.a, 0, 0, 0}, false);
    given_[in.d] = static_cast<std::int32_t>(in.a);
}

/// The numbers of a run one after the other; what comes first and does not depend on the inputs is summed up
/// once.
void BlockMaker::list(const TypedInstruction& in)
{
    const auto op = static_cast<BlockOp>(static_cast<int>(BlockOp::SumList) +
                                         (static_cast<int>(in.op) - static_cast<int>(TypedOp::SumRun)));
    const std::uint32_t from = op == BlockOp::DeviationsList ? read(in.e) : 0;
    std::uint32_t start = read(in.b);
    std::vector<std::uint32_t> members;
    for (std::uint32_t k = 0; k < in.c; ++k) {
        members.push_back(read(in.a + k));
        if (op == BlockOp::ProductsList) members.push_back(read(in.e + k));
    }
    const bool mayBegin = constant_[start] && (op != BlockOp::DeviationsList || constant_[from]);
    auto changes = mayBegin ? std::find_if(members.begin(), members.end(),
                                           [&](std::uint32_t v) { return !constant_[v]; })
                            : members.begin();
    if (op == BlockOp::ProductsList && (changes - members.begin()) % 2 != 0) --changes;
    const auto fold = [&](auto first, auto last, bool constant) {
        if (first == last) return;
        BlockCode& code = constant ? program_.once_ : program_.each_;
        const auto at = static_cast<std::uint32_t>(code.lists.size());
        code.lists.insert(code.lists.end(), first, last);
        start = emit({op, 0, at, start, static_cast<std::uint32_t>(last - first), from}, constant);
    };
    fold(members.begin(), changes, true);
    fold(changes, members.end(), false);
    current_[in.d] = start;
}

template <class F>
void BlockMaker::visitOperands(const BlockCode& code, const BlockInstruction& in, F f) const
{
    if (in.op == BlockOp::FindList || in.op == BlockOp::PickList)
        for (std::size_t k = 0; k < tableCells(typed_.tables[in.e]); ++k) f(code.lists[in.c + k]);
    if (isList(in.op)) {
        for (std::uint32_t k = 0; k < in.c; ++k) f(code.lists[in.a + k]);
        f(in.b);
        if (in.op == BlockOp::DeviationsList) f(in.e);
        return;
    }
    if (in.op == BlockOp::Formula) {
        for (const BlockSource& source : code.sources[in.a]) f(source.number);
        return;
    }
    const std::uint32_t operands[] = {in.a, in.b, in.c, in.e};
    for (std::size_t k = 0; k < operandsOf(in.op); ++k) f(operands[k]);
    if (in.op == BlockOp::Merge) f(in.d);
}

/// From the outputs backwards: an instruction stays when something needs its result, an IF when something in
/// it stays.
void BlockMaker::dropUnneeded()
{
    std::vector<bool> needed(constant_.size(), false);
    for (const std::uint32_t v : outputVariables_) needed[v] = true;
    const auto sweep = [&](BlockCode& code) {
        std::vector<BlockInstruction> kept;
        std::vector<bool> open; // by IF around: whether it stays
        for (auto in = code.instructions.rbegin(); in != code.instructions.rend(); ++in) {
            if (in->op == BlockOp::End) {
                const BlockInstruction& merge = *(in + 1);
                open.push_back(needed[merge.d]);
            }
            const bool stays = isControl(in->op) ? open.back() : needed[in->d];
            if (in->op == BlockOp::If) open.pop_back();
            if (!stays) continue;
            visitOperands(code, *in, [&](std::uint32_t v) { needed[v] = true; });
            kept.push_back(*in);
        }
        code.instructions.assign(kept.rbegin(), kept.rend());
    };
    sweep(program_.each_);
    sweep(program_.once_);
    std::erase_if(constants_, [&](const auto& c) { return !needed[c.second]; });
}

void BlockMaker::assignRegisters()
{
    std::vector<std::uint32_t> last(constant_.size(), 0);
    BlockCode& each = program_.each_;
    for (std::uint32_t i = 0; i < each.instructions.size(); ++i)
        visitOperands(each, each.instructions[i], [&](std::uint32_t v) { last[v] = i; });
    for (std::uint32_t i = 0; i < each.instructions.size(); ++i)
        if (!isControl(each.instructions[i].op))
            last[each.instructions[i].d] = std::max(last[each.instructions[i].d], i);
    for (const std::uint32_t v : outputVariables_) last[v] = kNone;

    std::uint32_t count = 0;
    std::vector<std::uint32_t> place(constant_.size(), kNone), idle;
    // What does not depend on the inputs keeps its register from block to block.
    for (const auto& [slot, v] : constants_) place[v] = count++;
    for (const BlockInstruction& in : program_.once_.instructions) place[in.d] = count++;
    const auto take = [&](std::uint32_t v) {
        if (place[v] != kNone) return;
        if (idle.empty()) {
            place[v] = count++;
        } else {
            place[v] = idle.back();
            idle.pop_back();
        }
    };
    const auto free = [&](std::uint32_t v, std::uint32_t i) {
        if (constant_[v] || last[v] != i) return;
        idle.push_back(place[v]);
        last[v] = kNone;
    };
    const auto rename = [&](BlockCode& code, BlockInstruction& in) {
        if (isList(in.op)) {
            for (std::uint32_t k = 0; k < in.c; ++k) code.lists[in.a + k] = place[code.lists[in.a + k]];
            in.b = place[in.b];
            in.e = in.op == BlockOp::DeviationsList ? place[in.e] : in.b;
        } else if (in.op == BlockOp::Formula) {
            for (BlockSource& source : code.sources[in.a]) source.number = place[source.number];
        } else {
            if (in.op == BlockOp::FindList || in.op == BlockOp::PickList)
                for (std::size_t k = 0; k < tableCells(typed_.tables[in.e]); ++k)
                    code.lists[in.c + k] = place[code.lists[in.c + k]];
            std::uint32_t* const operands[] = {&in.a, &in.b, &in.c, &in.e};
            const std::size_t used = operandsOf(in.op);
            for (std::size_t k = 0; k < used; ++k) *operands[k] = place[*operands[k]];
            // One to three: loops load all four, and find them in the cache.
            if (used > 0 && in.op < BlockOp::One)
                for (std::size_t k = used; k < 4; ++k) *operands[k] = in.a;
        }
        if (!isControl(in.op)) in.d = place[in.d];
    };
    for (BlockInstruction& in : program_.once_.instructions) rename(program_.once_, in);
    std::vector<bool> read(constant_.size(), false);
    for (const BlockInstruction& in : each.instructions)
        visitOperands(each, in, [&](std::uint32_t v) { read[v] = true; });
    for (const std::uint32_t v : outputVariables_) read[v] = true;
    for (std::uint32_t v = 0; v < inputs_.size(); ++v) // the first variables
        if (read[v]) take(v);
    for (std::uint32_t i = 0; i < each.instructions.size(); ++i) {
        BlockInstruction& in = each.instructions[i];
        const BlockInstruction original = in;
        // The result gets a register of its own before the operands give theirs back: loops may assume that
        // no operand changes under them.
        if (!isControl(in.op)) take(in.d);
        std::vector<std::uint32_t> operands;
        visitOperands(each, original, [&](std::uint32_t v) { operands.push_back(v); });
        rename(each, in);
        for (const std::uint32_t v : operands) free(v, i);
        if (!isControl(original.op)) free(original.d, i);
    }
    for (std::uint32_t v = 0; v < inputs_.size(); ++v)
        program_.inputs_.push_back(read[v] ? std::optional(place[v]) : std::nullopt);
    for (const std::uint32_t v : outputVariables_) program_.outputs_.push_back(place[v]);
    for (const auto& [slot, v] : constants_) program_.constants_.emplace_back(slot, place[v]);
    program_.registers_ = count + 1;

    // Where an IF goes on when no lane takes one of its values.
    std::vector<std::uint32_t> open;
    for (std::uint32_t i = 0; i < each.instructions.size(); ++i) {
        BlockInstruction& in = each.instructions[i];
        if (in.op == BlockOp::If) open.push_back(i);
        if (in.op == BlockOp::Else) {
            each.instructions[open.back()].d = i - 1; // the Take
            open.back() = i;
        } else if (in.op == BlockOp::End) {
            each.instructions[open.back()].d = i;
            open.pop_back();
        }
    }
    const auto tables = std::make_shared<std::vector<TypedTable>>(typed_.tables);
    for (BlockCode* code : {&program_.once_, &each}) {
        code->ones = typed_.ones;
        code->twos = typed_.twos;
        code->bodies = typed_.bodies;
        code->tables = tables;
    }
}

std::optional<BlockProgram> BlockProgram::make(const TypedProgram& typed, BlockFormulas formulas,
                                               std::span<const Slot> inputs, std::span<const Slot> outputs)
{
    return BlockMaker(typed, std::move(formulas), inputs, outputs).make();
}

void BlockProgram::readTables(Store& store)
{
    for (TypedTable& table : *each_.tables) table.read(store.values());
    comparing_.compare(store.values());
}

BlockRegisters BlockProgram::load(const Store& store) const
{
    BlockRegisters registers(registers_, each_.depth);
    if (!formulas_->all.empty()) registers.formulas = std::make_unique<FormulaLanes>(formulas_, store);
    for (const auto& [slot, r] : constants_)
        std::fill_n(registers.lanes(r), kLanes, store.value(slot).number());
    runBlock(once_, registers);
    return registers;
}

std::size_t BlockProgram::run(BlockRegisters& registers, const double* inputs, double* outputs,
                              std::size_t count) const
{
    if (count == 0) return 0;
    const std::size_t wide = inputs_.size(), narrow = outputs_.size();
    for (std::size_t i = 0; i < wide; ++i) {
        if (!inputs_[i]) continue;
        double* lanes = registers.lanes(*inputs_[i]);
        // Lanes without a trial repeat the last one.
        for (std::size_t l = 0; l < kLanes; ++l) lanes[l] = inputs[std::min(l, count - 1) * wide + i];
    }
    if (registers.formulas) registers.formulas->setCount(count);
    runBlock(each_, registers);
    std::size_t done = count;
    for (std::size_t o = 0; o < narrow; ++o) {
        const double* lanes = registers.lanes(outputs_[o]);
        for (std::size_t l = 0; l < done; ++l) {
            outputs[l * narrow + o] = lanes[l];
            if (!std::isfinite(lanes[l])) done = l;
        }
    }
    return done;
}

} // namespace varnex3::sheet
