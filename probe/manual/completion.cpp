#include "probe/manual/completion.hpp"

#include "probe/manual/option_view.hpp"
#include "text/words.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

namespace {

// What stays the same for every program. The tables above it answer through REPLY.
constexpr const char* shared_part = R"(
# NAME_find: the command, how many arguments stand behind it, and the option whose value is being typed.
NAME_find() {
    local index word before= last=
    command= arguments=0
    for ((index = 1; index < COMP_CWORD; ++index)); do
        word=${COMP_WORDS[index]}
        if [ "$word" = = ]; then # bash takes --format=json and --set key=value apart
            before=${before:-$last}
        elif [ "$before" ]; then
            last=$before before=
        elif [[ $word = -* ]]; then
            last=
            NAME_takes_value "$command" "$word" && before=$word
        elif [ -z "$command" ] && [[ " $commands " = *" $word "* ]]; then
            command=$word last=
        else
            arguments=$((arguments + 1)) last=
        fi
    done
    [ "${COMP_WORDS[COMP_CWORD]}" != = ] || before=${before:-$last}
    option=$before
}

NAME() {
    local commands command arguments option REPLY= word=${COMP_WORDS[COMP_CWORD]}
    NAME_commands
    NAME_find
    [ "$word" != = ] || word=
    COMPREPLY=()
    if [ "$option" ]; then
        NAME_values "$command" "$option"
    elif [[ $word = -* ]]; then
        NAME_options "$command"
    elif [ -z "$command" ] && [ "$commands" ]; then
        REPLY=$commands
    elif [ "$arguments" = 0 ]; then
        NAME_values "$command" ''
    fi
    case $REPLY in
        :files)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            ;;
        :hosts) mapfile -t COMPREPLY < <(compgen -A hostname -- "$word") ;;
        *) mapfile -t COMPREPLY < <(compgen -W "$REPLY" -- "$word") ;;
    esac
}
)";

[[nodiscard]] std::string
replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

/// One command, or the program before any of them.
struct level {
    std::string name;
    std::vector<option_view> options;
};

/// General options may stand behind a command, too.
[[nodiscard]] std::vector<level> levels_of(const CLI::App& program) {
    std::vector<level> levels{{"", options_of(program)}};
    for (const CLI::App* command : commands_of(program)) {
        level here{command->get_name(), options_of(*command)};
        for (const option_view& general : levels.front().options) {
            const bool own = std::ranges::any_of(here.options, [&](const option_view& option) {
                return option.names == general.names;
            });
            if (!own) {
                here.options.push_back(general);
            }
        }
        levels.push_back(std::move(here));
    }
    return levels;
}

[[nodiscard]] std::string
values_of(const option_view& option, const std::vector<std::string>& kinds) {
    switch (option.source) {
    case value_source::words:
        return joined(option.words, " ");
    case value_source::files:
        return ":files";
    case value_source::hosts:
        return ":hosts";
    case value_source::none:
        break;
    }
    return option.shape == "KIND" ? joined(kinds, " ") : "";
}

[[nodiscard]] std::string option_table(const std::vector<level>& levels) {
    std::string text;
    for (const level& here : levels) {
        std::vector<std::string> names;
        for (const option_view& option : here.options) {
            if (!option.positional) {
                names.insert(names.end(), option.names.begin(), option.names.end());
            }
        }
        text += "        '" + here.name + "') REPLY='" + joined(names, " ") + "' ;;\n";
    }
    return text;
}

/// @return a line for each value that can be completed; what an argument may be stands behind an
/// empty name
[[nodiscard]] std::string
value_table(const std::vector<level>& levels, const std::vector<std::string>& kinds) {
    std::string text;
    for (const level& here : levels) {
        for (const option_view& option : here.options) {
            const std::string values = values_of(option, kinds);
            if (values.empty()) {
                continue;
            }
            std::vector<std::string> patterns;
            for (const std::string& name : option.names) {
                patterns.push_back("'" + here.name + " " + (option.positional ? "" : name) + "'");
            }
            text += "        " + joined(patterns, " | ") + ") REPLY='" + values + "' ;;\n";
        }
    }
    return text;
}

[[nodiscard]] std::string value_option_table(const std::vector<level>& levels) {
    std::string text;
    for (const level& here : levels) {
        std::vector<std::string> patterns;
        for (const option_view& option : here.options) {
            if (!option.positional && option.takes_value()) {
                for (const std::string& name : option.names) {
                    patterns.push_back("'" + here.name + " " + name + "'");
                }
            }
        }
        if (!patterns.empty()) {
            text += "        " + joined(patterns, " | ") + ") return 0 ;;\n";
        }
    }
    return text;
}

} // namespace

std::string bash_completion(const CLI::App& program, const std::vector<std::string>& kinds) {
    const std::vector<level> levels = levels_of(program);
    std::vector<std::string> commands;
    for (const level& here : levels) {
        if (!here.name.empty()) {
            commands.push_back(here.name);
        }
    }
    const std::string& call = program.get_name();
    const std::string function = "_" + replaced(call, "-", "_");
    const auto table =
        [&](const char* name, const std::string& key, const std::string& rows, const char* end) {
            return "\n" + function + name + "() {\n    case \"" + key + "\" in\n" + rows +
                   "    esac\n" + end + "}\n";
        };
    return "# bash completion for " + call + "\n\n" + function + "_commands() { commands='" +
           joined(commands, " ") + "'; }\n" + table("_options", "$1", option_table(levels), "") +
           table("_values", "$1 $2", value_table(levels, kinds), "") +
           table("_takes_value", "$1 $2", value_option_table(levels), "    return 1\n") +
           replaced(shared_part, "NAME", function) + "\ncomplete -F " + function + " " + call +
           "\n";
}

} // namespace tarvik::monitoring_modules::probe
