// Runs one operation of the generated code and of the reference side by side and tells where they differ: results, output
// bytes and the bytes around them, segments, requests and releases of memory, whole records.

#pragma once

#include "codec/zidl.h"
#include "messages/descriptors.hpp"
#include "tests/messages/compare_records.hpp"
#include "tests/messages/guarded_buffer.hpp"
#include "tests/messages/test_arena.hpp"

#include <optional>
#include <string>
#include <vector>

struct output_plan {
    std::optional<size_t> buflen;     // none: a null buffer
    std::optional<uint32_t> capacity; // of the segment list; none: a null nsegs
    uint32_t flags = 0;
};

struct memory_plan {
    bool given = true;                  // false: a null allocation function
    size_t failing = test_arena::NEVER; // the request that fails
    bool lasting = false;               // and all later ones
};

// The whole encoding of a record, by the reference.
std::vector<uint8_t> reference_encoding(const zidl::message_descriptor &type, const void *msg, uint32_t flags = 0);

// Holds two equal records, one for either implementation. Each function returns an empty string or what differed.
class codec_check
{
public:
    explicit codec_check(const zidl::message_descriptor &type) : type_(&type) {}

    // Turns to another type, keeping the memory.
    void use(const zidl::message_descriptor &type) { type_ = &type; }

    // Makes both records: `fill` gets the record and the arena for what the record owns.
    template <class Fill>
    void prepare(Fill fill)
    {
        for (side *each : {&generated_, &reference_}) {
            each->memory.reset();
            fill(each->record.open(type_->size), each->memory);
        }
    }

    // Makes both records out of bytes. They held `fill` in every byte before.
    std::string decode(const uint8_t *buf, size_t len, uint32_t flags, memory_plan plan = {}, uint8_t fill = UNTOUCHED);

    // Encodes the generated code's record, by both.
    std::string encode(const output_plan &plan);

    // Whether the records are still equal, which encoding must not change.
    std::string unchanged();

    // Duplicates both records, and releases the copies.
    std::string duplicate(memory_plan plan = {}, uint8_t fill = UNTOUCHED);

    // Releases both records, twice. The last step: the blocks' red zones are looked at here.
    std::string release(uint32_t flags);

    const void *record() { return generated_.record.data(); }
    int32_t status() const { return generated_.status; }
    int32_t copy_status() const { return generated_copy_.status; }
    size_t result() const { return generated_output_.result; }
    size_t request_count() const { return generated_.memory.requests().size(); }
    size_t copy_request_count() const { return generated_copy_.memory.requests().size(); }
    uint64_t operations() const { return operations_; } // compared so far
    uint32_t segment_count() const { return generated_output_.nsegs; }

private:
    struct side {
        guarded_buffer record;
        test_arena memory;
        int32_t status = ZIDL_OK;

        void *open(size_t size, uint8_t fill, const memory_plan &plan)
        {
            memory.reset(plan.failing, plan.lasting);
            return record.open(size, fill);
        }
    };

    struct output {
        size_t result = 0;
        uint32_t nsegs = 0;
        bool zones_are_intact = true;
        std::vector<uint8_t> bytes;
        std::vector<zidl_segment> segs;
    };

    template <class Encode>
    void run_encode(output &out, const output_plan &plan, Encode run);
    std::string output_difference() const;
    std::string state_difference(side &got, side &expected) const;
    std::string release_both(side &got, side &expected, uint32_t flags);

    const zidl::message_descriptor *type_;
    side generated_;
    side reference_;
    side generated_copy_;
    side reference_copy_;
    guarded_buffer buffer_;
    output generated_output_;
    output reference_output_;
    uint64_t operations_ = 0;
};
