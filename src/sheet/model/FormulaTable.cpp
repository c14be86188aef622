// sheet/model/FormulaTable.cpp - sharing, texts, and sheets that change their names.
#include "sheet/model/FormulaTable.h"

#include <algorithm>

#include "sheet/format/Convert.h"
#include "sheet/formula/Parser.h"

namespace varnex3::sheet {
namespace {

/// So many trees are kept for comparison and for texts; a book with more different formulas than that has
/// them parsed again when asked, which keeps its memory in bounds.
constexpr std::size_t kTreesKept = 20000;
constexpr std::size_t kNodesKept = 2'000'000; // of all these trees

bool has(const Tree& tree, NodeKind kind)
{
    return std::any_of(tree.nodes.begin(), tree.nodes.end(), [&](const Node& n) { return n.kind == kind; });
}

bool namesTable(const Tree& tree, const Node& n, const std::vector<std::string>& tables)
{
    const bool mayBeTable = n.kind == NodeKind::Structured || (n.kind == NodeKind::Name && n.sheet < 0);
    return mayBeTable && n.text >= 0 &&
           std::any_of(tables.begin(), tables.end(), [&](const std::string& table) {
               return equalTexts(table, tree.texts[static_cast<std::size_t>(n.text)]);
           });
}

std::size_t hashWith(const Tree& tree, const SharedCode& shared)
{
    return hashOf(tree) ^ (shared.array ? 0x5bd1e995U : 0U) ^ (static_cast<std::size_t>(shared.sheet) << 20);
}

/// Whether a tree holds names, also called ones.
bool hasNames(const Tree& tree)
{
    return std::any_of(tree.nodes.begin(), tree.nodes.end(), [&](const Node& n) {
        return n.kind == NodeKind::Name ||
               (n.kind == NodeKind::Call && !findFunction(tree.texts[static_cast<std::size_t>(n.text)]));
    });
}

} // namespace

bool renameSheetIn(Tree& tree, std::string_view from, std::string_view to)
{
    bool changed = false;
    for (Node& n : tree.nodes) {
        for (std::int32_t* text : {&n.sheet, &n.lastSheet}) {
            if (*text < 0 || !equalTexts(tree.texts[static_cast<std::size_t>(*text)], from)) continue;
            tree.texts.emplace_back(to);
            *text = static_cast<std::int32_t>(tree.texts.size() - 1);
            changed = true;
        }
    }
    return changed;
}

bool removeSheetFrom(Tree& tree, std::string_view name, const std::vector<std::string>& tables)
{
    bool changed = false;
    const auto lose = [&](Node& n) {
        n = Node{};
        n.kind = NodeKind::Failure;
        n.failure = Failure::Ref;
        changed = true;
    };
    for (Node& n : tree.nodes) {
        if (namesTable(tree, n, tables)) {
            lose(n);
            continue;
        }
        if (n.kind != NodeKind::Reference && n.kind != NodeKind::Name) continue;
        for (const std::int32_t text : {n.sheet, n.lastSheet}) {
            if (text < 0 || !equalTexts(tree.texts[static_cast<std::size_t>(text)], name)) continue;
            lose(n);
            break;
        }
    }
    return changed;
}

CodeId FormulaTable::intern(std::string_view text, const CellAddress& cell, bool array, const Scope& scope)
{
    ParseResult parsed = parseFormula(text, cell);
    auto shared = std::make_unique<SharedCode>();
    shared->anchor = cell;
    shared->array = array;
    if (const auto* error = std::get_if<ParseError>(&parsed)) {
        shared->parsable = false;
        shared->source = text;
        shared->code = compileUnparsable(error->message);
        shared->compiled = true;
        codes_.push_back(std::move(shared));
        return static_cast<CodeId>(codes_.size() - 1);
    }
    Tree& tree = std::get<Tree>(parsed);
    if (hasNames(tree)) shared->sheet = cell.sheet;
    const bool structured = has(tree, NodeKind::Structured);
    if (structured) bindToTables(tree, cell, scope);
    shared->hash = hashWith(tree, *shared);
    const auto [first, last] = byHash_.equal_range(shared->hash);
    for (auto at = first; at != last; ++at) {
        const SharedCode& other = *codes_[at->second];
        if (other.array == array && other.sheet == shared->sheet &&
            (other.tree ? *other.tree == tree : treeOf(other) == tree))
            return at->second;
    }
    const bool small = codes_.size() < kTreesKept && nodesKept_ + tree.nodes.size() <= kNodesKept;
    if (structured || small) { // a text does not hold what it was bound to
        nodesKept_ += tree.nodes.size();
        shared->tree = std::make_unique<Tree>(std::move(tree));
    } else {
        shared->source = text;
    }
    codes_.push_back(std::move(shared));
    const auto id = static_cast<CodeId>(codes_.size() - 1);
    byHash_.emplace(codes_.back()->hash, id);
    return id;
}

Tree FormulaTable::treeOf(const SharedCode& shared) const
{
    if (shared.tree) return *shared.tree;
    return std::get<Tree>(parseFormula(shared.source, shared.anchor));
}

void FormulaTable::compile(CodeId id, const Scope& scope)
{
    SharedCode& shared = *codes_[id];
    if (shared.parsable) {
        const SheetIndex sheet = shared.sheet >= 0 ? shared.sheet : 0;
        shared.code = shared.tree ? compileFormula(*shared.tree, sheet, shared.array, scope)
                                  : compileFormula(treeOf(shared), sheet, shared.array, scope);
    }
    shared.typed.reset();
    shared.compiled = true;
}

void FormulaTable::compileAll(const Scope& scope)
{
    for (CodeId id = 0; id < codes_.size(); ++id) compile(id, scope);
}

const TypedTemplate& FormulaTable::typed(FormulaId f)
{
    SharedCode& shared = *codes_[cells_[f].code];
    if (!shared.typed)
        shared.typed =
            std::make_unique<TypedTemplate>(shared.array ? TypedTemplate{} : makeTypedTemplate(shared.code));
    return *shared.typed;
}

bool FormulaTable::anyUnresolved() const
{
    return std::any_of(codes_.begin(), codes_.end(),
                       [](const auto& shared) { return shared->code.unresolved; });
}

FormulaId FormulaTable::add(Slot slot, CodeId code)
{
    if (!free_.empty()) {
        const FormulaId f = free_.back();
        free_.pop_back();
        cells_[f] = {slot, code};
        return f;
    }
    cells_.push_back({slot, code});
    return static_cast<FormulaId>(cells_.size() - 1);
}

FormulaId FormulaTable::addBlock(Slot slot, CodeId code, const Area& area)
{
    const FormulaId f = add(slot, code);
    setBlock(f, area);
    return f;
}

/// Its code reads the values and formulas around the block, so that they come before it.
FormulaId FormulaTable::addDataTable(Slot slot, const Area& area, const DataTable& table)
{
    auto shared = std::make_unique<SharedCode>();
    const std::string first = a1Text(table.first), second = table.two ? a1Text(table.second) : std::string();
    shared->source = "TABLE(" + (table.two || table.row ? first + "," + second : "," + first) + ")";
    shared->array = true;
    shared->parsable = false;
    shared->compiled = true;
    const Area above{-1, area.row0 - 1, area.col0 - 1, area.row0 - 1, area.col1};
    const Area beside{-1, area.row0, area.col0 - 1, area.row1, area.col0 - 1};
    for (const Area& around : {above, beside}) {
        shared->code.instructions.push_back(
            {Op::Area, 0, 0, static_cast<std::uint32_t>(shared->code.places.size())});
        shared->code.instructions.push_back({Op::Dereference});
        shared->code.places.push_back(fixedPlace(around));
    }
    shared->code.instructions.push_back({Op::End});
    shared->code.depth = 4;
    codes_.push_back(std::move(shared));
    const FormulaId f = addBlock(slot, static_cast<CodeId>(codes_.size() - 1), area);
    cells_[f].isTable = true;
    dataTables_[f] = table;
    return f;
}

void FormulaTable::setBlock(FormulaId f, const Area& area)
{
    std::int32_t& block = cells_[f].block;
    if (block < 0 && !freeBlocks_.empty()) {
        block = freeBlocks_.back();
        freeBlocks_.pop_back();
    }
    if (block < 0) {
        block = static_cast<std::int32_t>(blocks_.size());
        blocks_.emplace_back();
    }
    blocks_[static_cast<std::size_t>(block)] = area;
}

void FormulaTable::remove(FormulaId f)
{
    if (cells_[f].isTable) dataTables_.erase(f);
    if (cells_[f].block >= 0) freeBlocks_.push_back(cells_[f].block);
    cells_[f] = {};
    free_.push_back(f);
}

std::string FormulaTable::text(FormulaId f, const CellAddress& here) const
{
    const SharedCode& shared = *codes_[cells_[f].code];
    if (!shared.parsable) return shared.source.starts_with('=') ? shared.source : "=" + shared.source;
    return formulaText(shared.tree ? *shared.tree : treeOf(shared), here);
}

template <class Change>
void FormulaTable::changeTrees(Change change)
{
    byHash_.clear();
    for (CodeId id = 0; id < codes_.size(); ++id) {
        SharedCode& shared = *codes_[id];
        if (!shared.parsable) continue;
        Tree tree = treeOf(shared);
        if (change(tree, shared)) {
            shared.hash = hashWith(tree, shared);
            shared.tree = std::make_unique<Tree>(std::move(tree));
        }
        byHash_.emplace(shared.hash, id);
    }
}

std::vector<bool> FormulaTable::codesNaming(std::string_view sheet,
                                            const std::vector<std::string>& tables) const
{
    const auto names = [&](const Tree& tree, std::int32_t text) {
        return text >= 0 && equalTexts(tree.texts[static_cast<std::size_t>(text)], sheet);
    };
    std::vector<bool> found(codes_.size());
    for (CodeId id = 0; id < codes_.size(); ++id) {
        if (!codes_[id]->parsable) continue;
        const Tree tree = treeOf(*codes_[id]);
        found[id] = std::any_of(tree.nodes.begin(), tree.nodes.end(), [&](const Node& n) {
            return names(tree, n.sheet) || names(tree, n.lastSheet) || namesTable(tree, n, tables);
        });
    }
    return found;
}

void FormulaTable::renameSheet(std::string_view from, std::string_view to)
{
    changeTrees([&](Tree& tree, SharedCode&) { return renameSheetIn(tree, from, to); });
}

std::vector<bool> FormulaTable::renameColumns(const RenamedColumns& renamed)
{
    std::vector<bool> changed(codes_.size());
    for (CodeId id = 0; id < codes_.size(); ++id) {
        SharedCode& shared = *codes_[id];
        if (!shared.tree || !renameColumnsIn(*shared.tree, renamed)) continue; // kept where there are any
        changed[id] = true;
        const auto [first, last] = byHash_.equal_range(shared.hash);
        byHash_.erase(std::find_if(first, last, [&](const auto& entry) { return entry.second == id; }));
        shared.hash = hashWith(*shared.tree, shared);
        byHash_.emplace(shared.hash, id);
    }
    return changed;
}

void FormulaTable::removeSheet(std::string_view name, SheetIndex sheet,
                               const std::vector<std::string>& tables)
{
    changeTrees([&](Tree& tree, SharedCode& shared) {
        bool changed = removeSheetFrom(tree, name, tables);
        if (shared.sheet >= sheet) {
            shared.sheet = shared.sheet == sheet ? kMaxRows : shared.sheet - 1; // of no sheet any more
            changed = true;
        }
        if (shared.anchor.sheet >= sheet && shared.anchor.sheet > 0) --shared.anchor.sheet;
        return changed;
    });
    for (Area& area : blocks_)
        if (area.sheet > sheet) --area.sheet;
}

} // namespace varnex3::sheet
