#include "arguments/Complaint.h"

#include <CLI/CLI.hpp>

#include "arguments/NearMiss.h"

namespace tavrix::tool
{

namespace
{

/// The text before the first mark, as in "--radius: ..."; the whole when it has none.
std::string before(const std::string& text, const std::string& mark)
{
    return text.substr(0, text.find(mark));
}

std::string after(const std::string& text, const std::string& mark)
{
    const std::size_t at = text.find(mark);
    return at == std::string::npos ? "" : text.substr(at + mark.size());
}

std::vector<std::string> optionNames(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

std::vector<std::string> commandNames(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    return names;
}

std::string meant(const std::string& word, const std::vector<std::string>& candidates)
{
    const std::string near = nearMiss(word, candidates);
    return near.empty() ? "" : "; did you mean " + near + "?";
}

std::string unknownText(const CLI::App& app, const CLI::App* command)
{
    const std::vector<std::string> unknown = app.remaining(true);
    if (unknown.empty()) return "something of this cannot be understood";
    const std::string word = before(unknown.front(), "=");
    if (word.starts_with('-') && word != "-")
        return "there is no option " + word + meant(word, optionNames(command ? *command : app));
    if (command) return unknown.front() + " is one argument too many";
    return "there is no command " + word + meant(word, commandNames(app));
}

std::string textOf(const CLI::App& app, const CLI::App* command, const CLI::Error& error)
{
    const std::string what = error.what();
    const auto isOf = [&](CLI::ExitCodes code) { return error.get_exit_code() == static_cast<int>(code); };
    if (isOf(CLI::ExitCodes::ExtrasError)) return unknownText(app, command);
    if (isOf(CLI::ExitCodes::RequiredError))
        return command ? before(what, " is required") + " is missing" : unknownText(app, command);
    if (isOf(CLI::ExitCodes::ArgumentMismatch)) return before(what, ":") + " needs a value, once";
    if (isOf(CLI::ExitCodes::ConversionError))
        return before(after(what, ": "), " = ") + " cannot be " + after(what, " = ");
    if (isOf(CLI::ExitCodes::ExcludesError))
        return before(what, " excludes") + " and " + after(what, "excludes ") +
               " contradict each other; give one of them";
    if (isOf(CLI::ExitCodes::ValidationError))
        return what.find(": ") == std::string::npos ? what : before(what, ": ") + " " + after(what, ": ");
    return "the arguments cannot be understood";
}

}  // namespace

std::string complaint(const CLI::App* app, const CLI::Error& error)
{
    const std::vector<CLI::App*> chosen = app->get_subcommands();
    const CLI::App* const command = chosen.empty() ? nullptr : chosen.front();
    const bool saysNothing = !command && app->remaining(true).empty();
    const std::string text = saysNothing ? "say what to do" : textOf(*app, command, error);
    return "tavrix: " + text + (text.ends_with('?') ? " See " : "; see ") + app->get_name() +
           (command ? " " + command->get_name() : "") + " --help\n";
}

}  // namespace tavrix::tool
