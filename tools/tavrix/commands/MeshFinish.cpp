#include "commands/MeshFinish.h"

#include <CLI/CLI.hpp>

#include <tavrix/foundation/ElementaryFunctions.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "formats/MeshFile.h"

namespace tavrix::tool
{

namespace
{

/// A quarter turn around x.
template <class T>
Vector3<T> turned(const Vector3<T>& v, UpAxis to)
{
    return to == UpAxis::Z ? Vector3<T>{v.x, -v.z, v.y} : Vector3<T>{v.x, v.z, -v.y};
}

bool isColour(const std::string& name)
{
    std::string small = name;
    for (char& c : small)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return small.starts_with("color") || small.starts_with("colour") || small == "rgb";
}

/// The vectors of a mesh's extra arrays, which turn with it.
template <class Use>
void forEachVectorArray(Mesh& mesh, const Use& use)
{
    const ArraySet<MeshArrayInf>& arrays = mesh.getArraySet();
    for (uint32 n = 0; n < arrays.size(); ++n)
    {
        const std::string name = arrays.inf(n).name.c_str();
        const bool isOwn = name == "Pos" || name == "Nor" || name == "NorAllSmoothed";
        if (isOwn || name.starts_with("UV_MAP") || isColour(name)) continue;
        auto* values = TX_ArrayServer::instance().get<Array<Vector3F>>(arrays.handle(n));
        if (values) use(name, *values);
    }
}

void turn(Mesh& mesh, UpAxis to)
{
    for (Vector3D& p : mesh.refPos()) p = turned(p, to);
    for (Vector3F& n : mesh.refNor()) n = turned(n, to);
    for (Wector3F& n : mesh.refFaceNor())
    {
        const Vector3F direction = turned(Vector3F{n.x, n.y, n.z}, to);
        n = {direction.x, direction.y, direction.z, n.w};
    }
    forEachVectorArray(mesh,
                       [&](const std::string&, Array<Vector3F>& values)
                       {
                           for (Vector3F& v : values) v = turned(v, to);
                       });
}

void scale(Mesh& mesh, double factor)
{
    for (Vector3D& p : mesh.refPos()) p *= factor;
    for (Wector3F& n : mesh.refFaceNor()) n.w *= static_cast<float>(factor * factor);
    forEachVectorArray(mesh,
                       [&](const std::string& name, Array<Vector3F>& values)
                       {
                           if (name != "Velocity") return;
                           for (Vector3F& v : values) v *= static_cast<float>(factor);
                       });
}

}  // namespace

void addMeshFinish(CLI::App& command, MeshFinish& finish)
{
    command.add_option("--scale", finish.scale, "Make the mesh so many times as large, for other units")
        ->check(positiveNumber)
        ->option_text("NUMBER [1]")
        ->group("Output");
    command
        .add_option_function<std::string>(
            "--output-up",
            [&finish](const std::string& axis) { finish.outputUp = axis == "z" ? UpAxis::Z : UpAxis::Y; },
            "Turn the mesh so that this axis points up in the file; --up says which does in the input")
        ->check(oneOf({"y", "z"}))
        ->option_text("y|z")
        ->group("Output");
    command
        .add_option("--crease", finish.crease,
                    "Make normals that keep an edge where faces meet at more than so many degrees")
        ->check(numberFrom(0, 180))
        ->option_text("DEGREES")
        ->group("Output");
}

void checkMeshFinish(const CLI::App& command, const std::string& output)
{
    refuse(command, "--crease", !formats::holdsNormals(output),
           "has no effect on " + output + ", whose format has no vertex normals");
}

void finishMeshes(ArrayOfPtr<Mesh>& meshes, const MeshFinish& finish, const std::string& output)
{
    for (Mesh* mesh : meshes)
    {
        if (finish.crease && formats::holdsNormals(output))
            mesh->createNormals(*finish.crease * piValue / 180);
        if (finish.outputUp && *finish.outputUp != finish.up) turn(*mesh, *finish.outputUp);
        if (finish.scale != 1) scale(*mesh, finish.scale);
        mesh->invalidateBox();
    }
}

}  // namespace tavrix::tool
