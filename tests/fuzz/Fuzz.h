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

/// Whether no array of the mesh is out of proportion to the input, whatever the counts in it say.
inline void requireProportion(const Mesh& mesh, std::size_t inputSize)
{
    const std::size_t most = 4 * inputSize + 4096;
    require(mesh.pos().capacity() <= most && mesh.nor().capacity() <= most &&
                mesh.trindexPos().capacity() <= most && mesh.trindexNor().capacity() <= most &&
                mesh.faceNor().capacity() <= most && mesh.trindexFacedge().capacity() <= most,
            "arrays in proportion to the input");
}

/// Has read(path, meshes) read the bytes as a file, and does with the meshes what a host does first.
template <class Read>
void readMeshes(const unsigned char* data, std::size_t size, const Read& read)
{
    const MemoryFile file(data, size);
    ArrayOfPtr<Mesh> meshes;
    const int result = read(file.path(), meshes);
    require(result >= 0 || result == meshFileFailed || result == meshFileEndsTooEarly, "a result of reading");
    for (Mesh* mesh : meshes)
    {
        requireProportion(*mesh, size);
        mesh->confirmNormalsCalculated();
        require(hasValidIndices(*mesh), "indices of a read mesh");
        mesh->getBox();
    }
}

}  // namespace tavrix::fuzz
