/* Why an update reached the client or did not, what of it was lost, and what its bytes mean.
 *
 * The library drops in silence what it cannot use. These functions say what it did, and why. They do no input or output, keep no
 * state, and may be called from any thread; nothing that they do is seen by the library itself.
 *
 *     if (!was_delivered) {                                // the callback has not run
 *         update.stripped = 1;                             // the entry point took the frame off
 *         rib_explanation *why;
 *         if (rib_explain_update(&update, NULL, &why) == ZIDL_OK) {
 *             log("%s: %s at %s\n", rib_outcome_name(why->outcome), rib_reason_text(why->reason),
 *                 why->path != NULL ? why->path : "the whole");
 *             rib_explanation_free(why);
 *         }
 *     }
 */

#ifndef INSPECT_RIB_INSPECT_H
#define INSPECT_RIB_INSPECT_H

#include <stddef.h>
#include <stdint.h>

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

/* What becomes of an update. */
enum rib_outcome {
    RIB_DELIVERED, /* the callback runs, perhaps with losses */
    RIB_DROPPED,   /* no callback, and no other sign */
    RIB_STOPPED,   /* an assertion stops the process */
    RIB_REFUSED,   /* not tried: nobody can say what becomes of it, see rib_explain_update */
    RIB_OUTCOME_COUNT
};

/* "delivered", "dropped", "stopped" or "refused"; null for a number that is none. */
ZIDL_API const char *rib_outcome_name(enum rib_outcome outcome);

/* What `record` of an explanation points to. */
enum rib_record_kind {
    RIB_RECORD_NONE,  /* null */
    RIB_RECORD_PROTO, /* rib_protoid_map, at any address */
    RIB_RECORD_OPAQUE, /* rib_opaque_update; of the older form its lengths may reach beyond the payload, as in a callback */
    RIB_RECORD_ROUTE,   /* struct rib_routetype_ */
    RIB_RECORD_GRID,    /* grid_sync_list */
    RIB_RECORD_NHID,    /* nhid_update_local */
    RIB_RECORD_MESSAGE, /* the decoded message: a zidl_<type> */
    RIB_RECORD_KIND_COUNT
};

/* The offset of what is not in the payload. */
#define RIB_NO_OFFSET ((size_t)-1)

/* A value of the payload, not zero, whose content or bits the record does not show. Unknown fields count, too. */
typedef struct rib_loss {
    enum rib_reason reason;
    const char *path; /* "paths[3].ecomm.ecomm_values[2]"; of an unknown field its number, "paths[3].99" */
    size_t offset;    /* of the value, in bytes from the payload's first; RIB_NO_OFFSET when it is not in the payload */
    const char *value; /* as it came: a decimal number, a text (other bytes than printable ASCII as \xNN), or hex */
    const char *kept;  /* what the record has of it, written likewise; null when it has nothing */
} rib_loss;

/* An assertion as __assert_fail reports it; all null and 0 when none stopped the update. */
typedef struct rib_assertion {
    const char *expression;
    const char *file;
    uint32_t line;
    const char *function;
} rib_assertion;

/* What became of an update. Everything that it points to is its own. */
typedef struct rib_explanation {
    enum rib_outcome outcome;
    enum rib_reason reason; /* delivered: none, or lenient_end */
    uint32_t tlv_type;      /* the update's code; 0 of a bare message that has none */
    const char *message;    /* its type ("rib_route"); null for the older forms and for unknown codes */
    int64_t status; /* the decoder's, where that failed (ZIDL_ERR_), else a zerrno; 0 is ZIDL_OK and ZERRNO_OK, and of a
                     * stopped or refused update */
    const char *status_name; /* "ZIDL_ERR_MALFORMED"; "OK" for 0 */
    const char *path;        /* of the field that the reason is about; null when it is about none */
    size_t offset; /* of its value, in bytes from the payload's first; of a missing field or a list, of what holds it */
    const rib_loss *losses; /* of a delivered update, in the order of the payload; a dropped one is lost as a whole */
    size_t loss_count;
    rib_assertion assertion;
    enum rib_record_kind record_kind;
    const void *record; /* as the callback gets it; null unless delivered */
    uint32_t sub_id;    /* of an opaque record: the callback's second argument */
} rib_explanation;

/* What is particular about a client. All zero is a client with all callbacks and no converter of routes of its own. */
typedef struct rib_explain_options {
    uint32_t without;  /* RIB_WITHOUT_ bits */
    uint32_t tlv_type; /* 0, or a code whose entry point takes the update, whatever the update's own code */
    size_t memory;     /* 0, or the most bytes that the conversion may allocate */
} rib_explain_options;

enum {
    RIB_WITHOUT_ROUTE_CLIENT = 1,   /* ctx of rib_lib_pvt_parse_route_update is null */
    RIB_WITHOUT_ENCODED_ROUTES = 2, /* encoded_route is null */
    RIB_WITHOUT_OLDER_ROUTES = 4,   /* legacy_convert, or another function that would be called, is null */
    RIB_WITHOUT_LOSSES = 8          /* the caller wants none: losses are not looked for */
};

/* There is no message of this name. Like the codec's statuses, and none of theirs. */
#define RIB_ERR_NO_SUCH_MESSAGE (-64)

/* Says what becomes of an update when a client hands it to the entry point of its code. The update is read like there,
 * framed or stripped, but from a copy: record, frame and payload stay as they are, and nothing of the client is called.
 *
 * An entry point takes the frame off and leaves `stripped` alone: to explain a record that one has had, set `stripped`
 * first. It also converts payloads of the older forms in place, so that of those a copy from before is to be explained.
 *
 * Refused, because only the client can tell: RIB_TLV_OLD_ROUTE, unless the client takes none; RIB_TLV_OLD_PROTO with a
 * payload below the 92 bytes of its record; a code that no entry point takes.
 *
 * `options` may be null. Returns ZIDL_OK, and *out is an explanation that rib_explanation_free takes back; or
 * ZIDL_ERR_NO_MEMORY, and *out is null. */
ZIDL_API int32_t rib_explain_update(const updatetype_local *update, const rib_explain_options *options,
                                    rib_explanation **out);

/* The same for a bare message of the type `name`, `len` bytes at `payload`, which may be null when len is 0. A message of an
 * update is explained as that update; what no entry point takes is decoded: delivered when that succeeds.
 *
 * Returns RIB_ERR_NO_SUCH_MESSAGE where there is no such type; else as above. */
ZIDL_API int32_t rib_explain_message(const char *name, const uint8_t *payload, size_t len,
                                     const rib_explain_options *options, rib_explanation **out);

/* Gives back an explanation with all that it points to; null is allowed. */
ZIDL_API void rib_explanation_free(rib_explanation *explanation);

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
ZIDL_API int32_t rib_message_from_json(const char *type, const char *json, size_t len, uint8_t **bytes,
                                       size_t *bytes_len, rib_conversion_error *error);

/* ---- Messages as text and back ----
 *
 * For people, and without a loss: whatever the bytes are, decodable or not, their text gives them back. The format is
 * described in docs/message-text.md. */

/* Sets `*text` to the text of the bytes (null when `len` is 0) as a message of the type, with a NUL behind its `*text_len`
 * characters; the caller gives it back with rib_inspect_free. Bytes that cannot be decoded have a text, too, which says so:
 * only RIB_CONVERSION_UNKNOWN_TYPE and RIB_CONVERSION_NO_MEMORY fail, with `*text` null. `text_len` and `error` may be null. */
ZIDL_API int32_t rib_message_to_text(const char *type, const uint8_t *bytes, size_t len, char **text, size_t *text_len,
                                     rib_conversion_error *error);

/* Sets `*bytes` to the bytes whose text stands in `text`, `len` characters, and `*bytes_len` to their number; it is never
 * null then, and the caller gives it back with rib_inspect_free. Otherwise returns another status, `*bytes` is null, and
 * `*error`, which may be null, says why: of RIB_CONVERSION_BAD_TEXT line, column and what was expected there. */
ZIDL_API int32_t rib_message_from_text(const char *type, const char *text, size_t len, uint8_t **bytes,
                                       size_t *bytes_len, rib_conversion_error *error);

/* Gives back what these functions return. Null is fine. */
ZIDL_API void rib_inspect_free(void *result);

#ifdef __cplusplus
}
#endif

#endif
