/* A bump allocator for the codec: memory for one message at a time, handed out by moving a pointer and taken back all at
 * once. Optional; the codec takes any pair of memory functions.
 *
 *     uint64_t block[512];
 *     zidl_arena arena;
 *     zidl_arena_init(&arena, block, sizeof block);
 *     while (next_update(&buf, &len)) {
 *         zidl_rib_route route;
 *         if (zidl_rib_route_decode_ext(&route, buf, len, zidl_arena_alloc, &arena, 0) == ZIDL_OK)
 *             use(&route);
 *         zidl_arena_reset(&arena);
 *     }
 *     zidl_arena_destroy(&arena);
 *
 * Memory comes from the caller's block first, then from blocks obtained through malloc, each at least twice as large as
 * the one before. A reset keeps the largest of them for the next time that the caller's block does not suffice, so that
 * updates of a usual size soon need no malloc at all.
 *
 * A record decoded out of an arena needs no release; releasing it with zidl_arena_free is allowed and does nothing to the
 * memory. An arena serves one thread at a time. */

#ifndef CODEC_ZIDL_ARENA_H
#define CODEC_ZIDL_ARENA_H

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __GNUC__
#define ZIDL_ARENA_RARE __attribute__((noinline, cold, unused))
#else
#define ZIDL_ARENA_RARE
#endif

/* What every pointer handed out is a multiple of: enough for all members of all records. */
enum { ZIDL_ARENA_ALIGNMENT = 8 };

/* The size of the first block obtained through malloc, in bytes. */
enum { ZIDL_ARENA_FIRST_GROWTH = 4096 };

/* The head of a block obtained through malloc; its memory follows. */
typedef struct zidl_arena_block {
    struct zidl_arena_block *older;
    size_t size; /* bytes behind the head */
} zidl_arena_block;

/* Members are the functions' own business. */
typedef struct zidl_arena {
    uint8_t *free_begin; /* the unused rest of the current block, whole multiples of the alignment */
    uint8_t *free_end;
    uint8_t *caller_begin; /* the caller's block, aligned; empty when there is none */
    uint8_t *caller_end;
    zidl_arena_block *newest; /* of the blocks from malloc that are in use, the largest; null when there is none */
    zidl_arena_block *spare;  /* a block from malloc that waits for its use; null when there is none */
} zidl_arena;

/* Makes `arena` ready. `block` is the caller's, `size` bytes long, and must outlive the arena's use; it may be null when
 * `size` is 0. Nothing is allocated yet. */
static inline void zidl_arena_init(zidl_arena *arena, void *block, size_t size)
{
    const size_t misaligned = (size_t)((uintptr_t)block % ZIDL_ARENA_ALIGNMENT);
    const size_t skipped = misaligned == 0 ? 0 : ZIDL_ARENA_ALIGNMENT - misaligned;
    /* No room, but a place that is not null, for sizes of 0. */
    arena->caller_begin = (uint8_t *)arena;
    arena->caller_end = (uint8_t *)arena;
    if (block != NULL && size > skipped) {
        arena->caller_begin = (uint8_t *)block + skipped;
        arena->caller_end = arena->caller_begin + (size - skipped) / ZIDL_ARENA_ALIGNMENT * ZIDL_ARENA_ALIGNMENT;
    }
    arena->free_begin = arena->caller_begin;
    arena->free_end = arena->caller_end;
    arena->newest = NULL;
    arena->spare = NULL;
}

/* Makes `block` the current one. */
static inline void zidl_arena_use(zidl_arena *arena, zidl_arena_block *block)
{
    block->older = arena->newest;
    arena->newest = block;
    arena->free_begin = (uint8_t *)(block + 1);
    arena->free_end = arena->free_begin + block->size;
}

/* A new current block with room for `size` bytes: 1, or 0 when malloc has none. */
static inline int zidl_arena_grow(zidl_arena *arena, size_t size)
{
    zidl_arena_block *block = arena->spare;
    size_t room = (size_t)ZIDL_ARENA_FIRST_GROWTH;
    if (arena->newest == NULL && block != NULL && block->size >= size) {
        arena->spare = NULL;
        zidl_arena_use(arena, block);
        return 1;
    }
    if (arena->newest != NULL)
        room = 2 * arena->newest->size;
    if (room < size)
        room = size;
    if (room > SIZE_MAX / 4)
        return 0;
    block = (zidl_arena_block *)malloc(sizeof *block + room);
    if (block == NULL)
        return 0;
    block->size = room;
    zidl_arena_use(arena, block);
    return 1;
}

/* The same as zidl_arena_alloc where the current block does not suffice; a function of its own, so that the usual way needs
 * few registers. */
ZIDL_ARENA_RARE static void *zidl_arena_alloc_grown(size_t size, void *arena)
{
    zidl_arena *const self = (zidl_arena *)arena;
    uint8_t *memory;
    if (size > SIZE_MAX / 4)
        return NULL;
    size = (size + (ZIDL_ARENA_ALIGNMENT - 1)) & ~(size_t)(ZIDL_ARENA_ALIGNMENT - 1);
    if (!zidl_arena_grow(self, size))
        return NULL;
    memory = self->free_begin;
    self->free_begin += size;
    return memory;
}

/* A zidl_alloc_fn; `arena` is the zidl_arena. Returns `size` bytes of undefined content that stay valid until the arena is
 * reset or destroyed, or null when malloc has no more. A size of 0 is allowed. */
static inline void *zidl_arena_alloc(size_t size, void *arena)
{
    zidl_arena *const self = (zidl_arena *)arena;
    uint8_t *const memory = self->free_begin;
    /* The room is a multiple of the alignment: what fits as it is fits rounded up, too. */
    if (size > (size_t)(self->free_end - memory))
        return zidl_arena_alloc_grown(size, arena);
    self->free_begin = memory + ((size + (ZIDL_ARENA_ALIGNMENT - 1)) & ~(size_t)(ZIDL_ARENA_ALIGNMENT - 1));
    return memory;
}

/* A zidl_free_fn that leaves the memory to the arena. */
static inline void zidl_arena_free(void *ptr, void *arena)
{
    (void)ptr;
    (void)arena;
}

/* Takes back everything that was handed out; all of it is invalid from now on. Keeps the largest block from malloc. */
static inline void zidl_arena_reset(zidl_arena *arena)
{
    while (arena->newest != NULL) {
        zidl_arena_block *const block = arena->newest;
        arena->newest = block->older;
        if (arena->spare != NULL && arena->spare->size >= block->size) {
            free(block);
        } else {
            free(arena->spare);
            arena->spare = block;
        }
    }
    arena->free_begin = arena->caller_begin;
    arena->free_end = arena->caller_end;
}

/* Takes back everything and gives all memory from malloc back. The arena is then as after zidl_arena_init. */
static inline void zidl_arena_destroy(zidl_arena *arena)
{
    zidl_arena_reset(arena);
    free(arena->spare);
    arena->spare = NULL;
}

#ifdef __cplusplus
}
#endif

#endif
