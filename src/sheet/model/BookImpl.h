// sheet/model/BookImpl.h - what a book is made of. Private to model/.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "sheet/compile/Compiler.h"
#include "sheet/exec/Evaluator.h"
#include "sheet/exec/Store.h"
#include "sheet/formula/Tree.h"
#include "sheet/model/Book.h"
#include "sheet/model/FormulaTable.h"
#include "sheet/model/Recalculation.h"

namespace varnex3::sheet {

struct DefinedName {
    std::string name;
    std::optional<SheetIndex> scope;
    std::string formula;
    std::unique_ptr<Tree> tree; // seen from A1; null when the text is no formula
    bool changed = false;       // since loading
};

/// A sheet of another book as far as the file keeps it.
struct ExternalSheet {
    std::size_t link;
    std::string name;
    std::int32_t rows = 0, cols = 0; // up to the last cell that is known
    std::unordered_map<std::uint64_t, Value> cells;
};

struct ExternalName {
    std::size_t link;
    std::string name, formula;
};

struct Book::Impl final : Environment, BookBuilder, Scope {
    Impl() : evaluator(store, *this), recalculation(store, formulas, evaluator) {}

    // Environment
    Value cell(const CellAddress& address) override;
    void visit(const Area& area,
               FunctionRef<bool(std::int32_t row, std::int32_t col, const Value* first, std::int32_t n)>
                   visitor) override;
    Area used(SheetIndex sheet) override { return store.used(sheet); }
    DateSystem dateSystem() const override { return calculation.dates; }
    double now() override { return time; }
    double random() override;
    Value referenceFromText(std::string_view text, bool a1, const CellAddress& here) override;
    Value apply(const Value& function, std::span<Value> arguments) override
    {
        return evaluator.apply(function, arguments);
    }
    std::string sheetName(SheetIndex sheet) const override;
    std::optional<SheetIndex> findSheet(std::string_view name) const override;
    SheetIndex sheetCount() const override { return store.sheetCount(); }
    bool hasFormula(const CellAddress& address) const override;
    std::string formulaText(const CellAddress& address) const override;
    std::string bookPath() const override { return path; }
    std::optional<Area> spilledFrom(const CellAddress& cell) const override;
    Row row(SheetIndex sheet, std::int32_t row) const override;

    // BookBuilder
    SheetIndex addSheet(std::string name) override;
    void settings(const CalculationSettings& settings) override
    {
        calculation = settings;
        recalculation.iterate(settings.iterate ? settings.maxIterations : 0, settings.maxChange);
    }
    void defineName(std::string name, std::optional<SheetIndex> scope, std::string formula) override;
    void table(Table table) override;
    void merged(const Area& area) override { mergedAreas.push_back(area); }
    void hiddenRow(SheetIndex sheet, std::int32_t row) override;
    void filtered(const Area& area) override { filters.push_back(area); }
    void constant(const CellAddress& cell, Value value) override;
    void formula(const CellAddress& cell, std::string_view text, Value stored) override;
    void sharedMaster(const CellAddress& cell, std::uint32_t group, std::string_view text,
                      Value stored) override;
    void sharedFollower(const CellAddress& cell, std::uint32_t group, Value stored) override;
    void arrayFormula(const Area& area, std::string_view text, Value stored, bool spills) override;
    void arrayResult(const CellAddress& cell, Value stored) override;
    void dataTable(const Area& area, const DataTable& table, Value stored) override;
    void dateCell(const CellAddress& cell) override { store.setDate(makeCell(cell)); }
    void externalLink(std::string target) override { links.push_back(std::move(target)); }
    void externalSheet(std::size_t link, std::string name) override;
    void externalCell(std::int32_t row, std::int32_t col, Value value) override;
    void externalName(std::size_t link, std::string name, std::string formula) override;
    void notice(std::string where, std::string what) override
    {
        notices.emplace_back(std::move(where), std::move(what));
    }

    // Scope
    std::optional<SheetIndex> sheetOf(std::string_view name) const override { return findSheet(name); }
    const Tree* definedName(std::string_view name, SheetIndex sheet) const override;
    const Table* table(std::string_view name) const override;
    const Table* tableAt(const CellAddress& cell) const override;
    std::optional<Value> externalValue(std::string_view reference, bool fixed) const override;
    Environment& environment() const override { return const_cast<Impl&>(*this); }

    // Edits
    void finishLoading();
    Slot makeCell(const CellAddress& cell);
    void checkAddress(const CellAddress& cell) const;
    void clearFormula(Slot slot);
    void setValue(Slot slot, Value value);
    void replace(Slot slot, double x); // whatever the cell holds
    void setFormula(const CellAddress& cell, std::string_view text);
    void setArrayFormula(const Area& block, std::string_view text);
    void putFormula(FormulaId f);
    void markEdited(FormulaId f);
    void markReaders(const std::string& sheetName, const std::vector<std::string>& tables);
    const Value& storedAt(Slot slot) const;
    void renameSheet(SheetIndex sheet, const std::string& name);
    void removeSheet(SheetIndex sheet);
    std::vector<std::string> tablesOf(SheetIndex sheet) const;
    Table* headingAt(const Area& area);
    void refuseFormulaInHeading(const Area& area);
    std::string headingText(const Table& table, std::size_t column, const Value& value) const;
    void renameColumn(Table& table, std::size_t column, const std::string& name);
    void forgetSheet(SheetIndex sheet);
    void closeAreas();
    void checkSheetName(std::string_view name, std::optional<SheetIndex> except) const;
    void namesChanged();
    void settleNames();
    void storeLoaded(FormulaId f, Slot slot, Value stored);
    std::optional<Area> areaOf(const Tree& tree, SheetIndex sheet, int depth) const;
    std::optional<Value> externalArea(std::size_t link, std::string_view sheet, const Node& reference,
                                      bool fixed) const;
    void stampTime();

    // Inspection
    Inspection inspect();
    std::string iterationText() const;
    void inspectFormula(FormulaId f, Inspection& found);
    std::string circleText(FormulaId f, const std::vector<FormulaId>& circle) const;
    std::string cellText(const CellAddress& cell) const;

    Store store;
    FormulaTable formulas;
    Evaluator evaluator;
    Recalculation recalculation;
    std::vector<std::string> sheetNames;
    std::vector<std::optional<std::string>> loadedNames; // by sheet: its name in the file
    SheetIndex loadedSheets = 0;
    std::vector<DefinedName> definedNames;
    std::unordered_multimap<std::string, std::size_t> nameIndex; // lower case -> definedNames
    std::vector<Table> tables;
    std::vector<std::string> renamedTables; // with columns that are called otherwise than in the file
    std::vector<Area> mergedAreas;          // shown as one cell each
    std::vector<Area> filters;              // whose hidden rows are filtered out
    std::vector<std::vector<std::int32_t>> hiddenRows;      // by sheet, ascending
    std::unordered_map<std::uint64_t, CodeId> sharedGroups; // sheet and group, while loading
    std::unordered_map<std::uint64_t, std::pair<CellAddress, std::string>>
        externalGroups;                            // those that refer to other books: first cell and formula
    std::unordered_map<Slot, Value> storedResults; // of array blocks' further cells
    std::vector<Value> stored;                     // by formula
    std::vector<std::string> links;                // other books that the file refers to
    std::vector<ExternalSheet> externalSheets;     // what the file keeps of them
    std::vector<ExternalName> externalNames;
    mutable std::unordered_map<std::string, Value>
        externalAreas; // arrays made so far, by link, sheet and area
    std::vector<std::pair<std::string, std::string>> notices;
    CalculationSettings calculation;
    std::function<double()> uniform;
    std::string path;
    double time = 0.0;
    std::uint32_t generation = 1;
    bool loading = false;
    bool namesStale = false; // formulas are still compiled and linked for names as they were
};

} // namespace varnex3::sheet
