// sensitivity/IndexedRows.h - the parallel indexed arrays of the inputs and outputs, one row per input.
#pragma once

#include <type_traits>
#include <utility>

#include "runtime/Array.h"
#include "runtime/Object.h"
#include "runtime/Variant.h"

namespace varnex3 {

/// Base of the classes that hold one row per input i = 1..CountX. A put beyond the end enlarges all arrays to
/// its index, a put below 1 does nothing, a get outside gives the empty value of the field.
template <class Row>
class IndexedRows : public Object {
public:
    /// Sizes all arrays to 1..size and keeps what fits; nothing when size is below 1.
    Variant resizeArrays(Long size)
    {
        if (size >= 1) rows_.resizeKeep(size);
        return {};
    }
    Long CountX() const { return rows_.size(); }

protected:
    void clear() { rows_.clear(); }

    template <class T>
    T get(Long i, T Row::*field) const
    {
        return i >= 1 && i <= CountX() ? rows_(i).*field : T{};
    }
    template <class T>
    void put(Long i, T Row::*field, std::type_identity_t<T> value)
    {
        if (i < 1) return;
        if (i > CountX()) rows_.resizeKeep(i);
        rows_(i).*field = std::move(value);
    }

private:
    Array1<Row> rows_;
};

} // namespace varnex3
