#include <algorithm>

#include <pybind11/stl.h>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>

#include "FileCalls.h"
#include "formats/FileKind.h"
#include "formats/FileName.h"
#include "formats/MeshFile.h"
#include "MeshObject.h"

namespace tavrix::python
{

namespace
{

/// Warns when the file was not whole, or raises ValueError.
void tellLeftOut(const MeshReadingReport& report, bool strict, const std::string& path)
{
    if (report.isWhole()) return;
    const std::string text = path + ": " + formats::leftOutText(report);
    if (strict) throw py::value_error(text);
    if (PyErr_WarnEx(PyExc_UserWarning, text.c_str(), 1) != 0) throw py::error_already_set();
}

formats::MeshFile readWhole(const std::string& path, bool strict)
{
    formats::MeshFile file;
    readFile(path, [&] { file = formats::readMeshes(path, threadsOf(std::nullopt)); });
    tellLeftOut(file.report, strict, path);
    for (const Mesh* mesh : file.meshes)
        if (!hasValidIndices(*mesh)) throw py::value_error(path + ": a face names what is not there");
    return file;
}

py::object readJoined(const py::object& path, bool strict)
{
    formats::MeshFile file = readWhole(pathIn(path), strict);
    return objectOf(file.meshes.size() == 1 ? std::move(*file.meshes[0]) : joinMeshes(file.meshes));
}

py::list readSeparate(const py::object& path, bool strict)
{
    formats::MeshFile file = readWhole(pathIn(path), strict);
    py::list meshes;
    for (Mesh* mesh : file.meshes) meshes.append(objectOf(std::move(*mesh)));
    return meshes;
}

/// The number of decimals, or none for shortest exact ones.
ObjNumbers numbersOf(const py::object& digits)
{
    if (digits.is_none()) return {};
    if (py::isinstance<py::str>(digits) && digits.cast<std::string>() == "exact")
        return {.areShortest = true};
    const auto count = digits.cast<int>();
    if (count < 0 || count > 17) throw py::value_error("digits: expected 0 to 17, 'exact' or None");
    return {.decimals = count};
}

void write(const MeshObject& self, const py::object& target, bool ascii, const py::object& digits)
{
    const std::string path = pathIn(target);
    const auto& known = formats::writableExtensions();
    if (std::find(known.begin(), known.end(), formats::extensionOf(path)) == known.end())
    {
        std::string list;
        for (const std::string& extension : known) list += (list.empty() ? "." : ", .") + extension;
        throw py::value_error(path + ": meshes are written to files of " + list);
    }
    const formats::MeshWriteOptions options{ascii, numbersOf(digits)};
    const Reading reading(self);
    writeFile(
        [&]
        {
            ArrayOfPtr<Mesh> meshes;
            meshes.push_back(new Mesh);
            meshes[0]->copyAllFrom(self.mesh, true);
            formats::writeMeshes(path, meshes, options);
        });
}

}  // namespace

void bindMeshFiles(py::class_<MeshObject>& type)
{
    type.def_static("read", &readJoined, py::arg("path"), py::kw_only(), py::arg("strict") = false,
                    R"(Reads a mesh file of any format; several meshes in it become one.

    What had to be left out is warned of, or raises ValueError when strict. Raises FileNotFoundError and its like, and
    ValueError for a file that is no mesh or damaged.

    >>> tavrix.Mesh.sphere().write("ball.stl")
    >>> len(tavrix.Mesh.read("ball.stl").weld().vertices)
    252
    )")
        .def_static(
            "read_all", &readSeparate, py::arg("path"), py::kw_only(), py::arg("strict") = false,
            R"(Reads the meshes of a file one by one: groups of OBJ, objects of ASE, glTF and 3MF files.

    >>> tavrix.Mesh.sphere().write("ball.obj")
    >>> [len(mesh.faces) for mesh in tavrix.Mesh.read_all("ball.obj")]
    [500]
    )")
        .def("write", &write, py::arg("path"), py::kw_only(), py::arg("ascii") = false,
             py::arg("digits") = py::none(),
             R"(Writes a file of the format that the extension names, whole or not at all.

    .obj, .stl, .bin, .ply, .vtp and .glb; the last three hold normals and attributes. ascii: STL as text.
    digits: decimals of OBJ files, 6 when None, or 'exact'. Raises ValueError for other extensions, OSError when
    the file cannot be written.

    >>> tavrix.Mesh.sphere().write("ball.ply")
    )");
}

}  // namespace tavrix::python
