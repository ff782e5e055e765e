// A connection to somebody who listens.

#pragma once

#include "tools/ribtool/streams/descriptor.hpp"
#include "tools/ribtool/streams/endpoint.hpp"

namespace ribtool
{

// Tries each address of the endpoint. A failure names the endpoint and why the last of them did not answer.
descriptor connect_to(const endpoint &to, reach allowed);

// Whoever has gone without a word is noticed after a minute or two, also while nothing is sent. Nothing of a UNIX socket.
void keep_alive(int socket);

} // namespace ribtool
