#include <tavrix/implicit/ImplicitSurface3Regular.h>

#include <cmath>
#include <utility>

#include <tavrix/implicit/detail/GridOverBox.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>

namespace tavrix
{

template <class T>
ImplicitSurface3Regular<T>::ImplicitSurface3Regular() = default;

template <class T>
ImplicitSurface3Regular<T>::~ImplicitSurface3Regular() = default;

template <class T>
ImplicitSurface3Regular<T>::ImplicitSurface3Regular(const ImplicitSurface3Regular&) = default;

template <class T>
ImplicitSurface3Regular<T>& ImplicitSurface3Regular<T>::operator=(const ImplicitSurface3Regular& other)
{
    // Allocates first, so that a failure leaves the flags consistent.
    BitArray surface(other._surface), positive(other._neighborsPositive), negative(other._neighborsNegative);
    _field = other._field;
    Base::operator=(other);
    _surface = std::move(surface);
    _neighborsPositive = std::move(positive);
    _neighborsNegative = std::move(negative);
    return *this;
}

template <class T>
void ImplicitSurface3Regular<T>::reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3D& separation)
{
    const uint32 count = GridDescription3<double>::nodeCount(sizeX, sizeY, sizeZ);
    BitArray surface(count), positive(count), negative(count);
    _field.reset(sizeX, sizeY, sizeZ, separation);
    _surface = std::move(surface);
    _neighborsPositive = std::move(positive);
    _neighborsNegative = std::move(negative);
}

template <class T>
void ImplicitSurface3Regular<T>::unflag(uint32 nodeCount)
{
    for (BitArray* bits : {&_surface, &_neighborsPositive, &_neighborsNegative}) bits->resize(nodeCount);
}

template <class T>
void ImplicitSurface3Regular<T>::init_toZeroSize()
{
    _field.reset_toZeroSize();
    unflag(0);
}

template <class T>
uint64 ImplicitSurface3Regular<T>::getMemoryUsage() const
{
    return _field.getMemoryUsage() + _surface.getMemoryUsage() + _neighborsPositive.getMemoryUsage() +
           _neighborsNegative.getMemoryUsage();
}

template <class T>
uint64 ImplicitSurface3Regular<T>::getMemoryUsagePrediction(double separation, const Box3D& box)
{
    const Optional<Index3> sizes = detail::nodesOverBox(box, separation);
    if (!sizes) return 0;
    const uint64 count = GridDescription3<double>::nodeCount(sizes->a, sizes->b, sizes->c);
    return count * sizeof(T) + 3 * sizeof(uint32) * BitArray::wordsFor(static_cast<uint32>(count));
}

template <class T>
void ImplicitSurface3Regular<T>::invert()
{
    _field.multiply(T(-1));
    std::swap(_neighborsPositive, _neighborsNegative);
    _defaultValue = -_defaultValue;
    _cutOffValue = _defaultValue - T(1);
}

template <class T>
void ImplicitSurface3Regular<T>::abs()
{
    _field.abs();
    unflagResized();
    for (uint32 w = 0; w < _neighborsNegative.wordCount(); ++w)
        _neighborsPositive.refWords()[w] |= _neighborsNegative.getWords()[w];
    _neighborsNegative.resize(_neighborsNegative.size());
    _defaultValue = std::fabs(_defaultValue);
    _cutOffValue = std::fabs(_cutOffValue);
}

template <class T>
void ImplicitSurface3Regular<T>::setSurfaceTrue(uint32 monoindex)
{
    unflagResized();
    _surface.set(monoindex);
    _neighborsPositive.clear(monoindex);
    _neighborsNegative.clear(monoindex);
}

template <class T>
void ImplicitSurface3Regular<T>::setNeighborsPositiveTrue(uint32 monoindex)
{
    unflagResized();
    _surface.clear(monoindex);
    _neighborsPositive.set(monoindex);
    _neighborsNegative.clear(monoindex);
}

template <class T>
void ImplicitSurface3Regular<T>::setNeighborsNegativeTrue(uint32 monoindex)
{
    unflagResized();
    _surface.clear(monoindex);
    _neighborsPositive.clear(monoindex);
    _neighborsNegative.set(monoindex);
}

template <class T>
unsigned long ImplicitSurface3Regular<T>::extractExplicitSurface(Mesh& mesh, uint32 threadCount,
                                                                 CancelCallback callback) const
{
    return IsosurfaceExtractor3::extractMesh(*this, mesh, 0, 0, 0, 0, 0, 0, threadCount, callback, true);
}

template <class T>
unsigned long ImplicitSurface3Regular<T>::extractExplicitSurface(Mesh& mesh, const Box3D& box,
                                                                 uint32 threadCount,
                                                                 CancelCallback callback) const
{
    return IsosurfaceExtractor3::extractMesh(*this, mesh, box, threadCount, callback, true);
}

template <class T>
unsigned long ImplicitSurface3Regular<T>::extractExplicitSurface(Mesh& mesh, uint32 xLow, uint32 xHigh,
                                                                 uint32 yLow, uint32 yHigh, uint32 zLow,
                                                                 uint32 zHigh, uint32 threadCount,
                                                                 CancelCallback callback) const
{
    return IsosurfaceExtractor3::extractMesh(*this, mesh, xLow, xHigh, yLow, yHigh, zLow, zHigh, threadCount,
                                             callback, true);
}

template class ImplicitSurface3Regular<float>;
template class ImplicitSurface3Regular<double>;

}  // namespace tavrix
