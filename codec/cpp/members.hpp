// How the generated accessors read and write a member of a record, by its kind. A member is absent when its presence bit is
// clear, and then reads as 0, as an empty string or as an empty range, whatever the record holds in its place.

#pragma once

#include "codec/cpp/span.hpp"

#include <cstdlib>

namespace zidl
{

template <class T>
class view;

// A range of messages: its elements are views.
template <class T>
class views
{
public:
    class iterator
    {
    public:
        using iterator_category = std::input_iterator_tag; // an element is made when it is asked for
        using value_type = view<T>;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = view<T>;

        iterator() = default;
        explicit iterator(const T *at) : at_(at) {}
        view<T> operator*() const { return view<T>(*at_); }
        iterator &operator++() { return ++at_, *this; }
        iterator operator++(int) { return iterator(at_++); }
        friend bool operator==(iterator left, iterator right) { return left.at_ == right.at_; }
        friend bool operator!=(iterator left, iterator right) { return left.at_ != right.at_; }

    private:
        const T *at_ = nullptr;
    };

    views() = default;
    explicit views(span<const T> records) : records_(records) {}

    std::size_t size() const { return records_.size(); }
    bool empty() const { return records_.empty(); }
    iterator begin() const { return iterator(records_.begin()); }
    iterator end() const { return iterator(records_.end()); }
    view<T> operator[](std::size_t index) const { return view<T>(records_[index]); } // index < size()
    view<T> front() const { return (*this)[0]; }                                     // not of an empty one
    view<T> back() const { return (*this)[size() - 1]; }

    span<const T> records() const { return records_; } // as they lie

private:
    span<const T> records_;
};

// A range of blocks of bytes.
class blocks
{
public:
    class iterator
    {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = bytes;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = bytes;

        iterator() = default;
        explicit iterator(const zidl_bytes *at) : at_(at) {}
        bytes operator*() const { return {at_->data, static_cast<std::size_t>(at_->size)}; }
        iterator &operator++() { return ++at_, *this; }
        iterator operator++(int) { return iterator(at_++); }
        friend bool operator==(iterator left, iterator right) { return left.at_ == right.at_; }
        friend bool operator!=(iterator left, iterator right) { return left.at_ != right.at_; }

    private:
        const zidl_bytes *at_ = nullptr;
    };

    blocks() = default;
    explicit blocks(span<const zidl_bytes> records) : records_(records) {}

    std::size_t size() const { return records_.size(); }
    bool empty() const { return records_.empty(); }
    iterator begin() const { return iterator(records_.begin()); }
    iterator end() const { return iterator(records_.end()); }
    bytes operator[](std::size_t index) const { return *iterator(records_.begin() + index); } // index < size()

    span<const zidl_bytes> records() const { return records_; } // as they lie

private:
    span<const zidl_bytes> records_;
};

namespace member
{

// ---- Reading ----

template <unsigned Bit, class Record>
constexpr bool has(const Record &record)
{
    return (record.presence >> Bit & 1U) != 0;
}

template <unsigned Bit, class Record, class Value>
constexpr Value value(const Record &record, Value held)
{
    return has<Bit>(record) ? held : Value{};
}

template <unsigned Bit, class Record>
std::string_view string(const Record &record, const char *held)
{
    return has<Bit>(record) && held != nullptr ? std::string_view(held) : std::string_view();
}

template <unsigned Bit, class Record, class Element, class Count>
span<const Element> array(const Record &record, const Element *held, Count count)
{
    if (!has<Bit>(record) || held == nullptr)
        return {};
    return {held, static_cast<std::size_t>(count)};
}

template <unsigned Bit, class Record, class Element, class Count>
views<Element> messages(const Record &record, const Element *held, Count count)
{
    return views<Element>(array<Bit>(record, held, count));
}

template <unsigned Bit, class Record, class Count>
blocks byte_blocks(const Record &record, const zidl_bytes *held, Count count)
{
    return blocks(array<Bit>(record, held, count));
}

// ---- Writing ----

template <unsigned Bit, class Record>
void mark(Record &record)
{
    using word = decltype(record.presence);
    record.presence = static_cast<word>(record.presence | word{1} << Bit);
}

template <unsigned Bit, class Record>
void unmark(Record &record)
{
    using word = decltype(record.presence);
    record.presence = static_cast<word>(record.presence & ~(word{1} << Bit));
}

template <unsigned Bit, class Record, class Held, class Value>
void set(Record &record, Held &held, const Value &value)
{
    held = static_cast<Held>(value);
    mark<Bit>(record);
}

// A null string is an absent one.
template <unsigned Bit, class Record>
void set(Record &record, char *&held, text value)
{
    held = const_cast<char *>(value.c_str()); // nothing writes to it
    held != nullptr ? mark<Bit>(record) : unmark<Bit>(record);
}

// A count that its member cannot hold would be cut off: a mistake that no data leads to, and that zidl.hpp speaks of.
template <unsigned Bit, class Record, class Element, class Count>
void set(Record &record, Element *&held, Count &count, borrowed<Element> value)
{
    if (value.size() > static_cast<Count>(-1))
        std::abort();
    held = const_cast<Element *>(value.data()); // nothing writes to it
    count = static_cast<Count>(value.size());
    mark<Bit>(record);
}

template <unsigned Bit, class Record, class... Held>
void clear(Record &record, Held &...held)
{
    ((held = Held{}), ...);
    unmark<Bit>(record);
}

} // namespace member
} // namespace zidl
