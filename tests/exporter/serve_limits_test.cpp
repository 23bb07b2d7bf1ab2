// The built program, serving, and what the system lets it have.

#include "tests/exporter/serving_probe.hpp"
#include <sys/resource.h>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Lowers what this process and its children may open, for as long as it lives.
class few_descriptors final {
  public:
    few_descriptors() {
        getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit few{256, before_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    }
    ~few_descriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
    few_descriptors(const few_descriptors&) = delete;
    few_descriptors& operator=(const few_descriptors&) = delete;

    [[nodiscard]] std::string most() const { return std::to_string(before_.rlim_max); }

  private:
    rlimit before_{};
};

TEST(serving_within_limits, takes_as_many_descriptors_as_it_may_have) {
    const few_descriptors limit;
    const serving_probe started{""};
    EXPECT_EQ(std::stod(started.metric("process_max_fds")), std::stod(limit.most()));
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
