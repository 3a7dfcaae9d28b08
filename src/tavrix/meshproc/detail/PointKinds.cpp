#include <tavrix/meshproc/detail/PointKinds.h>

#include <algorithm>

namespace tavrix::detail
{

namespace
{

/// The face behind the one that ends with the point; null at a border.
const StarFace* faceBehind(const Star& star, uint32 previous)
{
    const StarFace* found =
        std::find_if(star.begin(), star.end(), [=](const StarFace& s) { return s.next == previous; });
    return found == star.end() ? nullptr : found;
}

/// The first face of the only fan, the one behind a border if there is one; null where edges have three faces
/// or do not run through them in one direction, or where there are two borders.
const StarFace* fanStart(const Star& star, bool& isOpen)
{
    const StarFace* start = star.begin();
    isOpen = false;
    for (const StarFace& face : star)
    {
        uint32 same = 0, before = 0;
        for (const StarFace& s : star)
        {
            same += s.next == face.next ? 1 : 0;
            before += s.previous == face.next ? 1 : 0;
        }
        if (same > 1 || before > 1 || (before == 0 && isOpen)) return nullptr;
        if (before > 0) continue;
        isOpen = true;
        start = &face;
    }
    return start;
}

PointKind kindOf(const Star& star, const CornerItems& vertices)
{
    if (star.size() == 0) return PointKind::Fixed;
    bool isOpen;
    const StarFace* const start = fanStart(star, isOpen);
    if (!start) return PointKind::Fixed;
    uint32 features = isOpen ? 2 : 0, walked = 0;
    for (const StarFace* face = start; face; ++walked)
    {
        if (walked > 0 && face == start) break;
        const StarFace* const behind = faceBehind(star, face->previous);
        if (behind && !vertices.empty() && vertices.differ(*face, *behind, behind->next)) ++features;
        face = behind;
    }
    if (walked != star.size()) return PointKind::Fixed;
    return features == 0 ? PointKind::Free : features == 2 ? PointKind::Curve : PointKind::Fixed;
}

}  // namespace

bool findPointKinds(CollapseMesh& mesh, const CornerItems& vertices, uint32 threadCount, Polling& polling)
{
    return inPieces(polling, mesh.pointCount(), scatteredItems, threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        Star star;
                        for (auto p = static_cast<uint32>(begin); p < end; ++p)
                            mesh.kinds[p] = isFinite(mesh.points[p].place) && mesh.findStar(p, star)
                                                ? kindOf(star, vertices)
                                                : PointKind::Fixed;
                    });
}

}  // namespace tavrix::detail
