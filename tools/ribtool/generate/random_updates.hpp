// Small updates, encoded: protocols, opaque blocks and next-hop IDs, and the older form of what has one.

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/generate/random.hpp"
#include "tools/ribtool/messages/scratch.hpp"

namespace ribtool
{

update random_proto(random_source &random, scratch &memory);
update random_older_proto(random_source &random);
update random_opaque(random_source &random, scratch &memory);
update random_older_opaque(random_source &random);
update random_older_route(random_source &random);
update random_nhid(random_source &random);

} // namespace ribtool
