#pragma once

#include <span>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/meshio/detail/FileRange.h>
#include <tavrix/meshio/detail/ObjPiece.h>
#include <tavrix/platform/FileStatus.h>

namespace tavrix::detail
{

/// All faces of one name: those of groups of several pieces, in the file's order.
struct ObjObject
{
    std::string name;
    std::vector<ObjGroup*> groups;
};

/// A file's elements, read piece by piece, several at a time, and turned into meshes.
class ObjReader
{
public:
    /// With a report, lines and faces are what most programs take them for, and what is left out is counted.
    ObjReader(ObjReadingMode mode, uint32 threadCount, MeshReadingReport* report = nullptr);

    /// Reads the file. Pieces whose indices count back are read once more when it is known from where.
    FileStatus read(const TX_String& path);

    /// Appends one mesh per object that has faces. A position index without an element drops its face,
    /// another index without one counts as none.
    void BuildObjects(bool withTextures, ArrayOfPtr<Mesh>& meshes);

private:
    /// A piece that was read, and how its last line ended.
    struct Reading
    {
        std::unique_ptr<ObjPiece> piece;
        FileStatus status = FileStatus::ok;
        bool isCut = false;
    };

    void readPieces(const TX_String& path, const std::vector<FileRange>& ranges,
                    const std::vector<uint32>& which);
    Reading readPiece(const TX_String& path, const FileRange& range, const ObjCounts& before) const;
    FileStatus firstFailure() const;
    std::vector<uint32> countingBack() const;
    void countElements();

    template <class Elements>
    std::span<const Vector3F> join(const Elements& elements, Array<Vector3F>& storage) const;
    std::vector<ObjObject> collectObjects() const;
    void mendGroups();
    MeshReadingReport countFaults(const ObjGroup& group) const;
    void triangulate(ObjGroup& group) const;
    void dropFacesWithoutPosition(ObjGroup& group) const;

    ObjReadingMode _mode;
    uint32 _threadCount;
    MeshReadingReport* _report;
    std::vector<Reading> _readings;
    std::vector<ObjCounts> _before;  ///< the elements before each piece
    Array<Vector3F> _joinedPositions, _joinedTextures, _joinedNormals;
    std::span<const Vector3F> _positions, _textures, _normals;
};

}  // namespace tavrix::detail
