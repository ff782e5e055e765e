// Tests that go through all of something take a sample of it, unless RIB_EXHAUSTIVE is set in the environment: then they go
// through all, for a nightly run.

#pragma once

#include <cstdlib>

inline bool exhaustive()
{
    return std::getenv("RIB_EXHAUSTIVE") != nullptr;
}
