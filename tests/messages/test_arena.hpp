// Memory for the codec under test: it hands out blocks full of 0xA5 with a red zone after each, notes every request and
// every release, and can be told to fail. Two arenas that got the same requests place their blocks alike, so that the
// offsets in them tell whether two records own the same things.

#pragma once

#include "codec/zidl.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

class test_arena
{
public:
    static constexpr size_t NEVER = std::numeric_limits<size_t>::max();

    explicit test_arena(size_t capacity = size_t{32} << 20);
    ~test_arena();
    test_arena(const test_arena &) = delete;
    test_arena &operator=(const test_arena &) = delete;

    // Forgets all blocks and notes; the request number `failing` (from 0) will get a null pointer, and with `lasting` all
    // later ones too.
    void reset(size_t failing = NEVER, bool lasting = false);

    void *allocate(size_t size);

    // The two functions that the codec is given, with the arena as their context.
    static void *allocate_from(size_t size, void *arena);
    static void note_release(void *block, void *arena);

    bool owns(const void *pointer) const;
    size_t offset_of(const void *pointer) const;

    const std::vector<size_t> &requests() const { return requests_; }
    const std::vector<size_t> &releases() const { return releases_; } // offsets
    void forget_releases() { releases_.clear(); }

    // To be asked last before the next reset: under AddressSanitizer it gives up the poisoning of the zones.
    bool red_zones_are_intact();

private:
    struct block {
        size_t offset;
        size_t size;
    };

    bool refuses(size_t request, size_t size) const;
    void take_up_to(size_t end);

    size_t capacity_;
    std::unique_ptr<uint8_t[]> memory_;
    size_t used_ = 0;
    size_t failing_ = NEVER;
    bool lasting_ = false;
    std::vector<block> blocks_;
    std::vector<size_t> requests_;
    std::vector<size_t> releases_;
};
