/* A server that really serves: folds the frames that it reads from its standard input into a table, and sends that table, and
 * then its changes, to every client of a UNIX socket.
 *
 *     ribtool synth --profile mixed --updates 100000 --format raw -o - | live_server [--chunk BYTES] [--dump FILE] SOCKET
 *
 * The convention between this server and its clients, which frames leave open:
 *
 *   - A connection brings every entry of the table, in frames as they came in, but each key of a grid list in a list of its own;
 *     then one delimiter; then changes.
 *   - A route without paths withdraws. Entries of other kinds are replaced, never withdrawn.
 *   - A client that is slow gets the last state of an entry, not every state; one that holds up the memory of the server is let
 *     go, and finds the whole table when it comes again.
 *   - A client says nothing. Whatever it sends, and shutting down its sending half, ends the connection.
 *
 * When its input ends the server goes on serving what it has. SIGUSR1 writes the table to --dump FILE; SIGTERM and SIGINT write
 * it and end the program. */

#define _GNU_SOURCE
#include <errno.h>
#include <getopt.h>
#include <inttypes.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include "feed.h"
#include "peers.h"
#include "process.h"

enum {
    INPUT_CHUNK = 256 * 1024,
    DEFAULT_CHUNK = 256 * 1024, /* bytes a write, at most */
    RETRY_ACCEPT = 1000,        /* milliseconds, when there were no descriptors left */
    EVENTS = 64
};

struct server {
    const char *path;
    const char *dump_path;

    int epoll;
    int signals;
    int listener;
    int is_accepting; /* epoll watches the listener */
    int is_ending;

    int input_is_open;
    int input_is_file; /* always readable, which epoll refuses to say */
    uint8_t buf[RIB_FRAME_MAX_LEN + INPUT_CHUNK];
    size_t held;

    struct served served;
    struct feed feed;
    struct peers peers;
};

static void fail(const char *what)
{
    fprintf(stderr, "server: %s: %s\n", what, strerror(errno));
    exit(1);
}

/* ---- Input ---- */

static void end_input(struct server *server)
{
    if (!server->input_is_file)
        epoll_ctl(server->epoll, EPOLL_CTL_DEL, STDIN_FILENO, NULL);
    server->input_is_open = 0;
    if (server->held != 0)
        fprintf(stderr, "server: the input ends inside a frame, %zu bytes of it are lost\n", server->held);
    fprintf(stderr, "server: the input has ended: %" PRIu32 " updates, %zu entries\n", server->feed.updates.count,
            server->served.table.count - server->served.withdrawn);
}

static void read_input(struct server *server)
{
    const ssize_t got = read(STDIN_FILENO, server->buf + server->held, INPUT_CHUNK);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (got < 0)
        fprintf(stderr, "server: input: %s\n", strerror(errno));
    if (got <= 0) {
        end_input(server);
        return;
    }
    server->feed.drops.now = time(NULL);
    rib_frames frames;
    rib_frame frame;
    rib_frames_begin(&frames, server->buf, server->held + (size_t)got);
    while (rib_frames_next(&frames, &frame))
        feed_take(&server->feed, &frame);
    server->held = rib_frames_rest_len(&frames);
    memmove(server->buf, rib_frames_rest(&frames), server->held);
}

/* ---- Clients ---- */

static void watch(struct server *server, int fd)
{
    struct epoll_event event = {.events = EPOLLIN, .data.fd = fd};
    if (epoll_ctl(server->epoll, EPOLL_CTL_ADD, fd, &event) != 0)
        fail("epoll_ctl");
}

/* Without room for more clients, or without descriptors, those who come wait in the queue of the listener. */
static void accept_again(struct server *server)
{
    if (server->is_accepting || !peers_have_room(&server->peers))
        return;
    watch(server, server->listener);
    server->is_accepting = 1;
}

static void stop_accepting(struct server *server)
{
    epoll_ctl(server->epoll, EPOLL_CTL_DEL, server->listener, NULL);
    server->is_accepting = 0;
}

static void accept_one(struct server *server)
{
    const int fd = accept4(server->listener, NULL, NULL, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd >= 0)
        peers_add(&server->peers, fd);
    else if (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED)
        return;
    else
        fprintf(stderr, "server: accept: %s\n", strerror(errno));
    if (fd < 0 || !peers_have_room(&server->peers))
        stop_accepting(server);
}

/* A socket file that nobody listens to any more is taken over. */
static int bind_to_path(int listener, const char *path)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    memcpy(address.sun_path, path, strlen(path));
    if (bind(listener, (struct sockaddr *)&address, sizeof address) == 0)
        return 1;
    const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int is_stale = errno == EADDRINUSE && connect(probe, (struct sockaddr *)&address, sizeof address) != 0 &&
                         errno == ECONNREFUSED;
    close(probe);
    errno = EADDRINUSE;
    return is_stale && unlink(path) == 0 && bind(listener, (struct sockaddr *)&address, sizeof address) == 0;
}

/* ---- The loop ---- */

static void dump_table(struct server *server)
{
    if (server->dump_path != NULL && !feed_dump(&server->feed, server->dump_path))
        fprintf(stderr, "server: %s: %s\n", server->dump_path, strerror(errno));
}

static void on_signal(struct server *server)
{
    struct signalfd_siginfo signal;
    if (read(server->signals, &signal, sizeof signal) != sizeof signal)
        return;
    if (signal.ssi_signo == SIGUSR1)
        dump_table(server);
    else
        server->is_ending = 1;
}

static void on_event(struct server *server, const struct epoll_event *event)
{
    if (event->data.fd == server->signals)
        on_signal(server);
    else if (event->data.fd == server->listener)
        accept_one(server);
    else if (event->data.fd == STDIN_FILENO)
        read_input(server);
    else
        peers_on_event(&server->peers, event->data.fd, event->events);
}

static int time_to_wait(const struct server *server)
{
    if (server->input_is_open && server->input_is_file)
        return 0;
    return server->is_accepting ? -1 : RETRY_ACCEPT;
}

static void run(struct server *server)
{
    while (!server->is_ending) {
        struct epoll_event events[EVENTS];
        const int count = epoll_wait(server->epoll, events, EVENTS, time_to_wait(server));
        if (count < 0 && errno != EINTR)
            fail("epoll_wait");
        for (int i = 0; i < count; i++)
            on_event(server, &events[i]);
        if (server->input_is_open && server->input_is_file)
            read_input(server);
        peers_wake(&server->peers);
        accept_again(server);
    }
}

static void print_statistics(const struct server *server)
{
    fprintf(stderr,
            "server: %" PRIu32 " updates, %" PRIu64 " dropped, %zu entries; %" PRIu64 " clients, %" PRIu64
            " let go, %" PRIu64 " frames to them; %.3f s of processor time\n",
            server->feed.updates.count, server->feed.drops.total, server->served.table.count - server->served.withdrawn,
            server->peers.joined, server->peers.let_go, server->peers.frames, process_seconds());
}

/* ---- Beginning and end ---- */

static void open_input(struct server *server)
{
    struct epoll_event event = {.events = EPOLLIN, .data.fd = STDIN_FILENO};
    server->input_is_open = 1;
    if (epoll_ctl(server->epoll, EPOLL_CTL_ADD, STDIN_FILENO, &event) == 0)
        return;
    if (errno != EPERM)
        fail("standard input");
    server->input_is_file = 1;
}

static void start(struct server *server)
{
    server->epoll = epoll_create1(EPOLL_CLOEXEC);
    server->signals = process_signals();
    server->listener = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (server->epoll < 0 || server->signals < 0 || server->listener < 0 || !served_init(&server->served))
        fail("start");
    feed_init(&server->feed, &server->served);
    server->peers.epoll = server->epoll;
    server->peers.served = &server->served;
    if (!bind_to_path(server->listener, server->path) || listen(server->listener, 128) != 0)
        fail(server->path);
    watch(server, server->signals);
    open_input(server);
    accept_again(server);
    fprintf(stderr, "server: listening on %s\n", server->path);
}

static void finish(struct server *server)
{
    unlink(server->path);
    peers_close_all(&server->peers);
    served_free(&server->served);
    close(server->listener);
    close(server->signals);
    close(server->epoll);
}

static const char usage_text[] = "Usage: live_server [OPTIONS] SOCKET < FRAMES\n"
                                 "  --chunk BYTES  write so many to a client at once (default: 262144)\n"
                                 "  --dump FILE    write the table there at the end (SIGINT, SIGTERM) and at SIGUSR1\n";

static void usage(void)
{
    fputs(usage_text, stderr);
    exit(2);
}

static void read_options(struct server *server, int argc, char **argv)
{
    static const struct option options[] = {{"chunk", required_argument, NULL, 'c'},
                                            {"dump", required_argument, NULL, 'd'},
                                            {"help", no_argument, NULL, 'h'},
                                            {NULL, 0, NULL, 0}};
    long chunk = DEFAULT_CHUNK;
    int option;
    while ((option = getopt_long(argc, argv, "", options, NULL)) != -1) {
        if (option == 'c')
            chunk = strtol(optarg, NULL, 10);
        else if (option == 'd')
            server->dump_path = optarg;
        else if (option == 'h')
            exit(fputs(usage_text, stdout) < 0);
        else
            usage();
    }
    if (chunk < 1 || optind + 1 != argc || strlen(argv[optind]) >= sizeof(((struct sockaddr_un *)0)->sun_path))
        usage();
    server->peers.chunk = (size_t)chunk;
    server->path = argv[optind];
}

int main(int argc, char **argv)
{
    static struct server server;
    read_options(&server, argc, argv);
    start(&server);
    run(&server);
    print_statistics(&server);
    dump_table(&server);
    finish(&server);
    return 0;
}
