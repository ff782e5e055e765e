// Grid lists: encapsulation IDs and their keys.

#pragma once

#include "messages/rib_encap.h"
#include "tools/ribtool/generate/random_values.hpp"
#include "tools/ribtool/messages/scratch.hpp"

namespace ribtool
{

// Small keys leave room for 1026 of them in one update.
zidl_rib_encap_id_key random_key(random_source &random, scratch &memory, uint32_t key_type, extent size);
zidl_rib_grid_sync_list random_grid(random_source &random, scratch &memory, uint32_t key_count, bool multi_key,
                                    extent size);

} // namespace ribtool
