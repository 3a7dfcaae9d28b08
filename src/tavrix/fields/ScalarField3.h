#pragma once

#include <tavrix/fields/ScalarField3_base.h>

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
    /// Takes over a grid, its place included, and as many samples as it has nodes. std::invalid_argument,
    /// and nothing changes, for another number of them.
    void adopt(const GridDescription3<Coord>& grid, Array<Value>&& samples);
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

private:
    Array<Value> _samples;
    Value _defaultValue{};
};

#define TX_DECLARE(Value, Coord) TX_GEOMETRY_INSTANCE(ScalarField3<Value, Coord>);
TX_FOR_EACH_SCALAR_FIELD(TX_DECLARE)
#undef TX_DECLARE

}  // namespace tavrix
