// sheet/exec/BlockFormulas.cpp - the general evaluator over copies of cells.
#include "sheet/exec/BlockFormulas.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "sheet/exec/BlockKernel.h"
#include "sheet/exec/Evaluator.h"

namespace varnex3::sheet {
namespace {

constexpr std::int64_t kMostCells = 20000; // of one area
constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

} // namespace

std::optional<BlockFormula> blockFormula(const Code& code, Slot cell, bool spills, Store& store)
{
    if (code.keepsStored || code.isVolatile || code.isDynamic) return std::nullopt;
    for (const Instruction& in : code.instructions)
        if (in.op == Op::Spilled) return std::nullopt; // which cells is known only then
    BlockFormula formula{&code, store.address(cell), store.value(cell).kind(), spills, {}, {}};
    for (const Place& place : code.places) {
        auto area = place.precedent ? resolve(place, formula.here) : std::nullopt;
        if (!area) continue;
        if (place.single) {
            const auto one = implicitCell(*area, formula.here);
            if (!one) continue;
            *area = {one->sheet, one->row, one->col, one->row, one->col};
        }
        for (SheetIndex sheet = area->sheet; sheet <= std::max(area->sheet, place.lastSheet); ++sheet) {
            Area part = *area;
            part.sheet = sheet;
            formula.areas.push_back(part);
            const Area used = store.used(sheet);
            if (part.row1 == kMaxRows - 1) part.row1 = used.row1;
            if (part.col1 == kMaxColumns - 1) part.col1 = used.col1;
            if (static_cast<std::int64_t>(part.rows()) * part.cols() > kMostCells) return std::nullopt;
            for (std::int32_t c = part.col0; c <= part.col1; ++c) {
                for (std::int32_t r = part.row0; r <= part.row1; ++r) {
                    const Slot slot = store.make({sheet, r, c});
                    formula.cells.emplace_back(slot, store.value(slot).kind());
                }
            }
        }
    }
    std::sort(formula.cells.begin(), formula.cells.end());
    formula.cells.erase(std::unique(formula.cells.begin(), formula.cells.end()), formula.cells.end());
    return formula;
}

/// The cells that the formulas read, and what else they may ask of the book.
class FormulaLanes::Cells final : public Environment {
public:
    Cells(const BlockFormulas& formulas, const Store& store) : book_(*formulas.book)
    {
        for (SheetIndex s = 0; s < store.sheetCount(); ++s) {
            cells_.addSheet();
            used_.push_back(store.used(s));
        }
        for (const BlockFormula& formula : formulas.all) {
            for (const auto& [slot, kind] : formula.cells) {
                Value& copy = cells_.value(cells_.make(store.address(slot)));
                copy = store.value(slot);
            }
        }
        for (const BlockFormula& formula : formulas.all)
            for (const auto& [slot, kind] : formula.cells)
                own_.emplace_back(slot, cells_.find(store.address(slot)));
        std::sort(own_.begin(), own_.end());
        own_.erase(std::unique(own_.begin(), own_.end()), own_.end());
    }
    /// The copy of a cell of the book.
    Slot own(Slot slot) const
    {
        return std::lower_bound(own_.begin(), own_.end(), std::pair(slot, Slot{0}))->second;
    }
    void put(Slot own, Value v) { cells_.value(own) = std::move(v); }

    /// Nothing when the formula asked for what it may not know.
    std::optional<Value> evaluate(const BlockFormula& formula)
    {
        areas_ = &formula.areas;
        strays_ = false;
        auto result = evaluator_.evaluate(*formula.code, formula.here);
        if (strays_) return std::nullopt;
        return result;
    }

    Value cell(const CellAddress& at) override
    {
        if (!mayRead({at.sheet, at.row, at.col, at.row, at.col})) return {};
        const Slot slot = cells_.find(at);
        return slot == kNoSlot ? Value() : cells_.value(slot);
    }
    void visit(const Area& area,
               FunctionRef<bool(std::int32_t row, std::int32_t col, const Value* first, std::int32_t n)>
                   visitor) override
    {
        if (!mayRead(area)) return;
        cells_.visitSlots(area, [&](std::int32_t row, std::int32_t col, Slot first, std::int32_t n) {
            return visitor(row, col, &cells_.value(first), n);
        });
    }
    Area used(SheetIndex sheet) override { return used_[static_cast<std::size_t>(sheet)]; }
    DateSystem dateSystem() const override { return book_.dateSystem(); }
    double now() override { return stray(0.0); }
    double random() override { return stray(0.0); }
    Value referenceFromText(std::string_view, bool, const CellAddress&) override
    {
        return stray(Value(Failure::Ref));
    }
    Value apply(const Value& function, std::span<Value> arguments) override
    {
        return evaluator_.apply(function, arguments);
    }
    std::string sheetName(SheetIndex sheet) const override { return book_.sheetName(sheet); }
    std::optional<SheetIndex> findSheet(std::string_view name) const override
    {
        return book_.findSheet(name);
    }
    SheetIndex sheetCount() const override { return book_.sheetCount(); }
    bool hasFormula(const CellAddress& at) const override { return book_.hasFormula(at); }
    std::string formulaText(const CellAddress& at) const override { return book_.formulaText(at); }
    std::string bookPath() const override { return book_.bookPath(); }
    Row row(SheetIndex sheet, std::int32_t row) const override { return book_.row(sheet, row); }

private:
    bool mayRead(const Area& area)
    {
        const bool known = std::any_of(areas_->begin(), areas_->end(), [&](const Area& a) {
            return a.contains({area.sheet, area.row0, area.col0}) &&
                   a.contains({area.sheet, area.row1, area.col1});
        });
        if (!known) strays_ = true;
        return known;
    }
    template <class T>
    T stray(T instead)
    {
        strays_ = true;
        return instead;
    }

    const Environment& book_;
    Store cells_;
    std::vector<Area> used_;                 // by sheet
    std::vector<std::pair<Slot, Slot>> own_; // cell of the book -> its copy
    Evaluator evaluator_{cells_, *this};
    const std::vector<Area>* areas_ = nullptr;
    bool strays_ = false;
};

FormulaLanes::FormulaLanes(std::shared_ptr<const BlockFormulas> formulas, const Store& store)
    : formulas_(std::move(formulas)), cells_(std::make_unique<Cells>(*formulas_, store)),
      values_(formulas_->all.size() * kLanes), count_(kLanes)
{}

FormulaLanes::~FormulaLanes() = default;

void FormulaLanes::run(std::size_t k, const std::vector<BlockSource>& sources, BlockRegisters& registers,
                       double* result)
{
    const BlockFormula& formula = formulas_->all[k];
    targets_.clear();
    for (const BlockSource& source : sources) targets_.emplace_back(cells_->own(source.cell), &source);
    for (std::size_t l = 0; l < count_; ++l) {
        Value& v = values_[k * kLanes + l];
        v = Value::omitted();
        result[l] = kNoNumber;
        bool known = true;
        for (const auto& [own, source] : targets_) {
            if (source->formula >= 0) {
                const Value& earlier = values_[static_cast<std::size_t>(source->formula) * kLanes + l];
                known = known && !earlier.isOmitted();
                cells_->put(own, earlier);
            } else {
                const double x = registers.lanes(source->number)[l];
                known = known && std::isfinite(x);
                cells_->put(own, source->kind == Kind::Boolean ? Value(x != 0.0) : Value(x));
            }
        }
        if (!known) continue;
        auto given = cells_->evaluate(formula);
        if (!given || (given->isArray() && formula.spills)) continue;
        if (given->isArray()) given = Value(given->at(0, 0));
        v = given->isEmpty() ? Value(0.0) : std::move(*given);
        if (v.kind() == formula.kind && (v.isNumber() || v.isBoolean())) result[l] = v.number();
    }
    std::fill(result + count_, result + kLanes, result[count_ - 1]);
}

} // namespace varnex3::sheet
