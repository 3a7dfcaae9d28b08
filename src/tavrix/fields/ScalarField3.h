#pragma once

#include <tavrix/fields/ScalarField3_base.h>

namespace tavrix
{

/// Dense scalar field: one sample a grid node in one array, z varying fastest.
///
/// Instantiated for unsigned 8-, 16-, 32- and 64-bit, signed 32-bit, single and double precision values on
/// single and double precision coordinates. Indices are not checked.
template <class Value, class Coord>
class ScalarField3 final : public ScalarField3_base<Value, Coord>
{
    using Base = ScalarField3_base<Value, Coord>;
    using Base::_flags;
    using Base::_grid;

public:
    /// The forms of the base, beside those below.
    /// @{
    using Base::add;
    using Base::get;
    using Base::set;
    /// @}

    /// An empty field.
    ScalarField3();
    /// Copies grid, samples and default value, not the render object.
    /// @{
    ScalarField3(const ScalarField3& other);
    ScalarField3& operator=(const ScalarField3& other);
    /// @}
    ~ScalarField3() override;

    /// Sizes the grid (centred on the origin) and the sample array, whose contents become unspecified; its
    /// capacity only grows. Throws std::length_error, and changes nothing, when the node count passes 2^32
    /// - 1.
    /// @{
    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation);
    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3<Coord>& separation);
    /// @}
    void reset_XYZ(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation) override;
    void reset_toZeroSize() override;
    /// Takes over a grid, its place included, and as many samples as it has nodes. Returns false, and changes
    /// nothing, for another number of them.
    bool adopt(const GridDescription3<Coord>& grid, Array<Value>&& samples);
    /// Does nothing for the dense field.
    void initialize() override {}
    uint64 getMemoryUsage() const override;
    /// Bytes that the samples of such a field need; the separation does not matter.
    static uint64 getMemoryUsagePrediction(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation);

    /// All samples in monoindex order. Writing through the reference does not set the changed bit.
    /// @{
    const Array<Value>& getArrScalars() const { return _samples; }
    const Value* getDenseSamples() const override { return _samples.data(); }
    Array<Value>& refArrScalars() { return _samples; }
    /// @}

    /// A sample as the base gives it, without a virtual call. Writing through the reference does not set the
    /// changed bit.
    /// @{
    Value get(uint32 i, uint32 j, uint32 k) const { return _samples[_grid.getMonoindex(i, j, k)]; }
    Value get(const Index3& node) const override { return get(node.a, node.b, node.c); }
    Value get(uint32 monoindex) const override { return _samples[monoindex]; }
    Value get(uint64 monoindex) const { return _samples[monoindex]; }
    Value get(const Vector3<Coord>& point) const { return get(_grid.getTruncated(point)); }
    Value& operator[](uint32 monoindex) { return _samples[monoindex]; }
    const Value& operator[](uint32 monoindex) const { return _samples[monoindex]; }
    /// @}

    /// Writes a sample and sets the changed bit, as the base does.
    /// @{
    void set(uint32 i, uint32 j, uint32 k, Value value) { set(_grid.getMonoindex(i, j, k), value); }
    void set(const Index3& node, Value value) override { set(node.a, node.b, node.c, value); }
    void set(uint32 monoindex, Value value) override
    {
        _samples[monoindex] = value;
        setChanged();
    }
    void set(uint64 monoindex, Value value) { set(static_cast<uint32>(monoindex), value); }
    /// @}
    void set(Value value) override;

    Value getDefaultValue() const override { return _defaultValue; }
    void setDefaultValue(Value value) override;

    /// Adds to a sample.
    /// @{
    void add(uint32 i, uint32 j, uint32 k, Value v) { add(_grid.getMonoindex(i, j, k), v); }
    void add(uint32 monoindex, Value v) { set(monoindex, static_cast<Value>(_samples[monoindex] + v)); }
    /// @}
    bool addValueToBoxContainingPoint(const Vector3<Coord>& point, Value v) override;

    void add(Value v) override;
    void multiply(Value factor) override;
    void abs() override;
    bool add(const Base& other, Value factor) override;
    bool sub(const Base& other) override;
    bool interpolate(const Base& a, const Base& b, double t) override;
    bool copyScalars(const Base& other) override;
    void findMinMax(Value& min, Value& max) const override;
    bool doIHave_NaN() const override;

    /// Blurs and fades the field: df/dt = diffusion (Laplacian of f, in node steps) - dissipation f.
    ///
    /// With a = timeStep diffusion size() and d = timeStep dissipation, the explicit mode makes one step
    /// v = f + a (second differences along x, y, z), stable for a up to 1/6; the implicit mode makes twenty
    /// Gauss-Seidel passes, in monoindex order and in place, of v = (a (sum of the six neighbours) + f0) /
    /// (6a + 1), f0 the field before the call. Neighbours beyond a face are the face's node itself. Each new
    /// value becomes v - v d, clamped to [minValue, maxValue]. Another mode changes nothing. Both modes give
    /// the same bytes for every thread count. Some samples are changed when the callback stopped it.
    void diffuse_dissipate(Value timeStep, Value diffusion, Value dissipation, uint32 threadCount,
                           typename Base::DiffuseDissipateSolverMode mode, Value minValue, Value maxValue,
                           CancelCallback callback = nullptr) requires std::floating_point<Value>;

protected:
    bool applyParticles(const detail::ParticleChange<Value, Coord>& change) override;

private:
    void setChanged()
    {
        if (!(_flags & Base::flagChanged)) _flags |= Base::flagChanged;
    }

    Array<Value> _samples;
    Value _defaultValue{};
};

#define TX_DECLARE(Value, Coord) TX_GEOMETRY_INSTANCE(ScalarField3<Value, Coord>);
TX_FOR_EACH_SCALAR_FIELD(TX_DECLARE)
#undef TX_DECLARE

}  // namespace tavrix
