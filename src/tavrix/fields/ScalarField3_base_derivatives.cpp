#include <algorithm>

#include <tavrix/fields/detail/NodeDerivatives.h>
#include <tavrix/fields/detail/NodeSamples.h>
#include <tavrix/fields/ScalarField3_base.h>
#include <tavrix/fields/Vector3Field3.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

namespace
{

/// use(derivatives) with the derivatives of the field's nodes.
template <class Value, class Coord, class Use>
auto withDerivatives(const ScalarField3_base<Value, Coord>& field, Use use)
{
    return detail::withSamples(
        field, [&]<class Samples>(const Samples& samples)
        { return use(detail::NodeDerivatives<Coord, Samples>(field.getGrid(), samples)); });
}

template <class Value, class Coord>
bool firstDerivative(const ScalarField3_base<Value, Coord>& field, const Index3& node, uint32 axis,
                     double& out)
{
    out = withDerivatives(field, [&](const auto& d) { return d.first(node, axis, TX_FIELD_GRAD_CENTRAL); });
    return true;
}

template <class Value, class Coord>
bool secondDerivative(const ScalarField3_base<Value, Coord>& field, const Index3& node, uint32 axis,
                      double& out)
{
    return withDerivatives(field, [&](const auto& d) { return d.second(node, axis, false, out); });
}

template <class Value, class Coord>
bool mixedDerivative(const ScalarField3_base<Value, Coord>& field, const Index3& node, uint32 axis1,
                     uint32 axis2, double& out)
{
    return withDerivatives(field, [&](const auto& d) { return d.mixed(node, axis1, axis2, false, out); });
}

/// The five rows of samples that the gradients of a row of nodes read: itself and its neighbours in x and y,
/// itself again where there are none.
template <class Value>
struct GradientRows
{
    const Value *own, *lowX, *highX, *lowY, *highY;
    double divisorX, divisorY;
};

template <class Value>
void gradientAlongRow(const GradientRows<Value>& rows, uint32 sizeZ, double h, Vector3<Value>* out)
{
    const auto difference = [](Value high, Value low, double divisor)
    { return static_cast<Value>((static_cast<double>(high) - static_cast<double>(low)) / divisor); };
    const auto at = [&](uint32 k, uint32 low, uint32 high, double divisorZ) -> Vector3<Value>
    {
        return {difference(rows.highX[k], rows.lowX[k], rows.divisorX),
                difference(rows.highY[k], rows.lowY[k], rows.divisorY),
                difference(rows.own[high], rows.own[low], divisorZ)};
    };
    const uint32 last = sizeZ - 1;
    out[0] = at(0, 0, std::min(1u, last), h);
    for (uint32 k = 1; k < last; ++k) out[k] = at(k, k - 1, k + 1, 2 * h);
    if (last > 0) out[last] = at(last, last - 1, last, h);
}

template <class Coord, class Samples, class Value>
void gradientOfPlanes(const GridDescription3<Coord>& grid, const Samples& samples, uint64 begin, uint64 end,
                      Vector3<Value>* out)
{
    const auto h = static_cast<double>(grid.largestSeparation);
    Array<Value> buffers[5];
    for (auto i = static_cast<uint32>(begin); i < end; ++i)
        for (uint32 j = 0; j < grid.sizeY; ++j)
        {
            const bool hasLowX = i > 0, hasHighX = i + 1 < grid.sizeX;
            const bool hasLowY = j > 0, hasHighY = j + 1 < grid.sizeY;
            GradientRows<Value> rows;
            rows.own = samples.row(i, j, buffers[0]);
            rows.lowX = hasLowX ? samples.row(i - 1, j, buffers[1]) : rows.own;
            rows.highX = hasHighX ? samples.row(i + 1, j, buffers[2]) : rows.own;
            rows.lowY = hasLowY ? samples.row(i, j - 1, buffers[3]) : rows.own;
            rows.highY = hasHighY ? samples.row(i, j + 1, buffers[4]) : rows.own;
            rows.divisorX = hasLowX && hasHighX ? 2 * h : h;
            rows.divisorY = hasLowY && hasHighY ? 2 * h : h;
            Vector3<Value>* row = out + grid.getMonoindex(i, j, 0);
            gradientAlongRow(rows, grid.sizeZ, h, row);
            for (uint32 axis = 0; axis < 3; ++axis)
                if (grid.sizeAlong(axis) == 1)  // where an infinite sample less itself is not 0
                    for (uint32 k = 0; k < grid.sizeZ; ++k) row[k][axis] = 0;
        }
}

}  // namespace

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::gradx(const Index3& node,
                                            double& out) const requires std::floating_point<Value>
{
    return firstDerivative(*this, node, 0, out);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::grady(const Index3& node,
                                            double& out) const requires std::floating_point<Value>
{
    return firstDerivative(*this, node, 1, out);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::gradz(const Index3& node,
                                            double& out) const requires std::floating_point<Value>
{
    return firstDerivative(*this, node, 2, out);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::gradxx(const Index3& node,
                                             double& out) const requires std::floating_point<Value>
{
    return secondDerivative(*this, node, 0, out);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::gradyy(const Index3& node,
                                             double& out) const requires std::floating_point<Value>
{
    return secondDerivative(*this, node, 1, out);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::gradzz(const Index3& node,
                                             double& out) const requires std::floating_point<Value>
{
    return secondDerivative(*this, node, 2, out);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::gradxy(const Index3& node,
                                             double& out) const requires std::floating_point<Value>
{
    return mixedDerivative(*this, node, 0, 1, out);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::gradxz(const Index3& node,
                                             double& out) const requires std::floating_point<Value>
{
    return mixedDerivative(*this, node, 0, 2, out);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::gradyz(const Index3& node,
                                             double& out) const requires std::floating_point<Value>
{
    return mixedDerivative(*this, node, 1, 2, out);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::curv(const Index3& node,
                                           float& out) const requires std::floating_point<Value>
{
    detail::Derivatives d;
    if (!withDerivatives(*this, [&](const auto& at) { return at.all(node, false, d); })) return false;
    out = static_cast<float>(d.curvature());
    return true;
}

template <class Value, class Coord>
Tuple2<bool, Value> ScalarField3_base<Value, Coord>::evalCurvature(
    const Vector3<Coord>& point, ScalarFieldEvalMode mode) const requires std::floating_point<Value>
{
    detail::PointCell<Coord> cell;
    if (!detail::findCell(_grid, point, cell)) return {false, failedValue<Value>};
    return withDerivatives(
        *this, [&](const auto& d) { return d.curvatureIn(cell, mode == TX_FIELD_EVAL_SYMMETRIC); });
}

template <class Value, class Coord>
Tuple2<bool, Vector3<Value>> ScalarField3_base<Value, Coord>::evalGradCentral(
    const Index3& node) const requires std::floating_point<Value>
{
    constexpr GradTypes central{TX_FIELD_GRAD_CENTRAL, TX_FIELD_GRAD_CENTRAL, TX_FIELD_GRAD_CENTRAL};
    return {true,
            withDerivatives(*this, [&](const auto& d) { return convert<Value>(d.gradient(node, central)); })};
}

template <class Value, class Coord>
Tuple2<bool, Vector3<Value>> ScalarField3_base<Value, Coord>::evalGradCentral(
    const Vector3<Coord>& point) const requires std::floating_point<Value>
{
    return evalGradSafe(point, TX_FIELD_EVAL_ASYMMETRIC);
}

template <class Value, class Coord>
Tuple2<bool, Vector3<Value>> ScalarField3_base<Value, Coord>::evalGradSafe(
    const Vector3<Coord>& point, ScalarFieldEvalMode mode) const requires std::floating_point<Value>
{
    const EvalGradType type =
        mode == TX_FIELD_EVAL_SYMMETRIC ? TX_FIELD_GRAD_SECOND_ORDER : TX_FIELD_GRAD_CENTRAL;
    return evalGradSafe(point, GradTypes{type, type, type});
}

template <class Value, class Coord>
Tuple2<bool, Vector3<Value>> ScalarField3_base<Value, Coord>::evalGradSafe(
    const Vector3<Coord>& point, const GradTypes& types) const requires std::floating_point<Value>
{
    detail::PointCell<Coord> cell;
    if (!detail::findCell(_grid, point, cell)) return {false, {0, 0, 0}};
    return {true, withDerivatives(*this, [&](const auto& d) { return d.gradientIn(cell, types); })};
}

template <class Value, class Coord>
Tuple2<bool, Vector3<Value>> ScalarField3_base<Value, Coord>::evalGradSafe_useThreshold(
    const Vector3<Coord>& point, const GradTypes& types,
    Value threshold) const requires std::floating_point<Value>
{
    if (!evalSafe_useGreaterThanThreshold(point, threshold, TX_FIELD_EVAL_ASYMMETRIC).a)
        return {false, {0, 0, 0}};
    return evalGradSafe(point, types);
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::gradient(
    Vector3Field3<Value, Coord>& out, uint32 threadCount,
    CancelCallback callback) const requires std::floating_point<Value>
{
    out.reset(_grid);
    if (_grid.size == 0) return;
    detail::Polling polling(callback);
    const uint64 planesPerPiece = detail::lightItems / std::max(_grid.sizeYZ, 1u) + 1;
    detail::withSamples(
        *this,
        [&](const auto& samples)
        {
            inPieces(polling, _grid.sizeX, planesPerPiece, threadCount,
                     [&](uint32, uint64 begin, uint64 end)
                     { gradientOfPlanes(_grid, samples, begin, end, out.refArrVectors().data()); });
        });
}

namespace
{

/// A point outside the box by less than 2^-13 separations, moved onto the box; any other point as it is. That
/// much outside, rounding may have put vertices of the border, or clean-up, which merges within it.
template <class Coord>
Vector3D takenToBorder(const GridDescription3<Coord>& grid, Vector3D point)
{
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double low = grid.box.min[axis], high = grid.box.max[axis];
        const double slack = double{grid.separation[axis]} / 8192;
        if (point[axis] < low && point[axis] > low - slack) point[axis] = low;
        if (point[axis] > high && point[axis] < high + slack) point[axis] = high;
    }
    return point;
}

}  // namespace

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::computeFieldNormals(
    Mesh& mesh, uint32 threadCount) const requires std::floating_point<Value>
{
    const Array<Vector3D>& positions = mesh.refPos();
    Array<Vector3F>& normals = mesh.refNor();
    normals.resize(positions.size());
    constexpr uint64 pointsPerPiece = detail::scatteredItems / 8;
    parallelFor(positions.size(), detail::threadsWorth(positions.size(), pointsPerPiece, threadCount),
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 v = begin; v < end; ++v)
                    {
                        const auto point = convert<Coord>(takenToBorder(_grid, positions[v]));
                        normals[v] = convert<float>(
                            unitOrZero(convert<double>(evalGradSafe(point, TX_FIELD_EVAL_ASYMMETRIC).b)));
                    }
                });
    mesh.refTrindexNor() = mesh.refTrindexPos();
}

#define TX_INSTANTIATE(Value, Coord)                                                                        \
    template bool ScalarField3_base<Value, Coord>::gradx(const Index3&, double&) const;                     \
    template bool ScalarField3_base<Value, Coord>::grady(const Index3&, double&) const;                     \
    template bool ScalarField3_base<Value, Coord>::gradz(const Index3&, double&) const;                     \
    template bool ScalarField3_base<Value, Coord>::gradxx(const Index3&, double&) const;                    \
    template bool ScalarField3_base<Value, Coord>::gradyy(const Index3&, double&) const;                    \
    template bool ScalarField3_base<Value, Coord>::gradzz(const Index3&, double&) const;                    \
    template bool ScalarField3_base<Value, Coord>::gradxy(const Index3&, double&) const;                    \
    template bool ScalarField3_base<Value, Coord>::gradxz(const Index3&, double&) const;                    \
    template bool ScalarField3_base<Value, Coord>::gradyz(const Index3&, double&) const;                    \
    template bool ScalarField3_base<Value, Coord>::curv(const Index3&, float&) const;                       \
    template Tuple2<bool, Value> ScalarField3_base<Value, Coord>::evalCurvature(const Vector3<Coord>&,      \
                                                                                ScalarFieldEvalMode) const; \
    template Tuple2<bool, Vector3<Value>> ScalarField3_base<Value, Coord>::evalGradCentral(const Index3&)   \
        const;                                                                                              \
    template Tuple2<bool, Vector3<Value>> ScalarField3_base<Value, Coord>::evalGradCentral(                 \
        const Vector3<Coord>&) const;                                                                       \
    template Tuple2<bool, Vector3<Value>> ScalarField3_base<Value, Coord>::evalGradSafe(                    \
        const Vector3<Coord>&, ScalarFieldEvalMode) const;                                                  \
    template Tuple2<bool, Vector3<Value>> ScalarField3_base<Value, Coord>::evalGradSafe(                    \
        const Vector3<Coord>&, const GradTypes&) const;                                                     \
    template Tuple2<bool, Vector3<Value>> ScalarField3_base<Value, Coord>::evalGradSafe_useThreshold(       \
        const Vector3<Coord>&, const GradTypes&, Value) const;                                              \
    template void ScalarField3_base<Value, Coord>::gradient(Vector3Field3<Value, Coord>&, uint32,           \
                                                            CancelCallback) const;                          \
    template void ScalarField3_base<Value, Coord>::computeFieldNormals(Mesh&, uint32) const;
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
