#pragma once

#include <string>
#include <vector>

namespace tavrix::tool
{

/// What was meant: the candidate that becomes the word by the fewest insertions, removals, replacements and
/// swaps of neighbouring letters, if a third of its letters are more than these; empty when none is.
std::string nearMiss(const std::string& word, const std::vector<std::string>& candidates);

}  // namespace tavrix::tool
