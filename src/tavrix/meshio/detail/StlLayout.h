#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

// Bytes of the parts of a binary STL file; between them stands the number of facets.
inline constexpr uint32 stlHeaderSize = 80;
inline constexpr uint32 stlFacetSize = 50;

}  // namespace tavrix::detail
