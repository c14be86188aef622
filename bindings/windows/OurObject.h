// bindings/windows/OurObject.h - an object of the library as other programs see it: IDispatch over the table.
#pragma once

#include "bindings/windows/Com.h"
#include "server/ClassTable.h"

namespace varnex3::windows {

class OurObject final : public IDispatch {
public:
    /// The face of an object, counted for the caller; an object has one face as long as anyone holds it.
    /// @raises  438 for an object without members
    static IDispatch* over(const ObjectRef& object);
    /// The object behind a face of ours; none for any other object.
    static ObjectRef behind(IUnknown* object);

    OurObject(const OurObject&) = delete;
    OurObject& operator=(const OurObject&) = delete;

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** found) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    // IDispatch
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* given,
                                     VARIANT* result, EXCEPINFO* info, UINT* wrongArgument) override;

private:
    OurObject(const server::ClassRow& type, ObjectRef object);
    virtual ~OurObject();

    void use(DISPID id, WORD flags, DISPPARAMS& given, VARIANT* result);

    InUse inUse_;
    const server::ClassRow& type_;
    ObjectRef object_;
    ULONG count_ = 1;
};

} // namespace varnex3::windows
