#include "formats/Surface.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include <tavrix/mesh/PolygonTriangulation.h>

#include "formats/TextReader.h"

namespace tavrix::formats
{

namespace
{

bool isDirection(const Vector3F& v) { return dot(v, v) > 0.1f && dot(v, v) < 10.0f; }

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names)
{
    return std::any_of(names.begin(), names.end(),
                       [&](std::string_view other) { return equalsWord(name, other); });
}

bool isVelocity(const PointAttribute& attribute)
{
    return std::holds_alternative<Array<Vector3F>>(attribute.values) &&
           isOneOf(attribute.name, {"velocity", "velocities", "vel", "v"});
}

bool isTexture(const PointAttribute& attribute)
{
    return std::holds_alternative<Array<Vector3F>>(attribute.values) &&
           isOneOf(attribute.name, {"uv_map_0", "uv", "st", "tcoords", "texcoord", "texture coordinates"});
}

/// Makes one attribute of texture coordinates that a file holds as two.
void joinTextures(std::vector<PointAttribute>& attributes)
{
    static constexpr std::array<std::array<std::string_view, 2>, 4> pairs{
        {{"s", "t"}, {"u", "v"}, {"texture_u", "texture_v"}, {"texture_s", "texture_t"}}};
    const auto find = [&](std::string_view name)
    {
        const auto found = std::find_if(attributes.begin(), attributes.end(),
                                        [&](const PointAttribute& a) { return equalsWord(a.name, name); });
        return found == attributes.end() ? nullptr : std::get_if<Array<float>>(&found->values);
    };
    for (const auto& pair : pairs)
    {
        const Array<float>*u = find(pair[0]), *v = find(pair[1]);
        if (!u || !v) continue;
        Array<Vector3F> vectors(u->size());
        for (uint32 n = 0; n < vectors.size(); ++n) vectors[n] = {(*u)[n], (*v)[n], 0};
        std::erase_if(attributes, [&](const PointAttribute& a)
                      { return equalsWord(a.name, pair[0]) || equalsWord(a.name, pair[1]); });
        attributes.push_back({"UV_MAP_0", std::move(vectors)});
        return;
    }
}

void addAttribute(Mesh& mesh, PointAttribute&& attribute)
{
    const std::string name = isVelocity(attribute)  ? "Velocity"
                             : isTexture(attribute) ? "UV_MAP_0"
                                                    : attribute.name;
    // names of the mesh's own arrays are taken
    if (name.empty() || !mesh.findArray(TX_String(name)).isNone()) return;
    std::visit(
        [&](auto& values)
        {
            using Values = std::decay_t<decltype(values)>;
            if (values.size() == mesh.getPosSize())
                mesh.addArray<typename Values::value_type>(TX_String(name)).swap(values);
        },
        attribute.values);
}

/// Leaves out the triangles that name positions which are not there.
void dropBadTriangles(Array<Index3>& triangles, uint32 positionCount, MeshReadingReport& report)
{
    uint32 kept = 0;
    for (uint32 f = 0; f < triangles.size(); ++f)
    {
        const Index3 face = triangles[f];
        uint32 bad = 0;
        for (uint32 n = 0; n < 3; ++n) bad += face[n] >= positionCount ? 1 : 0;
        report.corners += bad;
        report.faces += bad > 0 ? 1 : 0;
        if (bad == 0) triangles[kept++] = face;
    }
    triangles.resize(kept);
}

/// The matrix that turns normals: that of the cofactors, to any length.
Matrix4D normalMatrix(const Matrix4D& matrix)
{
    const auto column = [&](uint32 n) { return Vector3D{matrix.m[0][n], matrix.m[1][n], matrix.m[2][n]}; };
    const std::array<Vector3D, 3> cofactors{cross(column(1), column(2)), cross(column(2), column(0)),
                                            cross(column(0), column(1))};
    Matrix4D normals = Matrix4D::identity();
    for (uint32 row = 0; row < 3; ++row)
        for (uint32 n = 0; n < 3; ++n) normals.m[row][n] = cofactors[n][row];
    return normals;
}

double determinant(const Matrix4D& matrix)
{
    const Matrix4D cofactors = normalMatrix(matrix);
    double sum = 0;
    for (uint32 row = 0; row < 3; ++row) sum += matrix.m[row][0] * cofactors.m[row][0];
    return sum;
}

void turnVectors(Array<Vector3F>& vectors, const Matrix4D& matrix)
{
    for (Vector3F& v : vectors) v = convert<float>(matrix.transformDirection(convert<double>(v)));
}

}  // namespace

Surface surfaceOf(PolygonData&& data, MeshReadingReport& report)
{
    Surface surface{{}, {}, std::move(data.normals), std::move(data.attributes), {}};
    surface.positions.resize(data.positions.size());
    std::transform(data.positions.begin(), data.positions.end(), surface.positions.begin(),
                   convert<double, float>);
    report.faces += data.leftOut;
    surface.triangles.reserve(data.ends.size());
    std::vector<Vector3D> places;
    Array<Index3> triangles;
    uint32 begin = 0;
    for (const uint32 end : data.ends)
    {
        const std::span<const uint32> corners(data.corners.data() + begin, end - begin);
        begin = end;
        if (corners.size() == 3)
        {
            surface.triangles.push_back({corners[0], corners[1], corners[2]});
            continue;
        }
        if (corners.size() < 3) ++report.faces;
        places.clear();
        for (const uint32 corner : corners) places.push_back(surface.positions[corner]);
        triangulatePolygon(places, triangles);
        for (const Index3& t : triangles)
            surface.triangles.push_back({corners[t.a], corners[t.b], corners[t.c]});
    }
    return surface;
}

void place(Surface& surface, const Matrix4D& matrix)
{
    if (matrix == Matrix4D::identity()) return;
    for (Vector3D& p : surface.positions) p = matrix.transformPoint(p);
    for (PointAttribute& attribute : surface.attributes)
        if (isVelocity(attribute)) turnVectors(std::get<Array<Vector3F>>(attribute.values), matrix);
    const bool isMirrored = determinant(matrix) < 0;
    const Matrix4D normals = normalMatrix(matrix);
    for (Vector3F& normal : surface.normals)
    {
        const Vector3D turned = unitOrZero(normals.transformDirection(convert<double>(normal)));
        normal = convert<float>(isMirrored ? -turned : turned);
    }
    if (!isMirrored) return;
    for (Index3& face : surface.triangles) std::swap(face.b, face.c);
}

void addMesh(ArrayOfPtr<Mesh>& meshes, Surface&& surface, MeshReadingReport& report)
{
    dropBadTriangles(surface.triangles, surface.positions.size(), report);
    if (surface.triangles.empty()) return;
    auto mesh = std::make_unique<Mesh>();
    if (!surface.name.empty()) mesh->setName(TX_String(surface.name));
    mesh->refPos().swap(surface.positions);
    mesh->refTrindexPos().swap(surface.triangles);
    mesh->refTrindexNor() = mesh->trindexPos();
    const bool hasNormals = surface.normals.size() == mesh->getPosSize() &&
                            std::all_of(surface.normals.begin(), surface.normals.end(), isDirection);
    if (hasNormals)
    {
        mesh->refNor().swap(surface.normals);
        mesh->recalculateFaceNormals();
    }
    joinTextures(surface.attributes);
    for (PointAttribute& attribute : surface.attributes) addAttribute(*mesh, std::move(attribute));
    meshes.push_back(mesh.release());
}

}  // namespace tavrix::formats
