// See codec_check.hpp.

#include "tests/messages/codec_check.hpp"

#include "tests/reference/codec_reference.hpp"

namespace
{

// Entries behind the segment list's capacity, which nobody may write.
constexpr size_t SPARE_ENTRIES = 4;

constexpr zidl_segment UNTOUCHED_ENTRY = {nullptr, 0xa5a5a5a5a5a5a5a5u};

bool same_entries(const std::vector<zidl_segment> &got, const std::vector<zidl_segment> &expected)
{
    for (size_t i = 0; i < got.size(); ++i)
        if (got[i].base != expected[i].base || got[i].len != expected[i].len)
            return false;
    return got.size() == expected.size();
}

std::string differ(const char *what, int64_t got, int64_t expected)
{
    if (got == expected)
        return "";
    return std::string(what) + " " + std::to_string(got) + ", expected " + std::to_string(expected);
}

std::string first_difference(const std::vector<uint8_t> &got, const std::vector<uint8_t> &expected)
{
    for (size_t i = 0; i < got.size(); ++i)
        if (got[i] != expected[i])
            return "output byte " + std::to_string(i) + differ(":", got[i], expected[i]);
    return "";
}

zidl_alloc_fn allocator(const memory_plan &plan)
{
    return plan.given ? &test_arena::allocate_from : nullptr;
}

std::string in_step(const char *step, const std::string &found)
{
    return found.empty() ? "" : std::string(step) + ": " + found;
}

} // namespace

std::vector<uint8_t> reference_encoding(const zidl::message_descriptor &type, const void *msg, uint32_t flags)
{
    std::vector<uint8_t> bytes(codec_reference::encode(type, msg, nullptr, 0, nullptr, nullptr, flags));
    codec_reference::encode(type, msg, bytes.data(), bytes.size(), nullptr, nullptr, flags);
    return bytes;
}

template <class Encode>
void codec_check::run_encode(output &out, const output_plan &plan, Encode run)
{
    const size_t buflen = plan.buflen.value_or(0);
    uint8_t *buf = buffer_.open(buflen);
    out.nsegs = plan.capacity.value_or(0);
    out.segs.assign(out.nsegs + SPARE_ENTRIES, UNTOUCHED_ENTRY);
    // Without nsegs the list is there all the same, and must stay as it is.
    out.result = run(record(), plan.buflen ? buf : nullptr, buflen, out.segs.data(),
                     plan.capacity ? &out.nsegs : nullptr, plan.flags);
    out.zones_are_intact = buffer_.zones_are_intact();
    out.bytes.assign(buf, buf + buflen);
}

std::string codec_check::output_difference() const
{
    const output &got = generated_output_;
    const output &expected = reference_output_;
    if (got.result != expected.result)
        return differ("result", static_cast<int64_t>(got.result), static_cast<int64_t>(expected.result));
    if (!got.zones_are_intact)
        return "stored outside the output buffer";
    if (got.nsegs != expected.nsegs)
        return differ("segments", got.nsegs, expected.nsegs);
    if (!same_entries(got.segs, expected.segs))
        return "segment entries differ";
    return first_difference(got.bytes, expected.bytes);
}

std::string codec_check::encode(const output_plan &plan)
{
    ++operations_;
    run_encode(generated_output_, plan, type_->encode);
    run_encode(reference_output_, plan,
               [this](auto... arguments) { return codec_reference::encode(*type_, arguments...); });
    const std::string found = output_difference();
    if (found.empty())
        return "";
    return "encode (buflen " + (plan.buflen ? std::to_string(*plan.buflen) : "none") + ", capacity " +
           (plan.capacity ? std::to_string(*plan.capacity) : "none") + ", flags " + std::to_string(plan.flags) +
           "): " + found;
}

std::string codec_check::state_difference(side &got, side &expected) const
{
    if (got.status != expected.status)
        return differ("status", got.status, expected.status);
    if (got.memory.requests() != expected.memory.requests())
        return "requests of memory differ";
    if (!got.record.zones_are_intact())
        return "stored outside the record";
    return difference(*type_, {got.record.data(), got.memory}, {expected.record.data(), expected.memory});
}

std::string codec_check::unchanged()
{
    return in_step("record after encoding", state_difference(generated_, reference_));
}

std::string codec_check::decode(const uint8_t *buf, size_t len, uint32_t flags, memory_plan plan, uint8_t fill)
{
    generated_.status =
        type_->decode(generated_.open(type_->size, fill, plan), buf, len, allocator(plan), &generated_.memory, flags);
    reference_.status = codec_reference::decode(*type_, reference_.open(type_->size, fill, plan), buf, len,
                                                allocator(plan), &reference_.memory, flags);
    return in_step("decode", state_difference(generated_, reference_));
}

std::string codec_check::duplicate(memory_plan plan, uint8_t fill)
{
    ++operations_;
    generated_copy_.status = type_->duplicate(generated_copy_.open(type_->size, fill, plan), generated_.record.data(),
                                              allocator(plan), &generated_copy_.memory);
    reference_copy_.status =
        codec_reference::duplicate(*type_, reference_copy_.open(type_->size, fill, plan), reference_.record.data(),
                                   allocator(plan), &reference_copy_.memory);
    const std::string found = state_difference(generated_copy_, reference_copy_);
    if (!found.empty())
        return "duplicate: " + found;
    return in_step("release of the duplicate", release_both(generated_copy_, reference_copy_, 0));
}

std::string codec_check::release(uint32_t flags)
{
    return in_step("release", release_both(generated_, reference_, flags));
}

std::string codec_check::release_both(side &got, side &expected, uint32_t flags)
{
    ++operations_;
    got.memory.forget_releases();
    expected.memory.forget_releases();
    type_->release(got.record.data(), &test_arena::note_release, &got.memory, flags);
    codec_reference::release(*type_, expected.record.data(), &test_arena::note_release, &expected.memory, flags);
    if (got.memory.releases() != expected.memory.releases())
        return "releases of memory differ";
    std::string found = state_difference(got, expected);
    if (!found.empty())
        return found;
    got.memory.forget_releases();
    type_->release(got.record.data(), &test_arena::note_release, &got.memory, flags);
    if (!got.memory.releases().empty())
        return "a second release gave something back";
    return got.memory.red_zones_are_intact() ? "" : "stored outside an allocated block";
}
