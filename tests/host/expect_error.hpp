#pragma once
// Expects a probe_error with an exit code and a part of its text.

#include "host/probe_error.hpp"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

template <typename Call>
void expect_error(Call call, exit_code code, const std::string& part) {
    try {
        call();
        ADD_FAILURE() << "nothing was thrown: " << part;
    } catch (const probe_error& error) {
        EXPECT_EQ(error.code(), code);
        EXPECT_THAT(error.what(), testing::HasSubstr(part));
    }
}

} // namespace tarvik::monitoring_modules::probe
