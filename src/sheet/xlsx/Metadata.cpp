// sheet/xlsx/Metadata.cpp - entries for formulas that spill [MS-XLSX, 2.4.60].
#include "sheet/xlsx/Metadata.h"

#include <algorithm>

#include "sheet/xlsx/Text.h"

namespace varnex3::sheet::xlsx {
namespace {

constexpr std::string_view kKind = "XLDAPR"; // properties of dynamic arrays
constexpr std::string_view kSpace = "http://schemas.microsoft.com/office/spreadsheetml/2017/dynamicarray";
constexpr std::size_t kMostEntries = 1'000'000;

std::string_view orEmpty(const char* attribute)
{
    return attribute ? std::string_view(attribute) : std::string_view();
}

class MetadataHandler final : public XmlHandler {
public:
    explicit MetadataHandler(CellMetadata& found) : found_(found) {}

    bool open(const Tag& tag) override
    {
        switch (tag.depth) {
        case 1:
            if (!tag.isMain("metadata")) throw XmlProblem{"it is no metadata part"};
            return true;
        case 2: return openList(tag);
        case 3: return openEntry(tag);
        default: return openContent(tag);
        }
    }

    void close(int depth) override
    {
        if (depth != 3 || (list_ != List::Records && list_ != List::Cells)) return;
        if (list_ == List::Records) {
            if (spills_ && !found_.record) found_.record = found_.records;
            records_.push_back(spills_);
            found_.records = static_cast<std::uint32_t>(records_.size());
        } else {
            if (cells_.size() == kMostEntries) throw XmlProblem{"more than a million entries"};
            cells_.push_back(reference_);
        }
    }

    /// The lists may come in any order: references are looked up at the end.
    void finish()
    {
        for (const auto& [type, record] : cells_)
            found_.spills.push_back(type != 0 && type == found_.type && record < records_.size() &&
                                    records_[record]);
    }

private:
    enum class List { None, Types, Records, Cells };
    struct Reference {
        std::uint32_t type = 0, record = 0;
    };

    bool openList(const Tag& tag)
    {
        list_ = List::None;
        if (tag.isMain("metadataTypes")) {
            list_ = List::Types;
            found_.listsTypes = true;
        } else if (tag.isMain("futureMetadata") && orEmpty(tag.attribute("name")) == kKind) {
            list_ = List::Records;
            found_.listsRecords = true;
        } else if (tag.isMain("cellMetadata")) {
            list_ = List::Cells;
            found_.listsCells = true;
        }
        return list_ != List::None;
    }

    bool openEntry(const Tag& tag)
    {
        if (list_ == List::Types) {
            if (!tag.isMain("metadataType")) return false;
            ++found_.types;
            if (orEmpty(tag.attribute("name")) == kKind && found_.type == 0) found_.type = found_.types;
            return false;
        }
        spills_ = false;
        reference_ = {};
        if (records_.size() == kMostEntries) throw XmlProblem{"more than a million entries"};
        return tag.isMain("bk");
    }

    bool openContent(const Tag& tag)
    {
        if (list_ == List::Cells && tag.isMain("rc") && reference_.type == 0) {
            reference_.type = parseIndex(orEmpty(tag.attribute("t"))).value_or(0);
            reference_.record = parseIndex(orEmpty(tag.attribute("v"))).value_or(UINT32_MAX);
        }
        if (list_ == List::Records && tag.name == "dynamicArrayProperties" && tag.space == kSpace)
            spills_ = spills_ || parseFlag(tag.attribute("fDynamic"), false);
        return list_ == List::Records;
    }

    CellMetadata& found_;
    List list_ = List::None;
    bool spills_ = false;
    Reference reference_;
    std::vector<bool> records_;
    std::vector<Reference> cells_;
};

} // namespace

std::uint32_t CellMetadata::spillingEntry() const
{
    const auto found = std::find(spills.begin(), spills.end(), true);
    return found == spills.end() ? 0 : static_cast<std::uint32_t>(found - spills.begin()) + 1;
}

CellMetadata readCellMetadata(Package& package, const std::string& part)
{
    CellMetadata found;
    if (part.empty() || !package.has(part)) return found;
    found.present = true;
    MetadataHandler handler(found);
    package.read(part, handler);
    handler.finish();
    return found;
}

// --- The edit ---------------------------------------------------------------------------------------------

MetadataEdit::List MetadataEdit::listOf(const Tag& tag) const
{
    if (tag.isMain("metadataTypes") && known_.type == 0) return List::Types;
    if (tag.isMain("futureMetadata") && orEmpty(tag.attribute("name")) == kKind && !known_.record)
        return List::Records;
    return tag.isMain("cellMetadata") ? List::Cells : List::None;
}

void MetadataEdit::open(const Tag& tag, std::string_view raw)
{
    if (tag.depth == 1) {
        const RawTag root(raw);
        prefix_ = root.prefix();
        if (root.isEmpty()) end_ = root.closing();
        out.append(root.isEmpty() ? root.opening() : std::string(raw));
        return;
    }
    if (tag.depth != 2) {
        out.append(raw);
        return;
    }
    // The order of the lists is laid down [ECMA-376, 18.9.11].
    if (!tag.isMain("metadataTypes")) addMissing(List::Types);
    if (tag.isMain("cellMetadata") || tag.isMain("valueMetadata") || tag.isMain("extLst"))
        addMissing(List::Records);
    if (tag.isMain("valueMetadata") || tag.isMain("extLst")) addMissing(List::Cells);
    list_ = listOf(tag);
    if (list_ == List::None) {
        out.append(raw);
    } else {
        openList(raw, list_);
    }
}

void MetadataEdit::openList(std::string_view raw, List list)
{
    RawTag tag(raw);
    const std::size_t entries = list == List::Types     ? known_.types
                                : list == List::Records ? known_.records
                                                        : known_.spills.size();
    tag.set("count", std::to_string(entries + 1));
    made_ = tag.isEmpty();
    if (made_) end_ = tag.closing();
    out.append(tag.opening());
}

void MetadataEdit::close(int depth, std::string_view raw)
{
    if (depth == 2 && list_ != List::None) {
        out.append(list_ == List::Types     ? typeElement()
                   : list_ == List::Records ? recordElement()
                                            : entryElement());
        if (list_ == List::Types) typesDone_ = true;
        if (list_ == List::Records) recordsDone_ = true;
        if (list_ == List::Cells) cellsDone_ = true;
        list_ = List::None;
        out.append(made_ ? std::string_view(end_) : raw);
        made_ = false;
        return;
    }
    if (depth == 1) {
        for (const List list : {List::Types, List::Records, List::Cells}) addMissing(list);
        if (raw.empty()) {
            out.append(end_);
            return;
        }
    }
    out.append(raw);
}

/// A list that the part does not have is made where it belongs.
void MetadataEdit::addMissing(List list)
{
    const auto listed = [&](std::string_view name, const std::string& attributes,
                            const std::string& content) {
        out.append("<").append(prefix_).append(name).append(attributes).append(" count=\"1\">");
        out.append(content).append("</").append(prefix_).append(name).append(">");
    };
    if (list == List::Types && !typesDone_ && !known_.listsTypes) {
        typesDone_ = true;
        listed("metadataTypes", "", typeElement());
    }
    if (list == List::Records && !recordsDone_ && !known_.listsRecords) {
        recordsDone_ = true;
        listed("futureMetadata", " name=\"" + std::string(kKind) + "\"", recordElement());
    }
    if (list == List::Cells && !cellsDone_ && !known_.listsCells) {
        cellsDone_ = true;
        listed("cellMetadata", "", entryElement());
    }
}

std::string MetadataEdit::typeElement() const
{
    return "<" + prefix_ + "metadataType name=\"" + std::string(kKind) +
           "\" minSupportedVersion=\"120000\" copy=\"1\" pasteAll=\"1\" pasteValues=\"1\" merge=\"1\" "
           "splitFirst=\"1\" rowColShift=\"1\" clearFormats=\"1\" clearComments=\"1\" assign=\"1\" "
           "coerce=\"1\" cellMeta=\"1\"/>";
}

std::string MetadataEdit::recordElement() const
{
    const std::string in = "<" + prefix_, end = "</" + prefix_;
    return in + "bk>" + in + "extLst>" + in + "ext uri=\"{bdbb8cdc-fa1e-496e-a857-3c3f30c029c3}\">" +
           "<xda:dynamicArrayProperties xmlns:xda=\"" + std::string(kSpace) +
           "\" fDynamic=\"1\" fCollapsed=\"0\"/>" + end + "ext>" + end + "extLst>" + end + "bk>";
}

std::string MetadataEdit::entryElement() const
{
    const std::uint32_t type = known_.type != 0 ? known_.type : known_.types + 1;
    const std::uint32_t record = known_.record ? *known_.record : known_.records;
    return "<" + prefix_ + "bk><" + prefix_ + "rc t=\"" + std::to_string(type) + "\" v=\"" +
           std::to_string(record) + "\"/></" + prefix_ + "bk>";
}

std::string spillMetadataPart(bool strict)
{
    MetadataEdit edit{CellMetadata{}};
    XmlCopier(edit).parse("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                          "<metadata xmlns=\"" +
                              std::string(strict
                                              ? "http://purl.oclc.org/ooxml/spreadsheetml/main"
                                              : "http://schemas.openxmlformats.org/spreadsheetml/2006/main") +
                              "\"/>",
                          true);
    return edit.out;
}

} // namespace varnex3::sheet::xlsx
