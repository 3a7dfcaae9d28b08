#include "MeshObject.h"

#include <cmath>

#include <pybind11/stl.h>

#include <tavrix/mesh/MeshCavities.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/SphereTriangulated.h>

#include "FileCalls.h"
#include "formats/VertexStreams.h"

namespace tavrix::python
{

void MeshObject::confirmFree() const
{
    if (readers > 0) throw std::runtime_error("the mesh is in use by another thread");
}

Reading::Reading(const MeshObject& object) : _object(object)
{
    // views may have moved vertices since, and the kernel's reading calls want a valid box
    if (object.readers == 0) object.mesh.workBox();
    ++object.readers;
}

py::object objectOf(Mesh&& mesh)
{
    auto object = std::make_unique<MeshObject>();
    object->mesh = std::move(mesh);
    return py::cast(std::move(object));
}

bool hasVertexNormals(const Mesh& mesh)
{
    return !mesh.nor().empty() && mesh.nor().size() == mesh.getPosSize() &&
           mesh.trindexNor() == mesh.trindexPos();
}

namespace
{

/// Copies whole numbers into index triples; each must be below the limit.
template <class Integer>
void copyIndices(const py::array& array, uint32 limit, const char* name, const char* named,
                 Array<Index3>& triples)
{
    const auto numbers = contiguous<Integer>(array);
    triples.resize(static_cast<uint32>(numbers.shape(0)));
    uint32* out = reinterpret_cast<uint32*>(triples.data());
    const Integer* in = numbers.data();
    for (py::ssize_t n = 0; n < numbers.size(); ++n)
    {
        const bool isThere = in[n] >= 0 && static_cast<uint64>(in[n]) < limit;
        if (!isThere)
            throw py::value_error(std::string(name) + ": row " + std::to_string(n / 3) + " names " + named +
                                  " " + std::to_string(in[n]) + ", there are " + std::to_string(limit));
        out[n] = static_cast<uint32>(in[n]);
    }
}

void setIndices(py::handle object, uint32 limit, const char* name, const char* named, Array<Index3>& triples)
{
    const py::array array = numbersIn(object, name);
    confirmShape(array, {-1, 3}, name, "(n, 3)");
    const char kind = array.dtype().kind();
    if (array.size() > 0 && kind != 'i' && kind != 'u')
        throw py::value_error(std::string(name) + ": expected whole numbers, got dtype " +
                              std::string(py::str(array.dtype())));
    if (array.shape(0) > 0x7FFFFFFF)
        throw py::value_error(std::string(name) + ": holds more than 2^31 - 1 rows");
    if (kind == 'u' && array.itemsize() == 4)
        copyIndices<uint32>(array, limit, name, named, triples);
    else if (kind == 'u' && array.itemsize() == 8)
        copyIndices<uint64>(array, limit, name, named, triples);
    else
        copyIndices<int64>(array, limit, name, named, triples);
}

void setNormals(MeshObject& self, py::handle normals, py::handle indices)
{
    self.confirmFree();
    Mesh& mesh = self.mesh;
    Array<Vector3F> fresh;
    Array<Index3> triples;
    if (!normals.is_none())
    {
        const ArrayIn<Vector3F> in(normals, "normals");
        if (indices.is_none() && in.size() != mesh.getPosSize())
            throw py::value_error("normals: expected one for each of the " +
                                  std::to_string(mesh.getPosSize()) + " vertices, got " +
                                  std::to_string(in.size()));
        fresh = in.array();
        if (indices.is_none())
            triples = mesh.trindexPos();
        else
            setIndices(indices, in.size(), "normal_faces", "normal", triples);
        if (triples.size() != mesh.getFacesSize())
            throw py::value_error("normal_faces: expected one row for each of the " +
                                  std::to_string(mesh.getFacesSize()) + " faces, got " +
                                  std::to_string(triples.size()));
    }
    // fresh arrays: views of the former ones keep what they show
    for (const Mesh::Slot slot : {Mesh::Slot::Nor, Mesh::Slot::TrindexNor})
        if (!mesh.handleOf(slot).isNone()) mesh.releaseArray(mesh.handleOf(slot));
    mesh.refNor() = std::move(fresh);
    mesh.refTrindexNor() = std::move(triples);
}

const formats::VertexAttribute* find(const std::vector<formats::VertexAttribute>& attributes,
                                     const std::string& name)
{
    for (const formats::VertexAttribute& attribute : attributes)
        if (attribute.name == name) return &attribute;
    return nullptr;
}

void deleteAttribute(MeshObject& self, const std::string& name)
{
    self.confirmFree();
    const auto attributes = formats::vertexAttributes(self.mesh);
    const formats::VertexAttribute* attribute = find(attributes, name);
    if (!attribute) throw py::key_error(name);
    self.mesh.releaseArray(attribute->handle);
}

template <class T>
void addAttribute(Mesh& mesh, const std::string& name, py::handle values)
{
    const ArrayIn<T> in(values, name.c_str());
    if (in.size() != mesh.getPosSize())
        throw py::value_error(name + ": expected a value for each of the " +
                              std::to_string(mesh.getPosSize()) + " vertices, got " +
                              std::to_string(in.size()));
    Array<T> copy = in.array();
    mesh.addArray<T>(TX_String(name.c_str())).swap(copy);
}

void setAttribute(MeshObject& self, const std::string& name, py::handle values)
{
    self.confirmFree();
    if (name.empty() || name.find('\0') != std::string::npos)
        throw py::value_error("attributes: expected names that are not empty and hold no zero byte");
    const py::array array = numbersIn(values, name.c_str());
    const auto attributes = formats::vertexAttributes(self.mesh);
    const formats::VertexAttribute* former = find(attributes, name);
    if (array.ndim() == 1)
        addAttribute<float>(self.mesh, name, array);
    else
        addAttribute<Vector3F>(self.mesh, name, array);
    if (former) self.mesh.releaseArray(former->handle);
}

py::array attributeView(const formats::VertexAttribute& attribute)
{
    return attribute.components == 1 ? storedView<float>(attribute.handle, true)
                                     : storedView<Vector3F>(attribute.handle, true);
}

/// The quantities of a mesh's vertices as a mapping from names to arrays.
struct Attributes
{
    py::object owner;

    MeshObject& mesh() const { return owner.cast<MeshObject&>(); }
    std::vector<formats::VertexAttribute> all() const { return formats::vertexAttributes(mesh().mesh); }
    py::list names() const
    {
        py::list names;
        for (const auto& attribute : all()) names.append(textOf(attribute.name));
        return names;
    }
    py::array get(const std::string& name) const
    {
        const auto attributes = all();
        const formats::VertexAttribute* attribute = find(attributes, name);
        if (!attribute) throw py::key_error(name);
        return attributeView(*attribute);
    }
    py::dict dictionary() const
    {
        py::dict values;
        for (const auto& attribute : all()) values[textOf(attribute.name)] = attributeView(attribute);
        return values;
    }
};

std::unique_ptr<MeshObject> makeMesh(py::handle vertices, py::handle faces, py::handle normals,
                                     const py::dict& attributes, const std::string& name,
                                     py::handle normalFaces)
{
    auto object = std::make_unique<MeshObject>();
    Mesh& mesh = object->mesh;
    mesh.setName(TX_String(name.c_str()));
    mesh.refPos() = ArrayIn<Vector3D>(vertices, "vertices").array();
    setIndices(faces, mesh.getPosSize(), "faces", "vertex", mesh.refTrindexPos());
    if (normals.is_none() && !normalFaces.is_none())
        throw py::value_error("normal_faces: given without normals");
    setNormals(*object, normals, normalFaces);
    for (const auto& [key, values] : attributes) setAttribute(*object, py::cast<std::string>(key), values);
    return object;
}

py::tuple stateOf(const py::object& self)
{
    const Mesh& mesh = self.cast<MeshObject&>().mesh;
    const bool hasNormals = !mesh.nor().empty();
    return py::make_tuple(self.attr("vertices"), self.attr("faces"), self.attr("normals"),
                          Attributes{self}.dictionary(), self.attr("name"),
                          hasNormals ? py::object(self.attr("normal_faces")) : py::none());
}

py::object boundsOfMesh(const MeshObject& self)
{
    self.mesh.invalidateBox();
    const Box3D box = self.mesh.getBox();
    if (self.mesh.getPosSize() == 0) return py::none();
    return boundsOf(box);
}

template <class Compute>
auto computed(const MeshObject& self, const Compute& compute)
{
    const Reading reading(self);
    const py::gil_scoped_release release;
    return compute(self.mesh);
}

/// The same for what takes a callback and may take long.
template <class Result>
Result examined(const MeshObject& self, const char* stage, Result (*examine)(const Mesh&, CancelCallback))
{
    const Reading reading(self);
    Result result{};
    longStage(py::none(), stage, [&](CancelCallback callback) { result = examine(self.mesh, callback); });
    return result;
}

py::array faceNormals(const MeshObject& self)
{
    Array<Wector3F> normals;
    computed(self,
             [&](const Mesh& mesh)
             {
                 Mesh::staticCalculateNormals(mesh.pos(), mesh.trindexPos(), normals);
                 return 0;
             });
    Array<Vector3F> directions(normals.size());
    for (uint32 f = 0; f < normals.size(); ++f) directions[f] = {normals[f].x, normals[f].y, normals[f].z};
    return givenAway(std::move(directions));
}

std::string reprOf(const MeshObject& self)
{
    return "<tavrix.Mesh of " + std::to_string(self.mesh.getPosSize()) + " vertices and " +
           std::to_string(self.mesh.getFacesSize()) + " faces>";
}

/// Positions and faces as a mesh without anything else.
std::unique_ptr<MeshObject> sphere(uint32 faces, double radius, py::handle center)
{
    if (faces != 20 && faces != 500) throw py::value_error("faces: expected 20 or 500");
    SphereTriangulated<double> shape(faces, positive(radius, "radius"));
    shape.translateCoordinates(finitePoint(center, "center"));
    auto object = std::make_unique<MeshObject>();
    object->mesh.refPos() = shape.getArrPos();
    object->mesh.refTrindexPos() = shape.getArrTrindexPos();
    object->mesh.recalculateNormals();
    return object;
}

std::unique_ptr<MeshObject> box(py::handle low, py::handle high)
{
    auto object = std::make_unique<MeshObject>();
    object->mesh.createCubePrimitive(boxOf(low, high));
    object->mesh.recalculateNormals();
    return object;
}

void bindTopology(py::module_& module)
{
    py::class_<MeshTopology>(module, "Topology", R"(How the faces of a mesh hang together; see Mesh.topology.

    >>> tavrix.Mesh.sphere().topology.is_closed
    True
    )")
        .def_readonly("vertices", &MeshTopology::positionCount)
        .def_readonly("edges", &MeshTopology::edgeCount)
        .def_readonly("faces", &MeshTopology::faceCount)
        .def_readonly("boundary_edges", &MeshTopology::boundaryEdgeCount)
        .def_readonly("non_manifold_edges", &MeshTopology::nonManifoldEdgeCount)
        .def_readonly("inconsistent_edges", &MeshTopology::inconsistentEdgeCount)
        .def_readonly("non_manifold_vertices", &MeshTopology::nonManifoldVertexCount)
        .def_readonly("self_contacts", &MeshTopology::selfContactCount)
        .def_readonly("collapsed_faces", &MeshTopology::collapsedFaceCount)
        .def_readonly("flat_faces", &MeshTopology::flatFaceCount)
        .def_readonly("non_finite_vertices", &MeshTopology::nonFiniteCount)
        .def_property_readonly("is_closed", &MeshTopology::isClosed)
        .def_property_readonly("is_manifold", &MeshTopology::isManifold)
        .def_property_readonly("is_consistently_oriented", &MeshTopology::isConsistentlyOriented)
        .def_property_readonly("euler_characteristic", &MeshTopology::eulerCharacteristic);
}

void bindAttributes(py::module_& module)
{
    py::class_<Attributes>(module, "Attributes",
                           R"(The quantities of a mesh's vertices: a mapping from names to arrays.

    Values are writeable views of shape (n,) or (n, 3), float32; what is assigned is copied.

    >>> ball = tavrix.Mesh.sphere()
    >>> ball.attributes["height"] = ball.vertices[:, 2]
    >>> list(ball.attributes)
    ['height']
    )")
        .def("__getitem__", &Attributes::get)
        .def("__setitem__", [](Attributes& self, const std::string& name, const py::object& values)
             { setAttribute(self.mesh(), name, values); })
        .def("__delitem__",
             [](Attributes& self, const std::string& name) { deleteAttribute(self.mesh(), name); })
        .def("__len__", [](const Attributes& self) { return self.all().size(); })
        .def("__contains__",
             [](const Attributes& self, const py::object& name) { return self.names().contains(name); })
        .def("__iter__", [](const Attributes& self) { return py::iter(self.names()); })
        .def("keys", &Attributes::names)
        .def("values", [](const Attributes& self) { return self.dictionary().attr("values")(); })
        .def("items", [](const Attributes& self) { return self.dictionary().attr("items")(); })
        .def("__repr__", [](const Attributes& self) { return py::repr(self.dictionary()); });
}

void bindArrays(py::class_<MeshObject>& type)
{
    type.def_property(
            "name", [](const MeshObject& self) { return textOf(self.mesh.getName().view()); },
            [](MeshObject& self, const std::string& name)
            {
                self.confirmFree();
                self.mesh.setName(TX_String(name.c_str()));
            },
            "Under which files know the mesh.")
        .def_property_readonly(
            "vertices",
            [](const MeshObject& self) { return storedView<Vector3D>(self.mesh.getArrPos(), true); },
            R"(The vertices: a writeable view of shape (n, 3), float64.

    >>> ball = tavrix.Mesh.sphere(radius=2)
    >>> ball.vertices[:, 2] += 5
    >>> ball.bounds[:, 2].round(6).tolist()
    [3.012245, 6.987755]
    )")
        .def_property_readonly(
            "faces",
            [](const MeshObject& self) { return storedView<Index3>(self.mesh.getArrTrindexPos(), false); },
            R"(The corners of the faces, counter-clockwise seen from outside: a view of shape (m, 3), uint32.

    It is read-only, for the kernel relies on valid indices: make another mesh instead.

    >>> tavrix.Mesh.sphere().faces.shape
    (500, 3)
    )")
        .def_property(
            "normals",
            [](const MeshObject& self) -> py::object
            {
                if (self.mesh.nor().empty()) return py::none();
                return storedView<Vector3F>(self.mesh.getArrNor(), true);
            },
            [](MeshObject& self, const py::object& normals) { setNormals(self, normals, py::none()); },
            R"(Unit normals: a writeable view of shape (k, 3), float32, or None without any.

    One for each vertex, but for meshes with edges, whose corners name theirs in normal_faces. Assign an array
    of shape (n, 3), one for each vertex, or None.

    >>> tavrix.Mesh.sphere().normals.shape
    (252, 3)
    )")
        .def_property_readonly(
            "normal_faces",
            [](const MeshObject& self) -> py::object
            {
                if (self.mesh.nor().empty()) return py::none();
                return storedView<Index3>(self.mesh.getArrTrindexNor(), false);
            },
            R"(Which normal each corner of each face has: a view of shape (m, 3), uint32, or None without normals.

    >>> box = tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).with_normals(crease=30)
    >>> len(box.normals), box.normal_faces.max()
    (24, 23)
    )")
        .def_property_readonly(
            "attributes", [](const py::object& self) { return Attributes{self}; },
            R"(The quantities of the vertices: a mapping from names to arrays of shape (n,) or (n, 3), float32.

    >>> ball = tavrix.Mesh.sphere()
    >>> ball.attributes["height"] = ball.vertices[:, 2]
    >>> ball.attributes["height"].dtype
    dtype('float32')
    )");
}

void bindMeasures(py::class_<MeshObject>& type)
{
    type.def_property_readonly("bounds", &boundsOfMesh,
                               R"(The lowest and the highest corner, shape (2, 3), or None without vertices.

    >>> tavrix.Mesh.box((0, 0, 0), (1, 2, 3)).bounds.tolist()
    [[0.0, 0.0, 0.0], [1.0, 2.0, 3.0]]
    )")
        .def_property_readonly(
            "area", [](const MeshObject& self) { return computed(self, surfaceArea); },
            R"(The sum of the faces' areas.

    >>> tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).area
    6.0
    )")
        .def_property_readonly(
            "volume", [](const MeshObject& self) { return computed(self, signedVolume); },
            R"(The volume that the faces enclose, below 0 where they look inwards.

    >>> tavrix.Mesh.box((0, 0, 0), (1, 2, 3)).volume
    6.0
    )")
        .def_property_readonly(
            "topology", [](const MeshObject& self) { return examined(self, "topology", computeTopology); },
            R"(How the faces hang together: counts of edges, borders and the like.

    >>> tavrix.Mesh.sphere().topology.boundary_edges
    0
    )")
        .def_property_readonly(
            "is_closed",
            [](const MeshObject& self) { return examined(self, "topology", computeEdgeTopology).isClosed(); },
            R"(Whether there are faces, and every edge is of two or more.

    >>> tavrix.Mesh([[0, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 1, 2]]).is_closed
    False
    )")
        .def_property_readonly(
            "part_count",
            [](const MeshObject& self) { return examined(self, "parts", countPartsAndCavities).parts; },
            R"(How many parts the mesh has that share no vertex; cavities count.

    >>> tavrix.Mesh.sphere().part_count
    1
    )")
        .def_property_readonly(
            "cavity_count",
            [](const MeshObject& self) { return examined(self, "parts", countPartsAndCavities).cavities; },
            R"(How many of the parts are sealed hollows in others.

    >>> tavrix.Mesh.sphere().cavity_count
    0
    )")
        .def("face_normals", &faceNormals,
             R"(The unit normals of the faces, shape (m, 3), float32; (1, 0, 0) for those without area.

    >>> tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).face_normals().shape
    (12, 3)
    )");
}

}  // namespace

void bindMesh(py::module_& module)
{
    bindTopology(module);
    bindAttributes(module);
    py::class_<MeshObject> type(module, "Mesh",
                                R"(A triangle mesh: vertices, faces, normals and quantities of the vertices.

    vertices: shape (n, 3), any real dtype, copied as float64. faces: shape (m, 3), whole numbers, the corners of
    each face counter-clockwise seen from outside. normals: shape (n, 3), one for each vertex, or (k, 3) with
    normal_faces of shape (m, 3). attributes: a mapping from names to arrays of shape (n,) or (n, 3).

    What comes out are views of the mesh's memory, which they keep alive. The lengths of a mesh's arrays and its
    faces never change: operations return another mesh. Raises ValueError for arrays that make no mesh.

    >>> triangle = tavrix.Mesh([[0, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 1, 2]])
    >>> triangle.area
    0.5
    )");
    type.def(py::init(&makeMesh), py::arg("vertices"), py::arg("faces"), py::arg("normals") = py::none(),
             py::arg("attributes") = py::dict(), py::kw_only(), py::arg("name") = "Nameless",
             py::arg("normal_faces") = py::none())
        .def_static("sphere", &sphere, py::arg("faces") = 500, py::arg("radius") = 1.0, py::kw_only(),
                    py::arg("center") = py::make_tuple(0, 0, 0), R"(A sphere of 20 or 500 faces.

    >>> round(tavrix.Mesh.sphere(radius=1).volume, 2)
    4.1
    )")
        .def_static("box", &box, py::arg("low"), py::arg("high"),
                    R"(The box between two corners, of twelve faces.

    >>> len(tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).faces)
    12
    )")
        .def("__repr__", &reprOf)
        .def("__copy__", [](const MeshObject& self)
             { return changedCopy(self, py::none(), "copy", [](Mesh&, CancelCallback) {}); })
        .def("__deepcopy__", [](const MeshObject& self, const py::dict&)
             { return changedCopy(self, py::none(), "copy", [](Mesh&, CancelCallback) {}); })
        .def(
            "copy",
            [](const MeshObject& self)
            { return changedCopy(self, py::none(), "copy", [](Mesh&, CancelCallback) {}); },
            R"(A mesh with arrays of its own.

    >>> ball = tavrix.Mesh.sphere()
    >>> ball.copy().vertices is ball.vertices
    False
    )")
        .def(py::pickle(&stateOf,
                        [](const py::tuple& state)
                        {
                            if (state.size() != 6) throw py::value_error("the pickled state is not a mesh's");
                            return makeMesh(state[0], state[1], state[2], state[3],
                                            py::cast<std::string>(state[4]), state[5]);
                        }));
    bindArrays(type);
    bindMeasures(type);
    bindMeshChanges(type);
    bindMeshFiles(type);
    bindMeshRefinement(type);
    bindMeshSlices(type);
    bindMeshVoxels(type);
}

}  // namespace tavrix::python
