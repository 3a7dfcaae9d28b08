#pragma once

#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/meshproc/detail/BucketQueue.h>
#include <tavrix/meshproc/detail/CollapseMesh.h>
#include <tavrix/meshproc/detail/CornerItems.h>
#include <tavrix/meshproc/detail/PatchDeviation.h>

namespace tavrix::detail
{

/// When to stop collapsing.
struct CollapseGoal
{
    uint32 faces;  ///< that may be left
    double error;  ///< that no point of either surface is further from the other than; infinite: any
};

/// Collapses edges in the order of their quadric errors until the mesh is as small as asked for.
///
/// Every point owns the edges to points of higher numbers, and waits in a queue with the cheapest of them.
/// Quadrics only add up, so costs grow: an edge whose points have changed since is looked at anew only when
/// its turn comes. Joined points keep the lower number, and its edges are looked at anew at once, so that
/// every edge has an owner that knows it. Needs the kinds of the points.
class EdgeCollapses
{
public:
    EdgeCollapses(CollapseMesh& mesh, CornerItems& vertices, CornerItems& normals, const CollapseGoal& goal,
                  uint32 threadCount, Polling& polling);

    /// Until the goal is reached, or no edge is left that may be collapsed; false when stopped.
    bool run();

    /// The distance between the surfaces at most, when the goal bounds it.
    double error() const { return _error; }
    /// Of each point the one of the beginning where it lies, or noIndex.
    const Array<uint32>& origins() const { return _origins; }

private:
    /// Where the points of an edge meet.
    struct Meeting
    {
        Vector3D place;
        double t;       ///< how far along the edge that is, 0 to 1
        uint32 origin;  ///< the point that lies there already, or noIndex
    };

    bool sumQuadrics();
    Quadric quadricOf(const Star& star, uint32 point) const;
    bool mayMeet(uint32 a, uint32 b, const Star& star) const;
    float rank(uint32 a, uint32 b, MeetingPlace at) const;
    BestEdge cheapest(uint32 point, const Star& star) const;
    BestEdge nextCheapest(uint32 point, const Star& star, const BestEdge& refused) const;
    template <class Visit>
    void forEachOwnEdge(uint32 point, const Star& star, Visit visit) const;
    Meeting meet(uint32 a, uint32 b, MeetingPlace at) const;
    bool keepsTopology(uint32 a, uint32 b);
    bool keepsShape(const Star& star, uint32 point, uint32 other, const Vector3D& place) const;
    bool keepsError(uint32 a, uint32 b, const Vector3D& place);
    bool fillQueue();
    void wait(uint32 point, const BestEdge& best);
    void prefetchNext() const;
    void collapseNext(uint32 point);

    CollapseMesh& _mesh;
    CornerItems& _vertices;
    CornerItems& _normals;
    const CollapseGoal _goal;
    const uint32 _threadCount;
    Polling& _polling;
    BucketQueue _queue;
    Array<uint32> _origins;
    Array<float> _faceErrors;       ///< when the goal bounds the error: of each face
    std::vector<float> _newErrors;  ///< of those that a collapse leaves
    Array<uint32> _marks;           ///< of points, by the last look that came by
    uint32 _mark = 0;
    Star _star, _otherStar, _thirdStar;
    double _error = 0;
};

}  // namespace tavrix::detail
