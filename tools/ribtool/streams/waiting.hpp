// How commands wait for a socket or a pipe.

#pragma once

#include <functional>

namespace ribtool
{

enum class waited { ready, too_long, interrupted };

constexpr int WITHOUT_END = -1; // milliseconds

// Until the descriptor can be read (POLLIN) or written (POLLOUT), has ended or has failed. -1 is a descriptor on which nothing happens.
// `interrupted`: a signal has come, before the call or during it.
waited wait_for(int descriptor, short events, int milliseconds);

// Likewise without end; false: a signal has come. What is to be done meanwhile, if anything, is done before it waits and then a few
// times a second.
bool wait_with(const std::function<void()> &idle, int descriptor, short events);

} // namespace ribtool
