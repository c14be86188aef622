// sheet/formula/Parentheses.cpp - precedence, and texts that would run into one another.
#include "sheet/formula/Parentheses.h"

#include "sheet/formula/Lexical.h"
#include "sheet/formula/Parser.h"

namespace varnex3::sheet {
namespace {

/// How tightly a node holds together; an operand needs at least what its place asks for.
enum Level {
    kLoosest = 0,
    kComparison,
    kConcat,
    kSum,
    kProduct,
    kPower,
    kPercent,
    kPrefix,
    kIntersection = 9,
    kRange,
    kPrimary
};

Level levelOf(const Node& node)
{
    if (node.parentheses > 0) return kPrimary;
    switch (node.kind) {
    case NodeKind::Union: return kLoosest; // a comma outside parentheses separates arguments
    case NodeKind::Unary: return node.op == Operator::Percent ? kPercent : kPrefix;
    case NodeKind::Single: return kPrefix;
    case NodeKind::Intersection: return kIntersection;
    case NodeKind::RangeOperator: return kRange;
    case NodeKind::Binary: break;
    default: return kPrimary;
    }
    switch (node.op) {
    case Operator::Concat: return kConcat;
    case Operator::Add:
    case Operator::Subtract: return kSum;
    case Operator::Multiply:
    case Operator::Divide: return kProduct;
    case Operator::Power: return kPower;
    default: return kComparison;
    }
}

bool enclosed(const Tree& tree, const Node& parent, std::uint32_t i)
{
    return tree.child(parent, i).parentheses > 0 || needsParentheses(tree, parent, i);
}

/// Whether the text of a node ends in a name that "(" would make a call and ":" a range of sheets.
bool endsInWord(const Tree& tree, const Node& whole)
{
    const Node* node = &whole;
    if (node->parentheses > 0) return false;
    while (node->kind == NodeKind::RangeOperator || node->kind == NodeKind::Intersection) {
        if (enclosed(tree, *node, 1)) return false;
        node = &tree.child(*node, 1);
    }
    return node->kind == NodeKind::Name && node->sheet < 0;
}

/// The node that the text of child i of `parent` begins with; null when it begins with a parenthesis.
const Node* firstPart(const Tree& tree, const Node& parent, std::uint32_t i)
{
    if (enclosed(tree, parent, i)) return nullptr;
    const Node* node = &tree.child(parent, i);
    while (node->kind == NodeKind::CallValue || node->kind == NodeKind::Spill ||
           node->kind == NodeKind::RangeOperator || node->kind == NodeKind::Intersection) {
        if (enclosed(tree, *node, 0)) return nullptr;
        node = &tree.child(*node, 0);
    }
    return node;
}

bool spillable(const Node& node)
{
    switch (node.kind) {
    case NodeKind::Reference: return node.extent == Extent::Cell;
    case NodeKind::Name:
    case NodeKind::Structured:
    case NodeKind::Call:
    case NodeKind::CallValue:
    case NodeKind::Spill: return true;
    default: return false;
    }
}

bool callable(const Node& node)
{
    return node.kind == NodeKind::Call || node.kind == NodeKind::CallValue ||
           (node.kind == NodeKind::Name && node.sheet >= 0);
}

bool rangeEndNeeds(const Tree& tree, const Node& range, std::uint32_t i)
{
    const Node& left = tree.child(range, 0);
    const Node& right = tree.child(range, 1);
    if (i == 1) {
        // "A:B" would read as whole columns, "A1:B1" as one area.
        const bool wordBefore = left.parentheses == 0 &&
                                (left.kind == NodeKind::Reference || left.kind == NodeKind::Name ||
                                 left.kind == NodeKind::External || left.kind == NodeKind::RangeOperator);
        const bool wordBehind = right.kind == NodeKind::Reference || right.kind == NodeKind::Name;
        return (wordBefore && wordBehind && right.sheet < 0) || levelOf(right) < kPrimary;
    }
    if (levelOf(left) < kRange) return true;
    if (!endsInWord(tree, left)) return false;
    // "x:Sheet1!A1" would read as a reference over several sheets.
    const Node* begin = firstPart(tree, range, 1);
    return begin != nullptr && begin->sheet >= 0 && begin->lastSheet < 0 &&
           quotedSheetName(tree.texts[static_cast<std::size_t>(begin->sheet)]).front() != '\'';
}

} // namespace

bool needsParentheses(const Tree& tree, const Node& parent, std::uint32_t i)
{
    const Node& child = tree.child(parent, i);
    const Level level = levelOf(child);
    switch (parent.kind) {
    case NodeKind::Call: return level == kLoosest;
    case NodeKind::CallValue: return i == 0 ? child.parentheses == 0 && !callable(child) : level == kLoosest;
    case NodeKind::Unary: return level < (parent.op == Operator::Percent ? kPercent : kPrefix);
    case NodeKind::Binary: {
        Node bare = parent;
        bare.parentheses = 0;
        return level < levelOf(bare) + static_cast<int>(i);
    }
    case NodeKind::RangeOperator: return rangeEndNeeds(tree, parent, i);
    case NodeKind::Union: return i == 0 && level == kLoosest ? false : level < kIntersection;
    case NodeKind::Intersection:
        if (i == 1) return level < kRange;
        // "f (A1)" would read as a call.
        return level < kIntersection || (endsInWord(tree, child) && firstPart(tree, parent, 1) == nullptr);
    case NodeKind::Spill: return child.parentheses == 0 && !spillable(child);
    case NodeKind::Single: return child.kind != NodeKind::Single && level < kIntersection;
    default: return false;
    }
}

} // namespace varnex3::sheet
