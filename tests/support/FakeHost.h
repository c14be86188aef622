// tests/support/FakeHost.h - a spreadsheet host in memory that records what is asked of it.
//
// Cells hold values; formulas and macros are C++ callbacks. Calculate runs the formulas in the order in
// which they were defined. There is no formula language, no dependency tracking, and writing a cell
// recalculates nothing.
//
// Lines of the record (a sheet of another workbook than the first reads "[Book2]Sheet1"):
//   Calculate                    ScreenUpdating=False         Book1.xlsx.Activate
//   Run macro(1, text)           StatusBar=Evaluating         Sheet1.Activate
//   Workbooks.Add                Calculation=-4135            Sheet1.Cells(2, 1)=7
//   Sheet1!$B$3.Value=2.5        Sheet1!$B$3.Formula==A1*2    Sheet1!$B$3.Select
// Reads end in a question mark: "Sheet1!$B$3.Value?", "Version?".
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/interface/Host.h"

namespace varnex3::test {

class FakeHost;
class FakeSheet;
class FakeWorkbook;

using FakeFormula = std::function<Variant(FakeSheet&)>;
using FakeMacro = std::function<Variant(std::span<const Variant>)>;

struct FakeCell {
    Variant value;
    std::string formulaText; // empty: a constant
};

class FakeSheet final : public host::Worksheet, public std::enable_shared_from_this<FakeSheet> {
public:
    FakeSheet(FakeHost& host, FakeWorkbook& book, std::string name);

    // For tests; nothing here is recorded. Addresses: "B3", "$B$3", "A1:B2".
    Ref<host::Range> range(const std::string& address);
    void set(const std::string& address, const Variant& value);
    /// A formula cell, evaluated now and at every Calculate. `text` begins with "=" and names the
    /// callback on this sheet: writing it back through Range.Formula restores the formula.
    void formula(const std::string& address, const std::string& text, FakeFormula f);
    Variant get(const std::string& address);
    double number(const std::string& address) { return toDouble(get(address)); }

    std::string Name() override;
    void Name(const std::string& name) override;
    Ref<host::Workbook> Parent() override;
    void Activate() override;
    void Delete() override;
    Ref<host::Range> Cells(Long row, Long column) override;
    void Cells(Long row, Long column, const Variant& value) override;

private:
    friend class FakeHost;
    friend class FakeRange;
    friend class FakeWorkbook;
    using Place = std::pair<Long, Long>; // row, column

    std::string label() const; // "Sheet1", "[Book2]Sheet1"
    void calculate();

    FakeHost& host_;
    FakeWorkbook& book_;
    std::string name_;
    std::map<Place, FakeCell> cells_;
    std::map<std::string, FakeFormula> formulas_; // by text
    std::vector<Place> order_;                    // formula cells as defined
};

class FakeWorkbook final : public host::Workbook, public std::enable_shared_from_this<FakeWorkbook> {
public:
    FakeWorkbook(FakeHost& host, std::string name);

    FakeSheet& sheet(const std::string& name = "Sheet1"); // for tests, not recorded; added when missing

    std::string Name() override;
    void Activate() override;
    Ref<host::Worksheet> Worksheets(const std::string& name) override;
    Long SheetCount() override;
    Ref<host::Worksheet> Worksheets(Long index) override;
    Ref<host::Worksheet> AddWorksheet() override;

private:
    friend class FakeHost;
    friend class FakeSheet;
    FakeHost& host_;
    std::string name_;
    std::vector<Ref<FakeSheet>> sheets_;
};

enum class Record { Nothing, Writes, Everything };

class FakeHost final : public host::Application, public std::enable_shared_from_this<FakeHost> {
public:
    /// A host with the workbook "Book1.xlsx", which has "Sheet1". It must outlive its ranges.
    static Ref<FakeHost> create();
    static Ref<FakeHost> createWithoutWorkbook() { return std::make_shared<FakeHost>(); }

    Record record = Record::Writes; // methods and puts; reads only with Everything
    std::vector<std::string> calls;
    std::vector<std::string> take() { return std::exchange(calls, {}); } // and starts a new record

    std::map<std::string, FakeMacro> macros; // Run raises 1004 for any other name

    /// Makes calls whose line begins with `lineStart` raise, from the nth such call on.
    void fail(const std::string& lineStart, Long fromNth = 1, Long number = errors::HostFailure,
              const std::string& description = "The host refuses");
    void heal() { failures_.clear(); }

    FakeSheet& sheet(const std::string& name = "Sheet1") { return book().sheet(name); }
    FakeWorkbook& book(); // the first one
    FakeWorkbook& addBook(const std::string& name);

    bool screenUpdating = true, enableEvents = true, displayAlerts = true;
    Variant statusBar{false};
    Long calculation = host::kCalculationAutomatic;

    void Calculate() override;
    Variant Run(const std::string& macro, std::span<const Variant> arguments) override;
    bool ScreenUpdating() override;
    void ScreenUpdating(bool on) override;
    void StatusBar(const Variant& text) override;
    Long Calculation() override;
    void Calculation(Long mode) override;
    void EnableEvents(bool on) override;
    void DisplayAlerts(bool on) override;
    Ref<host::Workbook> ActiveWorkbook() override;
    Ref<host::Workbooks> Workbooks() override;
    std::string Version() override;
    std::string OperatingSystem() override;

    /// Records a call and fails it when that is scripted. `line` makes the text, only when needed.
    template <class Line>
    void note(bool read, Line&& line)
    {
        const bool recorded = record == Record::Everything || (record == Record::Writes && !read);
        if (recorded || !failures_.empty()) note(recorded, std::string(line()));
    }

private:
    friend class FakeSheet;
    friend class FakeWorkbook;
    friend class FakeWorkbooks;
    struct Failure {
        std::string lineStart;
        Long fromNth;
        Long number;
        std::string description;
        Long seen = 0;
    };

    void note(bool recorded, std::string line);
    Ref<FakeWorkbook> bookByName(const std::string& name) const;

    std::vector<Failure> failures_;
    std::vector<Ref<FakeWorkbook>> books_;
    Ref<FakeWorkbook> active_;
};

/// A value as the record shows it: texts and numbers plainly, "#2007" for an error value.
std::string shown(const Variant& v);

} // namespace varnex3::test
