// sheet/model/FormulaTable.h - the formulas of a book and the codes that they share.
//
// A formula cell holds its slot and the number of its code; formulas with equal trees have one code. An
// array formula is one formula for all cells of its block.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sheet/compile/Compiler.h"
#include "sheet/compile/Structured.h"
#include "sheet/compile/Typing.h"
#include "sheet/exec/Code.h"
#include "sheet/exec/Store.h"
#include "sheet/formula/Tree.h"
#include "sheet/model/BookBuilder.h"

namespace varnex3::sheet {

using CodeId = std::uint32_t;
inline constexpr CodeId kNoCode = 0xFFFFFFFFU;

struct SharedCode {
    Code code;
    std::unique_ptr<Tree> tree; // null: to be parsed again from `source`
    std::string source;         // kept where `tree` is not, and for texts that are no formula
    CellAddress anchor;         // where `source` stood
    SheetIndex sheet = -1;      // of the formulas, where names may mean different things by sheet
    std::size_t hash = 0;
    bool array = false;
    bool parsable = true;
    bool compiled = false;
    std::unique_ptr<TypedTemplate> typed; // made when first asked for
};

struct FormulaCell {
    Slot slot = kNoSlot; // of the first cell of a block
    CodeId code = kNoCode;
    std::int32_t block = -1; // index of the area of an array formula
    bool spills = false;     // fills as many cells as its result has elements
    bool isTable = false;    // a data table
    bool gaveArray = false;  // so its last result was an array
};

class FormulaTable {
public:
    /// The code of a formula text; equal formulas get the same one. Not compiled yet.
    CodeId intern(std::string_view text, const CellAddress& cell, bool array, const Scope& scope);
    void compile(CodeId id, const Scope& scope);
    void compileAll(const Scope& scope);
    const Code& code(FormulaId f) const { return codes_[cells_[f].code]->code; }
    const TypedTemplate& typed(FormulaId f);
    std::size_t codeCount() const { return codes_.size(); }
    const SharedCode& shared(CodeId id) const { return *codes_[id]; }
    bool isCompiled(CodeId id) const { return codes_[id]->compiled; }
    bool anyUnresolved() const;

    FormulaId add(Slot slot, CodeId code);
    FormulaId addBlock(Slot slot, CodeId code, const Area& area);
    FormulaId addDataTable(Slot slot, const Area& area, const DataTable& table);
    bool isDataTable(FormulaId f) const { return cells_[f].isTable; }
    const DataTable& dataTable(FormulaId f) const { return dataTables_.at(f); }
    void remove(FormulaId f);
    void setSpills(FormulaId f) { cells_[f].spills = true; }
    bool spills(FormulaId f) const { return cells_[f].spills; }
    void setGaveArray(FormulaId f, bool array) { cells_[f].gaveArray = array; }
    /// The cells of a formula from now on.
    void setBlock(FormulaId f, const Area& area);
    std::size_t size() const { return cells_.size(); }
    bool isAlive(FormulaId f) const { return cells_[f].slot != kNoSlot; }
    const FormulaCell& cell(FormulaId f) const { return cells_[f]; }
    bool isBlock(FormulaId f) const { return cells_[f].block >= 0; }
    const Area& block(FormulaId f) const { return blocks_[static_cast<std::size_t>(cells_[f].block)]; }
    /// The formula as text with "=", seen from `here`.
    std::string text(FormulaId f, const CellAddress& here) const;
    /// The tree of a formula whose text could be parsed.
    Tree tree(FormulaId f) const { return treeOf(*codes_[cells_[f].code]); }

    /// Whether the formulas of a code name a sheet or one of some tables, by code.
    std::vector<bool> codesNaming(std::string_view sheet, const std::vector<std::string>& tables) const;
    /// References to a sheet follow its new name.
    void renameSheet(std::string_view from, std::string_view to);
    /// References to columns of a table follow their new names; whether a code has any, by code.
    std::vector<bool> renameColumns(const RenamedColumns& renamed);
    /// References to a sheet that goes away, and to its tables, become #REF!; formulas of it are to be
    /// removed before.
    void removeSheet(std::string_view name, SheetIndex sheet, const std::vector<std::string>& tables);

private:
    Tree treeOf(const SharedCode& shared) const;
    template <class Change>
    void changeTrees(Change change);

    std::vector<std::unique_ptr<SharedCode>> codes_;
    std::unordered_multimap<std::size_t, CodeId> byHash_;
    std::size_t nodesKept_ = 0;
    std::vector<FormulaCell> cells_;
    std::vector<FormulaId> free_;
    std::vector<Area> blocks_;
    std::vector<std::int32_t> freeBlocks_;
    std::unordered_map<FormulaId, DataTable> dataTables_;
};

/// Changes the name of a sheet in a tree; whether it occurred.
bool renameSheetIn(Tree& tree, std::string_view from, std::string_view to);
/// Turns references to a sheet or to one of its tables into #REF!; whether there were any.
bool removeSheetFrom(Tree& tree, std::string_view name, const std::vector<std::string>& tables);

} // namespace varnex3::sheet
