/* Why an update reached the client or did not, what of it was lost, and what its bytes mean.
 *
 * The library drops in silence what it cannot use. These functions say what it did, and why. They do no input or output, keep no
 * state, and may be called from any thread; nothing that they do is seen by the library itself. */

#ifndef INSPECT_RIB_INSPECT_H
#define INSPECT_RIB_INSPECT_H

#include "codec/zidl.h"
#include "ip/rib/lib/src/rib_lib.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Why something of an update does not reach the client, and why an update does not. The list only grows at its end: a
 * number keeps its meaning. Output for people and programs has names, never numbers. */
enum rib_reason {
#define REASON(name, text) RIB_REASON_##name,
#include "inspect/reasons.def"
#undef REASON
    RIB_REASON_COUNT /* grows */
};

/* The name of a reason ("second_run") and what it means in one sentence; null for a number that is none. */
ZIDL_API const char *rib_reason_name(enum rib_reason reason);
ZIDL_API const char *rib_reason_text(enum rib_reason reason);

/* ---- Messages as JSON and back ----
 *
 * The JSON mapping of protocol buffers, under the fields' own names: numbers of 64 bits are strings, bytes base64; what a
 * message does not have, its JSON does not have. It shows the values that the library keeps, so that a message with
 * unknown fields, numbers in more bytes than they need, or the like comes back as the library itself would encode it. */

/* The names of the message types ("rib_route"), by index from 0; null behind the last. */
ZIDL_API const char *rib_message_name(size_t index);

/* What a conversion ends with. */
enum rib_conversion_status {
    RIB_CONVERSION_OK = 0,
    RIB_CONVERSION_UNKNOWN_TYPE, /* no message type has this name */
    RIB_CONVERSION_UNDECODABLE,  /* the bytes are no message of this type */
    RIB_CONVERSION_NOT_UTF8,     /* a string of the message is no UTF-8, which JSON is made of */
    RIB_CONVERSION_BAD_TEXT,     /* the text is no message of this type */
    RIB_CONVERSION_NO_MEMORY
};

/* Where a conversion fails, and why. */
typedef struct rib_conversion_error {
    int32_t status;         /* enum rib_conversion_status */
    int32_t decode_status;  /* RIB_CONVERSION_UNDECODABLE: ZIDL_ERR_MALFORMED, ...; otherwise ZIDL_OK */
    enum rib_reason reason; /* likewise; otherwise RIB_REASON_none */
    size_t offset;          /* bytes into the input; 0 with RIB_CONVERSION_NOT_UTF8 */
    char path[256];         /* of the field, "paths[3].ecomm"; empty for the message itself */
    char text[256];         /* one line for people, without the path; cut off where it is longer */
} rib_conversion_error;

/* Flags of rib_message_to_json. */
enum {
    RIB_JSON_INDENTED = 1, /* one member a line */
    RIB_JSON_REPLACE = 2   /* bytes of a string that are no UTF-8 become U+FFFD */
};

/* Sets `*json` to the JSON of the message in `bytes` (null when `len` is 0), with a NUL behind its `*json_len` characters, and
 * returns RIB_CONVERSION_OK; the caller gives it back with rib_inspect_free. Otherwise returns another status, `*json` is
 * null, and `*error` says why; but for RIB_CONVERSION_UNDECODABLE `*json` is what can be read of the message, with a first
 * member "@partial" that says so. `json_len` and `error` may be null. */
ZIDL_API int32_t rib_message_to_json(const char *type, const uint8_t *bytes, size_t len, uint32_t flags, char **json,
                                     size_t *json_len, rib_conversion_error *error);

/* Sets `*bytes` to the encoding of the message whose JSON stands in `json`, `len` characters, and `*bytes_len` to its length;
 * it is never null then, and the caller gives it back with rib_inspect_free. Otherwise returns another status, `*bytes` is
 * null, and `*error`, which may be null, says why. Also reads names in lowerCamelCase, unquoted numbers of 64 bits, base64 of
 * the URL alphabet, and null and [] for what is absent; an unknown member and one that stands twice are refused. */
ZIDL_API int32_t rib_message_from_json(const char *type, const char *json, size_t len, uint8_t **bytes, size_t *bytes_len,
                                       rib_conversion_error *error);

/* Gives back what these functions return. Null is fine. */
ZIDL_API void rib_inspect_free(void *result);

#ifdef __cplusplus
}
#endif

#endif
