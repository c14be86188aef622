// sheet/xlsx/PackageEdits.cpp - sheets come, go and change their names in the parts that list them; columns
// of tables change theirs.
#include "sheet/xlsx/PackageEdits.h"

#include <algorithm>
#include <array>

#include "sheet/formula/Parser.h"
#include "sheet/xlsx/Markup.h"
#include "sheet/xlsx/Text.h"

namespace varnex3::sheet::xlsx {

namespace {

// What follows the defined names and the calculation settings in a workbook part, in the order that the
// format prescribes [ECMA-376, 18.2.27].
constexpr std::array<std::string_view, 9> kAfterCalculation = {
    "oleSize",       "customWorkbookViews", "pivotCaches",       "smartTagPr", "smartTagTypes",
    "webPublishing", "fileRecoveryPr",      "webPublishObjects", "extLst"};

} // namespace

std::string lowerCase(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

void WorkbookEdit::open(const Tag& tag, std::string_view raw)
{
    if (skipped_ > 0 || replacing_) return;
    if (tag.depth == 1) prefix_ = RawTag(raw).prefix();
    if (tag.depth == 2 && openSection(tag, raw)) return;
    if (tag.depth == 3 && inViews_ && tag.isMain("workbookView")) return openView(tag, raw);
    if (tag.depth == 3 && inSheets_ && tag.isMain("sheet")) return openSheet(tag, raw);
    if (tag.depth == 3 && inNames_ && tag.isMain("definedName")) return openName(tag, raw);
    (inNames_ ? names_ : out).append(raw);
}

/// Whether the section's start tag is dealt with.
bool WorkbookEdit::openSection(const Tag& tag, std::string_view raw)
{
    inSheets_ = tag.isMain("sheets");
    inViews_ = tag.isMain("bookViews");
    if (tag.isMain("definedNames")) {
        const RawTag names(raw);
        inNames_ = namesSeen_ = true;
        namesBegin_ = names.opening();
        namesEnd_ = names.closing();
        return true;
    }
    if (tag.isMain("calcPr")) {
        addNames();
        RawTag settings(raw);
        settings.set("fullCalcOnLoad", "1");
        out.append(settings.isEmpty() ? settings.alone() : settings.opening());
        calculationSeen_ = true;
        return true;
    }
    if (std::find(kAfterCalculation.begin(), kAfterCalculation.end(), tag.name) != kAfterCalculation.end())
        addMissing();
    return false;
}

void WorkbookEdit::openView(const Tag& tag, std::string_view raw)
{
    RawTag view(raw);
    for (const char* attribute : {"activeTab", "firstSheet"}) {
        const char* text = tag.attribute(attribute);
        const auto tab = text ? parseIndex(text) : std::nullopt;
        if (tab && *tab < changes_.sheets.size() && changes_.sheets[*tab].position != *tab)
            view.set(attribute, std::to_string(changes_.sheets[*tab].position));
    }
    out.append(view.isEmpty() ? view.alone() : view.opening());
}

void WorkbookEdit::openSheet(const Tag& tag, std::string_view raw)
{
    if (const char* id = tag.attribute("sheetId"))
        highestId_ = std::max(highestId_, parseIndex(id).value_or(0));
    RawTag sheet(raw);
    if (const std::string name = sheet.attributeEndingIn(":id"); !name.empty()) {
        idAttribute_ = name;
        const std::string declaration = "xmlns:" + name.substr(0, name.find(':'));
        idNamespace_ = sheet.has(declaration) ? " " + declaration + "=" + sheet.written(declaration) : "";
    }
    const std::size_t at = listed_++;
    if (at >= changes_.sheets.size()) throw XmlProblem{"it lists more sheets than before"};
    if (changes_.sheets[at].removed) {
        skipped_ = tag.depth;
        return;
    }
    if (!changes_.sheets[at].newName) {
        out.append(raw);
        return;
    }
    sheet.set("name", *changes_.sheets[at].newName);
    out.append(sheet.isEmpty() ? sheet.alone() : sheet.opening());
}

void WorkbookEdit::openName(const Tag& tag, std::string_view raw)
{
    RawTag defined(raw);
    std::optional<std::uint32_t> scope;
    if (const char* local = tag.attribute("localSheetId")) {
        const auto index = parseIndex(local);
        if (index && *index < changes_.sheets.size()) {
            const WorkbookChanges::Listed& sheet = changes_.sheets[*index];
            if (sheet.removed) {
                skipped_ = tag.depth;
                return;
            }
            scope = sheet.position;
            if (sheet.position != *index) defined.set("localSheetId", std::to_string(sheet.position));
        }
    }
    const char* written = tag.attribute("name");
    const std::string name = lowerCase(unescaped(written ? written : ""));
    for (WorkbookChanges::Name& changed : changes_.names) {
        if (changed.written || changed.scope != scope || lowerCase(changed.name) != name) continue;
        changed.written = true;
        names_ += defined.opening();
        appendEscaped(names_, fileFormula(changed.formula));
        names_ += defined.closing();
        replacing_ = true; // what it was is left out up to its end
        return;
    }
    names_.append(defined.isEmpty() ? defined.alone() : defined.opening());
}

void WorkbookEdit::close(int depth, std::string_view raw)
{
    if (skipped_ > 0) {
        if (depth == skipped_) skipped_ = 0;
        return;
    }
    if (replacing_) {
        if (depth == 3) replacing_ = false;
        return;
    }
    if (depth == 2 && inNames_) return closeNames();
    if (depth == 2 && inSheets_) {
        appendAddedSheets();
        inSheets_ = false;
    }
    if (depth == 1) addMissing();
    (inNames_ ? names_ : out).append(raw);
}

void WorkbookEdit::text(std::string_view raw, std::string_view)
{
    if (skipped_ > 0 || replacing_) return;
    (inNames_ ? names_ : out).append(raw);
}

void WorkbookEdit::appendAddedSheets()
{
    for (const WorkbookChanges::Added& added : changes_.added) {
        out.append("<").append(prefix_).append("sheet").append(idNamespace_).append(" name=\"");
        appendEscaped(out, added.name);
        out.append("\" sheetId=\"").append(std::to_string(++highestId_));
        out.append("\" ").append(idAttribute_).append("=\"").append(added.relationship).append("\"/>");
    }
}

void WorkbookEdit::closeNames()
{
    inNames_ = false;
    names_ += newNames();
    if (names_.find('<') != std::string::npos) out.append(namesBegin_).append(names_).append(namesEnd_);
}

/// The changed names that the part does not have.
std::string WorkbookEdit::newNames() const
{
    std::string made;
    for (const WorkbookChanges::Name& name : changes_.names) {
        if (name.written) continue;
        made.append("<").append(prefix_).append("definedName name=\"");
        appendEscaped(made, name.name);
        made += '"';
        if (name.scope) made.append(" localSheetId=\"").append(std::to_string(*name.scope)).append("\"");
        made += '>';
        appendEscaped(made, fileFormula(name.formula));
        made.append("</").append(prefix_).append("definedName>");
    }
    return made;
}

void WorkbookEdit::addNames()
{
    if (namesSeen_) return;
    namesSeen_ = true;
    const std::string made = newNames();
    if (made.empty()) return;
    out.append("<").append(prefix_).append("definedNames>").append(made);
    out.append("</").append(prefix_).append("definedNames>");
}

void WorkbookEdit::addMissing()
{
    addNames();
    if (calculationSeen_) return;
    calculationSeen_ = true;
    out.append("<").append(prefix_).append("calcPr fullCalcOnLoad=\"1\"/>");
}

void ListEdit::open(const Tag& tag, std::string_view raw)
{
    if (tag.depth == 1) {
        const RawTag root(raw);
        prefix_ = root.prefix();
        if (root.isEmpty()) end_ = root.closing();
        out.append(root.isEmpty() ? root.opening() : std::string(raw));
        return;
    }
    if (tag.depth == 2) {
        const char* value = tag.attribute(attribute_.c_str());
        skipping_ = value && removed_.count(lowerCase(value)) != 0;
    }
    if (!skipping_) out.append(raw);
}

void ListEdit::close(int depth, std::string_view raw)
{
    if (depth == 1) {
        for (const std::string& item : added_) out.append("<").append(prefix_).append(item).append("/>");
        out.append(end_);
    }
    if (!skipping_) out.append(raw);
    if (depth == 2) skipping_ = false;
}

void TableEdit::open(const Tag& tag, std::string_view raw)
{
    if (tag.depth == 2) inColumns_ = tag.isMain("tableColumns");
    if (tag.depth == 3 && inColumns_ && tag.isMain("tableColumn")) {
        const std::size_t at = listed_++;
        const char* name = tag.attribute("name");
        if (name && at < columns_.size() && unescaped(name) != columns_[at]) {
            std::string escaped;
            appendColumnName(escaped, columns_[at]);
            out.append(withAttribute(raw, "name", escaped));
            changed_ = true;
            return;
        }
    }
    out.append(raw);
    inFormula_ = tag.depth == 4 && inColumns_ &&
                 (tag.isMain("calculatedColumnFormula") || tag.isMain("totalsRowFormula"));
}

void TableEdit::close(int depth, std::string_view raw)
{
    if (inFormula_ && depth == 4) closeFormula();
    out.append(raw);
}

void TableEdit::text(std::string_view raw, std::string_view value)
{
    (inFormula_ ? written_ : out).append(raw);
    if (inFormula_) formula_.append(value);
}

void TableEdit::closeFormula()
{
    const CellAddress anywhere;
    ParseResult parsed = parseFormula(unescaped(trimmed(formula_)), anywhere);
    Tree* tree = std::get_if<Tree>(&parsed);
    bool follows = false;
    for (const RenamedColumns& renamed : renamed_)
        follows = (tree && renameColumnsIn(*tree, renamed)) || follows;
    if (follows)
        appendEscaped(out, fileFormula(formulaText(*tree, anywhere)));
    else
        out.append(written_);
    changed_ = changed_ || follows;
    inFormula_ = false;
    written_.clear();
    formula_.clear();
}

} // namespace varnex3::sheet::xlsx
