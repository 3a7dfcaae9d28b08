#include "formats/ThreeMf.h"

#include <map>
#include <memory>

#include <pugixml.hpp>

#include "formats/Allowance.h"
#include "formats/Failure.h"
#include "formats/TextReader.h"
#include "formats/Zip.h"

namespace tavrix::formats
{

namespace
{

/// The part of a name behind its namespace's prefix.
std::string_view localName(const char* name)
{
    const std::string_view whole = name;
    return whole.substr(whole.find(':') + 1);
}

pugi::xml_node childOf(const pugi::xml_node& node, std::string_view name)
{
    return node.find_child([&](const pugi::xml_node& child) { return localName(child.name()) == name; });
}

pugi::xml_attribute attributeOf(const pugi::xml_node& node, std::string_view name)
{
    return node.find_attribute([&](const pugi::xml_attribute& a) { return localName(a.name()) == name; });
}

/// The matrix of a transform: twelve numbers, the images of the axes and of the origin.
Matrix4D matrixOf(const pugi::xml_node& node)
{
    Matrix4D matrix = Matrix4D::identity();
    TextReader numbers(node.attribute("transform").value());
    for (uint32 column = 0; column < 4; ++column)
        for (uint32 row = 0; row < 3; ++row)
            if (!numbers.number(matrix.m[row][column]))
                return column + row == 0 ? matrix : Matrix4D::identity();
    return matrix;
}

/// A model part of the package and its objects by their numbers.
struct Model
{
    pugi::xml_document document;
    std::map<std::string, pugi::xml_node, std::less<>> objects;
};

class ThreeMfReader
{
public:
    ThreeMfReader(const std::string& path, ArrayOfPtr<Mesh>& meshes, MeshReadingReport& report)
        : _path(path),
          _package(readBytes(path), path),
          _allowance(sizeOfFile(path), path),
          _meshes(meshes),
          _report(report)
    {
    }

    void read()
    {
        const std::string start = startPart();
        Model& model = modelAt(start);
        const pugi::xml_node build = childOf(childOf(model.document, "model"), "build");
        for (const pugi::xml_node& item : build.children())
            if (localName(item.name()) == "item") addReferred(start, item, Matrix4D::identity(), 0);
        if (_meshes.empty() && !build.first_child())
            for (const auto& [number, object] : model.objects)
                addObject(start, object, Matrix4D::identity(), 0);
    }

private:
    [[noreturn]] void refuse(const std::string& what) const { throw Failure(_path + ": " + what); }

    std::unique_ptr<pugi::xml_document> parse(std::string_view part) const
    {
        const Bytes bytes = _package.read(part);
        auto document = std::make_unique<pugi::xml_document>();
        if (!document->load_buffer(bytes.data.get(), bytes.size))
            refuse("is damaged: " + std::string(part) + " is no well-formed XML; export the mesh again");
        return document;
    }

    /// The part that the package names as its model.
    std::string startPart() const
    {
        std::string usual = "3D/3dmodel.model";
        if (!_package.has("_rels/.rels")) return usual;
        const auto relations = parse("_rels/.rels");
        for (const pugi::xml_node& relation : relations->document_element().children())
        {
            const std::string_view type = relation.attribute("Type").value();
            if (type.ends_with("/3dmodel")) return withoutSlash(relation.attribute("Target").value());
        }
        return usual;
    }

    static std::string withoutSlash(std::string_view part)
    {
        return std::string(part.starts_with('/') ? part.substr(1) : part);
    }

    Model& modelAt(const std::string& part)
    {
        std::unique_ptr<Model>& model = _models[part];
        if (model) return *model;
        const Bytes bytes = _package.read(part);
        model = std::make_unique<Model>();
        if (!model->document.load_buffer(bytes.data.get(), bytes.size))
            refuse("is damaged: " + part + " is no well-formed XML; export the mesh again");
        const pugi::xml_node resources = childOf(childOf(model->document, "model"), "resources");
        for (const pugi::xml_node& object : resources.children())
            if (localName(object.name()) == "object")
                model->objects.emplace(object.attribute("id").value(), object);
        return *model;
    }

    /// Adds the object that an item or component names.
    void addReferred(const std::string& part, const pugi::xml_node& reference, const Matrix4D& around,
                     uint32 depth)
    {
        const pugi::xml_attribute elsewhere = attributeOf(reference, "path");
        const std::string there = elsewhere ? withoutSlash(elsewhere.value()) : part;
        const Model& model = modelAt(there);
        const auto object = model.objects.find(reference.attribute("objectid").value());
        if (object == model.objects.end())
            refuse("is damaged: it names an object that it does not have; export the mesh again");
        addObject(there, object->second, around * matrixOf(reference), depth);
    }

    void addObject(const std::string& part, const pugi::xml_node& object, const Matrix4D& matrix,
                   uint32 depth)
    {
        constexpr uint32 deepest = 64;
        if (depth == deepest) refuse("is damaged: its objects contain themselves; export the mesh again");
        _allowance.take(1000);
        if (const pugi::xml_node mesh = childOf(object, "mesh"))
        {
            Surface surface = surfaceAt(mesh);
            surface.name = object.attribute("name").value();
            place(surface, matrix);
            addMesh(_meshes, std::move(surface), _report);
        }
        for (const pugi::xml_node& component : childOf(object, "components").children())
            if (localName(component.name()) == "component") addReferred(part, component, matrix, depth + 1);
    }

    Surface surfaceAt(const pugi::xml_node& mesh)
    {
        Surface surface;
        for (const pugi::xml_node& vertex : childOf(mesh, "vertices").children())
        {
            if (localName(vertex.name()) != "vertex") continue;
            _allowance.take(sizeof(Vector3D));
            surface.positions.push_back(
                {numberOf(vertex, "x"), numberOf(vertex, "y"), numberOf(vertex, "z")});
        }
        for (const pugi::xml_node& triangle : childOf(mesh, "triangles").children())
        {
            if (localName(triangle.name()) != "triangle") continue;
            _allowance.take(2 * sizeof(Index3));
            surface.triangles.push_back({triangle.attribute("v1").as_uint(noIndex),
                                         triangle.attribute("v2").as_uint(noIndex),
                                         triangle.attribute("v3").as_uint(noIndex)});
        }
        return surface;
    }

    double numberOf(const pugi::xml_node& node, const char* name)
    {
        double value = 0;
        TextReader text(node.attribute(name).value());
        if (!text.number(value)) ++_report.numbers;
        return value;
    }

    std::string _path;
    Zip _package;
    Allowance _allowance;
    std::map<std::string, std::unique_ptr<Model>, std::less<>> _models;
    ArrayOfPtr<Mesh>& _meshes;
    MeshReadingReport& _report;
};

}  // namespace

void readThreeMf(const std::string& path, ArrayOfPtr<Mesh>& meshes, MeshReadingReport& report)
{
    ThreeMfReader(path, meshes, report).read();
}

}  // namespace tavrix::formats
