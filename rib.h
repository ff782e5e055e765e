/* Everything of librib: all message types, the client library, and its version. */

#ifndef RIB_H
#define RIB_H

#include "codec/zidl.h"
#include "ip/rib/lib/src/rib_lib.h"
#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "rib_version.h"

#endif
