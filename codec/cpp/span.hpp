// Memory that somebody else owns: span<T>, a pointer and a count, and what setters take, which refuses temporaries.

#pragma once

#include "codec/zidl.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>

namespace zidl
{

namespace member
{

// What a container's data() leads to; nothing for what has no data() and size().
template <class C>
using element_of = std::remove_pointer_t<decltype(std::data(std::declval<C &>()))>;

template <class C, class T, class = void>
struct holds : std::false_type {
};
template <class C, class T>
struct holds<C, T, std::void_t<element_of<C>, decltype(std::size(std::declval<C &>()))>>
    : std::is_convertible<element_of<C> (*)[], T (*)[]> {
};

// Whether the elements outlive the C that leads to them: in C++20, types say so themselves.
#if defined(__cpp_lib_ranges)
template <class C>
inline constexpr bool is_outlived = std::ranges::enable_borrowed_range<C>;
#else
template <class C>
inline constexpr bool is_outlived = false;
#endif

} // namespace member

// `size()` elements that stand together, of which it owns none. Made of an array, of a pointer and a count, and of whatever has
// data() and size(); from C++20 on, std::span takes it and gives it.
template <class T>
class span
{
public:
    using element_type = T;
    using value_type = std::remove_cv_t<T>;
    using iterator = T *;

    constexpr span() = default;
    constexpr span(T *data, std::size_t size) : data_(data), size_(size) {}
    template <class Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
    span(Number, std::size_t) = delete; // {0, 1} is no null pointer and a count
    template <class C, std::enable_if_t<member::holds<C, T>::value, int> = 0>
    constexpr span(C &container) : data_(std::data(container)), size_(std::size(container))
    {
    }
    template <class C, std::enable_if_t<std::is_const_v<T> && member::holds<const C, T>::value, int> = 0>
    constexpr span(const C &container) : data_(std::data(container)), size_(std::size(container))
    {
    }

    constexpr T *data() const { return data_; }
    constexpr std::size_t size() const { return size_; }
    constexpr bool empty() const { return size_ == 0; }
    constexpr T *begin() const { return data_; }
    constexpr T *end() const { return data_ + size_; }
    constexpr T &operator[](std::size_t index) const { return data_[index]; } // index < size()
    constexpr T &front() const { return data_[0]; }                           // not of an empty one
    constexpr T &back() const { return data_[size_ - 1]; }

    // The first `count` elements, and what is left without the first `count`: of no more than there are.
    constexpr span first(std::size_t count) const { return {data_, count < size_ ? count : size_}; }
    constexpr span without_first(std::size_t count) const
    {
        return count < size_ ? span(data_ + count, size_ - count) : span(data_ + size_, 0);
    }

private:
    T *data_ = nullptr;
    std::size_t size_ = 0;
};

template <class C>
span(C &) -> span<member::element_of<C>>;

using bytes = span<const std::uint8_t>;

// The characters as they lie, for input that came as a string; and bytes as characters.
inline bytes bytes_of(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}
inline std::string_view text_of(bytes input)
{
    return {reinterpret_cast<const char *>(input.data()), input.size()};
}

// An element of a repeated bytes member that borrows `contents`: nothing writes to them.
inline zidl_bytes block_of(bytes contents)
{
    return {const_cast<std::uint8_t *>(contents.data()), contents.size()};
}

template <class T>
class record;
template <class T>
class views;
class blocks;

// What a record is to borrow: elements that outlive it. A temporary container does not compile; a temporary std::span does, and
// what a getter returns.
template <class T>
class borrowed
{
    // A record<T> is a T and nothing else (zidl.hpp).
    template <class C>
    static constexpr bool can_lend =
        member::holds<const C, const T>::value || member::holds<const C, const record<T>>::value;

    template <class Range>
    static constexpr bool is_of_getter = std::is_same_v<Range, views<T>> ||
                                         (std::is_same_v<Range, blocks> && std::is_same_v<T, zidl_bytes>);

public:
    constexpr borrowed() = default;
    constexpr borrowed(const T *data, std::size_t size) : data_(data), size_(size) {}
    template <class Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
    borrowed(Number, std::size_t) = delete; // {0, 1} is no null pointer and a count
    template <class U, std::enable_if_t<std::is_same_v<std::remove_const_t<U>, T>, int> = 0>
    constexpr borrowed(span<U> elements) : data_(elements.data()), size_(elements.size())
    {
    }
    template <class C, std::enable_if_t<can_lend<C>, int> = 0>
    borrowed(const C &container) : data_(reinterpret_cast<const T *>(std::data(container))), size_(std::size(container))
    {
    }
    template <class C, std::enable_if_t<can_lend<C> && !member::is_outlived<C>, int> = 0>
    borrowed(const C &&) = delete;
    template <class Range, std::enable_if_t<is_of_getter<Range>, int> = 0>
    borrowed(const Range &range) : borrowed(range.records())
    {
    }

    constexpr const T *data() const { return data_; }
    constexpr std::size_t size() const { return size_; }

private:
    const T *data_ = nullptr;
    std::size_t size_ = 0;
};

// A string that a record is to borrow: characters with a NUL behind them, which outlive it. A std::string_view has no NUL, and
// a temporary string ends too soon: neither compiles. copy() of memory.hpp makes either last.
class text
{
public:
    constexpr text(const char *characters) : characters_(characters) {}
    template <class S, class = decltype(std::declval<const S &>().c_str())>
    text(const S &string) : characters_(string.c_str())
    {
    }
    template <class S, class = decltype(std::declval<const S &>().c_str())>
    text(const S &&) = delete;

    constexpr const char *c_str() const { return characters_; }

private:
    const char *characters_;
};

} // namespace zidl

#if defined(__cpp_lib_ranges)
template <class T>
inline constexpr bool std::ranges::enable_borrowed_range<zidl::span<T>> = true;
#endif
