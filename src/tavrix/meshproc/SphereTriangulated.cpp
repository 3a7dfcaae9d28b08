#include <tavrix/meshproc/SphereTriangulated.h>

#include <algorithm>

#include <tavrix/meshproc/detail/SphereTables.h>

namespace tavrix
{

namespace
{

constexpr auto geodesicTable = detail::GeodesicSphere::make();

template <class T, class Table>
void setTable(const Table& table, Array<Vector3<T>>& positions, Array<Index3>& triangles)
{
    positions.resize(static_cast<uint32>(table.positions.size()));
    std::transform(table.positions.begin(), table.positions.end(), positions.begin(), convert<T, double>);
    triangles.resize(static_cast<uint32>(table.faces.size()));
    std::copy(table.faces.begin(), table.faces.end(), triangles.begin());
}

}  // namespace

template <std::floating_point T>
SphereTriangulated<T>::SphereTriangulated(uint32 nFaces, T radius)
{
    if (nFaces == 500)
        set500Faces();
    else if (nFaces == 20)
        set20Faces();
    if (radius != 1) scaleCoordinates(radius);
}

template <std::floating_point T>
void SphereTriangulated<T>::set20Faces(Positions& positions, Triangles& triangles)
{
    setTable(detail::icosahedronTable, positions, triangles);
}

template <std::floating_point T>
void SphereTriangulated<T>::set500Faces(Positions& positions, Triangles& triangles)
{
    setTable(geodesicTable, positions, triangles);
}

template <std::floating_point T>
void SphereTriangulated<T>::scaleCoordinates(Positions& positions, T s)
{
    for (Vector3<T>& p : positions) p *= s;
}

template <std::floating_point T>
void SphereTriangulated<T>::translateCoordinates(Positions& positions, const Vector3<T>& v)
{
    for (Vector3<T>& p : positions) p += v;
}

template <std::floating_point T>
void SphereTriangulated<T>::transformCoordinates(Positions& positions, const Quaternion<T>& q)
{
    for (Vector3<T>& p : positions) p = q.rotate(p);
}

template class SphereTriangulated<float>;
template class SphereTriangulated<double>;

}  // namespace tavrix
