#include "documents/OptionFacts.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "arguments/Validators.h"

namespace tavrix::tool
{

namespace
{

void takeValidator(OptionFacts& facts, const std::string& description)
{
    const auto listBehind = [&](const std::string& prefix)
    {
        const std::string list = description.substr(prefix.size());
        return list.empty() ? std::vector<std::string>() : CLI::detail::split(list, ',');
    };
    if (description.starts_with(choicesMark)) facts.choices = listBehind(choicesMark);
    if (!description.starts_with(filesMark)) return;
    facts.takesFile = true;
    facts.extensions = listBehind(filesMark);
}

OptionFacts factsOf(const CLI::Option& option)
{
    OptionFacts facts;
    facts.shortNames = option.get_snames();
    facts.longNames = option.get_lnames();
    if (option.get_positional()) facts.positional = option.get_name(true, false);
    facts.takesValue = option.get_expected_max() > 0 && option.get_type_size_max() > 0;
    if (facts.takesValue || option.get_positional()) facts.value = option.get_option_text();
    facts.description = option.get_description();
    facts.group = option.get_group();
    // an option tells how many validators it has by throwing behind the last
    for (int n = 0;; ++n) try
        {
            takeValidator(facts, const_cast<CLI::Option&>(option).get_validator(n)->get_description());
        }
        catch (const CLI::OptionNotFound&)
        {
            break;
        }
    return facts;
}

}  // namespace

std::vector<OptionFacts> factsOf(const CLI::App& command)
{
    std::vector<OptionFacts> all;
    for (const CLI::Option* option : command.get_options())
        if (!option->get_group().empty()) all.push_back(factsOf(*option));
    std::stable_partition(all.begin(), all.end(),
                          [](const OptionFacts& facts) { return !facts.positional.empty(); });
    return all;
}

}  // namespace tavrix::tool
