#include "common/liblog/memory_logger.hpp"
#include "common/liblog/multiplex_logger.hpp"
#include "common/liblog/null_logger.hpp"

#include <memory>
#include <thread>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::liblog;

namespace {

TEST(memory_logger, keeps_lines_in_order_until_cleared) {
    memory_logger log;
    log.log(severity::debug, "first");
    log.log(severity::error, "second");
    const auto entries = log.entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0], (memory_logger::entry{severity::debug, "first"}));
    EXPECT_EQ(entries[1], (memory_logger::entry{severity::error, "second"}));
    log.clear();
    EXPECT_TRUE(log.entries().empty());
}

TEST(memory_logger, loses_no_line_of_several_threads) {
    memory_logger log;
    const auto write_many = [&log] {
        for (int i = 0; i < 500; ++i) {
            log.log(severity::debug, "line");
        }
    };
    std::jthread first{write_many};
    std::jthread second{write_many};
    first.join();
    second.join();
    EXPECT_EQ(log.entries().size(), 1000U);
}

TEST(multiplex_logger, forwards_to_each_target_up_to_its_level) {
    const auto all = std::make_shared<memory_logger>();
    const auto errors = std::make_shared<memory_logger>();
    multiplex_logger log;
    log.add(all);
    log.add(errors, severity::error);
    log.add(nullptr);
    log.log(severity::debug, "detail");
    log.log(severity::error, "trouble");
    EXPECT_EQ(all->entries().size(), 2U);
    ASSERT_EQ(errors->entries().size(), 1U);
    EXPECT_EQ(errors->entries()[0].second, "trouble");
    log.remove(all);
    log.log(severity::error, "more");
    EXPECT_EQ(all->entries().size(), 2U);
}

TEST(multiplex_logger, drops_targets_whose_owner_has_let_go) {
    const auto kept = std::make_shared<memory_logger>();
    auto released = std::make_shared<memory_logger>();
    multiplex_logger log;
    log.add(released);
    log.add(kept);
    released.reset();
    EXPECT_EQ(log.target_count(), 2U);
    log.log(severity::debug, "line");
    EXPECT_EQ(log.target_count(), 1U);
    EXPECT_EQ(kept->entries().size(), 1U);
}

TEST(multiplex_logger, takes_what_any_living_target_takes) {
    multiplex_logger log;
    EXPECT_FALSE(takes(&log, severity::failed_check));
    auto target = std::make_shared<memory_logger>();
    log.add(target, severity::warning);
    EXPECT_TRUE(takes(&log, severity::warning));
    EXPECT_FALSE(takes(&log, severity::info));
    log.add(target, severity::info);
    EXPECT_TRUE(takes(&log, severity::info));
    target.reset();
    EXPECT_FALSE(takes(&log, severity::failed_check));
}

TEST(write, puts_parts_together_only_for_a_log_that_takes_the_line) {
    memory_logger log;
    write(&log, severity::info, "port ", 4840, ", ", std::string{"text"}, " ", std::size_t{7});
    ASSERT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(log.entries()[0].second, "port 4840, text 7");
    null_logger nothing;
    write(&nothing, severity::failed_check, "dropped");
    write(nullptr, severity::failed_check, "dropped");
    EXPECT_FALSE(takes(&nothing, severity::failed_check));
}

} // namespace
