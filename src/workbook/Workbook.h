// workbook/Workbook.h - workbooks and worksheets of the embedded host.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/interface/Host.h"
#include "sheet/model/Book.h"

namespace varnex3::workbook {

class EmbeddedApplication;

/// What the objects of one application share; it outlives the application in objects still held.
struct Session {
    bool automatic = true;
    std::weak_ptr<EmbeddedApplication> application;
};

/// A sheet, whatever its position is after others were deleted.
struct SheetPlace {
    sheet::SheetIndex index = 0; // negative once deleted
};

/// A file as it was at one moment; empty path for none.
struct FileStamp {
    std::string path; // absolute
    std::uintmax_t bytes = 0;
    std::int64_t written = 0; // clock of the file system
    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};
FileStamp stampOf(const std::string& path);

/// Raises the host's refusal, 1004.
[[noreturn]] void refuse(std::string description);

/// Runs a request to the engine; what the engine refuses, the host refuses.
template <class F>
auto asked(F&& request)
{
    try {
        return request();
    } catch (const sheet::BookError& error) {
        refuse(error.what());
    }
}

class EmbeddedWorkbook final : public host::Workbook, public std::enable_shared_from_this<EmbeddedWorkbook> {
public:
    EmbeddedWorkbook(std::shared_ptr<Session> session, std::string name, std::unique_ptr<sheet::Book> book);

    // host::Workbook
    std::string Name() override { return name_; }
    void Activate() override;
    Ref<host::Worksheet> Worksheets(const std::string& name) override;
    Long SheetCount() override;
    Ref<host::Worksheet> Worksheets(Long index) override;
    Ref<host::Worksheet> AddWorksheet() override;

    sheet::Book& book() { return *book_; }
    /// The book with its values as the calculation mode wants them read.
    sheet::Book& currentBook()
    {
        if (stale_ != Stale::Nothing && session_->automatic) calculate();
        return *book_;
    }
    /// A cell was written.
    void touched()
    {
        if (stale_ == Stale::Nothing) stale_ = Stale::Changed;
    }
    /// Nothing was written since the last recalculation.
    bool isCurrent() const { return stale_ == Stale::Nothing; }
    /// Brings every formula up to date: at the first time all of them, as what a file stores may be
    /// missing or older than its inputs; later those that depend on what changed.
    void calculate();

    /// The file that it was opened from, as it was then.
    const FileStamp& file() const { return file_; }
    void file(FileStamp stamp) { file_ = std::move(stamp); }

    Ref<EmbeddedApplication> application() const; // raises 1004 once it is gone
    std::shared_ptr<SheetPlace> place(sheet::SheetIndex index) const
    {
        return places_[static_cast<std::size_t>(index)];
    }
    const std::shared_ptr<SheetPlace>& activePlace() const { return active_; }
    void activate(std::shared_ptr<SheetPlace> place) { active_ = std::move(place); }
    void remove(SheetPlace& place);

private:
    enum class Stale { Nothing, Changed, Everything };

    Ref<host::Worksheet> worksheet(sheet::SheetIndex index);

    std::shared_ptr<Session> session_;
    std::string name_;
    FileStamp file_;
    std::unique_ptr<sheet::Book> book_;
    std::vector<std::shared_ptr<SheetPlace>> places_; // in tab order
    std::shared_ptr<SheetPlace> active_;
    Stale stale_ = Stale::Everything;
};

class EmbeddedWorksheet final : public host::Worksheet {
public:
    EmbeddedWorksheet(Ref<EmbeddedWorkbook> workbook, std::shared_ptr<SheetPlace> place)
        : workbook_(std::move(workbook)), place_(std::move(place))
    {}

    // host::Worksheet
    std::string Name() override;
    void Name(const std::string& name) override;
    Ref<host::Workbook> Parent() override { return workbook_; }
    void Activate() override;
    void Delete() override;
    Ref<host::Range> Cells(Long row, Long column) override;
    void Cells(Long row, Long column, const Variant& value) override;

private:
    Ref<EmbeddedWorkbook> workbook_;
    std::shared_ptr<SheetPlace> place_;
};

class EmbeddedWorkbooks final : public host::Workbooks {
public:
    explicit EmbeddedWorkbooks(Ref<EmbeddedApplication> application) : application_(std::move(application)) {}

    Ref<host::Workbook> Item(const std::string& name) override;
    Ref<host::Workbook> Add() override;

private:
    Ref<EmbeddedApplication> application_;
};

/// Position of a sheet in its book; raises 1004 once it is deleted.
sheet::SheetIndex indexOf(const SheetPlace& place);

} // namespace varnex3::workbook
