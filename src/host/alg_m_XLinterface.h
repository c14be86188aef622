// host/alg_m_XLinterface.h - cells and host state: what every part of the library asks of the host.
//
// The reports of the optimizer, which belong to this module too, are in optimizer/ (they need the run
// record).
#pragma once

#include <optional>
#include <string>

#include "host/interface/Host.h"
#include "runtime/Variant.h"

namespace varnex3::alg_m_XLinterface {

/// The process-wide host state: one copy per process, last assignment wins.
struct HostState {
    Ref<host::Application> application; // set by XLApplication of c_Optimization and c_MonteCarlo
    std::string fileName;               // workbook whose name qualifies the report macros
    std::string printGenMacro;
    std::string printFinalMacro;
    std::string beforeMacro; // around every recalculation; empty for none
    std::string afterMacro;
};
HostState& hostState();

bool Recalc(host::Application& application);
bool SameRange(host::Range& a, host::Range& b);
bool IsRange(const Variant& v);
bool IsErrorCell(host::Range& cell);
void ShowCell(host::Range& cell);
bool CellHasFormula(host::Range& cell);
void CheckCell(host::Range& cell, std::string& procedureName, bool allowEmpty, bool noNegative);
void CheckCell(host::Range& cell, const char* procedureName, bool allowEmpty, bool noNegative);
bool WorkbookOpen(host::Application& application, const std::string& workbookName);
bool NoActiveWorkbook(host::Application& application);
bool SheetExists(host::Application& application, const std::string& sheetName, std::string& workbookName);
std::string XLVersion();
std::string OSVersion();

/// The range that a variant refers to, or no object. Does not touch the host, unlike IsRange.
Ref<host::Range> rangeOf(const Variant& v);

/// A property that may hold a number or a range, as its plain value: the cell's value for a range
/// (unchecked), the held value otherwise.
Variant valueOf(const Variant& property);

/// A specification limit as a number; nothing when it is empty or an empty cell.
/// @param procedureName  source of the error that a bad cell raises
/// @raises               513, 515 after showing the cell; 13 for a text that is no number
std::optional<double> specificationLimit(const Variant& limit, const char* procedureName);

} // namespace varnex3::alg_m_XLinterface
