// sheet/model/Inspection.cpp - what cannot be trusted in a book, and what differs from the stored results.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "sheet/formula/Parser.h"
#include "sheet/model/BookImpl.h"

namespace varnex3::sheet {
namespace {

/// Numbers to nine digits, or to `slack` where that is more; everything else exactly.
bool agree(const Value& now, const Value& then, double slack)
{
    constexpr double kRelative = 1e-9;
    // Files store the newer error values as #VALUE!.
    const bool newer = now.isFailure() && (now.failure() == Failure::Spill || now.failure() == Failure::Calc);
    if (newer && then.isFailure() && then.failure() == Failure::Value) return true;
    if (!now.isNumber() || !then.isNumber()) return now == then;
    const double a = now.number(), b = then.number();
    return std::fabs(a - b) <= std::max(slack, kRelative * std::max(std::fabs(a), std::fabs(b)));
}

} // namespace

std::string Book::Impl::circleText(FormulaId f, const std::vector<FormulaId>& circle) const
{
    constexpr std::size_t kMost = 12;
    const auto start = std::find(circle.begin(), circle.end(), f) - circle.begin();
    const SheetIndex own = store.address(formulas.cell(f).slot).sheet;
    std::string text;
    for (std::size_t i = 0; i < std::min(circle.size(), kMost); ++i) {
        const FormulaId g = circle[(static_cast<std::size_t>(start) + i) % circle.size()];
        const CellAddress at = store.address(formulas.cell(g).slot);
        text += (at.sheet == own ? a1Text(at) : cellText(at)) + " -> ";
    }
    if (circle.size() > kMost) text += "(" + std::to_string(circle.size() - kMost) + " more) -> ";
    return text + a1Text(store.address(formulas.cell(f).slot));
}

void Book::Impl::inspectFormula(FormulaId f, Inspection& found)
{
    const Code& code = formulas.code(f);
    const Slot slot = formulas.cell(f).slot;
    const CellAddress at = store.address(slot);
    for (const CodeRemark& remark : code.remarks) {
        auto& list = remark.why == CodeRemark::Why::UnknownFunction ? found.unknownFunctions
                     : remark.why == CodeRemark::Why::Unparsable    ? found.unparsable
                     : remark.why == CodeRemark::Why::External      ? found.externals
                                                                    : found.unsupported;
        list.push_back({at, remark.text});
        if (remark.why == CodeRemark::Why::External && code.keepsStored)
            found.keeping.push_back({at, remark.text});
    }
    if (code.isVolatile) found.volatiles.push_back({at, formulas.text(f, at)});
    const auto circle = recalculation.circular().find(f);
    if (circle != recalculation.circular().end()) {
        found.circular.push_back({at, circleText(f, *circle->second)});
        return;
    }
    if (code.keepsStored || code.isVolatile) return;
    // An iteration that goes on from the stored values ends as near to them as its limit.
    const double slack = recalculation.iterated().count(f) != 0 ? calculation.maxChange : 0.0;
    const auto compare = [&](Slot s, const Value& then) {
        if (then.isEmpty()) return;
        ++found.compared;
        if (!agree(store.value(s), then, slack))
            found.different.push_back({store.address(s), formulas.text(f, at)});
    };
    if (f < stored.size()) compare(slot, stored[f]);
    if (!formulas.isBlock(f)) return;
    store.visitSlots(formulas.block(f), [&](std::int32_t, std::int32_t, Slot first, std::int32_t n) {
        for (Slot s = first; s < first + static_cast<Slot>(n); ++s)
            if (const auto known = storedResults.find(s); known != storedResults.end() && s != slot)
                compare(s, known->second);
        return true;
    });
}

std::string Book::Impl::iterationText() const
{
    std::array<char, 32> digits{};
    const auto [end, error] =
        std::to_chars(digits.data(), digits.data() + digits.size(), calculation.maxChange);
    const std::size_t cells = recalculation.iterated().size();
    return "circular references are iterated, at most " + std::to_string(calculation.maxIterations) +
           " times or until every change is below " + std::string(digits.data(), end) + ": " +
           (cells == 0 ? "there are none" : std::to_string(cells) + (cells == 1 ? " cell" : " cells"));
}

Inspection Book::Impl::inspect()
{
    settleNames();
    stampTime();
    recalculation.calculateAll();
    Inspection found;
    for (SheetIndex sheet = 0; sheet < store.sheetCount(); ++sheet) {
        store.visitSlots(store.used(sheet), [&](std::int32_t, std::int32_t, Slot first, std::int32_t n) {
            for (Slot s = first; s < first + static_cast<Slot>(n); ++s) {
                const FormulaId f = store.formula(s);
                found.cells += f != kNoFormula || !store.value(s).isEmpty() ? 1 : 0;
                found.formulas += f != kNoFormula ? 1 : 0;
                if (f != kNoFormula && formulas.cell(f).slot == s) inspectFormula(f, found);
            }
            return true;
        });
    }
    found.links = links;
    found.notices = notices;
    if (calculation.iterate) found.notices.emplace_back("workbook", iterationText());
    return found;
}

} // namespace varnex3::sheet
