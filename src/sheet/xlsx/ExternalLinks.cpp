// sheet/xlsx/ExternalLinks.cpp - the parts that hold what was last read of other books.
#include "sheet/xlsx/ExternalLinks.h"

#include "sheet/xlsx/Markup.h"
#include "sheet/xlsx/Text.h"

namespace varnex3::sheet::xlsx {
namespace {

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr std::size_t kKeptBytes = 96; // bookkeeping of one kept cell, counted against the limit of texts

std::string textOf(const char* attribute) { return attribute ? std::string(attribute) : std::string(); }

class LinkHandler final : public XmlHandler {
public:
    LinkHandler(Package& package, BookBuilder& builder, std::size_t link, DateSystem dates)
        : package_(package), builder_(builder), link_(link), dates_(dates)
    {}

    bool open(const Tag& tag) override
    {
        if (!tag.isMain()) return false;
        switch (tag.depth) {
        case 1: return tag.name == "externalLink";
        case 2: return openLink(tag);
        case 3: return tag.name == "sheetNames" || tag.name == "definedNames" || tag.name == "sheetDataSet";
        case 4: return openItem(tag);
        case 5: return tag.name == "row";
        case 6: return tag.name == "cell" && openCell(tag);
        case 7: inValue_ = tag.name == "v"; return inValue_;
        default: return false;
        }
    }
    void close(int depth) override
    {
        if (depth == 7) inValue_ = false;
        if (depth != 6) return;
        package_.chargeText(value_.size() + kKeptBytes);
        if (Value value = valueOf(); !value.isEmpty())
            builder_.externalCell(at_.row, at_.col, std::move(value));
    }
    void text(std::string_view piece) override
    {
        if (!inValue_) return;
        value_.append(piece);
        if (value_.size() > package_.limits().textBytes) throw XmlProblem{"the cell's text is too long"};
    }

    std::string relationship; // id of what leads to the book
    std::string program;      // "Excel|topic" of a link to another program

private:
    bool openLink(const Tag& tag)
    {
        if (tag.name == "ddeLink")
            program = textOf(tag.attribute("ddeService")) + "|" + textOf(tag.attribute("ddeTopic"));
        if (tag.name == "oleLink") program = textOf(tag.attribute("progId"));
        relationship = textOf(tag.qualified("id"));
        return tag.name == "externalBook";
    }

    bool openItem(const Tag& tag)
    {
        if (tag.name == "sheetName") {
            sheets_.push_back(unescaped(textOf(tag.attribute("val"))));
            package_.chargeText(sheets_.back().size() + kKeptBytes);
        } else if (tag.name == "definedName") {
            std::string name = unescaped(textOf(tag.attribute("name"))),
                        formula = unescaped(textOf(tag.attribute("refersTo")));
            package_.chargeText(name.size() + formula.size() + kKeptBytes);
            if (!name.empty() && !formula.empty())
                builder_.externalName(link_, std::move(name), std::move(formula));
        } else if (tag.name == "sheetData") {
            // Values that could not be read the last time are none.
            const auto sheet = parseIndex(textOf(tag.attribute("sheetId")));
            if (!sheet || *sheet >= sheets_.size() || parseFlag(tag.attribute("refreshError"), false))
                return false;
            builder_.externalSheet(link_, sheets_[*sheet]);
            return true;
        }
        return false;
    }

    bool openCell(const Tag& tag)
    {
        const auto place = parseCell(textOf(tag.attribute("r")));
        if (!place) return false;
        at_ = *place;
        type_ = textOf(tag.attribute("t"));
        value_.clear();
        return true;
    }

    Value valueOf() const
    {
        if (type_ == "str" || type_ == "inlineStr") return Value(unescaped(value_));
        const std::string_view text = trimmed(value_);
        if (text.empty()) return {};
        if (type_ == "b") return text == "1" || text == "true";
        if (type_ == "e") return parseFailure(text).value_or(Failure::Value);
        const auto number = type_ == "d" ? serialFromIso(text, dates_) : parseDouble(text);
        return number ? Value(*number) : Value(unescaped(text));
    }

    Package& package_;
    BookBuilder& builder_;
    std::size_t link_;
    DateSystem dates_;
    std::vector<std::string> sheets_;
    Position at_;
    std::string type_, value_;
    bool inValue_ = false;
};

} // namespace

void tellExternalLinks(Package& package, const std::vector<std::string>& parts, BookBuilder& builder,
                       Notices& notices, DateSystem dates)
{
    for (std::size_t i = 0; i < parts.size(); ++i) {
        std::string path = "(no path given)";
        if (!parts[i].empty()) {
            LinkHandler link(package, builder, i, dates);
            if (package.has(parts[i])) package.read(parts[i], link);
            bool found = false;
            for (const Relationship& r : package.relationships(parts[i])) {
                if (!r.external || found) continue;
                path = r.target;
                found = r.id == link.relationship;
            }
            if (!link.program.empty()) {
                path = link.program;
                notices.tell("program link", "link " + path,
                             "values from other programs are not fetched: cells that use them keep their "
                             "stored values");
            }
        }
        builder.externalLink(std::move(path));
    }
}

std::string externalLinkPart(const OtherBook& book)
{
    std::string names, data;
    for (std::size_t i = 0; i < book.sheets.size(); ++i) {
        names += "<sheetName val=\"";
        appendEscaped(names, book.sheets[i].name);
        names += "\"/>";
        data.append("<sheetData sheetId=\"").append(std::to_string(i)).append("\">");
        std::int32_t row = -1;
        for (const auto& [at, value] : book.sheets[i].cells) {
            if (at.row != row)
                data.append(row < 0 ? "" : "</row>")
                    .append("<row r=\"")
                    .append(std::to_string(at.row + 1))
                    .append("\">");
            row = at.row;
            data += "<cell r=\"";
            appendCellName(data, at.row, at.col);
            data += '"';
            if (const std::string_view type = cellType(value, true); !type.empty())
                data.append(" t=\"").append(type).append("\"");
            data += '>';
            appendValue(data, value, true, "");
            data += "</cell>";
        }
        data += row < 0 ? "</sheetData>" : "</row></sheetData>";
    }
    const std::string sheets =
        names.empty() ? ""
                      : "<sheetNames>" + names + "</sheetNames><sheetDataSet>" + data + "</sheetDataSet>";
    return std::string(kDeclaration) +
           "<externalLink xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><externalBook "
           "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\" r:id=\"rId1\">" +
           sheets + "</externalBook></externalLink>";
}

std::string externalLinkRelationships(const OtherBook& book)
{
    std::string target;
    appendEscaped(target, book.target);
    for (std::size_t at = 0; (at = target.find(' ', at)) != std::string::npos;) target.replace(at, 1, "%20");
    return std::string(kDeclaration) +
           "<Relationships "
           "xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"><Relationship "
           "Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/"
           "externalLinkPath\" Target=\"" +
           target + "\" TargetMode=\"External\"/></Relationships>";
}

} // namespace varnex3::sheet::xlsx
