// server/CollectionClasses.cpp - the rows of the keyed collections that a formulation and a parameter hold.
#include "server/Classes.h"
#include "server/Thunks.h"

namespace varnex3::server {
namespace {

template <class T>
Ref<T> itemOf(KeyedCollection<T>& items, const Variant& index)
{
    const std::string* key = index.asText();
    return key ? items.Item(std::string_view(*key)) : items.Item(toLong(index));
}
template <class T>
void addTo(KeyedCollection<T>& items, const Ref<T>& item, const std::string& key)
{
    if (!item) raise(errors::ObjectNotSet);
    items.Add(item, key);
}
template <class T>
void removeFrom(KeyedCollection<T>& items, const Variant& index)
{
    if (const std::string* key = index.asText())
        items.Remove(std::string_view(*key));
    else
        items.Remove(toLong(index));
}

template <class T>
constexpr MemberRow kMembers[] = {
    getter<&itemOf<T>>("Item", {ref("index")}, "The item at a position from 1, or under a key."),
    getter<&KeyedCollection<T>::Count>("Count", {}, "Number of items."),
    method<&addTo<T>>("Add", {ref("item"), opt("key")}, "Appends an item, under a key when one is given."),
    method<&removeFrom<T>>("Remove", {ref("index")}, "Removes the item at a position, or under a key."),
};

template <class T>
constexpr ClassRow collectionOf()
{
    return {"Collection",
            false,
            nullptr,
            isObject<KeyedCollection<T>>,
            &typeid(KeyedCollection<T>),
            kMembers<T>,
            1,
            "Items of one kind in the order added, each by its position or key; what f.Xs, f.Ys, f.Cs, f.Gs "
            "and a "
            "parameter's dist are.",
            "For i = 1 To f.Xs.Count\n    MsgBox f.Xs.Item(i).Name\nNext"};
}

constexpr ClassRow kRows[] = {
    collectionOf<c_Parameter>(),           collectionOf<c_Response>(),
    collectionOf<c_Constraint>(),          collectionOf<c_Goal>(),
    collectionOf<DistributionComponent>(),
};

} // namespace

std::span<const ClassRow> collectionClasses() { return kRows; }

} // namespace varnex3::server
