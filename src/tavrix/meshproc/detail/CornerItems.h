#pragma once

#include <functional>

#include <tavrix/meshproc/detail/CollapseMesh.h>

namespace tavrix::detail
{

/// What the corners of faces name besides their points, an item a corner: normals, or the vertices of a mesh
/// whose seams have several at one point. No item is named from two points.
struct CornerItems
{
    Array<Index3> ofFace;  ///< empty: there are none
    /// Makes the item `kept` what lies the part `t` of the way from it to `gone`.
    std::function<void(uint32 kept, uint32 gone, double t)> blend;

    bool empty() const { return ofFace.empty(); }

    /// Whether two faces around a point name different items at it, or at the other end of their edge.
    bool differ(const StarFace& a, const StarFace& b, uint32 other) const
    {
        return ofFace[a.face][a.corner] != ofFace[b.face][b.corner] ||
               ofFace[a.face][a.cornerOf(other)] != ofFace[b.face][b.cornerOf(other)];
    }

    /// Joins the items of two points that become one, where a face between them names both.
    void join(uint32 gonePoint, const Star& keptStar, const Star& goneStar, double t)
    {
        if (empty()) return;
        for (const StarFace& s : keptStar)
        {
            if (!s.has(gonePoint)) continue;
            const uint32 kept = ofFace[s.face][s.corner], gone = ofFace[s.face][s.cornerOf(gonePoint)];
            if (kept == gone) continue;
            blend(kept, gone, t);
            for (const Star* star : {&keptStar, &goneStar})
                for (const StarFace& around : *star)
                {
                    uint32& item = ofFace[around.face][around.corner];
                    if (item == gone) item = kept;
                }
        }
    }
};

/// Whether the edge from a star's point to another is one along which the point may move: a border, or a
/// seam.
inline bool isFeature(const Star& star, uint32 other, const CornerItems& vertices)
{
    const StarFace* first = nullptr;
    for (const StarFace& s : star)
    {
        if (!s.has(other)) continue;
        if (first) return !vertices.empty() && vertices.differ(*first, s, other);
        first = &s;
    }
    return true;
}

}  // namespace tavrix::detail
