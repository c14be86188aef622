// cli/Completion.cpp - completion scripts from the declared options.
#include "Completion.h"

#include <algorithm>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace varnex3::cli {
namespace {

struct OptionWords {
    std::vector<std::string> names; // "--order", "-q"
    std::vector<std::string> words; // accepted ones; none when anything goes
    std::string description;
    bool takesValue = false, takesText = false; // a text may be a file
};

struct CommandWords {
    std::string name, description;
    std::vector<OptionWords> options;
};

/// The words of "TEXT:{quick,accurate}", the form in which an option shows what it accepts.
std::vector<std::string> acceptedWords(const std::string& type)
{
    const std::size_t open = type.find('{'), close = type.find('}');
    if (open == std::string::npos || close == std::string::npos) return {};
    return CLI::detail::split(type.substr(open + 1, close - open - 1), ',');
}

void collect(const CLI::App& app, std::vector<OptionWords>& options)
{
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) continue;
        if (option == app.get_help_ptr() && app.get_name().empty()) continue; // a group has the command's
        OptionWords entry;
        for (const std::string& name : option->get_lnames()) entry.names.push_back("--" + name);
        for (const std::string& name : option->get_snames()) entry.names.push_back("-" + name);
        entry.words = acceptedWords(option->get_type_name());
        entry.description = option->get_description();
        entry.takesValue = option->get_items_expected_max() > 0;
        entry.takesText = option->get_type_name().rfind("TEXT", 0) == 0;
        options.push_back(std::move(entry));
    }
    for (const CLI::App* group :
         app.get_subcommands([](const CLI::App* sub) { return sub->get_name().empty(); }))
        collect(*group, options);
}

std::vector<CommandWords> commandsOf(const CLI::App& app)
{
    std::vector<CommandWords> commands;
    for (const CLI::App* sub :
         app.get_subcommands([](const CLI::App* s) { return !s->get_name().empty(); })) {
        CommandWords command{sub->get_name(), sub->get_description(), {}};
        collect(*sub, command.options);
        commands.push_back(std::move(command));
    }
    return commands;
}

std::string joined(const std::vector<std::string>& words) { return fmt::format("{}", fmt::join(words, " ")); }

/// The text for between single quotes, with the brackets that end a description in zsh escaped.
std::string quotable(const std::string& text)
{
    std::string result;
    for (char c : text) {
        if (c == '\'')
            result += "'\\''";
        else if (c == '[' || c == ']')
            result += std::string("\\") + c;
        else
            result += c;
    }
    return result;
}

std::string zshValue(const OptionWords& option)
{
    if (!option.takesValue) return {};
    if (!option.words.empty()) return fmt::format(":value:({})", joined(option.words));
    return option.takesText ? ":value:_files" : ":value: ";
}

} // namespace

std::string bashCompletion(const CLI::App& app)
{
    std::string names, options, values;
    for (const CommandWords& command : commandsOf(app)) {
        names += (names.empty() ? "" : " ") + command.name;
        std::vector<std::string> all;
        for (const OptionWords& option : command.options) {
            all.insert(all.end(), option.names.begin(), option.names.end());
            if (!option.takesValue) continue;
            for (const std::string& name : option.names)
                values += option.words.empty()
                              ? fmt::format("        '{} {}') COMPREPLY=(); return ;;\n", command.name, name)
                              : fmt::format("        '{} {}') COMPREPLY=($(compgen -W '{}' -- \"$word\")); "
                                            "return ;;\n",
                                            command.name, name, joined(option.words));
        }
        options += fmt::format("        {}) options='{}' ;;\n", command.name, joined(all));
    }
    // An empty answer makes bash complete files, by "-o default".
    return fmt::format(R"(# bash completion for corvane
_corvane()
{{
    local word="${{COMP_WORDS[COMP_CWORD]}}" before="${{COMP_WORDS[COMP_CWORD-1]}}" command="${{COMP_WORDS[1]}}" options=
    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W '{} --help --version' -- "$word"))
        return
    fi
    case "$command $before" in
{}    esac
    case "$command" in
{}    esac
    case "$word" in
        -*) COMPREPLY=($(compgen -W "$options" -- "$word")) ;;
        *) COMPREPLY=() ;;
    esac
}}
complete -o default -F _corvane corvane
)",
                       names, values, options);
}

std::string zshCompletion(const CLI::App& app)
{
    std::string commands, arguments;
    for (const CommandWords& command : commandsOf(app)) {
        commands += fmt::format("        '{}:{}'\n", command.name, quotable(command.description));
        arguments += fmt::format("        {})\n            _arguments \\\n", command.name);
        for (const OptionWords& option : command.options)
            for (const std::string& name : option.names)
                arguments += fmt::format("                '{}[{}]{}' \\\n", name,
                                         quotable(option.description), zshValue(option));
        arguments += "                '*:file:_files' ;;\n";
    }
    return fmt::format(R"(#compdef corvane
# zsh completion for corvane
_corvane()
{{
    local -a commands
    commands=(
{}    )
    if (( CURRENT == 2 )); then
        _describe command commands
        return
    fi
    local command="$words[2]"
    shift words
    (( CURRENT-- ))
    case "$command" in
{}    esac
}}
_corvane "$@"
)",
                       commands, arguments);
}

} // namespace varnex3::cli
