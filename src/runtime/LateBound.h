// runtime/LateBound.h - objects whose members are reached by name, with values for arguments.
//
// Public classes answer it through server/; a host or a macro's own objects handed in from outside
// implement it, and server/ScriptedHost.h makes a host of them.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "runtime/Object.h"
#include "runtime/Variant.h"

namespace varnex3 {

/// How a member is used. The value of a put is the last argument.
enum class InvokeKind {
    Read,   // a property, or a method called; the two need not be told apart
    Put,    // assigns a value; an object stands for the value of its default member
    PutRef, // assigns a reference to an object
};

/// The member that stands for the object itself where a value is wanted.
inline constexpr Long kDefaultMember = 0;

/// What stands in the place of an argument left out before others.
inline Variant missingArgument() { return ErrorValue{errors::ArgumentMissing}; }
inline bool isMissing(const Variant& v)
{
    const ErrorValue* error = v.asError();
    return error && error->code == errors::ArgumentMissing;
}

class LateBound : public Object {
public:
    /// The number of a member, whatever the case of its letters; nothing when there is none.
    virtual std::optional<Long> memberId(std::string_view name) = 0;

    /// Uses a member. Arguments are by reference: what the member assigns to them stands in `arguments`
    /// afterwards. Optional ones at the end may be left out, any with `missingArgument`.
    /// @raises  438 no such member, 449 a required argument is missing, 450 too many arguments,
    ///          383 or 394 a property that is read-only or write-only; what the member raises
    virtual Variant invoke(Long member, InvokeKind kind, std::span<Variant> arguments) = 0;

    Variant invoke(std::string_view name, InvokeKind kind, std::span<Variant> arguments)
    {
        const std::optional<Long> member = memberId(name);
        if (!member) raise(errors::NoSuchMember);
        return invoke(*member, kind, arguments);
    }
};

} // namespace varnex3
