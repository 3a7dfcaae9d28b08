#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include <tavrix/tavrix.h>

// What the fuzzers share. Each defines LLVMFuzzerTestOneInput(data, size), which does what a host may do with
// those bytes; the sanitizers and require() tell what must not happen.

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size);

namespace tavrix::fuzz
{

/// Stops the fuzzer, which keeps the input, when something does not hold.
inline void require(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "Does not hold: %s\n", what);
    std::abort();
}

/// Bytes as a file that can be opened by its path; it lives in memory and is gone with the object.
class MemoryFile
{
public:
    MemoryFile(const unsigned char* data, std::size_t size) : _file(memfd_create("fuzz", 0))
    {
        require(_file >= 0 && ::write(_file, data, size) == static_cast<ssize_t>(size), "a file in memory");
        _path.appendFormat("/proc/self/fd/%d", _file);
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { ::close(_file); }

    const TX_String& path() const { return _path; }

private:
    int _file;
    TX_String _path;
};

/// The record of a mesh: all that it holds, to compare meshes by.
inline std::string recordOf(const Mesh& mesh)
{
    FileRam ram;
    mesh.saveBasic(ram);
    return {reinterpret_cast<const char*>(ram.data()), ram.size()};
}

template <class T>
std::size_t bytesHeld(const Array<T>* array)
{
    return array ? std::size_t{array->capacity()} * sizeof(T) : 0;
}

/// Whether the arrays of the mesh are in proportion to the input, whatever the counts in it say.
inline void requireProportion(const Mesh& mesh, std::size_t inputSize)
{
    const std::size_t held =
        bytesHeld(&mesh.pos()) + bytesHeld(&mesh.nor()) + bytesHeld(&mesh.faceNor()) +
        bytesHeld(&mesh.trindexPos()) + bytesHeld(&mesh.trindexNor()) + bytesHeld(&mesh.trindexFacedge()) +
        bytesHeld(mesh.findArray<Vector3F>("UV_MAP_0")) + bytesHeld(mesh.findArray<float>("Weights")) +
        bytesHeld(mesh.findArray<Vector3F>("Velocity"));
    // text has up to eight bytes of a mesh for each of its own, and text STL room for the first 1024 facets
    require(held <= 16 * inputSize + 200'000, "arrays in proportion to the input");
}

/// Has read(path, meshes) read the bytes as a file, and does with the meshes what a host does first; the
/// number of their faces.
template <class Read>
uint64 readMeshes(const unsigned char* data, std::size_t size, const Read& read)
{
    const MemoryFile file(data, size);
    ArrayOfPtr<Mesh> meshes;
    const int result = read(file.path(), meshes);
    require(result >= 0 || result == meshFileFailed || result == meshFileEndsTooEarly, "a result of reading");
    uint64 faces = 0;
    for (Mesh* mesh : meshes)
    {
        faces += mesh->getFacesSize();
        requireProportion(*mesh, size);
        require(hasValidIndices(*mesh), "indices of a read mesh");
        mesh->confirmNormalsCalculated();
        require(hasValidIndices(*mesh), "indices of a read mesh with normals");
        mesh->getBox();
    }
    return faces;
}

}  // namespace tavrix::fuzz
