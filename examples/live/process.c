#define _GNU_SOURCE
#include "process.h"

#include <signal.h>
#include <stddef.h>
#include <sys/resource.h>
#include <sys/signalfd.h>

int process_signals(void)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGUSR1);
    sigprocmask(SIG_BLOCK, &signals, NULL);
    return signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
}

double process_seconds(void)
{
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return (double)(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           (double)(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}
