#include <tavrix/fields/ScalarField3.h>

#include <algorithm>

#include <tavrix/fields/detail/ParticleChange.h>
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
bool ScalarField3<Value, Coord>::adopt(const GridDescription3<Coord>& grid, Array<Value>&& samples)
{
    if (samples.size() != grid.size) return false;
    _samples.swap(samples);
    _grid = grid;
    _flags |= Base::flagChanged;
    return true;
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
void ScalarField3<Value, Coord>::set(Value value)
{
    std::fill(_samples.begin(), _samples.end(), value);
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::setDefaultValue(Value value)
{
    set(value);
    _defaultValue = value;
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::applyParticles(const detail::ParticleChange<Value, Coord>& change)
{
    if (change.isAnew()) _flags |= Base::flagChanged;
    if (_samples.empty()) return true;
    if (!change.changeSamples(_grid, _samples.data())) return false;
    _flags |= Base::flagChanged;
    return true;
}

#define TX_INSTANTIATE(Value, Coord) template class ScalarField3<Value, Coord>;
TX_FOR_EACH_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
