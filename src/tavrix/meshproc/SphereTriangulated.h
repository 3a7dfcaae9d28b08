#pragma once

#include <concepts>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Quaternion.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// The unit sphere as a triangle mesh from a fixed table: closed, all faces winding counter-clockwise seen
/// from outside.
///
/// The 20 faces are those of an icosahedron with its poles (positions 0 and 11) on the z axis. The 500 are a
/// geodesic sphere of 252 positions, each face of an icosahedron divided into 25, with its poles on the y
/// axis; its positions are on the unit sphere to within 2e-6. The two axes differ on purpose.
template <std::floating_point T>
class SphereTriangulated
{
public:
    /// Positions, and the faces as triples of their numbers.
    /// @{
    using Positions = Array<Vector3<T>, _Wa>;
    using Triangles = Array<Index3, _Wa>;
    /// @}

    /// No positions and no faces.
    SphereTriangulated() = default;
    /// The sphere of 20 or 500 faces around the origin; any other number of faces leaves it empty.
    SphereTriangulated(uint32 nFaces, T radius);

    /// The sphere as it is now.
    /// @{
    const Positions& getArrPos() const { return _arrPos; }
    const Triangles& getArrTrindexPos() const { return _arrTrindexPos; }
    uint32 getNTriangles() const { return _arrTrindexPos.size(); }
    /// @}

    /// Replace positions and faces by those of a table.
    /// @{
    void set20Faces() { set20Faces(_arrPos, _arrTrindexPos); }
    void set500Faces() { set500Faces(_arrPos, _arrTrindexPos); }
    static void set20Faces(Positions& positions, Triangles& triangles);
    static void set500Faces(Positions& positions, Triangles& triangles);
    /// @}

    /// Multiplies every coordinate; a negative number turns the faces inside out.
    void scaleCoordinates(T s) { scaleCoordinates(_arrPos, s); }
    /// Adds a vector to every position.
    void translateCoordinates(const Vector3<T>& v) { translateCoordinates(_arrPos, v); }
    /// Turns every position around the origin by a unit quaternion.
    void transformCoordinates(const Quaternion<T>& q) { transformCoordinates(_arrPos, q); }
    /// As the operations of the same names, on positions of the caller's.
    /// @{
    static void scaleCoordinates(Positions& positions, T s);
    static void translateCoordinates(Positions& positions, const Vector3<T>& v);
    static void transformCoordinates(Positions& positions, const Quaternion<T>& q);
    /// @}

private:
    Positions _arrPos;
    Triangles _arrTrindexPos;
};

TX_GEOMETRY_INSTANCE(SphereTriangulated<float>);
TX_GEOMETRY_INSTANCE(SphereTriangulated<double>);

}  // namespace tavrix
