// sheet/compile/Typing_repeats.cpp - neighbouring formulas with the same operations become one Repeat.
#include "sheet/compile/TypingImpl.h"

namespace varnex3::sheet {
namespace {

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
            TypedInstruction& in = instructions.back();
            if (isJump(in.op)) in.d += at - starts_[i];
            if (in.op == TypedOp::Holds && in.c != kNoHolds) in.c += at - starts_[i];
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

void joinRepeats(TypedProgram& program, std::vector<std::uint32_t>& starts,
                 const std::vector<std::uint64_t>& groups, const TypedPool& pool)
{
    Joiner joiner(program, starts, groups, pool);
    joiner.run();
    program.instructions = std::move(joiner.instructions);
    starts = std::move(joiner.starts);
}

} // namespace varnex3::sheet
