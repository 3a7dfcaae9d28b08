#include "formats/Gltf.h"

#include <algorithm>
#include <utility>

#include "formats/GltfFile.h"

namespace tavrix::formats
{

namespace
{

/// How a primitive's corners make triangles.
enum class Mode : uint64
{
    Triangles = 4,
    Strip = 5,
    Fan = 6
};

/// The numbers of an array; false, and those before, unless it is one of so many.
bool takeNumbers(const Json& array, std::size_t count, double* numbers)
{
    if (!array.is_array() || array.size() != count) return false;
    for (std::size_t n = 0; n < count; ++n)
    {
        if (!array[n].is_number()) return false;
        numbers[n] = array[n].get<double>();
    }
    return true;
}

Matrix4D matrixOf(const Json& node)
{
    double numbers[16];
    Matrix4D matrix = Matrix4D::identity();
    if (takeNumbers(member(node, "matrix"), 16, numbers))
    {
        for (uint32 n = 0; n < 16; ++n) matrix.m[n % 4][n / 4] = numbers[n];
        return matrix;
    }
    Vector3D move{0, 0, 0}, scale{1, 1, 1};
    Quaternion<double> turn{1, 0, 0, 0};
    if (takeNumbers(member(node, "translation"), 3, numbers)) move = {numbers[0], numbers[1], numbers[2]};
    if (takeNumbers(member(node, "scale"), 3, numbers)) scale = {numbers[0], numbers[1], numbers[2]};
    if (takeNumbers(member(node, "rotation"), 4, numbers))
        turn = {numbers[3], numbers[0], numbers[1], numbers[2]};
    matrix = Matrix4D::rotationTranslation(turn, move);
    for (uint32 row = 0; row < 3; ++row)
        for (uint32 column = 0; column < 3; ++column) matrix.m[row][column] *= scale[column];
    return matrix;
}

uint32 indexOf(int64 number)
{
    return number >= 0 && number < noIndex ? static_cast<uint32>(number) : noIndex;
}

/// The triangles of corners in that order.
template <class Corner>
void addTriangles(Mode mode, uint32 count, const Corner& corner, Array<Index3>& triangles)
{
    if (mode == Mode::Triangles)
        for (uint32 n = 2; n < count; n += 3) triangles.push_back({corner(n - 2), corner(n - 1), corner(n)});
    else
        for (uint32 n = 2; n < count; ++n)
        {
            if (mode == Mode::Fan)
                triangles.push_back({corner(0), corner(n - 1), corner(n)});
            else
                triangles.push_back({corner(n - 2), corner(n % 2 ? n : n - 1), corner(n % 2 ? n - 1 : n)});
        }
}

class GltfReader
{
public:
    GltfReader(const std::string& path, ArrayOfPtr<Mesh>& meshes, MeshReadingReport& report)
        : _file(path), _meshes(meshes), _report(report)
    {
    }

    void read()
    {
        const Json& nodes = member(_file.root(), "nodes");
        if (!nodes.is_array() || nodes.empty())
        {
            for (const Json& mesh : member(_file.root(), "meshes"))
                addMeshAt(mesh, Json(), Matrix4D::identity());
            return;
        }
        _isVisited.assign(nodes.size(), false);
        const Json& roots = member(_file.item("scenes", _file.number(_file.root(), "scene", 0)), "nodes");
        if (roots.is_array())
            walk(roots, nodes);
        else
            walk(withoutParent(nodes), nodes);
    }

private:
    using Placed = std::pair<uint64, Matrix4D>;

    /// The numbers of the nodes that no node names as its child.
    static Json withoutParent(const Json& nodes)
    {
        std::vector<bool> hasParent(nodes.size(), false);
        for (const Json& node : nodes)
            for (const Json& child : member(node, "children"))
                if (child.is_number_unsigned() && child.get<uint64>() < nodes.size())
                    hasParent[child.get<uint64>()] = true;
        Json roots = Json::array();
        for (std::size_t n = 0; n < nodes.size(); ++n)
            if (!hasParent[n]) roots.push_back(n);
        return roots;
    }

    /// Adds the meshes of the nodes and of those below them, depth first in their order. Nodes are visited
    /// once: where they form no tree, the file is damaged.
    void walk(const Json& roots, const Json& nodes)
    {
        std::vector<Placed> waiting;
        addWaiting(waiting, roots, Matrix4D::identity());
        while (!waiting.empty())
        {
            const auto [number, around] = waiting.back();
            waiting.pop_back();
            if (number >= nodes.size() || _isVisited[number]) continue;
            _isVisited[number] = true;
            const Json& node = nodes[number];
            const Matrix4D matrix = around * matrixOf(node);
            if (!member(node, "mesh").is_null())
                addMeshAt(_file.item("meshes", _file.number(node, "mesh", 0)), node, matrix);
            addWaiting(waiting, member(node, "children"), matrix);
        }
    }

    static void addWaiting(std::vector<Placed>& waiting, const Json& numbers, const Matrix4D& matrix)
    {
        if (!numbers.is_array()) return;
        for (auto number = numbers.rbegin(); number != numbers.rend(); ++number)
            if (number->is_number_unsigned()) waiting.emplace_back(number->get<uint64>(), matrix);
    }

    void addMeshAt(const Json& mesh, const Json& node, const Matrix4D& matrix)
    {
        Surface surface;
        PointData points;
        for (const Json& primitive : member(mesh, "primitives")) addPrimitive(primitive, surface, points);
        if (surface.triangles.empty()) return;
        for (const Json* named : {&node, &mesh})
            if (surface.name.empty() && member(*named, "name").is_string())
                surface.name = member(*named, "name").get<std::string>();
        surface.normals = takeVectors(points.attributes, {"normal"});
        surface.positions.resize(points.positions.size());
        std::transform(points.positions.begin(), points.positions.end(), surface.positions.begin(),
                       convert<double, float>);
        surface.attributes = std::move(points.attributes);
        place(surface, matrix);
        addMesh(_meshes, std::move(surface), _report);
    }

    void addPrimitive(const Json& primitive, Surface& surface, PointData& points)
    {
        const auto mode = static_cast<Mode>(_file.number(primitive, "mode", 4));
        if (mode < Mode::Triangles || mode > Mode::Fan) return;
        PointTable table = tableOf(member(primitive, "attributes"));
        if (table.count == 0) return;
        const uint32 before = points.positions.size();
        Array<int64>::checkedSize(std::size_t{before} + table.count);
        addFaces(primitive, mode, table.count, before, surface.triangles);
        PointData piece = decode(table);
        turnTextures(piece);
        append(points, std::move(piece));
    }

    /// The attributes that are taken; none when there are no positions.
    PointTable tableOf(const Json& attributes)
    {
        PointTable table;
        if (!attributes.is_object()) return table;
        const GltfElements positions = _file.elements(_file.number(attributes, "POSITION", noIndex));
        if (positions.column.components.size() != 3) return table;
        table.count = positions.count;
        table.positions = positions.column;
        table.storage.push_back(positions.storage);
        for (const auto& [key, unused] : attributes.items())
        {
            const std::string name = nameOf(key);
            if (name.empty()) continue;
            GltfElements elements = _file.elements(_file.number(attributes, key.c_str(), noIndex));
            auto& components = elements.column.components;
            if (elements.count != table.count || components.empty()) continue;
            if (name == "color" && components.size() > 3) components.resize(3);
            elements.column.name = name;
            table.columns.push_back(std::move(elements.column));
            table.storage.push_back(std::move(elements.storage));
        }
        _file.allowance().take(uint64{table.count} * (sizeof(Vector3D) + 12 * (table.columns.size() + 1)));
        return table;
    }

    static std::string nameOf(const std::string& key)
    {
        if (key == "NORMAL") return "normal";
        if (key == "COLOR_0") return "color";
        if (key == "TEXCOORD_0") return "UV_MAP_0";
        return key.starts_with('_') ? key.substr(1) : "";
    }

    /// Texture coordinates run downwards in these files, and upwards in meshes.
    static void turnTextures(PointData& points)
    {
        for (PointAttribute& attribute : points.attributes)
            if (auto* vectors = std::get_if<Array<Vector3F>>(&attribute.values);
                vectors && attribute.name == "UV_MAP_0")
                for (Vector3F& v : *vectors) v.y = 1 - v.y;
    }

    void addFaces(const Json& primitive, Mode mode, uint32 pointCount, uint32 before,
                  Array<Index3>& triangles)
    {
        const auto shifted = [&](uint32 index) { return index < pointCount ? before + index : noIndex; };
        if (member(primitive, "indices").is_null())
        {
            _file.allowance().take(uint64{pointCount} * 12);
            return addTriangles(mode, pointCount, shifted, triangles);
        }
        const GltfElements elements = _file.elements(_file.number(primitive, "indices", 0));
        if (elements.column.components.size() != 1) return;
        _file.allowance().take(uint64{elements.count} * 20);
        const Array<int64> indices = integersOf(elements.column.components[0], elements.count);
        addTriangles(
            mode, elements.count, [&](uint32 n) { return shifted(indexOf(indices[n])); }, triangles);
    }

    GltfFile _file;
    ArrayOfPtr<Mesh>& _meshes;
    MeshReadingReport& _report;
    std::vector<bool> _isVisited;
};

}  // namespace

void readGltf(const std::string& path, ArrayOfPtr<Mesh>& meshes, MeshReadingReport& report)
{
    GltfReader(path, meshes, report).read();
}

}  // namespace tavrix::formats
