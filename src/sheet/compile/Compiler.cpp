// sheet/compile/Compiler.cpp - resolves names, folds constants, lays out lazy functions.
#include "sheet/compile/Compiler.h"

#include <algorithm>
#include <string>
#include <vector>

#include "sheet/compile/CompilerImpl.h"
#include "sheet/compile/Structured.h"
#include "sheet/exec/Invoke.h"
#include "sheet/exec/Operators.h"
#include "sheet/formula/Lexical.h"

namespace varnex3::sheet {

bool Compiler::constants(std::size_t n) const
{
    const auto& all = code_.instructions;
    if (all.size() < barrier_ + n) return false;
    return std::all_of(all.end() - static_cast<std::ptrdiff_t>(n), all.end(),
                       [](const Instruction& in) { return in.op == Op::Constant; });
}

Code Compiler::run(const Tree& tree, bool array)
{
    const Node& root = tree.root();
    const bool sum = root.op == Operator::Add || root.op == Operator::Subtract;
    if (root.kind == NodeKind::Binary && sum && root.parentheses == 0) // =(A1-B1) does not end in a sum
        final_ = &root;
    node(tree, root, {Want::Scalar, array, false});
    if (refused_) {
        code_.instructions.clear();
        code_.constants.clear();
        code_.places.clear();
        code_.calls.clear();
        code_.lambdas.clear();
        main_.locals = 0;
        constant(Failure::Name);
        code_.isVolatile = code_.isDynamic = false;
    }
    emit(Op::End);
    code_.depth = static_cast<std::uint32_t>(2 * code_.instructions.size());
    code_.locals = main_.locals;
    return std::move(code_);
}

void Compiler::node(const Tree& tree, const Node& n, Mode mode)
{
    // Names within names may stand for more than a file of any size should.
    constexpr std::size_t kMostInstructions = 200000;
    constexpr int kDeepest = 3000;
    if (code_.instructions.size() > kMostInstructions || depth_ >= kDeepest) {
        if (refused_) return constant(Failure::Name);
        return refuse(CodeRemark::Why::Unsupported, "a formula that its names make too large");
    }
    ++depth_;
    const auto textOf = [&](std::int32_t i) { return tree.texts[static_cast<std::size_t>(i)]; };
    switch (n.kind) {
    case NodeKind::Number: constant(n.number); break;
    case NodeKind::Text: constant(Value(textOf(n.text))); break;
    case NodeKind::Boolean: constant(n.number != 0.0); break;
    case NodeKind::Failure: constant(n.failure); break;
    case NodeKind::Missing: constant(Value()); break;
    case NodeKind::Array: constant(tree.arrays[static_cast<std::size_t>(n.index)]); break;
    case NodeKind::Reference: reference(tree, n, mode); break;
    case NodeKind::Name: name(tree, n, mode); break;
    case NodeKind::Structured: structured(tree, n, mode); break;
    case NodeKind::External: external(textOf(n.text), mode); break;
    case NodeKind::Call: call(tree, n, mode); break;
    case NodeKind::CallValue: valueCall(tree, n, mode); break;
    case NodeKind::Unary: unary(tree, n, mode); break;
    case NodeKind::Binary: binary(tree, n, mode); break;
    case NodeKind::RangeOperator:
    case NodeKind::Union:
    case NodeKind::Intersection: references(tree, n, mode); break;
    case NodeKind::Spill:
        node(tree, tree.child(n, 0), {Want::Range, false, tree.child(n, 0).kind == NodeKind::External});
        emit(Op::Spilled);
        delivered(mode);
        break;
    case NodeKind::Single:
        node(tree, tree.child(n, 0), {Want::Range, false, tree.child(n, 0).kind == NodeKind::External});
        emit(Op::Intersect);
        break;
    }
    --depth_;
}

std::optional<Place> Compiler::placeOf(const Tree& tree, const Node& n)
{
    Place p{n.first, n.last, n.extent, -1, -1, context_.nameDepth > 0, true};
    const auto sheet = [&](std::int32_t text) {
        const auto found = scope_.sheetOf(tree.texts[static_cast<std::size_t>(text)]);
        if (!found) code_.unresolved = true;
        return found;
    };
    if (n.sheet >= 0 && !tree.texts[static_cast<std::size_t>(n.sheet)].empty()) {
        const auto first = sheet(n.sheet);
        if (!first) return std::nullopt;
        p.sheet = *first;
    }
    if (n.lastSheet >= 0) {
        const auto last = sheet(n.lastSheet);
        if (!last) return std::nullopt;
        p.lastSheet = *last;
        if (p.lastSheet < p.sheet) std::swap(p.sheet, p.lastSheet);
    }
    return p;
}

void Compiler::place(Place p, Mode mode)
{
    p.precedent = !mode.addressOnly;
    code_.places.push_back(p);
    const auto at = static_cast<std::uint32_t>(code_.places.size() - 1);
    if (mode.want == Want::Range) {
        emit(Op::Area, at);
    } else if (p.extent == Extent::Cell && p.lastSheet < 0) {
        emit(Op::Cell, at);
    } else if (mode.array) {
        emit(Op::Area, at);
        emit(Op::Dereference);
    } else {
        code_.places.back().single = true;
        emit(Op::Intersected, at);
    }
}

void Compiler::reference(const Tree& tree, const Node& n, Mode mode)
{
    if (const auto p = placeOf(tree, n)) {
        place(*p, mode);
    } else {
        constant(Failure::Ref);
    }
}

void Compiler::structured(const Tree& tree, const Node& n, Mode mode)
{
    const auto found = structuredPlace(tree, n, scope_);
    if (const Place* p = std::get_if<Place>(&found)) return place(*p, mode);
    const auto& lost = std::get<LostReference>(found);
    code_.unresolved = true;
    if (!lost.reason.empty()) code_.remarks.push_back({CodeRemark::Why::Unsupported, lost.reason});
    constant(lost.failure);
}

/// What the file keeps of another book is a constant. A formula that needs more, such as the address of a
/// cell, keeps its stored result as a whole.
void Compiler::external(const std::string& written, Mode mode)
{
    code_.remarks.push_back({CodeRemark::Why::External, written});
    std::optional<Value> value;
    if (!mode.addressOnly) value = scope_.externalValue(written, context_.nameDepth > 0);
    if (value && value->isArray() && mode.want == Want::Scalar && !mode.array) {
        const bool one = value->rows() == 1 && value->cols() == 1;
        value =
            one ? std::optional(value->at(0, 0)) : std::nullopt; // which cell depends on the formula's own
    }
    code_.keepsStored = code_.keepsStored || !value;
    constant(value ? std::move(*value) : Value(Failure::Ref));
}

/// After something that may have left a reference on top.
void Compiler::delivered(Mode mode)
{
    if (mode.want == Want::Scalar) emit(mode.array ? Op::Dereference : Op::Intersect);
}

const Tree* Compiler::meaningOf(const Tree& tree, const Node& n, SheetIndex& sheet)
{
    sheet = context_.sheet;
    code_.bySheet = true;
    if (n.sheet >= 0) {
        const auto found = scope_.sheetOf(tree.texts[static_cast<std::size_t>(n.sheet)]);
        if (!found) return nullptr;
        sheet = *found;
    }
    return scope_.definedName(tree.texts[static_cast<std::size_t>(n.text)], sheet);
}

void Compiler::name(const Tree& tree, const Node& n, Mode mode)
{
    const std::string& text = tree.texts[static_cast<std::size_t>(n.text)];
    const Binding* binding = n.sheet < 0 ? find(text) : nullptr;
    if (binding != nullptr) return variable(*binding, mode);
    SheetIndex sheet = 0;
    const Tree* meaning = meaningOf(tree, n, sheet);
    if (meaning == nullptr) {
        if (const Table* table = scope_.table(text)) return place(fixedPlace(table->data()), mode);
        const FunctionRow* row = n.sheet < 0 ? findFunction(lexical::upperText(text)) : nullptr;
        if (row != nullptr) return functionName(*row);
        code_.unresolved = true;
        if (n.sheet >= 0 && !scope_.sheetOf(tree.texts[static_cast<std::size_t>(n.sheet)]))
            return constant(Failure::Ref);
        code_.remarks.push_back({CodeRemark::Why::Unsupported, "unknown name " + text});
        return constant(Failure::Name);
    }
    constexpr int kDeepest = 64;
    if (context_.nameDepth >= kDeepest) {
        code_.remarks.push_back({CodeRemark::Why::Unsupported, "circular name " + text});
        return constant(Failure::Name);
    }
    const Node& root = meaning->root();
    if (isLambdaCall(*meaning, root)) {
        emit(Op::Closure, nameBody(*meaning, sheet));
        return;
    }
    const Context before = context_;
    context_ = {nullptr, before.nameDepth + 1, sheet};
    if (root.kind == NodeKind::Reference || root.kind == NodeKind::Name) {
        node(*meaning, root, mode);
    } else { // a formula behind a name is evaluated element by element
        node(*meaning, root, {Want::Range, true, mode.addressOnly});
        delivered(mode);
    }
    context_ = before;
}

void Compiler::unary(const Tree& tree, const Node& n, Mode mode)
{
    node(tree, tree.child(n, 0), mode.scalar());
    if (constants(1)) {
        fold(1, applyUnary(n.op, Value(last(0)), scope_.environment().dateSystem()));
    } else {
        emit(Op::Unary, 0, static_cast<std::uint8_t>(n.op));
    }
}

/// From the innermost left operand outwards: a sum of ten thousand terms is no nest.
void Compiler::binary(const Tree& tree, const Node& n, Mode mode)
{
    std::vector<const Node*> chain{&n};
    while (tree.child(*chain.back(), 0).kind == NodeKind::Binary)
        chain.push_back(&tree.child(*chain.back(), 0));
    node(tree, tree.child(*chain.back(), 0), mode.scalar());
    for (auto part = chain.rbegin(); part != chain.rend(); ++part) {
        node(tree, tree.child(**part, 1), mode.scalar());
        operation((*part)->op, *part == final_);
    }
}

void Compiler::operation(Operator op, bool final)
{
    if (constants(2)) {
        const DateSystem dates = scope_.environment().dateSystem();
        const Value a = last(1), b = last(0);
        fold(2, final ? applyFinalBinary(op, a, b, dates) : applyBinary(op, a, b, dates));
    } else {
        emit(final ? Op::FinalBinary : Op::Binary, 0, static_cast<std::uint8_t>(op));
    }
}

/// One place for first:last when both ends are cells of one sheet.
std::optional<Place> Compiler::spanned(const Tree& tree, const Node& n)
{
    const Node& a = tree.child(n, 0);
    const Node& b = tree.child(n, 1);
    if (a.kind != NodeKind::Reference || b.kind != NodeKind::Reference || a.extent != Extent::Cell ||
        b.extent != Extent::Cell)
        return std::nullopt;
    auto first = placeOf(tree, a);
    const auto second = placeOf(tree, b);
    if (!first || !second || first->lastSheet >= 0 || second->lastSheet >= 0) return std::nullopt;
    if (second->sheet >= 0 && second->sheet != first->sheet) return std::nullopt;
    first->last = second->first;
    first->extent = Extent::Area;
    return first;
}

void Compiler::references(const Tree& tree, const Node& n, Mode mode)
{
    if (n.kind == NodeKind::RangeOperator) {
        if (const auto p = spanned(tree, n)) return place(*p, mode);
        code_.isDynamic = true; // which cells lie between is known only when both ends are
    }
    const auto end = [&](std::uint32_t i) {
        const Node& child = tree.child(n, i);
        node(tree, child, {Want::Range, mode.array, mode.addressOnly || child.kind == NodeKind::External});
    };
    end(0);
    for (std::uint32_t i = 1; i < n.childCount; ++i) {
        end(i);
        emit(n.kind == NodeKind::RangeOperator ? Op::MakeRange
             : n.kind == NodeKind::Union       ? Op::MakeUnion
                                               : Op::MakeIntersection);
    }
    delivered(mode);
}

void Compiler::call(const Tree& tree, const Node& n, Mode mode)
{
    const std::string& name = tree.texts[static_cast<std::size_t>(n.text)];
    const FunctionRow* row = findFunction(name);
    // A function of the table comes before a value of that name, but not before a LAMBDA.
    const Binding* binding = find(name);
    if (binding != nullptr && (row == nullptr || binding->isLambda()))
        return variableCall(*binding, tree, n, 0, mode);
    if (row == nullptr) {
        SheetIndex sheet = 0;
        if (const Tree* meaning = meaningOf(tree, n, sheet))
            return nameCall(*meaning, sheet, tree, n, 0, mode);
        return refuse(CodeRemark::Why::UnknownFunction, name);
    }
    if (name == "LET") return let(tree, n, mode);
    if (name == "LAMBDA") return lambdaValue(tree, n);
    rowCall(tree, n, mode, *row);
}

void Compiler::rowCall(const Tree& tree, const Node& n, Mode mode, const FunctionRow& function)
{
    const FunctionRow* row = &function;
    const std::string& name = tree.texts[static_cast<std::size_t>(n.text)];
    // SUM() with nothing between the parentheses parses as no argument or as one that is missing.
    const bool none = n.childCount == 1 && tree.child(n, 0).kind == NodeKind::Missing &&
                      row->parameters.required() == 0 && row->parameters.count == 0;
    const Index count = none ? 0 : n.childCount;
    if (!takesCount(*row, static_cast<int>(count)))
        return refuse(CodeRemark::Why::Unparsable, name + " does not take " + std::to_string(count) +
                                                       (count == 1 ? " argument" : " arguments"));
    if (has(row->traits, Trait::Volatile)) code_.isVolatile = true;
    if (has(row->traits, Trait::Dynamic)) code_.isDynamic = true;
    if (has(row->traits, Trait::Lazy) && lazyCall(tree, n, mode, name)) return;

    CallSite site{row, count, 0};
    bool plainNumbers = count > 0; // constants of these parameters may be worked out now
    for (Index i = 0; i < count; ++i) {
        const Node& child = tree.child(n, i);
        const Take take = row->parameters.of(static_cast<int>(i)).take;
        plainNumbers = plainNumbers && take <= Take::Boolean;
        if (child.kind == NodeKind::Missing && i < 64) site.missing |= std::uint64_t{1} << i;
        if (i == 2 && (name == "SUMIF" || name == "AVERAGEIF")) {
            sumRange(tree, n, mode);
            continue;
        }
        switch (take) {
        case Take::Range: node(tree, child, mode.range()); break;
        case Take::Array:
        case Take::Function: node(tree, child, {Want::Range, true, false}); break;
        case Take::Reference: node(tree, child, {Want::Range, mode.array, true}); break;
        default: node(tree, child, mode.scalar()); break;
        }
    }
    const bool fixed = (plainNumbers || name == "PI" || name == "TRUE" || name == "FALSE" || name == "NA") &&
                       row->traits == Trait::Pure && constants(count);
    if (fixed) {
        std::vector<Value> arguments;
        for (Index i = count; i > 0; --i) arguments.push_back(last(i - 1));
        Value v = invoke(site, arguments, scope_.environment(), CellAddress{ownSheet_, 0, 0});
        fold(count, std::move(v));
        return;
    }
    if (name == "ISOMITTED" && constants(1)) return fold(1, last(0).isOmitted());
    code_.calls.push_back(site);
    emit(Op::Call, static_cast<std::uint32_t>(code_.calls.size() - 1));
    if (has(row->traits, Trait::GivesRange) || has(row->traits, Trait::Dynamic)) delivered(mode);
}

/// The place that a reference, or a name for one, stands for.
std::optional<Place> Compiler::plainPlace(const Tree& tree, const Node& n)
{
    if (n.kind == NodeKind::Reference) {
        const auto p = placeOf(tree, n);
        return p && p->lastSheet < 0 ? p : std::nullopt;
    }
    if (n.kind == NodeKind::Structured) {
        const auto found = structuredPlace(tree, n, scope_);
        const Place* p = std::get_if<Place>(&found);
        return p != nullptr ? std::optional(*p) : std::nullopt;
    }
    constexpr int kDeepest = 64;
    if (n.kind != NodeKind::Name || context_.nameDepth >= kDeepest) return std::nullopt;
    const Tree* behind = nullptr;
    const Node* meant = nullptr;
    Context inside = context_;
    const Binding* binding = n.sheet < 0 ? find(tree.texts[static_cast<std::size_t>(n.text)]) : nullptr;
    if (binding != nullptr) {
        if (binding->how != Binding::How::Node) return std::nullopt;
        behind = binding->tree;
        meant = binding->node;
        inside = binding->around;
    } else {
        SheetIndex sheet = 0;
        behind = meaningOf(tree, n, sheet);
        if (behind == nullptr) return std::nullopt;
        meant = &behind->root();
        inside = {nullptr, context_.nameDepth + 1, sheet};
    }
    const Context before = std::exchange(context_, inside);
    const auto p = plainPlace(*behind, *meant);
    context_ = before;
    return p;
}

namespace {

/// The rows or the columns of a place.
struct Line {
    std::int32_t first, last;
    bool firstAbsolute, lastAbsolute;
};
Line rowsOf(const Place& p)
{
    const CellRef& end = p.extent == Extent::Cell ? p.first : p.last;
    return {p.first.row, end.row, p.first.rowAbsolute, end.rowAbsolute};
}
Line colsOf(const Place& p)
{
    const CellRef& end = p.extent == Extent::Cell ? p.first : p.last;
    return {p.first.col, end.col, p.first.colAbsolute, end.colAbsolute};
}

/// A line from the first cell of `at` on, as long as `like`; nothing where that depends on the cell from
/// which they are seen.
std::optional<Line> sized(Line at, const Line& like, std::int32_t limit)
{
    if (at.firstAbsolute == like.firstAbsolute && at.lastAbsolute == like.lastAbsolute &&
        at.last - at.first == like.last - like.first)
        return at;
    if (at.firstAbsolute != at.lastAbsolute || like.firstAbsolute != like.lastAbsolute) return std::nullopt;
    at.first = std::min(at.first, at.last);
    at.last = at.first + std::abs(like.last - like.first);
    if (at.lastAbsolute) at.last = std::min(at.last, limit - 1);
    return at;
}

/// `p` from its upper left cell on in the size of `like`.
std::optional<Place> sized(Place p, const Place& like)
{
    const auto rows = sized(rowsOf(p), rowsOf(like), kMaxRows),
               cols = sized(colsOf(p), colsOf(like), kMaxColumns);
    if (!rows || !cols) return std::nullopt;
    p.first = {rows->first, cols->first, rows->firstAbsolute, cols->firstAbsolute};
    p.last = {rows->last, cols->last, rows->lastAbsolute, cols->lastAbsolute};
    p.extent = Extent::Area;
    return p;
}

} // namespace

/// The cells that SUMIF and AVERAGEIF take: from the upper left cell of the third argument on, as many as the
/// first has, more or fewer than are written. No other cell is read.
void Compiler::sumRange(const Tree& tree, const Node& n, Mode mode)
{
    const Node& written = tree.child(n, 2);
    const auto tested = plainPlace(tree, tree.child(n, 0)), summed = plainPlace(tree, written);
    const auto p = tested && summed ? sized(*summed, *tested) : std::nullopt;
    if (p) return place(*p, mode.range());
    const bool fixed = written.kind == NodeKind::Array || written.kind == NodeKind::External;
    code_.isDynamic = code_.isDynamic || !fixed; // which cells is known only then
    node(tree, written, mode.range());
}

bool Compiler::lazyCall(const Tree& tree, const Node& n, Mode mode, std::string_view name)
{
    if (name == "IF") {
        ifCall(tree, n, mode);
    } else if (name == "IFS") {
        ifsCall(tree, n, mode, 0);
    } else if (name == "IFERROR") {
        errorCall(tree, n, mode, false);
    } else if (name == "IFNA") {
        errorCall(tree, n, mode, true);
    } else if (name == "CHOOSE") {
        chooseCall(tree, n, mode);
    } else if (name == "SWITCH") {
        const Node& selector = tree.child(n, 0);
        if (mode.array || selector.kind == NodeKind::Array) {
            switchArray(tree, n, mode, 1);
        } else {
            switchCall(tree, n, mode);
        }
    } else {
        return false;
    }
    return true;
}

/// A value that a lazy function may give: one left empty between separators is 0.
void Compiler::branch(const Tree& tree, const Node& n, Index child, Mode mode)
{
    const Node& c = tree.child(n, child);
    if (c.kind == NodeKind::Missing) {
        constant(0.0);
    } else {
        node(tree, c, mode);
    }
}

void Compiler::ifCall(const Tree& tree, const Node& n, Mode mode)
{
    branch(tree, n, 0, mode.scalar());
    const std::size_t test = emit(Op::IfTest);
    here();
    if (n.childCount > 1) {
        branch(tree, n, 1, mode);
    } else {
        constant(true);
    }
    const std::size_t then = emit(Op::IfThen);
    target(test);
    if (n.childCount > 2) {
        branch(tree, n, 2, mode);
    } else {
        constant(false);
    }
    target(then);
    emit(Op::IfEnd);
}

/// IFS(c1, v1, c2, v2, ...) is IF(c1, v1, IF(c2, v2, ... #N/A)).
void Compiler::ifsCall(const Tree& tree, const Node& n, Mode mode, Index first)
{
    if (first + 1 >= n.childCount) return constant(Failure::NA);
    branch(tree, n, first, mode.scalar());
    const std::size_t test = emit(Op::IfTest);
    here();
    branch(tree, n, first + 1, mode);
    const std::size_t then = emit(Op::IfThen);
    target(test);
    ifsCall(tree, n, mode, first + 2);
    target(then);
    emit(Op::IfEnd);
}

void Compiler::errorCall(const Tree& tree, const Node& n, Mode mode, bool onlyNA)
{
    const auto detail = static_cast<std::uint8_t>(onlyNA ? 1 : 0);
    branch(tree, n, 0, mode.scalar());
    const std::size_t test = emit(Op::ErrorTest, 0, detail);
    here();
    branch(tree, n, 1, mode.scalar());
    emit(Op::ErrorEnd, 0, detail);
    target(test);
}

void Compiler::chooseCall(const Tree& tree, const Node& n, Mode mode)
{
    branch(tree, n, 0, mode.scalar());
    const auto count = static_cast<std::uint16_t>(n.childCount - 1);
    if (mode.array || tree.child(n, 0).kind == NodeKind::Array) {
        for (Index i = 1; i < n.childCount; ++i) branch(tree, n, i, {Want::Scalar, true, false});
        emit(Op::ChooseArray, 0, 0, count);
        return;
    }
    const auto table = static_cast<std::uint32_t>(code_.labels.size());
    code_.labels.resize(code_.labels.size() + count + 1U);
    emit(Op::Choose, table, 0, count);
    std::vector<std::size_t> ends;
    for (Index i = 1; i < n.childCount; ++i) {
        code_.labels[table + i - 1] = here();
        branch(tree, n, i, mode);
        ends.push_back(emit(Op::Jump));
    }
    for (const std::size_t jump : ends) target(jump);
    code_.labels[table + count] = here();
}

void Compiler::switchCall(const Tree& tree, const Node& n, Mode mode)
{
    branch(tree, n, 0, mode.scalar());
    // A failure is the result whatever follows.
    const std::size_t failed = emit(Op::ErrorTest);
    here();
    const std::size_t out = emit(Op::Jump);
    target(failed);
    std::vector<std::size_t> ends{out};
    Index i = 1;
    for (; i + 1 < n.childCount; i += 2) {
        branch(tree, n, i, mode.scalar());
        const std::size_t test = emit(Op::SwitchTest);
        here();
        branch(tree, n, i + 1, mode);
        ends.push_back(emit(Op::Jump));
        target(test);
    }
    if (i < n.childCount) {
        branch(tree, n, i, mode);
    } else {
        constant(Failure::NA);
    }
    emit(Op::Exchange);
    for (const std::size_t jump : ends) target(jump);
}

/// SWITCH(x, v1, r1, ...) element by element is IF(x = v1, r1, ...).
void Compiler::switchArray(const Tree& tree, const Node& n, Mode mode, Index first)
{
    if (first >= n.childCount) return constant(Failure::NA);
    if (first + 1 == n.childCount) return branch(tree, n, first, mode);
    branch(tree, n, 0, mode.scalar());
    branch(tree, n, first, mode.scalar());
    emit(Op::Binary, 0, static_cast<std::uint8_t>(Operator::Equal));
    const std::size_t test = emit(Op::IfTest);
    here();
    branch(tree, n, first + 1, mode);
    const std::size_t then = emit(Op::IfThen);
    target(test);
    switchArray(tree, n, mode, first + 2);
    target(then);
    emit(Op::IfEnd);
}

Code compileFormula(const Tree& tree, SheetIndex ownSheet, bool array, const Scope& scope)
{
    return Compiler(ownSheet, scope).run(tree, array);
}

Code compileUnparsable(std::string reason)
{
    Code code;
    code.constants.emplace_back(Failure::Name);
    code.instructions = {{Op::Constant, 0, 0, 0}, {}};
    code.remarks.push_back({CodeRemark::Why::Unparsable, std::move(reason)});
    return code;
}

} // namespace varnex3::sheet
