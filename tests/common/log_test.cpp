#include "common/liblog/bounded_lines.hpp"
#include "common/liblog/memory_logger.hpp"
#include "common/liblog/multiplex_logger.hpp"
#include "common/liblog/null_logger.hpp"

#include <barrier>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::liblog;

namespace {

TEST(memory_logger, loses_no_line_of_several_threads) {
    memory_logger log;
    std::barrier start{2};
    const auto write_many = [&] {
        start.arrive_and_wait();
        for (int i = 0; i < 500; ++i) {
            log.log(severity::debug, "line");
        }
    };
    std::jthread{write_many}, write_many();
    EXPECT_EQ(log.entries().size(), 1'000U);
}

/// The lines as texts with their severities.
std::vector<std::string> texts_of(const bounded_lines& lines) {
    std::vector<std::string> texts;
    for (const auto& [level, text] : lines.entries()) {
        texts.push_back(std::to_string(static_cast<int>(level)) + " " + text);
    }
    return texts;
}

TEST(bounded_lines, keep_the_first_and_the_last) {
    bounded_lines lines{{.lines = 5, .bytes = 1024}};
    const auto add = [&](int from, int to) {
        for (int i = from; i <= to; ++i) {
            lines.add(i == 7 ? severity::debug : severity::info, std::to_string(i));
        }
        return texts_of(lines);
    };
    using texts = std::vector<std::string>;
    EXPECT_EQ(add(1, 4), (texts{"6 1", "6 2", "6 3", "6 4"}));
    EXPECT_EQ(add(5, 5), (texts{"6 1", "6 2", "6 [1 lines left out]", "6 4", "6 5"}));
    EXPECT_EQ(add(6, 90), (texts{"6 1", "6 2", "7 [86 lines left out]", "6 89", "6 90"}));
    lines.clear();
    EXPECT_EQ(texts_of(lines), texts{});
    // A text that finds no room among the first closes them to shorter ones as well: lines keep
    // their order.
    const std::string half(256, 'x');
    for (const char* const text : {half.c_str(), half.c_str(), "a", "b", "c"}) {
        lines.add(severity::error, text);
    }
    EXPECT_EQ(texts_of(lines), (texts{"3 " + half, "3 [2 lines left out]", "3 b", "3 c"}));
}

TEST(bounded_lines, stay_within_their_bounds_with_the_last_line_whole) {
    // Sizes around the edges: many small lines, few large ones, and both by turns.
    for (const std::size_t size : {0U, 1U, 130U, 131U, 132U, 65'000U, 70'000U, 2'000'000U}) {
        bounded_lines lines;
        for (int i = 0; i < 5'000; ++i) {
            lines.add(severity::debug, std::string(i % 3 == 0 ? 10 : size, 'x'));
            if (size > 200'000 && i == 20) {
                break;
            }
        }
        lines.add(severity::error, "the reason");
        std::size_t bytes = 0;
        const auto kept = lines.entries();
        for (const auto& [level, text] : kept) {
            bytes += text.size();
        }
        EXPECT_LE(bytes, 256U * 1024) << size;
        EXPECT_LE(kept.size(), 2'000U) << size;
        // Nothing is left out while there is room.
        EXPECT_TRUE(bytes > 180'000 || kept.size() > 1'990 || size > 200'000) << size << bytes;
        EXPECT_EQ(kept.front().second.size(), 10U) << size;
        EXPECT_EQ(kept.back().second, "the reason") << size;
    }
}

TEST(bounded_lines, cut_long_texts_between_characters) {
    // Of 1024 bytes, a line may have 256: 192 of its text, and the mark.
    struct row {
        std::string text;
        std::size_t kept; ///< bytes before the mark; 0: all
    };
    const auto times = [](std::size_t count, std::string_view text) {
        std::string all;
        while (count-- > 0) {
            all += text;
        }
        return all;
    };
    const std::vector<row> rows{
        {std::string(256, 'x'), 0},
        {std::string(257, 'x'), 192},
        {times(100, "€"), 192},
        {"x" + times(100, "€"), 190},
        {"xx" + times(100, "€"), 191},
        {"x" + times(100, "😀"), 189},
        {std::string(300, '\x80'), 189}, // no UTF-8: cut anywhere
    };
    for (const row& wanted : rows) {
        bounded_lines lines{{.lines = 10, .bytes = 1024}};
        lines.add(severity::debug, wanted.text);
        const std::size_t kept = wanted.kept == 0 ? wanted.text.size() : wanted.kept;
        const std::string mark =
            " [" + std::to_string(wanted.text.size() - kept) + " bytes left out]";
        EXPECT_EQ(
            lines.entries().front().second,
            wanted.text.substr(0, kept) + (wanted.kept == 0 ? "" : mark)
        );
    }
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
