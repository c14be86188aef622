// sheet/xlsx/Metadata.h - the part that says of which kind cells are: here, whose formulas spill.
//
// A cell refers to an entry of the part by its number, counted from 1 ("cm"). Entries of other kinds are
// passed by.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sheet/xlsx/Package.h"
#include "sheet/xlsx/XmlCopy.h"

namespace varnex3::sheet::xlsx {

/// What a metadata part says about spilling formulas. A file without such a part has none of its entries.
struct CellMetadata {
    bool present = false;
    std::vector<bool> spills; // by entry of the cells' list

    // What an edit must know beforehand.
    std::uint32_t types = 0;             // kinds that are listed
    std::uint32_t type = 0;              // the one of spilling formulas, from 1; 0 for none
    std::uint32_t records = 0;           // of that kind
    std::optional<std::uint32_t> record; // the one that says that a formula spills, from 0
    bool listsTypes = false, listsRecords = false, listsCells = false;

    /// Whether the formula of a cell that refers to this entry spills. A file that has lost the part means
    /// nothing else by its numbers.
    bool isSpilling(std::uint32_t entry) const
    {
        return entry > 0 && (!present || (entry <= spills.size() && spills[entry - 1]));
    }
    /// The first entry that says so; 0 for none.
    std::uint32_t spillingEntry() const;
};

/// Reads the part; an absent one ("") has no entries.
CellMetadata readCellMetadata(Package& package, const std::string& part);

/// Copies a metadata part and adds an entry for spilling formulas, which becomes the last one.
class MetadataEdit final : public XmlEdit {
public:
    explicit MetadataEdit(const CellMetadata& known) : known_(known) {}

    void open(const Tag& tag, std::string_view raw) override;
    void close(int depth, std::string_view raw) override;

private:
    enum class List { None, Types, Records, Cells };

    List listOf(const Tag& tag) const;
    void openList(std::string_view raw, List list);
    void addMissing(List before);
    std::string typeElement() const;
    std::string recordElement() const;
    std::string entryElement() const;

    CellMetadata known_;
    List list_ = List::None;
    bool made_ = false; // an empty element that was opened
    bool typesDone_ = false, recordsDone_ = false, cellsDone_ = false;
    std::string prefix_, end_;
};

/// A new metadata part whose only entry is that of spilling formulas.
std::string spillMetadataPart(bool strict);

} // namespace varnex3::sheet::xlsx
