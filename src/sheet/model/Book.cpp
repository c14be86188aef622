// sheet/model/Book.cpp - the public face of a workbook in memory.
#include "sheet/model/Book.h"

#include <array>
#include <charconv>
#include <cmath>

#include "sheet/format/Convert.h"
#include "sheet/formula/Parser.h"
#include "sheet/model/BookImpl.h"
#include "sheet/model/Trials.h"

namespace varnex3::sheet {

Book::Book() : impl_(std::make_unique<Impl>()), generation_(&impl_->generation) {}
Book::~Book() = default;

BookBuilder& Book::builder()
{
    impl_->loading = true;
    return *impl_;
}
void Book::finishLoading() { impl_->finishLoading(); }

SheetIndex Book::addSheet(const std::string& name) { return impl_->addSheet(name); }
void Book::renameSheet(SheetIndex sheet, const std::string& name) { impl_->renameSheet(sheet, name); }
void Book::removeSheet(SheetIndex sheet) { impl_->removeSheet(sheet); }
SheetIndex Book::sheetCount() const { return impl_->store.sheetCount(); }
const std::string& Book::sheetName(SheetIndex sheet) const
{
    return impl_->sheetNames.at(static_cast<std::size_t>(sheet));
}
std::optional<SheetIndex> Book::findSheet(std::string_view name) const { return impl_->findSheet(name); }

std::optional<Area> Book::namedArea(std::string_view name, std::optional<SheetIndex> scope) const
{
    const Tree* meaning = impl_->definedName(name, scope.value_or(-1));
    return meaning ? impl_->areaOf(*meaning, scope.value_or(0), 0) : std::nullopt;
}

std::vector<std::string> Book::names() const
{
    std::vector<std::string> all;
    for (const DefinedName& defined : impl_->definedNames) all.push_back(defined.name);
    return all;
}

void Book::defineName(const std::string& name, std::optional<SheetIndex> scope, const std::string& formula)
{
    impl_->defineName(name, scope, formula);
}

const Value& Book::value(const CellAddress& cell) const
{
    static const Value empty;
    const Slot slot = impl_->store.find(cell);
    return slot == kNoSlot ? empty : impl_->store.peek(slot);
}

const Value& Book::storedValue(const CellAddress& cell) const
{
    static const Value empty;
    const Slot slot = impl_->store.find(cell);
    return slot == kNoSlot ? empty : impl_->storedAt(slot);
}

void Book::setValue(const CellAddress& cell, Value value)
{
    impl_->checkAddress(cell);
    impl_->setValue(impl_->makeCell(cell), std::move(value));
}

void Book::setContent(const CellAddress& cell, std::string_view content)
{
    impl_->checkAddress(cell);
    if (content.size() > 1 && content.front() == '=') return impl_->setFormula(cell, content);
    Value value;
    if (content.starts_with('\'')) {
        value = Value(content.substr(1));
    } else if (const auto number = numberFromText(content, impl_->dateSystem())) {
        value = *number;
    } else if (equalTexts(content, "TRUE") || equalTexts(content, "FALSE")) {
        value = equalTexts(content, "TRUE");
    } else if (const auto failure = parseFailure(content)) {
        value = *failure;
    } else if (!content.empty()) {
        value = Value(content);
    }
    impl_->setValue(impl_->makeCell(cell), std::move(value));
}

void Book::setArrayFormula(const Area& block, std::string_view content)
{
    impl_->setArrayFormula(block, content);
}

std::string Book::content(const CellAddress& cell) const
{
    if (impl_->hasFormula(cell)) return impl_->formulaText(cell);
    const Value& v = value(cell);
    if (v.isNumber()) {
        std::array<char, 40> digits{};
        const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), v.number());
        return {digits.data(), end};
    }
    if (v.isFailure()) return std::string(failureText(v.failure()));
    const Value text = toText(v);
    return text.isText() ? text.text() : std::string();
}

bool Book::hasFormula(const CellAddress& cell) const { return impl_->hasFormula(cell); }
bool Book::isDate(const CellAddress& cell) const
{
    const Slot slot = impl_->store.find(cell);
    return slot != kNoSlot && impl_->store.isDate(slot);
}
Area Book::used(SheetIndex sheet) const { return impl_->store.used(sheet); }

Slot Book::slot(const CellAddress& cell)
{
    impl_->checkAddress(cell);
    return impl_->store.make(cell);
}
const Value& Book::read(Slot slot) const { return impl_->store.peek(slot); }

void Book::write(Slot slot, double x)
{
    Store& store = impl_->store;
    const bool isPlain =
        store.formula(slot) == kNoFormula && store.constant(slot).isNumber() && std::isfinite(x);
    if (!isPlain) return impl_->replace(slot, x);
    store.constant(slot).setNumber(x);
    impl_->recalculation.valueWritten(slot);
}

std::unique_ptr<Trials> Book::trials(std::span<const Slot> inputs, std::span<const Slot> outputs,
                                     unsigned threads)
{
    auto code =
        impl_->recalculation.trialCode({inputs.begin(), inputs.end()}, {outputs.begin(), outputs.end()});
    if (!code) return nullptr;
    return std::make_unique<Trials>(impl_->recalculation, impl_->store, std::move(*code), inputs.size(),
                                    outputs.size(), threads);
}

void Book::calculate()
{
    impl_->settleNames();
    if (impl_->recalculation.needsTime()) impl_->stampTime();
    impl_->recalculation.calculate();
}
void Book::calculateAll()
{
    impl_->settleNames();
    impl_->stampTime();
    impl_->recalculation.calculateAll();
}
void Book::useTypedCode(bool use) { impl_->recalculation.useTypedCode(use); }
const CalculationSettings& Book::settings() const { return impl_->calculation; }
void Book::setRandomSource(std::function<double()> uniform) { impl_->uniform = std::move(uniform); }
void Book::setPath(std::string path) { impl_->path = std::move(path); }
Inspection Book::inspect() { return impl_->inspect(); }

} // namespace varnex3::sheet
