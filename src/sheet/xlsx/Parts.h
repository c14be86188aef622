// sheet/xlsx/Parts.h - the parts that stand beside the sheets: workbook, styles, shared strings.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "sheet/model/BookBuilder.h"
#include "sheet/value/Table.h"
#include "sheet/xlsx/Package.h"

namespace varnex3::sheet::xlsx {

/// The list that the user sees; repetitions are cut short so that a file cannot flood it.
class Notices {
public:
    explicit Notices(BookBuilder& builder) : builder_(builder) {}

    /// `kind` groups notices that say the same of different places.
    void tell(const std::string& kind, std::string where, std::string what);

private:
    BookBuilder& builder_;
    std::unordered_map<std::string, int> told_;
};

struct ListedSheet {
    std::string name;
    std::string relationship; // id
};

struct ListedName {
    std::string name;
    std::optional<std::uint32_t> localSheet; // position among all sheets, chart sheets included
    std::string formula;
    bool macro = false; // a macro that formulas call by this name
};

/// What the workbook part says.
struct WorkbookPart {
    CalculationSettings settings;
    std::vector<ListedSheet> sheets;
    std::vector<ListedName> names;
    std::vector<std::string> externalLinks; // relationship ids in the order that formulas count them
    bool asShown = false;                   // numbers are to be rounded as their formats show them
    bool isoDates = false;                  // 1900 is no leap year
    bool strict = false;                    // in the vocabulary of the standard's strict form
};
WorkbookPart readWorkbookPart(Package& package, const std::string& part);

/// What a table part says; its sheet is not told there.
struct TablePart {
    Table table;
    bool filtered = false; // a filter hides some of its rows
    bool sound = false;    // as many columns as its area has, and rows for headers and totals
};
TablePart readTable(Package& package, const std::string& part);

/// Which cell formats show dates, by their position.
class Styles {
public:
    Styles() = default;
    Styles(Package& package, const std::string& part);

    bool showsDate(std::uint32_t format) const { return format < dates_.size() && dates_[format]; }

private:
    std::vector<bool> dates_;
};

/// The shared texts in order.
std::vector<Value> readSharedStrings(Package& package, const std::string& part);

} // namespace varnex3::sheet::xlsx
