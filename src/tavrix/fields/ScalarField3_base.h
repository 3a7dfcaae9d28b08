#pragma once

#include <concepts>
#include <limits>
#include <memory>

#include <tavrix/fields/AnisotropySettings.h>
#include <tavrix/fields/GridDescription3.h>
#include <tavrix/fields/ScalarFieldModes.h>
#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/ScalarField3_RL.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

class Mesh;
template <class Value, class Coord>
class Vector3Field3;
namespace detail
{
template <class Value, class Coord>
class ParticleChange;
}

/// A 3-D scalar field on the nodes of a regular grid, whatever its storage.
///
/// Holds what all storages share: the flags word, the render object, the type and the grid. Every operation
/// works on every storage, and gives the same samples; a storage overrides what it can do faster. Indices of
/// nodes are not checked; a query outside the closed box returns false with the value 3.4028235e38. Fields
/// that meet in one operation may differ in storage, sizes and place, but must have equally many samples,
/// which are paired by monoindex: otherwise nothing changes and the operation returns false. No other errors
/// are reported. Integer arithmetic wraps around.
template <class Value, class Coord>
class ScalarField3_base
{
public:
    /// Bit of the flags word: samples were reset or written, one or many, since a reader cleared it. Moving
    /// the grid does not set it, nor do writes through references and pointers to samples.
    static constexpr uint32 flagChanged = 1;

    /// How diffuse_dissipate of the dense and the tiled field solves.
    enum DiffuseDissipateSolverMode : uint32
    {
        TX_FIELD_DIFFUSE_EXPLICIT = 0,
        TX_FIELD_DIFFUSE_IMPLICIT = 1
    };

    virtual ~ScalarField3_base();

    /// The flags word: flagChanged, and bits that derived classes and hosts use.
    /// @{
    uint32& refFlags() { return _flags; }
    uint32 getFlags() const { return _flags; }
    /// @}
    /// How the samples are stored.
    ScalarFieldType getType() const { return _type; }

    /// Where the nodes are, and how many along each axis.
    /// @{
    const GridDescription3<Coord>& getGrid() const { return _grid; }
    uint32 sizeX() const { return _grid.sizeX; }
    uint32 sizeY() const { return _grid.sizeY; }
    uint32 sizeZ() const { return _grid.sizeZ; }
    /// @}
    /// Number of samples.
    uint32 size() const { return _grid.size; }
    /// The last index along each axis; all ones for a size of 0.
    /// @{
    uint32 lastX() const { return _grid.sizeX - 1; }
    uint32 lastY() const { return _grid.sizeY - 1; }
    uint32 lastZ() const { return _grid.sizeZ - 1; }
    /// @}
    /// From the first node to the last.
    const Box3<Coord>& getBox() const { return _grid.box; }
    /// The largest of the three node separations.
    Coord getPointSeparation() const { return _grid.largestSeparation; }
    /// The node separations along the axes.
    const Vector3<Coord>& getPointSeparations() const { return _grid.separation; }
    /// The corners of the box, in the extractor's order and in binary order.
    /// @{
    Box3Points<Coord> getBox3Points() const { return Box3Points<Coord>(_grid.box); }
    Box3Points_ex<Coord> getBox3Points_ex() const { return Box3Points_ex<Coord>(_grid.box); }
    /// @}

    /// Position of a node.
    /// @{
    Vector3<Coord> getPoint(uint32 i, uint32 j, uint32 k) const { return _grid.getPoint(i, j, k); }
    Vector3<Coord> getPoint(const Index3& node) const { return _grid.getPoint(node.a, node.b, node.c); }
    Vector3<Coord> getPoint(uint32 monoindex) const { return getPoint(_grid.getIndexes(monoindex)); }
    /// @}

    /// Splits a monoindex into (i, j, k).
    /// @{
    Index3 getIndexes(uint32 monoindex) const { return _grid.getIndexes(monoindex); }
    void getIndexes(uint32 monoindex, Index3& node) const { node = _grid.getIndexes(monoindex); }
    void getIndexes(uint32 monoindex, Tuple3<int32, int32, int32>& node) const
    {
        const Index3 n = _grid.getIndexes(monoindex);
        node = {static_cast<int32>(n.a), static_cast<int32>(n.b), static_cast<int32>(n.c)};
    }
    /// @}

    /// Sizes the grid, centred on the origin, with one separation for every axis; the samples become
    /// unspecified.
    virtual void reset_XYZ(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation) = 0;
    /// Frees the samples; the grid has no nodes.
    virtual void reset_toZeroSize() = 0;
    /// Hook for storages that need a step after sizing.
    virtual void initialize() = 0;
    /// Bytes held for the samples.
    virtual uint64 getMemoryUsage() const = 0;

    /// The sample of a node, by its indices or its monoindex.
    /// @{
    virtual Value get(const Index3& node) const = 0;
    virtual Value get(uint32 monoindex) const = 0;
    Value get(uint64 monoindex) const { return get(static_cast<uint32>(monoindex)); }
    template <std::integral Index>
    Value get(Index monoindex) const
    {
        return get(static_cast<uint32>(monoindex));
    }
    Value get(uint32 i, uint32 j, uint32 k) const { return get(Index3{i, j, k}); }
    /// @}
    /// The sample of the node whose indices are (p - min) / separation truncated; neither rounding nor range
    /// is corrected.
    Value get(const Vector3<Coord>& point) const { return get(_grid.getTruncated(point)); }
    /// The sample of a monoindex.
    Value operator[](uint32 monoindex) const { return get(monoindex); }

    /// Writes a sample and sets the changed bit. Several threads may write different nodes of a dense field
    /// while the bit is set, as it is after a reset.
    /// @{
    virtual void set(const Index3& node, Value value) = 0;
    virtual void set(uint32 monoindex, Value value) = 0;
    void set(uint64 monoindex, Value value) { set(static_cast<uint32>(monoindex), value); }
    template <std::integral Index>
    void set(Index monoindex, Value value)
    {
        set(static_cast<uint32>(monoindex), value);
    }
    void set(uint32 i, uint32 j, uint32 k, Value value) { set(Index3{i, j, k}, value); }
    /// @}
    /// Fills every sample.
    virtual void set(Value value);
    /// Fills every sample with 0.
    void setZero() { set(Value(0)); }

    /// What nodes read that a storage does not hold; of dense fields the value last given.
    virtual Value getDefaultValue() const = 0;
    /// Fills every sample with the value and keeps it as the default.
    virtual void setDefaultValue(Value value) = 0;

    /// Adds to a sample.
    /// @{
    void add(uint32 i, uint32 j, uint32 k, Value v);
    void add(uint32 monoindex, Value v)
    {
        const Index3 n = getIndexes(monoindex);
        add(n.a, n.b, n.c, v);
    }
    /// @}
    /// Add or subtract one and return the new value.
    /// @{
    Value inc(uint32 i, uint32 j, uint32 k);
    Value dec(uint32 i, uint32 j, uint32 k);
    /// @}
    /// Adds v to the eight nodes around the point, each its trilinear weight's share, so that the samples'
    /// sum grows by v; shares of integers are truncated. Returns false, and changes nothing, for a point
    /// outside the closed box.
    virtual bool addValueToBoxContainingPoint(const Vector3<Coord>& point, Value v);

    // Arithmetic, sample by sample.

    /// Every sample s becomes s + v, s factor or |s|.
    /// @{
    virtual void add(Value v);
    virtual void multiply(Value factor);
    virtual void abs();
    /// @}
    /// this = other factor + this.
    virtual bool add(const ScalarField3_base& other, Value factor);
    /// this = this - other.
    virtual bool sub(const ScalarField3_base& other);
    /// this = (b - a) t + a. Integers are computed in double precision, truncated and kept in range.
    virtual bool interpolate(const ScalarField3_base& a, const ScalarField3_base& b, double t);
    /// Copies the samples; grid and default value stay.
    virtual bool copyScalars(const ScalarField3_base& other);

    /// The extremes. The searches start at 3.4028235e38 and -3.4028235e38, for integers at the type's own
    /// extremes, which is what an empty field gives; samples that are not numbers do not count.
    virtual void findMinMax(Value& min, Value& max) const;
    /// The extremes, and the sum of the samples in monoindex order, kept in Value (of integers in 64 bits),
    /// divided by their count; 0 for an empty field.
    virtual void findMinMaxAvg(Value& min, Value& max, Value& avg) const;
    /// True when a sample is not a number or infinite; false for integers.
    virtual bool doIHave_NaN() const;

    /// 64-bit signatures for telling whether a field changed; a change of one sample always changes them. v1
    /// covers the samples, v2 also the sizes, v3 also box, separations and default value. Equal on every
    /// system and for every storage.
    /// @{
    uint64 computeSignature_v1() const;
    uint64 computeSignature_v2() const;
    uint64 computeSignature_v3() const;
    /// @}

    /// All samples as one array in monoindex order, or null for a storage that has none.
    virtual const Value* getDenseSamples() const { return nullptr; }
    /// Copies `count` samples, from that of a monoindex on, in monoindex order.
    virtual void copySamples(uint32 first, uint32 count, Value* out) const;

    /// The value at a point by trilinear interpolation of the eight nodes around it; (false, 3.4028235e38)
    /// outside the closed box and for a field of no samples. The corner weights are divided by their sum and
    /// narrowed to Value, which truncates them in integer fields: these read their samples at nodes and 0
    /// between.
    virtual Tuple2<bool, Value> evalSafe(const Vector3<Coord>& point, ScalarFieldEvalMode mode) const;
    /// The same in the asymmetric mode.
    Tuple2<bool, Value> evalSafe(const Vector3<Coord>& point) const
    {
        return evalSafe(point, TX_FIELD_EVAL_ASYMMETRIC);
    }
    /// As evalSafe, but fails too when one of the eight nodes is below the threshold.
    virtual Tuple2<bool, Value> evalSafe_useLessThanThreshold(const Vector3<Coord>& point, Value threshold,
                                                              ScalarFieldEvalMode mode) const;
    /// As evalSafe, but fails too when one of the eight nodes is above the threshold.
    virtual Tuple2<bool, Value> evalSafe_useGreaterThanThreshold(const Vector3<Coord>& point, Value threshold,
                                                                 ScalarFieldEvalMode mode) const;

    /// The value part of evalSafe.
    Value eval(const Vector3<Coord>& point) const { return evalSafe(point).b; }
    /// The flag of evalSafe; writes its value.
    bool eval(const Vector3<Coord>& point, Value& out) const;
    /// The sample of a node, with true.
    Tuple2<bool, Value> eval(const Index3& node) const { return {true, get(node)}; }

    /// The kind of difference to take along each axis.
    using GradTypes = Tuple3<EvalGradType, EvalGradType, EvalGradType>;

    /// First derivatives at a node: (f(i+1) - f(i-1)) / 2h, at the first and last node of the axis the
    /// one-sided difference / h, and 0 on an axis of one node. Here and in all derivatives h is the largest
    /// separation, on every axis, even where the separations differ: that keeps the operators isotropic.
    /// Always true.
    /// @{
    bool gradx(const Index3& node, double& out) const requires std::floating_point<Value>;
    bool grady(const Index3& node, double& out) const requires std::floating_point<Value>;
    bool gradz(const Index3& node, double& out) const requires std::floating_point<Value>;
    /// @}
    /// Second derivatives at a node: (f(i+1) - 2 f(i) + f(i-1)) / h^2; false, and out as it was, on the first
    /// and last plane of the axis.
    /// @{
    bool gradxx(const Index3& node, double& out) const requires std::floating_point<Value>;
    bool gradyy(const Index3& node, double& out) const requires std::floating_point<Value>;
    bool gradzz(const Index3& node, double& out) const requires std::floating_point<Value>;
    /// @}
    /// Mixed derivatives at a node: (f(i+1,j+1) + f(i-1,j-1) - f(i-1,j+1) - f(i+1,j-1)) / 4h^2; false, and
    /// out as it was, on the first and last planes of both axes.
    /// @{
    bool gradxy(const Index3& node, double& out) const requires std::floating_point<Value>;
    bool gradxz(const Index3& node, double& out) const requires std::floating_point<Value>;
    bool gradyz(const Index3& node, double& out) const requires std::floating_point<Value>;
    /// @}

    /// Curvature of the level set through a node, from the nine derivatives above: the divergence of the unit
    /// gradient, which is 2 / r on a distance field around a sphere (no halving). False, and out as it was,
    /// where one of them does not fit. Not a number, or infinite, where the gradient is 0.
    bool curv(const Index3& node, float& out) const requires std::floating_point<Value>;
    /// Curvature at a point: the same expression of the nine derivatives, each interpolated trilinearly from
    /// the nodes around the point that have a weight. In the asymmetric mode false where one does not fit, so
    /// one cell from the border; in the symmetric mode one-sided differences of second order take over there,
    /// (2 f(i) - 5 f(i+1) + 4 f(i+2) - f(i+3)) / h^2 and their products, and only fields of fewer than four
    /// nodes on an axis fail. (false, 3.4028235e38) outside the closed box.
    Tuple2<bool, Value> evalCurvature(const Vector3<Coord>& point,
                                      ScalarFieldEvalMode mode) const requires std::floating_point<Value>;

    /// The gradient at a node, (gradx, grady, gradz), with true.
    Tuple2<bool, Vector3<Value>> evalGradCentral(
        const Index3& node) const requires std::floating_point<Value>;
    /// The gradient at a point: that of evalGradCentral at the eight nodes around it, interpolated
    /// trilinearly. False, and a zero vector, outside the closed box.
    Tuple2<bool, Vector3<Value>> evalGradCentral(
        const Vector3<Coord>& point) const requires std::floating_point<Value>;
    /// The same with the differences of the mode: central, of first order at borders, in the asymmetric one;
    /// of second order everywhere in the symmetric one.
    Tuple2<bool, Vector3<Value>> evalGradSafe(
        const Vector3<Coord>& point, ScalarFieldEvalMode mode) const requires std::floating_point<Value>;
    /// The same with a difference of one's choice for each axis.
    Tuple2<bool, Vector3<Value>> evalGradSafe(
        const Vector3<Coord>& point, const GradTypes& types) const requires std::floating_point<Value>;
    /// The same, but fails too when one of the eight nodes around the point is above the threshold.
    Tuple2<bool, Vector3<Value>> evalGradSafe_useThreshold(
        const Vector3<Coord>& point, const GradTypes& types,
        Value threshold) const requires std::floating_point<Value>;

    /// Gives the vector field this field's grid, place included, and every node (gradx, grady, gradz), until
    /// the callback stops it.
    void gradient(Vector3Field3<Value, Coord>& out, uint32 threadCount = 1,
                  CancelCallback callback = nullptr) const requires std::floating_point<Value>;
    /// Gives every mesh vertex the unit gradient at its position as normal: the direction in which the field
    /// grows, as the faces wind that the surface extractor makes. "Nor" gets one normal a position and
    /// "TrindexNor" the position triples. Vertices outside the box by less than 2^-13 separations count as on
    /// its border, where rounding may have moved them from. The others outside, and those where the gradient
    /// is 0, get zero vectors.
    void computeFieldNormals(Mesh& mesh, uint32 threadCount = 1) const requires std::floating_point<Value>;

    /// Fills the field with the union of smooth balls: the largest (1 - (d / 2r)^2)^3 over the particles
    /// closer than 2r, 0 elsewhere; a particle's centre has 1, its radius 0.421875. The grid is neither moved
    /// nor resized. Dense and tiled fields get the same samples.
    ///
    /// positions, radii: one per particle (the shorter array counts); a particle without a finite position
    /// and a positive, finite radius adds nothing, and none does on a grid whose separations are not all
    /// above 0. margin: how far a kernel may reach beyond the box of its
    /// group of particles; pass at least the largest reach, 2r here, or kernels are cut off there. The
    /// particles that can touch the grid form threadCount groups by position. Along every axis a kernel
    /// counts as many nodes as its reach has largest separations. The result is the same for every thread
    /// count when nothing is cut off. Returns false when the callback, polled every few milliseconds,
    /// stopped the work: the field is then all zero.
    bool setDistanceField(const Array<Vector3F>& positions, const Array<float>& radii, float margin,
                          uint32 threadCount = 1,
                          CancelCallback callback = nullptr) requires std::floating_point<Value>;
    /// Carves the union of smooth balls out of a field built earlier: group by group, where the group's balls
    /// v and the sample are above 0, the sample becomes sample - v. A cancelled call leaves the field as it
    /// was.
    bool setSubtractiveDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                     float margin, uint32 threadCount = 1,
                                     CancelCallback callback = nullptr) requires std::floating_point<Value>;
    /// Fills the field with metaballs: the sum of w (1 - (d / R)^2)^3 over the particles within R = k r,
    /// where k = 1.2 + 0.038 influence (influence 0 to 100: 1.2 to 5) and w makes each ball 1 at its radius.
    /// Arguments, margin (the largest reach is R) and result as for setDistanceField; the sums are the same
    /// for every thread count.
    bool setMetaballField(const Array<Vector3F>& positions, const Array<float>& radii, float margin,
                          float influence, uint32 threadCount = 1,
                          CancelCallback callback = nullptr) requires std::floating_point<Value>;
    /// Subtracts the metaballs from a field built earlier. A cancelled call leaves the field as it was.
    bool setSubtractiveMetaballField(const Array<Vector3F>& positions, const Array<float>& radii,
                                     float margin, float influence, uint32 threadCount = 1,
                                     CancelCallback callback = nullptr) requires std::floating_point<Value>;

    /// Fills the field with the union of weighted balls: the largest w (1 - (d / R)^2)^3 over the particles
    /// within R = reach r. A weight scales a particle's kernel; with weights of one and a reach of 2 this is
    /// setDistanceField up to rounding.
    ///
    /// weights: one per particle (the shortest array counts); particles that weigh no more than leastWeight,
    /// or than 0, add nothing. largestReach: R goes no further than this length. margin (the largest reach is
    /// R), the other arguments and the result as for setDistanceField; here a kernel counts at every node in
    /// its reach.
    /// @{
    bool setWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                const Array<float>& weights, float margin, float reach,
                                uint32 threadCount = 1,
                                CancelCallback callback = nullptr) requires std::floating_point<Value>;
    bool setWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                const Array<float>& weights, float margin, float reach, float leastWeight,
                                uint32 threadCount,
                                CancelCallback callback = nullptr) requires std::floating_point<Value>;
    bool setWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                const Array<float>& weights, float margin, float reach, float leastWeight,
                                double largestReach, uint32 threadCount,
                                CancelCallback callback = nullptr) requires std::floating_point<Value>;
    /// @}
    /// The same on one thread: a floating-point number behind the reach is a least weight, an integer a
    /// thread count.
    /// @{
    template <std::floating_point Number>
    bool setWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                const Array<float>& weights, float margin, float reach, Number leastWeight)
    {
        return setWeigthDistanceField(positions, radii, weights, margin, reach,
                                      static_cast<float>(leastWeight), 1);
    }
    template <std::floating_point Number>
    bool setWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                const Array<float>& weights, float margin, float reach, float leastWeight,
                                Number largestReach)
    {
        return setWeigthDistanceField(positions, radii, weights, margin, reach, leastWeight,
                                      static_cast<double>(largestReach), 1);
    }
    /// @}
    /// The same with the kernels summed: the smooth union in which neighbours swell together. Weights may be
    /// negative here unless leastWeight says otherwise. Sums are the same for every thread count.
    /// @{
    bool setWeigthDistanceField_v2(const Array<Vector3F>& positions, const Array<float>& radii,
                                   const Array<float>& weights, float margin, float reach,
                                   uint32 threadCount = 1,
                                   CancelCallback callback = nullptr) requires std::floating_point<Value>;
    bool setWeigthDistanceField_v2(const Array<Vector3F>& positions, const Array<float>& radii,
                                   const Array<float>& weights, float margin, float reach, float leastWeight,
                                   uint32 threadCount,
                                   CancelCallback callback = nullptr) requires std::floating_point<Value>;
    template <std::floating_point Number>
    bool setWeigthDistanceField_v2(const Array<Vector3F>& positions, const Array<float>& radii,
                                   const Array<float>& weights, float margin, float reach, Number leastWeight)
    {
        return setWeigthDistanceField_v2(positions, radii, weights, margin, reach,
                                         static_cast<float>(leastWeight), 1);
    }
    /// @}
    /// Carves the union of weighted balls out of a field built earlier, as setSubtractiveDistanceField does.
    /// @{
    bool setSubtractiveWeigthDistanceField(
        const Array<Vector3F>& positions, const Array<float>& radii, const Array<float>& weights,
        float margin, float reach, uint32 threadCount = 1,
        CancelCallback callback = nullptr) requires std::floating_point<Value>;
    bool setSubtractiveWeigthDistanceField(
        const Array<Vector3F>& positions, const Array<float>& radii, const Array<float>& weights,
        float margin, float reach, float leastWeight, uint32 threadCount,
        CancelCallback callback = nullptr) requires std::floating_point<Value>;
    template <std::floating_point Number>
    bool setSubtractiveWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                           const Array<float>& weights, float margin, float reach,
                                           Number leastWeight)
    {
        return setSubtractiveWeigthDistanceField(positions, radii, weights, margin, reach,
                                                 static_cast<float>(leastWeight), 1);
    }
    /// @}
    /// The union of weighted balls, flattened along their normals: the largest w (1 - q)^3 where
    /// q = (d^2 + 3 (n . d)^2) / (2r)^2 < 1, d the vector from the particle and n its normal. A unit normal
    /// halves the kernel along it, a longer one flattens more, and a zero normal leaves the plain ball.
    /// Weights, margin (the largest reach is 2r) and the rest as for setWeigthDistanceField.
    bool setWeigthNormalDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                      const Array<Vector3F>& normals, const Array<float>& weights,
                                      float margin, uint32 threadCount = 1,
                                      CancelCallback callback = nullptr) requires std::floating_point<Value>;

    /// Fills the field with the sum of ellipsoidal kernels that follow the liquid's shape (after Yu and Turk,
    /// ACM Transactions on Graphics 32(1), 2013): flat along its surface, so that the surface is smooth while
    /// sheets stay thin and drops round. A particle adds (1 - q)^3 where q = d^T F d < 1, d the vector from
    /// its smoothed centre; F comes from the weighted covariance of its neighbourhood (w = 1 - (distance /
    /// reach)^3).
    ///
    /// No kernel reaches further than 2r, a lone particle or one in an even, full neighbourhood has the plain
    /// kernel of setDistanceField, and radii of 1.5 to 3 times half the particles' spacing serve well. At the
    /// level (1 - (s / 2r)^2)^3 a lone particle has its surface at the distance s. margin, threadCount,
    /// callback and the result as for setDistanceField; the bytes are the same for every thread count while
    /// nothing is cut off. Time is linear in the pairs of neighbours.
    ///
    /// Prints the seconds of its phases, "neighbo", "Gs", "elips bb", "field" and "global", on standard
    /// output, and on standard error five times the MiB of memory in use: at the start and after each of the
    /// four.
    bool setAnisotropyDistanceField(const Array<Vector3F>& positions, const Array<float>& radii, float margin,
                                    uint32 threadCount = 1,
                                    CancelCallback callback = nullptr) requires std::floating_point<Value>;
    /// The same with settings of the caller's, and nothing printed. A setting out of its range takes its
    /// default.
    bool setAnisotropyDistanceField(const Array<Vector3F>& positions, const Array<float>& radii, float margin,
                                    const AnisotropySettings& settings, uint32 threadCount = 1,
                                    CancelCallback callback = nullptr) requires std::floating_point<Value>;

    /// Moves the box so that its centre is the point.
    virtual void moveTo(const Vector3<Coord>& point);
    /// Adds the offset to both corners of the box.
    virtual void move(const Vector3<Coord>& offset);
    /// Moves the box so that its min corner m becomes trunc(m / step) step on each axis (towards zero), a
    /// whole multiple of the step.
    void alignAbsolute(Coord step);

    /// The render object; null until initializeRenderContext. A copy of a field has none.
    ScalarField3_RL* getScalarField3_RL() const { return _renderObject.get(); }
    /// Lets the host's factory make a render object when there is none, and hands it the sizes.
    void initializeRenderContext(uint32 sizeX, uint32 sizeY, uint32 sizeZ);
    /// Deletes the render object.
    void destroyRenderContext();
    /// Hands drawing to the render object; nothing happens without one.
    /// @{
    void render();
    void render(const Color4F& color);
    /// @}

protected:
    /// Applies what a particle setter does. Here for any storage, by a dense copy of the samples; returns
    /// what the setter returns.
    virtual bool applyParticles(const detail::ParticleChange<Value, Coord>& change);

    /// A field of no nodes.
    explicit ScalarField3_base(ScalarFieldType type);
    /// Copies flags and grid, not the render object; assigning sets the changed bit.
    /// @{
    ScalarField3_base(const ScalarField3_base& other);
    ScalarField3_base& operator=(const ScalarField3_base& other);
    /// @}

    /// What all storages share.
    /// @{
    uint32 _flags = 0;
    std::unique_ptr<ScalarField3_RL> _renderObject;
    ScalarFieldType _type;
    GridDescription3<Coord> _grid{};
    /// @}
};

/// Applies a macro to every (Value, Coord) pair for which scalar fields are instantiated.
// clang-format off
#define TX_FOR_EACH_SCALAR_FIELD(M)                                                                        \
    M(uint8, float) M(uint8, double) M(uint16, float) M(uint16, double) M(uint32, float) M(uint32, double) \
    M(int32, float) M(int32, double) M(uint64, float) M(uint64, double) TX_FOR_EACH_REAL_SCALAR_FIELD(M)
// clang-format on

/// The same for the floating-point values.
#define TX_FOR_EACH_REAL_SCALAR_FIELD(M) M(float, float) M(float, double) M(double, float) M(double, double)

#define TX_DECLARE(Value, Coord) TX_GEOMETRY_INSTANCE(ScalarField3_base<Value, Coord>);
TX_FOR_EACH_SCALAR_FIELD(TX_DECLARE)
#undef TX_DECLARE

}  // namespace tavrix
