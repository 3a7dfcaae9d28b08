#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/MeshReadingReport.h>
#include <tavrix/meshio/ObjReadingMode.h>

namespace tavrix::detail
{

/// A corner of a face as 0-based indices; noIndex where the corner has no such element.
struct ObjCorner
{
    uint32 position = noIndex;
    uint32 texture = noIndex;
    uint32 normal = noIndex;
};

/// A face of more than three corners: where its triangles begin, and how many they are. Triangle i has the
/// corners 0, i + 1 and i + 2 of the face.
struct ObjPolygon
{
    uint32 first, count;
};

/// One group of a piece: its name and the corner indices of its triangles. The texture and normal triples are
/// as many as the triangles, or none as long as no corner had such an index.
struct ObjGroup
{
    std::string name;
    std::vector<Index3> positions;
    std::vector<Index3> textures;
    std::vector<Index3> normals;
    /// The faces of more than one triangle, in their order.
    std::vector<ObjPolygon> polygons;

    void addTriangle(const ObjCorner& a, const ObjCorner& b, const ObjCorner& c);
};

/// How many elements there are.
struct ObjCounts
{
    std::size_t positions = 0, textures = 0, normals = 0;
};

/// What a run of a file's lines holds, as it stands there.
class ObjPiece
{
public:
    /// When lenient, faces of any number of corners are taken, comments may stand behind statements, and what
    /// is left out is counted. Indices that count back do so from the elements before the piece on.
    ObjPiece(ObjReadingMode mode, bool isLenient, const ObjCounts& before = {});

    /// Reads every line and collects elements, and faces by group.
    template <class Lines>
    void ObjFirstPass(Lines& lines)
    {
        for (std::string_view line; lines.ReadLine(line);) readStatement(line);
    }

    std::vector<Vector3F>& positions() { return _positions; }
    std::vector<Vector3F>& textures() { return _textures; }
    std::vector<Vector3F>& normals() { return _normals; }
    ObjCounts counts() const { return {_positions.size(), _textures.size(), _normals.size()}; }

    /// The groups in the order in which they appear; the first goes on with that in which the piece begins.
    const std::vector<std::unique_ptr<ObjGroup>>& groups() const { return _groups; }
    /// The group of the last face.
    const ObjGroup* lastGroup() const { return _current; }
    /// Whether indices count back, so that what stands before the piece matters.
    bool countsBack() const { return _countsBack; }

    /// What was left out, and whether the last statement had all that it needs.
    const MeshReadingReport& leftOut() const { return _leftOut; }
    bool endsWhole() const { return _isWhole; }

private:
    void readStatement(std::string_view line);
    void switchGroup(std::string_view name);
    void readFace(const char* p, const char* end);
    void countLeftOut(uint64 MeshReadingReport::*what, uint64 count);
    Vector3F readVector(const char* p, const char* end, uint32 needed);
    bool readCorner(const char*& p, const char* end, ObjCorner& corner);
    uint32 resolve(int32 index, std::size_t count);
    ObjGroup* GetGroupByName(const std::string& name) const;
    ObjGroup* addGroup(std::string name);

    ObjReadingMode _mode;
    bool _isLenient;
    ObjCounts _before;
    bool _countsBack = false;
    bool _isWhole = true;
    MeshReadingReport _leftOut;
    std::vector<Vector3F> _positions, _textures, _normals;
    std::vector<ObjCorner> _corners;  ///< of the face that is being read
    std::vector<std::unique_ptr<ObjGroup>> _groups;
    std::unordered_map<std::string, ObjGroup*> _groupByName;
    ObjGroup* _current;
};

}  // namespace tavrix::detail
