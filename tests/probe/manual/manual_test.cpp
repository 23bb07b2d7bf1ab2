// The manual's parts: roff that shows texts as they are, help texts taken apart, options put into
// words.
#include "probe/manual/completion.hpp"
#include "probe/manual/help_text.hpp"
#include "probe/manual/man_page.hpp"
#include "probe/manual/option_view.hpp"
#include "probe/manual/roff.hpp"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(roff, shows_every_text_as_it_is) {
    const struct {
        const char* text;
        const char* code;
    } rows[] = {
        {"plain", "plain"},
        {R"(a\nb)", R"(a\enb)"},
        {".SH", R"(\&.SH)"},
        {"a.b", "a.b"},
        {"'ns=2'", R"(\(aqns=2\(aq)"},
        {R"(say "x")", R"(say \(dqx\(dq)"},
        {"--host ~^`", R"(\-\-host \(ti\(ha\(ga)"},
        {"1=°C", R"(1=\[u00B0]C)"},
        {"€ 語 😀", R"(\[u20AC] \[u8A9E] \[u1F600])"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(plain(row.text).code, row.code) << row.text;
    }
    roff_page page{"a-b", "s", "m"};
    page.section(R"(the "end")");
    page.verbatim({".nf", "", "  x \\"});
    EXPECT_EQ(
        page.text(),
        ".TH A\\-B 1 \"\" \"s\" \"m\"\n.SH \"the \\(dqend\\(dq\"\n"
        ".PP\n.RS 2\n.nf\n\\&.nf\n\n  x \\e\n.fi\n.RE\n"
    );
}

TEST(help_text, is_taken_apart) {
    const auto sections = parse_help(R"(
Serves, unless told otherwise:
  /metrics   for machines
             and more

Two lines
of text.

Exit codes:
  0    ok
  1, 2  not ok
Of several, the worst.

Languages (all):
  --language speaks
  to all.
  -x 1   one
  After it.

Examples:
  run  me
      --now

Configuration (YAML):
  a:
    b: 1)");
    std::vector<std::string> titles;
    std::ranges::transform(sections, std::back_inserter(titles), &help_section::title);
    ASSERT_THAT(
        titles, ElementsAre("", "Exit codes", "Languages (all)", "Examples", "Configuration (YAML)")
    );
    const std::vector<std::vector<help_block>> wanted{
        {help_paragraph{"Serves, unless told otherwise:"},
         help_entry{"/metrics", "for machines and more"},
         help_paragraph{"Two lines of text."}},
        {help_entry{"0", "ok"},
         help_entry{"1, 2", "not ok"},
         help_paragraph{"Of several, the worst."}},
        {help_paragraph{"--language speaks to all."},
         help_entry{"-x 1", "one"},
         help_paragraph{"After it."}},
        {help_example{{"run  me", "    --now"}}},
        {help_example{{"a:", "  b: 1"}}},
    };
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        EXPECT_EQ(sections[i].blocks, wanted[i]) << titles[i];
    }
    EXPECT_TRUE(parse_help("").empty());
}

/// A program with an option of every sort.
struct small_program {
    small_program() {
        app.name("tool");
        app.description("Does things. All of them.");
        CLI::App& run = *app.add_subcommand("run", "Run it");
        run.add_option("kind", text, "What to run")->required()->type_name("KIND");
        run.add_option("-p,--port", number, "Port")
            ->check(CLI::Range(1, 65535))
            ->capture_default_str();
        run.add_option("--factor", factor, "Factor")->check(CLI::Range(0.5, 1e6));
        run.add_option("--mode", mode, "Mode?")
            ->check(CLI::IsMember({"fast", "slow"}))
            ->capture_default_str();
        run.add_option("--many", many, "Several")->allow_extra_args(false)->type_name("K=PATH");
        run.add_option("--list", many, "Listed")->delimiter(',')->check(CLI::IsMember({"a", "b"}));
        run.add_option("--level", text, "Up to: low, middle (usual), high, or 7")
            ->type_name("LEVEL");
        run.add_flag("--dry", dry, "Only look")->needs("--mode");
    }
    CLI::App app;
    std::string text;
    std::string mode = "fast";
    std::vector<std::string> many;
    int number = 1;
    double factor = 1;
    bool dry = false;
};

TEST(options, are_put_into_words) {
    small_program program;
    const struct {
        const char* shape;
        const char* text;
        value_source source;
        std::vector<std::string> words;
    } rows[] = {
        {"", "Print this help message and exit.", value_source::none, {}},
        {"KIND", "What to run.", value_source::none, {}},
        {"N", "Port. From 1 to 65535. Default: 1.", value_source::none, {}},
        {"N", "Factor. From 0.5 to 1000000.", value_source::none, {}},
        {"fast|slow", "Mode? Default: fast.", value_source::words, {"fast", "slow"}},
        {"K=PATH", "Several. May be given several times.", value_source::files, {}},
        {"a|b[,...]", "Listed.", value_source::words, {"a", "b"}},
        {"LEVEL",
         "Up to: low, middle (usual), high, or 7.",
         value_source::words,
         {"low", "middle", "high"}},
        {"", "Only look. Needs --mode.", value_source::none, {}},
    };
    const auto views = options_of(*program.app.get_subcommand("run"));
    ASSERT_EQ(views.size(), std::size(rows));
    for (std::size_t i = 0; i < views.size(); ++i) {
        EXPECT_EQ(views[i].shape, rows[i].shape) << views[i].text;
        EXPECT_EQ(views[i].text, rows[i].text);
        EXPECT_EQ(views[i].source, rows[i].source) << views[i].text;
        EXPECT_EQ(views[i].words, rows[i].words) << views[i].text;
    }
    EXPECT_TRUE(views[1].positional && views[1].required);
    program.app.add_option("--silent", program.text);
    EXPECT_THROW(static_cast<void>(options_of(program.app)), std::logic_error)
        << "an option needs a text";
}

TEST(manual, has_a_page_for_the_program_and_one_for_each_command) {
    const small_program program;
    const auto pages = man_pages_of(
        program.app, {"tool 1", "Tools", {{"tool-run", {"Files", {}}}}, {"tool", "other"}}
    );
    ASSERT_EQ(pages.size(), 2U);
    EXPECT_EQ(pages[0].name, "tool");
    EXPECT_THAT(pages[0].text, HasSubstr("\ntool \\- does things\n"));
    EXPECT_THAT(pages[0].text, HasSubstr("\\fBtool\\-run\\fR(1), \\fBother\\fR(1)\n"));
    EXPECT_EQ(pages[1].name, "tool-run");
    EXPECT_THAT(pages[1].text, HasSubstr("\\fBtool run\\fR \\fIkind\\fR ["));
    EXPECT_THAT(pages[1].text, HasSubstr(".SH \"FILES\"\n"));
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
