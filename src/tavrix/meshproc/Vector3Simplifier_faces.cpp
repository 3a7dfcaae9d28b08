#include <tavrix/meshproc/Vector3Simplifier.h>

namespace tavrix
{

namespace
{

bool hasDifferentCorners(const Index3& tri) { return tri.a != tri.b && tri.b != tri.c && tri.c != tri.a; }

/// Whether the triangle of three of the points is higher over its longest edge than a tolerance.
template <class T>
bool isHigh(const Array<Vector3<T>>& points, const Index3& tri, T tolerance)
{
    if (tri.a >= points.size() || tri.b >= points.size() || tri.c >= points.size()) return false;
    const Vector3<T>&p0 = points[tri.a], &p1 = points[tri.b], &p2 = points[tri.c];
    const auto squared = [](const Vector3<T>& v) { return dot(v, v); };
    const T e01 = squared(p1 - p0), e20 = squared(p0 - p2), e12 = squared(p2 - p1);
    T longest = e12 > e20 ? e12 : e20;
    if (e01 > longest) longest = e01;
    const T squaredArea = squared(cross(p1 - p0, p2 - p0)) * T(0.25);
    return 4 * squaredArea / longest > tolerance * tolerance;
}

/// The height that a triangle has to exceed.
float leastHeight(const PolyParam<8, float>& params)
{
    return params.empty() || params.back() != params.back() ? 0.0f : params.back();
}

}  // namespace

template <std::floating_point T>
bool Vector3Simplifier<T>::simplify(const Positions& posIn, const Triangles& trisIn, Positions& posOut,
                                    Triangles& trisOut, const Params& params, V3S_SIMP_MODE mode) const
{
    const bool merged = simplifyConst(posIn, params, mode);
    if (merged) trimOutput();
    trisOut = trisIn;
    if (merged)
    {
        for (Index3& tri : trisOut) tri = translated(tri);
        handOver(posOut);
    }
    else
        posOut = posIn;
    return merged;
}

template <std::floating_point T>
bool Vector3Simplifier<T>::simplifyOverwrite(Positions& pos, Triangles& tris, const Params& params,
                                             V3S_SIMP_MODE mode) const
{
    return simplify(pos, tris, pos, tris, params, mode);
}

/// Merges points, lets drop() renumber the triangles and drop some, and hands the points over. Nothing can
/// fail once drop() has begun with the triangles.
template <std::floating_point T>
template <class Drop>
bool Vector3Simplifier<T>::mergeAndDrop(Positions& pos, const Params& params, V3S_SIMP_MODE mode,
                                        Drop drop) const
{
    const bool merged = simplifyConst(pos, params, mode);
    if (_isStopped) return false;
    if (merged) trimOutput();
    const bool dropped = drop();
    if (merged) handOver(pos);
    return merged || dropped;
}

template <std::floating_point T>
bool Vector3Simplifier<T>::simplifyRemovingDegenerateTrindices(Positions& pos, Triangles& tris,
                                                               const Params& params, V3S_SIMP_MODE mode) const
{
    return mergeAndDrop(pos, params, mode,
                        [&] { return faces_translateRemoveDegenerateTrindicesDictionary(tris); });
}

template <std::floating_point T>
bool Vector3Simplifier<T>::simplifyRemovingDegenerateTrindices(Positions& pos, Triangles& tris,
                                                               Indices& posDict, Indices& triDict,
                                                               const Params& params, V3S_SIMP_MODE mode) const
{
    return mergeAndDrop(pos, params, mode,
                        [&]
                        {
                            posDict = _arrPosDict;
                            return faces_translateRemoveDegenerateTrindicesDictionary(tris, triDict);
                        });
}

template <std::floating_point T>
bool Vector3Simplifier<T>::simplifyRemovingDegenerateFaces(Positions& pos, Triangles& tris,
                                                           const Params& params, V3S_SIMP_MODE mode) const
{
    return mergeAndDrop(pos, params, mode,
                        [&] { return faces_translateRemoveDegenerateDictionary(tris, params); });
}

template <std::floating_point T>
bool Vector3Simplifier<T>::simplifyRemovingDegenerateFaces(Positions& pos, Triangles& tris, Indices& posDict,
                                                           Indices& triDict, const Params& params,
                                                           V3S_SIMP_MODE mode) const
{
    return mergeAndDrop(pos, params, mode,
                        [&]
                        {
                            posDict = _arrPosDict;
                            return faces_translateRemoveDegenerateDictionary(tris, triDict, params);
                        });
}

template <std::floating_point T>
Index3 Vector3Simplifier<T>::translated(const Index3& tri) const
{
    const auto translate = [this](uint32 index)
    { return index < _arrPosDict.size() ? _arrPosDict[index] : index; };
    return {translate(tri.a), translate(tri.b), translate(tri.c)};
}

/// Writes the renumbered triangles that are kept, in their order, over the output, which may be the input.
template <std::floating_point T>
template <class IsKept>
bool Vector3Simplifier<T>::translateFaces(const Triangles& trisIn, Triangles& trisOut, Indices* triDict,
                                          IsKept isKept) const
{
    const uint32 count = trisIn.size();
    trisOut.resize(count);
    if (triDict) triDict->resize(count);
    uint32 kept = 0;
    for (uint32 t = 0; t < count; ++t)
    {
        const Index3 tri = translated(trisIn[t]);
        const bool keeps = isKept(tri);
        if (triDict) (*triDict)[t] = keeps ? kept : noIndex;
        if (keeps) trisOut[kept++] = tri;
    }
    trisOut.resize(kept);
    return kept != count;
}

template <std::floating_point T>
bool Vector3Simplifier<T>::faces_translateRemoveDegenerateTrindicesDictionary(Triangles& tris) const
{
    return translateFaces(tris, tris, nullptr, hasDifferentCorners);
}

template <std::floating_point T>
bool Vector3Simplifier<T>::faces_translateRemoveDegenerateTrindicesDictionary(Triangles& tris,
                                                                              Indices& triDict) const
{
    return translateFaces(tris, tris, &triDict, hasDifferentCorners);
}

template <std::floating_point T>
bool Vector3Simplifier<T>::faces_translateRemoveDegenerateTrindicesDictionary(const Triangles& trisIn,
                                                                              Triangles& trisOut,
                                                                              Indices& triDict) const
{
    return translateFaces(trisIn, trisOut, &triDict, hasDifferentCorners);
}

template <std::floating_point T>
bool Vector3Simplifier<T>::translateHighFaces(const Triangles& trisIn, Triangles& trisOut, Indices* triDict,
                                              const Params& params) const
{
    const auto tolerance = static_cast<T>(leastHeight(params));
    return translateFaces(trisIn, trisOut, triDict,
                          [&](const Index3& tri)
                          { return hasDifferentCorners(tri) && isHigh(_arrPosOut, tri, tolerance); });
}

template <std::floating_point T>
bool Vector3Simplifier<T>::faces_translateRemoveDegenerateDictionary(Triangles& tris,
                                                                     const Params& params) const
{
    return translateHighFaces(tris, tris, nullptr, params);
}

template <std::floating_point T>
bool Vector3Simplifier<T>::faces_translateRemoveDegenerateDictionary(Triangles& tris, Indices& triDict,
                                                                     const Params& params) const
{
    return translateHighFaces(tris, tris, &triDict, params);
}

template <std::floating_point T>
bool Vector3Simplifier<T>::faces_translateRemoveDegenerateDictionary(const Triangles& trisIn,
                                                                     Triangles& trisOut, Indices& triDict,
                                                                     const Params& params) const
{
    return translateHighFaces(trisIn, trisOut, &triDict, params);
}

#define TX_INSTANTIATE(T)                                                                                   \
    template bool Vector3Simplifier<T>::simplify(const Array<Vector3<T>>&, const Array<Index3>&,            \
                                                 Array<Vector3<T>>&, Array<Index3>&,                        \
                                                 const PolyParam<8, float>&, V3S_SIMP_MODE) const;          \
    template bool Vector3Simplifier<T>::simplifyOverwrite(Array<Vector3<T>>&, Array<Index3>&,               \
                                                          const PolyParam<8, float>&, V3S_SIMP_MODE) const; \
    template bool Vector3Simplifier<T>::simplifyRemovingDegenerateTrindices(                                \
        Array<Vector3<T>>&, Array<Index3>&, const PolyParam<8, float>&, V3S_SIMP_MODE) const;               \
    template bool Vector3Simplifier<T>::simplifyRemovingDegenerateTrindices(                                \
        Array<Vector3<T>>&, Array<Index3>&, Array<uint32>&, Array<uint32>&, const PolyParam<8, float>&,     \
        V3S_SIMP_MODE) const;                                                                               \
    template bool Vector3Simplifier<T>::simplifyRemovingDegenerateFaces(                                    \
        Array<Vector3<T>>&, Array<Index3>&, const PolyParam<8, float>&, V3S_SIMP_MODE) const;               \
    template bool Vector3Simplifier<T>::simplifyRemovingDegenerateFaces(                                    \
        Array<Vector3<T>>&, Array<Index3>&, Array<uint32>&, Array<uint32>&, const PolyParam<8, float>&,     \
        V3S_SIMP_MODE) const;                                                                               \
    template Index3 Vector3Simplifier<T>::translated(const Index3&) const;                                  \
    template bool Vector3Simplifier<T>::faces_translateRemoveDegenerateTrindicesDictionary(Array<Index3>&)  \
        const;                                                                                              \
    template bool Vector3Simplifier<T>::faces_translateRemoveDegenerateTrindicesDictionary(                 \
        Array<Index3>&, Array<uint32>&) const;                                                              \
    template bool Vector3Simplifier<T>::faces_translateRemoveDegenerateTrindicesDictionary(                 \
        const Array<Index3>&, Array<Index3>&, Array<uint32>&) const;                                        \
    template bool Vector3Simplifier<T>::faces_translateRemoveDegenerateDictionary(                          \
        Array<Index3>&, const PolyParam<8, float>&) const;                                                  \
    template bool Vector3Simplifier<T>::faces_translateRemoveDegenerateDictionary(                          \
        Array<Index3>&, Array<uint32>&, const PolyParam<8, float>&) const;                                  \
    template bool Vector3Simplifier<T>::faces_translateRemoveDegenerateDictionary(                          \
        const Array<Index3>&, Array<Index3>&, Array<uint32>&, const PolyParam<8, float>&) const;            \
    template bool Vector3Simplifier<T>::translateHighFaces(                                                 \
        const Array<Index3>&, Array<Index3>&, Array<uint32>*, const PolyParam<8, float>&) const;
TX_INSTANTIATE(float)
TX_INSTANTIATE(double)
#undef TX_INSTANTIATE

}  // namespace tavrix
