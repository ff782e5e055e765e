/* A client that really runs: follows a server over a UNIX socket, survives its restarts, and keeps a table of what it says.
 *
 *     live_client [--chunk BYTES] [--memory MIB] [--dump FILE] [--once] SOCKET
 *
 * What a connection brings, in this order: the whole table of the server, a delimiter that says that it was all, and changes
 * from then on. That the delimiter means this is the convention of the server beside this file, not of the frames. After a
 * reconnect the old table stays in use; the entries that the new connection did not name when its delimiter comes are gone
 * (mark and sweep).
 *
 * SIGUSR1 writes the table to --dump FILE; SIGTERM and SIGINT, and with --once the end of the table, write it and end the
 * program. */

#define _GNU_SOURCE
#include <errno.h>
#include <getopt.h>
#include <inttypes.h>
#include <rib.h>
#include <rib_frames.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include "client_table.h"
#include "drops.h"
#include "process.h"

enum {
    DEFAULT_CHUNK = 256 * 1024, /* bytes a read */
    DEFAULT_MEMORY = 1024,      /* MiB of entries */
    FIRST_DELAY = 10,           /* milliseconds before the first try to connect again */
    LONGEST_DELAY = 5000,       /* it doubles until then, while nothing comes */
};

struct client {
    /* what was asked for */
    const char *path;
    const char *dump_path;
    size_t chunk;
    size_t memory_limit;
    int once;

    int epoll;
    int signals;
    int socket;          /* -1: not connected */
    unsigned delay;      /* before the next try, in milliseconds */
    uint64_t connect_at; /* when to try again, in milliseconds of the monotonic clock */
    int is_ending;

    uint8_t *buf; /* room for the beginning of a frame and one chunk */
    size_t held;  /* bytes in it */

    struct client_table table;
    int is_whole; /* the delimiter has come */

    struct updates updates;
    struct drop_log drops;
    uint64_t connections;
    uint64_t delimiters;
};

static void fail(const char *what)
{
    fprintf(stderr, "client: %s: %s\n", what, strerror(errno));
    exit(1);
}

static uint64_t now_ms(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (uint64_t)now.tv_sec * 1000 + (uint64_t)now.tv_nsec / 1000000;
}

/* ---- The table ---- */

/* Only the first delimiter of a connection ends the table; others mean nothing here. */
static void end_of_table(struct client *client)
{
    client->delimiters++;
    if (client->is_whole)
        return;
    client->is_whole = 1;
    const size_t swept = client_table_sweep(&client->table);
    fprintf(stderr, "client: the table is whole: %zu entries, %zu old ones swept\n", client->table.entries.count,
            swept);
    if (client->once)
        client->is_ending = 1;
}

static void dump_table(struct client *client)
{
    if (client->dump_path != NULL && !client_table_dump(&client->table, client->dump_path))
        fprintf(stderr, "client: %s: %s\n", client->dump_path, strerror(errno));
}

/* ---- The connection ---- */

/* The table stays; what was held of a frame is worth nothing without the rest of it. The random part of the delay keeps the
 * clients of a server that comes back from coming all at once. */
static void disconnect(struct client *client, const char *why)
{
    const unsigned delay = client->delay / 2 + (unsigned)rand() % (client->delay / 2 + 1);
    close(client->socket);
    client->socket = -1;
    client->held = 0;
    client->connect_at = now_ms() + delay;
    fprintf(stderr, "client: %s: %s; next try in %u ms\n", client->path, why, delay);
    client->delay = client->delay < LONGEST_DELAY / 2 ? 2 * client->delay : LONGEST_DELAY;
}

/* Connecting to a UNIX socket never waits: it is done at once or has failed, with EAGAIN when too many wait already. */
static void try_to_connect(struct client *client)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    memcpy(address.sun_path, client->path, strlen(client->path));
    client->socket = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (client->socket < 0)
        fail("socket");
    if (connect(client->socket, (struct sockaddr *)&address, sizeof address) != 0) {
        disconnect(client, strerror(errno));
        return;
    }
    struct epoll_event event = {.events = EPOLLIN, .data.fd = client->socket};
    if (epoll_ctl(client->epoll, EPOLL_CTL_ADD, client->socket, &event) != 0)
        fail("epoll_ctl");
    client->connections++;
    client_table_begin(&client->table);
    client->is_whole = 0;
    fprintf(stderr, "client: connected to %s\n", client->path);
}

/* Takes all whole frames out of the buffer and moves the rest to its front. */
static void take_frames(struct client *client)
{
    rib_frames frames;
    rib_frame frame;
    rib_frames_begin(&frames, client->buf, client->held);
    while (!client->is_ending && rib_frames_next(&frames, &frame)) {
        if (rib_frame_is_delimiter(&frame))
            end_of_table(client);
        else
            updates_take(&client->updates, &frame);
    }
    client->held = rib_frames_rest_len(&frames);
    memmove(client->buf, rib_frames_rest(&frames), client->held);
}

/* One read for each event: epoll tells again while there is more, and signals get their turn. */
static void on_readable(struct client *client)
{
    const ssize_t got = read(client->socket, client->buf + client->held, client->chunk);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (got <= 0) {
        disconnect(client, got == 0 ? "the server has closed the connection" : strerror(errno));
        return;
    }
    client->delay = FIRST_DELAY;
    client->drops.now = time(NULL);
    client->held += (size_t)got;
    take_frames(client);
}

/* ---- The loop ---- */

static void on_signal(struct client *client)
{
    struct signalfd_siginfo signal;
    if (read(client->signals, &signal, sizeof signal) != sizeof signal)
        return;
    if (signal.ssi_signo == SIGUSR1)
        dump_table(client);
    else
        client->is_ending = 1;
}

/* Milliseconds until it is time to connect; -1 when there is nothing to wait for but events. */
static int time_to_wait(const struct client *client)
{
    const uint64_t now = now_ms();
    if (client->socket >= 0)
        return -1;
    return client->connect_at > now ? (int)(client->connect_at - now) : 0;
}

static void run(struct client *client)
{
    while (!client->is_ending) {
        struct epoll_event events[2];
        const int wait = time_to_wait(client);
        if (wait == 0)
            try_to_connect(client);
        const int count = epoll_wait(client->epoll, events, 2, wait);
        if (count < 0 && errno != EINTR)
            fail("epoll_wait");
        for (int i = 0; i < count; i++) {
            if (events[i].data.fd == client->signals)
                on_signal(client);
            else
                on_readable(client);
        }
    }
}

static void print_statistics(const struct client *client)
{
    const double seconds = process_seconds();
    fprintf(stderr,
            "client: %" PRIu32 " updates, %" PRIu64 " dropped, %" PRIu64 " delimiters, %" PRIu64
            " connections, %zu entries of %zu bytes\n",
            client->updates.count, client->drops.total, client->delimiters, client->connections,
            client->table.entries.count, client->table.memory);
    fprintf(stderr, "client: %.3f s of processor time: %.0f updates a second\n", seconds,
            seconds > 0 ? client->updates.count / seconds : 0);
}

/* ---- The beginning ---- */

static void start(struct client *client)
{
    client->buf = malloc(RIB_FRAME_MAX_LEN + client->chunk);
    if (client->buf == NULL || !client_table_init(&client->table, client->memory_limit))
        fail("start");
    client->epoll = epoll_create1(EPOLL_CLOEXEC);
    client->signals = process_signals();
    struct epoll_event event = {.events = EPOLLIN, .data.fd = client->signals};
    if (client->epoll < 0 || client->signals < 0 ||
        epoll_ctl(client->epoll, EPOLL_CTL_ADD, client->signals, &event) != 0)
        fail("start");
    client->socket = -1;
    client->delay = FIRST_DELAY;
    srand((unsigned)getpid());
    client->drops.program = "client";
    client->updates.take = client_table_change;
    client->updates.ctx = &client->table;
    client->updates.drops = &client->drops;
}

static void finish(struct client *client)
{
    if (client->socket >= 0)
        close(client->socket);
    close(client->signals);
    close(client->epoll);
    client_table_free(&client->table);
    free(client->buf);
}

static const char usage_text[] = "Usage: live_client [OPTIONS] SOCKET\n"
                                 "  --chunk BYTES  read so many at once (default: 262144)\n"
                                 "  --memory MIB   keep entries of no more than this (default: 1024)\n"
                                 "  --dump FILE    write the table there at the end (SIGINT, SIGTERM) and at SIGUSR1\n"
                                 "  --once         end when the table is whole\n";

static void usage(void)
{
    fputs(usage_text, stderr);
    exit(2);
}

static size_t positive(const char *text)
{
    char *end;
    const unsigned long long value = strtoull(text, &end, 10);
    if (end == text || *end != '\0' || value == 0 || value > SIZE_MAX >> 24)
        usage();
    return (size_t)value;
}

static void read_options(struct client *client, int argc, char **argv)
{
    static const struct option options[] = {
        {"chunk", required_argument, NULL, 'c'}, {"memory", required_argument, NULL, 'm'},
        {"dump", required_argument, NULL, 'd'},  {"once", no_argument, NULL, 'o'},
        {"help", no_argument, NULL, 'h'},        {NULL, 0, NULL, 0}};
    client->chunk = DEFAULT_CHUNK;
    client->memory_limit = (size_t)DEFAULT_MEMORY << 20;
    int option;
    while ((option = getopt_long(argc, argv, "", options, NULL)) != -1) {
        if (option == 'c')
            client->chunk = positive(optarg);
        else if (option == 'm')
            client->memory_limit = positive(optarg) << 20;
        else if (option == 'd')
            client->dump_path = optarg;
        else if (option == 'o')
            client->once = 1;
        else if (option == 'h')
            exit(fputs(usage_text, stdout) < 0);
        else
            usage();
    }
    if (optind + 1 != argc || strlen(argv[optind]) >= sizeof(((struct sockaddr_un *)0)->sun_path))
        usage();
    client->path = argv[optind];
}

int main(int argc, char **argv)
{
    struct client client = {0};
    read_options(&client, argc, argv);
    start(&client);
    run(&client);
    print_statistics(&client);
    dump_table(&client);
    finish(&client);
    return 0;
}
