// server/AutomationDocs.cpp - a section per class: what it is, an example, a table of its members.
#include "server/AutomationDocs.h"

#include <string_view>

#include "runtime/Number.h"
#include "server/ClassTable.h"

namespace varnex3::server {
namespace {

std::string typeText(const ValueType& type)
{
    switch (type.type) {
    case Type::None: return "";
    case Type::Double: return "Double";
    case Type::Long: return "Long";
    case Type::Integer: return "Integer";
    case Type::Boolean: return "Boolean";
    case Type::Text: return "String";
    case Type::Variant: return "Variant";
    case Type::Doubles: return "Double()";
    case Type::Ranges: return "Range()";
    case Type::Texts: return "String(,)";
    case Type::Object: return type.className;
    }
    return {};
}

std::string argumentText(const ArgumentRow& row)
{
    std::string text = row.byValue ? "ByVal " : "";
    text += std::string("*") + row.name + "* " + typeText(row.type);
    if (row.optional && row.standard != 0.0) text += " = " + toText(row.standard);
    return row.optional ? "[" + text + "]" : text;
}

std::string signature(const MemberRow& member)
{
    std::string list;
    for (const ArgumentRow& argument : member.arguments())
        list += (list.empty() ? "" : ", ") + argumentText(argument);
    const std::string name = std::string("**") + member.name + "**";
    return member.method || member.list.count > 0 ? name + "(" + list + ")" : name;
}

std::string kinds(const MemberRow& member)
{
    if (member.method) return "method";
    std::string text = member.read ? "get" : "";
    if (member.write && member.byValue) text += text.empty() ? "put" : ", put";
    if (member.write && member.byReference) text += text.empty() ? "set" : ", set";
    return text;
}

std::string section(const ClassRow& row)
{
    std::string text = std::string("\n## ") + row.name + "\n\n" + row.summary + "\n";
    if (*row.example) text += std::string("\n```vb\n") + row.example + "\n```\n";
    text += "\n| Member | Kind | Type | |\n|---|---|---|---|\n";
    for (const MemberRow& member : row.members)
        text += "| " + signature(member) + " | " + kinds(member) + " | " + typeText(member.type) + " | " +
                member.summary + " |\n";
    return text;
}

constexpr const char* kHead = R"(# Automation classes

<!-- Made from the table in src/server/; test_server compares the two and tells how to make it again. -->

A program creates these classes by identifier, `varnex3.` and the name of the class, and uses their members by
name, without regard to the case of letters. The examples are macros of a spreadsheet program; every client has the
same members.

*get* reads a property, *put* assigns a value, *set* assigns a reference to an object (`Set x.mean = Range("B2")`).
A property with *put* and *set* holds a number or a cell: assigned without `Set`, a cell stands for its value.
Arguments are by reference unless marked `ByVal`; what a member assigns to one is in the caller's variable
afterwards. Arguments in brackets may be left out and are then 0, False or empty unless another value is shown.
Arrays count from 1. A property that holds an object passes arguments on to it: `f.Xs("width")` is
`f.Xs.Item("width")`.

| Error | |
|---|---|
| 6 | a number is too large for its type |
| 13 | an argument is not of the type wanted |
| 383 | a read-only property was assigned |
| 394 | a write-only property was read |
| 429 | there is no class of that identifier |
| 438 | the object has no such member, or the property takes no reference |
| 449 | an argument that is not optional was left out |
| 450 | too many arguments |
| 451 | a value was assigned to a property that takes only references |

Numbers of a client's own workbook objects come through unchanged. A client may hand in its own workbook: any
objects with the members `Application` (Calculate, Run, ScreenUpdating, StatusBar, Calculation, EnableEvents,
DisplayAlerts, ActiveWorkbook, Workbooks, Version, OperatingSystem), `Workbooks` (Item, Add), `Workbook` (Name,
Activate, Worksheets), `Worksheets` (Item, Count, Add), `Worksheet` (Name, Parent, Activate, Delete, Cells) and
`Range` (Value, Formula, Address, Count, Worksheet, HasFormula, Select, Application). A `Run` that
takes just two arguments receives the macro's name and an array of its arguments. Only what a call uses has to be
there: optimizing and simulating need Calculate, ScreenUpdating, StatusBar and Calculation of the application,
Workbooks.Item and Name for the reports, and Value, Formula, Address, Count, Worksheet and Application of cells.

What differs per client: a script host passes variables by reference and shows numbers, source and text of an error in
`Err`, small numbers as 0x800A0000 + n ([Windows](windows.md)). Python's variables cannot be assigned by a call: a
`ByRef` object stands for one, errors are exceptions, and a failed entry point raises its report instead of showing it
([Python](python.md)). In C++ the classes are used as they are ([library](library.md)).
)";

} // namespace

std::string automationReference()
{
    std::string text = kHead;
    std::string_view last;
    for (const ClassRow* row : classTable()) {
        if (row->name != last) text += section(*row); // the collections differ in their items alone
        last = row->name;
    }
    return text;
}

} // namespace varnex3::server
