#pragma once

#include <tavrix/fields/AnisotropySettings.h>
#include <tavrix/fields/ScalarField3_base.h>
#include <tavrix/foundation/CancelCallback.h>

namespace tavrix
{

/// Dense scalar field: one sample a grid node in one array, z varying fastest.
///
/// Indices are 32-bit or 64-bit unsigned: write get(0u) for the first sample.
/// Instantiated for unsigned 8-, 16-, 32- and 64-bit, signed 32-bit, single and double precision values on
/// single and double precision coordinates. Indices are not checked. `inc` and `dec`, every reset and every
/// whole-field setter set the changed bit; single-sample writes do not.
template <class Value, class Coord>
class ScalarField3 final : public ScalarField3_base<Value, Coord>
{
    using Base = ScalarField3_base<Value, Coord>;
    using Base::_flags;
    using Base::_grid;

public:
    using Base::eval;
    using Base::evalSafe;

    /// An empty field.
    ScalarField3();
    /// Copies grid, samples and default value, not the render object.
    ScalarField3(const ScalarField3& other);
    ScalarField3& operator=(const ScalarField3& other);
    ~ScalarField3() override;

    /// Sizes the grid (centred on the origin) and the sample array, whose contents become unspecified; its
    /// capacity only grows. Throws std::length_error, and changes nothing, when the node count passes 2^32
    /// - 1.
    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation);
    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3<Coord>& separation);
    void reset_XYZ(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation) override;
    void reset_toZeroSize() override;
    /// Does nothing for the dense field.
    void initialize() override {}
    uint64 getMemoryUsage() const override;
    /// Bytes that the samples of such a field need; the separation does not matter.
    static uint64 getMemoryUsagePrediction(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation);

    const Array<Value>& getArrScalars() const { return _samples; }
    const Value* getDenseSamples() const override { return _samples.data(); }
    Array<Value>& refArrScalars() { return _samples; }

    Value get(uint32 i, uint32 j, uint32 k) const { return _samples[_grid.getMonoindex(i, j, k)]; }
    Value get(const Index3& node) const override { return get(node.a, node.b, node.c); }
    Value get(uint32 monoindex) const override { return _samples[monoindex]; }
    Value get(uint64 monoindex) const { return _samples[monoindex]; }
    /// The sample of the node whose indices are (p - min) / separation truncated; neither rounding nor range
    /// is corrected.
    Value get(const Vector3<Coord>& point) const;
    Value& operator[](uint32 monoindex) { return _samples[monoindex]; }
    const Value& operator[](uint32 monoindex) const { return _samples[monoindex]; }

    void set(uint32 i, uint32 j, uint32 k, Value value) { _samples[_grid.getMonoindex(i, j, k)] = value; }
    void set(const Index3& node, Value value) override { set(node.a, node.b, node.c, value); }
    void set(uint32 monoindex, Value value) override { _samples[monoindex] = value; }
    void set(uint64 monoindex, Value value) { _samples[monoindex] = value; }
    /// Fills every sample.
    void set(Value value);
    void setZero() { set(Value(0)); }
    void add(uint32 i, uint32 j, uint32 k, Value v) { add(_grid.getMonoindex(i, j, k), v); }
    void add(uint32 monoindex, Value v) { _samples[monoindex] = static_cast<Value>(_samples[monoindex] + v); }
    /// Adds to every sample.
    void add(Value v);
    /// Add or subtract one, set the changed bit, return the new value.
    Value inc(uint32 i, uint32 j, uint32 k);
    Value dec(uint32 i, uint32 j, uint32 k);

    Value getDefaultValue() const { return _defaultValue; }
    /// Fills every sample with the value and keeps it as the default.
    void setDefaultValue(Value value);

    /// Whole-field arithmetic, sample by sample; the other field has as many samples.
    /// this = other factor + this.
    void add(const ScalarField3& other, Value factor) requires std::floating_point<Value>;
    /// this = this - other.
    void sub(const ScalarField3& other) requires std::floating_point<Value>;
    void multiply(Value factor) requires std::floating_point<Value>;
    void abs() requires std::floating_point<Value>;
    /// The extremes. The searches start at 3.4028235e38 and -3.4028235e38, which is what an empty field
    /// gives; samples that are not numbers do not count.
    void findMinMax(Value& min, Value& max) const requires std::floating_point<Value>;
    /// The extremes, and the sum of the samples, kept in Value, divided by their count; 0 for an empty field.
    void findMinMaxAvg(Value& min, Value& max, Value& avg) const requires std::floating_point<Value>;
    /// True when a sample is not a number or infinite.
    bool doIHave_NaN() const requires std::floating_point<Value>;
    /// Adds v to the eight nodes around the point, each its trilinear weight's share, so that the samples'
    /// sum grows by v. Returns false, and changes nothing, for a point outside the closed box.
    bool addValueToBoxContainingPoint(const Vector3<Coord>& point,
                                      Value v) requires std::floating_point<Value>;

    /// Blurs and fades the field: df/dt = diffusion (Laplacian of f, in node steps) - dissipation f.
    ///
    /// With a = timeStep diffusion size() and d = timeStep dissipation, the explicit mode makes one step
    /// v = f + a (second differences along x, y, z), stable for a up to 1/6; the implicit mode makes twenty
    /// Gauss-Seidel passes, in monoindex order and in place, of v = (a (sum of the six neighbours) + f0) /
    /// (6a + 1), f0 the field before the call. Neighbours beyond a face are the face's node itself. Each new
    /// value becomes v - v d, clamped to [minValue, maxValue]. Another mode changes nothing. Both modes give
    /// the same bytes for every thread count.
    void diffuse_dissipate(Value timeStep, Value diffusion, Value dissipation, uint32 threadCount,
                           typename Base::DiffuseDissipateSolverMode mode, Value minValue,
                           Value maxValue) requires std::floating_point<Value>;

    /// this = (b - a) t + a, sample by sample. The three fields have the same sizes. Integer values are
    /// computed in double precision and truncated.
    void interpolate(const ScalarField3& a, const ScalarField3& b, double t);
    /// Copies the samples of a field of any storage with as many samples; the grid stays.
    void copyScalars(const Base& other);

    /// 64-bit signatures for telling whether a field changed; a change of one sample always changes them. v1
    /// covers the samples, v2 also the sizes, v3 also box, separations and default value. Equal on every
    /// system.
    uint64 computeSignature_v1() const;
    uint64 computeSignature_v2() const;
    uint64 computeSignature_v3() const;

    /// Fills the field with the union of smooth balls: the largest (1 - (d / 2r)^2)^3 over the particles
    /// closer than 2r, 0 elsewhere; a particle's centre has 1, its radius 0.421875. The grid is neither moved
    /// nor resized.
    ///
    /// positions, radii: one per particle (the shorter array counts); a particle without a finite position
    /// and a positive, finite radius adds nothing. margin: how far a kernel may reach beyond the box of its
    /// group of particles; pass at least the largest reach, 2r here, or kernels are cut off there. The
    /// particles that can touch the grid form threadCount groups by position. Along every axis a kernel
    /// counts as many nodes as its reach has largest separations. The result is the same for every thread
    /// count when nothing is cut off. Returns false when the callback, polled some tens of milliseconds
    /// apart, stopped the work: the field is then all zero.
    bool setDistanceField(const Array<Vector3F>& positions, const Array<float>& radii, float margin,
                          uint32 threadCount, CancelCallback callback) requires std::floating_point<Value>;
    /// Carves the union of smooth balls out of a field built earlier: group by group, where the group's balls
    /// v and the sample are above 0, the sample becomes sample - v. A cancelled call leaves the field as it
    /// was.
    bool setSubtractiveDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                     float margin, uint32 threadCount,
                                     CancelCallback callback) requires std::floating_point<Value>;
    /// Fills the field with metaballs: the sum of w (1 - (d / R)^2)^3 over the particles within R = k r,
    /// where k = 1.2 + 0.038 influence (influence 0 to 100: 1.2 to 5) and w makes each ball 1 at its radius.
    /// Arguments, margin (the largest reach is R) and result as for setDistanceField; the sums are the same
    /// for every thread count.
    bool setMetaballField(const Array<Vector3F>& positions, const Array<float>& radii, float margin,
                          float influence, uint32 threadCount,
                          CancelCallback callback) requires std::floating_point<Value>;
    /// Subtracts the metaballs from a field built earlier. A cancelled call leaves the field as it was.
    bool setSubtractiveMetaballField(const Array<Vector3F>& positions, const Array<float>& radii,
                                     float margin, float influence, uint32 threadCount,
                                     CancelCallback callback) requires std::floating_point<Value>;

    /// Fills the field with the union of weighted balls: the largest w (1 - (d / R)^2)^3 over the particles
    /// within R = reach r. A weight scales a particle's kernel; with weights of one and a reach of 2 this is
    /// setDistanceField up to rounding.
    ///
    /// weights: one per particle (the shortest array counts); particles that weigh no more than leastWeight,
    /// or than 0, add nothing. largestReach: R goes no further than this length. margin (the largest reach is
    /// R), the other arguments and the result as for setDistanceField; here a kernel counts at every node in
    /// its reach.
    bool setWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                const Array<float>& weights, float margin, float reach, uint32 threadCount,
                                CancelCallback callback) requires std::floating_point<Value>;
    bool setWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                const Array<float>& weights, float margin, float reach, float leastWeight,
                                uint32 threadCount,
                                CancelCallback callback) requires std::floating_point<Value>;
    bool setWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                const Array<float>& weights, float margin, float reach, float leastWeight,
                                double largestReach, uint32 threadCount,
                                CancelCallback callback) requires std::floating_point<Value>;
    /// The same with the kernels summed: the smooth union in which neighbours swell together. Weights may be
    /// negative here unless leastWeight says otherwise. Sums are the same for every thread count.
    bool setWeigthDistanceField_v2(const Array<Vector3F>& positions, const Array<float>& radii,
                                   const Array<float>& weights, float margin, float reach, uint32 threadCount,
                                   CancelCallback callback) requires std::floating_point<Value>;
    bool setWeigthDistanceField_v2(const Array<Vector3F>& positions, const Array<float>& radii,
                                   const Array<float>& weights, float margin, float reach, float leastWeight,
                                   uint32 threadCount,
                                   CancelCallback callback) requires std::floating_point<Value>;
    /// Carves the union of weighted balls out of a field built earlier, as setSubtractiveDistanceField does.
    bool setSubtractiveWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                           const Array<float>& weights, float margin, float reach,
                                           uint32 threadCount,
                                           CancelCallback callback) requires std::floating_point<Value>;
    bool setSubtractiveWeigthDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                           const Array<float>& weights, float margin, float reach,
                                           float leastWeight, uint32 threadCount,
                                           CancelCallback callback) requires std::floating_point<Value>;
    /// The union of weighted balls, flattened along their normals: the largest w (1 - q)^3 where
    /// q = (d^2 + 3 (n . d)^2) / (2r)^2 < 1, d the vector from the particle and n its normal. A unit normal
    /// halves the kernel along it, a longer one flattens more, and a zero normal leaves the plain ball.
    /// Weights, margin (the largest reach is 2r) and the rest as for setWeigthDistanceField.
    bool setWeigthNormalDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                      const Array<Vector3F>& normals, const Array<float>& weights,
                                      float margin, uint32 threadCount,
                                      CancelCallback callback) requires std::floating_point<Value>;

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
                                    uint32 threadCount,
                                    CancelCallback callback) requires std::floating_point<Value>;
    /// The same with settings of the caller's, and nothing printed. A setting out of its range takes its
    /// default.
    bool setAnisotropyDistanceField(const Array<Vector3F>& positions, const Array<float>& radii, float margin,
                                    const AnisotropySettings& settings, uint32 threadCount,
                                    CancelCallback callback) requires std::floating_point<Value>;

private:
    Array<Value> _samples;
    Value _defaultValue{};
};

#define TX_DECLARE(Value, Coord) extern template class TX_GEOMETRY_API ScalarField3<Value, Coord>;
TX_FOR_EACH_SCALAR_FIELD(TX_DECLARE)
#undef TX_DECLARE

}  // namespace tavrix
