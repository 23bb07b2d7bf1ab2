#include "probe/manual/option_view.hpp"

#include "text/words.hpp"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::vector<std::string> split(const std::string& text, char at) {
    std::vector<std::string> parts;
    std::istringstream in{text};
    for (std::string part; std::getline(in, part, at);) {
        parts.push_back(CLI::detail::trim_copy(part));
    }
    return parts;
}

/// @return "1000000" for "1e+06"
[[nodiscard]] std::string written_out(const std::string& number) {
    std::ostringstream text;
    text.precision(12);
    text << std::stod(number);
    return text.str();
}

/// What CLI11 keeps in one text: the type, then what each check allows.
struct type_text {
    explicit type_text(const std::string& text) : name{text.substr(0, text.find(':'))} {
        const std::string rest = text.substr(std::min(text.size(), name.size() + 1));
        if (rest.starts_with('{') && rest.ends_with('}')) {
            words = split(rest.substr(1, rest.size() - 2), ',');
        } else if (const std::size_t begin = rest.find(" in ["); begin != std::string::npos) {
            const std::string range = rest.substr(begin + 5);
            const std::size_t middle = range.find(" - ");
            limits = "From " + written_out(range) + " to " + written_out(range.substr(middle + 3));
        } else if (!rest.empty()) {
            throw std::logic_error{"no words for what \"" + text + "\" allows"};
        }
    }

    std::string name;
    std::vector<std::string> words;
    std::string limits;
};

/// @return the values in "Language of the texts: de, en, or its name"
[[nodiscard]] std::vector<std::string> listed_words(const std::string& description) {
    std::vector<std::string> words;
    for (const std::string& part : split(description.substr(description.rfind(':') + 1), ',')) {
        const std::string word = part.substr(0, part.find(" ("));
        if (!word.empty() && std::ranges::all_of(word, [](unsigned char letter) {
                return std::islower(letter) != 0;
            })) {
            words.push_back(word);
        }
    }
    return words;
}

[[nodiscard]] std::string shape_of(const CLI::Option& option, const type_text& type) {
    if (option.get_items_expected_max() == 0) {
        return {};
    }
    const std::string one = !type.words.empty() ? joined(type.words, "|")
                            : type.name == "UINT" || type.name == "INT" || type.name == "FLOAT"
                                ? "N"
                                : type.name;
    return option.get_delimiter() == '\0' ? one : one + "[,...]";
}

[[nodiscard]] std::string sentence(const std::string& text) {
    return text.ends_with('.') || text.ends_with('?') ? text : text + ".";
}

[[nodiscard]] std::string names_text(const std::set<CLI::Option*>& options) {
    std::vector<std::string> names;
    std::ranges::transform(options, std::back_inserter(names), [](const CLI::Option* option) {
        return option->get_name();
    });
    std::ranges::sort(names);
    return joined(names, ", ");
}

[[nodiscard]] std::string text_of(const CLI::Option& option, const type_text& type) {
    std::vector<std::string> sentences{option.get_description()};
    if (!type.limits.empty()) {
        sentences.push_back(type.limits);
    }
    if (std::string usual = option.get_default_str(); !usual.empty()) {
        if (usual.starts_with('[') && usual.ends_with(']')) { // as CLI11 shows lists
            usual = usual.substr(1, usual.size() - 2);
        }
        sentences.push_back("Default: " + CLI::detail::remove_quotes(usual));
    }
    if (option.get_expected_max() == CLI::detail::expected_max_vector_size &&
        option.get_delimiter() == '\0') {
        sentences.emplace_back("May be given several times");
    }
    if (!option.get_needs().empty()) {
        sentences.push_back("Needs " + names_text(option.get_needs()));
    }
    if (!option.get_excludes().empty()) {
        sentences.push_back("Not together with " + names_text(option.get_excludes()));
    }
    std::ranges::transform(sentences, sentences.begin(), sentence);
    return joined(sentences, " ");
}

[[nodiscard]] value_source source_of(const std::string& type) {
    if (type == "FILE" || type == "PATH" || type.ends_with("=PATH")) {
        return value_source::files;
    }
    return type == "HOST" ? value_source::hosts : value_source::none;
}

[[nodiscard]] option_view view_of(const CLI::Option& option) {
    if (option.get_description().empty()) {
        throw std::logic_error{"no text says what " + option.get_name(true, true) + " is"};
    }
    const type_text type{option.get_type_name()};
    option_view view;
    view.positional = !option.nonpositional();
    if (view.positional) {
        view.names.push_back(option.get_name(true));
    }
    for (const std::string& name : option.get_snames()) {
        view.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        view.names.push_back("--" + name);
    }
    view.group = option.get_group();
    view.shape = shape_of(option, type);
    view.text = text_of(option, type);
    view.required = option.get_required();
    view.source = source_of(type.name);
    view.words = type.name == "LANG" || type.name == "LEVEL"
                     ? listed_words(option.get_description())
                     : type.words;
    if (!view.words.empty()) {
        view.source = value_source::words;
    }
    return view;
}

} // namespace

std::vector<option_view> options_of(const CLI::App& command) {
    std::vector<option_view> views;
    for (const CLI::Option* option : command.get_options({})) {
        if (!option->get_group().empty()) {
            views.push_back(view_of(*option));
        }
    }
    return views;
}

std::vector<const CLI::App*> commands_of(const CLI::App& program) {
    return program.get_subcommands(std::function<bool(const CLI::App*)>{});
}

} // namespace tarvik::monitoring_modules::probe
