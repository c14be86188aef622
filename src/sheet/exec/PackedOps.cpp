// sheet/exec/PackedOps.cpp - operations of packed code, and IFs without jumps.
#include "sheet/exec/PackedOps.h"

#include <algorithm>

namespace varnex3::sheet {
namespace {

constexpr auto kFirstRow = static_cast<std::uint16_t>(PackedOp::CopyRow);
constexpr auto kFirstRun = static_cast<std::uint16_t>(PackedOp::SumRun);
static_assert(static_cast<std::uint16_t>(TypedOp::SumRun) == kFirstRun);
static_assert(static_cast<std::uint16_t>(TypedOp::Stop) == static_cast<std::uint16_t>(PackedOp::Stop));

} // namespace

std::size_t operandsOf(PackedOp op)
{
    switch (op) {
#define VARNEX3_OPERANDS(name, operands, result)                                                             \
    case PackedOp::name: return operands;
        VARNEX3_TYPED_OPERATIONS(VARNEX3_OPERANDS)
#undef VARNEX3_OPERANDS
    case PackedOp::LeastRun:
    case PackedOp::GreatestRun: // of one number
    case PackedOp::Holds: return 2;
    case PackedOp::Select: return 3;
    case PackedOp::JumpIfZero: return 1;
    default: return 0;
    }
}

bool hasNumber(PackedOp op)
{
    return op == PackedOp::One || op == PackedOp::Two || op == PackedOp::Find || op == PackedOp::Pick ||
           op == PackedOp::Body;
}

std::uint32_t* aimOf(PackedInstruction& in)
{
    switch (in.op) {
    case PackedOp::JumpIfZero:
    case PackedOp::Jump:
    case PackedOp::Try: return &in.d;
    case PackedOp::Holds: return &in.c;
    default: return nullptr;
    }
}

std::optional<PackedOp> rowOf(const PackedInstruction& in)
{
    if (in.op == PackedOp::Select) return PackedOp::SelectRow;
    if (in.op == PackedOp::Holds) return PackedOp::HoldsRow;
    if (in.op == PackedOp::LeastRun && in.count == 1) return PackedOp::LeastRow;
    if (in.op == PackedOp::GreatestRun && in.count == 1) return PackedOp::GreatestRow;
    if (static_cast<std::uint16_t>(in.op) >= kFirstRun) return std::nullopt;
    return static_cast<PackedOp>(static_cast<std::uint16_t>(in.op) + kFirstRow);
}

std::size_t temporariesOf(const std::vector<PackedInstruction>& code)
{
    std::uint32_t most = 0;
    for (const PackedInstruction& in : code)
        if ((in.d & kTemporary) != 0) most = std::max(most, (in.d & ~kTemporary) + 1);
    return most;
}

std::optional<StraightCode> withoutJumps(const std::vector<PackedInstruction>& code, std::uint32_t none)
{
    const auto has = [&](PackedOp op) {
        return std::any_of(code.begin(), code.end(),
                           [&](const PackedInstruction& in) { return in.op == op; });
    };
    if (has(PackedOp::Stop) && has(PackedOp::Holds)) return std::nullopt;
    struct Branch {
        std::uint32_t condition = 0, first = 0, end = 0;
        bool hasFirst = false;
    };
    std::vector<Branch> branches;
    StraightCode out;
    for (std::size_t i = 0; i < code.size(); ++i) {
        const PackedInstruction& in = code[i];
        if (in.op == PackedOp::JumpIfZero) {
            branches.push_back({in.a, 0, 0, false});
        } else if (in.op == PackedOp::Jump) {
            if (branches.empty() || !branches.back().hasFirst) return std::nullopt;
            branches.back().end = in.d;
        } else if (in.op == PackedOp::Copy && i + 1 < code.size() && code[i + 1].op == PackedOp::Jump) {
            if (branches.empty() || branches.back().hasFirst) return std::nullopt;
            branches.back().first = in.a;
            branches.back().hasFirst = true;
        } else if (in.op == PackedOp::Copy && !branches.empty() && branches.back().end == i + 1) {
            const Branch& branch = branches.back();
            out.code.push_back({PackedOp::Select, false, 1, in.d, branch.condition, branch.first, in.a, 0});
            branches.pop_back();
        } else if (in.op == PackedOp::Stop) {
            out.code.push_back({PackedOp::Copy, false, 1, in.d, none, 0, 0, 0});
            out.chooses = false;
        } else if (in.op == PackedOp::Try) {
            out.chooses = false; // what fails must not stop
        } else {
            out.code.push_back(in);
            out.chooses = out.chooses && branches.empty();
        }
    }
    if (!branches.empty()) return std::nullopt;
    // What an IF gives need not be copied.
    if (out.code.size() > 1 && out.code.back().op == PackedOp::Copy) {
        const PackedInstruction last = out.code.back();
        PackedInstruction& before = out.code[out.code.size() - 2];
        if (before.op == PackedOp::Select && before.d == last.a) {
            before.d = last.d;
            out.code.pop_back();
        }
    }
    return out;
}

} // namespace varnex3::sheet
