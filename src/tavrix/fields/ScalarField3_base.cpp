#include <tavrix/fields/ScalarField3_base.h>

#include <cmath>

#include <tavrix/fields/detail/ParticleChange.h>

namespace tavrix
{

template <class Value, class Coord>
ScalarField3_base<Value, Coord>::ScalarField3_base(ScalarFieldType type) : _type(type)
{
}

template <class Value, class Coord>
ScalarField3_base<Value, Coord>::ScalarField3_base(const ScalarField3_base& other)
    : _flags(other._flags), _type(other._type), _grid(other._grid)
{
}

template <class Value, class Coord>
ScalarField3_base<Value, Coord>& ScalarField3_base<Value, Coord>::operator=(const ScalarField3_base& other)
{
    _flags = other._flags | flagChanged;
    _grid = other._grid;
    return *this;
}

template <class Value, class Coord>
ScalarField3_base<Value, Coord>::~ScalarField3_base() = default;

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::moveTo(const Vector3<Coord>& point)
{
    _grid.moveTo(point);
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::move(const Vector3<Coord>& offset)
{
    _grid.setOrigin(_grid.box.min + offset);
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::alignAbsolute(Coord step)
{
    const Vector3<Coord>& m = _grid.box.min;
    const Vector3<Coord> aligned{std::trunc(m.x / step) * step, std::trunc(m.y / step) * step,
                                 std::trunc(m.z / step) * step};
    moveTo(_grid.box.center() + (aligned - m));
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::initializeRenderContext(uint32 sizeX, uint32 sizeY, uint32 sizeZ)
{
    if (!_renderObject) _renderObject.reset(FactoryOwnerT<ScalarField3_RL_factory>::getFactory().create());
    if (_renderObject) _renderObject->initialize(sizeX, sizeY, sizeZ);
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::destroyRenderContext()
{
    _renderObject.reset();
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::render()
{
    if (_renderObject) _renderObject->render();
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::render(const Color4F& color)
{
    if (_renderObject) _renderObject->render(color);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::applyParticles(const detail::ParticleChange<Value, Coord>& change)
{
    if (size() == 0) return true;
    Array<Value> samples(size());
    copySamples(0, size(), samples.data());
    const bool isDone = change.changeSamples(_grid, samples.data());
    for (uint32 n = 0; n < size(); ++n) set(n, samples[n]);
    return isDone;
}

#define TX_INSTANTIATE(Value, Coord) template class ScalarField3_base<Value, Coord>;
TX_FOR_EACH_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
