#pragma once

#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/TX_MetaClass.h>

namespace tavrix
{

/// The plane of the points p with normal·p = offset. The normal has unit length where distances are asked
/// for.
template <class T>
struct Plane3
{
    /// The plane's equation.
    /// @{
    Vector3<T> normal;
    T offset;
    /// @}

    /// The plane through a point.
    static constexpr Plane3 through(const Vector3<T>& point, const Vector3<T>& normal)
    {
        return {normal, dot(normal, point)};
    }

    /// Positive on the side that the normal points to.
    constexpr T signedDistance(const Vector3<T>& p) const { return dot(normal, p) - offset; }

    /// Equal normals and offsets; one plane can be written in several ways.
    friend constexpr bool operator==(const Plane3&, const Plane3&) = default;
};

/// A plane in single or double precision.
/// @{
using Plane3F = Plane3<float>;
using Plane3D = Plane3<double>;
/// @}
static_assert(sizeof(Plane3F) == 16 && sizeof(Plane3D) == 32);

/// A plane as a polymorphic object, for hosts that keep planes behind a base and ask each what it is. Its
/// registered type descends from that of the plain plane.
template <class T>
class Plane3_virtual
{
public:
    Plane3_virtual() = default;
    /// Holds a copy of the plane.
    /// @{
    explicit Plane3_virtual(const Plane3<T>& value) : plane(value) {}
    Plane3_virtual(const Plane3_virtual&) = default;
    Plane3_virtual& operator=(const Plane3_virtual&) = default;
    /// @}
    virtual ~Plane3_virtual();

    /// The registered type of the object's class.
    virtual const TX_MetaClass& getMetaClass() const;

    /// The plane, which may be changed; z = 0 at first.
    Plane3<T> plane{{0, 0, 1}, 0};
};

/// A polymorphic plane in single or double precision.
/// @{
using Plane3F_virtual = Plane3_virtual<float>;
using Plane3D_virtual = Plane3_virtual<double>;
/// @}
TX_GEOMETRY_INSTANCE(Plane3_virtual<float>);
TX_GEOMETRY_INSTANCE(Plane3_virtual<double>);

/// The registered types of planes, plain and polymorphic.
/// @{
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Plane3F;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Plane3D;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Plane3F_virtual;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Plane3D_virtual;
/// @}

}  // namespace tavrix
