#pragma once

#include <string_view>

#include <tavrix/platform/TX_Tokenizer.h>

namespace tavrix::detail
{

inline bool isSpace(char c) { return c == ' ' || ('\t' <= c && c <= '\r'); }

/// The text without the white space around it.
inline std::string_view trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(TX_Tokenizer::whiteSpace);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(TX_Tokenizer::whiteSpace) + 1 - begin);
}

}  // namespace tavrix::detail
