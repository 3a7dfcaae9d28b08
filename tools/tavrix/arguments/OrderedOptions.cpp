#include "arguments/OrderedOptions.h"

#include <map>

#include <CLI/CLI.hpp>

namespace tavrix::tool
{

std::vector<std::pair<std::string, std::string>> orderedValues(const CLI::App& command)
{
    std::map<const CLI::Option*, std::size_t> left;  // values of the options that have not been named yet
    std::vector<std::pair<std::string, std::string>> values;
    // backwards, for the order begins with what an earlier parse of the arguments left
    const std::vector<CLI::Option*>& order = command.parse_order();
    for (auto option = order.rbegin(); option != order.rend(); ++option)
    {
        if ((*option)->get_group() != orderedGroup) continue;
        const auto count = left.try_emplace(*option, (*option)->count()).first;
        if (count->second > 0)
            values.emplace_back((*option)->get_name(), (*option)->results()[--count->second]);
    }
    return {values.rbegin(), values.rend()};
}

}  // namespace tavrix::tool
