// Where messages get memory: malloc, any pair of memory functions, or an arena. A message has one of these by value.

#pragma once

#include "codec/cpp/span.hpp"
#include "codec/zidl_arena.h"

#include <cstdlib>
#include <cstring>

namespace zidl
{

// malloc and free.
struct heap {
    static constexpr bool releases = true;

    static void *allocate(std::size_t size, void *) { return std::malloc(size != 0 ? size : 1); }
    static void release(void *ptr, void *) { std::free(ptr); }

    static zidl_alloc_fn alloc_fn() { return allocate; }
    static void *alloc_ctx() { return nullptr; }
    static zidl_free_fn free_fn() { return release; }
    static void *free_ctx() { return nullptr; }
};

// The caller's functions with a context each, as codec/zidl.h has them. The contexts outlive the message.
class functions
{
public:
    static constexpr bool releases = true;

    functions(zidl_alloc_fn allocate, zidl_free_fn release, void *ctx) : functions(allocate, ctx, release, ctx) {}
    functions(zidl_alloc_fn allocate, void *allocate_ctx, zidl_free_fn release, void *release_ctx)
        : alloc_fn_(allocate), alloc_ctx_(allocate_ctx), free_fn_(release), free_ctx_(release_ctx)
    {
    }

    zidl_alloc_fn alloc_fn() const { return alloc_fn_; }
    void *alloc_ctx() const { return alloc_ctx_; }
    zidl_free_fn free_fn() const { return free_fn_; }
    void *free_ctx() const { return free_ctx_; }

private:
    zidl_alloc_fn alloc_fn_;
    void *alloc_ctx_;
    zidl_free_fn free_fn_;
    void *free_ctx_;
};

// A zidl_arena that ends with its scope. Its messages are invalid from then on, and after reset(); they may outlive it as
// long as nobody looks into them.
class arena
{
public:
    arena() : arena(nullptr, 0) {}
    arena(void *block, std::size_t size) { zidl_arena_init(&arena_, block, size); } // `block` outlives the arena
    ~arena() { zidl_arena_destroy(&arena_); }
    arena(const arena &) = delete;
    arena &operator=(const arena &) = delete;

    void reset() { zidl_arena_reset(&arena_); }
    operator zidl_arena &() { return arena_; }

private:
    zidl_arena arena_;
};

// Out of an arena, which takes all back at once: nothing is released, and the end of a message does not touch the arena.
class in_arena
{
public:
    static constexpr bool releases = false;

    in_arena(zidl_arena &from) : arena_(&from) {}
    in_arena(arena &from) : arena_(&static_cast<zidl_arena &>(from)) {}
    in_arena(arena &&) = delete; // would end before the message

    static zidl_alloc_fn alloc_fn() { return zidl_arena_alloc; }
    void *alloc_ctx() const { return arena_; }
    static zidl_free_fn free_fn() { return zidl_arena_free; }
    static void *free_ctx() { return nullptr; }

private:
    zidl_arena *arena_;
};

// A copy in the arena, with a NUL behind it, for setters of strings; null when there is no memory. Ends at a NUL in `source`,
// as every string of a message does.
inline const char *copy(zidl_arena &arena, std::string_view source)
{
    char *const text = static_cast<char *>(zidl_arena_alloc(source.size() + 1, &arena));
    if (text == nullptr)
        return nullptr;
    if (!source.empty())
        std::memcpy(text, source.data(), source.size());
    text[source.size()] = '\0';
    return text;
}

// A copy of the elements in the arena, for setters of bytes and arrays; empty when there is no memory. What the elements point
// to is not copied.
template <class T>
span<std::remove_const_t<T>> copy(zidl_arena &arena, span<T> source)
{
    static_assert(std::is_trivially_copyable_v<T>, "elements of records are plain");
    if (source.empty() || source.size() > SIZE_MAX / sizeof(T))
        return {};
    void *const elements = zidl_arena_alloc(source.size() * sizeof(T), &arena);
    if (elements == nullptr)
        return {};
    std::memcpy(elements, source.data(), source.size() * sizeof(T));
    return {static_cast<std::remove_const_t<T> *>(elements), source.size()};
}

} // namespace zidl
