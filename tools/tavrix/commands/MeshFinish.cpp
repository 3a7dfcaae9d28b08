#include "commands/MeshFinish.h"

#include <algorithm>
#include <cmath>

#include <CLI/CLI.hpp>

#include <tavrix/foundation/ElementaryFunctions.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "formats/FileName.h"
#include "formats/MeshFile.h"
#include "run/Text.h"

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

/// Takes a number of decimals, or "exact".
void takeDigits(const std::string& text, ObjNumbers& numbers)
{
    numbers.areShortest = text == "exact";
    if (numbers.areShortest) return;
    const bool isCount = CLI::detail::lexical_cast(text, numbers.decimals);
    if (!isCount || numbers.decimals < 0 || numbers.decimals > 17)
        throw CLI::ValidationError("--digits", "must be a number from 0 to 17, or exact");
}

/// Whether an edge is so short that decimals may lose it.
bool hasEdgeShorterThan(const Mesh& mesh, double length)
{
    const auto isShort = [&](uint32 a, uint32 b)
    {
        const Vector3D way = mesh.pos()[a] - mesh.pos()[b];
        return dot(way, way) < length * length;
    };
    return std::any_of(mesh.trindexPos().begin(), mesh.trindexPos().end(),
                       [&](const Index3& t)
                       { return isShort(t.a, t.b) || isShort(t.b, t.c) || isShort(t.c, t.a); });
}

/// Says so when the decimals of an OBJ file are too few to keep vertices apart, and the cure.
void noteMerged(const ArrayOfPtr<Mesh>& meshes, const MeshFinish& finish, const std::string& output,
                Progress& progress)
{
    if (formats::extensionOf(output) != "obj" || finish.numbers.areShortest) return;
    const double step = std::pow(10.0, -finish.numbers.decimals);
    uint32 merged = 0;
    for (const Mesh* mesh : meshes)
        if (hasEdgeShorterThan(*mesh, 2 * step)) merged += countPositionsMerged(*mesh, finish.numbers);
    if (merged > 0)
        progress.note(output + formatted(": %u vertices come to lie on others with %d decimals; --digits "
                                         "exact keeps them apart, or --scale makes the mesh larger",
                                         merged, finish.numbers.decimals));
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
    command
        .add_option_function<std::string>(
            "--digits", [&finish](const std::string& text) { takeDigits(text, finish.numbers); },
            "Decimals of numbers in OBJ files, or 'exact': as many as each needs")
        ->option_text("COUNT|exact [6]")
        ->group("Output");
    command.add_flag("--ascii", finish.asciiStl, "Write STL as text; binary when absent")->group("Output");
}

void checkMeshFinish(const CLI::App& command, const std::string& output)
{
    const std::string extension = formats::extensionOf(output);
    refuse(command, "--ascii", extension != "stl", "is for .stl files; " + output + " is none");
    refuse(command, "--digits", extension != "obj" && !output.starts_with("/dev/"),
           "is for .obj files; " + output + " is none");
    refuse(command, "--crease", !formats::holdsNormals(output),
           "has no effect on " + output + ", whose format has no vertex normals");
}

void turnAndScale(Mesh& mesh, const MeshFinish& finish)
{
    if (finish.outputUp && *finish.outputUp != finish.up) turn(mesh, *finish.outputUp);
    if (finish.scale != 1) scale(mesh, finish.scale);
    mesh.invalidateBox();
}

void finishAndWrite(ArrayOfPtr<Mesh>& meshes, const MeshFinish& finish, const std::string& output,
                    Progress& progress)
{
    for (Mesh* mesh : meshes)
    {
        if (finish.crease && formats::holdsNormals(output))
            mesh->createNormals(*finish.crease * piValue / 180);
        turnAndScale(*mesh, finish);
    }
    noteMerged(meshes, finish, output, progress);
    formats::writeMeshes(output, meshes, {finish.asciiStl, finish.numbers});
}

}  // namespace tavrix::tool
