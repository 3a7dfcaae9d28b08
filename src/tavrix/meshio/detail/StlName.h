#pragma once

#include <string_view>

#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// Names the mesh after a text of an STL file: what stands before a zero byte, without white space around it.
/// A text without characters leaves the name as it is.
inline void setStlName(std::string_view text, Mesh& mesh)
{
    constexpr std::string_view space = " \t\r\n\v\f";
    text = text.substr(0, text.find('\0'));
    const std::size_t begin = text.find_first_not_of(space);
    if (begin == std::string_view::npos) return;
    mesh.setName(TX_String(text.substr(begin, text.find_last_not_of(space) + 1 - begin)));
}

}  // namespace tavrix::detail
