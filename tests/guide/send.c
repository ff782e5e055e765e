/* What the client guide builds and sends, read back by its own reader. */

#include "client.h"

#include "stream.inc"

#include "build.inc"

#include "about.inc"

/* A socket that takes up to 1000 bytes at once, and is interrupted every third time. */
static ssize_t writev_of_a_part(int fd, const struct iovec *entries, int count)
{
    static int calls;
    uint8_t part[1000];
    size_t len = 0;
    if (++calls % 3 == 0) {
        errno = EINTR;
        return -1;
    }
    for (int i = 0; i < count; i++) {
        const size_t room = sizeof part - len;
        const size_t taken = entries[i].iov_len < room ? entries[i].iov_len : room;
        memcpy(part + len, entries[i].iov_base, taken);
        len += taken;
    }
    return write(fd, part, len);
}
#define writev writev_of_a_part

#include "segments.inc"

static void route_has_both_its_paths_and_a_label(void)
{
    uint8_t frame[RIB_FRAME_MAX_LEN];
    const size_t size = build_route(frame, sizeof frame);
    EXPECT(size != 0 && size == rib_frame_size(frame, sizeof frame));
    EXPECT(build_route(frame, size) == size);
    EXPECT(build_route(frame, size - 1) == 0);
    struct client client;
    client_begin(&client);
    rib_frames frames;
    rib_frame each;
    rib_frames_begin(&frames, frame, size);
    EXPECT(rib_frames_next(&frames, &each));
    take_frame(&client, &each);
    EXPECT(client.paths == 2 && client.labels == 1);
}

static void opaque_update_arrives_whole_however_little_a_socket_takes_at_once(void)
{
    static uint8_t block[65536];
    uint64_t sum = 0;
    for (uint32_t i = 0; i < 60000; i++) {
        block[i] = (uint8_t)(i % 251);
        sum += (uint64_t)block[i] * (i + 1);
    }
    zidl_ip_rib_opaque msg;
    memset(&msg, 0, sizeof msg);
    zidl_ip_rib_opaque_set_opaque_id(&msg, 100);
    zidl_ip_rib_opaque_set_first_block(&msg, block, 60000);

    int ends[2];
    EXPECT(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
    const pid_t peer = fork();
    EXPECT(peer >= 0);
    if (peer == 0) {
        close(ends[0]);
        EXPECT(send_opaque(ends[1], &msg) && send_opaque(ends[1], &msg));
        zidl_ip_rib_opaque_set_first_block(&msg, block, sizeof block);
        EXPECT(!send_opaque(ends[1], &msg));
        _exit(0);
    }
    close(ends[1]);
    struct client client;
    client_begin(&client);
    struct stream stream = {.fd = ends[0], .client = &client};
    while (stream_read(&stream) == STREAM_OPEN)
        continue;
    EXPECT(client.frames == 2 && client.opaques == 2 && client.block_sum == 2 * sum);
    int status = 1;
    EXPECT(waitpid(peer, &status, 0) == peer && status == 0);
}

static void failure_is_logged_and_success_is_not(void)
{
    log_library();
    EXPECT(log_decoded(ZIDL_OK) && !log_decoded(ZIDL_ERR_MALFORMED));
}

int main(void)
{
    failure_is_logged_and_success_is_not();
    route_has_both_its_paths_and_a_label();
    opaque_update_arrives_whole_however_little_a_socket_takes_at_once();
    return 0;
}
