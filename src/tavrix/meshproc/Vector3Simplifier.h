#pragma once

#include <concepts>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/BlockDesc.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/PolyParam.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// What a cluster of merged points becomes. Any value but `centered` counts as `center`.
enum class V3S_SIMP_MODE : uint32
{
    center = 0,  ///< the centre of the cluster's box
    centered =
        1  ///< the point of the cluster nearest to that centre; of two points, the first in sweep order
};

/// Merges points that lie within a tolerance of each other along every axis: welds the vertices of meshes.
///
/// Points are sorted by x and cut into runs: a point belongs to the run while its x is less than the
/// tolerance away from that of the run's first point. Runs of several points are cut along y in the same way,
/// then along z; what is left together is a cluster, and becomes one output point. Output points come in the
/// order of the sweep, that is by x, then y, then z within runs. Where keys are equal the order of the sweep
/// before holds, and before the first sweep that of the input, so results are the same on every system. When
/// nothing merged the output is the input, in its order.
///
/// -0 equals 0. Coordinates that are infinite or not numbers are within no tolerance, and sort last when they
/// are not numbers. With a tolerance that is 0, negative or not a number nothing merges, and likewise without
/// one; the smallest positive float joins the points that are equal. The box of a cluster is sought between
/// -farValue and farValue, in double precision too.
///
/// With several tolerances each merges what the one before left over. With families, one number a point, only
/// points of one family merge, and output points come family by family in ascending order; points beyond the
/// end of the family array are of family noIndex. Further tolerances keep the families of what was merged.
///
/// Triangle indices that name no point stay as they are. Every input array may be the output array as well;
/// when memory runs out, std::bad_alloc leaves points and triangles that were to be replaced as they were.
///
/// O(n) memory, O(n log n) time at worst; for large inputs the sorts are linear. Operations return true when
/// points were merged. They are const, but keep the state of a pass, the output and the dictionary in
/// members: one instance serves one thread at a time.
template <std::floating_point T>
class Vector3Simplifier
{
public:
    /// Points, triangles as triples of point numbers, numbers of points or triangles, and up to eight
    /// tolerances.
    /// @{
    using Positions = Array<Vector3<T>, _Wa>;
    using Triangles = Array<Index3, _Wa>;
    using Indices = Array<uint32, _Wa>;
    using Params = PolyParam<8, float>;
    /// @}

    /// Leaves the output points and the dictionary in the simplifier.
    bool simplifyConst(const Positions& posIn, const Params& params, V3S_SIMP_MODE mode) const;
    /// The same, and copies the dictionary: the output index of every input point.
    bool simplifyConst(const Positions& posIn, Indices& dictOut, const Params& params,
                       V3S_SIMP_MODE mode) const;

    /// Hands the output points over; when points were merged the simplifier keeps none.
    bool simplify(const Positions& posIn, Positions& posOut, const Params& params, V3S_SIMP_MODE mode) const;
    /// Rewrites the triangles as well, and drops none.
    bool simplify(const Positions& posIn, const Triangles& trisIn, Positions& posOut, Triangles& trisOut,
                  const Params& params, V3S_SIMP_MODE mode) const;
    /// Replaces the points by the output points.
    bool simplifyOverwrite(Positions& pos, const Params& params, V3S_SIMP_MODE mode) const;
    /// The same, and renumbers the triangles; none is dropped.
    bool simplifyOverwrite(Positions& pos, Triangles& tris, const Params& params, V3S_SIMP_MODE mode) const;

    /// simplifyOverwrite, then drops the triangles whose corners are not three different points. True as well
    /// when a triangle was dropped and no point merged.
    bool simplifyRemovingDegenerateTrindices(Positions& pos, Triangles& tris, const Params& params,
                                             V3S_SIMP_MODE mode) const;
    /// The same with the output index of every input point, and the new index of every triangle or noIndex.
    bool simplifyRemovingDegenerateTrindices(Positions& pos, Triangles& tris, Indices& posDict,
                                             Indices& triDict, const Params& params,
                                             V3S_SIMP_MODE mode) const;
    /// Drops thin triangles too: those not higher over their longest edge than the last tolerance (a missing
    /// one, or one that is not a number, counts as 0), and those that name no point.
    bool simplifyRemovingDegenerateFaces(Positions& pos, Triangles& tris, const Params& params,
                                         V3S_SIMP_MODE mode) const;
    /// The same with both dictionaries.
    bool simplifyRemovingDegenerateFaces(Positions& pos, Triangles& tris, Indices& posDict, Indices& triDict,
                                         const Params& params, V3S_SIMP_MODE mode) const;

    /// Moves every point onto its output point; their number and order stay.
    bool snap(Positions& pos, const Params& params, V3S_SIMP_MODE mode) const;

    /// Keeps a pointer to the caller's array, which must live until it is cleared or replaced.
    /// @{
    void setArrFamily(const Indices& families) { _arrFamily = &families; }
    void clearArrFamily() { _arrFamily = nullptr; }
    /// @}

    /// Is asked every few milliseconds by operations; what it stops changes nothing, and is false.
    /// @{
    void setCallback(CancelCallback callback) { _callback = callback; }
    bool isStopped() const { return _isStopped; }
    /// @}

    /// The output points of the last simplifyConst, in sweep order.
    const Positions& getArrPosOut() const { return _arrPosOut; }
    /// The output index of every input point of the last operation.
    /// @{
    const Indices& getArrPosDict_In_to_Out() const { return _arrPosDict; }
    Indices& refArrPosDict_In_to_Out() { return _arrPosDict; }
    /// @}

protected:
    /// A run of work pairs.
    using Block = BlockDescT<uint32>;
    using Pair = Tuple2<T, uint32>;  ///< a key and the index of an input point

    /// The key of a pair as a family number.
    class FamilyRef
    {
    public:
        /// Reads and writes the number, which is kept in the key's bits.
        /// @{
        explicit FamilyRef(Pair& pair) : _pair(pair) {}
        operator uint32() const { return getFamily(_pair); }
        FamilyRef& operator=(uint32 family);
        /// @}

    private:
        Pair& _pair;
    };
    /// The family number in a pair's key, to be written or read.
    /// @{
    static FamilyRef refFamily(Pair& pair) { return FamilyRef(pair); }
    static uint32 getFamily(const Pair& pair);
    /// @}

    // The protected steps work on the points of the last focus, whose array must still be there.

    /// Begins a pass: work pairs of all points, with their x, in their order; an empty output and an identity
    /// dictionary. Any step may follow.
    void focus(const Positions& pos, T tolerance, V3S_SIMP_MODE mode) const;
    /// One pass with one tolerance; true when it merged points.
    bool simplifyConst_protected(const Positions& pos, T tolerance, V3S_SIMP_MODE mode) const;
    /// Emits the point of one work pair as it is.
    void simplify_1(uint32 place) const;
    /// Sort a block of work pairs along an axis, and hand its runs to the next axis; those of z are clusters.
    /// @{
    void simplify_loopX(const Block& block) const;
    void simplify_loopY(const Block& block) const;
    void simplify_loopZ(const Block& block) const;
    /// @}
    /// How many pairs at the start of a block, at least 1, have keys within the tolerance of the first one.
    uint32 getSubBlockRepeatedSize_coord(const Block& block) const;
    /// How many pairs at the start of a block are of one family.
    uint32 getSubBlockRepeatedSize_family(const Block& block) const;
    /// The representative of a cluster.
    Vector3<T> selectPointInArrCoordBlock(const Block& block) const;
    /// By name: its first point, the centre of its box, or the point nearest to that centre, of two different
    /// points the first.
    /// @{
    Vector3<T> selectPointInArrCoordBlock_modeFirst(const Block& block) const;
    Vector3<T> selectPointInArrCoordBlock_modeCenter(const Block& block) const;
    Vector3<T> selectPointInArrCoordBlock_modeCentered(const Block& block) const;
    /// @}

    /// Renumber triangles by the dictionary and keep those whose corners are three different points; the face
    /// dictionary gets the new index of every triangle, or noIndex. True when one was dropped.
    /// @{
    bool faces_translateRemoveDegenerateTrindicesDictionary(Triangles& tris) const;
    bool faces_translateRemoveDegenerateTrindicesDictionary(Triangles& tris, Indices& triDict) const;
    bool faces_translateRemoveDegenerateTrindicesDictionary(const Triangles& trisIn, Triangles& trisOut,
                                                            Indices& triDict) const;
    /// @}
    /// The same, and the triangles must be higher than the last tolerance.
    /// @{
    bool faces_translateRemoveDegenerateDictionary(Triangles& tris, const Params& params) const;
    bool faces_translateRemoveDegenerateDictionary(Triangles& tris, Indices& triDict,
                                                   const Params& params) const;
    bool faces_translateRemoveDegenerateDictionary(const Triangles& trisIn, Triangles& trisOut,
                                                   Indices& triDict, const Params& params) const;
    /// @}

private:
    uint32 familyOf(uint32 index) const;
    void begin(const Positions& pos, T tolerance, V3S_SIMP_MODE mode) const;
    void fillWork() const;
    void resizeWork(uint32 count) const;
    void forEachFamily(const Block& all) const;
    bool isOnePoint(const Block& block) const;
    bool isRepeated(uint32 place) const { return _twins[_work[place].b] != _work[place].b; }
    void sortAlong(T Vector3<T>::*axis, const Block& block) const;
    template <class Next>
    void forEachRun(const Block& block, Next next) const;
    void emitCluster(const Block& block) const;
    bool resetUnmerged(const Positions& pos) const;
    void mergeFurther(const Params& params, V3S_SIMP_MODE mode, bool& merged) const;
    void carryFamilies(Indices& carried) const;
    void trimOutput() const;
    void worked(uint32 points) const;
    void handOver(Positions& pos) const noexcept;
    const Vector3<T>& pointAt(uint32 place) const { return (*_pos)[_work[place].b]; }
    Index3 translated(const Index3& tri) const;
    template <class Drop>
    bool mergeAndDrop(Positions& pos, const Params& params, V3S_SIMP_MODE mode, Drop drop) const;
    template <class IsKept>
    bool translateFaces(const Triangles& trisIn, Triangles& trisOut, Indices* triDict, IsKept isKept) const;
    bool translateHighFaces(const Triangles& trisIn, Triangles& trisOut, Indices* triDict,
                            const Params& params) const;

    CancelCallback _callback = nullptr;
    mutable bool _isStopped = false;  ///< the last operation
    mutable uint32 _workSincePoll = 0;
    mutable const Positions* _pos = nullptr;
    mutable const Indices* _arrFamily = nullptr;
    mutable T _tolerance = 0;
    mutable V3S_SIMP_MODE _mode = V3S_SIMP_MODE::center;
    mutable Array<Pair, _Wa> _work, _scratch;
    mutable Indices _twins;  ///< equal points, as RepeatedPoints finds them
    mutable Positions _arrPosOut;
    mutable Indices _arrPosDict;
};

TX_GEOMETRY_INSTANCE(Vector3Simplifier<float>);
TX_GEOMETRY_INSTANCE(Vector3Simplifier<double>);

}  // namespace tavrix
