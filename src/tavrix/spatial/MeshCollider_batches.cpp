#include <algorithm>
#include <cmath>

#include <tavrix/foundation/detail/RadixSort.h>
#include <tavrix/spatial/BoxQueries.h>
#include <tavrix/spatial/detail/FaceTree.h>
#include <tavrix/spatial/MeshCollider.h>

namespace tavrix
{

namespace
{

/// What a worker takes at a time: about a millisecond, so that starting a thread for it pays.
constexpr uint64 queriesOfTurn = 1024;

/// Trees of fewer faces fit in caches, and fewer queries have little in common; their order matters less than
/// sorting takes.
constexpr uint32 facesOfLargeTree = 1 << 15, queriesOfLargeBatch = 1 << 12;

/// A place along a curve through space that fills the box, near for near points (Morton, A Computer Oriented
/// Geodetic Data Base, IBM, 1966). Some place for what is not finite.
class Curve
{
public:
    explicit Curve(const Box3F& box) : _box(box) {}

    uint32 placeOf(const Vector3D& point) const
    {
        uint32 steps[3], place = 0;
        for (uint32 axis = 0; axis < 3; ++axis)
            steps[axis] = stepOf(point[axis], _box.min[axis], _box.max[axis]);
        for (uint32 bit = bitsAnAxis; bit-- > 0;)
            for (const uint32 step : steps) place = place << 1 | (step >> bit & 1);
        return place;
    }

    /// Where the ray enters the box.
    uint32 placeOf(const Ray3D& ray) const
    {
        const double first = RaySlabs(ray, _box).entry(_box);
        return placeOf(ray.at(std::isfinite(first) ? first : 0));
    }

private:
    static constexpr uint32 bitsAnAxis = 10;

    /// In which of so many steps from one number to another a number lies, or the nearest one.
    static uint32 stepOf(double number, double low, double high)
    {
        constexpr double steps = 1u << bitsAnAxis;
        const double place = (number - low) / (high - low) * steps;
        return place > 0 ? static_cast<uint32>(std::min(place, steps - 1)) : 0;
    }

    Box3F _box;
};

/// The numbers of the questions along a curve; in the order in which they are asked where that is no gain.
template <class Question>
Array<uint64> orderOf(std::span<const Question> questions, const detail::FaceTree* faces, uint32 threadCount,
                      detail::Polling& polling)
{
    Array<uint64> order;
    if (!faces || faces->faceCount() < facesOfLargeTree || questions.size() < queriesOfLargeBatch)
        return order;
    order.resize(Array<uint64>::checkedSize(questions.size()));
    const Curve curve(faces->box());
    inPieces(polling, order.size(), detail::scatteredItems, threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 for (uint64 n = begin; n < end; ++n)
                     order[n] = uint64{curve.placeOf(questions[n])} << 32 | n;
             });
    if (!polling.isStopped()) detail::radixSortByUpperHalf(order, threadCount, polling);
    return order;
}

/// Fills `answers` with answer(question) for every question; false, and none, when the callback stopped it.
/// Near questions follow one another, so that they find what they need in caches.
template <class Question, class Answer, class Ask>
bool answerAll(std::span<const Question> questions, Array<Answer>& answers, const detail::FaceTree* faces,
               uint32 threadCount, CancelCallback callback, Ask answer)
{
    answers.clear();
    answers.resize(Array<Answer>::checkedSize(questions.size()));
    const uint64 count = questions.size(), turns = (count + queriesOfTurn - 1) / queriesOfTurn;
    const auto workers = static_cast<uint32>(std::clamp<uint64>(turns, 1, std::max(threadCount, 1u)));
    detail::Polling polling(callback);
    const Array<uint64> order = orderOf(questions, faces, workers, polling);
    const bool isDone = !polling.isStopped() &&
                        detail::inTurns(polling, turns, workers,
                                        [&](uint32, uint64 turn)
                                        {
                                            const uint64 end = std::min(count, (turn + 1) * queriesOfTurn);
                                            for (uint64 n = turn * queriesOfTurn; n < end; ++n)
                                            {
                                                const uint64 own = order.empty() ? n : order[n] & 0xFFFFFFFFu;
                                                answers[own] = answer(questions[own]);
                                            }
                                        });
    if (!isDone) answers.clear();
    return isDone;
}

MeshPoint pointOrNone(const std::optional<MeshPoint>& point)
{
    return point.value_or(MeshPoint{noIndex, std::numeric_limits<double>::infinity(), {}, {}});
}

}  // namespace

bool MeshCollider::castRays(std::span<const Ray3D> rays, Array<MeshPoint>& hits, double limit,
                            uint32 threadCount, CancelCallback callback) const
{
    return answerAll(rays, hits, _faces.get(), threadCount, callback,
                     [&](const Ray3D& ray) { return pointOrNone(castRay(ray, limit)); });
}

bool MeshCollider::nearestPoints(std::span<const Vector3D> points, Array<MeshPoint>& nearest, double limit,
                                 uint32 threadCount, CancelCallback callback) const
{
    return answerAll(points, nearest, _faces.get(), threadCount, callback,
                     [&](const Vector3D& point) { return pointOrNone(nearestPoint(point, limit)); });
}

bool MeshCollider::windingNumbers(std::span<const Vector3D> points, Array<double>& windings,
                                  uint32 threadCount, CancelCallback callback) const
{
    return answerAll(points, windings, _faces.get(), threadCount, callback,
                     [&](const Vector3D& point) { return windingNumber(point); });
}

bool MeshCollider::areInside(std::span<const Vector3D> points, Array<uint8>& inside, uint32 threadCount,
                             CancelCallback callback) const
{
    return answerAll(points, inside, _faces.get(), threadCount, callback,
                     [&](const Vector3D& point) -> uint8 { return isInside(point) ? 1 : 0; });
}

bool MeshCollider::signedDistances(std::span<const Vector3D> points, Array<double>& distances,
                                   uint32 threadCount, CancelCallback callback) const
{
    return answerAll(points, distances, _faces.get(), threadCount, callback,
                     [&](const Vector3D& point) { return signedDistance(point); });
}

}  // namespace tavrix
