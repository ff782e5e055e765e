// Converts an update as it is and again with something changed, and compares what the client gets.

#pragma once

#include "inspect/explain/conversion.hpp"
#include "inspect/measure/sightings.hpp"
#include "inspect/records/record_content.hpp"

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace rib_inspect
{

// A delivered update as it is.
class prober : private record_taker
{
public:
    prober(uint32_t code) : code_(code) {}
    virtual ~prober() = default;

    // False unless the update is delivered.
    bool start() { return convert(code_, encoded(), *this) == RIB_DELIVERED; }

    const record_content &base() const { return base_; }

    // Of the members that count the elements of lists, those that are others now.
    std::vector<uint32_t> changed_counts();

    // Compares the update as it is now with how it was. What is seen holds until the next look.
    const sight &look();

    // Bytes of all encodings that were looked at.
    size_t converted() const { return converted_; }

protected:
    virtual bytes_view encoded() = 0;

private:
    // The first record is what the others are compared with.
    void take(const client_record &record) override;
    void take_number(const record_member &member, uint64_t value) override;
    void note(uint32_t slot, std::span<const uint8_t> value);

    // Where lists have other lengths it is decided about them, and about their counts. Of the rest the members of keys are
    // worth a look, which have other lists by their type.
    void compare_others(const client_record &record);

    // Of the slots that both have.
    template <class Each>
    void for_each_changed(const record_content &now, Each &&each);

    const uint32_t code_;
    record_content base_;
    record_content other_;
    std::vector<std::pair<uint64_t, uint32_t>> by_key_;
    sight now_;
    size_t converted_ = 0;
    bool is_base_ = true;
};

class message_prober : public prober
{
public:
    message_prober(uint32_t code, const zidl::message_descriptor &type, const void *record)
        : prober(code), type_(type), record_(record)
    {
    }

private:
    bytes_view encoded() override;

    const zidl::message_descriptor &type_;
    const void *record_;
    std::vector<uint8_t> buf_ = std::vector<uint8_t>(512);
};

// An older form: its bytes are changed where they lie.
class payload_prober : public prober
{
public:
    payload_prober(uint32_t code, bytes_view payload) : prober(code), payload_(payload.begin(), payload.end()) {}

    uint8_t &byte(size_t at) { return payload_[at]; }

private:
    bytes_view encoded() override { return payload_; }

    std::vector<uint8_t> payload_;
};

} // namespace rib_inspect
