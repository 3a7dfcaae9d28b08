#include "arguments/JobFile.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>

#include <toml++/toml.h>
#include <CLI/CLI.hpp>

#include "arguments/NearMiss.h"
#include "arguments/OrderedOptions.h"
#include "formats/FileName.h"
#include "formats/OutputFile.h"
#include "run/Failure.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

/// Options that belong to a run, not to a job.
const std::set<std::string>& optionsAside()
{
    static const std::set<std::string> names{"help", "config", "save-config"};
    return names;
}

bool isOrdered(const CLI::Option* option) { return option->get_group() == orderedGroup; }

std::string smallLetters(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// The key of the options whose order counts.
std::string orderedKey() { return smallLetters(orderedGroup); }

/// The keys that stand for an option: its long names, or the positional's in small letters.
std::vector<std::string> keysOf(const CLI::Option& option)
{
    return option.get_positional() ? std::vector{smallLetters(option.get_name(true, false))}
                                   : option.get_lnames();
}

/// Takes `--config FILE` or `--config=FILE` out.
std::optional<std::string> takeConfig(std::vector<std::string>& arguments)
{
    const std::string name = "--config", prefix = name + "=";
    for (auto a = arguments.begin(); a != arguments.end() && *a != "--"; ++a)
    {
        if (a->starts_with(prefix))
        {
            const std::string file = a->substr(prefix.size());
            arguments.erase(a);
            return file;
        }
        if (*a != name) continue;
        if (a + 1 == arguments.end()) throw Failure("--config needs the name of a job file");
        const std::string file = *(a + 1);
        arguments.erase(a, a + 2);
        return file;
    }
    return std::nullopt;
}

toml::table readTable(const std::string& path)
{
    std::ifstream file(formats::pathOf(path), std::ios::binary);
    if (!file) throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
    std::ostringstream text;
    text << file.rdbuf();
    try
    {
        return toml::parse(std::move(text).str());
    }
    catch (const toml::parse_error& error)
    {
        throw Failure(path + formatted(": line %u is not TOML: ", error.source().begin.line) +
                      std::string(error.description()));
    }
}

CLI::App* commandNamed(CLI::App& app, const std::string& name)
{
    for (CLI::App* command : app.get_subcommands({}))
        if (command->get_name() == name) return command;
    return nullptr;
}

/// The command that the arguments name, else that of the file, which then is put before them.
CLI::App& commandOf(CLI::App& app, const toml::table& job, const std::string& path,
                    std::vector<std::string>& arguments)
{
    if (!arguments.empty() && !arguments.front().starts_with('-'))
        if (CLI::App* command = commandNamed(app, arguments.front())) return *command;
    const auto name = job["command"].value<std::string>();
    CLI::App* command = name ? commandNamed(app, *name) : nullptr;
    if (!command)
        throw Failure(path + (name ? ": there is no command " + *name
                                   : ": names no command; add command = \"surface\", say"));
    arguments.insert(arguments.begin(), *name);
    return *command;
}

/// The options that the arguments give, whether or not they are complete.
std::set<const CLI::Option*> givenOptions(CLI::App& app, const CLI::App& command,
                                          std::vector<std::string> arguments)
{
    std::reverse(arguments.begin(), arguments.end());
    try
    {
        app.parse(arguments);
    }
    catch (const CLI::ParseError&)
    {
        // what is wrong is told when all arguments are together
    }
    std::set<const CLI::Option*> given;
    for (const CLI::Option* option : command.get_options())
        if (option->count() > 0) given.insert(option);
    return given;
}

/// A value as it would stand on the command line.
std::string textOf(const toml::node& value, const std::string& where)
{
    if (const auto text = value.value_exact<std::string>()) return *text;
    if (const auto whole = value.value_exact<int64_t>()) return std::to_string(*whole);
    if (const auto number = value.value_exact<double>()) return formatted("%.17g", *number);
    throw Failure(where + " must be a number or a text");
}

/// The arguments that a line of the file stands for.
void append(std::vector<std::string>& arguments, const CLI::Option& option, const std::string& key,
            const toml::node& value, const std::string& where)
{
    const bool isFlag = option.get_expected_max() == 0 || option.get_type_size_max() == 0;
    if (isFlag)
    {
        const auto isSet = value.value_exact<bool>();
        if (!isSet) throw Failure(where + " must be true or false");
        if (*isSet) arguments.push_back("--" + key);
        return;
    }
    const auto add = [&](const toml::node& one)
    {
        const std::string text = textOf(one, where);
        arguments.push_back(option.get_positional() ? text : "--" + key + "=" + text);
    };
    if (const toml::array* several = value.as_array())
        for (const toml::node& one : *several) add(one);
    else
        add(value);
}

const CLI::Option& optionOf(const CLI::App& command, const std::string& key, const std::string& path)
{
    std::vector<std::string> known;
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : keysOf(*option))
        {
            if (optionsAside().count(name) > 0) continue;
            if (name == key) return *option;
            known.push_back(name);
        }
    const std::string near = nearMiss(key, known);
    throw Failure(path + ": " + key + " is no option of " + command.get_name() +
                  (near.empty() ? "" : "; did you mean " + near + "?"));
}

/// The arguments of options whose order counts; none of the file's where the arguments give some.
void appendOrdered(std::vector<std::string>& arguments, const CLI::App& command, const toml::node* list,
                   const std::set<const CLI::Option*>& given, const std::string& path)
{
    if (!list) return;
    const std::string where = path + ": " + orderedKey();
    const toml::array* const steps = list->as_array();
    if (!steps) throw Failure(where + " must be an array of tables, as in [{union = \"b.stl\"}]");
    const bool isGiven = std::any_of(given.begin(), given.end(), isOrdered);
    for (const toml::node& step : *steps)
    {
        const toml::table* const table = step.as_table();
        if (!table || table->size() != 1)
            throw Failure(where + " must hold tables of one option each, as in {union = \"b.stl\"}");
        const auto entry = table->begin();
        const std::string key(entry->first.str());
        const CLI::Option& option = optionOf(command, key, path);
        const std::string place = formatted("%s: %s", where.c_str(), key.c_str());
        if (!isOrdered(&option)) throw Failure(place + " is none of these options");
        if (!isGiven) append(arguments, option, key, entry->second, place);
    }
}

toml::array resultsOf(const CLI::Option& option)
{
    toml::array values;
    for (const std::string& text : option.results())
    {
        int64_t whole = 0;
        double number = 0;
        if (text.find_first_not_of("0123456789-") == std::string::npos &&
            CLI::detail::lexical_cast(text, whole))
            values.push_back(whole);
        else if (text.find_first_not_of("0123456789+-.eE") == std::string::npos &&
                 CLI::detail::lexical_cast(text, number))
            values.push_back(number);
        else
            values.push_back(text);
    }
    return values;
}

}  // namespace

std::vector<std::string> withJobFile(CLI::App& app, std::vector<std::string> arguments)
{
    const std::optional<std::string> path = takeConfig(arguments);
    if (!path) return arguments;
    const toml::table job = readTable(*path);
    const CLI::App& command = commandOf(app, job, *path, arguments);
    const std::set<const CLI::Option*> given = givenOptions(app, command, arguments);
    // positional ones in their own order, whatever order the file has
    for (const CLI::Option* option : command.get_options())
        for (const std::string& key : keysOf(*option))
            if (const toml::node* value = job.get(key); value && given.count(option) == 0)
                append(arguments, optionOf(command, key, *path), key, *value, *path + ": " + key);
    appendOrdered(arguments, command, job.get(orderedKey()), given, *path);
    for (const auto& [key, value] : job)
        if (key.str() != "command" && key.str() != orderedKey())
            optionOf(command, std::string(key.str()), *path);
    return arguments;
}

void saveJobFile(const CLI::App& command, const std::string& path)
{
    std::ostringstream text;
    text << "command = " << toml::value<std::string>(command.get_name()) << "\n";
    for (const CLI::Option* option : command.get_options())
    {
        if (option->count() == 0 || isOrdered(option) || optionsAside().count(keysOf(*option).front()) > 0)
            continue;
        const bool isFlag = option->get_expected_max() == 0 || option->get_type_size_max() == 0;
        const toml::array values = resultsOf(*option);
        text << keysOf(*option).front() << " = ";
        if (isFlag)
            text << "true";
        else if (values.size() == 1)
            values[0].visit([&](const auto& value) { text << value; });
        else
            text << values;
        text << "\n";
    }
    if (const auto ordered = orderedValues(command); !ordered.empty())
    {
        toml::array steps;
        for (const auto& [name, value] : ordered) steps.push_back(toml::table{{{name.substr(2), value}}});
        text << orderedKey() << " = " << steps << "\n";
    }
    formats::writeFileWhole(path,
                            [&](const std::string& name)
                            {
                                std::ofstream file(formats::pathOf(name), std::ios::binary);
                                return file << text.str() << std::flush ? 0 : -1;
                            });
}

}  // namespace tavrix::tool
