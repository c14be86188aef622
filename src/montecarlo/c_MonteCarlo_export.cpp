// montecarlo/c_MonteCarlo_export.cpp - every trial of a run written to the "MC Data" sheets of a workbook.
#include <vector>

#include "host/alg_m_XLinterface.h"
#include "montecarlo/c_MonteCarlo.h"
#include "ui/EntryPoint.h"
#include "ui/Windows.h"

namespace varnex3 {
namespace {

constexpr Long kTrialsPerSheet = 65535;  // below the header row
constexpr Long kVariablesPerSheet = 255; // right of the trial number
constexpr const char* kDataSheet = "MC Data";
constexpr const char* kResultSheet = "MC Results";

void deleteDataSheets(host::Workbook& workbook)
{
    for (Long i : downTo(workbook.SheetCount(), 1)) {
        const Ref<host::Worksheet> sheet = workbook.Worksheets(i);
        if (sheet->Name().rfind(kDataSheet, 0) == 0) sheet->Delete();
    }
}

void addSheet(host::Application& application, host::Workbook& workbook, const std::string& name,
              std::string& workbookName)
{
    if (alg_m_XLinterface::SheetExists(application, name, workbookName)) return;
    workbook.AddWorksheet()->Name(name);
}

} // namespace

/// Writes the trials of the latest run, one row each, into sheets "MC Data1", "MC Data2" and so on:
/// at most 65535 trials and 255 variables a sheet, column blocks first.
///
/// @param wbName  an open workbook; a new one is added for any other name, which is left here
/// @raises        nothing: errors are reported
void c_MonteCarlo::ExtractData(std::string& wbName)
{
    if (CountX() < 1 || CountY() < 1 || lastTrial_ < 1) return;

    Procedure here{"c_MonteCarlo", "ExtractData"};
    try {
        writeData(here, wbName);
    } catch (...) {
        reportError(here);
        if (monteCarloStatusWindow().visible) monteCarloStatusWindow().Unload();
        if (application_) { // the user is not left without events and prompts
            attempt([&] { application_->DisplayAlerts(true); });
            attempt([&] { application_->EnableEvents(true); });
        }
    }
}

void c_MonteCarlo::ExtractData()
{
    std::string newWorkbook;
    ExtractData(newWorkbook);
}

void c_MonteCarlo::writeData(Procedure& here, std::string& wbName)
{
    const Long nx = CountX(), variables = nx + CountY();
    host::Application& host = required(application_);
    forOpt_ = false; // this call is nobody's candidate

    here.at(2);
    host.EnableEvents(false);

    here.at(3);
    if (!alg_m_XLinterface::WorkbookOpen(host, wbName)) wbName = host.Workbooks()->Add()->Name();
    const Ref<host::Workbook> workbook = host.Workbooks()->Item(wbName);

    here.at(4);
    monteCarloStatusWindow().Initialize();

    here.at(5);
    host.DisplayAlerts(false);
    deleteDataSheets(*workbook);
    host.DisplayAlerts(true);

    here.at(6);
    const Long rowBlocks = (lastTrial_ - 1) / kTrialsPerSheet + 1;
    const Long columnBlocks = (variables - 1) / kVariablesPerSheet + 1;
    std::vector<Ref<host::Worksheet>> sheets;
    for (Long s : oneTo(rowBlocks * columnBlocks)) {
        const std::string name = kDataSheet + std::to_string(s);
        addSheet(host, *workbook, name, wbName);
        sheets.push_back(workbook->Worksheets(name));
    }
    auto sheetAt = [&](Long rowBlock, Long columnBlock) -> host::Worksheet& {
        return *sheets[static_cast<std::size_t>((rowBlock - 1) * columnBlocks + columnBlock - 1)];
    };
    auto blockOf = [](Long v) { return (v - 1) / kVariablesPerSheet + 1; };
    auto columnOf = [](Long v) { return (v - 1) % kVariablesPerSheet + 2; };

    here.at(7);
    addSheet(host, *workbook, kResultSheet, wbName); // a new workbook has none
    workbook->Worksheets(kResultSheet)->Activate();

    here.at(8);
    for (const Ref<host::Worksheet>& sheet : sheets) sheet->Cells(1, 1, "Trial");

    here.at(9);
    for (Long v : oneTo(variables)) {
        const std::string& name =
            v <= nx ? formulation_->Xs->Item(v)->Name : formulation_->Ys->Item(v - nx)->Name;
        for (Long b : oneTo(rowBlocks)) sheetAt(b, blockOf(v)).Cells(1, columnOf(v), name);
    }

    here.at(10);
    const std::string of = " of " + std::to_string(lastTrial_) + ".";
    for (Long t : oneTo(lastTrial_)) {
        ReportProgress("Printing trial " + std::to_string(t) + of, t, lastTrial_);
        const Long b = (t - 1) / kTrialsPerSheet + 1, r = (t - 1) % kTrialsPerSheet + 2;
        for (Long c : oneTo(columnBlocks)) sheetAt(b, c).Cells(r, 1, t);
        for (Long v : oneTo(variables))
            sheetAt(b, blockOf(v)).Cells(r, columnOf(v), v <= nx ? trials_.x(t, v) : trials_.y(t, v - nx));
    }

    here.at(11);
    if (monteCarloStatusWindow().visible) monteCarloStatusWindow().Unload();
    host.EnableEvents(true);
}

} // namespace varnex3
