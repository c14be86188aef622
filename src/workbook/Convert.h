// workbook/Convert.h - Variant and the engine's Value: the one place where the two meet.
//
// Arrays change their base here: the engine counts from 0, Variant arrays from 1.
#pragma once

#include "runtime/Variant.h"
#include "sheet/value/Value.h"

namespace varnex3::workbook {

/// The host's number of a failure, and back; an unknown number is #VALUE!.
///
///   #NULL! 2000, #DIV/0! 2007, #VALUE! 2015, #REF! 2023, #NAME? 2029, #NUM! 2036, #N/A 2042,
///   #SPILL! 2045, #CIRCULAR! 2046 (a number of our own: other hosts show 0 there), #CALC! 2050
ErrorValue errorValue(sheet::Failure failure);
sheet::Failure failureOf(ErrorValue error);

/// Numbers, texts, Booleans and failures as such; an array becomes a two-dimensional one.
Variant toVariant(const sheet::Value& value);

/// A scalar as a cell holds it; a number that is not finite becomes #NUM!.
/// Raises 13 for arrays and objects.
sheet::Value toValue(const Variant& v);

} // namespace varnex3::workbook
