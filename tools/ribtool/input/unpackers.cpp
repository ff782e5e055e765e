#include "tools/ribtool/input/unpackers.hpp"

#include <bzlib.h>
#include <lzma.h>
#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace ribtool
{

namespace
{

using unpacker = compressed_input::unpacker;
using bytes_in = std::span<const uint8_t>;
using bytes_out = std::span<uint8_t>;

// What an archive may ask for: its own header says how far back it refers.
constexpr unsigned MAX_WINDOW_LOG = 28;
constexpr uint64_t MAX_DECODER_MEMORY = uint64_t{1} << MAX_WINDOW_LOG;

constexpr const char *TRUNCATED = "truncated";
constexpr const char *FOLLOWED = "something else follows";
constexpr const char *DAMAGED = "damaged";

std::string too_much_memory()
{
    return fmt::format("that takes more than {} MiB of memory", MAX_DECODER_MEMORY >> 20);
}

// Both spans to where the unpacker has stopped.
void move_on(bytes_in &input, bytes_out &room, size_t input_left, size_t room_left)
{
    input = input.last(input_left);
    room = room.last(room_left);
}

class xz_unpacker final : public unpacker
{
public:
    xz_unpacker() { start(); }
    ~xz_unpacker() override { lzma_end(&stream_); }
    std::string_view format() const override { return "xz"; }

    status step(bytes_in &input, bytes_out &room, bool is_last) override
    {
        if (is_behind_another_) {
            skip_padding(input);
            if (input.empty())
                return is_last ? status::ended : status::more;
            is_behind_another_ = false;
        }
        stream_.next_in = input.data();
        stream_.avail_in = input.size();
        stream_.next_out = room.data();
        stream_.avail_out = room.size();
        const lzma_ret result = lzma_code(&stream_, is_last ? LZMA_FINISH : LZMA_RUN);
        move_on(input, room, stream_.avail_in, stream_.avail_out);
        if (result == LZMA_OK)
            return status::more;
        if (result == LZMA_STREAM_END)
            return status::ended;
        problem_ = described(result);
        return status::damaged;
    }

    void restart() override
    {
        start();
        is_behind_another_ = true;
    }

private:
    void start()
    {
        if (lzma_stream_decoder(&stream_, MAX_DECODER_MEMORY, 0) != LZMA_OK)
            throw std::bad_alloc();
    }

    // Zeros may stand behind an archive.
    static void skip_padding(bytes_in &input)
    {
        while (!input.empty() && input.front() == 0)
            input = input.subspan(1);
    }

    static std::string described(lzma_ret result)
    {
        switch (result) {
        case LZMA_BUF_ERROR:
            return TRUNCATED;
        case LZMA_DATA_ERROR:
            return DAMAGED;
        case LZMA_FORMAT_ERROR:
            return FOLLOWED;
        case LZMA_OPTIONS_ERROR:
            return "packed in an unknown way";
        case LZMA_MEM_ERROR:
            return "out of memory";
        case LZMA_MEMLIMIT_ERROR:
            return too_much_memory();
        default:
            return fmt::format("decoder status {}", static_cast<int>(result));
        }
    }

    lzma_stream stream_ = LZMA_STREAM_INIT;
    bool is_behind_another_ = false;
};

class gzip_unpacker final : public unpacker
{
public:
    gzip_unpacker()
    {
        constexpr int GZIP_ONLY = 16;
        if (inflateInit2(&stream_, MAX_WBITS + GZIP_ONLY) != Z_OK)
            throw std::bad_alloc();
    }
    ~gzip_unpacker() override { inflateEnd(&stream_); }
    std::string_view format() const override { return "gzip"; }

    status step(bytes_in &input, bytes_out &room, bool is_last) override
    {
        stream_.next_in = const_cast<uint8_t *>(input.data());
        stream_.avail_in = static_cast<uInt>(input.size());
        stream_.next_out = room.data();
        stream_.avail_out = static_cast<uInt>(std::min<size_t>(room.size(), MOST_AT_ONCE));
        const size_t beyond = room.size() - stream_.avail_out;
        const int result = inflate(&stream_, Z_NO_FLUSH);
        move_on(input, room, stream_.avail_in, stream_.avail_out + beyond);
        if (result == Z_STREAM_END)
            return status::ended;
        if (result == Z_OK || (result == Z_BUF_ERROR && !is_last))
            return status::more;
        const bool is_no_header = stream_.total_in < 2 || (stream_.msg != nullptr && is_header_problem(stream_.msg));
        problem_ = result == Z_BUF_ERROR ? TRUNCATED : is_no_header && follows_another_ ? FOLLOWED : DAMAGED;
        return status::damaged;
    }

    void restart() override
    {
        inflateReset(&stream_);
        follows_another_ = true;
    }

private:
    static constexpr size_t MOST_AT_ONCE = size_t{1} << 30;
    static bool is_header_problem(std::string_view message) { return message == "incorrect header check"; }

    z_stream stream_ = {};
    bool follows_another_ = false;
};

class bzip2_unpacker final : public unpacker
{
public:
    bzip2_unpacker() { start(); }
    ~bzip2_unpacker() override { BZ2_bzDecompressEnd(&stream_); }
    std::string_view format() const override { return "bzip2"; }

    status step(bytes_in &input, bytes_out &room, bool is_last) override
    {
        stream_.next_in = reinterpret_cast<char *>(const_cast<uint8_t *>(input.data()));
        stream_.avail_in = static_cast<unsigned>(input.size());
        stream_.next_out = reinterpret_cast<char *>(room.data());
        stream_.avail_out = static_cast<unsigned>(std::min<size_t>(room.size(), MOST_AT_ONCE));
        const size_t beyond = room.size() - stream_.avail_out;
        const size_t room_before = room.size();
        const int result = BZ2_bzDecompress(&stream_);
        const bool had_input = !input.empty();
        move_on(input, room, stream_.avail_in, stream_.avail_out + beyond);
        if (result == BZ_STREAM_END)
            return status::ended;
        const bool is_stuck = !had_input && is_last && room.size() == room_before;
        if (result == BZ_OK && !is_stuck)
            return status::more;
        if (result == BZ_MEM_ERROR)
            throw std::bad_alloc();
        problem_ = is_stuck ? TRUNCATED : result == BZ_DATA_ERROR_MAGIC && follows_another_ ? FOLLOWED : DAMAGED;
        return status::damaged;
    }

    void restart() override
    {
        BZ2_bzDecompressEnd(&stream_);
        start();
        follows_another_ = true;
    }

private:
    static constexpr size_t MOST_AT_ONCE = size_t{1} << 30;

    void start()
    {
        stream_ = {};
        if (BZ2_bzDecompressInit(&stream_, 0, 0) != BZ_OK)
            throw std::bad_alloc();
    }

    bz_stream stream_ = {};
    bool follows_another_ = false;
};

class zstd_unpacker final : public unpacker
{
public:
    zstd_unpacker() : stream_(ZSTD_createDStream())
    {
        if (stream_ == nullptr)
            throw std::bad_alloc();
        ZSTD_DCtx_setParameter(stream_, ZSTD_d_windowLogMax, MAX_WINDOW_LOG);
    }
    ~zstd_unpacker() override { ZSTD_freeDStream(stream_); }
    zstd_unpacker(const zstd_unpacker &) = delete;
    zstd_unpacker &operator=(const zstd_unpacker &) = delete;
    std::string_view format() const override { return "zstd"; }

    status step(bytes_in &input, bytes_out &room, bool is_last) override
    {
        ZSTD_inBuffer in = {input.data(), input.size(), 0};
        ZSTD_outBuffer out = {room.data(), room.size(), 0};
        const size_t result = ZSTD_decompressStream(stream_, &out, &in);
        const bool is_stuck = is_last && in.pos == 0 && out.pos == 0;
        move_on(input, room, in.size - in.pos, out.size - out.pos);
        if (ZSTD_isError(result) != 0) {
            const std::string_view reason = ZSTD_getErrorName(result);
            problem_ = reason == "Unknown frame descriptor" && follows_another_ ? FOLLOWED
                       : reason.starts_with("Frame requires too much memory")   ? too_much_memory()
                                                                                : DAMAGED;
            return status::damaged;
        }
        if (result == 0)
            return status::ended;
        if (!is_stuck)
            return status::more;
        problem_ = TRUNCATED;
        return status::damaged;
    }

    void restart() override { follows_another_ = true; }

private:
    ZSTD_DStream *stream_;
    bool follows_another_ = false;
};

// ---- The table of formats ----

constexpr std::array<uint8_t, 6> XZ_MARK = {0xfd, '7', 'z', 'X', 'Z', 0};
constexpr std::array<uint8_t, 3> GZIP_MARK = {0x1f, 0x8b, 8}; // 8: the only way to pack there is
constexpr std::array<uint8_t, 3> BZIP2_MARK = {'B', 'Z', 'h'};
constexpr std::array<uint8_t, 4> ZSTD_MARK = {0x28, 0xb5, 0x2f, 0xfd};
constexpr std::array<uint8_t, 3> ZSTD_SKIPPED_MARK = {0x2a, 0x4d, 0x18}; // behind a byte of 0x50 to 0x5f

template <size_t Len>
bool starts_with(bytes_in bytes, const std::array<uint8_t, Len> &mark)
{
    return bytes.size() >= Len && std::equal(mark.begin(), mark.end(), bytes.begin());
}

// Behind the mark stand the size of blocks and the first bytes of a block or of the end: three letters would be too little.
bool is_bzip2(bytes_in start)
{
    return start.size() >= FORMAT_MARK_LEN && starts_with(start, BZIP2_MARK) && start[3] >= '1' && start[3] <= '9' &&
           ((start[4] == 0x31 && start[5] == 0x41) || (start[4] == 0x17 && start[5] == 0x72));
}

bool is_zstd(bytes_in start)
{
    return starts_with(start, ZSTD_MARK) ||
           (start.size() > 1 && start[0] >> 4 == 5 && starts_with(start.subspan(1), ZSTD_SKIPPED_MARK));
}

} // namespace

std::unique_ptr<compressed_input::unpacker> unpacker_for(std::span<const uint8_t> start)
{
    if (starts_with(start, XZ_MARK))
        return std::make_unique<xz_unpacker>();
    if (starts_with(start, GZIP_MARK))
        return std::make_unique<gzip_unpacker>();
    if (is_bzip2(start))
        return std::make_unique<bzip2_unpacker>();
    if (is_zstd(start))
        return std::make_unique<zstd_unpacker>();
    return nullptr;
}

} // namespace ribtool
