// sheet/xlsx/Prefixes.cpp - bound names in a tree, from the outermost formula inwards.
#include "sheet/xlsx/Prefixes.h"

#include <algorithm>
#include <deque>
#include <variant>
#include <vector>

#include "sheet/format/Convert.h"
#include "sheet/formula/Lexical.h"
#include "sheet/functions/Function.h"

namespace varnex3::sheet::xlsx {
namespace {

class Prefixer {
public:
    explicit Prefixer(Tree& tree) : tree_(tree) {}

    bool run()
    {
        pending_.push_back({static_cast<std::uint32_t>(tree_.nodes.size() - 1), nullptr});
        while (!pending_.empty()) {
            const auto [index, names] = pending_.back();
            pending_.pop_back();
            visit(tree_.nodes[index], names);
        }
        return changed_;
    }

private:
    struct Bound {
        std::string name;
        bool isLambda; // comes before a function of that name
        const Bound* outer;
    };
    struct Pending {
        std::uint32_t node;
        const Bound* names;
    };

    std::uint32_t childIndex(const Node& n, std::uint32_t i) const
    {
        return tree_.children[n.firstChild + i];
    }
    const std::string& text(const Node& n) const { return tree_.texts[static_cast<std::size_t>(n.text)]; }

    bool isCallOf(const Node& n, std::string_view name) const
    {
        return n.kind == NodeKind::Call && text(n) == name;
    }

    static const Bound* find(const Bound* names, std::string_view name)
    {
        while (names != nullptr && !equalTexts(names->name, name)) names = names->outer;
        return names;
    }

    void setText(Node& n, std::string text)
    {
        n.text = static_cast<std::int32_t>(tree_.texts.size());
        tree_.texts.push_back(std::move(text));
        changed_ = true;
    }

    /// Marks the name that a node declares; the names seen behind it.
    const Bound* declare(Node& n, bool isLambda, const Bound* names)
    {
        if (n.kind != NodeKind::Name || n.sheet >= 0) return names;
        bound_.push_back({text(n), isLambda, names});
        setText(n, (n.index == 1 ? "_xlop." : "_xlpm.") + bound_.back().name);
        n.index = -1;
        return &bound_.back();
    }

    void visit(Node& n, const Bound* names)
    {
        const std::uint32_t last = n.childCount == 0 ? 0 : n.childCount - 1;
        if (n.kind == NodeKind::Name && n.sheet < 0) {
            if (find(names, text(n)) != nullptr) setText(n, "_xlpm." + text(n));
        } else if (isCallOf(n, "LET")) {
            for (std::uint32_t i = 0; i < last; i += 2) {
                const std::uint32_t value = childIndex(n, i + 1);
                pending_.push_back({value, names});
                names = declare(tree_.nodes[childIndex(n, i)], isCallOf(tree_.nodes[value], "LAMBDA"), names);
            }
            if (n.childCount % 2 == 1) pending_.push_back({childIndex(n, last), names});
            return;
        } else if (isCallOf(n, "LAMBDA")) {
            for (std::uint32_t i = 0; i < last; ++i)
                names = declare(tree_.nodes[childIndex(n, i)], false, names);
            if (n.childCount > 0) pending_.push_back({childIndex(n, last), names});
            return;
        } else if (n.kind == NodeKind::Call) {
            const Bound* called = find(names, text(n));
            if (called != nullptr && (called->isLambda || findFunction(text(n)) == nullptr))
                setText(n, "_xlpm." + called->name);
            else if (takesFunction(text(n)) && n.childCount > 0)
                handOn(tree_.nodes[childIndex(n, last)], names);
        }
        for (std::uint32_t i = 0; i < n.childCount; ++i) pending_.push_back({childIndex(n, i), names});
    }

    static bool takesFunction(std::string_view name)
    {
        constexpr std::string_view kTaking[] = {"BYCOL", "BYROW", "MAKEARRAY", "MAP", "REDUCE", "SCAN"};
        return std::find(std::begin(kTaking), std::end(kTaking), name) != std::end(kTaking);
    }

    /// A function handed on by its name.
    void handOn(Node& n, const Bound* names)
    {
        if (n.kind != NodeKind::Name || n.sheet >= 0 || find(names, text(n)) != nullptr) return;
        std::string name = lexical::upperText(text(n));
        if (findFunction(name) != nullptr) setText(n, "_xleta." + name);
    }

    Tree& tree_;
    std::deque<Bound> bound_;
    std::vector<Pending> pending_;
    bool changed_ = false;
};

} // namespace

bool prefixNames(Tree& tree) { return Prefixer(tree).run(); }

} // namespace varnex3::sheet::xlsx
