// sheet/xlsx/Reader.cpp - a workbook file from its first part to its last cell.
//
// Order of calls on the builder: settings, sheets, names, then the cells sheet by sheet.
#include "sheet/xlsx/Reader.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "sheet/xlsx/ExternalLinks.h"
#include "sheet/xlsx/Package.h"
#include "sheet/xlsx/Parts.h"
#include "sheet/xlsx/SheetPart.h"
#include "sheet/xlsx/Text.h"

namespace varnex3::sheet {

namespace {

using xlsx::Package;
using xlsx::Relationship;

constexpr std::size_t kMaxSheets = 65535;
constexpr int kMaxTables = 10000;

std::string lowerCase(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

// The one inner part of that type, or "".
std::string partOfType(const std::vector<Relationship>& all, std::string_view type)
{
    for (const Relationship& r : all)
        if (r.type == type && !r.external) return r.target;
    return {};
}

std::string quoted(const std::string& name) { return "sheet \"" + name + "\""; }

class WorkbookReader {
public:
    WorkbookReader(Package& package, BookBuilder& builder)
        : package_(package), builder_(builder), notices_(builder)
    {}

    void read()
    {
        const std::string part = workbookPart();
        workbook_ = xlsx::readWorkbookPart(package_, part);
        relationships_ = package_.relationships(part);
        for (const Relationship& r : relationships_) byId_.try_emplace(r.id, &r);
        builder_.settings(workbook_.settings);
        addSheets();
        defineNames();
        tellBookFeatures();
        for (const Sheet& sheet : sheets_) tellTables(sheet);
        readCells();
    }

private:
    struct Sheet {
        SheetIndex index = 0;
        std::string name, part;
    };

    const Relationship* findById(const std::string& id) const
    {
        const auto found = byId_.find(id);
        return found == byId_.end() ? nullptr : found->second;
    }

    std::string workbookPart()
    {
        std::string part = partOfType(package_.relationships(""), "officeDocument");
        if (part.empty()) part = "xl/workbook.xml";
        if (!package_.has(part))
            package_.fail("", "this is an archive, but no .xlsx workbook (it has no part " + part +
                                  "); open it in the program that made it and save it as .xlsx");
        return part;
    }

    void addSheets()
    {
        std::unordered_set<std::string> taken;
        if (workbook_.sheets.size() > kMaxSheets)
            package_.fail("", "the workbook has more than 65535 sheets");
        for (const xlsx::ListedSheet& listed : workbook_.sheets) {
            position_.push_back({});
            if (listed.name.empty())
                package_.fail("", "a sheet of the workbook has no name; the file is damaged");
            if (!taken.insert(lowerCase(listed.name)).second)
                package_.fail("", "two sheets are called \"" + listed.name + "\"; the file is damaged");
            const Relationship* target = findById(listed.relationship);
            if (!target || target->external)
                package_.fail(quoted(listed.name),
                              "the workbook does not say which part holds it; the file is damaged");
            if (target->type != "worksheet") {
                notices_.tell("sheet type", quoted(listed.name),
                              "a " + describeType(target->type) + " has no cells and is left out");
                continue;
            }
            const SheetIndex index = builder_.addSheet(listed.name);
            position_.back() = index;
            sheets_.push_back({index, listed.name, target->target});
        }
        if (sheets_.empty()) package_.fail("", "the workbook has no worksheet");
    }

    static std::string describeType(const std::string& type)
    {
        if (type == "chartsheet") return "chart sheet";
        if (type == "dialogsheet") return "dialog sheet";
        if (type == "xlMacrosheet" || type == "xlIntlMacrosheet") return "macro sheet";
        return "sheet of type \"" + type + "\"";
    }

    void defineNames()
    {
        std::map<std::pair<std::string, std::int64_t>, bool> taken;
        for (xlsx::ListedName& listed : workbook_.names) {
            const std::string name = lowerCase(listed.name);
            const std::string where = "name " + listed.name;
            if (name.empty() || name.rfind("_xl", 0) == 0)
                continue; // the program's own: print areas, filters
            if (listed.macro) {
                notices_.tell("macro name", where, "it stands for a macro, which is not run");
                continue;
            }
            std::optional<SheetIndex> scope;
            if (listed.localSheet) {
                if (*listed.localSheet >= position_.size()) {
                    notices_.tell("name", where,
                                  "it belongs to a sheet that the file does not have and is left out");
                    continue;
                }
                scope = position_[*listed.localSheet];
                if (!scope) continue; // of a chart sheet: no formula can see it
            }
            if (!taken.try_emplace({name, scope ? std::int64_t{*scope} : -1}, true).second) {
                notices_.tell("name", where, "it is defined twice; the first definition is taken");
                continue;
            }
            builder_.defineName(std::move(listed.name), scope, std::move(listed.formula));
        }
    }

    void tellBookFeatures()
    {
        if (workbook_.asShown)
            notices_.tell("precision", "workbook",
                          "the file wants numbers rounded as shown; they are calculated in full precision");
        if (workbook_.isoDates)
            notices_.tell(
                "dates", "workbook",
                "the file counts dates by the calendar as it is; here 1900 has a 29 February, and dates "
                "before March 1900 are a day off");
        std::vector<std::string> links;
        for (const std::string& id : workbook_.externalLinks) {
            const Relationship* link = findById(id);
            links.push_back(link ? link->target : std::string());
        }
        xlsx::tellExternalLinks(package_, links, builder_, notices_, workbook_.settings.dates);
        if (!partOfType(relationships_, "vbaProject").empty())
            notices_.tell("macros", "workbook", "macros are kept, not run");
    }

    void tellSheetFeatures(const Sheet& sheet)
    {
        for (const Relationship& r : package_.relationships(sheet.part)) {
            if (r.external) continue;
            if (r.type == "pivotTable")
                notices_.tell("pivot", quoted(sheet.name),
                              "a pivot table is not refreshed: its stored values are kept");
        }
    }

    void tellTables(const Sheet& sheet)
    {
        for (const Relationship& r : package_.relationships(sheet.part)) {
            if (r.external || r.type != "table" || !package_.has(r.target)) continue;
            if (++tables_ > kMaxTables)
                package_.fail(quoted(sheet.name), "the workbook has more than 10000 tables");
            xlsx::TablePart part = xlsx::readTable(package_, r.target);
            part.table.area.sheet = sheet.index;
            if (!part.sound) {
                notices_.tell("table", quoted(sheet.name),
                              "the columns of table " + part.table.name +
                                  " do not fit its cells: references to it give #REF!");
                continue;
            }
            if (part.filtered) builder_.filtered(part.table.area);
            builder_.table(std::move(part.table));
        }
    }

    void readCells()
    {
        xlsx::Styles styles;
        const std::string stylesPart = partOfType(relationships_, "styles");
        if (package_.has(stylesPart)) styles = xlsx::Styles(package_, stylesPart);
        std::vector<Value> texts;
        const std::string textsPart = partOfType(relationships_, "sharedStrings");
        if (package_.has(textsPart)) texts = xlsx::readSharedStrings(package_, textsPart);

        const xlsx::CellMetadata metadata =
            xlsx::readCellMetadata(package_, partOfType(relationships_, "sheetMetadata"));

        xlsx::SheetContext context{
            package_, builder_, notices_, styles, texts, metadata, workbook_.settings.dates, 0};
        for (const Sheet& sheet : sheets_) {
            xlsx::readSheetPart(context, sheet.index, sheet.name, sheet.part);
            tellSheetFeatures(sheet);
        }
    }

    Package& package_;
    BookBuilder& builder_;
    xlsx::Notices notices_;
    xlsx::WorkbookPart workbook_;
    std::vector<Relationship> relationships_;
    std::unordered_map<std::string, const Relationship*> byId_; // the first of equal ones
    int tables_ = 0;
    std::vector<Sheet> sheets_;                       // worksheets in tab order
    std::vector<std::optional<SheetIndex>> position_; // of all sheets, to the builder's index
};

} // namespace

// A builder may refuse what a file asks for; the message then needs the file's name.
void readWorkbook(Package& package, BookBuilder& builder)
{
    try {
        WorkbookReader(package, builder).read();
    } catch (const FileError&) {
        throw;
    } catch (const std::runtime_error& error) {
        package.fail("", error.what());
    }
}

void readWorkbook(const std::string& path, BookBuilder& builder, const ReadLimits& limits)
{
    Package package(path, limits);
    readWorkbook(package, builder);
}

void readWorkbook(std::span<const std::byte> bytes, const std::string& name, BookBuilder& builder,
                  const ReadLimits& limits)
{
    Package package(bytes, name, limits);
    readWorkbook(package, builder);
}

} // namespace varnex3::sheet
