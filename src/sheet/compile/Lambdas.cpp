// sheet/compile/Lambdas.cpp - names of LET, LAMBDAs and their calls.
//
// A name that stands for a reference, a constant or a small LAMBDA is written out where it is used, so that
// calls of small functions become straight code; any other value is worked out once and kept in a slot. A
// LAMBDA that is handed on, or calls itself, becomes a body of its own.
#include <algorithm>

#include "sheet/compile/CompilerImpl.h"
#include "sheet/format/Convert.h"

namespace varnex3::sheet {
namespace {

constexpr std::size_t kMostInlined = 300; // nodes of a LAMBDA that is written out at each call
constexpr std::size_t kHeavy = std::size_t{1} << 30;
constexpr Mode kValue{Want::Range, true, false}; // what a name stands for, an argument, the result of a call

struct Parameters {
    std::vector<std::string> names;
    std::uint32_t required = 0;
};

/// What a LAMBDA takes; nothing when it is not written as one.
std::optional<Parameters> parametersOf(const Tree& tree, const Node& lambda)
{
    constexpr std::uint32_t kMostParameters = 253;
    if (lambda.childCount < 1 || lambda.childCount > kMostParameters + 1) return std::nullopt;
    if (tree.child(lambda, lambda.childCount - 1).kind == NodeKind::Missing) return std::nullopt;
    Parameters p;
    for (std::uint32_t i = 0; i + 1 < lambda.childCount; ++i) {
        const Node& n = tree.child(lambda, i);
        if (n.kind != NodeKind::Name || n.sheet >= 0) return std::nullopt;
        if (n.index != 1 && p.required++ < i) return std::nullopt; // behind an optional one
        p.names.push_back(tree.texts[static_cast<std::size_t>(n.text)]);
    }
    return p;
}

constexpr const char* kNoLambda = "a LAMBDA without names for its parameters or without a formula";

} // namespace

// Names ---------------------------------------------------------------------------------------------------

const Binding* Compiler::find(std::string_view name) const
{
    for (const Binding* b = context_.names; b != nullptr; b = b->outer)
        if (equalTexts(b->name, name)) return b;
    return nullptr;
}

/// The slot of `frame` that holds a name, taken from the frames around it where it is not its own.
std::uint32_t Compiler::slotOf(const Binding& binding, Frame& frame)
{
    if (binding.frame == &frame) return binding.slot;
    for (const Frame::Capture& known : frame.captures)
        if (known.binding == &binding) return known.to;
    const std::uint32_t from = slotOf(binding, *frame.outer);
    frame.captures.push_back({&binding, from, frame.locals++});
    return frame.captures.back().to;
}

void Compiler::variable(const Binding& binding, Mode mode)
{
    switch (binding.how) {
    case Binding::How::Constant: constant(binding.value); break;
    case Binding::How::Slot:
        emit(Op::Local, slotOf(binding, *frame_));
        if (binding.mayBeReference) delivered(mode);
        break;
    case Binding::How::Node: {
        const Context before = context_;
        context_ = binding.around;
        node(*binding.tree, *binding.node, mode);
        context_ = before;
        break;
    }
    }
}

/// False only where the value is surely none.
bool Compiler::mayBeReference(const Tree& tree, const Node& n) const
{
    switch (n.kind) {
    case NodeKind::Unary:
    case NodeKind::Binary:
    case NodeKind::Single: return false;
    case NodeKind::Call: {
        const std::string& name = tree.texts[static_cast<std::size_t>(n.text)];
        const FunctionRow* row = findFunction(name);
        return row == nullptr || find(name) != nullptr || row->traits >= Trait::Dynamic || name == "LET";
    }
    default: return true;
    }
}

const Binding* Compiler::bindConstant(std::string name, Value v, const Binding* outer)
{
    Binding& b = bindings_.emplace_back();
    b.name = std::move(name);
    b.outer = outer;
    b.value = std::move(v);
    return &b;
}

/// Whether a value is compiled where its name is used.
bool Compiler::writtenOut(const Tree& tree, const Node& value, std::size_t& weight)
{
    if (value.kind == NodeKind::Reference) return true;
    if (value.kind == NodeKind::Name) {
        SheetIndex sheet = 0;
        const Tree* meaning = meaningOf(tree, value, sheet);
        return meaning != nullptr &&
               (meaning->root().kind == NodeKind::Reference || isLambdaCall(*meaning, meaning->root()));
    }
    if (!isLambdaCall(tree, value)) return false;
    weight = weigh(tree, value, true);
    return weight <= kMostInlined;
}

/// A name for a value that is written where the compiler is now; the name is seen from `outer`.
const Binding* Compiler::bind(std::string name, const Tree& tree, const Node& value, const Binding* outer)
{
    if (value.kind == NodeKind::Missing) return bindConstant(std::move(name), Value::omitted(), outer);
    const bool word = value.kind == NodeKind::Name && value.sheet < 0;
    if (const Binding* known = word ? find(tree.texts[static_cast<std::size_t>(value.text)]) : nullptr) {
        Binding& b = bindings_.emplace_back(*known);
        b.name = std::move(name);
        b.outer = outer;
        return &b;
    }
    Binding& b = bindings_.emplace_back();
    b.name = std::move(name);
    b.outer = outer;
    if (writtenOut(tree, value, b.weight)) {
        b.how = Binding::How::Node;
        b.tree = &tree;
        b.node = &value;
        b.around = context_;
        return &b;
    }
    const std::size_t start = code_.instructions.size();
    node(tree, value, kValue);
    if (code_.instructions.size() == start + 1 && constants(1)) {
        b.value = last(0);
        code_.instructions.pop_back();
        return &b;
    }
    b.how = Binding::How::Slot;
    b.frame = frame_;
    b.slot = frame_->locals++;
    b.mayBeReference = mayBeReference(tree, value);
    emit(Op::SetLocal, b.slot);
    return &b;
}

void Compiler::let(const Tree& tree, const Node& n, Mode mode)
{
    const Index last = n.childCount - 1;
    bool good = n.childCount >= 3 && n.childCount % 2 == 1 && tree.child(n, last).kind != NodeKind::Missing;
    for (Index i = 0; i < last && good; i += 2)
        good = tree.child(n, i).kind == NodeKind::Name && tree.child(n, i).sheet < 0;
    if (!good)
        return refuse(CodeRemark::Why::Unparsable, "LET takes names, each with its value, and a formula");
    const Binding* before = context_.names;
    for (Index i = 0; i < last; i += 2) {
        const std::string& name = tree.texts[static_cast<std::size_t>(tree.child(n, i).text)];
        context_.names = bind(name, tree, tree.child(n, i + 1), context_.names);
    }
    node(tree, tree.child(n, last), {mode.want, true, mode.addressOnly});
    context_.names = before;
}

// Functions as values -------------------------------------------------------------------------------------

void Compiler::functionName(const FunctionRow& row)
{
    if (has(row.traits, Trait::Volatile)) code_.isVolatile = true;
    if (has(row.traits, Trait::Dynamic)) code_.isDynamic = true;
    detail::FunctionData function;
    function.row = &row;
    function.required = row.parameters.required();
    function.most = row.parameters.most();
    constant(Value::function(std::move(function)));
}

void Compiler::lambdaValue(const Tree& tree, const Node& n)
{
    const auto k = static_cast<std::uint32_t>(code_.lambdas.size());
    code_.lambdas.emplace_back();
    emit(Op::Closure, k);
    lambdaBody(tree, n, frame_, k);
}

/// Body k, to be stepped over where it stands.
void Compiler::lambdaBody(const Tree& tree, const Node& n, Frame* outer, std::uint32_t k)
{
    const auto parameters = parametersOf(tree, n);
    if (!parameters) return refuse(CodeRemark::Why::Unparsable, kNoLambda);
    const std::size_t jump = emit(Op::Jump);
    const std::uint32_t start = here();
    Frame frame;
    frame.outer = outer;
    Frame* const aroundFrame = std::exchange(frame_, &frame);
    const Context around = context_;
    for (const std::string& name : parameters->names) {
        Binding& b = bindings_.emplace_back();
        b.how = Binding::How::Slot;
        b.name = name;
        b.outer = context_.names;
        b.frame = &frame;
        b.slot = frame.locals++;
        b.mayBeReference = true;
        context_.names = &b;
    }
    node(tree, tree.child(n, n.childCount - 1), kValue);
    emit(Op::End);
    context_ = around;
    frame_ = aroundFrame;
    Lambda& lambda = code_.lambdas[k];
    lambda.start = start;
    lambda.required = parameters->required;
    lambda.most = static_cast<std::uint32_t>(parameters->names.size());
    lambda.locals = frame.locals;
    lambda.depth = 2 * (static_cast<std::uint32_t>(code_.instructions.size()) - start) + 4;
    for (const Frame::Capture& c : frame.captures) lambda.captures.push_back({c.from, c.to});
    target(jump);
}

/// The body of the LAMBDA that a name holds, made when first asked for; it takes nothing from around it.
std::uint32_t Compiler::nameBody(const Tree& meaning, SheetIndex sheet)
{
    const auto k = static_cast<std::uint32_t>(code_.lambdas.size());
    const auto [at, isNew] = nameBodies_.try_emplace({&meaning, sheet}, k);
    if (!isNew) return at->second;
    code_.lambdas.emplace_back();
    const Context before = context_;
    context_ = {nullptr, before.nameDepth + 1, sheet};
    lambdaBody(meaning, meaning.root(), nullptr, k);
    context_ = before;
    return k;
}

// Calls ---------------------------------------------------------------------------------------------------

Compiler::Index Compiler::arguments(const Tree& tree, const Node& n, Index first)
{
    for (Index i = first; i < n.childCount; ++i) {
        if (tree.child(n, i).kind == NodeKind::Missing) {
            constant(Value::omitted());
        } else {
            node(tree, tree.child(n, i), kValue);
        }
    }
    return n.childCount - first;
}

/// A call of whatever the first operand gives.
void Compiler::valueCall(const Tree& tree, const Node& n, Mode mode)
{
    const Node& what = tree.child(n, 0);
    if (isLambdaCall(tree, what) && mayInline(what, 0))
        return inlineCall(tree, what, context_, tree, n, 1, mode);
    if (what.kind == NodeKind::Name) {
        const Binding* binding =
            what.sheet < 0 ? find(tree.texts[static_cast<std::size_t>(what.text)]) : nullptr;
        if (binding != nullptr) return variableCall(*binding, tree, n, 1, mode);
        SheetIndex sheet = 0;
        if (const Tree* meaning = meaningOf(tree, what, sheet))
            return nameCall(*meaning, sheet, tree, n, 1, mode);
    }
    node(tree, what, kValue);
    emit(Op::Apply, 0, 0, static_cast<std::uint16_t>(arguments(tree, n, 1)));
    delivered({mode.want, true, false});
}

void Compiler::variableCall(const Binding& binding, const Tree& tree, const Node& n, Index first, Mode mode)
{
    if (binding.isLambda() && mayInline(*binding.node, binding.weight))
        return inlineCall(*binding.tree, *binding.node, binding.around, tree, n, first, mode);
    if (binding.how == Binding::How::Node && binding.node->kind == NodeKind::Name) {
        const Context before = std::exchange(context_, binding.around);
        SheetIndex sheet = 0;
        const Tree* meaning = meaningOf(*binding.tree, *binding.node, sheet);
        context_ = before;
        if (meaning != nullptr) return nameCall(*meaning, sheet, tree, n, first, mode);
    }
    variable(binding, kValue);
    emit(Op::Apply, 0, 0, static_cast<std::uint16_t>(arguments(tree, n, first)));
    delivered({mode.want, true, false});
}

/// A call of a defined name.
void Compiler::nameCall(const Tree& meaning, SheetIndex sheet, const Tree& tree, const Node& n, Index first,
                        Mode mode)
{
    const Context inside{nullptr, context_.nameDepth + 1, sheet};
    const Node& root = meaning.root();
    if (isLambdaCall(meaning, root)) {
        if (mayInline(root, weighName(meaning, sheet)))
            return inlineCall(meaning, root, inside, tree, n, first, mode);
        const std::uint32_t k = nameBody(meaning, sheet);
        emit(Op::ApplyLambda, k, 0, static_cast<std::uint16_t>(arguments(tree, n, first)));
        return delivered({mode.want, true, false});
    }
    constexpr int kDeepest = 64;
    if (inside.nameDepth > kDeepest) return refuse(CodeRemark::Why::Unsupported, "circular name");
    const Context before = std::exchange(context_, inside);
    node(meaning, root, kValue);
    context_ = before;
    emit(Op::Apply, 0, 0, static_cast<std::uint16_t>(arguments(tree, n, first)));
    delivered({mode.want, true, false});
}

/// The body of a LAMBDA with its parameters bound to the arguments of a call.
void Compiler::inlineCall(const Tree& lambdaTree, const Node& lambda, const Context& around, const Tree& tree,
                          const Node& n, Index first, Mode mode)
{
    const auto parameters = parametersOf(lambdaTree, lambda);
    if (!parameters) return refuse(CodeRemark::Why::Unparsable, kNoLambda);
    const Index count = n.childCount - first;
    if (count < parameters->required || count > parameters->names.size()) return constant(Failure::Value);
    Context inside = around;
    for (Index i = 0; i < parameters->names.size(); ++i) {
        const std::string& name = parameters->names[i];
        inside.names = i < count ? bind(name, tree, tree.child(n, first + i), inside.names)
                                 : bindConstant(name, Value::omitted(), inside.names);
    }
    inlining_.push_back(&lambda);
    const Context before = std::exchange(context_, inside);
    node(lambdaTree, lambdaTree.child(lambda, lambda.childCount - 1), {mode.want, true, mode.addressOnly});
    context_ = before;
    inlining_.pop_back();
}

bool Compiler::mayInline(const Node& lambda, std::size_t weight) const
{
    constexpr std::size_t kDeepest = 64;
    return weight <= kMostInlined && inlining_.size() < kDeepest &&
           std::find(inlining_.begin(), inlining_.end(), &lambda) == inlining_.end();
}

/// How many nodes a part of a formula comes to with everything that its calls write out; kHeavy for one that
/// calls itself. `bound`: the names around the compiler's place are meant.
std::size_t Compiler::weigh(const Tree& tree, const Node& top, bool bound)
{
    std::vector<const Node*> rest{&top};
    std::size_t total = 0;
    while (!rest.empty() && total <= kMostInlined) {
        const Node& n = *rest.back();
        rest.pop_back();
        ++total;
        for (Index i = 0; i < n.childCount; ++i) rest.push_back(&tree.child(n, i));
        if (n.kind != NodeKind::Name && n.kind != NodeKind::Call) continue;
        const std::string& text = tree.texts[static_cast<std::size_t>(n.text)];
        if (const Binding* binding = bound && n.sheet < 0 ? find(text) : nullptr) {
            total += binding->weight;
            continue;
        }
        if (n.kind == NodeKind::Call && findFunction(text) != nullptr) continue;
        SheetIndex sheet = 0;
        if (const Tree* meaning = meaningOf(tree, n, sheet)) total += weighName(*meaning, sheet);
    }
    return total;
}

std::size_t Compiler::weighName(const Tree& meaning, SheetIndex sheet)
{
    // Heavy until known otherwise: a name that leads back here calls itself.
    const auto [at, isNew] = nameWeights_.try_emplace(&meaning, kHeavy);
    if (!isNew) return at->second;
    const Context before = std::exchange(context_, Context{nullptr, context_.nameDepth, sheet});
    const std::size_t weight = weigh(meaning, meaning.root(), false);
    context_ = before;
    nameWeights_[&meaning] = weight;
    return weight;
}

} // namespace varnex3::sheet
