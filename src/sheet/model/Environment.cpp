// sheet/model/Environment.cpp - the book as evaluations see it.
#include <chrono>
#include <ctime>
#include <random>

#include "sheet/format/Convert.h"
#include "sheet/formula/Parser.h"
#include "sheet/formula/R1C1.h"
#include "sheet/model/BookImpl.h"

namespace varnex3::sheet {
namespace {

/// A sheet's name without the quotes around it.
std::string unquoted(std::string_view name)
{
    if (name.size() < 2 || name.front() != '\'' || name.back() != '\'') return std::string(name);
    std::string plain;
    for (std::size_t i = 1; i + 1 < name.size(); ++i) {
        plain += name[i];
        if (name[i] == '\'' && name[i + 1] == '\'') ++i; // doubled
    }
    return plain;
}

} // namespace

Value Book::Impl::cell(const CellAddress& address)
{
    const Slot slot = store.find(address);
    if (slot == kNoSlot) return {};
    if (store.isDirty(slot)) {
        evaluator.block(slot);
        evaluator.closeBlocked();
        return {};
    }
    return store.value(slot);
}

void Book::Impl::visit(
    const Area& area,
    FunctionRef<bool(std::int32_t row, std::int32_t col, const Value* first, std::int32_t n)> visitor)
{
    bool stale = false;
    store.visitSlots(area, [&](std::int32_t row, std::int32_t col, Slot first, std::int32_t n) {
        for (Slot s = first; s < first + static_cast<Slot>(n); ++s) {
            if (!store.isDirty(s)) continue;
            evaluator.block(s);
            stale = true;
        }
        return stale || visitor(row, col, &store.value(first), n);
    });
    if (stale) evaluator.closeBlocked();
}

double Book::Impl::random()
{
    if (!uniform) {
        uniform = [engine = std::mt19937_64(std::random_device{}())]() mutable {
            return static_cast<double>(engine() >> 11) * 0x1p-53;
        };
    }
    return uniform();
}

void Book::Impl::stampTime()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&seconds, &local);
    const auto fraction =
        std::chrono::duration<double>(now - std::chrono::system_clock::from_time_t(seconds)).count();
    constexpr double kUnixEpoch = 25569.0; // serial number of 1 January 1970
    constexpr double kEpochs = 1462.0;     // days between the two date systems
    time = kUnixEpoch + (static_cast<double>(seconds + local.tm_gmtoff) + fraction) / 86400.0;
    if (calculation.dates == DateSystem::From1904) time -= kEpochs;
}

Value Book::Impl::referenceFromText(std::string_view text, bool a1, const CellAddress& here)
{
    if (!a1) {
        CellAddress seen = here;
        std::string_view cells = text;
        if (const std::size_t mark = text.rfind('!'); mark != std::string_view::npos) {
            const auto found = findSheet(unquoted(text.substr(0, mark)));
            if (!found) return Failure::Ref;
            seen.sheet = *found;
            cells.remove_prefix(mark + 1);
        }
        if (const auto area = parseR1C1(cells, seen)) return Value(*area);
        if (parseA1(cells)) return Failure::Ref; // the other notation; what is left may be a name
    }
    if (text.empty() || text.front() == '=') return Failure::Ref;
    const ParseResult parsed = parseFormula(text, here);
    const auto* tree = std::get_if<Tree>(&parsed);
    if (tree == nullptr) return Failure::Ref;
    const NodeKind kind = tree->root().kind;
    if (kind != NodeKind::Reference && kind != NodeKind::Name && kind != NodeKind::RangeOperator &&
        kind != NodeKind::Structured)
        return Failure::Ref;
    if (tree->root().parentheses > 0) return Failure::Ref;
    if (const auto area = areaOf(*tree, here.sheet, 0)) {
        // Relative coordinates were counted from `here`; areaOf sees them from A1.
        const Node& n = tree->root();
        if (kind == NodeKind::Reference) {
            Place place{n.first, n.last, n.extent, area->sheet, -1, false, true, false};
            const auto resolved = resolve(place, here);
            return resolved ? Value(*resolved) : Value(Failure::Ref);
        }
        return Value(*area);
    }
    return Failure::Ref;
}

std::string Book::Impl::sheetName(SheetIndex sheet) const
{
    return sheetNames[static_cast<std::size_t>(sheet)];
}

std::optional<SheetIndex> Book::Impl::findSheet(std::string_view name) const
{
    for (std::size_t i = 0; i < sheetNames.size(); ++i)
        if (equalTexts(sheetNames[i], name)) return static_cast<SheetIndex>(i);
    return std::nullopt;
}

bool Book::Impl::hasFormula(const CellAddress& address) const
{
    const Slot slot = store.find(address);
    return slot != kNoSlot && store.formula(slot) != kNoFormula;
}

std::optional<Area> Book::Impl::spilledFrom(const CellAddress& cell) const
{
    const Slot slot = store.find(cell);
    const FormulaId f = slot == kNoSlot ? kNoFormula : store.formula(slot);
    if (f == kNoFormula || !formulas.cell(f).gaveArray || formulas.cell(f).slot != slot) return std::nullopt;
    return formulas.block(f);
}

std::string Book::Impl::formulaText(const CellAddress& address) const
{
    if (!hasFormula(address)) return {};
    const FormulaId f = store.formula(store.find(address));
    return formulas.text(f, formulas.isBlock(f) ? store.address(formulas.cell(f).slot) : address);
}

} // namespace varnex3::sheet
