// tests/support/FakeHost.cpp - the cells, the record and the scripted failures of the fake host.
#include "support/FakeHost.h"

#include <algorithm>

#include "runtime/Number.h"

namespace varnex3::test {
namespace {

std::string columnName(Long column)
{
    std::string name;
    for (; column > 0; column = (column - 1) / 26)
        name.insert(name.begin(), static_cast<char>('A' + (column - 1) % 26));
    return name;
}

std::string cellName(Long row, Long column) { return "$" + columnName(column) + "$" + std::to_string(row); }

struct Area {
    Long top = 0, left = 0, bottom = 0, right = 0;
};

std::pair<Long, Long> parseCell(const std::string& text)
{
    Long row = 0, column = 0;
    for (char c : text) {
        if (c >= 'A' && c <= 'Z') column = column * 26 + (c - 'A' + 1);
        if (c >= '0' && c <= '9') row = row * 10 + (c - '0');
    }
    if (row < 1 || column < 1) raise(errors::HostFailure, "Host", "Bad address " + text);
    return {row, column};
}

Area parseArea(const std::string& address)
{
    const auto colon = address.find(':');
    const auto [top, left] = parseCell(address.substr(0, colon));
    const auto [bottom, right] =
        colon == std::string::npos ? std::pair(top, left) : parseCell(address.substr(colon + 1));
    return {top, left, bottom, right};
}

} // namespace

std::string shown(const Variant& v)
{
    if (const ErrorValue* e = v.asError()) return "#" + std::to_string(e->code);
    std::string text = "(array or object)";
    attempt([&] { text = toText(v); });
    return text;
}

class FakeRange final : public host::Range {
public:
    FakeRange(Ref<FakeSheet> sheet, const Area& area)
        : sheet_(std::move(sheet)), area_(area), first_(sheet_->cells_[{area.top, area.left}])
    {}

    Variant Value() override
    {
        note(true, ".Value?");
        if (Count() == 1) return first_.value;
        Array2<Variant> values(area_.bottom - area_.top + 1, area_.right - area_.left + 1);
        each([&](Long row, Long column, FakeCell& cell) { values(row, column) = cell.value; });
        return std::make_shared<const Array2<Variant>>(std::move(values));
    }
    void Value(const Variant& value) override
    {
        sheet_->host_.note(false, [&] { return label() + ".Value=" + shown(value); });
        each([&](Long, Long, FakeCell& cell) { cell = {value, ""}; });
    }
    std::string Formula() override
    {
        note(true, ".Formula?");
        return first_.formulaText.empty() ? toText(first_.value) : first_.formulaText;
    }
    void Formula(const std::string& content) override
    {
        sheet_->host_.note(false, [&] { return label() + ".Formula=" + content; });
        if (content.starts_with('=')) {
            if (!sheet_->formulas_.contains(content))
                raise(errors::HostFailure, "Host", "Bad formula " + content);
            first_.formulaText = content;
        } else if (const auto number = parseNumber(content)) {
            first_ = {*number, ""};
        } else {
            first_ = {content.empty() ? Variant{} : Variant{content}, ""};
        }
    }
    std::string Address() override
    {
        note(true, ".Address?");
        return address();
    }
    Long Count() override { return (area_.bottom - area_.top + 1) * (area_.right - area_.left + 1); }
    Ref<host::Worksheet> Worksheet() override
    {
        note(true, ".Worksheet?");
        return sheet_;
    }
    bool HasFormula() override
    {
        note(true, ".HasFormula?");
        return !first_.formulaText.empty();
    }
    void Select() override { note(false, ".Select"); }
    Ref<host::Application> Application() override
    {
        note(true, ".Application?");
        return sheet_->host_.shared_from_this();
    }

private:
    void note(bool read, const char* member)
    {
        sheet_->host_.note(read, [&] { return label() + member; });
    }
    std::string address() const
    {
        const std::string first = cellName(area_.top, area_.left), last = cellName(area_.bottom, area_.right);
        return first == last ? first : first + ":" + last;
    }
    std::string label() const { return sheet_->label() + "!" + address(); }
    /// visit(row, column, cell) with places counted from 1 within the range.
    template <class Visit>
    void each(Visit&& visit)
    {
        for (Long r : fromTo(area_.top, area_.bottom))
            for (Long c : fromTo(area_.left, area_.right))
                visit(r - area_.top + 1, c - area_.left + 1, sheet_->cells_[{r, c}]);
    }

    Ref<FakeSheet> sheet_;
    Area area_;
    FakeCell& first_; // map nodes stay where they are
};

FakeSheet::FakeSheet(FakeHost& host, FakeWorkbook& book, std::string name)
    : host_(host), book_(book), name_(std::move(name))
{}

Ref<host::Range> FakeSheet::range(const std::string& address)
{
    return std::make_shared<FakeRange>(shared_from_this(), parseArea(address));
}

void FakeSheet::set(const std::string& address, const Variant& value)
{
    cells_[parseCell(address)] = {value, ""};
}

void FakeSheet::formula(const std::string& address, const std::string& text, FakeFormula f)
{
    const Place place = parseCell(address);
    cells_[place] = {f(*this), text};
    formulas_[text] = std::move(f);
    order_.push_back(place);
}

Variant FakeSheet::get(const std::string& address) { return cells_[parseCell(address)].value; }

std::string FakeSheet::Name()
{
    host_.note(true, [&] { return label() + ".Name?"; });
    return name_;
}

void FakeSheet::Name(const std::string& name)
{
    host_.note(false, [&] { return label() + ".Name=" + name; });
    name_ = name;
}

Ref<host::Workbook> FakeSheet::Parent() { return book_.shared_from_this(); }

void FakeSheet::Activate()
{
    host_.note(false, [&] { return label() + ".Activate"; });
}

void FakeSheet::Delete()
{
    host_.note(false, [&] { return label() + ".Delete"; });
    std::erase_if(book_.sheets_, [this](const auto& s) { return s.get() == this; });
}

Ref<host::Range> FakeSheet::Cells(Long row, Long column)
{
    host_.note(true, [&] { return label() + "!" + cellName(row, column) + "?"; });
    return std::make_shared<FakeRange>(shared_from_this(), Area{row, column, row, column});
}

void FakeSheet::Cells(Long row, Long column, const Variant& value)
{
    host_.note(false, [&] {
        return label() + ".Cells(" + std::to_string(row) + ", " + std::to_string(column) +
               ")=" + shown(value);
    });
    cells_[{row, column}] = {value, ""};
}

std::string FakeSheet::label() const
{
    return &book_ == &host_.book() ? name_ : "[" + book_.name_ + "]" + name_;
}

void FakeSheet::calculate()
{
    for (const Place& place : order_) {
        FakeCell& cell = cells_[place];
        if (!cell.formulaText.empty()) cell.value = formulas_.at(cell.formulaText)(*this);
    }
}

FakeWorkbook::FakeWorkbook(FakeHost& host, std::string name) : host_(host), name_(std::move(name)) {}

FakeSheet& FakeWorkbook::sheet(const std::string& name)
{
    for (const auto& s : sheets_)
        if (s->name_ == name) return *s;
    return *sheets_.emplace_back(std::make_shared<FakeSheet>(host_, *this, name));
}

std::string FakeWorkbook::Name()
{
    host_.note(true, [&] { return name_ + ".Name?"; });
    return name_;
}

void FakeWorkbook::Activate()
{
    host_.note(false, [&] { return name_ + ".Activate"; });
    host_.active_ = shared_from_this();
}

Ref<host::Worksheet> FakeWorkbook::Worksheets(const std::string& name)
{
    host_.note(true, [&] { return name_ + ".Worksheets(" + name + ")?"; });
    for (const auto& s : sheets_)
        if (s->name_ == name) return s;
    raise(errors::Subscript);
}

Long FakeWorkbook::SheetCount() { return static_cast<Long>(sheets_.size()); }

Ref<host::Worksheet> FakeWorkbook::Worksheets(Long index)
{
    if (index < 1 || index > SheetCount()) raise(errors::Subscript);
    return sheets_[static_cast<std::size_t>(index - 1)];
}

Ref<host::Worksheet> FakeWorkbook::AddWorksheet()
{
    host_.note(false, [&] { return name_ + ".AddWorksheet"; });
    Long number = SheetCount() + 1;
    const auto taken = [&](const auto& s) { return s->name_ == "Sheet" + std::to_string(number); };
    while (std::any_of(sheets_.begin(), sheets_.end(), taken)) ++number;
    return sheet("Sheet" + std::to_string(number)).shared_from_this();
}

class FakeWorkbooks final : public host::Workbooks {
public:
    explicit FakeWorkbooks(FakeHost& owner) : owner_(owner) {}

    Ref<host::Workbook> Item(const std::string& name) override
    {
        owner_.note(true, [&] { return "Workbooks(" + name + ")?"; });
        const Ref<FakeWorkbook> found = owner_.bookByName(name);
        if (!found) raise(errors::Subscript);
        return found;
    }
    Ref<host::Workbook> Add() override
    {
        owner_.note(false, [] { return "Workbooks.Add"; });
        FakeWorkbook& added = owner_.addBook("Book" + std::to_string(owner_.books_.size() + 1));
        owner_.active_ = added.shared_from_this();
        return owner_.active_;
    }

private:
    FakeHost& owner_;
};

Ref<FakeHost> FakeHost::create()
{
    Ref<FakeHost> made = createWithoutWorkbook();
    made->active_ = made->addBook("Book1.xlsx").shared_from_this();
    return made;
}

void FakeHost::fail(const std::string& lineStart, Long fromNth, Long number, const std::string& description)
{
    failures_.push_back({lineStart, fromNth, number, description});
}

FakeWorkbook& FakeHost::book()
{
    if (books_.empty()) raise(errors::Subscript);
    return *books_.front();
}

FakeWorkbook& FakeHost::addBook(const std::string& name)
{
    FakeWorkbook& added = *books_.emplace_back(std::make_shared<FakeWorkbook>(*this, name));
    added.sheet("Sheet1");
    return added;
}

void FakeHost::Calculate()
{
    note(false, [] { return "Calculate"; });
    for (const auto& b : books_)
        for (const auto& s : b->sheets_) s->calculate();
}

Variant FakeHost::Run(const std::string& macro, std::span<const Variant> arguments)
{
    note(false, [&] {
        std::string list;
        for (const Variant& argument : arguments) list += (list.empty() ? "" : ", ") + shown(argument);
        return "Run " + macro + "(" + list + ")";
    });
    const auto found = macros.find(macro);
    if (found == macros.end()) raise(errors::HostFailure, "Host", "Cannot run the macro '" + macro + "'");
    return found->second(arguments);
}

bool FakeHost::ScreenUpdating()
{
    note(true, [] { return "ScreenUpdating?"; });
    return screenUpdating;
}

void FakeHost::ScreenUpdating(bool on)
{
    note(false, [&] { return "ScreenUpdating=" + toText(on); });
    screenUpdating = on;
}

void FakeHost::StatusBar(const Variant& text)
{
    note(false, [&] { return "StatusBar=" + shown(text); });
    statusBar = text;
}

Long FakeHost::Calculation()
{
    note(true, [] { return "Calculation?"; });
    return calculation;
}

void FakeHost::Calculation(Long mode)
{
    note(false, [&] { return "Calculation=" + std::to_string(mode); });
    calculation = mode;
}

void FakeHost::EnableEvents(bool on)
{
    note(false, [&] { return "EnableEvents=" + toText(on); });
    enableEvents = on;
}

void FakeHost::DisplayAlerts(bool on)
{
    note(false, [&] { return "DisplayAlerts=" + toText(on); });
    displayAlerts = on;
}

Ref<host::Workbook> FakeHost::ActiveWorkbook()
{
    note(true, [] { return "ActiveWorkbook?"; });
    if (!active_) raise(errors::ObjectNotSet);
    return active_;
}

Ref<host::Workbooks> FakeHost::Workbooks() { return std::make_shared<FakeWorkbooks>(*this); }

std::string FakeHost::Version()
{
    note(true, [] { return "Version?"; });
    return "16.0";
}

std::string FakeHost::OperatingSystem()
{
    note(true, [] { return "OperatingSystem?"; });
    return "Test OS 1";
}

void FakeHost::note(bool recorded, std::string line)
{
    Failure* failing = nullptr;
    for (Failure& f : failures_)
        if (line.starts_with(f.lineStart) && ++f.seen >= f.fromNth) failing = &f;
    if (recorded) calls.push_back(std::move(line));
    if (failing) raise(failing->number, "Host", failing->description);
}

Ref<FakeWorkbook> FakeHost::bookByName(const std::string& name) const
{
    for (const auto& b : books_)
        if (b->name_ == name) return b;
    return nullptr;
}

} // namespace varnex3::test
