#pragma once

#include <tavrix/isosurface/detail/SurfaceExtraction.h>

namespace tavrix::detail
{

/// What sources have in common whose samples are looked up node by node: Field has getGrid() and get(node).
template <class Field, class T>
class LookupSource
{
public:
    static constexpr bool hasNormals = false;

    LookupSource(const Field& field, T threshold)
        : _field(field), _threshold(threshold), _points(field.getGrid())
    {
    }

    const GridDescription3<double>& grid() const { return _field.getGrid(); }

    void prefetch(const GridEdgeKey&) const {}

    /// The point of the edge where the linear interpolation of its samples meets the threshold.
    Vector3D vertex(const GridEdgeKey& key) const
    {
        Index3 node = grid().getIndexes(key.a);
        const auto low = static_cast<double>(_field.get(node));
        ++node[key.b];
        const auto high = static_cast<double>(_field.get(node));
        return _points(key, (static_cast<double>(_threshold) - low) / (high - low));
    }

protected:
    const Field& _field;
    T _threshold;

private:
    EdgePoints _points;
};

}  // namespace tavrix::detail
