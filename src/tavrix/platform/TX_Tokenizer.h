#pragma once

#include <string_view>

#include <tavrix/platform/Export.h>

namespace tavrix
{

/// Cuts a text into tokens, the longest runs of characters that are no separators. The text is looked at, not
/// copied, and must outlive the tokens. Separators are those of the "C" locale's white space unless others
/// are given.
class TX_Tokenizer
{
public:
    /// What the "C" locale takes for white space.
    static constexpr std::string_view whiteSpace = " \t\n\v\f\r";

    /// Begins at the start of the text; the separators are looked at too, not copied.
    explicit TX_Tokenizer(std::string_view text, std::string_view separators = whiteSpace) noexcept
        : _rest(text), _separators(separators)
    {
    }

    /// The next token, or an empty view when there is none left.
    std::string_view readNextToken() noexcept
    {
        const std::size_t begin = _rest.find_first_not_of(_separators);
        _rest.remove_prefix(begin == std::string_view::npos ? _rest.size() : begin);
        const std::string_view token = _rest.substr(0, _rest.find_first_of(_separators));
        _rest.remove_prefix(token.size());
        return token;
    }

    /// What follows the last token.
    std::string_view rest() const noexcept { return _rest; }

private:
    std::string_view _rest;
    std::string_view _separators;
};

}  // namespace tavrix
