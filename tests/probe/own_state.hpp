#pragma once
// Where the built program keeps things while it is tested: not in the home of whoever tests it.

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

/// A folder that goes with this object.
class state_for_tests final {
  public:
    state_for_tests() {
        std::string pattern = testing::TempDir() + "opcua-probe-state-XXXXXX";
        path_ = mkdtemp(pattern.data());
    }
    ~state_for_tests() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    state_for_tests(const state_for_tests&) = delete;
    state_for_tests& operator=(const state_for_tests&) = delete;

    [[nodiscard]] const std::string& path() const noexcept { return path_; }

  private:
    std::string path_;
};

/// One folder for all tests of a test program: a key pair is made once.
inline const std::string& own_state() {
    static const state_for_tests state;
    return state.path();
}

} // namespace tarvik::monitoring_modules::probe
