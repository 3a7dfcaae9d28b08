#pragma once

#include <algorithm>
#include <span>
#include <vector>

#include <tavrix/foundation/Vector2.h>
#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// A tree of boxes over corners in the plane, to be asked for those in a region. Corners that have gone are
/// found once more and then left out with the boxes that held nothing else.
class CornerTree
{
public:
    CornerTree(const std::vector<Vector2D>& points, std::vector<uint32> corners)
        : _points(points), _corners(std::move(corners))
    {
        if (!_corners.empty()) build(_corners);
    }

    /// Whether a corner that is there lies in the region: reaches(min, max) tells of a box whether the region
    /// may reach into it, isThere(corner) and holds(corner) of a corner.
    template <class Reaches, class IsThere, class Holds>
    bool any(const Reaches& reaches, const IsThere& isThere, const Holds& holds)
    {
        return !_nodes.empty() && any(0, reaches, isThere, holds);
    }

private:
    struct Node
    {
        Vector2D min, max;
        std::span<const uint32> corners;  ///< of a leaf
        uint32 second = 0;                ///< the second child, the first one follows its parent; 0: a leaf
        bool isGone = false;
    };

    void build(std::span<uint32> corners)
    {
        constexpr std::size_t leafSize = 8;
        const std::size_t node = _nodes.size();
        Node fresh{_points[corners[0]], _points[corners[0]], {}};
        for (const uint32 corner : corners)
        {
            const Vector2D& p = _points[corner];
            fresh.min = {std::min(fresh.min.x, p.x), std::min(fresh.min.y, p.y)};
            fresh.max = {std::max(fresh.max.x, p.x), std::max(fresh.max.y, p.y)};
        }
        if (corners.size() <= leafSize) fresh.corners = corners;
        _nodes.push_back(fresh);
        if (corners.size() <= leafSize) return;

        const bool alongX = fresh.max.x - fresh.min.x > fresh.max.y - fresh.min.y;
        const auto place = [&](uint32 corner) { return alongX ? _points[corner].x : _points[corner].y; };
        const std::size_t middle = corners.size() / 2;
        std::nth_element(
            corners.begin(), corners.begin() + static_cast<std::ptrdiff_t>(middle), corners.end(),
            [&](uint32 a, uint32 b) { return place(a) != place(b) ? place(a) < place(b) : a < b; });
        build(corners.first(middle));
        _nodes[node].second = static_cast<uint32>(_nodes.size());
        build(corners.subspan(middle));
    }

    template <class Reaches, class IsThere, class Holds>
    bool any(uint32 number, const Reaches& reaches, const IsThere& isThere, const Holds& holds)
    {
        Node& node = _nodes[number];
        if (node.isGone || !reaches(node.min, node.max)) return false;
        if (node.second == 0)
        {
            node.isGone = std::none_of(node.corners.begin(), node.corners.end(), isThere);
            return std::any_of(node.corners.begin(), node.corners.end(),
                               [&](uint32 corner) { return isThere(corner) && holds(corner); });
        }
        const bool found =
            any(number + 1, reaches, isThere, holds) || any(node.second, reaches, isThere, holds);
        node.isGone = _nodes[number + 1].isGone && _nodes[node.second].isGone;
        return found;
    }

    const std::vector<Vector2D>& _points;
    std::vector<uint32> _corners;
    std::vector<Node> _nodes;
};

}  // namespace tavrix::detail
