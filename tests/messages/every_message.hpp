// Parameters for tests that run over every message type.

#pragma once

#include "messages/descriptors.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

inline std::vector<const zidl::message_descriptor *> every_message()
{
    return {zidl::all_messages, zidl::all_messages + zidl::message_count};
}

inline std::string message_name(const testing::TestParamInfo<const zidl::message_descriptor *> &instance)
{
    return instance.param->name;
}
