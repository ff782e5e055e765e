#define _GNU_SOURCE
#include "peers.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

enum { ROOM = 2 * RIB_FRAME_MAX_LEN }; /* the longest frame always fits an empty buffer */

struct peer {
    struct link place; /* in the served table; the first member */
    int fd;
    int has_table;      /* the delimiter is on its way or sent */
    int waits_for_room; /* in the socket: epoll watches for it */
    size_t len;
    size_t sent;
    uint8_t buf[ROOM];
};

/* ---- Coming and going ---- */

int peers_have_room(const struct peers *peers)
{
    return peers->count < MOST_PEERS;
}

static void watch(const struct peers *peers, const struct peer *peer, int operation)
{
    struct epoll_event event = {.events = EPOLLIN | (peer->waits_for_room ? (uint32_t)EPOLLOUT : 0),
                                .data.fd = peer->fd};
    if (epoll_ctl(peers->epoll, operation, peer->fd, &event) != 0)
        fprintf(stderr, "server: epoll_ctl: %s\n", strerror(errno));
}

static void let_leave(struct peers *peers, struct peer *peer)
{
    served_leave(&peer->place);
    close(peer->fd);
    peers->by_fd[peer->fd] = NULL;
    peers->count--;
    free(peer);
}

static struct peer *peer_with(int fd)
{
    struct peer *peer = fd < MOST_PEERS + 16 ? malloc(sizeof *peer) : NULL;
    if (peer == NULL)
        return NULL;
    peer->fd = fd;
    peer->has_table = 0;
    peer->waits_for_room = 1;
    peer->len = 0;
    peer->sent = 0;
    return peer;
}

void peers_add(struct peers *peers, int fd)
{
    struct peer *peer = peer_with(fd);
    if (peer == NULL) {
        close(fd);
        return;
    }
    served_join(peers->served, &peer->place);
    peers->by_fd[fd] = peer;
    peers->count++;
    peers->joined++;
    watch(peers, peer, EPOLL_CTL_ADD);
}

void peers_close_all(struct peers *peers)
{
    for (int fd = 0; fd < MOST_PEERS + 16; fd++)
        if (peers->by_fd[fd] != NULL)
            let_leave(peers, peers->by_fd[fd]);
}

/* ---- Sending ---- */

/* A delimiter says that the whole table was sent: when the peer has first come to the end of it. */
static void fill(struct peers *peers, struct peer *peer)
{
    const struct served_entry *entry;
    peer->len = 0;
    peer->sent = 0;
    while ((entry = served_next(peers->served, &peer->place)) != NULL && entry->size <= ROOM - peer->len) {
        memcpy(peer->buf + peer->len, entry->frame, entry->size);
        peer->len += entry->size;
        served_pass(entry, &peer->place);
        peers->frames++;
    }
    if (entry == NULL && !peer->has_table && ROOM - peer->len >= RIB_FRAME_HEADER_LEN) {
        rib_frame_put_header(peer->buf + peer->len, RIB_FRAME_DELIMITER, 0);
        peer->len += RIB_FRAME_HEADER_LEN;
        peer->has_table = 1;
    }
}

/* One write, so that every peer gets its turn. Returns 0 when the peer is gone. */
static int send_some(struct peers *peers, struct peer *peer)
{
    if (peer->sent == peer->len)
        fill(peers, peer);
    const size_t rest = peer->len - peer->sent;
    const ssize_t sent =
        rest == 0 ? 0 : send(peer->fd, peer->buf + peer->sent, rest < peers->chunk ? rest : peers->chunk, MSG_NOSIGNAL);
    if (sent < 0 && errno != EAGAIN && errno != EINTR) {
        let_leave(peers, peer);
        return 0;
    }
    peer->sent += sent > 0 ? (size_t)sent : 0;
    const int waits_for_room =
        peer->sent < peer->len || !peer->has_table || served_next(peers->served, &peer->place) != NULL;
    if (waits_for_room != peer->waits_for_room) {
        peer->waits_for_room = waits_for_room;
        watch(peers, peer, EPOLL_CTL_MOD);
    }
    return 1;
}

/* A client has nothing to say: what can be read is its end, or nonsense that ends the connection, too. */
static int has_ended(const struct peer *peer)
{
    uint8_t byte;
    const ssize_t got = recv(peer->fd, &byte, sizeof byte, 0);
    return got >= 0 || (errno != EAGAIN && errno != EINTR);
}

void peers_on_event(struct peers *peers, int fd, uint32_t events)
{
    struct peer *peer = fd < MOST_PEERS + 16 ? peers->by_fd[fd] : NULL;
    if (peer == NULL)
        return; /* it left while its event was on the way */
    if ((events & ~(uint32_t)EPOLLOUT) != 0 && has_ended(peer)) {
        let_leave(peers, peer);
        return;
    }
    if ((events & EPOLLOUT) != 0)
        send_some(peers, peer);
}

void peers_wake(struct peers *peers)
{
    for (int fd = 0; fd < MOST_PEERS + 16; fd++)
        if (peers->by_fd[fd] != NULL && !peers->by_fd[fd]->waits_for_room)
            send_some(peers, peers->by_fd[fd]);
    struct link *place;
    while ((place = served_hindrance(peers->served)) != NULL) {
        struct peer *peer = (struct peer *)(void *)place;
        fprintf(stderr, "server: a client is too slow and is let go\n");
        peers->let_go++;
        let_leave(peers, peer);
    }
}
