#include "common/liblog/memory_logger.hpp"
#include "common/liblog/multiplex_logger.hpp"
#include "common/liblog/null_logger.hpp"

#include <barrier>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::liblog;

namespace {

TEST(memory_logger, loses_no_line_of_several_threads) {
    memory_logger log;
    std::barrier start{2};
    const auto write_many = [&] {
        start.arrive_and_wait();
        for (int i = 0; i < 20'000; ++i) {
            log.log(severity::debug, "line");
        }
    };
    std::jthread{write_many}, write_many();
    EXPECT_EQ(log.entries().size(), 40'000U);
}

TEST(multiplex_logger, forwards_to_each_living_target_up_to_its_level) {
    auto all = std::make_shared<memory_logger>();
    const auto errors = std::make_shared<memory_logger>();
    multiplex_logger log;
    EXPECT_FALSE(takes(&log, severity::failed_check));
    log.add(errors, severity::warning);
    EXPECT_TRUE(takes(&log, severity::warning));
    EXPECT_FALSE(takes(&log, severity::info));
    log.add(errors, severity::error); // only changes its level
    EXPECT_FALSE(takes(&log, severity::warning));
    log.add(all);
    log.add(nullptr);
    EXPECT_TRUE(takes(&log, severity::debug));
    log.log(severity::debug, "detail");
    log.log(severity::error, "trouble");
    EXPECT_EQ(all->entries().size(), 2U);
    const memory_logger::entry trouble{severity::error, "trouble"};
    EXPECT_EQ(errors->entries(), std::deque{trouble});
    log.remove(errors);
    log.log(severity::error, "more");
    EXPECT_EQ(errors->entries().size(), 1U);

    log.add(errors, severity::error);
    EXPECT_TRUE(takes(&log, severity::debug)); // the other target still does
    all.reset();
    EXPECT_FALSE(takes(&log, severity::warning));
    EXPECT_EQ(log.target_count(), 2U);
    log.log(severity::error, "line"); // the dead target goes with it
    EXPECT_EQ(log.target_count(), 1U);
    EXPECT_EQ(errors->entries().size(), 2U);
}

TEST(write, puts_parts_together_only_for_a_log_that_takes_the_line) {
    memory_logger log;
    write(&log, severity::info, "port ", 4840, ", ", std::string{"text"}, " ", std::size_t{7});
    const memory_logger::entry line{severity::info, "port 4840, text 7"};
    EXPECT_EQ(log.entries(), std::deque{line});
    null_logger nothing;
    EXPECT_FALSE(takes(&nothing, severity::failed_check));
    write(nullptr, severity::failed_check, "dropped");
}

} // namespace
