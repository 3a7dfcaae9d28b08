#include "documents/Completion.h"

#include <CLI/CLI.hpp>

#include "documents/OptionFacts.h"

namespace tavrix::tool
{

namespace
{

std::string joined(const std::vector<std::string>& words, const std::string& between = " ")
{
    return CLI::detail::join(words, between);
}

/// In single quotes, as all three shells read it.
std::string inQuotes(const std::string& text)
{
    std::string out = "'";
    for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

std::vector<std::string> dashed(const OptionFacts& facts)
{
    std::vector<std::string> names;
    for (const std::string& name : facts.shortNames) names.push_back("-" + name);
    for (const std::string& name : facts.longNames) names.push_back("--" + name);
    return names;
}

/// The first sentence of a description, for a list of options.
std::string brief(const std::string& description)
{
    return description.substr(0, description.find_first_of(":;("));
}

// bash

/// What completes a value: a call of one of the functions of the script.
std::string bashValue(const OptionFacts& facts)
{
    if (!facts.choices.empty()) return "_tavrix_words " + joined(facts.choices);
    if (facts.takesFile) return "_tavrix_files " + joined(facts.extensions);
    return ":";
}

std::string bashCommand(const CLI::App& command)
{
    std::string options, values, files = ":";
    for (const OptionFacts& facts : factsOf(command))
    {
        const std::vector<std::string> names = dashed(facts);
        if (names.empty())
        {
            if (facts.takesFile || !facts.choices.empty()) files = bashValue(facts);
            continue;
        }
        for (const std::string& name : facts.longNames) options += " --" + name;
        if (facts.takesValue)
            values += "                " + joined(names, " | ") + ") " + bashValue(facts) + "; return ;;\n";
    }
    return "        " + command.get_name() + ")\n            case $option in\n" + values +
           "            esac\n            if [[ $word == -* ]]; then _tavrix_words" + options + "; else " +
           files + "; fi\n            ;;\n";
}

// zsh

std::string zshValue(const OptionFacts& facts)
{
    const std::string label = facts.positional.empty() ? "value" : facts.positional;
    if (!facts.choices.empty()) return ":" + label + ":(" + joined(facts.choices) + ")";
    if (!facts.takesFile) return ":" + label + ":";
    if (facts.extensions.empty()) return ":" + label + ":_files";
    return ":" + label + ":_files -g \"(#i)*.(" + joined(facts.extensions, "|") + ")(-.)\"";
}

std::string zshEscaped(const std::string& text)
{
    std::string out;
    for (const char c : text)
    {
        if (c == '[' || c == ']' || c == ':' || c == '\\') out += '\\';
        out += c;
    }
    return out;
}

std::string zshCommand(const CLI::App& command)
{
    std::string text = "        " + command.get_name() + ")\n            _arguments -s";
    const auto add = [&text](const std::string& specification)
    { text.append(" \\\n                ").append(inQuotes(specification)); };
    for (const OptionFacts& facts : factsOf(command))
    {
        if (!facts.positional.empty()) add("*" + zshValue(facts));
        std::string note = "[" + zshEscaped(brief(facts.description)) + "]";
        if (facts.takesValue) note += zshValue(facts);
        for (const std::string& name : facts.shortNames) add(std::string("*-").append(name).append(note));
        for (const std::string& name : facts.longNames)
            add(std::string("*--").append(name).append(facts.takesValue ? "=" : "").append(note));
    }
    return text + "\n            ;;\n";
}

// fish

std::string fishOption(const std::string& command, const OptionFacts& facts)
{
    std::string text = "complete -c tavrix -n '__fish_seen_subcommand_from " + command + "'";
    for (const std::string& name : facts.shortNames) text += " -s " + name;
    for (const std::string& name : facts.longNames) text += " -l " + name;
    if (facts.takesValue || !facts.positional.empty())
    {
        if (!facts.choices.empty())
            text += " -x -a " + inQuotes(joined(facts.choices));
        else if (facts.takesFile && facts.extensions.empty())
            text += " -r -F";
        else if (facts.takesFile)
        {
            std::string calls;
            for (const std::string& extension : facts.extensions)
                calls += "(__fish_complete_suffix ." + extension + ")";
            text += (facts.positional.empty() ? " -x" : "") + std::string(" -k -a ") + inQuotes(calls);
        }
        else
            text += " -x";
    }
    return text + " -d " + inQuotes(brief(facts.description)) + "\n";
}

}  // namespace

std::string bashCompletion(const CLI::App& program)
{
    std::string names, cases;
    for (const CLI::App* command : program.get_subcommands({}))
    {
        names += " " + command->get_name();
        cases += bashCommand(*command);
    }
    return R"(# Completion of the tavrix program for bash, written by the program itself.

_tavrix_words() { mapfile -t COMPREPLY < <(compgen -W "$*" -- "$word"); }

# Files with one of the extensions, in small letters or capitals, and folders; all files without any.
_tavrix_files()
{
    local file extension
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do
        [ $# -eq 0 ] || [ -d "$file" ] && COMPREPLY+=("$file") && continue
        for extension in "$@"; do
            [[ ${file,,} == *."$extension" ]] && COMPREPLY+=("$file")
        done
    done < <(compgen -f -- "$word")
}

_tavrix()
{
    local word=$2 option=$3
    COMPREPLY=()
    # bash splits --option=VALUE at the sign
    [[ $word == = ]] && word= && option=${COMP_WORDS[COMP_CWORD - 1]}
    [[ $option == = ]] && option=${COMP_WORDS[COMP_CWORD - 2]}
    if [ "$COMP_CWORD" -eq 1 ]; then
        if [[ $word == -* ]]; then _tavrix_words --help --version; else _tavrix_words)" +
           names + R"(; fi
        return
    fi
    case ${COMP_WORDS[1]} in
)" + cases +
           R"(    esac
}

complete -F _tavrix tavrix
)";
}

std::string zshCompletion(const CLI::App& program)
{
    std::string names, cases;
    for (const CLI::App* command : program.get_subcommands({}))
    {
        names += "        " + inQuotes(command->get_name() + ":" + command->get_description()) + "\n";
        cases += zshCommand(*command);
    }
    return "#compdef tavrix\n# Completion of the tavrix program for zsh, written by the program itself.\n\n"
           "_tavrix()\n{\n    local -a commands\n    commands=(\n" +
           names +
           "    )\n    if (( CURRENT == 2 )); then\n        _describe command commands\n        return\n    "
           "fi\n"
           "    local command=$words[2]\n    shift words\n    (( CURRENT-- ))\n    case $command in\n" +
           cases + "    esac\n}\n\n_tavrix \"$@\"\n";
}

std::string fishCompletion(const CLI::App& program)
{
    std::string text =
        "# Completion of the tavrix program for fish, written by the program itself.\n\n"
        "complete -c tavrix -n __fish_use_subcommand -l help -d 'Tell what there is'\n"
        "complete -c tavrix -n __fish_use_subcommand -s V -l version -d 'Tell the version'\n";
    for (const CLI::App* command : program.get_subcommands({}))
    {
        text += "complete -c tavrix -f -n __fish_use_subcommand -a " + command->get_name() + " -d " +
                inQuotes(command->get_description()) + "\n";
        for (const OptionFacts& facts : factsOf(*command)) text += fishOption(command->get_name(), facts);
    }
    return text;
}

}  // namespace tavrix::tool
