#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// The vertices of a mesh under the numbers that the file gives them. As long as these count up from 0, as
/// they do in most files, they need no look-up.
class AseVertices
{
public:
    void add(uint32 number, const Vector3D& position);
    /// The place of a vertex; noIndex when there is none of that number.
    uint32 find(uint32 number) const;
    const Array<Vector3D>& positions() const { return _positions; }

private:
    Array<Vector3D> _positions;
    bool _isCounting = true;
    std::map<uint32, uint32> _places;  ///< no hash table: a file could let all its numbers collide
};

/// The state of reading an ASE file line by line.
class AseReader
{
public:
    void readLine(std::string_view line);

    /// Whether there was a block of a mesh.
    bool hasMesh() const { return _hasMesh; }
    /// Whether all blocks are closed.
    bool isComplete() const { return _blocks.empty() && _skipped == 0; }
    /// Appends the meshes that have faces.
    void moveMeshes(ArrayOfPtr<Mesh>& meshes);

private:
    enum class Block : uint8
    {
        group,
        object,
        mesh,
        vertices,
        faces
    };

    bool isIn(Block block) const { return _skipped == 0 && !_blocks.empty() && _blocks.back() == block; }
    void readStatement(std::string_view& rest);
    void readName(std::string_view& rest);
    void readVertex(std::string_view& rest);
    void readFace(std::string_view& rest);
    void open();
    void open(Block block);
    void close();
    void finishMesh();

    std::string _keyword;  ///< of the last statement, which an opening brace belongs to
    std::vector<Block> _blocks;
    uint32 _skipped = 0;  ///< open blocks inside the last, from the first on that is not known
    bool _hasMesh = false;
    std::string _name;
    AseVertices _vertices;
    Array<Index3> _faces;
    std::vector<std::unique_ptr<Mesh>> _meshes;
};

}  // namespace tavrix::detail
