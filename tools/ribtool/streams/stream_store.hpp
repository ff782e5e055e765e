// The frames that are served: read once, by a thread of their own, and kept for all clients, each of which gets them from the
// beginning. Clients send out of the shared chunks, so that what one of them costs does not depend on how far behind it is.

#pragma once

#include "tools/ribtool/frames/frame_source.hpp"
#include "tools/ribtool/streams/descriptor.hpp"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace ribtool
{

struct frame_chunk {
    byte_vector bytes; // whole frames
    uint64_t frame_count = 0;
    std::vector<uint64_t> times_us; // of each frame, as its source has them; empty where nobody asked
};

class stream_store
{
public:
    enum class times { kept, left_out };

    stream_store(std::unique_ptr<frame_source> source, times wanted);
    ~stream_store();
    stream_store(const stream_store &) = delete;
    stream_store &operator=(const stream_store &) = delete;

    struct lookup {
        const frame_chunk *chunk; // holds as long as the store; null where there is none yet
        bool has_ended;           // and none will come
    };
    // Also asks for what follows: what nobody has come near is not read.
    lookup look_for(size_t index);

    // Readable when chunks have come or the end was reached since the last call of acknowledge().
    int news() const { return news_.get(); }
    void acknowledge();

    // What ended the source early, once its end was reached.
    std::optional<damage> found_damage();

private:
    void read();
    void take_all();
    void publish();
    void pass_time();
    void finish(std::optional<damage> why);
    void tell() const;

    std::unique_ptr<frame_source> source_; // the thread's
    const times times_;
    frame_chunk growing_; // the thread's
    descriptor news_;
    std::atomic<bool> is_stopping_ = false;

    std::mutex mutex_; // of all that follows
    std::condition_variable wanted_changed_;
    std::vector<std::unique_ptr<const frame_chunk>> chunks_;
    size_t wanted_ = 0; // chunks that somebody has come near
    bool has_ended_ = false;
    std::optional<damage> damage_;

    std::thread reader_;
};

} // namespace ribtool
