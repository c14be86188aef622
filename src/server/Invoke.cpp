// server/Invoke.cpp - the checks that every use of a member passes, and the late-bound face of objects.
#include "server/Invoke.h"

#include <array>
#include <memory>
#include <utility>

#include "server/Convert.h"

namespace varnex3::server {
namespace {

/// The places that a member's function works on: the caller's arguments are moved in and, for those that
/// the member changes, back out.
using Places = std::array<Variant, kMaxArguments + 1>;

void checkKind(const MemberRow& member, InvokeKind kind)
{
    if (kind == InvokeKind::Read) {
        if (!member.read) raise(errors::WriteOnly);
        return;
    }
    if (member.method) raise(errors::NoSuchMember);
    if (!member.write) raise(errors::ReadOnly);
    if (kind == InvokeKind::Put && !member.byValue) raise(errors::ReferenceOnly);
    if (kind == InvokeKind::PutRef && !member.byReference) raise(errors::NoSuchMember);
}

/// A property without indexes that refers to an object: arguments are then those of the object's default
/// member, so that Xs("width") reads as Xs.Item("width").
bool passesArgumentsOn(const MemberRow& member, InvokeKind kind, std::span<const Variant> arguments)
{
    return kind == InvokeKind::Read && !member.method && member.list.count == 0 && !arguments.empty() &&
           member.type.type == Type::Object;
}

void checkArguments(const MemberRow& member, std::span<const Variant> given)
{
    const auto rows = member.arguments();
    if (given.size() > rows.size()) raise(errors::ArgumentCount);
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (!rows[i].optional && (i >= given.size() || isMissing(given[i])))
            raise(errors::ArgumentNotOptional);
}

class Face final : public LateBound {
public:
    Face(const ClassRow& type, ObjectRef object) : type_(type), object_(std::move(object)) {}

    const ObjectRef& object() const { return object_; }

    std::optional<Long> memberId(std::string_view name) override
    {
        const Long number = findMember(type_, name);
        return number ? std::optional(number) : std::nullopt;
    }

    using LateBound::invoke;
    Variant invoke(Long member, InvokeKind kind, std::span<Variant> arguments) override
    {
        if (member == kDefaultMember) member = type_.defaultMember;
        if (member < 1 || static_cast<std::size_t>(member) > type_.members.size())
            raise(errors::NoSuchMember);
        return server::invoke(*object_, type_.members[static_cast<std::size_t>(member - 1)], kind, arguments);
    }

private:
    const ClassRow& type_;
    ObjectRef object_;
};

} // namespace

ObjectRef createObject(std::string_view identifier)
{
    const bool qualified = identifier.find('.') != std::string_view::npos;
    const ClassRow* row = qualified ? findClass(identifier) : nullptr;
    if (!row || !row->creatable) raise(errors::CannotCreate);
    return row->create();
}

Variant invoke(Object& self, const MemberRow& member, InvokeKind kind, std::span<Variant> arguments)
{
    checkKind(member, kind);
    if (passesArgumentsOn(member, kind, arguments))
        return lateBound(invoke(self, member, kind, {}).object())
            ->invoke(kDefaultMember, InvokeKind::Read, arguments);
    const std::size_t extra = kind == InvokeKind::Read ? 0 : 1; // the value of a put
    if (arguments.size() < extra) raise(errors::ArgumentNotOptional);
    const std::span<Variant> given = arguments.first(arguments.size() - extra);
    checkArguments(member, given);

    Places places;
    const std::size_t count = member.list.count;
    for (std::size_t i = 0; i < count; ++i) places[i] = i < given.size() ? given[i] : missingArgument();
    if (kind == InvokeKind::Put) places[count] = plainValue(arguments.back());
    if (kind == InvokeKind::PutRef) places[count] = Variant(toObject(arguments.back()));

    Variant result;
    (extra ? member.write : member.read)(self, member, places.data(), result);
    for (std::size_t i = 0; i < given.size(); ++i)
        if (member.list.rows[i].changed && !isMissing(given[i])) given[i] = std::move(places[i]);
    return result;
}

Ref<LateBound> lateBound(const ObjectRef& object)
{
    if (auto bound = std::dynamic_pointer_cast<LateBound>(object)) return bound;
    const ClassRow* type = object ? classOf(*object) : nullptr;
    if (!type) raise(errors::NoSuchMember);
    return std::make_shared<Face>(*type, object);
}

ObjectRef behindFace(const ObjectRef& object)
{
    const auto* face = dynamic_cast<const Face*>(object.get());
    return face ? face->object() : object;
}

} // namespace varnex3::server
