/* Loads a librib.so and makes its first call, a route of one path, in a process that has done nothing else. Prints the
 * nanoseconds of each. The platform libraries are there already: they are this program's own. */

#define _POSIX_C_SOURCE 199309L /* clock_gettime */

#include "ip/rib/lib/src/rib_lib.h"

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

typedef void (*parse_function)(updatetype_local *, rib_route_func_pointer,
                               struct rib_routetype_ *(*)(rib_tlv_t *, uchar_t **), void (*)(struct rib_routetype_ *),
                               int, void *);

static uint8_t route[] = {0x0a, 11,                                /* route_prefix */
                          0x0a, 7,                                 /*   address */
                          0x08, 1,    0x10, 0x80, 0x80, 0x80, 80,  /*     family IPv4, 10.0.0.0 */
                          0x10, 8,                                 /*   prefix_len */
                          0xd2, 0x01, 11,                          /* paths */
                          0x08, 1,                                 /*   path_value_1 */
                          0x2a, 7,                                 /*   path_address_5 */
                          0x08, 1,    0x10, 0x81, 0x80, 0x80, 80}; /*     family IPv4, 10.0.0.1 */

static int paths_delivered;

static int on_route(uint32_t update_id, struct rib_routetype_ *record, void *ctx)
{
    (void)update_id;
    (void)ctx;
    paths_delivered += record->rt_path_count;
    return 0;
}

static long long now_ns(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
}

int main(int argc, char **argv)
{
    rib_route_client client = {NULL, NULL, on_route};
    updatetype_local update = {0};
    update.stripped = 1;
    update.tlv_type = RIB_TLV_ROUTE;
    update.payload_len = sizeof route;
    update.payload = route;
    if (argc != 2)
        return 2;
    now_ns(); /* the clock has a first call, too */

    const long long start = now_ns();
    void *const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    const long long loaded = now_ns();
    void *const symbol = library == NULL ? NULL : dlsym(library, "rib_lib_pvt_parse_route_update");
    if (symbol == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    parse_function parse;
    memcpy(&parse, &symbol, sizeof parse);
    const long long found = now_ns();
    parse(&update, NULL, NULL, NULL, 0, &client);
    const long long called = now_ns();

    printf("%lld %lld\n", loaded - start, called - found);
    return paths_delivered == 1 ? 0 : 1;
}
