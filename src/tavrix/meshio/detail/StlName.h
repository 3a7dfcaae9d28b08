#pragma once

#include <string_view>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/detail/TrimmedText.h>

namespace tavrix::detail
{

/// Names the mesh after a text of an STL file: what stands before a zero byte, without white space around it.
/// A text without characters leaves the name as it is.
inline void setStlName(std::string_view text, Mesh& mesh)
{
    text = trimmed(text.substr(0, text.find('\0')));
    if (!text.empty()) mesh.setName(TX_String(text));
}

}  // namespace tavrix::detail
