// sheet/functions/Rounding.h - rounding as spreadsheets do it: to decimal places and to multiples, so that
// the binary noise behind the fifteenth digit does not decide.
//
// Plain arithmetic on doubles; the worksheet functions over it stand in Mathematics.cpp.
#pragma once

namespace varnex3::sheet {

/// Halves away from zero: 2.675 to 2 places is 2.68, although the double lies below the half.
/// Negative places round before the point. Values that have no such digits come back unchanged.
double roundPlaces(double x, double places);
double roundPlacesOutward(double x, double places); // away from zero
double roundPlacesInward(double x, double places);  // towards zero

/// Whole numbers next to a quotient: one that differs from a whole number only by noise is that number.
double noisyFloor(double x);
double noisyCeil(double x);
double noisyRound(double x); // halves away from zero

} // namespace varnex3::sheet
