/* The clients of the server: each has its place in the served table, and one buffer of fixed size for what is on its way. */

#ifndef LIVE_PEERS_H
#define LIVE_PEERS_H

#include <stdint.h>

#include "served.h"

enum { MOST_PEERS = 1000 };

struct peer;

struct peers {
    int epoll;
    size_t chunk; /* most bytes of one write */
    struct served *served;
    struct peer *by_fd[MOST_PEERS + 16];
    unsigned count;
    uint64_t joined;
    uint64_t let_go; /* because they were too slow */
    uint64_t frames; /* that were put on their way */
};

/* Whether one more client may come. */
int peers_have_room(const struct peers *peers);

/* Takes a connection over; closes it when there is no memory for it. */
void peers_add(struct peers *peers, int fd);

/* What epoll told about a descriptor that may be a peer's. */
void peers_on_event(struct peers *peers, int fd, uint32_t events);

/* To be called when the served table has changed: sends to those who wait for nothing else, and lets go those who hold it up. */
void peers_wake(struct peers *peers);

void peers_close_all(struct peers *peers);

#endif
