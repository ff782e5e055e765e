#include "tools/ribtool/streams/stream_store.hpp"

#include <sys/eventfd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

namespace ribtool
{

namespace
{

constexpr size_t CHUNK_LEN = 1 << 18;
constexpr size_t CHUNKS_AHEAD = 4; // read before anybody asks for them

} // namespace

stream_store::stream_store(std::unique_ptr<frame_source> source, times wanted)
    : source_(std::move(source)), times_(wanted), news_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), wanted_(CHUNKS_AHEAD)
{
    if (!news_)
        fail(EXIT_FILE, "cannot make an event: {}", std::strerror(errno));
    source_->while_waiting([this] { pass_time(); });
    reader_ = std::thread([this] { read(); });
}

stream_store::~stream_store()
{
    {
        const std::lock_guard lock(mutex_);
        is_stopping_ = true;
    }
    wanted_changed_.notify_one();
    reader_.join();
}

stream_store::lookup stream_store::look_for(size_t index)
{
    const std::lock_guard lock(mutex_);
    if (wanted_ < index + CHUNKS_AHEAD) {
        wanted_ = index + CHUNKS_AHEAD;
        wanted_changed_.notify_one();
    }
    if (index < chunks_.size())
        return {chunks_[index].get(), false};
    return {nullptr, has_ended_};
}

void stream_store::acknowledge()
{
    uint64_t count = 0;
    while (::read(news_.get(), &count, sizeof count) < 0 && errno == EINTR) {}
}

void stream_store::tell() const
{
    constexpr uint64_t ONE = 1;
    while (write(news_.get(), &ONE, sizeof ONE) < 0 && errno == EINTR) {}
}

std::optional<damage> stream_store::found_damage()
{
    const std::lock_guard lock(mutex_);
    return damage_;
}

// ---- The thread ----

void stream_store::read()
{
    try {
        take_all();
        finish(source_->found_damage());
    } catch (const failure &why) {
        finish(damage{"", why.what(), why.code()});
    } catch (const std::bad_alloc &) {
        finish(damage{source_->name(), "out of memory", EXIT_FILE});
    }
}

void stream_store::take_all()
{
    captured_frame frame;
    while (!is_stopping_.load(std::memory_order_relaxed) && source_->next(frame)) {
        if (growing_.bytes.size() + frame.bytes.size() > CHUNK_LEN)
            publish();
        if (growing_.bytes.empty())
            growing_.bytes.reserve(CHUNK_LEN);
        append_bytes(growing_.bytes, frame.bytes);
        ++growing_.frame_count;
        if (times_ == times::kept)
            growing_.times_us.push_back(frame.time_us);
    }
}

// Then waits until somebody needs more.
void stream_store::publish()
{
    if (growing_.bytes.empty())
        return;
    if (growing_.bytes.size() < CHUNK_LEN / 2) // of a source that waits for each frame
        growing_.bytes.shrink_to_fit();
    auto whole = std::make_unique<const frame_chunk>(std::exchange(growing_, {}));
    std::unique_lock lock(mutex_);
    chunks_.push_back(std::move(whole));
    tell();
    wanted_changed_.wait(lock, [this] { return is_stopping_ || chunks_.size() < wanted_; });
}

// A source that waits for somebody who is silent would keep the end waiting, too.
void stream_store::pass_time()
{
    if (is_stopping_)
        throw failure(EXIT_INTERRUPTED, "nobody needs more");
    publish();
}

void stream_store::finish(std::optional<damage> why)
{
    if (growing_.frame_count != 0) {
        const std::lock_guard lock(mutex_);
        chunks_.push_back(std::make_unique<const frame_chunk>(std::exchange(growing_, {})));
    }
    const std::lock_guard lock(mutex_);
    damage_ = std::move(why);
    has_ended_ = true;
    tell();
}

} // namespace ribtool
