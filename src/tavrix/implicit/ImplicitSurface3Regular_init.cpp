#include <algorithm>
#include <cmath>

#include <tavrix/fields/detail/BallSplat.h>
#include <tavrix/fields/detail/Splatting.h>
#include <tavrix/implicit/detail/GridOverBox.h>
#include <tavrix/implicit/detail/MeshDistance.h>
#include <tavrix/implicit/detail/MeshInside.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

namespace
{

/// The spheres of a call, grown by the band's width, as numbered particles.
struct GrownSpheres
{
    const Array<Vector3F>& positions;
    const Array<float>& radii;
    float band;

    uint32 size() const { return std::min(positions.size(), radii.size()); }
    bool isUsable(uint32 n) const
    {
        return isFinite(positions[n]) && radii[n] > 0 && std::isfinite(radii[n]);
    }
    /// A radius of 0 where there is no sphere, which the splatting leaves out.
    detail::Particle operator()(uint32 n) const
    {
        const float r = isUsable(n) ? radii[n] + band : 0;
        return {positions[n].x, positions[n].y, positions[n].z, r};
    }
};

Box3D boxOf(const GrownSpheres& spheres)
{
    Box3D box = Box3D::empty();
    for (uint32 n = 0; n < spheres.size(); ++n)
    {
        if (!spheres.isUsable(n)) continue;
        const Vector3D center = convert<double>(spheres.positions[n]);
        const double r = spheres.radii[n];
        box.extend(Box3D{center, center}.widened(r));
    }
    return box;
}

/// Grid margin around the geometry.
double marginOf(uint32 bandNodes, double separation) { return (std::max(bandNodes, 1u) + 1.0) * separation; }

}  // namespace

template <class T>
bool ImplicitSurface3Regular<T>::resetOver(const Box3D& box, double separation, uint32 bandNodes)
{
    const Optional<Index3> nodes = detail::nodesOverBox(box, separation);
    if (!nodes)
    {
        init_toZeroSize();
        return false;
    }
    this->reset(nodes->a, nodes->b, nodes->c, separation);
    moveTo(box.min + (box.max - box.min) / 2);
    setBand(static_cast<T>(std::max(bandNodes, 1u) * separation));
    return true;
}

template <class T>
bool ImplicitSurface3Regular<T>::init(const Mesh& mesh, double separation, const Box3D& box,
                                      IMPLICIT_SURFACE_TYPE type, uint32 threadCount, CancelCallback callback,
                                      uint32 bandNodes)
{
    if (!resetOver(box, separation, bandNodes)) return false;
    T* samples = _field.refArrScalars().data();
    detail::Polling polling(callback);
    if (detail::sampleDistance(mesh, _field.getGrid(), _defaultValue, threadCount, polling, samples) &&
        (type == TX_IMPLICIT_SURFACE_UNSIGNED ||
         detail::negateInside(mesh, _field.getGrid(), threadCount, polling, samples)))
        flagNeighbors(polling);
    return keepUnlessStopped(polling);
}

template <class T>
bool ImplicitSurface3Regular<T>::init(const Mesh& mesh, uint32 cellCount, IMPLICIT_SURFACE_TYPE type,
                                      uint32 threadCount, CancelCallback callback, uint32 bandNodes)
{
    const Box3D box = mesh.getPosSize() > 0 ? mesh.getBox() : Box3D::empty();
    const Vector3D extent = box.max - box.min;
    const double longest = std::max({extent.x, extent.y, extent.z});
    if (box.isEmpty() || cellCount == 0 || !(longest > 0))
    {
        init_toZeroSize();
        return true;
    }
    const double separation = longest / cellCount;
    return init(mesh, separation, box.widened(marginOf(bandNodes, separation)), type, threadCount, callback,
                bandNodes);
}

template <class T>
bool ImplicitSurface3Regular<T>::init(const Array<Vector3F>& positions, const Array<float>& radii,
                                      double separation, const Box3D& box, uint32 threadCount,
                                      CancelCallback callback, uint32 bandNodes)
{
    if (!resetOver(box, separation, bandNodes)) return false;
    const GrownSpheres spheres{positions, radii, static_cast<float>(_defaultValue)};
    float largest = 0;
    for (uint32 n = 0; n < spheres.size(); ++n) largest = std::max(largest, spheres(n).r);
    constexpr detail::BallKernel depth{detail::SplatMerge::Depth, 1.0f, 1.0f};
    T* samples = _field.refArrScalars().data();
    if (_field.size() > 0 && !detail::buildSamples(_field.getGrid(), samples, depth, spheres.size(), largest,
                                                   threadCount, callback, spheres))
    {
        init_toZeroSize();
        return false;
    }
    detail::Polling polling(callback);
    detail::inPieces(polling, _field.size(), detail::lightItems, threadCount,
                     [&](uint32, uint64 begin, uint64 end)
                     {
                         for (uint64 n = begin; n < end; ++n) samples[n] = _defaultValue - samples[n];
                     });
    flagNeighbors(polling);
    forgetInside(polling);
    if (!polling.isStopped()) sweep(_defaultValue, static_cast<T>(separation * 1e-3), threadCount, polling);
    return keepUnlessStopped(polling);
}

template <class T>
bool ImplicitSurface3Regular<T>::keepUnlessStopped(const detail::Polling& polling)
{
    if (polling.isStopped()) init_toZeroSize();
    return !polling.isStopped();
}

template <class T>
bool ImplicitSurface3Regular<T>::init_v2(const Array<Vector3F>& positions, const Array<float>& radii,
                                         double separation, uint32 threadCount, CancelCallback callback,
                                         uint32 bandNodes)
{
    const Box3D box = boxOf({positions, radii, 0});
    if (box.isEmpty())
    {
        init_toZeroSize();
        return true;
    }
    return init(positions, radii, separation, box.widened(marginOf(bandNodes, separation)), threadCount,
                callback, bandNodes);
}

template <class T>
void ImplicitSurface3Regular<T>::forgetInside(detail::Polling& polling)
{
    detail::inPieces(polling, _field.size(), detail::lightItems,
                     [this](uint64 begin, uint64 end)
                     {
                         for (uint64 n = begin; n < end; ++n)
                         {
                             const auto m = static_cast<uint32>(n);
                             if (_field[m] < 0 && !isSurface(m)) _field[m] = -_defaultValue;
                         }
                     });
}

#define TX_INSTANTIATE(T)                                                                                    \
    template bool ImplicitSurface3Regular<T>::resetOver(const Box3D&, double, uint32);                       \
    template void ImplicitSurface3Regular<T>::forgetInside(detail::Polling&);                                \
    template bool ImplicitSurface3Regular<T>::keepUnlessStopped(const detail::Polling&);                     \
    template bool ImplicitSurface3Regular<T>::init(const Mesh&, double, const Box3D&, IMPLICIT_SURFACE_TYPE, \
                                                   uint32, CancelCallback, uint32);                          \
    template bool ImplicitSurface3Regular<T>::init(const Mesh&, uint32, IMPLICIT_SURFACE_TYPE, uint32,       \
                                                   CancelCallback, uint32);                                  \
    template bool ImplicitSurface3Regular<T>::init(const Array<Vector3F>&, const Array<float>&, double,      \
                                                   const Box3D&, uint32, CancelCallback, uint32);            \
    template bool ImplicitSurface3Regular<T>::init_v2(const Array<Vector3F>&, const Array<float>&, double,   \
                                                      uint32, CancelCallback, uint32);
TX_INSTANTIATE(float)
TX_INSTANTIATE(double)
#undef TX_INSTANTIATE

}  // namespace tavrix
