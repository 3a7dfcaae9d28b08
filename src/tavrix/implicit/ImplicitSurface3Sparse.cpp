#include <tavrix/implicit/ImplicitSurface3Sparse.h>

#include <algorithm>
#include <cmath>

#include <tavrix/implicit/detail/SparseField.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>

namespace tavrix
{

template <class T>
ImplicitSurface3Sparse<T>::ImplicitSurface3Sparse()
    : _field(std::make_unique<detail::SparseField<T>>(_defaultValue))
{
}

template <class T>
ImplicitSurface3Sparse<T>::~ImplicitSurface3Sparse() = default;

template <class T>
ImplicitSurface3Sparse<T>::ImplicitSurface3Sparse(const ImplicitSurface3Sparse& other)
    : Base(other), _field(std::make_unique<detail::SparseField<T>>(_defaultValue))
{
    *_field = *other._field;
}

template <class T>
ImplicitSurface3Sparse<T>& ImplicitSurface3Sparse<T>::operator=(const ImplicitSurface3Sparse& other)
{
    *_field = *other._field;
    Base::operator=(other);
    return *this;
}

template <class T>
void ImplicitSurface3Sparse<T>::init(const ImplicitSurface3Regular<T>& surface)
{
    const auto& field = surface.getField();
    _field->assignBelow(field.getGrid(), field.getArrScalars().data(), surface.getDefaultValue());
    _threshold = surface.getThreshold();
    _defaultValue = surface.getDefaultValue();
    _cutOffValue = surface.getCutOffValue();
}

template <class T>
const ScalarField3_base<T, double>& ImplicitSurface3Sparse<T>::getField() const
{
    return *_field;
}

template <class T>
void ImplicitSurface3Sparse<T>::set(uint32 monoindex, const T& value)
{
    _field->set(monoindex, value);
}

template <class T>
uint32 ImplicitSurface3Sparse<T>::getArraySize() const
{
    return _field->heldCount();
}

template <class T>
Tuple2<uint32, T> ImplicitSurface3Sparse<T>::getArrayElement(uint32 number) const
{
    return _field->held(number);
}

template <class T>
void ImplicitSurface3Sparse<T>::findMinMax(T& min, T& max) const
{
    min = farValue;
    max = -farValue;
    const auto count = [&](T v)
    {
        if (v < min) min = v;
        if (v > max) max = v;
    };
    std::for_each(_field->values().begin(), _field->values().end(), count);
    if (_field->heldCount() < _field->size()) count(_defaultValue);
}

template <class T>
void ImplicitSurface3Sparse<T>::reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3D& separation)
{
    _field->reset(sizeX, sizeY, sizeZ, separation);
}

template <class T>
void ImplicitSurface3Sparse<T>::moveTo(const Vector3D& point)
{
    _field->moveTo(point);
}

template <class T>
void ImplicitSurface3Sparse<T>::init_toZeroSize()
{
    _field->reset_toZeroSize();
}

template <class T>
uint64 ImplicitSurface3Sparse<T>::getMemoryUsage() const
{
    return _field->getMemoryUsage();
}

template <class T>
void ImplicitSurface3Sparse<T>::invert()
{
    for (T& v : _field->refValues()) v = -v;
    _defaultValue = -_defaultValue;
    _cutOffValue = _defaultValue - T(1);
}

template <class T>
void ImplicitSurface3Sparse<T>::abs()
{
    for (T& v : _field->refValues()) v = std::fabs(v);
    _defaultValue = std::fabs(_defaultValue);
    _cutOffValue = std::fabs(_cutOffValue);
}

template <class T>
void ImplicitSurface3Sparse<T>::offsetSurface(const T& v)
{
    for (T& value : _field->refValues()) value += v;
}

template <class T>
unsigned long ImplicitSurface3Sparse<T>::extractExplicitSurface(Mesh& mesh, uint32 threadCount,
                                                                CancelCallback callback) const
{
    return IsosurfaceExtractor3::extractMesh(*this, mesh, 0, 0, 0, 0, 0, 0, threadCount, callback, true);
}

template <class T>
unsigned long ImplicitSurface3Sparse<T>::extractExplicitSurface(Mesh& mesh, const Box3D& box,
                                                                uint32 threadCount,
                                                                CancelCallback callback) const
{
    return IsosurfaceExtractor3::extractMesh(*this, mesh, box, threadCount, callback, true);
}

template <class T>
unsigned long ImplicitSurface3Sparse<T>::extractExplicitSurface(Mesh& mesh, uint32 xLow, uint32 xHigh,
                                                                uint32 yLow, uint32 yHigh, uint32 zLow,
                                                                uint32 zHigh, uint32 threadCount,
                                                                CancelCallback callback) const
{
    return IsosurfaceExtractor3::extractMesh(*this, mesh, xLow, xHigh, yLow, yHigh, zLow, zHigh, threadCount,
                                             callback, true);
}

template class ImplicitSurface3Sparse<float>;
template class ImplicitSurface3Sparse<double>;

}  // namespace tavrix
