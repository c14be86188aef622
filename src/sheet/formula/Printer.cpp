// sheet/formula/Printer.cpp - tree to formula text, and the hash of trees.
//
// Works from the first node to the last, so a chain of ten thousand sums needs no deep recursion. Beside the
// parentheses of the tree a pair is written where the text would read otherwise without it.
#include <algorithm>
#include <charconv>
#include <functional>
#include <utility>

#include "sheet/formula/Lexical.h"
#include "sheet/formula/Parentheses.h"
#include "sheet/formula/Parser.h"

namespace varnex3::sheet {
namespace {

using namespace lexical;

std::string_view operatorText(Operator op)
{
    switch (op) {
    case Operator::Add:
    case Operator::Plus: return "+";
    case Operator::Subtract:
    case Operator::Negate: return "-";
    case Operator::Multiply: return "*";
    case Operator::Divide: return "/";
    case Operator::Power: return "^";
    case Operator::Concat: return "&";
    case Operator::Equal: return "=";
    case Operator::NotEqual: return "<>";
    case Operator::Less: return "<";
    case Operator::LessEqual: return "<=";
    case Operator::Greater: return ">";
    case Operator::GreaterEqual: return ">=";
    case Operator::Percent: return "%";
    case Operator::None: break;
    }
    return "";
}

/// The shortest digits that read back as the same double.
std::string numberText(double x)
{
    char buffer[40];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, x);
    return upperText({buffer, static_cast<std::size_t>(end.ptr - buffer)});
}

std::string quotedText(std::string_view text)
{
    std::string result = "\"";
    for (char c : text) {
        if (c == '"') result += c;
        result += c;
    }
    return result + "\"";
}

std::string constantText(const Value& value)
{
    if (value.isText()) return quotedText(value.text());
    if (value.isBoolean()) return value.boolean() ? "TRUE" : "FALSE";
    if (value.isFailure()) return std::string(failureText(value.failure()));
    return numberText(value.number());
}

std::string arrayText(const Value& array)
{
    std::string text = "{";
    for (std::int32_t r = 0; r < array.rows(); ++r) {
        if (r > 0) text += ';';
        for (std::int32_t c = 0; c < array.cols(); ++c) {
            if (c > 0) text += ',';
            text += constantText(array.at(r, c));
        }
    }
    return text + "}";
}

class Printer {
public:
    Printer(const Tree& tree, const CellAddress& here) : tree_(tree), here_(here) {}

    std::string print()
    {
        for (const Node& node : tree_.nodes) {
            texts_.push_back(textOf(node));
            if (node.parentheses == 0) continue;
            texts_.back().insert(0, node.parentheses, '(');
            texts_.back().append(node.parentheses, ')');
        }
        return "=" + texts_.back();
    }

private:
    const std::string& text(std::int32_t index) const { return tree_.texts[static_cast<std::size_t>(index)]; }

    const Node& child(const Node& node, std::uint32_t i) const { return tree_.child(node, i); }

    /// The finished text of a child. A node has one parent: the text is moved.
    std::string childText(const Node& node, std::uint32_t i)
    {
        std::string t = std::move(texts_[tree_.children[node.firstChild + i]]);
        if (child(node, i).parentheses > 0 || !needsParentheses(tree_, node, i)) return t;
        t.insert(t.begin(), '(');
        return t += ')';
    }

    std::string textOf(const Node& node)
    {
        switch (node.kind) {
        case NodeKind::Number: return numberText(node.number);
        case NodeKind::Text: return quotedText(text(node.text));
        case NodeKind::Boolean: return node.number != 0.0 ? "TRUE" : "FALSE";
        case NodeKind::Failure: return std::string(failureText(node.failure));
        case NodeKind::Missing: return "";
        case NodeKind::Array: return arrayText(tree_.arrays[static_cast<std::size_t>(node.index)]);
        case NodeKind::Reference: return referenceText(node);
        case NodeKind::Name:
            if (node.index == 1) return "[" + text(node.text) + "]";
            return sheetPrefix(node) + nameText(text(node.text));
        case NodeKind::Structured:
            return (node.text < 0 ? "" : text(node.text)) + "[" + text(node.text2) + "]";
        case NodeKind::External: return text(node.text);
        case NodeKind::Call: return text(node.text) + arguments(node, 0);
        case NodeKind::CallValue: return childText(node, 0) + arguments(node, 1);
        case NodeKind::Unary:
            if (node.op == Operator::Percent) return childText(node, 0) + "%";
            return std::string(operatorText(node.op)) + childText(node, 0);
        case NodeKind::Binary: return joined(node, operatorText(node.op));
        case NodeKind::RangeOperator: return joined(node, ":");
        case NodeKind::Union: return joined(node, ",");
        case NodeKind::Intersection: return joined(node, " ");
        case NodeKind::Spill: return childText(node, 0) + "#";
        case NodeKind::Single: return "@" + childText(node, 0);
        }
        return "";
    }

    std::string joined(const Node& node, std::string_view mark)
    {
        std::string t = childText(node, 0);
        t += mark;
        return t += childText(node, 1);
    }

    std::string arguments(const Node& node, std::uint32_t from)
    {
        std::string t = "(";
        for (std::uint32_t i = from; i < node.childCount; ++i) {
            if (i > from) t += ',';
            t += childText(node, i);
        }
        return t += ')';
    }

    // ---- references ----

    std::string sheetPrefix(const Node& node) const
    {
        if (node.sheet < 0) return "";
        const std::string& first = text(node.sheet);
        if (first.empty()) return "!";
        if (node.lastSheet < 0) return quotedSheetName(first) + "!";
        const std::string& last = text(node.lastSheet);
        const std::string quotedFirst = quotedSheetName(first), quotedLast = quotedSheetName(last);
        if (quotedFirst.front() != '\'' && quotedLast.front() != '\'') return first + ":" + last + "!";
        const auto inner = [](const std::string& quoted) {
            return quoted.front() == '\'' ? quoted.substr(1, quoted.size() - 2) : quoted;
        };
        return "'" + inner(quotedFirst) + ":" + inner(quotedLast) + "'!";
    }

    /// A variable may bear the name of a cell; the prefix keeps it one.
    static std::string nameText(const std::string& name)
    {
        const bool taken = looksLikeCell(name) || sameLetters(name, "TRUE") || sameLetters(name, "FALSE");
        return taken ? "_xlpm." + name : name;
    }

    std::int32_t rowOf(const CellRef& c) const { return c.rowAbsolute ? c.row : c.row + here_.row; }
    std::int32_t colOf(const CellRef& c) const { return c.colAbsolute ? c.col : c.col + here_.col; }

    std::string cornerText(const CellRef& corner, Extent extent) const
    {
        std::string t;
        if (extent != Extent::WholeRows) t += (corner.colAbsolute ? "$" : "") + columnLetters(colOf(corner));
        if (extent != Extent::WholeColumns)
            t += (corner.rowAbsolute ? "$" : "") + std::to_string(rowOf(corner) + 1);
        return t;
    }

    std::string referenceText(const Node& node) const
    {
        const auto onSheet = [&](const CellRef& c) {
            return rowOf(c) >= 0 && rowOf(c) < kMaxRows && colOf(c) >= 0 && colOf(c) < kMaxColumns;
        };
        if (!onSheet(node.first) || !onSheet(node.last)) return std::string(failureText(Failure::Ref));
        const std::string t = sheetPrefix(node) + cornerText(node.first, node.extent);
        return node.extent == Extent::Cell ? t : t + ":" + cornerText(node.last, node.extent);
    }

    const Tree& tree_;
    CellAddress here_;
    std::vector<std::string> texts_; // of the nodes so far
};

// ---- hash ----

class Hasher {
public:
    void add(std::size_t x)
    {
        h_ ^= x + 0x9E3779B97F4A7C15u + (h_ << 6) + (h_ >> 2); // golden ratio, spreads neighbouring values
    }
    void add(double x) { add(std::hash<double>{}(x)); } // the same for 0 and -0
    void add(const std::string& s) { add(std::hash<std::string>{}(s)); }
    void add(std::int32_t x) { add(static_cast<std::size_t>(static_cast<std::uint32_t>(x))); }
    void add(const CellRef& c)
    {
        add(c.row);
        add(c.col);
        add(static_cast<std::size_t>(c.rowAbsolute) * 2 + static_cast<std::size_t>(c.colAbsolute));
    }
    void add(const Value& v)
    {
        add(static_cast<std::size_t>(v.kind()));
        if (v.isText())
            add(v.text());
        else if (v.isFailure())
            add(static_cast<std::size_t>(v.failure()));
        else
            add(v.number());
    }
    std::size_t result() const { return h_; }

private:
    std::size_t h_ = 0;
};

/// Whether the name of a column may stand alone between the brackets behind its table.
bool isPlainColumn(std::string_view name)
{
    return !name.starts_with(' ') && !name.ends_with(' ') &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return static_cast<unsigned char>(c) >= 0x80 || lexical::isLetter(c) || lexical::isDigit(c) ||
                      c == '_' || c == '.' || c == ' ';
           });
}

std::string bracketed(std::string_view column)
{
    std::string text = "[";
    for (const char c : column) {
        if (std::string_view("[]#'@").find(c) != std::string_view::npos) text += '\'';
        text += c;
    }
    return text += ']';
}

} // namespace

std::string formulaText(const Tree& tree, const CellAddress& here) { return Printer(tree, here).print(); }

std::string tableItemsText(const TableItems& items)
{
    const bool all = items.headers && items.data && items.totals;
    const std::pair<bool, std::string_view> specials[] = {
        {items.thisRow, "[#This Row]"},
        {all, "[#All]"},
        {items.headers && !all, "[#Headers]"},
        {items.data && (items.headers || items.totals) && !all, "[#Data]"},
        {items.totals && !all, "[#Totals]"}};
    std::string text;
    for (const auto& [named, special] : specials) {
        if (!named) continue;
        if (!text.empty()) text += ',';
        text += special;
    }
    if (items.firstColumn.empty()) return text;
    const bool one = items.firstColumn == items.lastColumn;
    if (text.empty() && one && isPlainColumn(items.firstColumn)) return items.firstColumn;
    if (!text.empty()) text += ',';
    text += bracketed(items.firstColumn);
    return one ? text : text + ":" + bracketed(items.lastColumn);
}

std::size_t hashOf(const Tree& tree)
{
    Hasher h;
    for (const Node& n : tree.nodes) {
        h.add(static_cast<std::size_t>(n.kind) << 24 | static_cast<std::size_t>(n.op) << 16 |
              static_cast<std::size_t>(n.failure) << 8 | static_cast<std::size_t>(n.extent));
        h.add(static_cast<std::size_t>(n.parentheses));
        for (const std::uint32_t x : {n.firstChild, n.childCount}) h.add(static_cast<std::size_t>(x));
        for (const std::int32_t x : {n.text, n.text2, n.sheet, n.lastSheet, n.index}) h.add(x);
        h.add(n.number);
        h.add(n.first);
        h.add(n.last);
    }
    for (const std::uint32_t c : tree.children) h.add(static_cast<std::size_t>(c));
    for (const std::string& t : tree.texts) h.add(t);
    for (const Value& a : tree.arrays) {
        h.add(a.rows());
        h.add(a.cols());
        for (const Value& item : a.items()) h.add(item);
    }
    return h.result();
}

} // namespace varnex3::sheet
