// server/ScriptedHost.cpp - each member of the host, asked of the object outside.
#include "server/ScriptedHost.h"

#include <memory>
#include <vector>

#include "server/Convert.h"
#include "server/Invoke.h"

namespace varnex3::server {
namespace {

/// The object that a member returned; raises 91 for none.
Ref<LateBound> objectIn(const Variant& v)
{
    const ObjectRef object = v.object();
    if (!object) raise(errors::ObjectNotSet);
    return lateBound(object);
}

template <class T>
Ref<T> hostObject(const Variant& v)
{
    return std::make_shared<T>(objectIn(v));
}

/// The result code of a call that failed for no stated reason, 0x80004005; so do wine's scripts refuse a
/// wrong number of arguments.
constexpr Long kNoReason = -2147467259;

std::string textOf(const Variant& v) { return Convert<std::string>::from(v); }

} // namespace

void ScriptedApplication::Calculate() { outside_.read("Calculate"); }

Variant ScriptedApplication::Run(const std::string& macro, std::span<const Variant> arguments)
{
    std::vector<Variant> list{macro};
    for (const Variant& argument : arguments) list.push_back(outward(argument));
    if (!takesList_) {
        try {
            return outside_.object()->invoke("Run", InvokeKind::Read, list);
        } catch (const Raised&) {
            if (err().number != errors::ArgumentCount && err().number != kNoReason) throw;
            caught();
        }
    }
    auto array = std::make_shared<Array1<Variant>>();
    for (std::size_t i = 1; i < list.size(); ++i) array->append(list[i]);
    Variant result = outside_.read("Run", macro, VariantArray1(std::move(array)));
    takesList_ = true;
    return result;
}

bool ScriptedApplication::ScreenUpdating() { return toBoolean(outside_.read("ScreenUpdating")); }
void ScriptedApplication::ScreenUpdating(bool on) { outside_.put("ScreenUpdating", on); }
void ScriptedApplication::StatusBar(const Variant& text) { outside_.put("StatusBar", text); }
Long ScriptedApplication::Calculation() { return toLong(outside_.read("Calculation")); }
void ScriptedApplication::Calculation(Long mode) { outside_.put("Calculation", mode); }
void ScriptedApplication::EnableEvents(bool on) { outside_.put("EnableEvents", on); }
void ScriptedApplication::DisplayAlerts(bool on) { outside_.put("DisplayAlerts", on); }
Ref<host::Workbook> ScriptedApplication::ActiveWorkbook()
{
    return hostObject<ScriptedWorkbook>(outside_.read("ActiveWorkbook"));
}
Ref<host::Workbooks> ScriptedApplication::Workbooks()
{
    return hostObject<ScriptedWorkbooks>(outside_.read("Workbooks"));
}
std::string ScriptedApplication::Version() { return textOf(outside_.read("Version")); }
std::string ScriptedApplication::OperatingSystem() { return textOf(outside_.read("OperatingSystem")); }

Ref<host::Workbook> ScriptedWorkbooks::Item(const std::string& name)
{
    return hostObject<ScriptedWorkbook>(outside_.read("Item", name));
}
Ref<host::Workbook> ScriptedWorkbooks::Add() { return hostObject<ScriptedWorkbook>(outside_.read("Add")); }

std::string ScriptedWorkbook::Name() { return textOf(outside_.read("Name")); }
void ScriptedWorkbook::Activate() { outside_.read("Activate"); }
Outside ScriptedWorkbook::sheets() const { return Outside(objectIn(outside_.read("Worksheets"))); }
Ref<host::Worksheet> ScriptedWorkbook::Worksheets(const std::string& name)
{
    return hostObject<ScriptedWorksheet>(sheets().read("Item", name));
}
Long ScriptedWorkbook::SheetCount() { return toLong(sheets().read("Count")); }
Ref<host::Worksheet> ScriptedWorkbook::Worksheets(Long index)
{
    return hostObject<ScriptedWorksheet>(sheets().read("Item", index));
}
Ref<host::Worksheet> ScriptedWorkbook::AddWorksheet()
{
    const Outside all = sheets();
    Variant last = all.read("Item", toLong(all.read("Count")));
    return hostObject<ScriptedWorksheet>(all.read("Add", missingArgument(), std::move(last)));
}

std::string ScriptedWorksheet::Name() { return textOf(outside_.read("Name")); }
void ScriptedWorksheet::Name(const std::string& name) { outside_.put("Name", name); }
Ref<host::Workbook> ScriptedWorksheet::Parent()
{
    return hostObject<ScriptedWorkbook>(outside_.read("Parent"));
}
void ScriptedWorksheet::Activate() { outside_.read("Activate"); }
void ScriptedWorksheet::Delete() { outside_.read("Delete"); }
Ref<host::Range> ScriptedWorksheet::Cells(Long row, Long column)
{
    return hostObject<ScriptedRange>(outside_.read("Cells", row, column));
}
void ScriptedWorksheet::Cells(Long row, Long column, const Variant& value)
{
    Cells(row, column)->Value(value);
}

Long ScriptedRange::valueMember()
{
    if (!valueMember_) valueMember_ = behind()->memberId("Value");
    if (!valueMember_) raise(errors::NoSuchMember);
    return *valueMember_;
}
Variant ScriptedRange::Value() { return behind()->invoke(valueMember(), InvokeKind::Read, {}); }
void ScriptedRange::Value(const Variant& value)
{
    Variant put = value;
    behind()->invoke(valueMember(), InvokeKind::Put, {&put, 1});
}
std::string ScriptedRange::Formula() { return textOf(outside_.read("Formula")); }
void ScriptedRange::Formula(const std::string& content) { outside_.put("Formula", content); }
std::string ScriptedRange::Address() { return textOf(outside_.read("Address")); }
Long ScriptedRange::Count() { return toLong(outside_.read("Count")); }
Ref<host::Worksheet> ScriptedRange::Worksheet()
{
    return hostObject<ScriptedWorksheet>(outside_.read("Worksheet"));
}
bool ScriptedRange::HasFormula() { return toBoolean(outside_.read("HasFormula")); }
void ScriptedRange::Select() { outside_.read("Select"); }
Ref<host::Application> ScriptedRange::Application()
{
    return hostObject<ScriptedApplication>(outside_.read("Application"));
}

} // namespace varnex3::server
