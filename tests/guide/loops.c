/* The reader of the client guide in one event loop: LOOP_EPOLL, LOOP_POLL, LOOP_LIBEVENT, LOOP_LIBEV or LOOP_LIBUV. */

#include "client.h"

#include "stream.inc"

#if defined(LOOP_EPOLL)

#include <sys/epoll.h>

static void run(struct stream *stream)
{
    const int loop = epoll_create1(0);
    {
#include "epoll.inc"
    } close(loop);
}

#elif defined(LOOP_POLL)

#include <poll.h>

static void run(struct stream *stream)
{
#include "poll.inc"
}

#elif defined(LOOP_LIBEVENT)

#include <event2/event.h>

#include "libevent.inc"

static void run(struct stream *stream)
{
    struct event_base *base = event_base_new();
    stream->loop = base;
#include "libevent_run.inc"
    event_base_free(base);
}

#elif defined(LOOP_LIBEV)

#include <ev.h>

#include "libev.inc"

static void run(struct stream *stream)
{
    struct ev_loop *loop = ev_loop_new(0);
#include "libev_run.inc"
    ev_loop_destroy(loop);
}

#elif defined(LOOP_LIBUV)

#include <uv.h>

#include "libuv.inc"

static void run(struct stream *stream)
{
    uv_loop_t *loop = uv_default_loop();
#include "libuv_run.inc"
    uv_close((uv_handle_t *)&readable, NULL);
    uv_run(loop, UV_RUN_DEFAULT);
    uv_loop_close(loop);
}

#endif

int main(void)
{
    const size_t pieces[] = {1, 7, 4096};
    for (size_t i = 0; i < 3; i++) {
        struct client client;
        client_begin(&client);
        struct stream stream = {.fd = stream_of(STREAM, sizeof STREAM, pieces[i]), .client = &client};
        run(&stream);
        expect_whole_stream(&client);
        close(stream.fd);
        wait(NULL);
    }
    return 0;
}
