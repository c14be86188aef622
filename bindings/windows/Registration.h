// bindings/windows/Registration.h - the classes in the registry of the current user: no administrator needed.
#pragma once

#include "bindings/windows/Com.h"

namespace varnex3::windows {

HRESULT registerClasses();
HRESULT unregisterClasses();

} // namespace varnex3::windows
