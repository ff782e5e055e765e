#include "tools/ribtool/text_input.hpp"

#include "tools/ribtool/errors.hpp"

#include <lzma.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ribtool
{

namespace
{

constexpr size_t BLOCK_LEN = 65536;
constexpr size_t MAX_LINE_LEN = 1 << 20; // a line that fills a frame is shorter
constexpr uint64_t MAX_DECODER_MEMORY = uint64_t{1} << 30;
constexpr uint8_t XZ_MAGIC[] = {0xfd, '7', 'z', 'X', 'Z', 0x00};

std::string decoder_error(lzma_ret status)
{
    switch (status) {
    case LZMA_BUF_ERROR:
        return "truncated";
    case LZMA_DATA_ERROR:
        return "damaged";
    case LZMA_FORMAT_ERROR:
        return "something else follows";
    case LZMA_OPTIONS_ERROR:
        return "packed in an unknown way";
    case LZMA_MEM_ERROR:
        return "out of memory";
    case LZMA_MEMLIMIT_ERROR:
        return fmt::format("that takes more than {} MiB of memory", MAX_DECODER_MEMORY >> 20);
    default:
        return fmt::format("decoder status {}", static_cast<int>(status));
    }
}

} // namespace

struct text_input::source {
    FILE *file = nullptr;
    uint64_t read = 0;
    bool file_ended = false;
    bool first = true;
    bool compressed = false;
    bool stream_ended = false;
    lzma_stream decoder = LZMA_STREAM_INIT;
    uint8_t block[BLOCK_LEN];

    ~source()
    {
        lzma_end(&decoder);
        if (file != nullptr && file != stdin)
            std::fclose(file);
    }

    // The bytes in `block`; 0 at the end of the file.
    size_t fill(const std::string &path)
    {
        const size_t got = std::fread(block, 1, BLOCK_LEN, file);
        if (std::ferror(file) != 0)
            fail(EXIT_FILE, "{}: cannot read: {}", path, std::strerror(errno));
        read += got;
        file_ended = got < BLOCK_LEN;
        return got;
    }

    void look_at_start(const std::string &path, size_t got)
    {
        first = false;
        compressed = got >= sizeof XZ_MAGIC && std::memcmp(block, XZ_MAGIC, sizeof XZ_MAGIC) == 0;
        if (compressed && lzma_stream_decoder(&decoder, MAX_DECODER_MEMORY, LZMA_CONCATENATED) != LZMA_OK)
            fail(EXIT_FILE, "{}: cannot start the xz decoder", path);
    }
};

text_input::text_input(const std::string &path)
    : path_(path == "-" ? "standard input" : path), source_(std::make_unique<source>())
{
    source_->file = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
    if (source_->file == nullptr)
        fail(EXIT_FILE, "{}: cannot open: {}", path_, std::strerror(errno));
    struct stat status = {};
    if (fstat(fileno(source_->file), &status) == 0 && S_ISREG(status.st_mode))
        size_ = static_cast<uint64_t>(status.st_size);
}

text_input::~text_input() = default;

uint64_t text_input::position() const
{
    return source_->read;
}

std::string text_input::place() const
{
    return fmt::format("{}:{}", path_, line_number_);
}

// Appends the next piece of text to the buffer; false at the end.
bool text_input::read_more()
{
    source &from = *source_;
    if (from.compressed ? from.stream_ended : from.file_ended)
        return false;
    buffer_.erase(0, start_);
    start_ = 0;

    size_t got = 0;
    if (!from.compressed || from.decoder.avail_in == 0) {
        got = from.file_ended ? 0 : from.fill(path_);
        if (from.first)
            from.look_at_start(path_, got);
    }
    if (!from.compressed) {
        buffer_.append(reinterpret_cast<const char *>(from.block), got);
        return got > 0;
    }
    if (from.decoder.avail_in == 0) {
        from.decoder.next_in = from.block;
        from.decoder.avail_in = got;
    }
    const size_t old_len = buffer_.size();
    buffer_.resize(old_len + BLOCK_LEN);
    from.decoder.next_out = reinterpret_cast<uint8_t *>(buffer_.data() + old_len);
    from.decoder.avail_out = BLOCK_LEN;
    const lzma_ret status = lzma_code(&from.decoder, from.file_ended ? LZMA_FINISH : LZMA_RUN);
    buffer_.resize(buffer_.size() - from.decoder.avail_out);
    from.stream_ended = status == LZMA_STREAM_END;
    if (status != LZMA_OK && status != LZMA_STREAM_END)
        fail(EXIT_MALFORMED, "{}: cannot unpack: {}", path_, decoder_error(status));
    return true;
}

bool text_input::next_line(std::string_view &line)
{
    size_t searched = start_;
    size_t end = buffer_.find('\n', searched);
    while (end == std::string::npos) {
        searched = buffer_.size() - start_;
        if (searched > MAX_LINE_LEN)
            fail(EXIT_MALFORMED, "{}:{}: a line of more than {} bytes", path_, line_number_ + 1, MAX_LINE_LEN);
        if (!read_more()) {
            if (start_ == buffer_.size())
                return false;
            end = buffer_.size();
            break;
        }
        end = buffer_.find('\n', searched);
    }
    line = std::string_view(buffer_).substr(start_, end - start_);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    start_ = std::min(end + 1, buffer_.size());
    ++line_number_;
    return true;
}

} // namespace ribtool
