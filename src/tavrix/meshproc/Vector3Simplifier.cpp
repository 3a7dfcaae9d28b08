#include <tavrix/meshproc/Vector3Simplifier.h>

#include <bit>
#include <cmath>
#include <numeric>
#include <utility>

#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/detail/Sorting.h>
#include <tavrix/meshproc/detail/RepeatedPoints.h>
#include <tavrix/platform/detail/Prefetch.h>

namespace tavrix
{

namespace
{

/// Prefetch distance, in pairs.
constexpr uint32 prefetchDistance = 12;

template <class T>
struct CoordKey
{
    auto operator()(const Tuple2<T, uint32>& pair) const { return detail::orderedBits(pair.a); }
};

template <class T>
struct FamilyKey
{
    uint32 operator()(const Tuple2<T, uint32>& pair) const
    {
        return static_cast<uint32>(std::bit_cast<detail::BitsOf<T>>(pair.a));
    }
};

/// Ends the pass that the callback stops.
struct Stopped
{
};

/// Gives a value back to a variable at the end of a scope.
template <class V>
class Restored
{
public:
    explicit Restored(V& variable) : _variable(variable), _value(variable) {}
    Restored(const Restored&) = delete;
    Restored& operator=(const Restored&) = delete;
    ~Restored() { _variable = _value; }

private:
    V& _variable;
    V _value;
};

}  // namespace

template <std::floating_point T>
typename Vector3Simplifier<T>::FamilyRef& Vector3Simplifier<T>::FamilyRef::operator=(uint32 family)
{
    _pair.a = std::bit_cast<T>(static_cast<detail::BitsOf<T>>(family));
    return *this;
}

template <std::floating_point T>
uint32 Vector3Simplifier<T>::getFamily(const Pair& pair)
{
    return FamilyKey<T>{}(pair);
}

template <std::floating_point T>
uint32 Vector3Simplifier<T>::familyOf(uint32 index) const
{
    return index < _arrFamily->size() ? (*_arrFamily)[index] : noIndex;
}

template <std::floating_point T>
bool Vector3Simplifier<T>::simplifyConst(const Positions& posIn, const Params& params,
                                         V3S_SIMP_MODE mode) const
{
    if (&posIn == &_arrPosOut)
    {
        const Positions own = std::exchange(_arrPosOut, {});
        return simplifyConst(own, params, mode);
    }
    _isStopped = false;
    bool merged = simplifyConst_protected(posIn, params.empty() ? T(0) : static_cast<T>(params[0]), mode);
    if (params.size() > 1 && !_isStopped) mergeFurther(params, mode, merged);
    return _isStopped ? resetUnmerged(posIn) : merged;
}

/// Polls after so many points more.
template <std::floating_point T>
void Vector3Simplifier<T>::worked(uint32 points) const
{
    constexpr uint32 pointsPerPoll = 1 << 16;
    _workSincePoll += points;
    if (_workSincePoll < pointsPerPoll || !_callback) return;
    _workSincePoll = 0;
    if (_callback() != 0) throw Stopped();
}

/// The passes after the first, each over the output of the one before.
template <std::floating_point T>
void Vector3Simplifier<T>::mergeFurther(const Params& params, V3S_SIMP_MODE mode, bool& merged) const
{
    const Restored families(_arrFamily);
    Indices carried;
    if (_arrFamily) carryFamilies(carried);
    Indices kept = std::exchange(_arrPosDict, {});
    for (uint32 n = 1; n < params.size() && !_isStopped; ++n)
    {
        const Positions previous = std::exchange(_arrPosOut, {});
        if (!simplifyConst_protected(previous, static_cast<T>(params[n]), mode)) continue;
        merged = true;
        if (_arrFamily) carryFamilies(carried);
        for (uint32& index : kept) index = _arrPosDict[index];
    }
    _arrPosDict.swap(kept);
}

/// Makes the families of the output points those of the next pass.
template <std::floating_point T>
void Vector3Simplifier<T>::carryFamilies(Indices& carried) const
{
    Indices families(_arrPosOut.size());
    for (uint32 i = 0; i < _arrPosDict.size(); ++i) families[_arrPosDict[i]] = familyOf(i);
    carried.swap(families);
    _arrFamily = &carried;
}

template <std::floating_point T>
bool Vector3Simplifier<T>::simplifyConst_protected(const Positions& pos, T tolerance,
                                                   V3S_SIMP_MODE mode) const
{
    begin(pos, tolerance, mode);
    if (pos.empty()) return false;
    if (!(tolerance > 0)) return resetUnmerged(pos);
    try
    {
        fillWork();
        const Block all{0, _work.size()};
        if (_arrFamily)
            forEachFamily(all);
        else if (pos.size() == 1)
            simplify_1(0);
        else
            simplify_loopX(all);
    }
    catch (const Stopped&)
    {
        _isStopped = true;
        return resetUnmerged(pos);
    }
    if (_arrPosOut.size() == pos.size()) return resetUnmerged(pos);
    for (uint32 i = 0; i < pos.size(); ++i)
        if (_twins[i] < i) _arrPosDict[i] = _arrPosDict[_twins[i]];
    return true;
}

template <std::floating_point T>
void Vector3Simplifier<T>::focus(const Positions& pos, T tolerance, V3S_SIMP_MODE mode) const
{
    begin(pos, tolerance, mode);
    _twins.resize(pos.size());
    std::iota(_twins.begin(), _twins.end(), 0u);
    resizeWork(pos.size());
    for (uint32 i = 0; i < pos.size(); ++i) _work[i] = {pos[i].x, i};
}

template <std::floating_point T>
void Vector3Simplifier<T>::begin(const Positions& pos, T tolerance, V3S_SIMP_MODE mode) const
{
    _pos = &pos;
    _tolerance = tolerance;
    _mode = mode;
    _arrPosOut.clear();
    _arrPosDict.resize(pos.size());
    std::iota(_arrPosDict.begin(), _arrPosDict.end(), 0u);
}

/// Makes work pairs of all points but those known to repeat earlier ones: they share their clusters, and
/// change no box, and no first or nearest point.
template <std::floating_point T>
void Vector3Simplifier<T>::fillWork() const
{
    const uint32 count = _pos->size();
    _twins.resize(count);
    detail::RepeatedPoints<T>::find(*_pos, _twins,
                                    [this](uint32 i, uint32 earlier)
                                    { return !_arrFamily || familyOf(i) == familyOf(earlier); });
    uint32 repeated = 0;
    for (uint32 i = 0; i < count; ++i) repeated += _twins[i] < i;
    worked(count);
    resizeWork(count - repeated);
    if (_arrPosOut.capacity() < _work.size()) _arrPosOut.reserve(_work.size(), false);
    Pair* next = _work.data();
    for (uint32 i = 0; i < count; ++i)
        if (_twins[i] >= i) *next++ = {(*_pos)[i].x, i};
    worked(count);
}

/// Resizes the work array to `count` unspecified pairs.
template <std::floating_point T>
void Vector3Simplifier<T>::resizeWork(uint32 count) const
{
    _work.clear();
    _work.resize(count);
    _scratch.clear();
    _scratch.resize(count);
}

/// Ends a pass that merged nothing; returns false.
template <std::floating_point T>
bool Vector3Simplifier<T>::resetUnmerged(const Positions& pos) const
{
    std::iota(_arrPosDict.begin(), _arrPosDict.end(), 0u);
    _arrPosOut = pos;
    return false;
}

template <std::floating_point T>
void Vector3Simplifier<T>::forEachFamily(const Block& all) const
{
    for (Pair& pair : _work) refFamily(pair) = familyOf(pair.b);
    detail::sortByKey(_work.data(), _work.size(), _scratch.data(), FamilyKey<T>{},
                      [this](uint32 points) { worked(points); });
    for (Block run = all; run.start < all.count; run.start += run.count)
    {
        run.count = getSubBlockRepeatedSize_family({run.start, all.count - run.start});
        isOnePoint(run) ? simplify_1(run.start) : simplify_loopX(run);
    }
}

/// Whether a block stands for a single input point.
template <std::floating_point T>
bool Vector3Simplifier<T>::isOnePoint(const Block& block) const
{
    const uint32 index = _work[block.start].b;
    return block.count == 1 && _twins[index] == index;
}

template <std::floating_point T>
void Vector3Simplifier<T>::simplify_1(uint32 place) const
{
    _arrPosDict[_work[place].b] = _arrPosOut.size();
    _arrPosOut.push_back(pointAt(place));
}

template <std::floating_point T>
void Vector3Simplifier<T>::simplify_loopX(const Block& block) const
{
    sortAlong(&Vector3<T>::x, block);
    forEachRun(block, [this](const Block& run) { simplify_loopY(run); });
}

template <std::floating_point T>
void Vector3Simplifier<T>::simplify_loopY(const Block& block) const
{
    sortAlong(&Vector3<T>::y, block);
    forEachRun(block, [this](const Block& run) { simplify_loopZ(run); });
}

template <std::floating_point T>
void Vector3Simplifier<T>::simplify_loopZ(const Block& block) const
{
    sortAlong(&Vector3<T>::z, block);
    forEachRun(block, [this](const Block& run) { emitCluster(run); });
}

template <std::floating_point T>
void Vector3Simplifier<T>::sortAlong(T Vector3<T>::*axis, const Block& block) const
{
    const Vector3<T>* points = _pos->data();
    Pair* pairs = _work.data() + block.start;
    for (uint32 n = 0; n < block.count; ++n)
    {
        if (n + prefetchDistance < block.count) detail::prefetch(points + pairs[n + prefetchDistance].b);
        pairs[n].a = points[pairs[n].b].*axis;
    }
    detail::sortByKey(pairs, block.count, _scratch.data(), CoordKey<T>{},
                      [this](uint32 points) { worked(points); });
    worked(block.count);
}

/// Walks the runs of a sorted block: those of one point are emitted, the others handed on.
template <std::floating_point T>
template <class Next>
void Vector3Simplifier<T>::forEachRun(const Block& block, Next next) const
{
    const uint32 end = block.start + block.count;
    for (Block run = block; run.start < end; run.start += run.count)
    {
        run.count = getSubBlockRepeatedSize_coord({run.start, end - run.start});
        isOnePoint(run) ? simplify_1(run.start) : next(run);
    }
}

template <std::floating_point T>
void Vector3Simplifier<T>::emitCluster(const Block& block) const
{
    for (uint32 n = 0; n < block.count; ++n) _arrPosDict[_work[block.start + n].b] = _arrPosOut.size();
    _arrPosOut.push_back(selectPointInArrCoordBlock(block));
}

template <std::floating_point T>
uint32 Vector3Simplifier<T>::getSubBlockRepeatedSize_coord(const Block& block) const
{
    const Pair* pairs = _work.data() + block.start;
    uint32 size = 1;
    while (size < block.count && _tolerance > std::fabs(pairs[size].a - pairs[0].a)) ++size;
    return size;
}

template <std::floating_point T>
uint32 Vector3Simplifier<T>::getSubBlockRepeatedSize_family(const Block& block) const
{
    const Pair* pairs = _work.data() + block.start;
    uint32 size = 1;
    while (size < block.count && getFamily(pairs[size]) == getFamily(pairs[0])) ++size;
    return size;
}

template <std::floating_point T>
Vector3<T> Vector3Simplifier<T>::selectPointInArrCoordBlock(const Block& block) const
{
    if (isOnePoint(block)) return selectPointInArrCoordBlock_modeFirst(block);
    return _mode == V3S_SIMP_MODE::centered ? selectPointInArrCoordBlock_modeCentered(block)
                                            : selectPointInArrCoordBlock_modeCenter(block);
}

template <std::floating_point T>
Vector3<T> Vector3Simplifier<T>::selectPointInArrCoordBlock_modeFirst(const Block& block) const
{
    return pointAt(block.start);
}

template <std::floating_point T>
Vector3<T> Vector3Simplifier<T>::selectPointInArrCoordBlock_modeCenter(const Block& block) const
{
    constexpr T far = farValue;
    Box3<T> box{{far, far, far}, {-far, -far, -far}};
    for (uint32 n = 0; n < block.count; ++n) box.extend(pointAt(block.start + n));
    return box.min + (box.max - box.min) * T(0.5);
}

template <std::floating_point T>
Vector3<T> Vector3Simplifier<T>::selectPointInArrCoordBlock_modeCentered(const Block& block) const
{
    Vector3<T> best = selectPointInArrCoordBlock_modeFirst(block);
    if (block.count == 1 || (block.count == 2 && !isRepeated(block.start) && !isRepeated(block.start + 1)))
        return best;
    const Vector3<T> center = selectPointInArrCoordBlock_modeCenter(block);
    const auto squaredDistance = [&](const Vector3<T>& p) { return dot(p - center, p - center); };
    T least = squaredDistance(best);
    for (uint32 n = 1; n < block.count; ++n)
    {
        const Vector3<T>& point = pointAt(block.start + n);
        const T distance = squaredDistance(point);
        if (!(distance < least)) continue;
        least = distance;
        best = point;
    }
    return best;
}

template <std::floating_point T>
bool Vector3Simplifier<T>::simplifyConst(const Positions& posIn, Indices& dictOut, const Params& params,
                                         V3S_SIMP_MODE mode) const
{
    const bool merged = simplifyConst(posIn, params, mode);
    dictOut = _arrPosDict;
    return merged;
}

template <std::floating_point T>
bool Vector3Simplifier<T>::simplify(const Positions& posIn, Positions& posOut, const Params& params,
                                    V3S_SIMP_MODE mode) const
{
    const bool merged = simplifyConst(posIn, params, mode);
    if (merged)
    {
        trimOutput();
        handOver(posOut);
    }
    else
        posOut = posIn;
    return merged;
}

template <std::floating_point T>
bool Vector3Simplifier<T>::simplifyOverwrite(Positions& pos, const Params& params, V3S_SIMP_MODE mode) const
{
    return simplify(pos, pos, params, mode);
}

template <std::floating_point T>
bool Vector3Simplifier<T>::snap(Positions& pos, const Params& params, V3S_SIMP_MODE mode) const
{
    if (!simplifyConst(pos, params, mode)) return false;
    for (uint32 i = 0; i < pos.size(); ++i) pos[i] = _arrPosOut[_arrPosDict[i]];
    return true;
}

/// Frees the room that the output was given for as many points as came in.
template <std::floating_point T>
void Vector3Simplifier<T>::trimOutput() const
{
    _arrPosOut.reserve(_arrPosOut.size());
}

template <std::floating_point T>
void Vector3Simplifier<T>::handOver(Positions& pos) const noexcept
{
    pos = std::exchange(_arrPosOut, {});
}

template class Vector3Simplifier<float>;
template class Vector3Simplifier<double>;

}  // namespace tavrix
