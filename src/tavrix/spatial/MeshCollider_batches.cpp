#include <algorithm>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/spatial/MeshCollider.h>

namespace tavrix
{

namespace
{

/// What a worker takes at a time: about a millisecond, so that starting a thread for it pays.
constexpr uint64 queriesOfTurn = 1024;

/// Fills `answers` with answer(question) for every question; false, and none, when the callback stopped it.
template <class Question, class Answer, class Ask>
bool answerAll(std::span<const Question> questions, Array<Answer>& answers, uint32 threadCount,
               CancelCallback callback, Ask answer)
{
    answers.clear();
    answers.resize(Array<Answer>::checkedSize(questions.size()));
    detail::Polling polling(callback);
    const uint64 count = questions.size(), turns = (count + queriesOfTurn - 1) / queriesOfTurn;
    const bool isDone = detail::inTurns(polling, turns, threadCount,
                                        [&](uint32, uint64 turn)
                                        {
                                            const uint64 end = std::min(count, (turn + 1) * queriesOfTurn);
                                            for (uint64 n = turn * queriesOfTurn; n < end; ++n)
                                                answers[n] = answer(questions[n]);
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
    return answerAll(rays, hits, threadCount, callback,
                     [&](const Ray3D& ray) { return pointOrNone(castRay(ray, limit)); });
}

bool MeshCollider::nearestPoints(std::span<const Vector3D> points, Array<MeshPoint>& nearest, double limit,
                                 uint32 threadCount, CancelCallback callback) const
{
    return answerAll(points, nearest, threadCount, callback,
                     [&](const Vector3D& point) { return pointOrNone(nearestPoint(point, limit)); });
}

bool MeshCollider::windingNumbers(std::span<const Vector3D> points, Array<double>& windings,
                                  uint32 threadCount, CancelCallback callback) const
{
    return answerAll(points, windings, threadCount, callback,
                     [&](const Vector3D& point) { return windingNumber(point); });
}

bool MeshCollider::areInside(std::span<const Vector3D> points, Array<uint8>& inside, uint32 threadCount,
                             CancelCallback callback) const
{
    return answerAll(points, inside, threadCount, callback,
                     [&](const Vector3D& point) -> uint8 { return isInside(point) ? 1 : 0; });
}

}  // namespace tavrix
