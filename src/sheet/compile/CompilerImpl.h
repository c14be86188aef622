// sheet/compile/CompilerImpl.h - the work of one compilation. Private to compile/.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sheet/compile/Compiler.h"
#include "sheet/exec/Code.h"
#include "sheet/functions/Function.h"

namespace varnex3::sheet {

/// What the consumer of a node's value takes.
enum class Want : std::uint8_t {
    Scalar, // one value; in array mode one value or an array
    Range,  // also a reference
};

/// How a node is compiled.
struct Mode {
    Want want = Want::Scalar;
    bool array = false;       // element by element
    bool addressOnly = false; // the argument of a function that looks at the address alone
    Mode scalar() const { return {Want::Scalar, array, false}; }
    Mode range() const { return {Want::Range, array, false}; }
};

inline bool isLambdaCall(const Tree& tree, const Node& n)
{
    return n.kind == NodeKind::Call && tree.texts[static_cast<std::size_t>(n.text)] == "LAMBDA";
}

/// What surrounds a node: how its names are to be understood.
struct Binding;
struct Context {
    const Binding* names = nullptr; // of LET and LAMBDA, innermost first
    int nameDepth = 0;              // defined names that lead here
    SheetIndex sheet = 0;           // whose names come before those of the book
};

/// The slots of the formula, or of a LAMBDA that is called.
struct Frame {
    struct Capture {
        const Binding* binding;
        std::uint32_t from, to; // slot of the outer frame, own slot
    };
    Frame* outer = nullptr;
    std::uint32_t locals = 0;
    std::vector<Capture> captures;
};

/// A name of LET or a parameter of LAMBDA.
struct Binding {
    enum class How : std::uint8_t {
        Constant, // value
        Slot,     // slot of frame
        Node,     // reference or LAMBDA: written out where the name is used
    } how = How::Constant;
    std::string name;
    const Binding* outer = nullptr;
    Value value;
    std::uint32_t slot = 0;
    const Frame* frame = nullptr;
    bool mayBeReference = false;
    const Tree* tree = nullptr;
    const Node* node = nullptr;
    Context around;         // of the node
    std::size_t weight = 0; // of a LAMBDA: nodes when written out
    bool isLambda() const { return how == How::Node && isLambdaCall(*tree, *node); }
};

class Compiler {
public:
    Compiler(SheetIndex ownSheet, const Scope& scope) : ownSheet_(ownSheet), scope_(scope)
    {
        context_.sheet = ownSheet;
    }

    Code run(const Tree& tree, bool array);

private:
    using Index = std::uint32_t;

    void node(const Tree& tree, const Node& n, Mode mode);
    void reference(const Tree& tree, const Node& n, Mode mode);
    void name(const Tree& tree, const Node& n, Mode mode);
    void structured(const Tree& tree, const Node& n, Mode mode);
    void external(const std::string& written, Mode mode);
    void unary(const Tree& tree, const Node& n, Mode mode);
    void binary(const Tree& tree, const Node& n, Mode mode);
    void operation(Operator op, bool final);
    void references(const Tree& tree, const Node& n, Mode mode);
    void call(const Tree& tree, const Node& n, Mode mode);
    bool lazyCall(const Tree& tree, const Node& n, Mode mode, std::string_view name);
    void ifCall(const Tree& tree, const Node& n, Mode mode);
    void ifsCall(const Tree& tree, const Node& n, Mode mode, Index first);
    void errorCall(const Tree& tree, const Node& n, Mode mode, bool onlyNA);
    void chooseCall(const Tree& tree, const Node& n, Mode mode);
    void switchCall(const Tree& tree, const Node& n, Mode mode);
    void switchArray(const Tree& tree, const Node& n, Mode mode, Index first);
    std::optional<Place> plainPlace(const Tree& tree, const Node& n);
    void sumRange(const Tree& tree, const Node& n, Mode mode);
    void rowCall(const Tree& tree, const Node& n, Mode mode, const FunctionRow& row);

    // Names of LET and LAMBDA, functions as values (Lambdas.cpp)
    const Binding* find(std::string_view name) const;
    std::uint32_t slotOf(const Binding& binding, Frame& frame);
    void variable(const Binding& binding, Mode mode);
    const Binding* bind(std::string name, const Tree& tree, const Node& value, const Binding* outer);
    const Binding* bindConstant(std::string name, Value v, const Binding* outer);
    bool writtenOut(const Tree& tree, const Node& value, std::size_t& weight);
    bool mayBeReference(const Tree& tree, const Node& n) const;
    void let(const Tree& tree, const Node& n, Mode mode);
    void lambdaValue(const Tree& tree, const Node& n);
    void lambdaBody(const Tree& tree, const Node& n, Frame* outer, std::uint32_t k);
    std::uint32_t nameBody(const Tree& meaning, SheetIndex sheet);
    void functionName(const FunctionRow& row);
    void valueCall(const Tree& tree, const Node& n, Mode mode);
    void variableCall(const Binding& binding, const Tree& tree, const Node& n, Index first, Mode mode);
    void nameCall(const Tree& meaning, SheetIndex sheet, const Tree& tree, const Node& n, Index first,
                  Mode mode);
    void inlineCall(const Tree& lambdaTree, const Node& lambda, const Context& around, const Tree& tree,
                    const Node& n, Index first, Mode mode);
    Index arguments(const Tree& tree, const Node& n, Index first);
    std::size_t weigh(const Tree& tree, const Node& top, bool bound);
    std::size_t weighName(const Tree& meaning, SheetIndex sheet);
    bool mayInline(const Node& lambda, std::size_t weight) const;

    void branch(const Tree& tree, const Node& n, Index child, Mode mode);
    void place(Place p, Mode mode);
    void delivered(Mode mode);
    std::optional<Place> placeOf(const Tree& tree, const Node& n);
    std::optional<Place> spanned(const Tree& tree, const Node& n);

    std::size_t emit(Op op, std::uint32_t operand = 0, std::uint8_t detail = 0, std::uint16_t count = 0)
    {
        code_.instructions.push_back({op, detail, count, operand});
        return code_.instructions.size() - 1;
    }
    void constant(Value v)
    {
        code_.constants.push_back(std::move(v));
        emit(Op::Constant, static_cast<std::uint32_t>(code_.constants.size() - 1));
    }
    std::uint32_t here()
    {
        barrier_ = code_.instructions.size();
        return static_cast<std::uint32_t>(barrier_);
    }
    void target(std::size_t jump) { code_.instructions[jump].operand = here(); }
    /// Whether the last n instructions are constants that nothing jumps between.
    bool constants(std::size_t n) const;
    const Value& last(std::size_t back) const
    {
        return code_.constants[code_.instructions[code_.instructions.size() - 1 - back].operand];
    }
    void fold(std::size_t n, Value v)
    {
        code_.instructions.resize(code_.instructions.size() - n);
        constant(std::move(v));
    }
    /// A name that the formula around it does not bind; null for an unknown one.
    const Tree* meaningOf(const Tree& tree, const Node& n, SheetIndex& sheet);
    void refuse(CodeRemark::Why why, std::string text)
    {
        code_.remarks.push_back({why, std::move(text)});
        refused_ = true;
        constant(Failure::Name);
    }

    SheetIndex ownSheet_;
    const Scope& scope_;
    Code code_;
    std::size_t barrier_ = 0;
    bool refused_ = false;
    int depth_ = 0;               // of nodes within nodes
    const Node* final_ = nullptr; // the root, when it is a sum or difference not in parentheses

    Context context_;
    Frame main_;
    Frame* frame_ = &main_;
    std::deque<Binding> bindings_;
    std::vector<const Node*> inlining_; // LAMBDAs written out where they are called
    std::map<std::pair<const Tree*, SheetIndex>, std::uint32_t> nameBodies_; // of names that hold a LAMBDA
    std::map<const Tree*, std::size_t> nameWeights_;
};

} // namespace varnex3::sheet
