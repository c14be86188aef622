// host/interface/Host.h - the spreadsheet host as the library sees it: pure virtual, member names as
// the host's own. The embedded host, the recording fake of the tests and real hosts implement it.
//
// A property has a get form without arguments and a put form with one. A member that the host refuses
// raises an error (runtime/Error.h) with the host's number and description.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "runtime/Object.h"
#include "runtime/Variant.h"

namespace varnex3::host {

class Application;
class Workbooks;
class Workbook;
class Worksheet;
class Range;

/// Calculation modes, the host's own numbers.
inline constexpr Long kCalculationAutomatic = -4105;
inline constexpr Long kCalculationManual = -4135;

/// Trials without a trace in the workbook. A trial writes numbers to its input cells, calculates, and reads
/// its output cells; here come the same numbers, and the cells stay as they are.
class Batch : public Object {
public:
    /// Works out trials from the first one on.
    /// @param inputs   finite numbers, one row per trial
    /// @param outputs  receives one row per trial
    /// @return         trials done; the next one has an output that is no number, or the workbook has changed
    ///                 since: it is to be done cell by cell
    virtual Long Run(std::span<const double> inputs, std::span<double> outputs) = 0;
    /// Whether the cell keeps its value whatever the inputs are.
    virtual bool IsFixed(Range& cell) = 0;
};

class Application : public Object {
public:
    /// Brings every formula of all open workbooks up to date.
    virtual void Calculate() = 0;
    /// Runs the macro of that name; at most 30 arguments. An unknown macro raises an error naming it.
    virtual Variant Run(const std::string& macro, std::span<const Variant> arguments = {}) = 0;

    virtual bool ScreenUpdating() = 0;
    virtual void ScreenUpdating(bool on) = 0;
    virtual void StatusBar(const Variant& text) = 0; // text, or False to give the bar back to the host
    virtual Long Calculation() = 0;
    virtual void Calculation(Long mode) = 0;
    virtual void EnableEvents(bool on) = 0;
    virtual void DisplayAlerts(bool on) = 0;

    virtual Ref<Workbook> ActiveWorkbook() = 0; // an error when there is none
    virtual Ref<host::Workbooks> Workbooks() = 0;
    virtual std::string Version() = 0;
    virtual std::string OperatingSystem() = 0;

    /// What a host may offer beyond that: many trials at once. No object where it cannot give exactly what
    /// trials one by one would.
    virtual Ref<Batch> Trials(std::span<const Ref<Range>> /*inputs*/, std::span<const Ref<Range>> /*outputs*/)
    {
        return {};
    }
};

class Workbooks : public Object {
public:
    virtual Ref<Workbook> Item(const std::string& name) = 0; // an error when none is open by that name
    virtual Ref<Workbook> Add() = 0;                         // a new workbook, active from now on
};

class Workbook : public Object {
public:
    virtual std::string Name() = 0; // file name without folder
    virtual void Activate() = 0;
    virtual Ref<Worksheet> Worksheets(const std::string& name) = 0; // an error when there is none
    virtual Long SheetCount() = 0;
    virtual Ref<Worksheet> Worksheets(Long index) = 0; // 1-based position
    virtual Ref<Worksheet> AddWorksheet() = 0;         // after the last one
};

class Worksheet : public Object {
public:
    virtual std::string Name() = 0;
    virtual void Name(const std::string& name) = 0;
    virtual Ref<Workbook> Parent() = 0;
    virtual void Activate() = 0;
    virtual void Delete() = 0;
    virtual Ref<Range> Cells(Long row, Long column) = 0;                 // 1-based
    virtual void Cells(Long row, Long column, const Variant& value) = 0; // stores a value there
};

class Range : public Object {
public:
    virtual Variant Value() = 0;
    virtual void Value(const Variant& value) = 0;
    virtual std::string Formula() = 0; // content as entered: formula text with its "=", or the constant
    virtual void Formula(const std::string& content) = 0;
    virtual std::string Address() = 0; // absolute A1 text, "$B$3"
    virtual Long Count() = 0;
    virtual Ref<host::Worksheet> Worksheet() = 0;
    virtual bool HasFormula() = 0;
    virtual void Select() = 0;
    virtual Ref<host::Application> Application() = 0;
};

} // namespace varnex3::host
