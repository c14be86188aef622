// server/HostClasses.cpp - the rows of host objects that the library hands out: the embedded host's, for
// clients without a spreadsheet program of their own.
#include <vector>

#include "server/Classes.h"
#include "server/Thunks.h"

namespace varnex3::server {
namespace {

using host::Application;
using host::Range;
using host::Workbook;
using host::Workbooks;
using host::Worksheet;

Variant run(Application& host, const std::string& macro, const Variant& a1, const Variant& a2,
            const Variant& a3, const Variant& a4, const Variant& a5, const Variant& a6, const Variant& a7)
{
    std::vector<Variant> arguments;
    for (const Variant* argument : {&a1, &a2, &a3, &a4, &a5, &a6, &a7})
        if (!argument->isEmpty()) arguments.push_back(*argument);
    return host.Run(macro, arguments);
}

/// The sheets of a workbook as a collection.
class Sheets final : public Object {
public:
    explicit Sheets(Ref<Workbook> book) : book_(std::move(book)) {}

    Ref<Worksheet> Item(const Variant& index)
    {
        const std::string* name = index.asText();
        return name ? book_->Worksheets(*name) : book_->Worksheets(toLong(index));
    }
    Long Count() { return book_->SheetCount(); }
    Ref<Worksheet> Add(const Variant&, const Variant&) { return book_->AddWorksheet(); }

private:
    Ref<Workbook> book_;
};

} // namespace

template <>
inline constexpr const char* kClassName<Sheets> = "Worksheets";

namespace {

/// A reference to the workbook comes from its first sheet.
Ref<Sheets> sheetsOf(Workbook& book) { return std::make_shared<Sheets>(book.Worksheets(Long{1})->Parent()); }

constexpr MemberRow kApplication[] = {
    method<&Application::Calculate>("Calculate", {}, "Brings every formula up to date."),
    property<pick<bool()>(&Application::ScreenUpdating), pick<void(bool)>(&Application::ScreenUpdating)>(
        "ScreenUpdating", {}, "Whether the screen follows."),
    setter<&Application::StatusBar>("StatusBar", {}, "Text of the status bar, or False to give it back."),
    property<pick<Long()>(&Application::Calculation), pick<void(Long)>(&Application::Calculation)>(
        "Calculation", {}, "Calculation mode: -4105 automatic, -4135 manual."),
    setter<&Application::EnableEvents>("EnableEvents", {}, "Whether events are handled."),
    setter<&Application::DisplayAlerts>("DisplayAlerts", {}, "Whether the host asks for confirmations."),
    getter<&Application::ActiveWorkbook>("ActiveWorkbook", {}, "The active workbook."),
    getter<&Application::Workbooks>("Workbooks", {}, "The open workbooks."),
    getter<&Application::Version>("Version", {}, "Version of the host."),
    getter<&Application::OperatingSystem>("OperatingSystem", {}, "The operating system."),
    method<&run>("Run",
                 {ref("macro"), opt("arg1"), opt("arg2"), opt("arg3"), opt("arg4"), opt("arg5"), opt("arg6"),
                  opt("arg7")},
                 "Runs a macro by its name."),
};
constexpr MemberRow kWorkbooks[] = {
    getter<&Workbooks::Item>("Item", {ref("name")}, "The open workbook of that name."),
    method<&Workbooks::Add>("Add", {}, "A new workbook, active from now on."),
};
constexpr MemberRow kWorkbook[] = {
    getter<&Workbook::Name>("Name", {}, "File name without folder."),
    method<&Workbook::Activate>("Activate", {}, "Makes it the active workbook."),
    getter<&sheetsOf>("Worksheets", {}, "The sheets."),
};
constexpr MemberRow kSheets[] = {
    getter<&Sheets::Item>("Item", {ref("index")}, "The sheet at a position from 1, or of that name."),
    getter<&Sheets::Count>("Count", {}, "Number of sheets."),
    method<&Sheets::Add>("Add", {opt("before"), opt("after")}, "Adds a sheet after the last one."),
};
constexpr MemberRow kWorksheet[] = {
    property<pick<std::string()>(&Worksheet::Name), pick<void(const std::string&)>(&Worksheet::Name)>(
        "Name", {}, "Name of the sheet."),
    getter<&Worksheet::Parent>("Parent", {}, "Its workbook."),
    method<&Worksheet::Activate>("Activate", {}, "Makes it the active sheet."),
    method<&Worksheet::Delete>("Delete", {}, "Removes the sheet."),
    getter<pick<Ref<Range>(Long, Long)>(&Worksheet::Cells)>("Cells", {val("row"), val("column")},
                                                            "The cell at that row and column."),
};
constexpr MemberRow kRange[] = {
    property<pick<Variant()>(&Range::Value), pick<void(const Variant&)>(&Range::Value)>("Value", {},
                                                                                        "The cell's value."),
    property<pick<std::string()>(&Range::Formula), pick<void(const std::string&)>(&Range::Formula)>(
        "Formula", {}, "The content as entered."),
    getter<&Range::Address>("Address", {}, "Absolute address."),
    getter<&Range::Count>("Count", {}, "Number of cells."),
    getter<&Range::Worksheet>("Worksheet", {}, "Its sheet."),
    getter<&Range::HasFormula>("HasFormula", {}, "Whether the cell holds a formula."),
    method<&Range::Select>("Select", {}, "Selects the cell."),
    getter<&Range::Application>("Application", {}, "The host application."),
};

template <class T>
constexpr ClassRow hostClass(std::span<const MemberRow> members, Long defaultMember, const char* summary)
{
    return {kClassName<T>, false, nullptr, isObject<T>, nullptr, members, defaultMember, summary, ""};
}

constexpr ClassRow kRows[] = {
    hostClass<Application>(kApplication, 0, "The spreadsheet host."),
    hostClass<Workbooks>(kWorkbooks, 1, "The open workbooks of a host."),
    hostClass<Workbook>(kWorkbook, 0, "A workbook of a host."),
    hostClass<Sheets>(kSheets, 1, "The sheets of a workbook."),
    hostClass<Worksheet>(kWorksheet, 0, "A sheet of a workbook."),
    hostClass<Range>(kRange, 1, "A cell or an area of cells."),
};

} // namespace

std::span<const ClassRow> hostClasses() { return kRows; }

} // namespace varnex3::server
