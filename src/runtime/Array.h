// runtime/Array.h - arrays that count from 1 in every dimension, with checked subscripts.
//
// Array1, Array2 and Array3 own their elements. A subscript outside the bounds raises 9.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <utility>
#include <vector>

#include "runtime/Error.h"

namespace varnex3 {

/// The whole numbers first..last, for range-based loops; empty when last < first.
class Counting {
public:
    class Iterator {
    public:
        constexpr Iterator(Long value, Long step) : value_(value), step_(step) {}
        constexpr Long operator*() const { return value_; }
        constexpr Iterator& operator++()
        {
            value_ += step_;
            return *this;
        }
        constexpr bool operator!=(const Iterator& other) const { return value_ != other.value_; }

    private:
        Long value_;
        Long step_;
    };

    constexpr Counting(Long first, Long end, Long step) : first_(first), end_(end), step_(step) {}
    constexpr Iterator begin() const { return {first_, step_}; }
    constexpr Iterator end() const { return {end_, step_}; }

private:
    Long first_;
    Long end_;
    Long step_;
};

constexpr Counting fromTo(Long first, Long last) { return {first, std::max(first, last + 1), 1}; }
constexpr Counting oneTo(Long last) { return fromTo(1, last); }
constexpr Counting downTo(Long first, Long last) { return {first, std::min(first, last - 1), -1}; }

namespace detail {
inline std::size_t checkedOffset(Long i, Long bound)
{
    if (i < 1 || i > bound) [[unlikely]]
        raise(errors::Subscript);
    return static_cast<std::size_t>(i - 1);
}
} // namespace detail

/// One dimension, 1..size().
template <class T>
class Array1 {
public:
    Array1() = default;
    explicit Array1(Long size, const T& value = T{}) { resize(size, value); }
    Array1(std::initializer_list<T> values) : items_(values) {}

    /// Sizes to 1..size with every element set to `value`; contents are lost.
    void resize(Long size, const T& value = T{}) { items_.assign(static_cast<std::size_t>(size), value); }
    /// Sizes to 1..size and keeps what fits; amortised constant time per appended element.
    void resizeKeep(Long size) { items_.resize(static_cast<std::size_t>(size)); }
    void clear() { items_.clear(); }
    void append(T value) { items_.push_back(std::move(value)); }
    void fill(const T& value) { std::fill(items_.begin(), items_.end(), value); }

    Long size() const { return static_cast<Long>(items_.size()); }
    bool empty() const { return items_.empty(); }

    decltype(auto) operator()(Long i) { return items_[detail::checkedOffset(i, size())]; }
    decltype(auto) operator()(Long i) const { return items_[detail::checkedOffset(i, size())]; }

    auto begin() { return items_.begin(); }
    auto end() { return items_.end(); }
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }
    const T* data() const { return items_.data(); }
    T* data() { return items_.data(); }

    friend bool operator==(const Array1&, const Array1&) = default;

private:
    std::vector<T> items_;
};

/// Two dimensions, (row, column), rows 1..rows() contiguous.
template <class T>
class Array2 {
public:
    Array2() = default;
    Array2(Long rows, Long cols, const T& value = T{}) { resize(rows, cols, value); }

    /// Sizes to rows x cols with every element set to `value`; contents are lost.
    void resize(Long rows, Long cols, const T& value = T{})
    {
        rows_ = rows;
        cols_ = cols;
        items_.assign(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols), value);
    }
    /// Changes the number of rows and keeps what fits; amortised constant time per appended row.
    void resizeRowsKeep(Long rows)
    {
        rows_ = rows;
        items_.resize(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols_));
    }
    /// Makes room for that many rows at once, so that appended ones cost no copy.
    void reserveRows(Long rows)
    {
        items_.reserve(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols_));
    }
    /// Gives room that is not used back.
    void shrinkToFit() { items_.shrink_to_fit(); }
    void clear() { *this = Array2{}; }
    void fill(const T& value) { std::fill(items_.begin(), items_.end(), value); }

    Long rows() const { return rows_; }
    Long cols() const { return cols_; }
    bool empty() const { return items_.empty(); }

    T& operator()(Long r, Long c) { return items_[offset(r, c)]; }
    const T& operator()(Long r, Long c) const { return items_[offset(r, c)]; }

    /// The elements of one row, 0-based as spans are.
    std::span<T> row(Long r)
    {
        const std::size_t at = detail::checkedOffset(r, rows_);
        return {items_.data() + at * static_cast<std::size_t>(cols_), static_cast<std::size_t>(cols_)};
    }
    std::span<const T> row(Long r) const
    {
        const std::size_t at = detail::checkedOffset(r, rows_);
        return {items_.data() + at * static_cast<std::size_t>(cols_), static_cast<std::size_t>(cols_)};
    }

    void swapRows(Long a, Long b)
    {
        if (a == b) return;
        auto ra = row(a), rb = row(b);
        std::swap_ranges(ra.begin(), ra.end(), rb.begin());
    }
    void swapCols(Long a, Long b)
    {
        for (Long r : oneTo(rows_)) std::swap((*this)(r, a), (*this)(r, b));
    }
    /// Row `to` becomes a copy of row `from` of `other`, which has as many columns.
    void copyRow(Long to, const Array2& other, Long from)
    {
        auto source = other.row(from);
        auto target = row(to);
        if (source.size() != target.size()) raise(errors::Subscript);
        std::copy(source.begin(), source.end(), target.begin());
    }
    void fillRow(Long r, const T& value)
    {
        auto target = row(r);
        std::fill(target.begin(), target.end(), value);
    }

    friend bool operator==(const Array2&, const Array2&) = default;

private:
    std::size_t offset(Long r, Long c) const
    {
        return detail::checkedOffset(r, rows_) * static_cast<std::size_t>(cols_) +
               detail::checkedOffset(c, cols_);
    }

    Long rows_ = 0;
    Long cols_ = 0;
    std::vector<T> items_;
};

/// Three dimensions, (k, j, i). All elements of one third index lie together, so that the array grows
/// by third indices at amortised constant cost each.
template <class T>
class Array3 {
public:
    Array3() = default;
    Array3(Long first, Long second, Long third, const T& value = T{}) { resize(first, second, third, value); }

    void resize(Long first, Long second, Long third, const T& value = T{})
    {
        first_ = first;
        second_ = second;
        third_ = third;
        items_.assign(layer() * static_cast<std::size_t>(third), value);
    }
    /// Changes the third dimension and keeps what fits.
    void resizeLastKeep(Long third)
    {
        third_ = third;
        items_.resize(layer() * static_cast<std::size_t>(third));
    }
    /// Makes room for that many third indices at once, so that appended ones cost no copy.
    void reserveLast(Long third) { items_.reserve(layer() * static_cast<std::size_t>(third)); }
    /// Gives room that is not used back.
    void shrinkToFit() { items_.shrink_to_fit(); }
    void clear() { *this = Array3{}; }

    Long size1() const { return first_; }
    Long size2() const { return second_; }
    Long size3() const { return third_; }
    bool empty() const { return items_.empty(); }

    T& operator()(Long k, Long j, Long i) { return items_[offset(k, j, i)]; }
    const T& operator()(Long k, Long j, Long i) const { return items_[offset(k, j, i)]; }

private:
    std::size_t layer() const { return static_cast<std::size_t>(first_) * static_cast<std::size_t>(second_); }
    std::size_t offset(Long k, Long j, Long i) const
    {
        return detail::checkedOffset(i, third_) * layer() +
               detail::checkedOffset(j, second_) * static_cast<std::size_t>(first_) +
               detail::checkedOffset(k, first_);
    }

    Long first_ = 0;
    Long second_ = 0;
    Long third_ = 0;
    std::vector<T> items_;
};

} // namespace varnex3
