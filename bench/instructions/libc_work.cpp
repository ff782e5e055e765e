#include "bench/instructions/libc_work.hpp"

#include <cstddef>

namespace bench
{

libc_work libc_work_done;

} // namespace bench

using bench::libc_work_done;

extern "C" {

void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void __real_free(void *block);
void *__real_memset(void *dst, int value, size_t len);
void *__real_memcpy(void *dst, const void *src, size_t len);
void *__real_memmove(void *dst, const void *src, size_t len);
size_t __real_strlen(const char *text);

void *__wrap_malloc(size_t size)
{
    ++libc_work_done.malloc_calls;
    libc_work_done.malloc_bytes += size;
    return __real_malloc(size);
}

void *__wrap_calloc(size_t count, size_t size)
{
    ++libc_work_done.calloc_calls;
    libc_work_done.calloc_bytes += count * size;
    return __real_calloc(count, size);
}

void __wrap_free(void *block)
{
    ++libc_work_done.free_calls;
    __real_free(block);
}

void *__wrap_memset(void *dst, int value, size_t len)
{
    ++libc_work_done.memset_calls;
    libc_work_done.memset_bytes += len;
    return __real_memset(dst, value, len);
}

void *__wrap_memcpy(void *dst, const void *src, size_t len)
{
    ++libc_work_done.memcpy_calls;
    libc_work_done.memcpy_bytes += len;
    return __real_memcpy(dst, src, len);
}

void *__wrap_memmove(void *dst, const void *src, size_t len)
{
    ++libc_work_done.memcpy_calls;
    libc_work_done.memcpy_bytes += len;
    return __real_memmove(dst, src, len);
}

size_t __wrap_strlen(const char *text)
{
    const size_t len = __real_strlen(text);
    ++libc_work_done.strlen_calls;
    libc_work_done.strlen_bytes += len;
    return len;
}

} // extern "C"
