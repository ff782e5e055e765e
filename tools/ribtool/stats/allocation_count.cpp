// The library calls malloc and calloc by name. ribtool defines both and exports them, as it does with __assert_fail, so that the shared
// library binds to them; each counts and goes on to the one that would have been called. The blocks are that one's, and so are free and
// all the rest. The sanitizers must see every call themselves, so they are asked instead.

#include "tools/ribtool/stats/allocation_count.hpp"

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HAS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define HAS_SANITIZER 1
#endif
#endif

namespace
{

ribtool::allocation_count made;

void count(size_t bytes)
{
    ++made.number;
    made.bytes += bytes;
}

} // namespace

#ifdef HAS_SANITIZER

// As <sanitizer/allocator_interface.h> has it, which not every compiler brings along.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void *, size_t),
                                                         void (*free_hook)(const volatile void *));

namespace
{

[[maybe_unused]] const int hooked = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void *, size_t size) { count(size); }, [](const volatile void *) {});

} // namespace

#else

#include <dlfcn.h>

extern "C" {

void *__libc_malloc(size_t size) noexcept;
void *__libc_calloc(size_t number, size_t size) noexcept;

} // extern "C"

namespace
{

// What follows in the order of the search, or, while that is being found out, the C library's own.
template <class Function>
class next_function
{
public:
    constexpr next_function(const char *name, Function *own) : name_(name), found_(own) {}

    Function *get()
    {
        if (!is_found_) {
            is_found_ = true;
            if (void *const symbol = dlsym(RTLD_NEXT, name_); symbol != nullptr)
                found_ = reinterpret_cast<Function *>(symbol);
        }
        return found_;
    }

private:
    const char *name_;
    Function *found_;
    bool is_found_ = false;
};

constinit next_function<void *(size_t) noexcept> next_malloc("malloc", __libc_malloc);
constinit next_function<void *(size_t, size_t) noexcept> next_calloc("calloc", __libc_calloc);

} // namespace

extern "C" {

__attribute__((visibility("default"))) void *malloc(size_t size) noexcept
{
    count(size);
    return next_malloc.get()(size);
}

__attribute__((visibility("default"))) void *calloc(size_t number, size_t size) noexcept
{
    count(number * size);
    return next_calloc.get()(number, size);
}

} // extern "C"

#endif

namespace ribtool
{

allocation_count allocations_so_far()
{
    return made;
}

} // namespace ribtool
