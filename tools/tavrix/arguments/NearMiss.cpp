#include "arguments/NearMiss.h"

#include <algorithm>

namespace tavrix::tool
{

namespace
{

/// The optimal string alignment distance, row by row.
std::size_t distanceOf(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> before(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    for (std::size_t n = 0; n <= b.size(); ++n) last[n] = n;
    for (std::size_t i = 1; i <= a.size(); ++i)
    {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j)
        {
            const std::size_t replaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], before[j - 2] + 1);
        }
        before.swap(last);
        last.swap(row);
    }
    return last[b.size()];
}

}  // namespace

std::string nearMiss(const std::string& word, const std::vector<std::string>& candidates)
{
    std::string nearest;
    std::size_t least = word.size() / 3 + 1;
    for (const std::string& candidate : candidates)
        if (const std::size_t distance = distanceOf(word, candidate); distance < least)
        {
            least = distance;
            nearest = candidate;
        }
    return nearest;
}

}  // namespace tavrix::tool
