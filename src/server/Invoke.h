// server/Invoke.h - objects created by identifier, members used by name: the one place where arguments
// are counted, defaults filled in and kinds checked, for every binding.
#pragma once

#include <span>
#include <string_view>

#include "runtime/LateBound.h"
#include "server/ClassTable.h"

namespace varnex3::server {

/// A new object of the class with that identifier, such as "varnex3.c_Formulation".
/// @raises  429 when no class of that name can be created
ObjectRef createObject(std::string_view identifier);

/// Uses a member of an object of the class that the member is of; see LateBound::invoke. Objects among
/// arguments and results are the library's own; late-bound ones from outside become hosts where a host is
/// expected.
Variant invoke(Object& self, const MemberRow& member, InvokeKind kind, std::span<Variant> arguments);

/// The late-bound face of an object: itself when it is late-bound, a new one for an object of the table.
/// @raises  438 for any other object
Ref<LateBound> lateBound(const ObjectRef& object);

/// The library's object behind its late-bound face; any other object as it is.
ObjectRef behindFace(const ObjectRef& object);

} // namespace varnex3::server
