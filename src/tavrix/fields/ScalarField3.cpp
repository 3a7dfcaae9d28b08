#include <tavrix/fields/ScalarField3.h>

#include <algorithm>
#include <stdexcept>

#include <tavrix/fields/detail/Mix.h>
#include <tavrix/foundation/detail/Signature.h>

namespace tavrix
{

template <class Value, class Coord>
ScalarField3<Value, Coord>::ScalarField3() : Base(ScalarFieldType::Dense)
{
}

template <class Value, class Coord>
ScalarField3<Value, Coord>::ScalarField3(const ScalarField3& other) = default;

template <class Value, class Coord>
ScalarField3<Value, Coord>& ScalarField3<Value, Coord>::operator=(const ScalarField3& other)
{
    if (this == &other) return *this;
    _samples = other._samples;
    Base::operator=(other);
    _defaultValue = other._defaultValue;
    return *this;
}

template <class Value, class Coord>
ScalarField3<Value, Coord>::~ScalarField3() = default;

template <class Value, class Coord>
void ScalarField3<Value, Coord>::reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation)
{
    reset(sizeX, sizeY, sizeZ, Vector3<Coord>{separation, separation, separation});
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ,
                                       const Vector3<Coord>& separation)
{
    const auto grid = GridDescription3<Coord>::centered(sizeX, sizeY, sizeZ, separation);
    if (grid.size > _samples.capacity()) _samples.reserve(grid.size, false);
    _samples.resize(grid.size);
    _grid = grid;
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::reset_XYZ(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation)
{
    reset(sizeX, sizeY, sizeZ, separation);
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::reset_toZeroSize()
{
    _samples.reserve(0);
    _grid = {};
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::adopt(const GridDescription3<Coord>& grid, Array<Value>&& samples)
{
    if (samples.size() != grid.size) throw std::invalid_argument("tavrix: a field needs one sample a node");
    _samples.swap(samples);
    _grid = grid;
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
uint64 ScalarField3<Value, Coord>::getMemoryUsage() const
{
    return uint64{_samples.capacity()} * sizeof(Value);
}

template <class Value, class Coord>
uint64 ScalarField3<Value, Coord>::getMemoryUsagePrediction(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord)
{
    return uint64{sizeX} * sizeY * sizeZ * sizeof(Value);
}

template <class Value, class Coord>
Value ScalarField3<Value, Coord>::get(const Vector3<Coord>& point) const
{
    const Vector3<Coord> d = point - _grid.box.min;
    const Vector3<Coord>& scale = _grid.reciprocalSeparation;
    return get(static_cast<uint32>(d.x * scale.x), static_cast<uint32>(d.y * scale.y),
               static_cast<uint32>(d.z * scale.z));
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::set(Value value)
{
    std::fill(_samples.begin(), _samples.end(), value);
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::add(Value v)
{
    for (Value& sample : _samples) sample = static_cast<Value>(sample + v);
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
Value ScalarField3<Value, Coord>::inc(uint32 i, uint32 j, uint32 k)
{
    add(i, j, k, Value(1));
    _flags |= Base::flagChanged;
    return get(i, j, k);
}

template <class Value, class Coord>
Value ScalarField3<Value, Coord>::dec(uint32 i, uint32 j, uint32 k)
{
    add(i, j, k, static_cast<Value>(-1));
    _flags |= Base::flagChanged;
    return get(i, j, k);
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::setDefaultValue(Value value)
{
    set(value);
    _defaultValue = value;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::interpolate(const ScalarField3& a, const ScalarField3& b, double t)
{
    const detail::Mix<Value> mix(t);
    for (uint32 n = 0; n < _samples.size(); ++n) _samples[n] = mix(a._samples[n], b._samples[n]);
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::copyScalars(const Base& other)
{
    if (&other != this) other.copySamples(0, std::min(this->size(), other.size()), _samples.data());
    _flags |= Base::flagChanged;
}

namespace
{

template <class Value>
detail::Signature signatureOf(const Array<Value>& samples)
{
    detail::Signature signature;
    signature.add(samples.data(), std::size_t{samples.size()} * sizeof(Value));
    return signature;
}

}  // namespace

template <class Value, class Coord>
uint64 ScalarField3<Value, Coord>::computeSignature_v1() const
{
    return signatureOf(_samples).value();
}

template <class Value, class Coord>
uint64 ScalarField3<Value, Coord>::computeSignature_v2() const
{
    detail::Signature signature = signatureOf(_samples);
    signature.addValue(Index3{_grid.sizeX, _grid.sizeY, _grid.sizeZ});
    return signature.value();
}

template <class Value, class Coord>
uint64 ScalarField3<Value, Coord>::computeSignature_v3() const
{
    detail::Signature signature = signatureOf(_samples);
    signature.addValue(Index3{_grid.sizeX, _grid.sizeY, _grid.sizeZ});
    signature.addValue(_grid.box);
    signature.addValue(_grid.separation);
    signature.addValue(_defaultValue);
    return signature.value();
}

#define TX_INSTANTIATE(Value, Coord) template class ScalarField3<Value, Coord>;
TX_FOR_EACH_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
