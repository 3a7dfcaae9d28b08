#include <tavrix/meshproc/detail/CollapseMesh.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <tavrix/platform/detail/Prefetch.h>

namespace tavrix::detail
{

CollapseMesh::CollapseMesh(uint32 pointCount, Array<Index3> facesGiven, Polling& polling)
    : kinds(pointCount, PointKind::Fixed), faces(std::move(facesGiven)), faceCount(faces.size())
{
    if (faces.size() > noIndex / 6) throw std::length_error("tavrix: too many faces to decimate");
    const PolledNumbers pointNumbers(pointCount, scatteredItems, polling),
        faceNumbers(faces.size(), scatteredItems, polling);
    points.reserve(pointCount);
    for ([[maybe_unused]] const uint32 n : pointNumbers)
        points.push_back({Vector3D{0, 0, 0}, Quadric::zero(), BestEdge::none(), 0, 0, 0});
    if (polling.isStopped()) return;
    for (const uint32 f : faceNumbers)
        for (uint32 c = 0; c < 3; ++c) ++points[faces[f][c]].cornerCount;
    uint32 first = 0;
    for (const uint32 n : pointNumbers)
    {
        CollapsePoint& p = points[n];
        p.firstCorner = first;
        first += std::exchange(p.cornerCount, 0u);
    }
    if (polling.isStopped()) return;
    // room for the lists of joined points; when it is full, what is left takes less than half of it
    _corners.reserve(6 * faces.size() + 2 * Star::largestSize);
    _corners.resize(first);
    for (const uint32 f : faceNumbers)
        for (uint32 c = 0; c < 3; ++c)
        {
            CollapsePoint& p = points[faces[f][c]];
            _corners[p.firstCorner + p.cornerCount++] = 3 * f + c;
        }
}

void CollapseMesh::prefetchPoint(uint32 point) const
{
    const auto* const bytes = reinterpret_cast<const char*>(&points[point]);
    prefetch(bytes);
    prefetch(bytes + sizeof(CollapsePoint) / 2);
}

void CollapseMesh::prefetchStar(uint32 point) const
{
    const CollapsePoint& p = points[point];
    prefetch(_corners.data() + p.firstCorner);
    if (!p.best.isNone()) prefetchPoint(p.best.target);
}

bool CollapseMesh::findStar(uint32 point, Star& star)
{
    star.clear();
    CollapsePoint& p = points[point];
    uint32* const corners = _corners.data() + p.firstCorner;
    uint32 kept = 0;
    for (uint32 n = 0; n < p.cornerCount; ++n)
    {
        const uint32 k = corners[n], f = k / 3, c = k - 3 * f;
        const Index3& face = faces[f];
        if (face.a == noIndex) continue;
        if (star.isFull()) return false;
        star.push_back({f, c, face[c == 2 ? 0 : c + 1], face[c == 0 ? 2 : c - 1]});
        if (kept != n) corners[kept] = k;
        ++kept;
    }
    if (p.cornerCount != kept) p.cornerCount = kept;
    return true;
}

void CollapseMesh::collapse(uint32 kept, uint32 gone, const Vector3D& place, Star& keptStar,
                            const Star& goneStar)
{
    makeRoom(keptStar.size() + goneStar.size());
    Star merged;
    for (const StarFace& s : keptStar)
        if (s.has(gone))
        {
            faces[s.face].a = noIndex;
            --faceCount;
        }
        else
            merged.push_back(s);
    for (const StarFace& s : goneStar)
        if (!s.has(kept))
        {
            faces[s.face][s.corner] = kept;
            merged.push_back(s);
        }
    CollapsePoint &p = points[kept], &q = points[gone];
    p.firstCorner = _corners.size();
    p.cornerCount = merged.size();
    for (const StarFace& s : merged) _corners.push_back(3 * s.face + s.corner);
    keptStar = merged;
    p.place = place;
    p.quadric += q.quadric;
    for (CollapsePoint* changed : {&p, &q})
        changed->version = (changed->version + 1) & CollapsePoint::lastVersion;
    q.cornerCount = 0;
    kinds[kept] = std::max(kinds[kept], kinds[gone]);
}

/// Where the lists' room is full, packs what is left of them.
void CollapseMesh::makeRoom(uint32 corners)
{
    if (_corners.size() + corners <= _corners.capacity()) return;
    Array<uint32> packed;
    packed.reserve(_corners.capacity());
    for (CollapsePoint& p : points)
    {
        const uint32 first = packed.size();
        for (uint32 n = 0; n < p.cornerCount; ++n)
        {
            const uint32 k = _corners[p.firstCorner + n];
            if (isFace(k / 3)) packed.push_back(k);
        }
        p.firstCorner = first;
        p.cornerCount = packed.size() - first;
    }
    _corners.swap(packed);
}

}  // namespace tavrix::detail
