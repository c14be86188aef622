// sheet/xlsx/PackageEdits.h - edits of the parts that list the sheets: workbook, relationships, content
// types; and of tables.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sheet/compile/Structured.h"
#include "sheet/xlsx/XmlCopy.h"

namespace varnex3::sheet::xlsx {

/// What becomes of the list of sheets and of the defined names.
struct WorkbookChanges {
    struct Listed { // a sheet of the file, chart sheets included, in file order
        bool removed = false;
        std::optional<std::string> newName;
        std::uint32_t position = 0; // afterwards
    };
    struct Added {
        std::string name, relationship;
    };
    struct Name {
        std::string name;
        std::optional<std::uint32_t> scope; // position of its sheet afterwards
        std::string formula;                // without "="
        bool written = false;
    };
    std::vector<Listed> sheets;
    std::vector<Added> added;
    std::vector<Name> names;
};

/// The workbook part with its sheets and names changed; asks programs to calculate when they open it.
class WorkbookEdit final : public XmlEdit {
public:
    explicit WorkbookEdit(const WorkbookChanges& changes) : changes_(changes) {}

    void open(const Tag& tag, std::string_view raw) override;
    void close(int depth, std::string_view raw) override;
    void text(std::string_view raw, std::string_view value) override;

private:
    bool openSection(const Tag& tag, std::string_view raw);
    void openView(const Tag& tag, std::string_view raw);
    void openSheet(const Tag& tag, std::string_view raw);
    void openName(const Tag& tag, std::string_view raw);
    void appendAddedSheets();
    std::string newNames() const;
    void addNames();
    void closeNames();
    void addMissing();

    WorkbookChanges changes_;
    std::string prefix_, idAttribute_ = "r:id";
    std::string idNamespace_; // the declaration of its prefix, where every sheet brings its own
    std::string names_;       // the content of <definedNames>, written when there is any
    std::string namesBegin_, namesEnd_;
    std::uint32_t highestId_ = 0;
    std::size_t listed_ = 0;
    int skipped_ = 0; // depth of the element that is left out; 0 for none
    bool inSheets_ = false, inNames_ = false, inViews_ = false;
    bool namesSeen_ = false, calculationSeen_ = false, replacing_ = false;
};

/// Leaves elements out by the value of one attribute, and adds others at the end: relationships by "Id",
/// content types by "PartName". Values are compared without regard to case.
class ListEdit final : public XmlEdit {
public:
    ListEdit(std::string attribute, std::set<std::string> removed, std::vector<std::string> added)
        : attribute_(std::move(attribute)), removed_(std::move(removed)), added_(std::move(added))
    {}

    void open(const Tag& tag, std::string_view raw) override;
    void close(int depth, std::string_view raw) override;

private:
    std::string attribute_;
    std::set<std::string> removed_;  // in lower case
    std::vector<std::string> added_; // without "<", prefix and "/>"
    std::string prefix_, end_;       // end_: of a root that was an empty element
    bool skipping_ = false;
};

/// A table part with other names for its columns, and formulas that refer to columns by their new names.
class TableEdit final : public XmlEdit {
public:
    /// `columns` has the names of this table's columns, `renamed` what changes in all tables.
    TableEdit(std::vector<std::string> columns, std::vector<RenamedColumns> renamed)
        : columns_(std::move(columns)), renamed_(std::move(renamed))
    {}

    void open(const Tag& tag, std::string_view raw) override;
    void close(int depth, std::string_view raw) override;
    void text(std::string_view raw, std::string_view value) override;
    void other(std::string_view raw) override { (inFormula_ ? written_ : out).append(raw); }

    bool changed() const { return changed_; }

private:
    void closeFormula();

    std::vector<std::string> columns_;
    std::vector<RenamedColumns> renamed_;
    std::string written_, formula_; // the formula that is being read: as written, and what that means
    std::size_t listed_ = 0;
    bool inColumns_ = false, inFormula_ = false, changed_ = false;
};

std::string lowerCase(std::string text);

} // namespace varnex3::sheet::xlsx
