#pragma once

#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include <tavrix/platform/ByteOrder.h>

#include "formats/VertexStreams.h"

// Mesh files as runs of equal records: where each lies is known beforehand, so that whoever has some vertices
// and faces can write theirs.

namespace tavrix::formats
{

/// Numbers on their way into a record, in little-endian order.
class RecordBytes
{
public:
    explicit RecordBytes(char* to) : _to(to) {}

    template <class Number>
    void put(Number value) requires std::is_arithmetic_v<Number>
    {
        convertByteOrder(&value, 1, ByteOrder::little);
        std::memcpy(_to, &value, sizeof value);
        _to += sizeof value;
    }
    template <class T>
    void put(const Vector3<T>& v)
    {
        for (const T component : {v.x, v.y, v.z}) put(component);
    }

private:
    char* _to;
};

/// How many vertices and faces a file has, and what all of these vertices have.
struct MeshOutline
{
    std::vector<VertexAttribute> attributes;  ///< `data` does not count
    bool haveNormals;
    uint64 vertexCount, triangleCount;
};

/// Some vertices and faces of a file: those of a mesh, or of a rank's part of one.
struct NumberedMesh
{
    /// A mesh whose vertices come behind so many others; part `number` of the file.
    NumberedMesh(const VertexStreams& vertices, const MeshOutline& outline, uint64 firstVertex, int32 number);
    /// Part of a mesh whose vertices have these numbers in it.
    NumberedMesh(const VertexStreams& vertices, const MeshOutline& outline, const Array<uint32>& numbers);

    /// The number of a vertex in the file.
    uint64 numberOf(uint32 vertex) const { return numbers ? (*numbers)[vertex] : firstVertex + vertex; }

    const VertexStreams& streams;
    std::vector<VertexAttribute> attributes;  ///< those of the outline; `data` is null where there is none
    uint64 firstVertex = 0;
    const Array<uint32>* numbers = nullptr;
    int32 part = 0;
};

enum class RecordsOf
{
    Vertices,
    Faces
};

/// A run of records, one a vertex or face of the file, behind some other bytes.
struct FileSection
{
    std::string before;
    RecordsOf of;
    std::size_t recordBytes;
    /// Puts the record of the n-th vertex or face of the mesh, which has that number in the file.
    std::function<void(RecordBytes& to, const NumberedMesh& mesh, uint32 n, uint64 number)> put;
};

struct FileLayout
{
    std::vector<FileSection> sections;
    std::string after;
};

/// The layouts of the formats that have one; see MeshWriters.h. VTP files number with 64 bits where
/// `isLarge`. `target` is the name that messages give to the file; Failure is thrown when the mesh is more
/// than the format can number. BIN files have texture coordinates (`UV_MAP_0`) and velocities alone, STL
/// files the corners of faces behind a header of 80 characters.
/// @{
FileLayout plyLayout(const MeshOutline& outline, const std::string& target);
FileLayout vtpLayout(const MeshOutline& outline, bool isLarge);
FileLayout binLayout(const MeshOutline& outline, const std::string& target);
FileLayout stlLayout(const MeshOutline& outline, const std::string& header);
/// @}

/// What meshes have that stand one behind the other.
MeshOutline outlineOf(const JoinedStreams& meshes);
/// Writes them in a layout; 0 when the file is whole.
int writeLayout(const std::string& path, const FileLayout& layout, const JoinedStreams& meshes);

/// Whether VTP files of so many vertices and faces need 64 bits for a number.
bool isLargeVtp(uint64 vertices, uint64 faces);

}  // namespace tavrix::formats
