// workbook/Workbook.cpp - workbooks and worksheets of the embedded host.
#include "workbook/Workbook.h"

#include <algorithm>
#include <filesystem>

#include "workbook/EmbeddedApplication.h"
#include "workbook/Range.h"

namespace varnex3::workbook {

namespace {

constexpr const char* kSource = "Corvane";
constexpr std::size_t kLongestSheetName = 31;

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

std::size_t characters(const std::string& utf8)
{
    std::size_t count = 0;
    for (char c : utf8) count += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
    return count;
}

void requireSheetName(const std::string& name)
{
    if (name.empty()) refuse("a sheet needs a name");
    if (characters(name) > kLongestSheetName)
        refuse("the sheet name " + quoted(name) + " is longer than 31 characters");
    if (name.find_first_of(":\\/?*[]") != std::string::npos)
        refuse("the sheet name " + quoted(name) + " holds one of : \\ / ? * [ ]");
    if (name.front() == '\'' || name.back() == '\'')
        refuse("the sheet name " + quoted(name) + " begins or ends with an apostrophe");
}

} // namespace

FileStamp stampOf(const std::string& path)
{
    namespace fs = std::filesystem;
    std::error_code code;
    const fs::path absolute = fs::absolute(path, code);
    FileStamp stamp{code ? path : absolute.string(), 0, 0};
    stamp.bytes = fs::file_size(path, code);
    const fs::file_time_type written = fs::last_write_time(path, code);
    stamp.written = static_cast<std::int64_t>(written.time_since_epoch().count());
    return stamp;
}

void refuse(std::string description) { raise(errors::HostFailure, kSource, std::move(description)); }

sheet::SheetIndex indexOf(const SheetPlace& place)
{
    if (place.index < 0) refuse("the sheet has been deleted");
    return place.index;
}

EmbeddedWorkbook::EmbeddedWorkbook(std::shared_ptr<Session> session, std::string name,
                                   std::unique_ptr<sheet::Book> book)
    : session_(std::move(session)), name_(std::move(name)), book_(std::move(book))
{
    for (sheet::SheetIndex i = 0; i < book_->sheetCount(); ++i)
        places_.push_back(std::make_shared<SheetPlace>(SheetPlace{i}));
    if (!places_.empty()) active_ = places_.front();
}

void EmbeddedWorkbook::Activate() { application()->activate(shared_from_this()); }

Ref<host::Worksheet> EmbeddedWorkbook::worksheet(sheet::SheetIndex index)
{
    return std::make_shared<EmbeddedWorksheet>(shared_from_this(), place(index));
}

Ref<host::Worksheet> EmbeddedWorkbook::Worksheets(const std::string& name)
{
    const auto found = book_->findSheet(name);
    if (!found) raise(errors::Subscript, kSource, "There is no sheet " + quoted(name) + " in " + name_);
    return worksheet(*found);
}

Long EmbeddedWorkbook::SheetCount() { return book_->sheetCount(); }

Ref<host::Worksheet> EmbeddedWorkbook::Worksheets(Long index)
{
    if (index < 1 || index > SheetCount())
        raise(errors::Subscript, kSource,
              "There is no sheet number " + std::to_string(index) + " in " + name_ + ", which has " +
                  std::to_string(SheetCount()));
    return worksheet(index - 1);
}

Ref<host::Worksheet> EmbeddedWorkbook::AddWorksheet()
{
    Long number = SheetCount() + 1;
    while (book_->findSheet("Sheet" + std::to_string(number))) ++number;
    const sheet::SheetIndex index = asked([&] { return book_->addSheet("Sheet" + std::to_string(number)); });
    places_.push_back(std::make_shared<SheetPlace>(SheetPlace{index}));
    active_ = places_.back();
    touched();
    return worksheet(index);
}

void EmbeddedWorkbook::calculate()
{
    if (stale_ == Stale::Everything)
        book_->calculateAll();
    else
        book_->calculate();
    stale_ = Stale::Nothing;
}

Ref<EmbeddedApplication> EmbeddedWorkbook::application() const
{
    Ref<EmbeddedApplication> application = session_->application.lock();
    if (!application) refuse("the application of the workbook " + name_ + " has ended");
    return application;
}

void EmbeddedWorkbook::remove(SheetPlace& removed)
{
    const sheet::SheetIndex index = indexOf(removed);
    if (places_.size() == 1) refuse("the only sheet of a workbook cannot be deleted");
    asked([&] { book_->removeSheet(index); });
    const auto at = static_cast<std::size_t>(index);
    const std::shared_ptr<SheetPlace> kept = places_[at]; // `removed` may be held by the list alone
    places_.erase(places_.begin() + index);
    kept->index = -1;
    for (std::size_t i = at; i < places_.size(); ++i) places_[i]->index = static_cast<sheet::SheetIndex>(i);
    if (active_ == kept) active_ = places_[std::min(at, places_.size() - 1)];
    touched();
}

std::string EmbeddedWorksheet::Name() { return workbook_->book().sheetName(indexOf(*place_)); }

void EmbeddedWorksheet::Name(const std::string& name)
{
    requireSheetName(name);
    asked([&] { workbook_->book().renameSheet(indexOf(*place_), name); });
    workbook_->touched(); // formulas may ask for the name
}

void EmbeddedWorksheet::Activate()
{
    indexOf(*place_);
    workbook_->activate(place_);
}

void EmbeddedWorksheet::Delete() { workbook_->remove(*place_); }

Ref<host::Range> EmbeddedWorksheet::Cells(Long row, Long column)
{
    if (row < 1 || row > sheet::kMaxRows || column < 1 || column > sheet::kMaxColumns)
        refuse("row " + std::to_string(row) + ", column " + std::to_string(column) + " is outside the sheet");
    const sheet::Area cell{indexOf(*place_), row - 1, column - 1, row - 1, column - 1};
    return std::make_shared<EmbeddedRange>(workbook_, place_, cell);
}

void EmbeddedWorksheet::Cells(Long row, Long column, const Variant& value)
{
    Cells(row, column)->Value(value);
}

Ref<host::Workbook> EmbeddedWorkbooks::Item(const std::string& name)
{
    Ref<EmbeddedWorkbook> found = application_->findWorkbook(name);
    if (!found) raise(errors::Subscript, kSource, "No workbook " + quoted(name) + " is open");
    return found;
}

Ref<host::Workbook> EmbeddedWorkbooks::Add() { return application_->addWorkbook(); }

} // namespace varnex3::workbook
