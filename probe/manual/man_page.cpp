#include "probe/manual/man_page.hpp"

#include "probe/manual/option_view.hpp"
#include "probe/manual/roff.hpp"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view exit_codes = "Exit codes";
constexpr std::string_view environment = "Environment";

[[nodiscard]] bool shows_examples(const help_section& section) {
    return section.title.starts_with("Example");
}

/// As manuals call it: "EXIT STATUS", "CHANNELS (custom_sensor only)".
[[nodiscard]] std::string section_title(const std::string& title) {
    if (title == exit_codes) {
        return "EXIT STATUS";
    }
    std::string text = title;
    const auto words = static_cast<std::ptrdiff_t>(std::min(title.find('('), title.size()));
    std::transform(text.begin(), text.begin() + words, text.begin(), [](unsigned char letter) {
        return static_cast<char>(std::toupper(letter));
    });
    return text;
}

/// @return "create a sensor" for "Create a sensor. It ...", as lists of pages show it
[[nodiscard]] std::string summary(const std::string& text) {
    std::string first = text.substr(0, text.find(". "));
    if (first.ends_with('.')) {
        first.pop_back();
    }
    if (first.size() > 1 && std::isupper(static_cast<unsigned char>(first[1])) == 0) {
        first[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(first[0])));
    }
    return first;
}

struct block_writer {
    roff_page& page;

    void operator()(const help_paragraph& block) const { page.paragraph(plain(block.text)); }
    void operator()(const help_entry& block) const {
        page.tagged(bold(block.tag), plain(block.text));
    }
    void operator()(const help_example& block) const { page.verbatim(block.lines); }
};

void write_blocks(roff_page& page, const help_section& section) {
    for (const help_block& block : section.blocks) {
        std::visit(block_writer{page}, block);
    }
}

void write_section(roff_page& page, const help_section& section) {
    page.section(section_title(section.title));
    write_blocks(page, section);
}

void write_option(roff_page& page, const option_view& option) {
    roff_code tag;
    for (const std::string& name : option.names) {
        tag += (tag.code.empty() ? roff_code{} : plain(", ")) +
               (option.positional ? italic(name) : bold(name));
    }
    if (option.takes_value() && (!option.positional || !option.words.empty())) {
        tag += plain(option.positional ? ": " : " ") + italic(option.shape);
    }
    page.tagged(tag, plain(option.text + (option.required ? " Required." : "")));
}

/// The arguments first, then the options without a group of their own, then the groups.
void write_options(roff_page& page, const std::vector<option_view>& options) {
    page.section("OPTIONS");
    std::vector<std::string> groups;
    for (const option_view& option : options) {
        if (option.positional) {
            write_option(page, option);
        } else if (std::ranges::find(groups, option.group) == groups.end()) {
            groups.push_back(option.group);
        }
    }
    std::stable_partition(groups.begin(), groups.end(), [](const auto& group) {
        return group == "Options";
    });
    for (const std::string& group : groups) {
        if (group != "Options") {
            page.subsection(group);
        }
        for (const option_view& option : options) {
            if (!option.positional && option.group == group) {
                write_option(page, option);
            }
        }
    }
}

/// One page, from its head to its foot.
class page_writer final {
  public:
    page_writer(const std::string& name, const CLI::App& command, const manual& about)
        : name_{name},
          about_{about},
          command_{command},
          sections_{parse_help(command.get_footer())},
          page_{name, about.source, about.title} {}

    void write_head(const roff_code& synopsis) {
        page_.section("NAME");
        page_.paragraph(plain(name_) + roff_code{" \\- "} + plain(summary(description())));
        page_.section("SYNOPSIS");
        page_.paragraph(synopsis);
        page_.section("DESCRIPTION");
        page_.paragraph(plain(description() + (description().ends_with('.') ? "" : ".")));
        for (const help_section& section : sections_) {
            if (section.title.empty()) {
                write_blocks(page_, section);
            }
        }
    }

    void write_commands(const CLI::App& program) {
        page_.section("COMMANDS");
        for (const CLI::App* command : commands_of(program)) {
            page_.tagged(
                bold(command->get_name()),
                plain(command->get_description() + ". See ") +
                    bold(name_ + "-" + command->get_name()) + plain("(1).")
            );
        }
    }

    void write_options_of(const std::vector<option_view>& options) {
        write_options(page_, options);
    }

    void write_sections() {
        for (const help_section& section : sections_) {
            if (!section.title.empty() && !shows_examples(section)) {
                write_section(page_, section);
            }
        }
        for (const added_section& added : about_.added) {
            if (added.page == name_) {
                write_section(page_, added.section);
            }
        }
    }

    /// What the program says of all of its commands.
    void write_general_sections(const CLI::App& program) {
        for (const help_section& section : parse_help(program.get_footer())) {
            if (section.title == exit_codes || section.title == environment) {
                write_section(page_, section);
            }
        }
    }

    [[nodiscard]] man_page write_end(const std::vector<std::string>& see_also) {
        help_section examples{"Examples", {}}; // one section, however many the help has
        for (const help_section& section : sections_) {
            if (shows_examples(section)) {
                examples.blocks.insert(
                    examples.blocks.end(), section.blocks.begin(), section.blocks.end()
                );
            }
        }
        if (!examples.blocks.empty()) {
            write_section(page_, examples);
        }
        roff_code others;
        for (const std::string& other : see_also) {
            others +=
                (others.code.empty() ? roff_code{} : plain(", ")) + bold(other) + plain("(1)");
        }
        if (!others.code.empty()) {
            page_.section("SEE ALSO");
            page_.paragraph(others);
        }
        return {name_, page_.text()};
    }

  private:
    [[nodiscard]] std::string description() const { return command_.get_description(); }

    const std::string name_;
    const manual& about_;
    const CLI::App& command_;
    const std::vector<help_section> sections_;
    roff_page page_;
};

[[nodiscard]] man_page program_page(const CLI::App& program, const manual& about) {
    const std::string& name = program.get_name();
    const std::vector<const CLI::App*> commands = commands_of(program);
    std::vector<std::string> see_also;
    std::ranges::transform(commands, std::back_inserter(see_also), [&](const CLI::App* command) {
        return name + "-" + command->get_name();
    });
    std::ranges::copy_if(about.programs, std::back_inserter(see_also), [&](const auto& other) {
        return other != name;
    });
    page_writer page{name, program, about};
    const roff_code more = plain(" [") + italic("OPTION") + plain("...]");
    if (commands.empty()) {
        page.write_head(bold(name) + more);
    } else {
        page.write_head(
            bold(name) + more + plain(" ") + italic("COMMAND") + plain(" [") + italic("ARGUMENT") +
            plain("...]")
        );
        page.write_commands(program);
    }
    page.write_options_of(options_of(program));
    page.write_sections();
    return page.write_end(see_also);
}

/// @return "opcua-probe scan kind --host HOST [OPTION...]"
[[nodiscard]] roff_code
synopsis_of(const std::string& call, const std::vector<option_view>& options) {
    roff_code line = bold(call);
    for (const option_view& option : options) {
        if (option.positional) {
            line += option.required ? plain(" ") + italic(option.names.front())
                                    : plain(" [") + italic(option.names.front()) + plain("]");
        } else if (option.required) {
            line += plain(" ") + bold(option.names.back()) + plain(" ") + italic(option.shape);
        }
    }
    return line + plain(" [") + italic("OPTION") + plain("...]");
}

[[nodiscard]] man_page
command_page(const CLI::App& program, const CLI::App& command, const manual& about) {
    const std::string call = program.get_name() + " " + command.get_name();
    std::vector<option_view> options = options_of(command);
    page_writer page{program.get_name() + "-" + command.get_name(), command, about};
    page.write_head(synopsis_of(call, options));
    for (option_view& option : options_of(program)) {
        const CLI::Option* const same = command.get_option_no_throw(option.names.back());
        if (option.takes_value() && same == nullptr) {
            option.group = "Options of every command";
            options.push_back(std::move(option));
        }
    }
    page.write_options_of(options);
    page.write_sections();
    page.write_general_sections(program);
    return page.write_end(about.programs);
}

} // namespace

std::vector<man_page> man_pages_of(const CLI::App& program, const manual& about) {
    std::vector<man_page> pages{program_page(program, about)};
    for (const CLI::App* command : commands_of(program)) {
        pages.push_back(command_page(program, *command, about));
    }
    return pages;
}

} // namespace tarvik::monitoring_modules::probe
