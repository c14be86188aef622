// bindings/windows/OurObject.cpp - calls from outside turned into uses of members.
#include "bindings/windows/OurObject.h"

#include <new>
#include <unordered_map>
#include <vector>

#include "bindings/windows/Values.h"
#include "server/Convert.h"
#include "server/Invoke.h"
#include "server/TypeLibrary.h"

namespace varnex3::windows {
namespace {

using server::ClassRow;
using server::MemberRow;

/// Answered by our own faces alone.
constexpr IID kFace = {0xc5b9a1e0, 0x6d3f, 0x4b52, {0x8f, 0x4e, 0x7a, 0x1d, 0x90, 0x2e, 0x56, 0xff}};

std::unordered_map<const Object*, OurObject*>& faces()
{
    static std::unordered_map<const Object*, OurObject*> all;
    return all;
}

InvokeKind kindOf(WORD flags, const MemberRow& member, const DISPPARAMS& given)
{
    if (!(flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF))) return InvokeKind::Read;
    if (!(flags & DISPATCH_PROPERTYPUT)) return InvokeKind::PutRef;
    if (!(flags & DISPATCH_PROPERTYPUTREF)) return InvokeKind::Put;
    const bool object = given.cArgs > 0 && V_VT(&given.rgvarg[0]) == VT_DISPATCH; // the caller leaves it open
    return object && member.byReference ? InvokeKind::PutRef : InvokeKind::Put;
}

/// Where each argument of a call stands in the caller's list, which runs backwards: first the value of a
/// put, then arguments by name, then the others.
std::vector<VARIANT*> inOrder(DISPPARAMS& given, InvokeKind kind)
{
    const UINT put = kind == InvokeKind::Read ? 0 : 1;
    std::vector<VARIANT*> places;
    for (UINT i = given.cArgs; i > given.cNamedArgs && i > put; --i) places.push_back(&given.rgvarg[i - 1]);
    for (UINT i = put; i < given.cNamedArgs; ++i) {
        const auto at = static_cast<std::size_t>(given.rgdispidNamedArgs[i]);
        if (at >= server::kMaxArguments) raise(errors::ArgumentCount);
        if (places.size() <= at) places.resize(at + 1, nullptr);
        places[at] = &given.rgvarg[i];
    }
    if (put && given.cArgs > 0) places.push_back(&given.rgvarg[0]);
    return places;
}

/// The items of a collection in turn, for loops over all of them.
class Enumerator final : public IEnumVARIANT {
public:
    Enumerator(Ref<LateBound> items, Long next) : items_(std::move(items)), next_(next) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** found) override
    {
        if (iid != IID_IUnknown && iid != IID_IEnumVARIANT) {
            *found = nullptr;
            return E_NOINTERFACE;
        }
        *found = static_cast<IEnumVARIANT*>(this);
        ++count_;
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++count_; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --count_;
        if (left == 0) delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE Next(ULONG wanted, VARIANT* items, ULONG* given) override
    {
        ULONG done = 0;
        attempt([&] {
            for (; done < wanted && next_ <= size(); ++done) {
                Variant index(next_++);
                items[done] = toCom(items_->invoke("Item", InvokeKind::Read, {&index, 1}));
            }
        });
        if (given) *given = done;
        return done == wanted ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override
    {
        next_ += static_cast<Long>(count);
        return next_ <= size() + 1 ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override
    {
        next_ = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** copy) override
    {
        *copy = new (std::nothrow) Enumerator(items_, next_);
        return *copy ? S_OK : E_OUTOFMEMORY;
    }

private:
    virtual ~Enumerator() = default;
    Long size() { return toLong(items_->invoke("Count", InvokeKind::Read, {})); }

    InUse inUse_;
    Ref<LateBound> items_;
    Long next_;
    ULONG count_ = 1;
};

} // namespace

OurObject::OurObject(const ClassRow& type, ObjectRef object) : type_(type), object_(std::move(object))
{
    faces().emplace(object_.get(), this);
}

OurObject::~OurObject() { faces().erase(object_.get()); }

IDispatch* OurObject::over(const ObjectRef& object)
{
    if (const auto known = faces().find(object.get()); known != faces().end()) {
        known->second->AddRef();
        return known->second;
    }
    const ClassRow* type = server::classOf(*object);
    if (!type) raise(errors::NoSuchMember);
    return new OurObject(*type, object);
}

ObjectRef OurObject::behind(IUnknown* object)
{
    const auto face = query<IDispatch>(object, kFace);
    return face ? static_cast<OurObject*>(face.get())->object_ : nullptr;
}

HRESULT OurObject::QueryInterface(REFIID iid, void** found)
{
    if (!found) return E_POINTER;
    const bool ours = iid == IID_IUnknown || iid == IID_IDispatch || iid == kFace ||
                      (server::isPublished(type_) && iid == guidOf(server::interfaceGuid(type_)));
    *found = ours ? static_cast<IDispatch*>(this) : nullptr;
    if (!ours) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG OurObject::AddRef() { return ++count_; }

ULONG OurObject::Release()
{
    const ULONG left = --count_;
    if (left == 0) delete this;
    return left;
}

HRESULT OurObject::GetTypeInfoCount(UINT* count)
{
    *count = server::isPublished(type_) ? 1 : 0;
    return S_OK;
}

HRESULT OurObject::GetTypeInfo(UINT index, LCID, ITypeInfo** info)
{
    *info = nullptr;
    if (index != 0 || !server::isPublished(type_)) return DISP_E_BADINDEX;
    ITypeLib* library = nullptr;
    const HRESULT code = LoadTypeLibEx(libraryFile().c_str(), REGKIND_NONE, &library);
    if (FAILED(code)) return code;
    const ComPtr<ITypeLib> held(library);
    return held->GetTypeInfoOfGuid(guidOf(server::interfaceGuid(type_)), info);
}

HRESULT OurObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids)
{
    for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
    const Long member = server::findMember(type_, narrow(names[0]));
    if (!member) return DISP_E_UNKNOWNNAME;
    ids[0] = member == type_.defaultMember ? DISPID_VALUE : member;
    const auto rows = type_.members[static_cast<std::size_t>(member - 1)].arguments();
    bool all = true;
    for (UINT i = 1; i < count; ++i) {
        for (std::size_t k = 0; k < rows.size(); ++k)
            if (_wcsicmp(names[i], wide(rows[k].name).c_str()) == 0) ids[i] = static_cast<DISPID>(k);
        all = all && ids[i] != DISPID_UNKNOWN;
    }
    return all ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT OurObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* given, VARIANT* result,
                          EXCEPINFO* info, UINT*)
{
    AddRef(); // the caller may let go of us in the course of the call
    HRESULT code = S_OK;
    try {
        DISPPARAMS none{};
        use(id, flags, given ? *given : none, result);
    } catch (...) {
        code = report(info);
    }
    Release();
    return code;
}

void OurObject::use(DISPID id, WORD flags, DISPPARAMS& given, VARIANT* result)
{
    if (id == DISPID_NEWENUM && server::findMember(type_, "Count")) {
        if (!result) return;
        VariantInit(result);
        V_VT(result) = VT_UNKNOWN;
        V_UNKNOWN(result) = new Enumerator(server::lateBound(object_), 1);
        return;
    }
    if (id == DISPID_VALUE) id = type_.defaultMember;
    if (id < 1 || static_cast<std::size_t>(id) > type_.members.size()) raise(errors::NoSuchMember);
    const MemberRow& member = type_.members[static_cast<std::size_t>(id - 1)];
    const InvokeKind kind = kindOf(flags, member, given);

    const std::vector<VARIANT*> places = inOrder(given, kind);
    std::vector<Variant> arguments;
    for (const VARIANT* place : places) arguments.push_back(place ? fromCom(*place) : missingArgument());
    const Variant answer = server::invoke(*object_, member, kind, arguments);
    for (std::size_t i = 0; i < member.list.count && i < places.size(); ++i)
        if (member.list.rows[i].changed && places[i] && !isMissing(arguments[i]))
            writeBack(*places[i], arguments[i]);
    if (result) *result = toCom(answer, member.type.type);
}

} // namespace varnex3::windows
