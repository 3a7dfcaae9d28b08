#pragma once

#include <algorithm>

namespace tavrix::detail
{

/// Sorts the items and leaves one of those that are equal.
template <class Container>
void sortOnce(Container& items)
{
    std::sort(items.begin(), items.end());
    items.erase(std::unique(items.begin(), items.end()), items.end());
}

}  // namespace tavrix::detail
