#pragma once

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include <tavrix/meshproc/Vector3Simplifier.h>

namespace tavrix::test
{

/// The sweep as its definition reads, with no regard to speed.
template <class T>
class SimplifierOracle
{
public:
    std::vector<Vector3<T>> points, output;
    std::vector<uint32> dictionary, families;  ///< no families: one for all points
    bool hasMerged = false;

    /// Merges with one tolerance after the other.
    void run(const PolyParam<8, float>& tolerances, bool centered)
    {
        const std::vector<Vector3<T>> input = points;
        dictionary.resize(points.size());
        for (uint32 i = 0; i < points.size(); ++i) dictionary[i] = i;
        families.resize(points.size(), families.empty() ? 0 : noIndex);
        output = points;
        for (const float tolerance : tolerances)
        {
            points = output;
            pass(static_cast<T>(tolerance), centered);
        }
        points = input;
    }

private:
    using Block = std::vector<uint32>;

    void pass(T tolerance, bool centered)
    {
        std::map<uint32, Block> blocks;
        for (uint32 i = 0; i < points.size(); ++i) blocks[families[i]].push_back(i);
        std::vector<uint32> newFamilies;
        std::vector<Block> clusters;
        for (const auto& [family, block] : blocks)
        {
            sweep(block, 0, tolerance, clusters);
            newFamilies.resize(clusters.size(), family);
        }
        if (clusters.size() == points.size()) return;
        hasMerged = true;
        families = newFamilies;
        output.clear();
        std::vector<uint32> place(points.size());
        for (const Block& cluster : clusters)
        {
            for (const uint32 i : cluster) place[i] = static_cast<uint32>(output.size());
            output.push_back(representative(cluster, centered));
        }
        for (uint32& d : dictionary) d = place[d];
    }

    void sweep(Block block, uint32 axis, T tolerance, std::vector<Block>& clusters) const
    {
        if (axis == 3 || block.size() == 1) return clusters.push_back(block);
        const auto key = [&](uint32 i) { return points[i][axis]; };
        std::stable_sort(block.begin(), block.end(),
                         [&](uint32 a, uint32 b)
                         { return key(a) < key(b) || (std::isnan(key(b)) && !std::isnan(key(a))); });
        for (auto s = block.begin(), e = s; s != block.end(); s = e)
        {
            for (e = s + 1; e != block.end() && tolerance > std::abs(key(*e) - key(*s));) ++e;
            sweep(Block(s, e), axis + 1, tolerance, clusters);
        }
    }

    Vector3<T> representative(const Block& cluster, bool centered) const
    {
        if (cluster.size() == 1) return points[cluster[0]];
        Vector3<T> low = {farValue, farValue, farValue}, high = -low;
        for (const uint32 i : cluster)
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                if (points[i][axis] < low[axis]) low[axis] = points[i][axis];
                if (points[i][axis] > high[axis]) high[axis] = points[i][axis];
            }
        const Vector3<T> center = low + (high - low) * T(0.5);
        if (!centered) return center;
        if (cluster.size() == 2) return points[cluster[0]];
        const auto nearer = [&](uint32 a, uint32 b)
        { return dot(points[a] - center, points[a] - center) < dot(points[b] - center, points[b] - center); };
        return points[*std::min_element(cluster.begin(), cluster.end(), nearer)];
    }
};

}  // namespace tavrix::test
