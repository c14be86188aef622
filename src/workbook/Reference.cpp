// workbook/Reference.cpp - from the text of a reference to cells.
#include "workbook/Reference.h"

#include "sheet/formula/Parser.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::workbook {

namespace {

std::string quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

// Takes a quoted name, quotes doubled inside, from the front.
std::string takeQuoted(std::string_view& text, std::string_view whole)
{
    std::string name;
    for (text.remove_prefix(1); !text.empty(); text.remove_prefix(1)) {
        if (text.front() != '\'') {
            name.push_back(text.front());
        } else if (text.substr(0, 2) == "''") {
            name.push_back('\'');
            text.remove_prefix(1);
        } else {
            text.remove_prefix(1);
            return name;
        }
    }
    refuse("the quote in " + quoted(whole) + " does not end");
}

std::string listOfSheets(const sheet::Book& book)
{
    constexpr sheet::SheetIndex kMost = 10;
    std::string list;
    for (sheet::SheetIndex i = 0; i < book.sheetCount() && i < kMost; ++i)
        list += (i > 0 ? ", " : "") + quoted(book.sheetName(i));
    return book.sheetCount() > kMost ? list + ", ..." : list;
}

Ref<EmbeddedRange> makeRange(const Ref<EmbeddedWorkbook>& workbook, const sheet::Area& area)
{
    return std::make_shared<EmbeddedRange>(workbook, workbook->place(area.sheet), area);
}

Ref<EmbeddedWorkbook> activeWorkbook(EmbeddedApplication& application)
{
    return std::static_pointer_cast<EmbeddedWorkbook>(application.ActiveWorkbook());
}

} // namespace

WrittenReference takeApart(std::string_view text)
{
    const std::string_view whole = text;
    text = trimmed(text);
    if (!text.empty() && text.front() == '=') text = trimmed(text.substr(1));
    WrittenReference result;
    std::string before;
    bool qualified = false;
    if (!text.empty() && text.front() == '\'') {
        before = takeQuoted(text, whole);
        if (text.empty() || text.front() != '!')
            refuse("in " + quoted(whole) + " a \"!\" must follow the quoted name");
        text.remove_prefix(1);
        qualified = true;
    } else if (const std::size_t bang = text.rfind('!'); bang != std::string_view::npos) {
        before = std::string(trimmed(text.substr(0, bang)));
        text.remove_prefix(bang + 1);
        qualified = true;
    }
    result.rest = std::string(trimmed(text));
    if (result.rest.empty()) refuse(quoted(whole) + " names no cell");
    if (qualified && before.empty()) refuse("there is no sheet name before the \"!\" in " + quoted(whole));
    if (!before.empty() && before.front() == '[') {
        const std::size_t end = before.find(']');
        if (end == std::string::npos) refuse("the bracket in " + quoted(whole) + " does not end");
        result.workbook = before.substr(1, end - 1);
        before.erase(0, end + 1);
    }
    result.sheet = before;
    return result;
}

Ref<EmbeddedRange> resolveReference(EmbeddedApplication& application, const std::string& text)
{
    WrittenReference written = takeApart(text);
    Ref<EmbeddedWorkbook> workbook;
    if (!written.workbook.empty()) {
        workbook = application.findWorkbook(written.workbook);
        if (!workbook)
            refuse("no workbook " + quoted(written.workbook) + " is open, which " + quoted(text) + " names");
    } else {
        workbook = activeWorkbook(application);
    }
    sheet::Book& book = workbook->book();

    std::optional<sheet::SheetIndex> index;
    if (!written.sheet.empty()) {
        index = book.findSheet(written.sheet);
        if (!index && written.workbook.empty()) { // 'Book1.xlsx'!name: a name of a whole workbook
            if (Ref<EmbeddedWorkbook> other = application.findWorkbook(written.sheet))
                if (const auto area = other->book().namedArea(written.rest)) return makeRange(other, *area);
        }
        if (!index)
            refuse("there is no sheet " + quoted(written.sheet) + " in " + workbook->Name() + "; it has " +
                   listOfSheets(book));
    }
    const sheet::SheetIndex seenFrom = index.value_or(indexOf(*workbook->activePlace()));
    if (auto area = sheet::parseA1(written.rest)) {
        area->sheet = seenFrom;
        return makeRange(workbook, *area);
    }
    if (const auto area = book.namedArea(written.rest, seenFrom)) return makeRange(workbook, *area);
    if (index)
        refuse(quoted(written.rest) + " in " + quoted(text) +
               " is neither a cell such as B3 nor a name of cells");
    refuse(quoted(written.rest) + " is neither a cell such as Sheet1!B3 nor a name of cells in " +
           workbook->Name());
}

} // namespace varnex3::workbook
