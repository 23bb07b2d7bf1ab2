#include "probe/scan_command.hpp"
#include "terminal/table.hpp"

#include <algorithm>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

[[nodiscard]] channel_view view(std::int64_t id, std::string name, formatted_value value) {
    channel_view result;
    result.id = id;
    result.name = std::move(name);
    result.value = std::move(value);
    return result;
}

TEST(table, aligns_by_columns_and_leaves_empty_ones_out) {
    table lines{{{"name"}, {"empty"}, {"n", alignment::right, 3}}};
    EXPECT_EQ(lines.render(false), "");
    lines.add_row({{"ボイラー"}, {}, {"1"}});
    lines.add_row({{"é"}, {}, {"12.5"}});
    EXPECT_EQ(
        lines.render(false),
        "  name          n\n"
        "  ボイラー      1\n"
        "  é          12.5\n"
    );
}

TEST(table, colours_do_not_change_the_alignment) {
    table lines{{{"a"}, {"b"}}};
    lines.add_row({{"x", colour::red}, {"y"}});
    EXPECT_EQ(lines.render(false), "  a  b\n  x  y\n");
    EXPECT_EQ(lines.render(true), "  \x1b[2ma\x1b[0m  \x1b[2mb\x1b[0m\n  \x1b[31mx\x1b[0m  y\n");
}

TEST(scan_table, shows_message_channels_units_states_and_raw_values) {
    scan_result result;
    result.state = scan_state::warning;
    result.text = "Diagnostics are off";
    result.error_code = 4;
    std::vector<channel_view> channels{
        view(1, "Temperature", {"72.5", "°C"}), view(10, "Memory", {"1.5", "GiB"})};
    channels[0].verdict.state = channel_state::error;
    channels[1].raw = std::int64_t{1'610'612'736};
    channels[1].raw_is_shown = false;
    EXPECT_EQ(
        render_scan("Title", result, channels, false),
        "Title\n"
        "WARNING: Diagnostics are off (error code 4)\n"
        "  id  channel      value      state         raw\n"
        "   1  Temperature   72.5 °C   error\n"
        "  10  Memory         1.5 GiB         1610612736\n"
    );
    EXPECT_EQ(render_scan("T", {0, 0, scan_state::ok, "OK", {}, {}}, {}, false), "T\nOK\n");
}

TEST(scan_table, lets_no_control_character_of_a_server_through) {
    const std::string evil = "a\x1b]0;x\x07\n\r\xc2\x9b\x08\x7f";
    scan_result result;
    result.text = evil;
    const std::string text = render_scan(evil, result, {view(1, evil, {evil, evil})}, false);
    EXPECT_TRUE(std::ranges::all_of(text, [](char byte) {
        return byte == '\n' || (static_cast<unsigned char>(byte) >= 0x20 && byte != '\x7f');
    }));
    EXPECT_EQ(std::ranges::count(text, '\n'), 4); // title, status, column titles, one row
    EXPECT_EQ(text.find("\xc2\x9b"), std::string::npos);
}

TEST(scan_table, cuts_what_is_overlong) {
    scan_result result;
    result.text = std::string(100'000, 'm');
    const std::string text = render_scan(
        "T", result, {view(1, std::string(5000, 'n'), {"1", std::string(500, 'u')})}, false
    );
    EXPECT_LT(text.size(), 800U);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
