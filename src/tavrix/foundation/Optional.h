#pragma once

#include <optional>

namespace tavrix
{

/// A value that may be absent, as the checked accessors return it.
template <class T>
using Optional = std::optional<T>;

}  // namespace tavrix
