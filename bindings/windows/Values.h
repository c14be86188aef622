// bindings/windows/Values.h - VARIANT and SAFEARRAY from and to the library's values, errors from and to
// EXCEPINFO.
#pragma once

#include "bindings/windows/Com.h"
#include "runtime/Variant.h"
#include "server/ClassTable.h"

namespace varnex3::windows {

/// A value that came in; references are followed, objects become those behind them.
Variant fromCom(const VARIANT& v);

/// A value to hand out, in the type that the member publishes. The caller clears it.
VARIANT toCom(const Variant& v, server::Type type = server::Type::Variant);

/// Assigns a result to an argument passed by reference, in the type of the caller's variable. One passed
/// by value is left alone. Raises 13 or 6 when the result does not fit.
void writeBack(VARIANT& argument, const Variant& result);

/// Number as it travels: those of the macro runtime and the system's own as 0x800A0000 + n.
HRESULT travelling(Long number);
/// The number in a result code, and 0x800A0000 taken off again.
Long arrived(HRESULT code);

/// Fills the caller's record from the error in flight and clears that.
HRESULT report(EXCEPINFO* info);

/// Raises what a call on an outside object reported. Takes over the texts of `info`.
[[noreturn]] void raiseReported(HRESULT code, EXCEPINFO& info);

} // namespace varnex3::windows
