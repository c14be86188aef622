// sheet/xlsx/Singles.cpp - follows the way in which the compiler hands on whether one value is wanted.
#include "sheet/xlsx/Singles.h"

#include <string>
#include <utility>
#include <vector>

#include "sheet/formula/Parser.h"
#include "sheet/functions/Function.h"
#include "sheet/model/Externals.h"

namespace varnex3::sheet::xlsx {
namespace {

class Speller {
public:
    Speller(Tree& tree, const FormulaPlace& place) : tree_(tree), place_(place) {}

    bool run()
    {
        const auto root = static_cast<std::uint32_t>(tree_.nodes.size() - 1);
        pending_.push_back({root, {true, false}});
        while (!pending_.empty()) {
            const auto [index, mode] = pending_.back();
            pending_.pop_back();
            visit(index, mode);
        }
        if (root + 1 != tree_.nodes.size()) sortNodes(root);
        return changed_;
    }

private:
    struct Mode {
        bool scalar; // one value is wanted
        bool array;  // element by element
    };
    struct Pending {
        std::uint32_t node;
        Mode mode;
    };

    const std::string& text(std::int32_t i) const { return tree_.texts[static_cast<std::size_t>(i)]; }
    Node& child(const Node& n, std::uint32_t i) { return tree_.nodes[tree_.children[n.firstChild + i]]; }

    std::int32_t addText(std::string text)
    {
        changed_ = true;
        tree_.texts.push_back(std::move(text));
        return static_cast<std::int32_t>(tree_.texts.size() - 1);
    }

    void becomeCall(Node& n, const char* name)
    {
        n.kind = NodeKind::Call;
        n.text = addText(name);
    }

    /// Nodes stand behind their children, the root last.
    void sortNodes(std::uint32_t root)
    {
        std::vector<std::uint32_t> order{root}; // parents first
        for (std::size_t i = 0; i < order.size(); ++i) {
            const Node& n = tree_.nodes[order[i]];
            for (std::uint32_t k = 0; k < n.childCount; ++k)
                order.push_back(tree_.children[n.firstChild + k]);
        }
        std::vector<Node> nodes;
        std::vector<std::uint32_t> places(tree_.nodes.size());
        for (auto i = order.rbegin(); i != order.rend(); ++i) {
            places[*i] = static_cast<std::uint32_t>(nodes.size());
            nodes.push_back(tree_.nodes[*i]);
        }
        for (std::uint32_t& child : tree_.children) child = places[child];
        tree_.nodes = std::move(nodes);
    }

    /// Puts a node into SINGLE(...), in its place.
    void wrap(std::uint32_t index)
    {
        Node inner = tree_.nodes[index];
        inner.parentheses = 0;
        tree_.children.push_back(static_cast<std::uint32_t>(tree_.nodes.size()));
        tree_.nodes.push_back(inner);
        Node& outer = tree_.nodes[index] = Node{};
        outer.firstChild = static_cast<std::uint32_t>(tree_.children.size() - 1);
        outer.childCount = 1;
        becomeCall(outer, "_xlfn.SINGLE");
        pending_.push_back({tree_.children.back(), {false, false}});
    }

    const FunctionRow* rowOf(const Node& n) const
    {
        return n.kind == NodeKind::Call ? findFunction(text(n.text)) : nullptr;
    }

    /// Whether a node may stand for several cells.
    bool isMany(const Node& n) const
    {
        switch (n.kind) {
        case NodeKind::Reference: return n.extent != Extent::Cell;
        case NodeKind::Structured:
        case NodeKind::RangeOperator:
        case NodeKind::Union:
        case NodeKind::Intersection:
        case NodeKind::Spill: return true;
        case NodeKind::Name: return place_.namesCells && place_.namesCells(text(n.text));
        case NodeKind::Call: {
            const FunctionRow* row = rowOf(n);
            return row != nullptr && !has(row->traits, Trait::Lazy) &&
                   (has(row->traits, Trait::GivesRange) || has(row->traits, Trait::Dynamic));
        }
        default: return false;
        }
    }

    void visit(std::uint32_t index, Mode mode)
    {
        const bool one = mode.scalar && !mode.array;
        if (tree_.nodes[index].kind == NodeKind::Single) {
            const Node inner = child(tree_.nodes[index], 0);
            if (one && !place_.spills && isMany(inner)) {
                tree_.nodes[index] = inner;
                changed_ = true;
            } else {
                becomeCall(tree_.nodes[index], "_xlfn.SINGLE");
                return push(tree_.nodes[index], 0, {false, false});
            }
        } else if (one && place_.spills && isMany(tree_.nodes[index])) {
            return wrap(index);
        }
        Node& n = tree_.nodes[index];
        switch (n.kind) {
        case NodeKind::Spill: becomeCall(n, "_xlfn.ANCHORARRAY"); return push(n, 0, {false, false});
        case NodeKind::Structured: return spellOutRow(n);
        case NodeKind::External: return numberBook(n);
        case NodeKind::Call: return visitCall(n, mode);
        case NodeKind::Unary:
        case NodeKind::Binary: mode.scalar = true; break;
        case NodeKind::CallValue: mode = {false, true}; break;
        default: mode.scalar = false; break;
        }
        for (std::uint32_t i = 0; i < n.childCount; ++i) push(n, i, mode);
    }

    void visitCall(const Node& n, Mode mode)
    {
        const FunctionRow* row = rowOf(n);
        const std::string& name = text(n.text);
        const bool bound = row == nullptr || name == "LET" || name == "LAMBDA";
        for (std::uint32_t i = 0; i < n.childCount; ++i)
            push(n, i,
                 bound                           ? Mode{false, true}
                 : has(row->traits, Trait::Lazy) ? branchMode(n, name, i, mode)
                                                 : argumentMode(*row, i, mode));
    }

    static Mode argumentMode(const FunctionRow& row, std::uint32_t i, Mode mode)
    {
        switch (row.parameters.of(static_cast<int>(i)).take) {
        case Take::Range:
        case Take::Reference: return {false, mode.array};
        case Take::Array:
        case Take::Function: return {false, true};
        default: return {true, mode.array};
        }
    }

    /// IF and its kin hand the wish of their surroundings on to the values among which they choose.
    Mode branchMode(const Node& n, const std::string& name, std::uint32_t i, Mode mode)
    {
        const Mode scalar{true, mode.array};
        if (i == 0 || name == "IFERROR" || name == "IFNA") return scalar;
        if (name == "IF") return mode;
        if (name == "IFS") return i % 2 == 0 ? scalar : mode;
        const bool array = child(n, 0).kind == NodeKind::Array;
        if (name == "CHOOSE") return array ? Mode{true, true} : mode;
        return i % 2 == 0 || i + 1 == n.childCount ? mode : scalar; // SWITCH
    }

    void push(const Node& n, std::uint32_t i, Mode mode)
    {
        pending_.push_back({tree_.children[n.firstChild + i], mode});
    }

    void numberBook(Node& n)
    {
        const auto written = externalReference(text(n.text));
        const std::size_t link =
            written && place_.linkTo ? place_.linkTo(written->folder + written->book) : 0;
        if (link == 0) return;
        const std::string book = "[" + std::to_string(link) + "]", sheet = quotedSheetName(written->sheet);
        std::string prefix = written->sheet.empty() ? book : sheet;
        if (prefix != book) prefix.insert(sheet.starts_with('\'') ? 1 : 0, book);
        n.text = addText(prefix + "!" + std::string(written->rest));
    }

    /// "@Price", "@[A]:[B]" or "@" of a table reference.
    void spellOutRow(Node& n)
    {
        const std::string& items = text(n.text2);
        const std::size_t mark = items.find_first_not_of(' ');
        if (mark == std::string::npos || items[mark] != '@') return;
        const std::string columns = items.substr(mark + 1);
        const bool bracketed = columns.starts_with('[');
        n.text2 = addText(columns.empty() ? "#This Row"
                                          : "[#This Row]," + (bracketed ? columns : "[" + columns + "]"));
    }

    Tree& tree_;
    const FormulaPlace& place_;
    std::vector<Pending> pending_;
    bool changed_ = false;
};

} // namespace

bool spellOutSingles(Tree& tree, const FormulaPlace& place) { return Speller(tree, place).run(); }

} // namespace varnex3::sheet::xlsx
