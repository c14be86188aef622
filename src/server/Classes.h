// server/Classes.h - names of the classes and where their rows are, for the .cpp files of this folder.
#pragma once

#include "formulation/c_Formulation.h"
#include "montecarlo/c_MonteCarlo.h"
#include "optimizer/c_Optimization.h"
#include "sensitivity/c_Derivatives.h"
#include "sensitivity/c_al_Allocation.h"
#include "sensitivity/c_sa_Analysis.h"
#include "server/ClassTable.h"
#include "server/Convert.h"
#include "stats/c_Distribution.h"
#include "stats/c_Statistics.h"

namespace varnex3::server {

template <>
inline constexpr const char* kClassName<c_Formulation> = "c_Formulation";
template <>
inline constexpr const char* kClassName<c_Parameter> = "c_Parameter";
template <>
inline constexpr const char* kClassName<c_Response> = "c_Response";
template <>
inline constexpr const char* kClassName<c_Constraint> = "c_Constraint";
template <>
inline constexpr const char* kClassName<c_Goal> = "c_Goal";
template <>
inline constexpr const char* kClassName<c_Options> = "c_Options";
template <>
inline constexpr const char* kClassName<c_Optimization> = "c_Optimization";
template <>
inline constexpr const char* kClassName<c_MonteCarlo> = "c_MonteCarlo";
template <>
inline constexpr const char* kClassName<c_Distribution> = "c_Distribution";
template <>
inline constexpr const char* kClassName<DistributionComponent> = "c_Distribution"; // the only one made here
template <>
inline constexpr const char* kClassName<c_Derivatives> = "c_Derivatives";
template <>
inline constexpr const char* kClassName<c_sa_Analysis> = "c_sa_Analysis";
template <>
inline constexpr const char* kClassName<c_sa_Input> = "c_sa_Input";
template <>
inline constexpr const char* kClassName<c_sa_Output> = "c_sa_Output";
template <>
inline constexpr const char* kClassName<c_al_Allocation> = "c_al_Allocation";
template <>
inline constexpr const char* kClassName<c_al_Input> = "c_al_Input";
template <>
inline constexpr const char* kClassName<c_al_Output> = "c_al_Output";
template <>
inline constexpr const char* kClassName<c_Statistics> = "c_Statistics";
template <class T>
inline constexpr const char* kClassName<KeyedCollection<T>> = "Collection";

std::span<const ClassRow> formulationClasses();
std::span<const ClassRow> optimizationClasses();
std::span<const ClassRow> sensitivityClasses();
std::span<const ClassRow> statisticsClasses();
std::span<const ClassRow> collectionClasses();
std::span<const ClassRow> hostClasses();

} // namespace varnex3::server
