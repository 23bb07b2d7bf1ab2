#include "host/log.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

TEST(kept_lines, are_the_first_and_the_last_within_their_bounds) {
    // How long lines are, how many come, and how many of them are kept with one about the others.
    struct row {
        std::size_t length;
        std::size_t come;
        std::size_t kept;
    };
    const std::vector<row> rows{
        {1, 1'998, 1'998},
        {1, 2'500, 1'999},
        {40'000, 7, 7},     // three and three, and the last few bytes after them
        {40'000, 50, 8},    // and one about the others
        {1'000'000, 50, 6}, // cut to a quarter of the bytes: two and two, and the last few bytes
    };
    for (const row& wanted : rows) {
        kept_lines lines;
        for (std::size_t i = 0; i + 1 < wanted.come; ++i) {
            lines.add(log_line{"runtime", 7, std::string(wanted.length, 'x')});
        }
        lines.add(log_line{"runtime", 3, "the reason"});
        const auto kept = lines_of(lines.take());
        std::size_t bytes = 0;
        for (const log_line& line : kept) {
            bytes += line.text.size();
        }
        EXPECT_EQ(kept.size(), wanted.kept) << wanted.length << " " << wanted.come;
        EXPECT_LE(bytes, kept_lines::most_bytes);
        EXPECT_EQ(kept.back().text, "the reason");
        EXPECT_TRUE(lines.take().empty());
    }
    kept_lines lines;
    std::string euros = "x";
    while (euros.size() <= kept_lines::longest_line) {
        euros += "\u20AC";
    }
    lines.add(log_line{"runtime", 7, euros});
    const std::string cut = lines_of(lines.take()).front().text;
    EXPECT_TRUE(cut.ends_with(" bytes left out]"));
    EXPECT_EQ(cut.find(' ') % 3, 1U); // after a whole character
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
