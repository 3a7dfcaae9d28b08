#pragma once

#include <optional>
#include <string>

#include <tavrix/mesh/Mesh.h>

#include "LongCall.h"
#include "Numbers.h"

namespace tavrix::python
{

/// A mesh as Python has it. Its arrays never change their lengths, and its faces are valid, so that views of
/// them stay good and calls may run without the interpreter's lock; what changes a mesh makes another one.
struct MeshObject
{
    Mesh mesh;
    mutable uint32 readers = 0;  ///< calls that read the mesh now, without the lock

    /// Raises RuntimeError while calls read the mesh.
    void confirmFree() const;
};

/// Keeps a mesh from being changed by other threads while a call reads it.
class Reading
{
public:
    explicit Reading(const MeshObject& object);
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    ~Reading() { --_object.readers; }

private:
    const MeshObject& _object;
};

/// A mesh for Python, of one that the kernel or a file made.
py::object objectOf(Mesh&& mesh);
/// Whether each position has one normal, under its own number.
bool hasVertexNormals(const Mesh& mesh);

/// A changed copy of a mesh: change(copy, CancelCallback) runs as a long call of one stage.
template <class Change>
py::object changedCopy(const MeshObject& self, const py::object& progress, const char* stage,
                       const Change& change)
{
    Mesh copy;
    const Reading reading(self);
    longStage(progress, stage,
              [&](CancelCallback callback)
              {
                  copy.copyAllFrom(self.mesh, true);
                  change(copy, callback);
              });
    return objectOf(std::move(copy));
}

/// @name Parts of the module
/// @{
void bindMesh(py::module_& module);
void bindMeshChanges(py::class_<MeshObject>& type);
void bindMeshFiles(py::class_<MeshObject>& type);
void bindMeshRefinement(py::class_<MeshObject>& type);
void bindMeshSlices(py::class_<MeshObject>& type);
void bindMeshVoxels(py::class_<MeshObject>& type);
void bindReconstruction(py::module_& module);
void bindParticles(py::module_& module);
void bindField(py::module_& module);
void bindLevelSet(py::module_& module);
void bindCollider(py::module_& module);
/// @}

}  // namespace tavrix::python
