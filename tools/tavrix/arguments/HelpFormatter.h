#pragma once

#include <sstream>
#include <string>

#include <CLI/CLI.hpp>

namespace tavrix::tool
{

/// Breaks the descriptions of options into lines that fit beside the column of names on a terminal of a
/// hundred columns.
class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_option_desc(const CLI::Option* option) const override
    {
        constexpr std::size_t width = 68;
        std::istringstream words(CLI::Formatter::make_option_desc(option));
        std::string text, word;
        std::size_t lineLength = 0;
        while (words >> word)
        {
            const bool fits = lineLength == 0 || lineLength + 1 + word.size() <= width;
            if (!text.empty()) text += fits ? ' ' : '\n';
            text += word;
            lineLength = fits && lineLength > 0 ? lineLength + 1 + word.size() : word.size();
        }
        return text;
    }
};

}  // namespace tavrix::tool
