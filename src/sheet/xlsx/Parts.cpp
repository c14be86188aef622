// sheet/xlsx/Parts.cpp - workbook, styles and shared strings.
#include "sheet/xlsx/Parts.h"

#include <algorithm>

#include "sheet/format/NumberFormat.h"
#include "sheet/xlsx/Text.h"

namespace varnex3::sheet::xlsx {

namespace {

constexpr int kNoticesPerKind = 25;
constexpr std::size_t kKeptBytes = 64; // bookkeeping of one kept text, counted against the limit of texts
constexpr int kMaxIterations = 32767;

std::string textOf(const char* attribute) { return attribute ? std::string(attribute) : std::string(); }

class WorkbookHandler final : public XmlHandler {
public:
    WorkbookHandler(Package& package, WorkbookPart& result) : package_(package), result_(result) {}

    bool open(const Tag& tag) override
    {
        if (!tag.isMain()) return false;
        switch (tag.depth) {
        case 1:
            if (tag.name != "workbook") throw XmlProblem{"it is no workbook part"};
            result_.strict = tag.isStrict();
            return true;
        case 2: return openSection(tag);
        case 3: return openItem(tag);
        default: return false;
        }
    }
    void close(int depth) override
    {
        if (depth == 2) section_ = Section::None;
        if (depth != 3 || section_ != Section::Names) return;
        name_.formula = unescaped(trimmed(text_));
        package_.chargeText(name_.name.size() + name_.formula.size() + kKeptBytes);
        result_.names.push_back(std::move(name_));
    }
    void text(std::string_view piece) override
    {
        if (section_ != Section::Names) return;
        text_.append(piece);
        if (text_.size() > package_.limits().textBytes) throw XmlProblem{"a defined name is too long"};
    }
    std::string where() const override { return {}; }

private:
    enum class Section { None, Sheets, Names, Links };

    bool openSection(const Tag& tag)
    {
        if (tag.name == "workbookPr") {
            if (parseFlag(tag.attribute("date1904"), false))
                result_.settings.dates = DateSystem::From1904;
            else
                result_.isoDates = !parseFlag(tag.attribute("dateCompatibility"), true);
        } else if (tag.name == "calcPr") {
            readCalculation(tag);
        } else if (tag.name == "sheets") {
            section_ = Section::Sheets;
        } else if (tag.name == "definedNames") {
            section_ = Section::Names;
        } else if (tag.name == "externalReferences") {
            section_ = Section::Links;
        }
        return section_ != Section::None;
    }

    bool openItem(const Tag& tag)
    {
        if (section_ == Section::Sheets && tag.name == "sheet") {
            ListedSheet sheet{unescaped(textOf(tag.attribute("name"))), textOf(tag.qualified("id"))};
            package_.chargeText(sheet.name.size() + sheet.relationship.size() + kKeptBytes);
            result_.sheets.push_back(std::move(sheet));
        } else if (section_ == Section::Links && tag.name == "externalReference") {
            result_.externalLinks.push_back(textOf(tag.qualified("id")));
            package_.chargeText(result_.externalLinks.back().size() + kKeptBytes);
        } else if (section_ == Section::Names && tag.name == "definedName") {
            name_ = {};
            name_.name = unescaped(textOf(tag.attribute("name")));
            if (const char* local = tag.attribute("localSheetId"))
                name_.localSheet = parseIndex(local).value_or(UINT32_MAX);
            name_.macro = parseFlag(tag.attribute("function"), false) ||
                          parseFlag(tag.attribute("vbProcedure"), false) ||
                          parseFlag(tag.attribute("xlm"), false);
            text_.clear();
            return true;
        }
        return false;
    }

    void readCalculation(const Tag& tag)
    {
        CalculationSettings& settings = result_.settings;
        settings.manual = textOf(tag.attribute("calcMode")) == "manual";
        settings.iterate = parseFlag(tag.attribute("iterate"), false);
        result_.asShown = !parseFlag(tag.attribute("fullPrecision"), true);
        if (const auto count = parseIndex(textOf(tag.attribute("iterateCount"))))
            settings.maxIterations = static_cast<int>(std::clamp<std::uint32_t>(*count, 1, kMaxIterations));
        if (const auto delta = parseDouble(textOf(tag.attribute("iterateDelta"))))
            settings.maxChange = std::max(*delta, 0.0);
    }

    Package& package_;
    WorkbookPart& result_;
    Section section_ = Section::None;
    ListedName name_;
    std::string text_;
};

class TableHandler final : public XmlHandler {
public:
    TableHandler(Package& package, TablePart& result) : package_(package), result_(result) {}

    bool open(const Tag& tag) override
    {
        if (!tag.isMain()) return false;
        Table& table = result_.table;
        if (tag.depth == 1) {
            if (tag.name != "table") throw XmlProblem{"it is no table part"};
            const char* name = tag.attribute("displayName");
            table.name = unescaped(textOf(name ? name : tag.attribute("name")));
            if (const auto area = parseArea(textOf(tag.attribute("ref")))) {
                table.area = *area;
                placed_ = true;
            }
            table.headerRows = count(tag.attribute("headerRowCount"), 1);
            table.totalsRows = count(tag.attribute("totalsRowCount"), 0);
            return true;
        }
        if (tag.depth == 2) {
            columns_ = tag.name == "tableColumns";
            return columns_ || tag.name == "autoFilter";
        }
        if (columns_ && tag.name == "tableColumn") {
            table.columns.push_back(unescaped(textOf(tag.attribute("name"))));
            package_.chargeText(table.columns.back().size() + kKeptBytes);
        }
        if (!columns_ && tag.name == "filterColumn") result_.filtered = true;
        return false;
    }
    void close(int depth) override
    {
        if (depth != 1) return;
        const Table& table = result_.table;
        result_.sound = placed_ && !table.name.empty() &&
                        table.columns.size() == static_cast<std::size_t>(table.area.cols()) &&
                        table.headerRows + table.totalsRows <= table.area.rows();
    }

private:
    static std::int32_t count(const char* attribute, std::int32_t otherwise)
    {
        const auto rows = attribute ? parseIndex(attribute) : std::nullopt;
        return rows ? static_cast<std::int32_t>(std::min<std::uint32_t>(*rows, kMaxRows)) : otherwise;
    }

    Package& package_;
    TablePart& result_;
    bool placed_ = false, columns_ = false;
};

// Formats that files refer to by number without listing them; those of the East Asian versions
// (27-36, 50-58) show dates too.
bool isBuiltinDate(std::uint32_t id)
{
    return (id >= 14 && id <= 22) || (id >= 27 && id <= 36) || (id >= 45 && id <= 47) ||
           (id >= 50 && id <= 58);
}

class StylesHandler final : public XmlHandler {
public:
    StylesHandler(Package& package, std::vector<bool>& dates) : package_(package), dates_(dates) {}

    bool open(const Tag& tag) override
    {
        if (!tag.isMain()) return false;
        if (tag.depth == 1) {
            if (tag.name != "styleSheet") throw XmlProblem{"it is no styles part"};
            return true;
        }
        if (tag.depth == 2) {
            formats_ = tag.name == "numFmts";
            return formats_ || tag.name == "cellXfs";
        }
        const auto id = parseIndex(textOf(tag.attribute("numFmtId")));
        if (formats_ && tag.name == "numFmt" && id) {
            package_.chargeText(kKeptBytes);
            listed_[*id] = isDateFormat(unescaped(textOf(tag.attribute("formatCode"))));
        } else if (!formats_ && tag.name == "xf") {
            const auto found = id ? listed_.find(*id) : listed_.end();
            dates_.push_back(found != listed_.end() ? found->second : id && isBuiltinDate(*id));
        }
        return false;
    }
    void close(int) override {}

private:
    Package& package_;
    std::vector<bool>& dates_;
    std::unordered_map<std::uint32_t, bool> listed_; // number format to whether it shows dates
    bool formats_ = false;
};

class SharedStringsHandler final : public XmlHandler {
public:
    explicit SharedStringsHandler(Package& package) : package_(package) {}

    bool open(const Tag& tag) override
    {
        if (tag.depth > 2) return text_.open(tag, tag.depth - 2);
        if (tag.depth == 1 && !tag.isMain("sst")) throw XmlProblem{"it is no part of shared texts"};
        if (tag.depth == 2 && !tag.isMain("si")) return false;
        text_.begin();
        return true;
    }
    void close(int depth) override
    {
        if (depth > 2) {
            text_.close(depth - 2);
        } else if (depth == 2) {
            package_.chargeText(text_.size() + kKeptBytes);
            texts.emplace_back(text_.result());
        }
    }
    void text(std::string_view piece) override
    {
        text_.text(piece);
        if (text_.size() > package_.limits().textBytes) throw XmlProblem{"a shared text is too long"};
    }
    std::string where() const override { return "shared text " + std::to_string(texts.size()); }

    std::vector<Value> texts;

private:
    Package& package_;
    RichText text_;
};

} // namespace

void Notices::tell(const std::string& kind, std::string where, std::string what)
{
    const int count = ++told_[kind];
    if (count <= kNoticesPerKind)
        builder_.notice(std::move(where), std::move(what));
    else if (count == kNoticesPerKind + 1)
        builder_.notice(std::move(where), std::move(what) + " (further ones of this kind are not listed)");
}

WorkbookPart readWorkbookPart(Package& package, const std::string& part)
{
    WorkbookPart result;
    WorkbookHandler handler(package, result);
    package.read(part, handler);
    return result;
}

TablePart readTable(Package& package, const std::string& part)
{
    TablePart result;
    TableHandler handler(package, result);
    package.read(part, handler);
    return result;
}

Styles::Styles(Package& package, const std::string& part)
{
    StylesHandler handler(package, dates_);
    package.read(part, handler);
}

std::vector<Value> readSharedStrings(Package& package, const std::string& part)
{
    SharedStringsHandler handler(package);
    package.read(part, handler);
    return std::move(handler.texts);
}

} // namespace varnex3::sheet::xlsx
