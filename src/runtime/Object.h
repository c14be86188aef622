// runtime/Object.h - what every automation object, ours or the host's, has in common.
#pragma once

#include <memory>

#include "runtime/Error.h"

namespace varnex3 {

/// Base of everything a Variant can refer to. Held by counted reference.
class Object {
public:
    virtual ~Object() = default;

protected:
    Object() = default;
    Object(const Object&) = default;
    Object& operator=(const Object&) = default;
};

template <class T>
using Ref = std::shared_ptr<T>; // a counted reference; empty for "no object"

using ObjectRef = Ref<Object>;

/// The object referred to; raises 91 when there is none.
template <class T>
T& required(const Ref<T>& object)
{
    if (!object) raise(errors::ObjectNotSet);
    return *object;
}

} // namespace varnex3
