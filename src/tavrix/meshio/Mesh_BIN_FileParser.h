#pragma once

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/MeshFileParser.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/TX_String.h>

namespace tavrix
{

/// Reads and writes BIN mesh files; success is 0. They hold one mesh of single-precision positions, triangles
/// and, if they are there, texture coordinates with weights and velocities. All numbers are little-endian
/// (docs/formats.md has the layout). The parser keeps no state: several threads may use it at once.
///
/// A mesh carries the channels as extra arrays. Channel "uv": "UV_MAP_0", a `Vector3F` (u, v, 0) per
/// position, and, when the file has weights, "Weights", as many `float` per position as the one `uint32` of
/// "nWeights" says. Channel "velocity": "Velocity", a `Vector3F` per position. Overloads without channel
/// names mean both channels.
class TX_GEOMETRY_API Mesh_BIN_FileParser
{
public:
    /// Reads a file into the first mesh of `meshes`, which is cleared before; an empty list gets a new one
    /// once the file is open. Returns 0 or a MeshFileError: meshFileEndsTooEarly for a file that is cut
    /// short, meshFileFailed for one that does not begin as a BIN mesh file, that has a negative count, or
    /// when the first pointer of the list is null.
    ///
    /// After an error the mesh keeps what was read; of a channel that is cut short the rest is zero, and
    /// weights are left out. Memory is taken for what the file holds only. Faces with a corner that is no
    /// position are left out. Normals are calculated, smooth over all edges. What stands behind the faces or
    /// the textures without the marker of the next chunk is ignored.
    /// @{
    int read(const TX_String& fileName, ArrayOfPtr<Mesh>& meshes) const;
    int read(const TX_String& fileName, const Array<TX_String>& channelNames, ArrayOfPtr<Mesh>& meshes) const;
    /// @}

    /// Writes the meshes as one: their positions in a row, indices counted on; null pointers are skipped, and
    /// so are faces with a corner that is no position. Returns 0 or a MeshFileError; only after 0 is the file
    /// whole. More than 2^31 - 1 positions or faces fail before the file is touched.
    ///
    /// Texture coordinates are written when they are chosen and a mesh has them, velocities likewise; zeros
    /// stand in for the meshes that lack them. Readers find velocities only behind texture coordinates, so
    /// those then are there in any case, as zeros. Weights are not written. `scale` multiplies positions and
    /// velocities; `options` has no meaning yet. Integers are options, floating-point numbers a scale.
    ///
    /// The callback is polled every few milliseconds; meshFileStopped when it stops, and the file is cut off.
    /// @{
    int write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, uint32 options = 0,
              CancelCallback callback = nullptr) const;
    int write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, int options,
              CancelCallback callback = nullptr) const
    {
        return write(fileName, meshes, static_cast<uint32>(options), callback);
    }
    int write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, float scale,
              CancelCallback callback = nullptr) const;
    int write(const TX_String& fileName, const ArrayOfPtr<Mesh>& meshes, double scale,
              CancelCallback callback = nullptr) const
    {
        return write(fileName, meshes, static_cast<float>(scale), callback);
    }
    int write(const TX_String& fileName, const Array<TX_String>& channelNames, const ArrayOfPtr<Mesh>& meshes,
              float scale = 1.0f, CancelCallback callback = nullptr) const;
    /// @}
    /// The same for one mesh.
    int write(const TX_String& fileName, const Mesh& mesh, CancelCallback callback = nullptr) const;

    /// 1, without opening the file: that is how many meshes a BIN mesh file holds.
    int getNumberOfMeshes(const TX_String& fileName) const;

    /// Empties a mesh as reading does: as Mesh::unreserve.
    void clear(Mesh& mesh) const;
};

/// The process's BIN parser.
template <>
TX_GEOMETRY_API Mesh_BIN_FileParser& MeshFileParser<Mesh_BIN_FileParser>::instance();

}  // namespace tavrix
