// Ctrl-C, SIGTERM and SIGHUP: a command ends in order, says what was done and leaves nothing half. A second signal ends the process at
// once.

#pragma once

namespace ribtool
{

// From main(): from now on these signals only tell. One that was ignored when the program started (nohup) stays so.
void catch_interruptions();

// Whether one has come. Loops look at it: it costs a load.
bool interrupted();

// Readable once a signal has come, for poll(): what waits for a descriptor waits for this one, too (streams/waiting.hpp), since a read
// would sleep through a signal that comes just before it. -1, which poll() skips, where none is caught.
int interruption_descriptor();

// Ends the process as the signal would have, so that shells and scripts see it: $? is 128 and the signal's number.
[[noreturn]] void end_as_interrupted();

} // namespace ribtool
