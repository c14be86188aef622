// varnex3.h - the library in one header, as it is installed.
//
// A program that wants less includes the headers below one by one, as <varnex3/...>.
#pragma once

#include "formulation/c_Formulation.h"
#include "host/alg_m_XLinterface.h"
#include "host/interface/Host.h"
#include "montecarlo/c_MonteCarlo.h"
#include "optimizer/c_Optimization.h"
#include "runtime/Error.h"
#include "runtime/Number.h"
#include "runtime/Seeds.h"
#include "runtime/Variant.h"
#include "sensitivity/c_Derivatives.h"
#include "sensitivity/c_al_Allocation.h"
#include "sensitivity/c_sa_Analysis.h"
#include "stats/c_Distribution.h"
#include "stats/c_Statistics.h"
#include "ui/Windows.h"
#include "ui/interface/UserInterface.h"
#include "workbook/EmbeddedApplication.h"
