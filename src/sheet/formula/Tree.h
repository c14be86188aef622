// sheet/formula/Tree.h - a parsed formula.
//
// Nodes lie in one vector, children before their parents. Relative coordinates are offsets from the
// formula's own cell, so that filled-down formulas have equal trees and share compiled code.
// Names of sheets, functions and defined names stay text here: resolving them is compile/'s business.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sheet/value/Value.h"

namespace varnex3::sheet {

enum class NodeKind : std::uint8_t {
    Number,    // number
    Text,      // text
    Boolean,   // number 1 or 0
    Failure,   // failure
    Missing,   // an argument left out between separators
    Array,     // constant array; value in Tree::arrays[index]
    Reference, // one cell or an area: first, last, extent; sheet in text, `lastSheet` for Sheet1:Sheet3!A1
    Name,      // defined name or LET/LAMBDA variable: text; `sheet` when written Sheet1!name; `index` 1 for a
               // parameter [name] of a LAMBDA
    Structured,    // Table1[[#This Row],[Column]]: table name in text, item specification in text2
    External,      // [1]Sheet!A1 or 'path[book]sheet'!A1 as written: text
    Call,          // function: name upper-case without file prefixes in text; children are arguments
    CallValue,     // LAMBDA(...)(args): first child is what is called
    Unary,         // op, one child
    Binary,        // op, two children
    RangeOperator, // child : child
    Union,         // child , child
    Intersection,  // child blank child
    Spill,         // child#
    Single,        // @child
};

enum class Operator : std::uint8_t {
    None,
    Add,
    Subtract,
    Multiply,
    Divide,
    Power,
    Concat,
    Equal,
    NotEqual,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    Plus,
    Negate,
    Percent,
};

/// A coordinate pair. An absolute coordinate counts from 0 at A1; a relative one is the distance from
/// the formula's own cell.
struct CellRef {
    std::int32_t row = 0;
    std::int32_t col = 0;
    bool rowAbsolute = false;
    bool colAbsolute = false;
    friend bool operator==(const CellRef&, const CellRef&) = default;
};

enum class Extent : std::uint8_t { Cell, Area, WholeColumns, WholeRows };

struct Node {
    NodeKind kind = NodeKind::Missing;
    Operator op = Operator::None;
    Failure failure = Failure::Null;
    Extent extent = Extent::Cell;
    std::uint8_t parentheses = 0; // pairs written around it: a sum in them does not end a formula
    std::uint32_t firstChild = 0; // index into Tree::children
    std::uint32_t childCount = 0;
    std::int32_t text = -1;      // index into Tree::texts; -1: none
    std::int32_t text2 = -1;     // second text of a Structured node
    std::int32_t sheet = -1;     // index into Tree::texts of the sheet name; -1: the formula's own sheet
    std::int32_t lastSheet = -1; // index into Tree::texts for a reference over several sheets
    std::int32_t index = -1;     // index into Tree::arrays
    double number = 0.0;
    CellRef first, last; // Reference
    friend bool operator==(const Node&, const Node&) = default;
};

struct Tree {
    std::vector<Node> nodes; // the root is the last one
    std::vector<std::uint32_t> children;
    std::vector<std::string> texts;
    std::vector<Value> arrays;

    const Node& root() const { return nodes.back(); }
    const Node& child(const Node& parent, std::uint32_t i) const
    {
        return nodes[children[parent.firstChild + i]];
    }
    friend bool operator==(const Tree&, const Tree&) = default;
};

/// A hash over everything that makes two trees equal.
std::size_t hashOf(const Tree& tree);

} // namespace varnex3::sheet
