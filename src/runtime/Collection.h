// runtime/Collection.h - the keyed collection of the macro runtime.
//
// Ordered by insertion, counted from 1, each item optionally under a unique text key (compared exactly).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runtime/Array.h"
#include "runtime/Error.h"
#include "runtime/Object.h"

namespace varnex3 {

/// Items are counted references to T. A missing key raises 5, a missing position 9, a duplicate key 457.
template <class T>
class KeyedCollection : public Object {
public:
    Long Count() const { return static_cast<Long>(items_.size()); }

    void Add(Ref<T> item, std::string key = {})
    {
        if (!key.empty() && find(key)) raise(errors::DuplicateKey);
        items_.push_back({std::move(item), std::move(key)});
    }

    const Ref<T>& Item(Long position) const { return items_[detail::checkedOffset(position, Count())].item; }
    const Ref<T>& Item(std::string_view key) const { return items_[require(key)].item; }

    /// The item, or no object when there is none.
    Ref<T> tryItem(Long position) const
    {
        return position >= 1 && position <= Count() ? Item(position) : nullptr;
    }
    Ref<T> tryItem(std::string_view key) const
    {
        const Entry* entry = find(key);
        return entry ? entry->item : nullptr;
    }

    void Remove(Long position)
    {
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(detail::checkedOffset(position, Count())));
    }
    void Remove(std::string_view key)
    {
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(require(key)));
    }

private:
    struct Entry {
        Ref<T> item;
        std::string key; // empty: none
    };

    const Entry* find(std::string_view key) const
    {
        for (const Entry& entry : items_)
            if (!entry.key.empty() && entry.key == key) return &entry;
        return nullptr;
    }
    std::size_t require(std::string_view key) const
    {
        const Entry* entry = find(key);
        if (!entry) raise(errors::InvalidCall);
        return static_cast<std::size_t>(entry - items_.data());
    }

    std::vector<Entry> items_; // tens of items: a scan beats a map and keeps one copy of the order
};

} // namespace varnex3
