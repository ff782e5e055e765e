/* Encodes a reading and decodes it again. The prefix of its messages is its own. */

#include <stdio.h>
#include <stdlib.h>

#include "messages/station.h"

static void *allocate(size_t size, void *ctx)
{
    (void)ctx;
    return malloc(size ? size : 1);
}

static void release(void *ptr, void *ctx)
{
    (void)ctx;
    free(ptr);
}

int main(void)
{
    weather_station_reading sent = {0};
    weather_station_reading received = {0};
    uint8_t wire[32];
    size_t len;

    weather_station_reading_set_degrees(&sent, 21);
    weather_station_reading_set_place(&sent, "Oslo");
    len = weather_station_reading_encode_ext(&sent, wire, sizeof wire, NULL, NULL, 0);
    if (weather_station_reading_decode_ext(&received, wire, len, allocate, NULL, 0) != ZIDL_OK)
        return 1;
    printf("%u degrees in %s\n", received.degrees, received.place);
    weather_station_reading_free_ext(&received, release, NULL, 0);
    return 0;
}
