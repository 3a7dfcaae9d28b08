#include <algorithm>
#include <cmath>
#include <vector>

#include <tavrix/implicit/detail/SweepOrder.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>

namespace tavrix
{

namespace
{

template <class T>
T changeBetween(T a, T b)
{
    return std::fabs(a - b);
}

template <class T>
T changeBetween(const Vector3<T>& a, const Vector3<T>& b)
{
    return length(a - b);
}

/// Gives nodes the mean of the values of their neighbours that are nearer to the surface, one an axis,
/// weighted by how much nearer: constant along the distance's gradient, to first order.
template <class T, class Value>
class Extension
{
public:
    Extension(const ScalarField3<T, double>& distances, const BitArray& fixed, T limit, Value* values)
        : _grid(distances.getGrid()),
          _distances(distances.getDenseSamples()),
          _fixed(fixed),
          _limit(limit),
          _values(values)
    {
    }

    /// Makes the values that will be replaced finite: others would spoil the measure of change.
    void clearNonFinite() const
    {
        for (uint32 m = 0; m < _grid.size; ++m)
            if (isReplaced(m) && !isFinite(_values[m])) _values[m] = Value{};
    }

    /// Visits rows of plane i in the direction's order and returns the largest change.
    T visitRows(uint32 i, uint32 firstRow, uint32 endRow, const detail::SweepDirection& direction) const
    {
        T change = 0;
        for (uint32 tj = firstRow; tj < endRow; ++tj)
            for (uint32 tk = 0; tk < _grid.sizeZ; ++tk)
                change = std::max(change, visit({i, direction.b > 0 ? tj : _grid.sizeY - 1 - tj,
                                                 direction.c > 0 ? tk : _grid.sizeZ - 1 - tk}));
        return change;
    }

private:
    static bool isFinite(T v) { return std::isfinite(v); }
    static bool isFinite(const Vector3<T>& v) { return tavrix::isFinite(v); }

    bool isReplaced(uint32 m) const { return !_fixed.test(m) && std::fabs(_distances[m]) < _limit; }

    T visit(const Index3& node) const
    {
        const uint32 m = _grid.getMonoindex(node.a, node.b, node.c);
        if (!isReplaced(m)) return 0;
        const T distance = std::fabs(_distances[m]);
        const uint32 steps[3] = {_grid.sizeYZ, _grid.sizeZ, 1};
        T weights = 0;
        Value sum{};
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            uint32 nearest = m;
            if (node[axis] > 0) nearest = nearer(nearest, m - steps[axis]);
            if (node[axis] + 1 < _grid.sizeAlong(axis)) nearest = nearer(nearest, m + steps[axis]);
            const T weight = distance - std::fabs(_distances[nearest]);
            weights += weight;
            sum += _values[nearest] * weight;
        }
        if (!(weights > 0)) return 0;
        const Value value = sum * (1 / weights);
        const T change = changeBetween(value, _values[m]);
        _values[m] = value;
        return change;
    }

    uint32 nearer(uint32 a, uint32 b) const
    {
        return std::fabs(_distances[b]) < std::fabs(_distances[a]) ? b : a;
    }

    const GridDescription3<double>& _grid;
    const T* _distances;
    const BitArray& _fixed;
    T _limit;
    Value* _values;
};

template <class T>
Array<T>& arrayOf(ScalarField3<T, double>& values)
{
    return values.refArrScalars();
}

template <class T>
Array<Vector3<T>>& arrayOf(Vector3Field3<T, double>& values)
{
    return values.refArrVectors();
}

}  // namespace

template <class T>
bool ImplicitSurface3Regular<T>::getExtentionConvergence(const T& tolerance, const T& residual,
                                                         T& firstResidual, T& lastResidual,
                                                         uint32& stallCounter, uint32& iterationCounter)
{
    constexpr double eps = 1.1920928955078125e-6;
    constexpr uint32 longestStall = 10;
    if (iterationCounter == 0)
    {
        firstResidual = residual;
        ++iterationCounter;
    }
    if (tolerance > residual / firstResidual) return true;
    if (std::fabs(static_cast<double>(residual) - static_cast<double>(lastResidual)) > eps)
    {
        stallCounter = 0;
        lastResidual = residual;
        return false;
    }
    return ++stallCounter > longestStall;
}

template <class T>
template <class Values>
uint32 ImplicitSurface3Regular<T>::extend(Values& values, const T& limit, const T& tolerance,
                                          uint32 threadCount) const
{
    const auto& grid = _field.getGrid();
    if (grid.size == 0 || values.size() != grid.size || values.sizeX() != grid.sizeX ||
        values.sizeY() != grid.sizeY || _surface.size() != grid.size)
        return 0;
    using Value = std::remove_reference_t<decltype(arrayOf(values)[0])>;
    const Extension<T, Value> extension(_field, _surface, limit, arrayOf(values).data());
    const detail::SweepOrder order = preparingThreadedSweepingVolumes(threadCount);
    Directions directions;
    getSweepingDirections(directions);
    extension.clearNonFinite();
    detail::Polling polling(nullptr);
    T firstResidual = 0, lastResidual = 0;
    uint32 stallCounter = 0, iterationCounter = 0, iterations = 0;
    std::vector<T> changes(order.workerCount(), T(0));
    const auto hasNextPass = [&]
    {
        const T residual = *std::max_element(changes.begin(), changes.end());
        std::fill(changes.begin(), changes.end(), T(0));
        ++iterations;
        return residual > 0 && !getExtentionConvergence(tolerance, residual, firstResidual, lastResidual,
                                                        stallCounter, iterationCounter);
    };
    order.sweep(
        polling, directions, hasNextPass,
        [&](uint32 worker, const detail::SweepDirection& direction, uint32 i, uint32 firstRow, uint32 endRow)
        {
            const T change = extension.visitRows(i, firstRow, endRow, direction);
            changes[worker] = std::max(changes[worker], change);
        });
    return iterations;
}

template <class T>
uint32 ImplicitSurface3Regular<T>::fastSweepingExtend(Field& values, const T& tolerance,
                                                      uint32 threadCount) const
{
    return extend(values, std::numeric_limits<T>::infinity(), tolerance, threadCount);
}

template <class T>
uint32 ImplicitSurface3Regular<T>::fastSweepingExtend(Vector3Field3<T, double>& values, const T& tolerance,
                                                      uint32 threadCount) const
{
    return extend(values, std::numeric_limits<T>::infinity(), tolerance, threadCount);
}

template <class T>
uint32 ImplicitSurface3Regular<T>::fastSweepingExtendSparse(Field& values, const T& tolerance,
                                                            uint32 threadCount) const
{
    return extend(values, std::fabs(_defaultValue), tolerance, threadCount);
}

template <class T>
uint32 ImplicitSurface3Regular<T>::fastSweepingExtendSparse(Vector3Field3<T, double>& values,
                                                            const T& tolerance, uint32 threadCount) const
{
    return extend(values, std::fabs(_defaultValue), tolerance, threadCount);
}

template <class T>
void ImplicitSurface3Regular<T>::initVectorSparseField(Vector3Field3<T, double>& values,
                                                       const Vector3<T>& surfaceValue) const
{
    values.reset(_field.getGrid());
    for (uint32 m = 0; m < values.size(); ++m)
        values.set(m, _surface.test(m) ? surfaceValue : Vector3<T>{0, 0, 0});
}

#define TX_INSTANTIATE(T)                                                                                  \
    template bool ImplicitSurface3Regular<T>::getExtentionConvergence(const T&, const T&, T&, T&, uint32&, \
                                                                      uint32&);                            \
    template uint32 ImplicitSurface3Regular<T>::fastSweepingExtend(Field&, const T&, uint32) const;        \
    template uint32 ImplicitSurface3Regular<T>::fastSweepingExtend(Vector3Field3<T, double>&, const T&,    \
                                                                   uint32) const;                          \
    template uint32 ImplicitSurface3Regular<T>::fastSweepingExtendSparse(Field&, const T&, uint32) const;  \
    template uint32 ImplicitSurface3Regular<T>::fastSweepingExtendSparse(Vector3Field3<T, double>&,        \
                                                                         const T&, uint32) const;          \
    template void ImplicitSurface3Regular<T>::initVectorSparseField(Vector3Field3<T, double>&,             \
                                                                    const Vector3<T>&) const;
TX_INSTANTIATE(float)
TX_INSTANTIATE(double)
#undef TX_INSTANTIATE

}  // namespace tavrix
