// What a client has of a stream of updates: of each key the last update.
//
// Of an update the memory holds an entry of 40 bytes and one or two words of an index; its content lies in a payload_store. Keys are
// compared whole, and contents byte by byte: nothing here takes two things for the same because their hashes are.

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/state/payload_store.hpp"
#include "tools/ribtool/state/update_key.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace ribtool
{

// An update that was the last of its key.
struct kept_update {
    update_key key;
    uint8_t code = 0;
    bool is_live = false; // else it was taken away since
    uint16_t len = 0;     // of its content
    uint64_t place = 0;
    uint64_t frame = 0; // its number in the stream
};

class state_table
{
public:
    state_table();

    // `content` is the update's payload; of an element of a grid list the record of its key.
    void set(const update_key &key, uint16_t code, byte_span content, uint64_t frame);
    void withdraw(const update_key &key);

    size_t size() const { return live_; } // keys that have an update

    const kept_update *find(const update_key &key) const; // null: it has none
    byte_span content(const kept_update &of) const { return store_.at(of.place, of.len); }

    // Calls each(update) for all that there are, in the order in which their keys came first.
    template <class Each>
    void for_each(Each each) const
    {
        for (size_t number = 0; number < count_; ++number) {
            if (const kept_update &update = entry(number); update.is_live)
                each(update);
        }
    }

private:
    static constexpr size_t BLOCK = 1 << 14; // entries

    const kept_update &entry(size_t number) const { return blocks_[number / BLOCK][number % BLOCK]; }
    kept_update &entry(size_t number) { return blocks_[number / BLOCK][number % BLOCK]; }
    uint32_t hash(const update_key &key) const;
    uint64_t &slot(const update_key &key, uint32_t hash);
    kept_update &entry_of(const update_key &key);
    void grow();

    payload_store store_;
    std::vector<std::unique_ptr<kept_update[]>> blocks_;
    size_t count_ = 0; // of entries, live or not
    size_t live_ = 0;
    std::vector<uint64_t> slots_; // 0: free; else the hash of a key and above it the number of its entry, from 1
    std::array<uint64_t, 2> seeds_;
};

} // namespace ribtool
