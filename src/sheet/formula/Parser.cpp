// sheet/formula/Parser.cpp - formula text to tree.
//
// Precedence climbing over the text itself; there is no list of tokens, because a blank is an operator
// between references and nothing elsewhere. Printing is in Printer.cpp; what names mean is decided in
// compile/.
#include "sheet/formula/Parser.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <system_error>

#include "sheet/formula/Lexical.h"
#include "sheet/formula/Parentheses.h"

namespace varnex3::sheet {
namespace {

using namespace lexical;

constexpr std::size_t kMaxLength = 32767; // characters
constexpr int kMaxDepth = 256;            // nested levels

using Index = std::uint32_t;
constexpr Index kNone = UINT32_MAX;

struct BinaryOperator {
    std::string_view text;
    Operator op;
    int precedence;
};
constexpr BinaryOperator kBinaryOperators[] = {
    // two characters before their first one
    {"<>", Operator::NotEqual, 1}, {"<=", Operator::LessEqual, 1}, {">=", Operator::GreaterEqual, 1},
    {"<", Operator::Less, 1},      {">", Operator::Greater, 1},    {"=", Operator::Equal, 1},
    {"&", Operator::Concat, 2},    {"+", Operator::Add, 3},        {"-", Operator::Subtract, 3},
    {"*", Operator::Multiply, 4},  {"/", Operator::Divide, 4},     {"^", Operator::Power, 5},
};

std::size_t characterCount(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0u) != 0x80u; // not a continuation byte
    }));
}

/// A name without the prefixes that files put before newer functions and their variables.
std::string_view withoutPrefixes(std::string_view name)
{
    constexpr std::string_view kPrefixes[] = {"_XLFN.", "_XLWS.", "_XLPM.", "_XLETA.", "_XLUDF."};
    for (bool found = true; found;) {
        found = false;
        for (const std::string_view prefix : kPrefixes) {
            if (name.size() <= prefix.size() || !sameLetters(name.substr(0, prefix.size()), prefix)) continue;
            if (!isNameStart(name[prefix.size()])) continue;
            name.remove_prefix(prefix.size());
            found = true;
        }
    }
    return name;
}

/// The name in "_xlop.name", how files write the parameter [name] of a LAMBDA.
std::optional<std::string_view> optionalParameter(std::string_view word)
{
    constexpr std::string_view kPrefix = "_XLOP.";
    if (word.size() <= kPrefix.size() || !sameLetters(word.substr(0, kPrefix.size()), kPrefix)) return {};
    if (!isNameStart(word[kPrefix.size()])) return {};
    return word.substr(kPrefix.size());
}

/// The number that `text` (digits, point, exponent) stands for; nothing when too large.
std::optional<double> literalNumber(std::string_view text)
{
    double x = 0.0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), x);
    if (code == std::errc{}) return x;
    const auto e = text.find_first_of("eE");
    const bool tiny =
        e == std::string_view::npos ? text.front() == '0' || text.front() == '.' : charAt(text, e + 1) == '-';
    return tiny ? std::optional(0.0) : std::nullopt;
}

class FormulaParser {
public:
    FormulaParser(std::string_view text, const CellAddress& here) : text_(text), here_(here) {}

    ParseResult parse()
    {
        if (text_.size() > kMaxLength && characterCount(text_) > kMaxLength)
            return ParseError{kMaxLength, "The formula is longer than 32,767 characters"};
        skipBlanks();
        if (peek() == '=') ++at_;
        if (parseExpression(1) != kNone) {
            skipBlanks();
            if (at_ == text_.size()) return std::move(tree_);
            fail(peek() == ')' ? "A parenthesis is closed that was not opened" : "An operator is missing");
        }
        return std::move(error_);
    }

private:
    // ---- text ----

    char peek(std::size_t ahead = 0) const { return charAt(text_, at_ + ahead); }
    bool atEnd() const { return at_ >= text_.size(); }

    void skipBlanks()
    {
        while (!atEnd() && isBlank(text_[at_])) ++at_;
    }

    /// Keeps the first error; every caller hands kNone up.
    Index fail(const char* message) { return failAt(at_, message); }
    Index failAt(std::size_t position, const char* message)
    {
        if (error_.message.empty()) error_ = {position, message};
        return kNone;
    }

    bool enter()
    {
        if (++depth_ <= kMaxDepth) return true;
        fail("The formula is nested deeper than 256 levels");
        return false;
    }
    void leave() { --depth_; }

    // ---- tree ----

    Index add(Node node)
    {
        tree_.nodes.push_back(node);
        return static_cast<Index>(tree_.nodes.size() - 1);
    }

    Index add(Node node, const std::vector<Index>& children)
    {
        node.firstChild = static_cast<Index>(tree_.children.size());
        node.childCount = static_cast<Index>(children.size());
        tree_.children.insert(tree_.children.end(), children.begin(), children.end());
        return addParent(node);
    }

    Index addParent(const Node& node)
    {
        for (Index i = node.childCount; i > 0; --i) // the last first: it may matter to those before
            if (tree_.child(node, i - 1).parentheses == 0 && needsParentheses(tree_, node, i - 1))
                enclose(tree_.children[node.firstChild + i - 1]);
        return add(node);
    }

    void enclose(Index i)
    {
        std::uint8_t& pairs = tree_.nodes[i].parentheses;
        if (pairs < UINT8_MAX) ++pairs;
    }

    Index addOperator(NodeKind kind, Operator op, Index left, Index right = kNone)
    {
        Node node;
        node.kind = kind;
        node.op = op;
        node.firstChild = static_cast<Index>(tree_.children.size());
        node.childCount = right == kNone ? 1 : 2;
        tree_.children.push_back(left);
        if (right != kNone) tree_.children.push_back(right);
        return addParent(node);
    }

    std::int32_t addText(std::string_view text)
    {
        tree_.texts.emplace_back(text);
        return static_cast<std::int32_t>(tree_.texts.size() - 1);
    }

    Index addWithText(NodeKind kind, std::string_view text)
    {
        Node node;
        node.kind = kind;
        node.text = addText(text);
        return add(node);
    }

    Index addFailure(Failure failure)
    {
        Node node;
        node.kind = NodeKind::Failure;
        node.failure = failure;
        return add(node);
    }

    Index addNumber(NodeKind kind, double x)
    {
        Node node;
        node.kind = kind;
        node.number = x;
        return add(node);
    }

    /// Whether a node can yield a reference and so be an operand of : , blank and #.
    bool yieldsReference(Index i) const
    {
        switch (tree_.nodes[i].kind) {
        case NodeKind::Number:
        case NodeKind::Text:
        case NodeKind::Boolean:
        case NodeKind::Missing:
        case NodeKind::Array:
        case NodeKind::Unary:
        case NodeKind::Binary: return false;
        default: return true;
        }
    }

    /// A reference operator over two operands that must both yield references.
    Index addReferenceOperator(NodeKind kind, Index left, Index right, std::size_t position)
    {
        if (right == kNone) return kNone;
        if (!yieldsReference(left) || !yieldsReference(right))
            return failAt(position, "A reference is expected on both sides of the operator");
        return addOperator(kind, Operator::None, left, right);
    }

    // ---- operators, loosest first ----

    const BinaryOperator* binaryOperatorHere() const
    {
        for (const BinaryOperator& row : kBinaryOperators)
            if (text_.substr(at_, row.text.size()) == row.text) return &row;
        return nullptr;
    }

    Index parseExpression(int minimum)
    {
        Index left = parsePercent();
        while (left != kNone) {
            skipBlanks();
            const BinaryOperator* op = binaryOperatorHere();
            if (op == nullptr || op->precedence < minimum) return left;
            at_ += op->text.size();
            const Index right = parseExpression(op->precedence + 1);
            if (right == kNone) return kNone;
            left = addOperator(NodeKind::Binary, op->op, left, right);
        }
        return kNone;
    }

    Index parsePercent()
    {
        Index operand = parsePrefix();
        for (; operand != kNone; ++at_) {
            skipBlanks();
            if (peek() != '%') break;
            operand = addOperator(NodeKind::Unary, Operator::Percent, operand);
        }
        return operand;
    }

    /// Signs and @. A sign binds tighter than ^: -2^2 is 4.
    Index parsePrefix()
    {
        skipBlanks();
        const char c = peek();
        if (c != '+' && c != '-' && c != '@') return parseUnion();
        if (!enter()) return kNone;
        ++at_;
        skipBlanks();
        const Index operand = c == '@' && peek() != '@' ? parseIntersection() : parsePrefix();
        leave();
        if (operand == kNone) return kNone;
        if (c == '@') return addOperator(NodeKind::Single, Operator::None, operand);
        return addOperator(NodeKind::Unary, c == '-' ? Operator::Negate : Operator::Plus, operand);
    }

    /// References joined by commas, or by the ~ that some programs write in their place.
    Index parseUnion()
    {
        Index left = parseIntersection();
        while (left != kNone) {
            const std::size_t before = at_;
            skipBlanks();
            if (peek() != '~' && !(peek() == ',' && commaIsUnion_)) {
                at_ = before;
                break;
            }
            ++at_;
            left = addReferenceOperator(NodeKind::Union, left, parseIntersection(), before);
        }
        return left;
    }

    /// Whether an operand that can yield a reference starts here.
    bool referenceStartsHere() const
    {
        const char c = peek();
        if (isNameStart(c) || c == '$' || c == '\'' || c == '[' || c == '(' || c == '#' || c == '!')
            return true;
        return isDigit(c) && scanReference(text_, at_);
    }

    Index parseIntersection()
    {
        Index left = parseRange();
        while (left != kNone) {
            const std::size_t before = at_;
            skipBlanks();
            if (at_ == before || !referenceStartsHere()) {
                at_ = before;
                break;
            }
            if (!yieldsReference(left)) return fail("An operator is missing");
            left = addReferenceOperator(NodeKind::Intersection, left, parseRange(), before);
        }
        return left;
    }

    Index parseRange()
    {
        Index left = parsePostfix();
        while (left != kNone) {
            const std::size_t before = at_;
            skipBlanks();
            if (peek() != ':') {
                at_ = before;
                break;
            }
            ++at_;
            skipBlanks();
            const bool single = peek() == '@';
            if (single) ++at_;
            Index right = parsePostfix();
            if (single && right != kNone) right = addOperator(NodeKind::Single, Operator::None, right);
            left = addReferenceOperator(NodeKind::RangeOperator, left, right, before);
        }
        return left;
    }

    /// A primary with what may follow it at once: # and the arguments of a computed function.
    Index parsePostfix()
    {
        skipBlanks();
        Index left = parsePrimary();
        while (left != kNone) {
            if (peek() == '#' && yieldsReference(left)) {
                ++at_;
                left = addOperator(NodeKind::Spill, Operator::None, left);
            } else if (peek() == '(' && yieldsReference(left)) {
                std::vector<Index> parts{left};
                if (!parseArguments(parts)) return kNone;
                Node node;
                node.kind = NodeKind::CallValue;
                left = add(node, parts);
            } else {
                break;
            }
        }
        return left;
    }

    // ---- operands ----

    Index parsePrimary()
    {
        const char c = peek();
        if (atEnd()) return fail("An operand is missing at the end");
        if (c == '"') return parseText();
        if (c == '(') return parseParentheses();
        if (c == '{') return parseArray();
        if (c == '#') return parseFailureLiteral();
        if (c == '\'') return parseQuotedSheet();
        if (c == '!') return parseOwnSheet();
        if (c == '[') return parseBracket();
        if (isNameStart(c)) return parseWord();
        if (c == '$' || isDigit(c) || c == '.') {
            if (const auto reference = scanReference(text_, at_)) return addReference(*reference, {}, {});
            if (c != '$') return parseNumber();
        }
        return fail("An operand is expected");
    }

    Index parseParentheses()
    {
        if (!enter()) return kNone;
        const std::size_t opening = at_++;
        const bool outer = std::exchange(commaIsUnion_, true);
        const Index inner = parseExpression(1);
        commaIsUnion_ = outer;
        leave();
        if (inner == kNone) return kNone;
        skipBlanks();
        if (atEnd()) return failAt(opening, "A parenthesis is not closed");
        if (peek() != ')') return fail("An operator or a closing parenthesis is missing");
        ++at_;
        enclose(inner);
        return inner;
    }

    /// Position behind digits, point and exponent, from `p`.
    std::size_t numberEnd(std::size_t p) const
    {
        const auto digits = [&] {
            const std::size_t start = p;
            while (isDigit(charAt(text_, p))) ++p;
            return p - start;
        };
        std::size_t count = digits();
        if (charAt(text_, p) == '.') {
            ++p;
            count += digits();
        }
        if (count == 0) return at_;
        const std::size_t mantissa = p;
        if (upper(charAt(text_, p)) != 'E') return mantissa;
        ++p;
        if (charAt(text_, p) == '+' || charAt(text_, p) == '-') ++p;
        return digits() > 0 ? p : mantissa;
    }

    std::optional<double> scanNumber()
    {
        const std::size_t end = numberEnd(at_);
        if (end == at_) {
            fail("A number is expected");
            return std::nullopt;
        }
        const auto x = literalNumber(text_.substr(at_, end - at_));
        if (!x) {
            fail("The number is too large");
            return std::nullopt;
        }
        at_ = end;
        return x;
    }

    Index parseNumber()
    {
        const auto x = scanNumber();
        return x ? addNumber(NodeKind::Number, *x) : kNone;
    }

    /// A text between `quote`s, doubled ones inside; nothing when it does not end.
    std::optional<std::string> scanQuoted(char quote)
    {
        std::string result;
        for (std::size_t p = at_ + 1; p < text_.size(); ++p) {
            if (text_[p] == quote) {
                if (charAt(text_, p + 1) != quote) {
                    at_ = p + 1;
                    return result;
                }
                ++p;
            }
            result += text_[p];
        }
        fail(quote == '"' ? "A text is not closed" : "A quoted sheet name is not closed");
        return std::nullopt;
    }

    Index parseText()
    {
        const auto text = scanQuoted('"');
        return text ? addWithText(NodeKind::Text, *text) : kNone;
    }

    std::optional<Failure> scanFailure()
    {
        for (std::size_t f = 0; f <= static_cast<std::size_t>(Failure::Circular); ++f) {
            const std::string_view name = failureText(static_cast<Failure>(f));
            if (!sameLetters(text_.substr(at_, name.size()), name)) continue;
            at_ += name.size();
            return static_cast<Failure>(f);
        }
        fail("An unknown error value");
        return std::nullopt;
    }

    Index parseFailureLiteral()
    {
        const auto failure = scanFailure();
        if (!failure) return kNone;
        if (*failure == Failure::Ref) { // "#REF!A1": the sheet was deleted, what follows means nothing
            if (const auto reference = scanReference(text_, at_))
                at_ = reference->end;
            else if (isNameStart(peek()))
                at_ = nameEnd(text_, at_);
        }
        return addFailure(*failure);
    }

    // ---- arrays ----

    std::optional<Value> parseArrayItem()
    {
        skipBlanks();
        const char c = peek();
        if (c == '"') {
            auto text = scanQuoted('"');
            if (!text) return std::nullopt;
            return Value(std::move(*text));
        }
        if (c == '#') {
            const auto failure = scanFailure();
            if (!failure) return std::nullopt;
            return Value(*failure);
        }
        if (isLetter(c)) {
            const std::size_t end = nameEnd(text_, at_);
            const std::string_view word = text_.substr(at_, end - at_);
            for (const bool b : {false, true}) {
                if (!sameLetters(word, b ? "TRUE" : "FALSE")) continue;
                at_ = end;
                return Value(b);
            }
            fail("An array holds constants only");
            return std::nullopt;
        }
        if (c == '+' || c == '-') ++at_;
        const auto x = scanNumber();
        if (!x) return std::nullopt;
        return Value(c == '-' && *x != 0.0 ? -*x : *x);
    }

    Index parseArray()
    {
        const std::size_t opening = at_++;
        std::vector<Value> items;
        std::int32_t rows = 1, cols = 0;
        for (std::int32_t count = 1;; ++count) {
            auto item = parseArrayItem();
            if (!item) return kNone;
            items.push_back(std::move(*item));
            skipBlanks();
            const char c = peek();
            if (atEnd()) return failAt(opening, "An array is not closed");
            if (c != ',' && c != ';' && c != '}') return fail("An array holds constants only");
            ++at_;
            if (c == ',') continue;
            if (rows > 1 && count != cols) return failAt(opening, "The rows of an array differ in length");
            cols = count;
            if (c == '}') break;
            count = 0;
            ++rows;
        }
        Node node;
        node.kind = NodeKind::Array;
        node.index = static_cast<std::int32_t>(tree_.arrays.size());
        tree_.arrays.push_back(Value::array(rows, cols, std::move(items)));
        return add(node);
    }

    // ---- references, names, functions ----

    Index addReference(const WrittenReference& r, std::string_view sheet, std::string_view lastSheet)
    {
        const auto place = [&](const Coordinate& row, const Coordinate& col) {
            return CellRef{row.absolute ? row.index : row.index - here_.row,
                           col.absolute ? col.index : col.index - here_.col, row.absolute, col.absolute};
        };
        Node node;
        node.kind = NodeKind::Reference;
        node.extent = r.extent;
        node.first = place(r.row0, r.col0);
        node.last = place(r.row1, r.col1);
        if (!sheet.empty()) node.sheet = addText(sheet);
        if (!lastSheet.empty()) node.lastSheet = addText(lastSheet);
        at_ = r.end;
        return add(node);
    }

    /// A word: a sheet before "!", a cell, a function, a table, TRUE or FALSE, or a name.
    Index parseWord()
    {
        const std::size_t start = at_;
        const std::size_t end = nameEnd(text_, start);
        const std::string_view word = text_.substr(start, end - start);
        const char next = charAt(text_, end);
        if (next == '!') {
            at_ = end + 1;
            return parseAfterSheet(word, {});
        }
        if (next == ':' && !looksLikeCell(word)) { // Sheet1:Sheet3!A1
            const std::size_t end2 = nameEnd(text_, end + 1);
            if (end2 > end + 1 && charAt(text_, end2) == '!') {
                at_ = end2 + 1;
                return parseAfterSheet(word, text_.substr(end + 1, end2 - end - 1));
            }
        }
        if (const auto reference = scanReference(text_, start)) return addReference(*reference, {}, {});
        at_ = end;
        if (next == '[') return parseStructured(word);
        if (!looksLikeCell(word)) skipBlanks(); // "SUM (A1)" calls, "A1 (B1)" intersects
        if (peek() == '(') return parseCall(withoutPrefixes(word));
        at_ = end;
        for (const bool b : {false, true})
            if (sameLetters(word, b ? "TRUE" : "FALSE")) return addNumber(NodeKind::Boolean, b ? 1.0 : 0.0);
        if (const auto parameter = optionalParameter(withoutPrefixes(word))) {
            Node node;
            node.kind = NodeKind::Structured;
            node.text2 = addText(*parameter);
            return add(node);
        }
        return addWithText(NodeKind::Name, withoutPrefixes(word));
    }

    /// What follows "Sheet1!".
    Index parseAfterSheet(std::string_view sheet, std::string_view lastSheet)
    {
        if (peek() == '#') return parseFailureLiteral(); // Sheet1!#REF!
        if (const auto reference = scanReference(text_, at_))
            return addReference(*reference, sheet, lastSheet);
        const std::size_t end = nameEnd(text_, at_);
        if (end == at_ || !lastSheet.empty()) return fail("A reference is expected behind the sheet name");
        Node node;
        node.kind = NodeKind::Name;
        node.text = addText(withoutPrefixes(text_.substr(at_, end - at_)));
        node.sheet = addText(sheet);
        at_ = end;
        return add(node);
    }

    /// "!A1" in a name: a cell of whatever sheet uses the name; its sheet is the empty text.
    Index parseOwnSheet()
    {
        ++at_;
        const auto reference = scanReference(text_, at_);
        if (!reference) return fail("A reference is expected behind \"!\"");
        const Index i = addReference(*reference, {}, {});
        tree_.nodes[i].sheet = addText({});
        return i;
    }

    Index parseQuotedSheet()
    {
        const std::size_t start = at_;
        const auto quoted = scanQuoted('\'');
        if (!quoted) return kNone;
        if (peek() != '!') return fail("\"!\" is expected behind the quoted sheet name");
        ++at_;
        if (quoted->find('[') != std::string::npos) return parseExternal(start);
        const std::string_view both = *quoted;
        const auto colon = both.find(':');
        const bool several = colon != std::string_view::npos;
        const std::string_view sheet = both.substr(0, colon);
        const std::string_view lastSheet = several ? both.substr(colon + 1) : std::string_view{};
        if (sheet.empty() || (several && lastSheet.empty()) || lastSheet.find(':') != std::string_view::npos)
            return failAt(start, "A sheet name is empty or not valid");
        return parseAfterSheet(sheet, lastSheet);
    }

    /// The rest of a reference to another book, kept as written from `start` on; `at_` is behind "!".
    Index parseExternal(std::size_t start)
    {
        if (const auto reference = scanReference(text_, at_)) {
            at_ = reference->end;
        } else if (peek() == '#') {
            const auto failure = scanFailure();
            return failure ? addFailure(*failure) : kNone;
        } else if (peek() == '\'') { // an item of another program
            if (!scanQuoted('\'')) return kNone;
        } else {
            const std::size_t end = nameEnd(text_, at_);
            if (end == at_) return fail("A reference is expected behind the sheet name");
            at_ = end;
        }
        return addWithText(NodeKind::External, text_.substr(start, at_ - start));
    }

    /// Position behind the bracket that closes the one at `p`; npos when none does. "'" escapes.
    std::size_t bracketEnd(std::size_t p) const
    {
        int open = 0;
        for (; p < text_.size(); ++p) {
            if (text_[p] == '\'')
                ++p;
            else if (text_[p] == '[')
                ++open;
            else if (text_[p] == ']' && --open == 0)
                return p + 1;
        }
        return std::string_view::npos;
    }

    /// "[1]Sheet!A1", "[1]!Name", or "[@Column]" inside a table.
    Index parseBracket()
    {
        const std::size_t start = at_;
        const std::size_t behind = bracketEnd(start);
        if (behind == std::string_view::npos) return fail("A bracket is not closed");
        std::size_t sheetEnd = nameEnd(text_, behind);
        if (sheetEnd > behind && charAt(text_, sheetEnd) == ':') sheetEnd = nameEnd(text_, sheetEnd + 1);
        if (charAt(text_, sheetEnd) != '!') return parseStructured({});
        at_ = sheetEnd + 1;
        const bool ownBook = text_.substr(start, behind - start) == "[0]" && sheetEnd == behind;
        const std::size_t end = nameEnd(text_, at_);
        if (!ownBook || end == at_ || scanReference(text_, at_)) return parseExternal(start);
        std::string_view name = withoutPrefixes(text_.substr(at_, end - at_)); // "[0]!Name": of this book
        while (const auto parameter = optionalParameter(name)) name = withoutPrefixes(*parameter);
        at_ = end;
        return addWithText(NodeKind::Name, name);
    }

    Index parseStructured(std::string_view table)
    {
        const std::size_t behind = bracketEnd(at_);
        if (behind == std::string_view::npos) return fail("A bracket is not closed");
        const std::string_view items = text_.substr(at_ + 1, behind - at_ - 2);
        if (!parseTableItems(items)) return fail("The reference to a table is not valid");
        Node node;
        node.kind = NodeKind::Structured;
        if (!table.empty()) node.text = addText(table);
        node.text2 = addText(items);
        at_ = behind;
        return add(node);
    }

    /// The arguments from "(" to ")", added to `arguments`; false after an error.
    bool parseArguments(std::vector<Index>& arguments)
    {
        if (!enter()) return false;
        const std::size_t opening = at_++;
        const bool outer = std::exchange(commaIsUnion_, false);
        skipBlanks();
        bool more = peek() != ')';
        if (!more) ++at_;
        while (more) {
            skipBlanks();
            const bool missing = peek() == ',' || peek() == ')';
            const Index argument = missing ? add(Node{}) : parseExpression(1);
            if (argument == kNone) return false;
            arguments.push_back(argument);
            skipBlanks();
            if (atEnd()) return failAt(opening, "A parenthesis is not closed") != kNone;
            if (peek() != ',' && peek() != ')')
                return fail("An operator, a comma or a closing parenthesis is missing") != kNone;
            more = text_[at_++] == ',';
        }
        commaIsUnion_ = outer;
        leave();
        return true;
    }

    Index parseCall(std::string_view written)
    {
        const std::string name = upperText(written);
        std::vector<Index> arguments;
        if (!parseArguments(arguments)) return kNone;
        if (arguments.empty() && (name == "TRUE" || name == "FALSE"))
            return addNumber(NodeKind::Boolean, name == "TRUE" ? 1.0 : 0.0);
        // How files write @x and x#.
        if (arguments.size() == 1 && name == "SINGLE")
            return addOperator(NodeKind::Single, Operator::None, arguments[0]);
        if (arguments.size() == 1 && name == "ANCHORARRAY" && yieldsReference(arguments[0]))
            return addOperator(NodeKind::Spill, Operator::None, arguments[0]);
        if (name == "LAMBDA")
            for (std::size_t i = 0; i + 1 < arguments.size(); ++i) makeOptional(tree_.nodes[arguments[i]]);
        Node node;
        node.kind = NodeKind::Call;
        node.text = addText(name);
        return add(node, arguments);
    }

    /// [name] before the formula of a LAMBDA is a parameter, no column of the table around.
    void makeOptional(Node& n)
    {
        if (n.kind != NodeKind::Structured || n.text >= 0 || n.parentheses > 0) return;
        const std::string& name = tree_.texts[static_cast<std::size_t>(n.text2)];
        if (nameEnd(name, 0) != name.size()) return;
        n.kind = NodeKind::Name;
        n.text = std::exchange(n.text2, -1);
        n.index = 1;
    }

    std::string_view text_;
    CellAddress here_;
    std::size_t at_ = 0;
    int depth_ = 0;
    bool commaIsUnion_ = true; // not between the arguments of a function
    Tree tree_;
    ParseError error_;
};

// ---- item specifications of tables ----

class TableItemsReader {
public:
    explicit TableItemsReader(std::string_view text) : text_(text) {}

    std::optional<TableItems> read()
    {
        skipBlanks();
        bool good = true;
        if (charAt(text_, at_) == '@') {
            items_.thisRow = true;
            ++at_;
            skipBlanks();
            if (at_ < text_.size()) good = text_[at_] == '[' ? readColumns() : readPlain();
        } else if (charAt(text_, at_) == '[') {
            good = readList();
        } else if (at_ < text_.size()) {
            good = readPlain();
        }
        skipBlanks();
        if (!good || at_ != text_.size()) return std::nullopt;
        if (!items_.headers && !items_.totals && !items_.thisRow) items_.data = true;
        return std::move(items_);
    }

private:
    void skipBlanks()
    {
        while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
    }

    /// The text up to an unescaped bracket or the end, escapes undone.
    std::string readName()
    {
        std::string name;
        for (; at_ < text_.size() && text_[at_] != '[' && text_[at_] != ']'; ++at_) {
            if (text_[at_] == '\'' && ++at_ == text_.size()) break;
            name += text_[at_];
        }
        return name;
    }

    bool setColumns(std::string first, std::string last)
    {
        if (first.empty() || last.empty() || !items_.firstColumn.empty()) return false;
        items_.firstColumn = std::move(first);
        items_.lastColumn = std::move(last);
        return true;
    }

    bool setSpecial(std::string_view name)
    {
        if (sameLetters(name, "#All"))
            items_.headers = items_.data = items_.totals = true;
        else if (sameLetters(name, "#Headers"))
            items_.headers = true;
        else if (sameLetters(name, "#Data"))
            items_.data = true;
        else if (sameLetters(name, "#Totals"))
            items_.totals = true;
        else if (sameLetters(name, "#This Row"))
            items_.thisRow = true;
        else
            return false;
        return true;
    }

    /// An item without inner brackets: "#Totals" or a column.
    bool readPlain()
    {
        if (text_[at_] == '#') {
            const std::string_view name = text_.substr(at_);
            at_ = text_.size();
            return setSpecial(name);
        }
        const std::string name = readName();
        return setColumns(name, name);
    }

    /// "[Name]"
    std::optional<std::string> readBracketed()
    {
        if (charAt(text_, at_) != '[') return std::nullopt;
        ++at_;
        std::string name = readName();
        if (charAt(text_, at_) != ']') return std::nullopt;
        ++at_;
        return name;
    }

    /// "[A]" or "[A]:[B]"
    bool readColumns()
    {
        const auto first = readBracketed();
        if (!first) return false;
        skipBlanks();
        if (charAt(text_, at_) != ':') return setColumns(*first, *first);
        ++at_;
        skipBlanks();
        const auto last = readBracketed();
        return last && setColumns(*first, *last);
    }

    /// "[#This Row],[A]:[B]"
    bool readList()
    {
        for (;;) {
            skipBlanks();
            if (text_.substr(at_, 2) == "[#") {
                const auto name = readBracketed();
                if (!name || !setSpecial(*name)) return false;
            } else if (!readColumns()) {
                return false;
            }
            skipBlanks();
            if (charAt(text_, at_) != ',') return true;
            ++at_;
        }
    }

    std::string_view text_;
    std::size_t at_ = 0;
    TableItems items_;
};

} // namespace

ParseResult parseFormula(std::string_view text, const CellAddress& here)
{
    return FormulaParser(text, here).parse();
}

std::optional<TableItems> parseTableItems(std::string_view specification)
{
    return TableItemsReader(specification).read();
}

} // namespace varnex3::sheet
