#include "documents/ManualPage.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "documents/OptionFacts.h"

namespace tavrix::tool
{

namespace
{

/// Text as man(7) shows it unchanged.
std::string escaped(const std::string& text)
{
    std::string out;
    bool isLineStart = true;
    for (const char c : text)
    {
        if (isLineStart && (c == '.' || c == '\'')) out += "\\&";
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
        isLineStart = c == '\n';
    }
    return out;
}

std::string bold(const std::string& text) { return "\\fB" + escaped(text) + "\\fR"; }

std::string italic(const std::string& text) { return "\\fI" + escaped(text) + "\\fR"; }

std::string heading(const std::string& name)
{
    std::string capitals = name;
    for (char& c : capitals)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return ".SH " + capitals + "\n";
}

std::string head(const std::string& name, const std::string& what)
{
    std::string capitals = name;
    for (char& c : capitals)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return ".TH " + escaped(capitals) + " 1 \"\" \"tavrix " TAVRIX_VERSION "\" \"User Commands\"\n" +
           heading("name") + escaped(name) + " \\- " + escaped(what) + "\n";
}

std::string namesOf(const OptionFacts& facts)
{
    if (!facts.positional.empty()) return italic(facts.positional);
    std::string text;
    for (const std::string& name : facts.shortNames) text += (text.empty() ? "" : ", ") + bold("-" + name);
    for (const std::string& name : facts.longNames) text += (text.empty() ? "" : ", ") + bold("--" + name);
    return facts.takesValue ? text + " " + italic(facts.value) : text;
}

std::string optionsText(const CLI::App& command)
{
    std::vector<OptionFacts> all = factsOf(command);
    std::string text, group = "\n";
    std::vector<std::string> groups;
    for (const OptionFacts& facts : all)
        if (std::count(groups.begin(), groups.end(), facts.group) == 0) groups.push_back(facts.group);
    for (const std::string& wanted : groups)
    {
        text += heading(wanted);
        for (const OptionFacts& facts : all)
            if (facts.group == wanted)
                text += ".TP\n" + namesOf(facts) + "\n" + escaped(facts.description) + "\n";
    }
    return text;
}

/// The footer of a help, whose examples stand behind their own line.
std::string footerText(const std::string& footer)
{
    const std::size_t at = footer.find("Examples:\n");
    std::string text;
    const std::string notes = CLI::detail::trim_copy(footer.substr(0, at));
    if (!notes.empty()) text += heading("notes") + ".nf\n" + escaped(notes) + "\n.fi\n";
    if (at == std::string::npos) return text;
    return text + heading("examples") + ".nf\n" + escaped(footer.substr(at + 10)) + "\n.fi\n";
}

std::string synopsis(const CLI::App& command)
{
    std::string text = ".B tavrix " + escaped(command.get_name()) + "\n[\\fIOPTIONS\\fR]";
    for (const OptionFacts& facts : factsOf(command))
        if (!facts.positional.empty()) text += " " + italic(facts.positional);
    return heading("synopsis") + text + "\n";
}

std::string exitText()
{
    return heading("exit status") +
           "0: done. 1: failed, with a line on standard error that says why. 2: wrong usage.\n";
}

}  // namespace

std::string programPage(const CLI::App& program)
{
    std::string text = head("tavrix", "particles, fields, surfaces and meshes");
    text += heading("synopsis") + ".B tavrix\n\\fICOMMAND\\fR [\\fIOPTIONS\\fR]\n";
    text += heading("description") + escaped(program.get_description()) + "\n" + heading("commands");
    for (const CLI::App* command : program.get_subcommands({}))
        text += ".TP\n" + bold(command->get_name()) + "\n" + escaped(command->get_description()) + "; see " +
                bold("tavrix-" + command->get_name()) + "(1)\n";
    return text + optionsText(program) + exitText();
}

std::string commandPage(const CLI::App& command)
{
    return head("tavrix-" + command.get_name(), command.get_description()) + synopsis(command) +
           optionsText(command) + footerText(command.get_footer()) + exitText() + heading("see also") +
           bold("tavrix") + "(1)\n";
}

}  // namespace tavrix::tool
