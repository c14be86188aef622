// bindings/windows/OutsideObject.cpp - uses of members turned into calls on IDispatch or IDispatchEx.
#include "bindings/windows/OutsideObject.h"

#include <memory>
#include <vector>

#include "bindings/windows/Values.h"

namespace varnex3::windows {
namespace {

/// IDispatchEx; the import libraries lack it.
constexpr IID kScriptObject = {0xa6ef9860, 0xc720, 0x11d0, {0x93, 0x37, 0x00, 0xa0, 0xc9, 0x0d, 0xca, 0xa9}};

/// Arguments as a call takes them: backwards.
class Parameters {
public:
    explicit Parameters(std::span<Variant> arguments)
    {
        values_.reserve(arguments.size());
        for (std::size_t i = arguments.size(); i-- > 0;) values_.push_back(toCom(arguments[i]));
    }
    ~Parameters()
    {
        for (VARIANT& v : values_) VariantClear(&v);
    }
    Parameters(const Parameters&) = delete;
    Parameters& operator=(const Parameters&) = delete;

    DISPPARAMS list(InvokeKind kind)
    {
        DISPPARAMS given{};
        given.rgvarg = values_.data();
        given.cArgs = static_cast<UINT>(values_.size());
        if (kind != InvokeKind::Read) { // the value of a put goes by that name
            given.rgdispidNamedArgs = &put_;
            given.cNamedArgs = 1;
        }
        return given;
    }

private:
    std::vector<VARIANT> values_;
    DISPID put_ = DISPID_PROPERTYPUT;
};

WORD flagsOf(InvokeKind kind)
{
    switch (kind) {
    case InvokeKind::Read: return DISPATCH_METHOD | DISPATCH_PROPERTYGET;
    case InvokeKind::Put: return DISPATCH_PROPERTYPUT;
    case InvokeKind::PutRef: return DISPATCH_PROPERTYPUTREF;
    }
    return 0;
}

} // namespace

Ref<LateBound> OutsideObject::over(IUnknown* object)
{
    auto plain = query<IDispatch>(object, IID_IDispatch);
    if (!plain) raise(errors::TypeMismatch);
    return std::make_shared<OutsideObject>(std::move(plain), query<IDispatchEx>(object, kScriptObject));
}

std::optional<Long> OutsideObject::memberId(std::string_view name)
{
    if (const auto found = known_.find(name); found != known_.end()) return found->second;
    DISPID id = DISPID_UNKNOWN;
    HRESULT code = E_FAIL;
    if (script_) {
        BSTR text = newText(name);
        code = script_->GetDispID(text, fdexNameCaseInsensitive, &id);
        SysFreeString(text);
    } else {
        std::wstring text = wide(name);
        LPOLESTR names[] = {text.data()};
        code = object_->GetIDsOfNames(IID_NULL, names, 1, kLocale, &id);
    }
    if (FAILED(code)) return std::nullopt;
    known_.emplace(name, id);
    return id;
}

Variant OutsideObject::invoke(Long member, InvokeKind kind, std::span<Variant> arguments)
{
    Parameters parameters(arguments);
    DISPPARAMS given = parameters.list(kind);
    VARIANT result;
    VariantInit(&result);
    EXCEPINFO info{};
    VARIANT* wanted = kind == InvokeKind::Read ? &result : nullptr;
    const HRESULT code =
        script_ ? script_->InvokeEx(member, kLocale, flagsOf(kind), &given, wanted, &info, nullptr)
                : object_->Invoke(member, IID_NULL, kLocale, flagsOf(kind), &given, wanted, &info, nullptr);
    if (FAILED(code)) raiseReported(code, info);
    const Variant value = fromCom(result);
    VariantClear(&result);
    return value;
}

} // namespace varnex3::windows
