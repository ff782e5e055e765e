// What is tried with one value: its bits, the numbers and sizes that limits are about, its absence.

#pragma once

#include "inspect/measure/prober.hpp"
#include "inspect/measure/values.hpp"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

namespace rib_inspect
{

// Of a text or block that is longer, not all bytes are tried.
constexpr size_t bytes_at_most = 512;

// A field whose bits each have a place of their own in one member, and do nothing else: a copy, or a part of one.
struct plain_copy {
    const record_member *member;
    std::array<uint64_t, 64> places; // by the field's bits; 0: lost

    uint64_t places_of(uint64_t bits) const
    {
        uint64_t all = 0;
        for (; bits != 0; bits &= bits - 1)
            all |= places[static_cast<size_t>(std::countr_zero(bits))];
        return all;
    }
};

// Fields that were seen to be plain copies, wherever they stand: by the way to them, without indices.
class plain_copies
{
public:
    static std::string key(const field_path &path)
    {
        std::string key;
        for (uint32_t i = 0; i < path.depth; ++i)
            key.append(reinterpret_cast<const char *>(&path.steps[i].field), sizeof path.steps[i].field);
        return key;
    }

    const plain_copy *find(const field_path &path) const
    {
        const auto found = copies_.find(key(path));
        return found == copies_.end() ? nullptr : &found->second;
    }

    void add(const field_path &path, const plain_copy &copy) { copies_.emplace(key(path), copy); }

private:
    std::unordered_map<std::string, plain_copy> copies_;
};

// What holds for all the values of an update.
struct trials {
    plain_copies known;
    size_t bytes_left; // of encodings that may be converted
};

// Tries all with a value that there is to try, and leaves it as it was.
void try_all(prober &probe, tried_value &of, plain_copies &known);

} // namespace rib_inspect
