// cli/Problem.h - a study resolved against its workbook: the formulation that the library runs.
#pragma once

#include <memory>
#include <string>

#include "Study.h"
#include "formulation/c_Formulation.h"
#include "workbook/EmbeddedApplication.h"

namespace varnex3::cli {

struct Problem {
    Study study;
    Ref<workbook::EmbeddedApplication> application;
    Ref<host::Workbook> workbook;
    Ref<c_Formulation> formulation;
};

/// Opens a workbook file. Raises Refused with the reader's message.
Ref<host::Workbook> openWorkbook(workbook::EmbeddedApplication& application, const std::string& path);

/// The cells of a reference such as "Sheet1!B3" or a defined name. Raises Refused at `place`.
Ref<host::Range> findRange(workbook::EmbeddedApplication& application, const std::string& reference,
                           const Place& place);

/// Reads a study, opens its workbook, recalculates it and fills a formulation.
/// Raises Refused, naming file, line and key, for cells that do not exist or hold no number.
Problem loadProblem(const std::string& studyPath);

/// Where the item stands that one of the library's checks fails: the key that its cause is about, where the
/// study gives it.
Place placeOf(const Study& study, const std::string& source, Long item, const std::string& cause);

/// Runs the library's own validation of everything; raises Refused at the entry that fails it.
void validate(Problem& problem);

} // namespace varnex3::cli
