#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace tavrix::formats
{

/// Bytes that base64 stands for.
struct Base64Bytes
{
    std::shared_ptr<char[]> data;
    std::size_t size = 0;
};

/// The first bytes that the text stands for, up to `count`, as far as it is base64. Blanks are passed over,
/// and behind padding it goes on, as where pieces were encoded one by one.
Base64Bytes decodeBase64(std::string_view text, std::size_t count);

}  // namespace tavrix::formats
