/* What both programs ask of the system. */

#ifndef LIVE_PROCESS_H
#define LIVE_PROCESS_H

/* A descriptor that tells of SIGTERM, SIGINT and SIGUSR1, which end or interrupt nothing from then on; -1, with errno, when that
 * fails. */
int process_signals(void);

/* Seconds of processor time that this process has taken. */
double process_seconds(void);

#endif
