#include <cmath>
#include <cstdio>

#include <tavrix/fields/ScalarField3Parent.h>
#include <tavrix/isosurface/detail/SurfaceExtraction.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/platform/Hardware.h>

namespace tavrix
{

namespace
{

using Parent = ScalarField3Parent<float, double>;

/// Samples and gradients of a parent field's nodes.
class ParentSource
{
public:
    static constexpr bool hasNormals = true;

    ParentSource(const Parent& parent, float threshold)
        : _parent(parent), _points(parent.getGrid()), _threshold(threshold)
    {
    }

    const GridDescription3<double>& grid() const { return _parent.getGrid(); }

    void classify(uint32 i, uint32 j, uint64* bits) const
    {
        for (uint32 k = 0; k <= grid().sizeZ; k += 64)
        {
            uint64 word = 0;
            for (uint32 n = 0; n < 64 && k + n < grid().sizeZ; ++n)
                word |= uint64{_parent.get({i, j, k + n}) >= _threshold} << n;
            *bits++ = word;
        }
    }

    void prefetch(const GridEdgeKey&) const {}
    /// Where the edge crosses 0, whatever the threshold.
    Vector3D vertex(const GridEdgeKey& key) const { return _points(key, crossing(key)); }

    /// The unit gradients of the edge's nodes, interpolated at the crossing and brought to unit length.
    Vector3F normal(const GridEdgeKey& key) const
    {
        const auto [low, high] = nodes(key);
        const double s = crossing(key);
        return convert<float>(unitOrZero(unitGradient(low) * (1 - s) + unitGradient(high) * s));
    }

private:
    Tuple2<Index3, Index3> nodes(const GridEdgeKey& key) const
    {
        const Index3 low = grid().getIndexes(key.a);
        Index3 high = low;
        ++high[key.b];
        return {low, high};
    }

    double crossing(const GridEdgeKey& key) const
    {
        const auto [low, high] = nodes(key);
        const double a = _parent.get(low), b = _parent.get(high);
        return (0 - a) / (b - a);
    }

    Vector3D unitGradient(const Index3& node) const
    {
        return unitOrZero(convert<double>(_parent.evalGradCentral(node)));
    }

    const Parent& _parent;
    detail::EdgePoints _points;
    float _threshold;
};

}  // namespace

unsigned long IsosurfaceExtractor3::extractMesh(const Parent& parent, Mesh& mesh, float threshold,
                                                uint32 threadCount, CancelCallback callback, bool cleanUp)
{
    const auto cells = detail::cellsWithinMargins(parent.getGrid(), {0, 0, 0}, {0, 0, 0});
    const ParentSource source(parent, threshold);
    std::fprintf(stderr, "Entering extract %f\n", Hardware::getMemoryInfo().process);
    const auto afterCells = [](uint64 cornerCount)
    {
        std::fprintf(stderr, "going out from getVerticesIndex...  %f\n", Hardware::getMemoryInfo().process);
        std::fprintf(stderr, "monoooooooo %d\n", static_cast<int>(cornerCount));
    };
    return detail::extractSurface(source, {cells, threadCount, callback, cleanUp}, mesh, nullptr, afterCells);
}

}  // namespace tavrix
