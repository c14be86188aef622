// bindings/windows/OutsideObject.h - another program's or a script's object as the library sees it.
#pragma once

#include <map>
#include <string>

#include <dispex.h>

#include "bindings/windows/Com.h"
#include "runtime/LateBound.h"

namespace varnex3::windows {

class OutsideObject final : public LateBound {
public:
    /// Raises 13 when the object has no members to use by name.
    static Ref<LateBound> over(IUnknown* object);
    OutsideObject(ComPtr<IDispatch> object, ComPtr<IDispatchEx> script)
        : object_(std::move(object)), script_(std::move(script))
    {}

    std::optional<Long> memberId(std::string_view name) override;
    using LateBound::invoke;
    Variant invoke(Long member, InvokeKind kind, std::span<Variant> arguments) override;

    /// The object itself, counted for the caller.
    IDispatch* counted() const { return ComPtr<IDispatch>(object_).release(); }

private:
    ComPtr<IDispatch> object_;
    ComPtr<IDispatchEx> script_; // objects of scripts find names only there
    std::map<std::string, Long, std::less<>> known_;
};

} // namespace varnex3::windows
